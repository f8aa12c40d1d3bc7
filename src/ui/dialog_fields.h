// The field parser of DialogBox control definitions: portable (no window
// system), so that the native tests and the fuzz target run it directly.
//
//   definition -> field { "," field }          at most 8 fields
//   field      -> { character | '"' text '"' }  quotes group text and are dropped;
//                                               spaces outside quotes and all tabs are dropped
//   fields: x, y, width, height, type, variable, text, value;
//   a missing field at the end reads "DEFAULT".
#pragma once
#include <cstdint>

namespace tsl {

const unsigned DIALOG_FIELDS_MAX = 8;
const unsigned DIALOG_VAR_MAX = 30;     // characters of the variable field
const unsigned DIALOG_TEXT_MAX = 256;   // characters of the text field
const unsigned DIALOG_VALUE_MAX = 31;   // characters kept of the value field

enum DialogControlType : uint8_t {
    DC_STATICTEXT, DC_VARYTEXT, DC_EDITBOX, DC_RADIOBUTTON, DC_CHECKBOX, DC_PUSHBUTTON, DC_FILELISTBOX,
};

struct ControlDef {
    int32_t x, y, width, height;   // dialog units ("DEFAULT": 8, 16, 44, 32)
    DialogControlType type;
    char variable[DIALOG_VAR_MAX + 1];
    char text[DIALOG_TEXT_MAX + 1];
    char value_text[DIALOG_VALUE_MAX + 1];   // "DEFAULT" when missing
    int32_t value;                           // the value field as a number (0 when not one)
};

// Parses one definition of any length. Returns 0, or the error number:
// 3223 an unknown control type, 3224 a radio button or check box without a
// non-zero value, 3225 more than 8 fields or a value on a type that takes none.
uint16_t dialog_parse_control(const char* definition, ControlDef* out);

} // namespace tsl

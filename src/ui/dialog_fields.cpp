// The field parser of DialogBox control definitions; see dialog_fields.h.
#include "dialog_fields.h"
#include "../core/bounded.h"
#include "../core/plat.h"
#include "../core/value.h"
#include <cstring>

namespace tsl {

namespace {

const char kDefault[] = "DEFAULT";
const unsigned FIELD_BUF = DIALOG_TEXT_MAX + 1;   // every field is cut to the longest one kept

// Type names, in the order of DialogControlType. ORDER DialogControlType.
const char* const kTypeNames[] = {
    "STATICTEXT", "VARYTEXT", "EDITBOX", "RADIOBUTTON", "CHECKBOX", "PUSHBUTTON", "FILELISTBOX",
};
static_assert(sizeof(kTypeNames) / sizeof(kTypeNames[0]) == DC_FILELISTBOX + 1, "a name for every type");

// Splits the definition into at most 8 fields (more: false). Characters past
// a field's buffer are dropped.
bool split(const char* p, char fields[DIALOG_FIELDS_MAX][FIELD_BUF], unsigned* count) {
    unsigned n = 0, len = 0;
    bool quoted = false;
    fields[0][0] = 0;
    for (; *p; ++p) {
        char c = *p;
        if (c == '"') { quoted = !quoted; continue; }
        if (c == '\t' || (c == ' ' && !quoted)) continue;
        if (c == ',' && !quoted) {
            if (++n == DIALOG_FIELDS_MAX) return false;
            len = 0;
            fields[n][0] = 0;
            continue;
        }
        if (len + 1 < FIELD_BUF) { fields[n][len++] = c; fields[n][len] = 0; }
    }
    *count = n + 1;
    return true;
}

int32_t number_or(const char* field, int32_t fallback) {
    if (plat_compare_nocase(field, kDefault) == 0) return fallback;
    return text_to_integer(field);
}

} // namespace

uint16_t dialog_parse_control(const char* definition, ControlDef* out) {
    char fields[DIALOG_FIELDS_MAX][FIELD_BUF];
    unsigned count = 0;
    if (!split(definition, fields, &count)) return 3225;
    for (unsigned i = count; i < DIALOG_FIELDS_MAX; i++) bounded_copy(nullptr, fields[i], kDefault, FIELD_BUF);
    out->x = number_or(fields[0], 8);
    out->y = number_or(fields[1], 16);
    out->width = number_or(fields[2], 44);
    out->height = number_or(fields[3], 32);
    unsigned type = 0;
    while (type <= DC_FILELISTBOX && plat_compare_nocase(fields[4], kTypeNames[type]) != 0) ++type;
    if (type > DC_FILELISTBOX) return 3223;
    out->type = (DialogControlType)type;
    bounded_copy(nullptr, out->variable, fields[5], sizeof out->variable);
    bounded_copy(nullptr, out->text, fields[6], sizeof out->text);
    bounded_copy(nullptr, out->value_text, fields[7], sizeof out->value_text);
    bool has_value = count == DIALOG_FIELDS_MAX;
    out->value = has_value && text_is_number(out->value_text) ? text_to_integer(out->value_text) : 0;
    switch (out->type) {
    case DC_RADIOBUTTON: case DC_CHECKBOX:
        if (out->value == 0) return 3224;
        return 0;
    case DC_PUSHBUTTON:
        return 0;
    default:
        return has_value ? 3225 : 0;
    }
}

} // namespace tsl

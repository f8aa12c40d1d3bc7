// libFuzzer target: any text as a DialogBox control definition. The parser
// must answer 0 or one of its numbered errors, with every field terminated
// within its buffer; anything else aborts so that libFuzzer keeps the input.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include "ui/dialog_fields.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text((const char*)data, size);   // a definition ends at its first NUL, as a variable's text does
    tsl::ControlDef def;
    memset(&def, 0x5A, sizeof def);
    uint16_t error = tsl::dialog_parse_control(text.c_str(), &def);
    if (error != 0 && (error < 3223 || error > 3225)) { fprintf(stderr, "error %u\n", error); abort(); }
    if (error == 0) {
        if (strnlen(def.variable, sizeof def.variable) == sizeof def.variable ||
            strnlen(def.text, sizeof def.text) == sizeof def.text ||
            strnlen(def.value_text, sizeof def.value_text) == sizeof def.value_text) {
            fprintf(stderr, "a field is not terminated\n");
            abort();
        }
        if (def.type > tsl::DC_FILELISTBOX) { fprintf(stderr, "type %d\n", def.type); abort(); }
    }
    return 0;
}

// Message texts by number. Numbers below 100, or every number when no
// language is selected, come from the interpreter's own string table; a
// selected language reads key X<number> from its section of TSLDLANG.DLL
// (an INI-format text), falling back to the string table.
#include "messages.h"
#include <cstring>
#include "bounded.h"

namespace tsl {

struct BuiltinMessage { uint16_t number; const char* text; };
static const BuiltinMessage kMessages[] = {
#define MSG(n, t) {n, t},
#include "../resources/messages.def"
#undef MSG
};

const char* builtin_message(unsigned number) {
    unsigned lo = 0, hi = sizeof kMessages / sizeof kMessages[0];
    while (lo < hi) {
        unsigned mid = (lo + hi) / 2;
        if (kMessages[mid].number == number) return kMessages[mid].text;
        if (kMessages[mid].number < number) lo = mid + 1; else hi = mid;
    }
    return "";
}

static const char* const NO_LANGUAGE = "XXX";

static void detect_language(Context* ctx) {
    ctx->language_state = LANG_TABLE;
    char path[PATH_BUF];
    if (!plat_module_dir(path, sizeof path)) {
        plat_message_box(nullptr, "GetModuleFileName Failed", "GMS ERROR", BOX_OK);
        return;
    }
    bounded_append(ctx, path, "TSLDLANG.DLL", sizeof path);
    if (!plat_search_file(path, ctx->language_file, sizeof ctx->language_file) &&
        !plat_search_file("TSLDLANG.DLL", ctx->language_file, sizeof ctx->language_file))
        return;
    plat_profile_string("TSLPROCS.INI", "MAIN", "Language", NO_LANGUAGE, ctx->language, sizeof ctx->language);
    if (strcmp(ctx->language, NO_LANGUAGE) == 0) {
        char code[32];
        plat_profile_string(nullptr, "intl", "sLanguage", "enu", code, sizeof code);
        plat_profile_string(ctx->language_file, "MAIN", code, NO_LANGUAGE, ctx->language, sizeof ctx->language);
    }
    if (strcmp(ctx->language, NO_LANGUAGE) != 0) ctx->language_state = LANG_FILE;
}

// "~" becomes a line feed and "|" a tab, stepping by characters.
static void expand_marks(char* s) {
    for (char* p = s; *p; p = (char*)plat_char_next(p)) {
        if (*p == '~') *p = '\n';
        else if (*p == '|') *p = '\t';
    }
}

unsigned load_message(Context* ctx, unsigned number, char* buf, unsigned size) {
    if (ctx->language_state == LANG_UNKNOWN || number == 0) detect_language(ctx);
    if (size == 0) return 0;
    buf[0] = 0;
    if (number == 0) return 0;
    bool from_file = false;
    if (number >= 100 && ctx->language_state == LANG_FILE) {
        char key[16] = "X", num[40];
        bounded_append(ctx, key, integer_to_text((int32_t)number, num, 10), sizeof key);
        plat_profile_string(ctx->language_file, ctx->language, key, NO_LANGUAGE, buf, size);
        from_file = strcmp(buf, NO_LANGUAGE) != 0;
    }
    if (!from_file) {
        char big[2048];
        plat_load_message(number, big, sizeof big);
        bounded_copy(ctx, buf, big, size);
    }
    expand_marks(buf);
    return (unsigned)strlen(buf);
}

} // namespace tsl

// Title lines of a menu file.
#include "menu_title.h"
#include <cstring>
#include "core/bounded.h"

namespace tsl {

static void trim_trailing(char* s) {
    size_t n = strlen(s);
    while (n && s[n - 1] == ' ') s[--n] = 0;
}

void menu_parse_title(const char* line, int level, MenuTitle* t) {
    memset(t, 0, sizeof *t);
    t->level = level;
    const char* p = line + (level - 1);
    if (*p == '_') { t->separator = true; ++p; }
    else if (*p == '|') { t->column = true; ++p; }

    // The description follows the first ";", without its outer blanks.
    const char* semi = strchr(p, ';');
    size_t text_len = semi ? (size_t)(semi - p) : strlen(p);
    if (semi) {
        const char* d = semi + 1;
        while (*d == ' ') ++d;
        bounded_copy(nullptr, t->description, d, sizeof t->description);
        trim_trailing(t->description);
    }
    char raw[MENU_TEXT_MAX + 1];
    if (text_len > MENU_TEXT_MAX) text_len = MENU_TEXT_MAX;
    bounded_copy(nullptr, raw, p, (unsigned)text_len + 1);   // the text up to ";", 38 at most
    trim_trailing(raw);

    char* text = raw;
    if (*text == '@') { t->hidden = true; ++text; }
    char* backslash = strchr(text, '\\');
    if (backslash) {
        *backslash = 0;
        t->hotkey = hotkey_parse(backslash + 1, t->hotkey_text, sizeof t->hotkey_text);
        trim_trailing(text);
    }
    bounded_copy(nullptr, t->text, text, sizeof t->text);
}

void menu_shown_text(const MenuTitle& t, bool bare, char* buf, unsigned size) {
    bounded_copy(nullptr, buf, t.text, size);
    if (bare || !t.hotkey_text[0]) return;
    bounded_append(nullptr, buf, "\t", size);
    bounded_append(nullptr, buf, t.hotkey_text, size);
}

} // namespace tsl

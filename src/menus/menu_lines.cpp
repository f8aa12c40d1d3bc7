// The menu file's line reader and line classes.
#include "menu_lines.h"

namespace tsl {

static bool ends_line(char c) { return c == '\r' || c == 0 || c == 26; }

bool menu_next_line(const char* text, uint32_t size, uint32_t* pos, MenuLine* line) {
    uint32_t p = *pos;
    if (p >= size) return false;
    line->start = p;
    unsigned n = 0;
    while (p < size && !ends_line(text[p]) && n < MENU_LINE_MAX) line->text[n++] = text[p++];
    line->text[n] = 0;
    if (p >= size) {
        *pos = size;
    } else if (ends_line(text[p])) {
        // The byte after a carriage return is taken for its line feed,
        // whatever it is.
        p += text[p] == '\r' ? 2 : 1;
        *pos = p < size ? p : size;
    } else {
        // A line cut at 257 characters loses the next two.
        p += 2;
        *pos = p < size ? p : size;
    }
    return true;
}

MenuLineKind menu_line_kind(const char* line) {
    const char* p = line;
    while (*p == ' ' || *p == '\t') ++p;
    if (!*p || *p == ';' || *p == '\'') return MENU_COMMENT;
    unsigned spaces = 0;
    while (spaces < 4 && line[spaces] == ' ') ++spaces;
    if (spaces == 4 || line[spaces] == '\t') return MENU_SCRIPT;
    return (MenuLineKind)(MENU_TITLE_1 + spaces);
}

} // namespace tsl

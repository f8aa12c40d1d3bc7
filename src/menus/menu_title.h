// A title line of a menu file taken apart: its marker ("_" separator
// before it, "|" new column), its menu text (38 characters at most, the
// hot-key definition included), "@" for a hidden item, the hot key
// after "\" and the description after ";".
#pragma once
#include <cstdint>
#include "hotkeys.h"
#include "menu_lines.h"

namespace tsl {

const unsigned MENU_TEXT_MAX = 38;    // characters of a title's menu text
const unsigned MENU_SHOWN_MAX = 79;   // a level's title buffer: text, tab, hot-key text

struct MenuTitle {
    int level;                          // 1..4
    bool separator;                     // "_"
    bool column;                        // "|"
    bool hidden;                        // menu text begins with "@"
    char text[MENU_TEXT_MAX + 1];       // the visible text, "&" kept
    uint16_t hotkey;                    // 0 = none
    char hotkey_text[HOTKEY_TEXT_MAX];  // "Ctrl+E"
    char description[MENU_LINE_MAX + 1];
};

// Takes apart a title line of the given level (its indentation included).
void menu_parse_title(const char* line, int level, MenuTitle* title);

// The text the menu shows: the visible text, then a tab and the hot-key
// text unless `bare` (the level-1 entries of a menu bar).
void menu_shown_text(const MenuTitle& title, bool bare, char* buf, unsigned size);

} // namespace tsl

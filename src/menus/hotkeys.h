// Hot keys of menu items: the definition written after "\" in a menu
// title, its 16-bit key code, the text shown for it, the key code of a
// keystroke message, and the host's table of codes and item ids.
//
// Key code: the upper-case character code, or a named key's virtual-key
// code | 0x1000 (BACKSPACE, BS, ENTER, ESCAPE, ESC, SPACE and SP are the
// characters 8, 13, 27 and 32); Alt | 0x3000 (Alt keys arrive as key
// presses); Ctrl | 0x4000, and | 0x1000 for a character outside "@".."Z";
// Shift | 0x8000.
#pragma once
#include <cstdint>

namespace tsl {

const uint16_t HOTKEY_PRESS = 0x1000;
const uint16_t HOTKEY_ALT = 0x2000;    // as a keystroke shows it; a definition adds HOTKEY_PRESS
const uint16_t HOTKEY_CTRL = 0x4000;
const uint16_t HOTKEY_SHIFT = 0x8000;
const unsigned HOTKEY_MAX = 100;        // entries of a host's table
const unsigned HOTKEY_TEXT_MAX = 40;    // "Ctrl+Alt+Shift+BACKSPACE" and the NUL

// The host's table: a count and up to 100 pairs of key code and item id.
struct HotKeyEntry {
    uint16_t code;
    uint16_t id;
};
struct HotKeyTable {
    int32_t count;
    HotKeyEntry entries[HOTKEY_MAX];
};

// The code of a definition such as "^E", "!{F5}" or "+^{ pg dn }";
// 0 when it names no key. `shown` receives "Ctrl+E", "Alt+F5", ...
// ("" for no key).
uint16_t hotkey_parse(const char* written, char* shown, unsigned shown_size);

// The code of a keystroke: `press` for a key press (key = virtual-key
// code), else a typed character. Returns 0 for Shift, Ctrl or Alt alone.
uint16_t hotkey_of_keystroke(bool press, unsigned key, bool shift, bool ctrl, bool alt);

// Appends a pair unless the table is full; false when it was.
bool hotkey_add(HotKeyTable* table, uint16_t code, uint16_t id);
// The first entry with that code, or nullptr.
const HotKeyEntry* hotkey_find(const HotKeyTable* table, uint16_t code);

} // namespace tsl

// Hot-key definitions and codes.
#include "hotkeys.h"
#include <cstring>
#include "core/bounded.h"
#include "core/plat.h"

namespace tsl {

namespace {

// Virtual-key codes of the named keys (the platform's values).
enum : uint16_t {
    VK_BACK_ = 0x08, VK_TAB_ = 0x09, VK_CLEAR_ = 0x0C, VK_RETURN_ = 0x0D, VK_ESCAPE_ = 0x1B, VK_SPACE_ = 0x20,
    VK_PRIOR_ = 0x21, VK_NEXT_ = 0x22, VK_END_ = 0x23, VK_HOME_ = 0x24, VK_LEFT_ = 0x25, VK_UP_ = 0x26,
    VK_RIGHT_ = 0x27, VK_DOWN_ = 0x28, VK_SNAPSHOT_ = 0x2C, VK_INSERT_ = 0x2D, VK_DELETE_ = 0x2E,
    VK_HELP_ = 0x2F, VK_F1_ = 0x70, VK_SHIFT_ = 0x10, VK_CONTROL_ = 0x11, VK_MENU_ = 0x12,
};

struct NamedKey {
    const char* name;
    uint16_t code;   // the code without modifiers
};

// Named keys; the character-coded ones have no 0x1000.
const NamedKey kNamedKeys[] = {
    {"BACKSPACE", 8}, {"BS", 8}, {"ENTER", 13}, {"ESCAPE", 27}, {"ESC", 27}, {"SPACE", 32}, {"SP", 32},
    {"CLEAR", HOTKEY_PRESS | VK_CLEAR_}, {"DELETE", HOTKEY_PRESS | VK_DELETE_}, {"DEL", HOTKEY_PRESS | VK_DELETE_},
    {"DOWN", HOTKEY_PRESS | VK_DOWN_}, {"END", HOTKEY_PRESS | VK_END_}, {"HELP", HOTKEY_PRESS | VK_HELP_},
    {"HOME", HOTKEY_PRESS | VK_HOME_}, {"INSERT", HOTKEY_PRESS | VK_INSERT_}, {"LEFT", HOTKEY_PRESS | VK_LEFT_},
    {"PGDN", HOTKEY_PRESS | VK_NEXT_}, {"PGUP", HOTKEY_PRESS | VK_PRIOR_},
    {"PRTSC", HOTKEY_PRESS | VK_SNAPSHOT_}, {"RIGHT", HOTKEY_PRESS | VK_RIGHT_},
    {"TAB", HOTKEY_PRESS | VK_TAB_}, {"UP", HOTKEY_PRESS | VK_UP_},
};

// F1 to F16.
uint16_t function_key(const char* name) {
    if (name[0] != 'F' || name[1] < '1' || name[1] > '9') return 0;
    unsigned n = (unsigned)(name[1] - '0');
    if (name[2]) {
        if (name[2] < '0' || name[2] > '9' || name[3]) return 0;
        n = n * 10 + (unsigned)(name[2] - '0');
    }
    return n >= 1 && n <= 16 ? (uint16_t)(HOTKEY_PRESS | (VK_F1_ + n - 1)) : 0;
}

// The upper-case code of one character.
uint16_t char_code(char c, char* shown) {
    shown[0] = c;
    shown[1] = 0;
    plat_upper(shown);
    return (uint16_t)(unsigned char)shown[0];
}

// A name in braces (blanks dropped, case ignored): its code and its shown form.
uint16_t named_key(const char* open, char* shown, unsigned size) {
    char name[16];
    unsigned n = 0;
    const char* p = open + 1;
    for (; *p && *p != '}'; ++p) {
        if (*p == ' ') continue;
        if (n + 1 >= sizeof name) return 0;
        name[n++] = *p;
    }
    if (*p != '}' || n == 0) return 0;
    name[n] = 0;
    if (n == 1) return char_code(name[0], shown);
    plat_upper(name);
    uint16_t code = function_key(name);
    for (const NamedKey& k : kNamedKeys)
        if (!code && strcmp(k.name, name) == 0) code = k.code;
    if (code) bounded_copy(nullptr, shown, name, size);
    return code;
}

} // namespace

uint16_t hotkey_parse(const char* written, char* shown, unsigned shown_size) {
    bool alt = false, ctrl = false, shift = false;
    const char* p = written;
    for (;; ++p) {
        if (*p == '!') alt = true;
        else if (*p == '^') ctrl = true;
        else if (*p == '+') shift = true;
        else break;
    }
    char key[HOTKEY_TEXT_MAX];
    uint16_t code = 0;
    if (*p == '{') code = named_key(p, key, sizeof key);
    else if (*p) code = char_code(*p, key);
    if (shown_size) shown[0] = 0;
    if (!code) return 0;
    if (ctrl) {
        // Ctrl with a letter or "@" arrives as a typed control character;
        // with anything else, as a key press.
        unsigned c = code & 0xFF;
        code |= HOTKEY_CTRL;
        if (c < 64 || c > 90) code |= HOTKEY_PRESS;
    }
    if (alt) code |= HOTKEY_ALT | HOTKEY_PRESS;
    if (shift) code |= HOTKEY_SHIFT;
    if (shown_size) {
        if (ctrl) bounded_append(nullptr, shown, "Ctrl+", shown_size);
        if (alt) bounded_append(nullptr, shown, "Alt+", shown_size);
        if (shift) bounded_append(nullptr, shown, "Shift+", shown_size);
        bounded_append(nullptr, shown, key, shown_size);
    }
    return code;
}

uint16_t hotkey_of_keystroke(bool press, unsigned key, bool shift, bool ctrl, bool alt) {
    uint16_t code;
    if (press) {
        if (key == VK_SHIFT_ || key == VK_CONTROL_ || key == VK_MENU_) return 0;
        code = (uint16_t)(HOTKEY_PRESS | (key & 0xFFF));
    } else {
        unsigned c = key & 0xFF;
        if (ctrl && c >= 1 && c <= 26) c += 64;   // Ctrl+A arrives as 1
        char s[2];
        code = char_code((char)c, s);
    }
    if (shift) code |= HOTKEY_SHIFT;
    if (ctrl) code |= HOTKEY_CTRL;
    if (alt) code |= HOTKEY_ALT;
    return code;
}

bool hotkey_add(HotKeyTable* table, uint16_t code, uint16_t id) {
    if (table->count < 0) table->count = 0;
    if (table->count >= (int32_t)HOTKEY_MAX) return false;
    table->entries[table->count].code = code;
    table->entries[table->count].id = id;
    ++table->count;
    return true;
}

const HotKeyEntry* hotkey_find(const HotKeyTable* table, uint16_t code) {
    int32_t n = table->count < (int32_t)HOTKEY_MAX ? table->count : (int32_t)HOTKEY_MAX;
    for (int32_t i = 0; i < n; ++i)
        if (table->entries[i].code == code) return &table->entries[i];
    return nullptr;
}

} // namespace tsl

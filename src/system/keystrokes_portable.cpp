// The keystroke language and the WaitForKey notation (see keystrokes_portable.h).
//
//   keys     -> { step }
//   step     -> { modifier } key          each modifier held over the key after it
//   modifier -> "!" Alt | "+" Shift | "^" Ctrl
//   key      -> "{" c "}"                 the character c itself, even "{", "}", "+", "~"
//             | "{" name [" " count] "}"  a named key (two or more characters) or one character
//             | "~"                       Enter
//             | c                         a character, through the key that types it
#include "keystrokes_portable.h"
#include <cstring>
#include "../core/plat.h"
#include "../core/value.h"

namespace tsl {

namespace {

struct KeyName { const char* name; uint16_t code; };

// The sending names: 46 names (F1 to F16 one row each) and four empty slots; searched without regard
// to case. "xyz" is a placeholder row that is matched like any other.
const KeyName kSendNames[] = {
    {"BACKSPACE", 0x08}, {"BS", 0x08}, {"CAPSLOCK", 0x14}, {"CLEAR", 0x0C}, {"DELETE", 0x2E},
    {"DEL", 0x2E}, {"DOWN", 0x28}, {"END", 0x23}, {"ENTER", 0x0D}, {"ESCAPE", 0x1B},
    {"ESC", 0x1B}, {"HELP", 0x2F}, {"HOME", 0x24}, {"INSERT", 0x2D}, {"INS", 0x2D},
    {"LEFT", 0x25}, {"NUMLOCK", 0x90}, {"PGDN", 0x22}, {"PGUP", 0x21}, {"PRTSC", 0x2A},
    {"RIGHT", 0x27}, {"TAB", 0x09}, {"UP", 0x26},
    {"F1", 0x70}, {"F2", 0x71}, {"F3", 0x72}, {"F4", 0x73}, {"F5", 0x74}, {"F6", 0x75},
    {"F7", 0x76}, {"F8", 0x77}, {"F9", 0x78}, {"F10", 0x79}, {"F11", 0x7A}, {"F12", 0x7B},
    {"F13", 0x7C}, {"F14", 0x7D}, {"F15", 0x7E}, {"F16", 0x7F},
    {"SPACE", 0x20}, {"SP", 0x20}, {"SHIFT", 0x10}, {"CTRL", 0x11}, {"MENU", 0x12}, {"ALT", 0x12},
    {"xyz", 0xFF},
    {"", 0}, {"", 0}, {"", 0}, {"", 0},
};
static_assert(sizeof kSendNames / sizeof kSendNames[0] == 50, "the sending table has 50 slots");

// The WaitForKey names: 39 names and one empty slot; compared exactly with
// the upper-cased name (so the lower-case "xyz" row is never reached).
const KeyName kWaitNames[] = {
    {"BACKSPACE", 0x0008}, {"BS", 0x0008}, {"CLEAR", 0x100C}, {"DELETE", 0x102E}, {"DEL", 0x102E},
    {"DOWN", 0x1028}, {"END", 0x1023}, {"ENTER", 0x000D}, {"ESCAPE", 0x001B}, {"ESC", 0x001B},
    {"HELP", 0x102F}, {"HOME", 0x1024}, {"INSERT", 0x102D}, {"LEFT", 0x1025}, {"PGDN", 0x1022},
    {"PGUP", 0x1021}, {"PRTSC", 0x102A}, {"RIGHT", 0x1027}, {"TAB", 0x1009}, {"UP", 0x1026},
    {"F1", 0x1070}, {"F2", 0x1071}, {"F3", 0x1072}, {"F4", 0x1073}, {"F5", 0x1074}, {"F6", 0x1075},
    {"F7", 0x1076}, {"F8", 0x1077}, {"F9", 0x1078}, {"F10", 0x1079}, {"F11", 0x107A}, {"F12", 0x107B},
    {"F13", 0x107C}, {"F14", 0x107D}, {"F15", 0x107E}, {"F16", 0x107F},
    {"SPACE", 0x0020}, {"SP", 0x0020}, {"xyz", 0x00FF},
    {"", 0},
};
static_assert(sizeof kWaitNames / sizeof kWaitNames[0] == 40, "the WaitForKey table has 40 slots");

const unsigned NAME_MAX = 15;   // longer than every name in the tables

// The code of a name of `len` characters in a table, or -1.
int find_name(const KeyName* table, unsigned slots, const char* name, size_t len, bool any_case) {
    if (len == 0 || len > NAME_MAX) return -1;
    char text[NAME_MAX + 1];
    memcpy(text, name, len);
    text[len] = 0;
    for (unsigned i = 0; i < slots; ++i) {
        if (!table[i].name[0]) continue;
        if (any_case ? plat_compare_nocase(text, table[i].name) == 0 : strcmp(text, table[i].name) == 0)
            return table[i].code;
    }
    return -1;
}

unsigned modifier_key(char c) {
    return c == '!' ? VK_ALT_KEY : c == '+' ? VK_SHIFT_KEY : c == '^' ? VK_CTRL_KEY : 0;
}

// Sends the key at *p with the modifiers it implies, `count` times; moves
// *p past it. 0, or -1 for a syntax error.
int send_key(const char*& p, const KeySink& s) {
    if (!*p) return 0;
    unsigned vk = 0;
    bool named = false;
    unsigned char ch = 0;
    int32_t count = 1;
    if (*p == '{') {
        if (p[1] && p[2] == '}') {   // "{c}": the character itself
            ch = (unsigned char)p[1];
            p += 3;
        } else {
            const char* close = strchr(p + 1, '}');
            if (!close) return -1;
            const char* name = p + 1;
            const char* space = (const char*)memchr(name, ' ', (size_t)(close - name));
            size_t len = (size_t)((space ? space : close) - name);
            if (space) count = text_to_integer(space + 1);   // stops at the "}"
            p = close + 1;
            if (len >= 2) {
                int code = find_name(kSendNames, sizeof kSendNames / sizeof kSendNames[0], name, len, true);
                if (code < 0) return -1;
                vk = (unsigned)code;
                named = true;
            } else if (len == 1) {
                ch = (unsigned char)name[0];
            } else {
                return -1;   // "{}" or "{ 3}" names no key
            }
        }
    } else if (*p == '~') {
        vk = VK_ENTER_KEY;
        named = true;
        ++p;
    } else {
        ch = (unsigned char)*p++;
    }
    unsigned implied = 0;
    if (!named) {
        int k = s.scan(s.user, ch);
        if (k == -1) return 0;   // no key types this character: skipped
        vk = (unsigned)k & 0xFF;
        implied = ((unsigned)k >> 8) & 7;
    }
    if (implied & 1) s.event(s.user, VK_SHIFT_KEY, true);
    if (implied & 2) s.event(s.user, VK_CTRL_KEY, true);
    if (implied & 4) s.event(s.user, VK_ALT_KEY, true);
    for (int32_t i = 0; i < count && !s.stopped(s.user); ++i) {
        s.event(s.user, vk, true);
        s.event(s.user, vk, false);
    }
    if (implied & 4) s.event(s.user, VK_ALT_KEY, false);
    if (implied & 2) s.event(s.user, VK_CTRL_KEY, false);
    if (implied & 1) s.event(s.user, VK_SHIFT_KEY, false);
    return 0;
}

// One step: the prefixes pressed in order, the key, the prefixes released in
// the reverse order (so '+^a' is Shift, Ctrl, a, a up, Ctrl up, Shift up).
// The prefixes stand side by side in the text, so they are walked back there
// instead of through a recursion as deep as the run of prefixes.
int send_step(const char*& p, const KeySink& s) {
    const char* first = p;
    for (unsigned vk; (vk = modifier_key(*p)) != 0; ++p) s.event(s.user, vk, true);
    const char* last = p;
    int r = send_key(p, s);
    while (last > first) s.event(s.user, modifier_key(*--last), false);
    return r;
}

unsigned char upper_char(char c) {
    char s[2] = {c, 0};
    plat_upper(s);
    return (unsigned char)s[0];
}

} // namespace

int keys_send(const char* text, const KeySink& sink) {
    const char* p = text;
    while (*p && !sink.stopped(sink.user))
        if (send_step(p, sink) != 0) return -1;
    return 0;
}

// Modifiers are added into the 16-bit code, as they come.
int32_t wait_key_parse(const char* text) {
    if (!*text) return 0;
    uint16_t mods = 0;
    for (const char* p = text; *p;) {
        unsigned char c = upper_char(*p);
        if (c == '!') { mods = (uint16_t)(mods + WAIT_ALT); ++p; continue; }
        if (c == '+') { mods = (uint16_t)(mods + WAIT_SHIFT); ++p; continue; }
        if (c == '^') { mods = (uint16_t)(mods + WAIT_CTRL); ++p; continue; }
        if (c != '{') return (uint16_t)(c + mods);
        char name[NAME_MAX + 1];
        size_t len = 0;
        const char* q = p + 1;
        for (; *q && *q != '}'; ++q, ++len)
            if (len < NAME_MAX) name[len] = (char)upper_char(*q);
        if (len == 1) return (uint16_t)(upper_char(p[1]) + mods);
        if (len >= 2) {
            int code = find_name(kWaitNames, sizeof kWaitNames / sizeof kWaitNames[0], name, len, false);
            if (code >= 0) return (uint16_t)(code + mods);
            ++p;   // an unknown name: its first letter is the key
            continue;
        }
        p = *q ? q + 1 : q;   // "{}": no key here, go on after it
    }
    return -1;
}

int wait_keys_poll(const uint16_t* codes, unsigned count, uint16_t state,
                   bool (*down)(void* user, unsigned vk), void* user) {
    for (unsigned i = 0; i < count; ++i)
        if ((codes[i] & WAIT_MODIFIERS) == state && down(user, codes[i] & 0xFF)) return (int)i + 1;
    return 0;
}

} // namespace tsl

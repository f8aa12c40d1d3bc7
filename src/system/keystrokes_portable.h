// The keystroke language of SendKey and SendKeysTo, and the key notation of
// WaitForKey. Portable: the text is parsed here and every key event goes to
// a sink, which the DLL turns into keybd_event calls and the native tests and
// the fuzz target record.
#pragma once
#include <cstdint>

namespace tsl {

// What the keystroke language needs from its receiver.
struct KeySink {
    void* user;
    // The virtual key of a character (low byte) and the modifiers it implies
    // (high byte: 1 Shift, 2 Ctrl, 4 Alt), or -1 when no key types it: VkKeyScanA.
    int (*scan)(void* user, unsigned char c);
    // One key event: the virtual key pressed (down) or released.
    void (*event)(void* user, unsigned vk, bool down);
    // The user break: true stops the keys between two key strokes.
    bool (*stopped)(void* user);
};

const unsigned VK_SHIFT_KEY = 0x10, VK_CTRL_KEY = 0x11, VK_ALT_KEY = 0x12, VK_ENTER_KEY = 0x0D;

// Sends a keystroke text: 0 when all of it was sent (or the user break
// stopped it), -1 at a "{" without "}" or an unknown key name. Keys sent
// before the error stay sent; every modifier pressed is released again.
int keys_send(const char* text, const KeySink& sink);

// The WaitForKey notation: modifier bits of a code, and the mark of a
// virtual-key code (its absence: a character).
const uint16_t WAIT_ALT = 0x2000, WAIT_CTRL = 0x4000, WAIT_SHIFT = 0x8000, WAIT_VIRTUAL = 0x1000;
const uint16_t WAIT_MODIFIERS = 0xE000;
const unsigned WAIT_KEYS_MAX = 5;

// Parses one WaitForKey argument: the key code (never 0), 0 for an empty
// text, or -1 when the text names no key (error 3123 for the caller).
int32_t wait_key_parse(const char* text);

// One poll of the parsed keys against the current modifier state (the
// WAIT_* bits of Shift, Ctrl and Alt held down): the 1-based position of the
// first key whose modifiers equal the state exactly and whose low byte, as a
// virtual key, `down` reports held; 0 when none.
int wait_keys_poll(const uint16_t* codes, unsigned count, uint16_t state,
                   bool (*down)(void* user, unsigned vk), void* user);

} // namespace tsl

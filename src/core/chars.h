// Character classes of the current code page, read once from the platform
// into tables so that the lexer's hot paths make no system calls. Lead
// bytes are not cached: they are always asked of the platform.
#pragma once
#include <cstdint>

namespace tsl {

enum : uint8_t { CH_ALPHA = 1, CH_ALNUM = 2, CH_DIGIT = 4, CH_WORD = 8 };
extern uint8_t g_char_flags[256];
extern uint8_t g_char_lower[256];
extern bool g_chars_ready;
void chars_init();

inline bool ch_alpha(unsigned char c) { return g_char_flags[c] & CH_ALPHA; }
inline bool ch_alnum(unsigned char c) { return g_char_flags[c] & CH_ALNUM; }
inline bool ch_digit(unsigned char c) { return g_char_flags[c] & CH_DIGIT; }
// Letters, digits and "@": the characters of a name.
inline bool ch_word(unsigned char c) { return g_char_flags[c] & CH_WORD; }
inline unsigned char ch_lower(unsigned char c) { return g_char_lower[c]; }

} // namespace tsl

// The character-class tables (see chars.h).
#include "chars.h"
#include "plat.h"

namespace tsl {

uint8_t g_char_flags[256];
uint8_t g_char_lower[256];
bool g_chars_ready = false;

void chars_init() {
    for (unsigned c = 0; c < 256; ++c) {
        unsigned char b = (unsigned char)c;
        uint8_t f = 0;
        if (c && plat_is_alpha(b)) f |= CH_ALPHA;
        if (c && plat_is_alnum(b)) f |= CH_ALNUM;
        if (c && plat_is_digit(b)) f |= CH_DIGIT;
        if ((f & CH_ALNUM) || c == '@') f |= CH_WORD;
        g_char_flags[c] = f;
        g_char_lower[c] = c ? plat_lower_char(b) : 0;
    }
    g_chars_ready = true;
}

} // namespace tsl

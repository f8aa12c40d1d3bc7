// Character stepping for the value functions. A character is one byte, or a
// double-byte lead byte with its trail byte, exactly as the platform's
// next-character step sees it; nothing here ever splits such a pair.
#pragma once
#include <cstring>
#include "../core/plat.h"

namespace tsl {

// Steps one character; never steps past the NUL. Without a double-byte code
// page the platform's step is one byte, so that case is taken inline.
inline const char* ch_next(const char* p) {
    if (!plat_dbcs_enabled()) return p + (*p != 0);
    return plat_char_next(p);
}
inline char* ch_next(char* p) { return const_cast<char*>(ch_next(static_cast<const char*>(p))); }

// Number of characters of s.
inline long ch_count(const char* s) {
    if (!plat_dbcs_enabled()) return (long)strlen(s);
    long n = 0;
    for (; *s; s = plat_char_next(s)) n++;
    return n;
}

// The position after the first n characters (at the NUL when s is shorter).
inline const char* ch_skip(const char* s, long n) {
    if (!plat_dbcs_enabled()) {
        size_t len = strlen(s);
        return s + (n <= 0 ? 0 : ((size_t)n < len ? (size_t)n : len));
    }
    for (; n > 0 && *s; n--) s = plat_char_next(s);
    return s;
}

// Character equality of the searches: the first bytes are equal and, when the
// first byte is a lead byte, the second bytes too.
inline bool ch_equal(const char* a, const char* b) {
    if (a[0] != b[0]) return false;
    return !plat_is_lead_byte((unsigned char)a[0]) || a[1] == b[1];
}

} // namespace tsl

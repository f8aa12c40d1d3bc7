// Short byte runs compared and copied in place, eight bytes at a step. The
// run loop compares and copies every line it reads again; a call into the
// C library for a line of a few dozen bytes costs more than the work, the
// more so in the DLL, whose library routines go a byte at a time. Long
// runs still go to the library, which is faster there.
const size_t SHORT_RUN = 64;
#pragma once
#include <cstdint>
#include <cstring>

namespace tsl {

inline uint64_t load8(const unsigned char* p) {
    uint64_t x;
    memcpy(&x, p, 8);
    return x;
}

inline bool bytes_equal(const void* a, const void* b, size_t n) {
    if (n > SHORT_RUN) return memcmp(a, b, n) == 0;
    const unsigned char* p = (const unsigned char*)a;
    const unsigned char* q = (const unsigned char*)b;
    if (n < 8) {
        for (; n; --n)
            if (*p++ != *q++) return false;
        return true;
    }
    // Whole words, then the last eight bytes (overlapping the words before).
    for (size_t k = 0; k + 8 <= n; k += 8)
        if (load8(p + k) != load8(q + k)) return false;
    return load8(p + n - 8) == load8(q + n - 8);
}

inline void bytes_copy(void* dst, const void* src, size_t n) {
    if (n > SHORT_RUN) { memcpy(dst, src, n); return; }
    unsigned char* d = (unsigned char*)dst;
    const unsigned char* s = (const unsigned char*)src;
    if (n < 8) {
        for (; n; --n) *d++ = *s++;
        return;
    }
    uint64_t last = load8(s + n - 8);
    for (size_t k = 0; k + 8 <= n; k += 8) {
        uint64_t x = load8(s + k);
        memcpy(d + k, &x, 8);
    }
    memcpy(d + n - 8, &last, 8);
}

} // namespace tsl

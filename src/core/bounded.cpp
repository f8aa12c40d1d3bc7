// Bounded copy and append. Lengths are taken in their low 16 bits, and a
// cut never respects double-byte characters: both as the interpreter has
// always done it.
#include "bounded.h"
#include <cstring>
#include "context.h"

namespace tsl {

void bounded_copy(Context* ctx, char* dst, const char* src, unsigned capacity) {
    if (!dst || !src) { fail(ctx, 3098); return; }
    if (capacity == 0) return;
    unsigned len = (uint16_t)strlen(src);
    unsigned cap = (uint16_t)capacity;
    unsigned n = len < cap - 1 ? len : cap - 1;
    memmove(dst, src, n);
    dst[n] = 0;
}

void bounded_append(Context* ctx, char* dst, const char* src, unsigned capacity) {
    if (!dst || !src) { fail(ctx, 3098); return; }
    unsigned have = (uint16_t)strlen(dst);
    if (capacity == 0 || have >= capacity - 1) return;
    unsigned len = (uint16_t)strlen(src);
    unsigned end = have + len < capacity - 1 ? have + len : capacity - 1;
    memmove(dst + have, src, end - have);
    dst[end] = 0;
}

} // namespace tsl

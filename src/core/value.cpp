// Values and their two conversions, integer <-> text.
#include "value.h"
#include <cstring>
#include "context.h"
#include "bytes.h"
#include "heap.h"

namespace tsl {

// to-string: renders the integer; setting the flags to exactly 3 drops the
// file-handle bit, so a handle turned into text is no longer a handle.
int value_to_string(Context* ctx, Value* v) {
    if (v->flags & VF_STR) return 1;
    if (!(v->flags & VF_INT)) return 0;
    char buf[40];
    integer_to_text(v->integer, buf, 10);
    unsigned len = (unsigned)strlen(buf);
    uint16_t off = heap_alloc(ctx->heap, len + 1);
    if (!off) return fail(ctx, 3096);
    bytes_copy(heap_ptr(ctx->heap, off), buf, len + 1);
    v->string = off;
    v->flags = VF_INT | VF_STR;
    return 1;
}

// The number test: blanks (spaces only), then any run of signs, then at
// least one digit and nothing but digits. "--5" passes and converts to 0.
bool text_is_number(const char* s) {
    enum { START, SIGN, DIGITS } state = START;
    for (; *s; ++s) {
        char c = *s;
        if (state == START) {
            if (c == ' ') continue;
            state = SIGN;
        }
        if (c == '+' || c == '-') {
            if (state != SIGN) return false;
        } else if (c >= '0' && c <= '9') {
            state = DIGITS;
        } else {
            return false;
        }
    }
    return state == DIGITS;
}

int value_to_integer(Context* ctx, Value* v) {
    if (v->flags & VF_INT) return 1;
    if (!(v->flags & VF_STR)) return 0;
    v->integer = 0;
    const char* s = value_text(ctx, *v);
    if (!text_is_number(s)) return 0;
    v->integer = text_to_integer(s);
    return 1;
}

int32_t text_to_integer(const char* s) {
    while (*s == ' ') ++s;
    bool negative = false;
    if (*s == '+' || *s == '-') negative = *s++ == '-';
    uint32_t n = 0;
    while (*s >= '0' && *s <= '9') n = n * 10u + (uint32_t)(*s++ - '0');
    return (int32_t)(negative ? 0u - n : n);
}

// Digits are produced from the least significant end by signed division,
// so the most negative integer needs no negation of its own.
char* integer_to_text(int32_t n, char* buf, int radix) {
    static const char digits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    char work[32];
    int pos = 30;
    work[pos] = 0;
    char* out = buf;
    if (n < 0) *out++ = '-';
    do {
        int r = (int)(n % radix);
        if (r < 0) r = -r;
        work[--pos] = digits[r];
        n /= radix;
    } while (n != 0 && pos > 1);
    memcpy(out, work + pos, (size_t)(31 - pos));
    return buf;
}

void value_free(Context* ctx, Value* v) {
    if (v->string) {
        heap_free(ctx->heap, v->string);
        v->string = 0;
    }
    v->flags &= ~(uint32_t)VF_STR;
}

const char* value_text(const Context* ctx, const Value& v) {
    return v.string ? heap_ptr(ctx->heap, v.string) : "";
}

char* value_alloc_text(Context* ctx, Value* v, unsigned bytes) {
    if (bytes == 0) bytes = 1;
    uint16_t off = bytes <= HEAP_MAX_SIZE ? heap_alloc(ctx->heap, bytes) : 0;
    if (!off) { fail(ctx, 3096); return nullptr; }
    if (v->string) heap_free(ctx->heap, v->string);
    v->string = off;
    v->flags = VF_STR;
    char* p = heap_ptr(ctx->heap, off);
    p[0] = 0;
    return p;
}

int value_set_text_n(Context* ctx, Value* v, const char* text, unsigned len) {
    char* p = value_alloc_text(ctx, v, len + 1);
    if (!p) return 0;
    bytes_copy(p, text, len);
    p[len] = 0;
    return 1;
}

int value_set_text(Context* ctx, Value* v, const char* text) {
    return value_set_text_n(ctx, v, text, (unsigned)strlen(text));
}

uint16_t value_copy_text(Context* ctx, uint16_t text) {
    const char* from = heap_ptr(ctx->heap, text);
    size_t len = strlen(from);
    uint16_t off = heap_alloc(ctx->heap, (uint32_t)len + 1);
    if (!off) { fail(ctx, 3096); return 0; }
    bytes_copy(heap_ptr(ctx->heap, off), from, len + 1);
    return off;
}

} // namespace tsl

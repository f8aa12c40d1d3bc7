// The string functions (Str*). Positions and counts are characters as the
// platform steps them (a lead byte and its trail byte are one character);
// StrLen and StrFix alone count bytes. Every result is a fresh heap text.
#include <cstring>
#include "families.h"
#include "chars.h"
#include "../core/eval.h"
#include "../core/heap.h"

namespace tsl {

enum : int16_t {   // ORDER KEYWORDS: ids of keyword_table.cpp
    ID_STRCAT = 216, ID_STRCHARCOUNT = 217, ID_STRCMP = 218, ID_STRFILL = 219, ID_STRFIX = 220,
    ID_STRFIXCHARS = 221, ID_STRICMP = 222, ID_STRINDEX = 223, ID_STRLEN = 224,
    ID_STRLOWER = 225, ID_STRREPLACE = 226, ID_STRSCAN = 227, ID_STRSUB = 228,
    ID_STRTRIM = 229, ID_STRUPPER = 230,
};
static_assert((int)ID_STRCAT == (int)K_STRCAT, "StrCat keeps its keyword id");

static const unsigned HEAP_TEXT_MAX = 65535;   // the largest block size a 16-bit size can name

static const char* text(Context* ctx, const Value& v) { return value_text(ctx, v); }

// A result of `bytes` bytes (NUL included); sizes beyond the heap's 16-bit
// reach are out of memory like any other failed allocation.
static char* result_buffer(Context* ctx, Value* result, long long bytes) {
    if (bytes > HEAP_TEXT_MAX) { fail(ctx, 3096); return nullptr; }
    return value_alloc_text(ctx, result, (unsigned)bytes);
}

// StrCat(s1, s2, ...) reads its own arguments and appends in place; the
// buffer starts at 129 bytes and, when full, is replaced by one of
// total + 65 bytes, so a long concatenation copies its text rarely.
static void str_cat(Context* ctx, Value* result, Value*) {
    char* buf = value_alloc_text(ctx, result, 129);
    if (!buf) return;
    unsigned len = 0, capacity = 128;
    bool last = false;
    while (!last) {
        Value v = value_int(0);
        v.flags = 0;
        if (!eval_next_argument(ctx, &v, &last, 2058) || ctx->error) {
            value_free(ctx, &v);
            break;
        }
        if (!value_to_string(ctx, &v)) {
            if (!ctx->error) fail(ctx, 3056);
            value_free(ctx, &v);
            break;
        }
        const char* s = text(ctx, v);
        unsigned n = (unsigned)strlen(s);
        if (len + n >= capacity) {
            uint16_t off = len + n + 65 <= HEAP_TEXT_MAX ? heap_alloc(ctx->heap, len + n + 65) : 0;
            if (!off) {
                fail(ctx, 3096);
                value_free(ctx, &v);
                break;
            }
            char* grown = heap_ptr(ctx->heap, off);
            memcpy(grown, buf, len);
            heap_free(ctx->heap, result->string);
            result->string = off;
            buf = grown;
            capacity = len + n + 64;
        }
        memcpy(buf + len, s, n + 1);
        len += n;
        value_free(ctx, &v);
    }
    if (ctx->error) value_free(ctx, result);
}

static void str_char_count(Context* ctx, Value* result, Value* args) {
    result->integer = (int32_t)ch_count(text(ctx, args[1]));
}

static void str_len(Context* ctx, Value* result, Value* args) {
    result->integer = (int32_t)strlen(text(ctx, args[1]));
}

static void str_cmp(Context* ctx, Value* result, Value* args) {
    result->integer = plat_compare(text(ctx, args[1]), text(ctx, args[2]));
}

static void str_icmp(Context* ctx, Value* result, Value* args) {
    result->integer = plat_compare_nocase(text(ctx, args[1]), text(ctx, args[2]));
}

// Cuts s after `chars` characters.
static void cut_chars(char* s, long chars) { *const_cast<char*>(ch_skip(s, chars)) = 0; }

// StrFill(filler, length): the filler repeated to `length` characters.
static void str_fill(Context* ctx, Value* result, Value* args) {
    const char* filler = text(ctx, args[1]);
    if (!*filler) filler = " ";
    long length = args[2].integer;
    if (length <= 0) { value_set_text(ctx, result, ""); return; }
    long c = ch_count(filler);
    size_t b = strlen(filler);
    long long repeats = ((long long)length + c - 1) / c;
    long long size = repeats * (long long)b + 1;
    char* buf = result_buffer(ctx, result, size < 2 ? 2 : size);
    if (!buf) return;
    for (long long i = 0; i < repeats; i++) memcpy(buf + i * (long long)b, filler, b);
    buf[repeats * (long long)b] = 0;
    cut_chars(buf, length);
}

// StrFix(base, padding, length): exactly `length` bytes. A double-byte
// character that the cut would split is replaced by one space.
static void str_fix(Context* ctx, Value* result, Value* args) {
    const char* base = text(ctx, args[1]);
    const char* pad = text(ctx, args[2]);
    if (!*pad) pad = " ";
    long length = args[3].integer;
    if (length < 0) length = 0;
    char* buf = result_buffer(ctx, result, (long long)length + 3);
    if (!buf) return;
    size_t blen = strlen(base), plen = strlen(pad);
    size_t len = blen < (size_t)length ? blen : (size_t)length;
    memcpy(buf, base, len);
    while (len < (size_t)length) {   // the last copy of the padding is cut in bytes
        size_t n = plen < (size_t)length - len ? plen : (size_t)length - len;
        memcpy(buf + len, pad, n);
        len += n;
    }
    buf[len] = 0;
    char* end = buf + len;
    for (char* p = buf; p < end; p = ch_next(p)) {
        if (plat_is_lead_byte((unsigned char)*p) && p + 1 >= end) {
            p[0] = ' ';
            p[1] = 0;
            break;
        }
    }
}

// StrFixChars(base, padding, length): exactly `length` characters.
static void str_fix_chars(Context* ctx, Value* result, Value* args) {
    const char* base = text(ctx, args[1]);
    const char* pad = text(ctx, args[2]);
    if (!*pad) pad = " ";
    long length = args[3].integer;
    if (length <= 0) { value_set_text(ctx, result, ""); return; }
    long cb = ch_count(base);
    size_t bb = strlen(base), pb = strlen(pad);
    long long repeats = 0, size;
    if (cb < length) {
        long cp = ch_count(pad);
        repeats = ((long long)length - cb + cp - 1) / cp;
        size = (long long)pb * repeats + (long long)bb + 1;
    } else {
        size = (long long)(ch_skip(base, length) - base) + 1;
    }
    char* buf = result_buffer(ctx, result, size);
    if (!buf) return;
    size_t n = (size_t)size - 1 < bb ? (size_t)size - 1 : bb;
    memcpy(buf, base, n);
    for (long long i = 0; i < repeats; i++, n += pb) memcpy(buf + n, pad, pb);
    buf[n] = 0;
    cut_chars(buf, length);
}

// Whether the m characters of sub stand at p.
static bool matches_at(const char* p, const char* sub) {
    while (*sub) {
        if (!ch_equal(p, sub)) return false;
        p = ch_next(p);
        sub = ch_next(sub);
    }
    return true;
}

// StrIndex(string, sub, start, direction): position of sub, 0 = none.
// An empty string is always out of bounds here (1100), unlike StrScan.
static void str_index(Context* ctx, Value* result, Value* args) {
    const char* s = text(ctx, args[1]);
    const char* sub = text(ctx, args[2]);
    long start = args[3].integer;
    bool backward = args[4].integer != 0;
    long n = ch_count(s), m = ch_count(sub);
    if (start == 0) start = backward ? n : 1;
    if (start < 1 || start > n) { fail(ctx, 1100); return; }
    if (m == 0) { result->integer = (int32_t)start; return; }
    if (!backward) {
        if (n - (start - 1) < m) return;
        const char* p = ch_skip(s, start - 1);
        for (long pos = start - 1; pos <= n - m; pos++, p = ch_next(p))
            if (matches_at(p, sub)) { result->integer = (int32_t)(pos + 1); return; }
        return;
    }
    // Backward: a match must end before character `start`, so one that would
    // end exactly at start = m is not found (kept deliberately). The highest
    // match from start - m down to 0 is the last one met walking forward.
    if (start - 1 < m) return;
    const char* p = s;
    for (long pos = 0; pos <= start - m; pos++, p = ch_next(p))
        if (matches_at(p, sub)) result->integer = (int32_t)(pos + 1);
}

static bool is_delimiter(const char* p, const char* delims) {
    for (const char* d = delims; *d; d = ch_next(d))
        if (ch_equal(p, d)) return true;
    return false;
}

// StrScan(string, delimiters, start, direction): position of the first (or
// last, backward) character that is one of the delimiters.
static void str_scan(Context* ctx, Value* result, Value* args) {
    const char* s = text(ctx, args[1]);
    const char* delims = text(ctx, args[2]);
    long start = args[3].integer;
    bool backward = args[4].integer != 0;
    if (!*s) return;
    long n = ch_count(s);
    if (start == 0) start = backward ? n : 1;
    if (start < 1 || start > n) { fail(ctx, 1100); return; }
    if (!*delims) { result->integer = (int32_t)start; return; }
    if (!backward) {
        const char* p = ch_skip(s, start - 1);
        for (long pos = start; *p; pos++, p = ch_next(p))
            if (is_delimiter(p, delims)) { result->integer = (int32_t)pos; return; }
        return;
    }
    const char* p = s;
    for (long pos = 1; pos <= start; pos++, p = ch_next(p))
        if (is_delimiter(p, delims)) result->integer = (int32_t)pos;
}

// StrSub(string, start, length): never clips; every bound violation is 3059.
static void str_sub(Context* ctx, Value* result, Value* args) {
    const char* s = text(ctx, args[1]);
    long long start = args[2].integer, length = args[3].integer;
    long long n = ch_count(s);
    if ((start < 1 && length != 0) || (start > n && length > 0) || length < 0 ||
        length > n - start + 1) {
        fail(ctx, 3059);
        return;
    }
    const char* from = start > 1 ? ch_skip(s, (long)(start - 1)) : s;
    const char* to = ch_skip(from, (long)length);
    value_set_text_n(ctx, result, from, (unsigned)(to - from));
}

// StrTrim: drops leading and trailing spaces and tabs (only those two bytes).
static void str_trim(Context* ctx, Value* result, Value* args) {
    const char* s = text(ctx, args[1]);
    while (*s == ' ' || *s == '\t') s++;
    const char* end = s;
    for (const char* p = s; *p;) {
        const char* q = ch_next(p);
        if (*p != ' ' && *p != '\t') end = q;   // a double-byte character is kept whole
        p = q;
    }
    value_set_text_n(ctx, result, s, (unsigned)(end - s));
}

// StrReplace(string, old, new): every non-overlapping occurrence, left to right.
static void str_replace(Context* ctx, Value* result, Value* args) {
    const char* s = text(ctx, args[1]);
    const char* old = text(ctx, args[2]);
    const char* rep = text(ctx, args[3]);
    if (!*s || !*old) { value_set_text(ctx, result, s); return; }
    size_t ob = strlen(old), nb = strlen(rep);
    long long count = 0;
    for (const char* p = s; *p;) {
        if (strncmp(p, old, ob) == 0) { count++; p += ob; }
        else p = ch_next(p);
    }
    long long size = ((long long)nb - (long long)ob) * count + (long long)strlen(s) + 2;
    char* out = result_buffer(ctx, result, size);
    if (!out) return;
    const char* p = s;
    while (count > 0) {
        if (strncmp(p, old, ob) == 0) {
            memcpy(out, rep, nb);
            out += nb;
            p += ob;
            count--;
        } else {
            const char* q = ch_next(p);
            memcpy(out, p, (size_t)(q - p));
            out += q - p;
            p = q;
        }
    }
    strcpy(out, p);
}

// The platform maps case (through tables of its own where that gives the
// system's answer, and stepping over trail bytes on a double-byte code page).
static void case_copy(Context* ctx, Value* result, Value* args, void (*convert)(char*)) {
    if (!value_set_text(ctx, result, text(ctx, args[1]))) return;
    convert(heap_ptr(ctx->heap, result->string));
}
static void str_lower(Context* ctx, Value* result, Value* args) { case_copy(ctx, result, args, plat_lower); }
static void str_upper(Context* ctx, Value* result, Value* args) { case_copy(ctx, result, args, plat_upper); }

static const FunctionEntry kTable[] = {
    {ID_STRCAT, str_cat}, {ID_STRCHARCOUNT, str_char_count}, {ID_STRCMP, str_cmp},
    {ID_STRFILL, str_fill}, {ID_STRFIX, str_fix}, {ID_STRFIXCHARS, str_fix_chars},
    {ID_STRICMP, str_icmp}, {ID_STRINDEX, str_index}, {ID_STRLEN, str_len},
    {ID_STRLOWER, str_lower}, {ID_STRREPLACE, str_replace}, {ID_STRSCAN, str_scan},
    {ID_STRSUB, str_sub}, {ID_STRTRIM, str_trim}, {ID_STRUPPER, str_upper},
};
TSL_FAMILY_DEFINE(kFamilyStrings, kTable)

} // namespace tsl

// The item-list functions (Item*). A list is a string of items separated by
// a one-character delimiter (a double-byte character counts as one); an
// empty delimiter argument means the tab. Items are numbered from 1.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include "families.h"
#include "chars.h"

namespace tsl {

enum : int16_t {   // ORDER KEYWORDS: ids of keyword_table.cpp
    ID_ITEMCOUNT = 158, ID_ITEMEXTRACT = 159, ID_ITEMINSERT = 160, ID_ITEMLOCATE = 161,
    ID_ITEMREMOVE = 162, ID_ITEMSORT = 164,
};

static const long long HEAP_TEXT_MAX = 65535;

struct Delim {
    char b[2];
    unsigned len;   // 1, or 2 for a lead byte with its trail byte
};

// The first character of the delimiter argument (at most its first bytes).
static Delim delim_of(const char* arg) {
    Delim d = {{'\t', 0}, 1};
    if (!*arg) return d;
    d.b[0] = arg[0];
    if (plat_is_lead_byte((unsigned char)arg[0])) {
        d.b[1] = arg[1];
        d.len = arg[1] ? 2 : 1;
    }
    return d;
}

// Whether the list character at p is the delimiter.
static inline bool is_delim(const char* p, const Delim& d) {
    return p[0] == d.b[0] && (d.len == 1 || p[1] == d.b[1]);
}

// The end of the item that starts at p (its delimiter or the NUL). Without
// a double-byte code page every byte is a character, so the search for a
// one-byte delimiter can run over bytes.
// (Items are short: a plain loop beats a library search call per item.)
static inline const char* item_end(const char* p, const Delim& d, bool bytes) {
    if (bytes) {
        const char c = d.b[0];
        while (*p && *p != c) p++;
        return p;
    }
    while (*p && !is_delim(p, d)) p = ch_next(p);
    return p;
}
static const char* item_end(const char* p, const Delim& d) {
    return item_end(p, d, !plat_dbcs_enabled() && d.len == 1);
}

// The next item's start after an item ending at e (nullptr at the list's end).
static const char* after(const char* e, const Delim& d) { return *e ? e + d.len : nullptr; }

static const char* arg_text(Context* ctx, const Value& v) { return value_text(ctx, v); }

// ItemCount(list, delimiter)
static void item_count(Context* ctx, Value* result, Value* args) {
    const char* p = arg_text(ctx, args[1]);
    Delim d = delim_of(arg_text(ctx, args[2]));
    int32_t count = 0;
    bool open = false;   // characters since the last delimiter
    for (; *p; p = ch_next(p)) {
        if (is_delim(p, d)) { count++; open = false; }
        else open = true;
    }
    result->integer = count + (open ? 1 : 0);
}

// The start of item `index` (1-based), or nullptr when the list has fewer items.
static const char* find_item(const char* p, long index, const Delim& d) {
    if (index < 1) return nullptr;
    const bool bytes = !plat_dbcs_enabled() && d.len == 1;
    for (long i = 1; i < index; i++) {
        p = after(item_end(p, d, bytes), d);
        if (!p) return nullptr;
    }
    return p;
}

// ItemExtract(index, list, delimiter): one pass to the item; "" when absent.
static void item_extract(Context* ctx, Value* result, Value* args) {
    Delim d = delim_of(arg_text(ctx, args[3]));
    const char* start = find_item(arg_text(ctx, args[2]), args[1].integer, d);
    if (!start) { value_set_text(ctx, result, ""); return; }
    value_set_text_n(ctx, result, start, (unsigned)(item_end(start, d) - start));
}

// ItemInsert(item, index, list, delimiter): index 0 puts the item first,
// index k after the k-th item; an item placed at the end is followed by the
// delimiter (the trailing delimiter of built lists, deliberately).
static void item_insert(Context* ctx, Value* result, Value* args) {
    const char* item = arg_text(ctx, args[1]);
    long index = args[2].integer;
    const char* list = arg_text(ctx, args[3]);
    Delim d = delim_of(arg_text(ctx, args[4]));
    size_t ib = strlen(item), lb = strlen(list);
    long long size = (long long)lb + (long long)ib + 2 * d.len + 1;
    if (size > HEAP_TEXT_MAX) { fail(ctx, 3096); return; }
    char* out = value_alloc_text(ctx, result, (unsigned)size);
    if (!out) return;
    long passed = 0;
    bool inserted = false, last_was_delim = false;
    for (const char* p = list; *p;) {
        if (passed == index && !inserted) {
            memcpy(out, item, ib); out += ib;
            memcpy(out, d.b, d.len); out += d.len;
            inserted = true;
        }
        const char* q = ch_next(p);
        last_was_delim = is_delim(p, d);
        if (last_was_delim) passed++;
        memcpy(out, p, (size_t)(q - p)); out += q - p;
        p = q;
    }
    if (!inserted) {
        if (!last_was_delim) { memcpy(out, d.b, d.len); out += d.len; }
        memcpy(out, item, ib); out += ib;
        memcpy(out, d.b, d.len); out += d.len;
    }
    *out = 0;
}

// ItemLocate(item, list, delimiter): number of the first equal item, 0 = none.
static void item_locate(Context* ctx, Value* result, Value* args) {
    const char* item = arg_text(ctx, args[1]);
    const char* p = arg_text(ctx, args[2]);
    Delim d = delim_of(arg_text(ctx, args[3]));
    if (!*item) return;
    size_t ib = strlen(item);
    for (int32_t number = 1; p; number++) {
        const char* e = item_end(p, d);
        if ((size_t)(e - p) == ib && memcmp(p, item, ib) == 0) { result->integer = number; return; }
        p = after(e, d);
    }
}

// ItemRemove(index, list, delimiter): the item and the delimiter that ends
// it are left out; removing the last item of a list without a trailing
// delimiter leaves the delimiter before it (a,b without item 2 is "a,").
static void item_remove(Context* ctx, Value* result, Value* args) {
    const char* list = arg_text(ctx, args[2]);
    Delim d = delim_of(arg_text(ctx, args[3]));
    const char* start = find_item(list, args[1].integer, d);
    if (!start) { value_set_text(ctx, result, list); return; }
    const char* e = item_end(start, d);
    if (*e) e += d.len;
    size_t head = (size_t)(start - list), tail = strlen(e);
    char* out = value_alloc_text(ctx, result, (unsigned)(head + tail + 1));
    if (!out) return;
    memcpy(out, list, head);
    memcpy(out + head, e, tail + 1);
}

struct Span {
    const char* p;
    unsigned len;
};

// The sort's order: bytes compared as signed 8-bit values (bytes 128-255
// sort before ASCII, deliberately), with case; a prefix sorts first.
static bool span_less(const Span& a, const Span& b) {
    unsigned n = a.len < b.len ? a.len : b.len;
    for (unsigned i = 0; i < n; i++) {
        signed char x = (signed char)a.p[i], y = (signed char)b.p[i];
        if (x != y) return x < y;
    }
    return a.len < b.len;
}

// ItemSort(list, delimiter): the non-empty items in ascending order, each
// followed by the delimiter; equal items keep their list order and empty
// items are dropped. The order is that of a selection sort which takes the
// first of equal items each pass; a stable sort gives the same order.
static void item_sort(Context* ctx, Value* result, Value* args) {
    const char* list = arg_text(ctx, args[1]);
    Delim d = delim_of(arg_text(ctx, args[2]));
    size_t count = 0, bytes = 0;
    for (const char* p = list; p; p = after(item_end(p, d), d)) count++;
    Span* spans = static_cast<Span*>(malloc((count ? count : 1) * sizeof(Span)));
    if (!spans) { fail(ctx, 3096); return; }
    size_t k = 0;
    for (const char* p = list; p;) {
        const char* e = item_end(p, d);
        if (e > p) { spans[k++] = Span{p, (unsigned)(e - p)}; bytes += (size_t)(e - p) + d.len; }
        p = after(e, d);
    }
    std::stable_sort(spans, spans + k, span_less);
    char* out = bytes + 1 <= (size_t)HEAP_TEXT_MAX ? value_alloc_text(ctx, result, (unsigned)bytes + 1)
                                                  : (fail(ctx, 3096), nullptr);
    if (out) {
        for (size_t i = 0; i < k; i++) {
            memcpy(out, spans[i].p, spans[i].len); out += spans[i].len;
            memcpy(out, d.b, d.len); out += d.len;
        }
        *out = 0;
    }
    free(spans);
}

static const FunctionEntry kTable[] = {
    {ID_ITEMCOUNT, item_count}, {ID_ITEMEXTRACT, item_extract}, {ID_ITEMINSERT, item_insert},
    {ID_ITEMLOCATE, item_locate}, {ID_ITEMREMOVE, item_remove}, {ID_ITEMSORT, item_sort},
};
TSL_FAMILY_DEFINE(kFamilyItems, kTable)

} // namespace tsl

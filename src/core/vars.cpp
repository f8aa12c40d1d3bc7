// The variable table: slots in the host's block, searched linearly.
// Names compare case-insensitively through the platform's comparison; an
// ASCII fast path gives the same answers for plain names.
#include "vars.h"
#include <cstring>
#include "bounded.h"
#include "heap.h"

namespace tsl {

static inline unsigned char ascii_lower(unsigned char c) { return (c >= 'A' && c <= 'Z') ? c + 32 : c; }

// Case-insensitive equality of a stored (lower-case) name and a name as read.
static bool same_name_slow(const char* stored, const char* name) {
    const unsigned char* a = (const unsigned char*)stored;
    const unsigned char* b = (const unsigned char*)name;
    for (;; ++a, ++b) {
        if ((*a | *b) & 0x80) return plat_compare_nocase(stored, name) == 0;
        if (ascii_lower(*a) != ascii_lower(*b)) return false;
        if (!*a) return true;
    }
}

// The first characters decide most comparisons without a call.
static inline bool same_name(const char* stored, const char* name) {
    unsigned char a = (unsigned char)*stored, b = (unsigned char)*name;
    if (!((a | b) & 0x80) && ascii_lower(a) != ascii_lower(b)) return false;
    return same_name_slow(stored, name);
}

uint16_t var_find_slot(Context* ctx, const char* name) {
    VarSlot* v = ctx->vars;
    for (unsigned i = 0; i < ctx->var_count; ++i)
        if (v[i].value.flags && same_name(v[i].name, name)) return (uint16_t)i;
    return NO_VARIABLE;
}

bool var_slot_holds(Context* ctx, uint16_t slot, const char* name) {
    if (slot >= ctx->var_count || !ctx->vars[slot].value.flags) return false;
    const unsigned char* a = (const unsigned char*)ctx->vars[slot].name;
    const unsigned char* b = (const unsigned char*)name;
    for (;; ++a, ++b) {
        if ((*a | *b) & 0x80) return same_name_slow(ctx->vars[slot].name, name);
        if (ascii_lower(*a) != ascii_lower(*b)) return false;
        if (!*a) return true;
    }
}

uint16_t find_var(Context* ctx, const char* name) {
    uint16_t slot = var_find_slot(ctx, name);
    if (slot == NO_VARIABLE) { fail(ctx, 3051); return NO_VARIABLE; }
    if (!(ctx->vars[slot].value.flags & 3)) { fail(ctx, 3052); return NO_VARIABLE; }
    return slot;
}

static void store_lower_name(Context* ctx, char* dst, const char* name) {
    bounded_copy(ctx, dst, name, 32);
    for (char* p = dst; *p; ++p) *p = (char)plat_lower_char((unsigned char)*p);
}

// Takes the last free slot seen in the scan, or a new one at the count.
// Returns NO_VARIABLE with 3097 when the table is full; the count has then
// already grown by one, as it always has.
static uint16_t take_slot(Context* ctx, unsigned last_free) {
    unsigned slot = last_free;
    if (slot == NO_VARIABLE) {
        slot = ctx->var_count++;
        if (ctx->var_count >= ctx->var_capacity) { fail(ctx, 3097); return NO_VARIABLE; }
    }
    return (uint16_t)slot;
}

uint16_t var_register(Context* ctx, const char* name) {
    VarSlot* v = ctx->vars;
    unsigned last_free = NO_VARIABLE;
    for (unsigned i = 0; i < ctx->var_count; ++i) {
        if (!v[i].value.flags) { last_free = i; continue; }
        if (same_name(v[i].name, name)) return (uint16_t)i;
    }
    uint16_t slot = take_slot(ctx, last_free);
    if (slot == NO_VARIABLE) return NO_VARIABLE;
    store_lower_name(ctx, v[slot].name, name);
    v[slot].value = Value{-1, 0, NO_VARIABLE, VF_REGISTERED};
    return slot;
}

void var_assign(Context* ctx, uint16_t slot, const Value& val) {
    Value& s = ctx->vars[slot].value;
    if (s.flags == VF_SPECIAL) fail(ctx, 2253);
    if (s.string) heap_free(ctx->heap, s.string);
    s.integer = 0;
    s.flags = VF_INT;
    s.string = 0;
    if (ctx->error) return;
    if ((val.flags & VF_STR) && val.string) {
        uint16_t off = value_copy_text(ctx, val.string);
        if (!off) return;
        s.string = off;
    }
    s.integer = val.integer;
    s.flags = val.flags;
}

void var_drop(Context* ctx, const char* name) {
    VarSlot* v = ctx->vars;
    for (unsigned i = 0; i < ctx->var_capacity; ++i) {
        if (!v[i].value.flags || plat_compare(v[i].name, name) != 0) continue;
        // A special value raises 2253 and is dropped all the same, as an
        // assignment to one raises 2253 and is carried out.
        if (v[i].value.flags == VF_SPECIAL) fail(ctx, 2253);
        if (v[i].value.string) heap_free(ctx->heap, v[i].value.string);
        v[i].value = Value{0, 0, NO_VARIABLE, 0};
        v[i].name[0] = 0;
        if (i + 1 == ctx->var_count) ctx->var_count--;
        return;
    }
}

// Names of up to 30 characters map to themselves in lower case; the 31st
// and later characters are added onto positions 5..29, so long names may
// share a key. Scripts and extenders depend on which names collide.
void var_fold_key(const char* name, char key[32]) {
    memset(key, 0, 32);
    if (!*name) return;
    unsigned char c = (unsigned char)*name;
    key[0] = (char)(c < 128 ? ascii_lower(c) : c);
    unsigned pos = 1;
    for (const unsigned char* p = (const unsigned char*)name + 1; *p; ++p) {
        unsigned char l = *p < 128 ? ascii_lower(*p) : *p;
        key[pos] = (char)(uint8_t)((uint8_t)key[pos] + l);
        if (++pos == 30) pos = 5;
    }
}

int var_get_text(Context* ctx, const char* name, char* buf, unsigned size) {
    char key[32];
    var_fold_key(name, key);
    ctx->error = 0;
    uint16_t slot = find_var(ctx, key);
    if (ctx->error) { ctx->error = 0; return 0; }
    const Value& v = ctx->vars[slot].value;
    if (v.flags & VF_STR) {
        bounded_copy(ctx, buf, v.string ? heap_ptr(ctx->heap, v.string) : "", size);
    } else if (v.flags & VF_INT) {
        char num[40];
        bounded_copy(ctx, buf, integer_to_text(v.integer, num, 10), size);
    } else {
        return 0;
    }
    return 1;
}

void var_set(Context* ctx, const char* name, int32_t integer, const char* text, int mode) {
    if (mode != 1 && mode != 2) return;
    char key[32];
    var_fold_key(name, key);
    uint16_t off = 0;
    if (mode == 2) {
        if (!text) text = "";
        size_t len = strlen(text);
        off = len < HEAP_MAX_SIZE ? heap_alloc(ctx->heap, (uint32_t)len + 1) : 0;
        if (!off) { fail(ctx, 3096); return; }
        memcpy(heap_ptr(ctx->heap, off), text, len + 1);
    }
    VarSlot* v = ctx->vars;
    unsigned found = NO_VARIABLE, last_free = NO_VARIABLE;
    for (unsigned i = 0; i < ctx->var_count; ++i) {
        if (!v[i].value.flags) { last_free = i; continue; }
        if (same_name(v[i].name, key)) { found = i; break; }
    }
    uint16_t slot;
    if (found != NO_VARIABLE) {
        slot = (uint16_t)found;
        if (v[slot].value.string) heap_free(ctx->heap, v[slot].value.string);
    } else {
        slot = take_slot(ctx, last_free);
        if (slot == NO_VARIABLE) return;  // the text stays allocated, as it always has
    }
    memcpy(v[slot].name, key, 32);
    v[slot].value = Value{integer, off, NO_VARIABLE, (uint32_t)mode};
}

} // namespace tsl

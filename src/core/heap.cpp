// The string heap. Block format (little-endian 32-bit words, 4-byte tags):
//   free block:      "QRST" size next prev ... size "QRST"
//   allocated block: "5678" size data ...        "5678"
// Offset 0 is the free-list head (a size-0 sentinel), offset 20 a second
// sentinel whose word at 28 is the rover, and the last 12 bytes end the heap.
#include "heap.h"
#include <cstring>
#include "plat.h"

namespace tsl {

static const char FREE_TAG[4] = {'Q', 'R', 'S', 'T'};
static const char USED_TAG[4] = {'5', '6', '7', '8'};
static const uint32_t ROVER = 28;
static const uint32_t FIRST_BLOCK = 40;

// The words are little-endian, as the hosts' own (x86) words are: a word
// is read and written whole.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the heap's words are little-endian");
static inline uint32_t rd(const uint8_t* h, uint32_t at) {
    uint32_t v;
    memcpy(&v, h + at, 4);
    return v;
}
static inline void wr(uint8_t* h, uint32_t at, uint32_t v) { memcpy(h + at, &v, 4); }
static bool tag_is(const uint8_t* h, uint32_t at, const char* tag) { return memcmp(h + at, tag, 4) == 0; }
static void tag(uint8_t* h, uint32_t at, const char* t) { memcpy(h + at, t, 4); }

static uint32_t size_of(const uint8_t* h, uint32_t b) { return rd(h, b + 4); }
static uint32_t next_of(const uint8_t* h, uint32_t b) { return rd(h, b + 8); }
static uint32_t prev_of(const uint8_t* h, uint32_t b) { return rd(h, b + 12); }

static void unlink(uint8_t* h, uint32_t b) {
    uint32_t n = next_of(h, b), p = prev_of(h, b);
    wr(h, p + 8, n);
    wr(h, n + 12, p);
    if (rd(h, ROVER) == b) wr(h, ROVER, 0);
}

void heap_init(uint8_t* h, uint32_t size) {
    if (size > HEAP_MAX_SIZE) size = HEAP_MAX_SIZE;
    memset(h, 0, FIRST_BLOCK);
    tag(h, 0, USED_TAG); wr(h, 4, 0); wr(h, 8, FIRST_BLOCK); wr(h, 12, FIRST_BLOCK); tag(h, 16, USED_TAG);
    tag(h, 20, USED_TAG); wr(h, 24, 0); wr(h, ROVER, FIRST_BLOCK); tag(h, 36, USED_TAG);
    if (size < FIRST_BLOCK + HEAP_MIN_BLOCK + 12) {
        // No room for one block: an empty free list, so every request fails.
        wr(h, 8, 0); wr(h, 12, 0); wr(h, ROVER, 0);
        if (size >= FIRST_BLOCK + 12) tag(h, size - 12, USED_TAG);
        return;
    }
    uint32_t free_size = size - 52;
    tag(h, FIRST_BLOCK, FREE_TAG);
    wr(h, FIRST_BLOCK + 4, free_size);
    wr(h, FIRST_BLOCK + 8, 0);
    wr(h, FIRST_BLOCK + 12, 0);
    wr(h, FIRST_BLOCK + free_size - 8, free_size);
    tag(h, FIRST_BLOCK + free_size - 4, FREE_TAG);
    tag(h, size - 12, USED_TAG);
}

uint16_t heap_alloc(uint8_t* h, uint32_t n) {
    if (n > HEAP_MAX_SIZE) return 0;  // no block is that large; n + 12 must not wrap
    uint32_t need = (n + HEAP_OVERHEAD + 3) & ~3u;
    if (need < HEAP_MIN_BLOCK) need = HEAP_MIN_BLOCK;
    uint32_t b = next_of(h, rd(h, ROVER));
    int passes = 0;
    for (;;) {
        if (b == 0 && ++passes == 2) return 0;
        uint32_t size = size_of(h, b);
        if (size >= need) {
            if (size - need >= HEAP_MIN_BLOCK) {
                // Keep the lower part free, cut the allocation from the top end.
                uint32_t rest = size - need;
                wr(h, b + 4, rest);
                wr(h, b + rest - 8, rest);
                tag(h, b + rest - 4, FREE_TAG);
                uint32_t a = b + rest;
                tag(h, a, USED_TAG);
                wr(h, a + 4, need);
                tag(h, a + need - 4, USED_TAG);
                return (uint16_t)(a + 8);
            }
            unlink(h, b);
            tag(h, b, USED_TAG);
            tag(h, b + size - 4, USED_TAG);
            return (uint16_t)(b + 8);
        }
        wr(h, ROVER, b);
        b = next_of(h, b);
    }
}

void heap_free(uint8_t* h, uint16_t offset) {
    uint32_t b = (uint32_t)offset - 8;
    uint32_t size = size_of(h, b);
    if (tag_is(h, b - 4, FREE_TAG)) {
        uint32_t prev = b - rd(h, b - 8);
        unlink(h, prev);
        size += size_of(h, prev);
        b = prev;
        wr(h, b + 4, size);
    } else if (!tag_is(h, b - 4, USED_TAG)) {
        plat_message_box(plat_focus_window(), "Tag Overwrite 1", "INTERNAL DYNALLOC ERROR", BOX_OK);
        return;
    }
    uint32_t after = b + size;
    if (tag_is(h, after, FREE_TAG)) {
        unlink(h, after);
        size += size_of(h, after);
        wr(h, b + 4, size);
    } else if (!tag_is(h, after, USED_TAG)) {
        plat_message_box(plat_focus_window(), "Tag Overwrite 2", "INTERNAL DYNALLOC ERROR", BOX_OK);
        return;
    }
    wr(h, b + size - 8, size);
    uint32_t first = next_of(h, 0);
    wr(h, b + 8, first);
    wr(h, b + 12, 0);
    wr(h, first + 12, b);
    wr(h, 8, b);
    tag(h, b, FREE_TAG);
    tag(h, b + size - 4, FREE_TAG);
}

uint32_t heap_free_bytes(const uint8_t* h) {
    uint32_t total = 0;
    for (uint32_t b = next_of(h, 0); b != 0; b = next_of(h, b)) total += size_of(h, b);
    return total;
}

} // namespace tsl

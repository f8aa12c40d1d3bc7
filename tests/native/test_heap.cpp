// The string heap byte by byte: block format, next fit, splits, merges, damaged tags, sizes, a random model run.
#include <map>
#include <random>
#include "core_fixture.h"

namespace tsl {
namespace {

class Heap : public ::testing::Test {
protected:
    std::vector<uint8_t> mem;
    uint8_t* h = nullptr;
    void init(uint32_t n) {
        mem.assign(n, 0xCD);
        h = mem.data();
        heap_init(h, n);
    }
    uint32_t word(uint32_t at) { return heap_word(h, at); }
    std::string tag(uint32_t at) { return heap_tag(h, at); }
    std::string check() { return heap_check(h, (uint32_t)mem.size()); }
    void SetUp() override { plat_native_take_boxes(); plat_set_console_mode(false); }
    void TearDown() override { plat_set_console_mode(true); }
};

// One request on a fresh heap: the block's offset (0: refused) and size, then
// the free block's size and the head's next link. A request is rounded up to
// a block of 28 bytes or more and cut from the top end of the free block; a
// remainder under 28 bytes goes with it.
TEST_F(Heap, RequestsRoundUpAndSplitOrTakeTheWholeBlock) {
    struct { int line; uint32_t size, n; uint16_t offset; uint32_t block, free_size, next; } rows[] = {
        {__LINE__, 1000, 0, 968, 28, 920, 40},
        {__LINE__, 1000, 16, 968, 28, 920, 40},
        {__LINE__, 1000, 17, 964, 32, 916, 40},
        {__LINE__, 1000, 21, 960, 36, 912, 40},
        {__LINE__, 1000, 101, 880, 116, 832, 40},
        {__LINE__, 300, 208, 76, 220, 28, 40},       // leaves exactly 28: split
        {__LINE__, 300, 216, 48, 248, 248, 0},       // leaves 20: the whole block, unlinked
        {__LINE__, 300, 236, 48, 248, 248, 0},
        {__LINE__, 300, 237, 0, 0, 248, 40},         // needs 252
        {__LINE__, 300, 65536, 0, 0, 248, 40},
        {__LINE__, 300, 0xFFFFFFF8u, 0, 0, 248, 40}, // a huge request must not wrap to a small one
        {__LINE__, 300, 0xFFFFFFFFu, 0, 0, 248, 40},
    };
    for (auto& r : rows) {
        init(r.size);
        uint16_t off = heap_alloc(h, r.n);
        EXPECT_EQ(off, r.offset) << AT_ROW(r);
        if (off) { EXPECT_EQ(word(off - 4u), r.block) << AT_ROW(r); }
        EXPECT_EQ(word(44), r.free_size) << AT_ROW(r);
        EXPECT_EQ(word(8), r.next) << AT_ROW(r);
        EXPECT_EQ(check(), "") << AT_ROW(r);
    }
}

TEST_F(Heap, NextFitStartsAfterTheRover) {
    init(1000);
    // Five blocks of 112 bytes, cut downwards from the top: a is highest.
    uint16_t a = heap_alloc(h, 100), b = heap_alloc(h, 100), c = heap_alloc(h, 100), d = heap_alloc(h, 100),
             e = heap_alloc(h, 100);
    ASSERT_TRUE(a && b && c && d && e);
    EXPECT_EQ(a - b, 112);
    EXPECT_EQ(word(28), 0u) << "the first search met the head and made it the rover";
    heap_free(h, b);
    heap_free(h, d);
    // Free list: head -> d -> b -> big (each freed block goes first).
    EXPECT_EQ(word(8), d - 8u);
    EXPECT_EQ(word(d - 8u + 8), b - 8u);
    EXPECT_EQ(word(b - 8u + 8), 40u);
    // Rover 0: the search starts at d, which fits exactly and is taken whole.
    EXPECT_EQ(heap_alloc(h, 100), d);
    // A request bigger than b: b becomes the rover, big is split.
    uint16_t big_before = (uint16_t)word(44);
    ASSERT_NE(heap_alloc(h, 120), 0);
    EXPECT_EQ(word(28), b - 8u) << "the too-small block became the rover";
    EXPECT_EQ(word(44), big_before - 132u);
    // The next search starts after the rover (b): the big block, not b.
    uint16_t g = heap_alloc(h, 10);
    EXPECT_EQ(g, 40 + word(44) + 8) << "cut from the big block";
    EXPECT_EQ(tag(b - 8u), "QRST") << "b is still free";
    EXPECT_EQ(heap_alloc(h, 100), 40 + 116 + 8) << "split from the big block (228 -> 116)";
    EXPECT_EQ(heap_alloc(h, 100), 48) << "the big block (116) taken whole";
    // Only b is left: the search passes the head once and finds it.
    EXPECT_EQ(heap_alloc(h, 100), b);
    EXPECT_EQ(heap_free_bytes(h), 0u);
    EXPECT_EQ(check(), "");
}

TEST_F(Heap, DamagedTagsShowTagOverwriteBoxes) {
    init(1000);
    uint16_t a = heap_alloc(h, 20), b = heap_alloc(h, 20);
    // b lies below a; the tag just before b is the big free block's footer.
    memcpy(h + b - 12, "XXXX", 4);
    heap_free(h, b);
    EXPECT_EQ(plat_native_take_boxes(), "INTERNAL DYNALLOC ERROR|Tag Overwrite 1\n");
    EXPECT_EQ(tag(b - 8u), "5678") << "not freed";
    // a follows b; damage a's header and free b: b merges with the big
    // free block below it, and the merged block is left out of the list.
    init(1000);
    a = heap_alloc(h, 20), b = heap_alloc(h, 20);
    memcpy(h + a - 8, "XXXX", 4);
    heap_free(h, b);
    EXPECT_EQ(plat_native_take_boxes(), "INTERNAL DYNALLOC ERROR|Tag Overwrite 2\n");
    EXPECT_EQ(heap_free_bytes(h), 0u) << "the merged block is out of the list";
    EXPECT_EQ(word(44), 948u - 32) << "the merge of the first step happened";
}

// Every size fills with 28-byte blocks, frees them in two interleaved passes
// and merges back into one block. Below 80 bytes there is no room for the
// sentinels, one block and the end: every request fails and nothing outside is read.
TEST_F(Heap, EverySizeFromNoneTo65536) {
    for (uint32_t s : {52u, 64u, 79u, 80u, 128u, 301u, 1000u, 1001u, 30000u, 65532u, 65535u, 65536u}) {
        init(s);
        SCOPED_TRACE("heap of " + std::to_string(s));
        std::vector<uint16_t> got;
        for (uint16_t o; (o = heap_alloc(h, 10));) {
            ASSERT_GE(o, 48);
            ASSERT_LE(o + 10u, s - 12);
            got.push_back(o);
        }
        EXPECT_EQ(got.size(), s < 80 ? 0 : (s - 52) / 28);
        EXPECT_EQ(mem[s - 1], 0xCD) << "the last 8 bytes are never touched";
        if (s < 80) continue;
        if (s % 4 == 0) { EXPECT_EQ(check(), ""); }   // the walk expects whole words
        for (size_t i = 0; i < got.size(); i += 2) heap_free(h, got[i]);
        for (size_t i = 1; i < got.size(); i += 2) heap_free(h, got[i]);
        EXPECT_EQ(word(44), s - 52) << "merged back into one block";
        EXPECT_EQ(heap_alloc(h, (s - 64) & ~3u), 48) << "which holds everything";
        EXPECT_EQ(plat_native_take_boxes(), "");
    }
}

// Thousands of random requests and frees checked after every step: the
// heap walk (tags, sizes, free-list links both ways, no two free
// neighbours: every free merges in either order, sizes adding up), no overlap of live blocks (their bytes keep
// a pattern), and a failure only when no free block is large enough.
TEST_F(Heap, RandomSequencesKeepTheBlockListWhole) {
    std::mt19937 rng(12345);
    for (uint32_t s : {400u, 2000u, 65536u}) {
        init(s);
        SCOPED_TRACE("heap of " + std::to_string(s));
        std::map<uint16_t, std::pair<uint32_t, uint8_t>> live;   // offset -> (size asked, pattern)
        for (int step = 0; step < 6000; ++step) {
            if (live.empty() || rng() % 100 < 55) {
                uint32_t n = rng() % 4 == 0 ? rng() % 600 : rng() % 60;
                uint32_t need = std::max<uint32_t>(28, (n + 15) & ~3u);
                uint32_t largest = 0;
                for (uint32_t f = word(8); f; f = word(f + 8)) largest = std::max(largest, word(f + 4));
                uint16_t o = heap_alloc(h, n);
                if (!o) {
                    ASSERT_LT(largest, need) << "step " << step << ": failed although a block fits";
                    continue;
                }
                uint32_t got = word(o - 4u);
                ASSERT_TRUE(got >= need && got < need + 28) << "step " << step;
                ASSERT_EQ(live.count(o), 0u) << "step " << step << ": handed out twice";
                uint8_t pat = (uint8_t)(rng() | 1);
                memset(h + o, pat, n);
                live[o] = {n, pat};
            } else {
                auto it = live.begin();
                std::advance(it, rng() % live.size());
                for (uint32_t k = 0; k < it->second.first; ++k)
                    ASSERT_EQ(h[it->first + k], it->second.second) << "step " << step << ": block overwritten";
                heap_free(h, it->first);
                live.erase(it);
            }
            ASSERT_EQ(check(), "") << "step " << step;
        }
        for (auto& l : live) heap_free(h, l.first);
        EXPECT_EQ(heap_free_bytes(h), s - 52);
    }
    EXPECT_EQ(plat_native_take_boxes(), "") << "no tag-overwrite box on a sound heap";
}

} // namespace
} // namespace tsl

// The string heap, byte by byte: block format, next fit from the rover,
// splitting, whole-block takes, merging, the tag-overwrite boxes, sizes
// from a few hundred bytes to 65,536, and a randomized run against a model.
#include <map>
#include <random>
#include "core_fixture.h"

namespace tsl {
namespace {

class Heap : public ::testing::Test {
protected:
    std::vector<uint8_t> mem;
    uint8_t* h = nullptr;
    uint32_t size = 0;
    void init(uint32_t n) {
        mem.assign(n, 0xCD);
        h = mem.data();
        size = n;
        heap_init(h, n);
    }
    uint32_t word(uint32_t at) { return heap_word(h, at); }
    std::string tag(uint32_t at) { return heap_tag(h, at); }
    void SetUp() override { plat_native_take_boxes(); plat_set_console_mode(false); }
    void TearDown() override { plat_set_console_mode(true); }
};

TEST_F(Heap, InitialLayoutIsByteExact) {
    for (uint32_t s : {200u, 300u, 1000u, 4096u, 65536u}) {
        init(s);
        SCOPED_TRACE("heap of " + std::to_string(s));
        EXPECT_EQ(tag(0), "5678");
        EXPECT_EQ(word(4), 0u) << "the head sentinel has size 0";
        EXPECT_EQ(word(8), 40u) << "head next";
        EXPECT_EQ(word(12), 40u) << "head previous";
        EXPECT_EQ(tag(16), "5678");
        EXPECT_EQ(tag(20), "5678");
        EXPECT_EQ(word(24), 0u) << "the second sentinel has size 0";
        EXPECT_EQ(word(28), 40u) << "the rover starts at the first block";
        EXPECT_EQ(tag(36), "5678");
        EXPECT_EQ(tag(40), "QRST");
        EXPECT_EQ(word(44), s - 52);
        EXPECT_EQ(word(48), 0u);
        EXPECT_EQ(word(52), 0u);
        EXPECT_EQ(word(s - 20), s - 52) << "footer size";
        EXPECT_EQ(tag(s - 16), "QRST") << "footer tag";
        EXPECT_EQ(tag(s - 12), "5678") << "end marker";
        EXPECT_EQ(mem[s - 1], 0xCD) << "the last 8 bytes are never touched";
        EXPECT_EQ(heap_free_bytes(h), s - 52);
        EXPECT_EQ(heap_check(h, s), "");
    }
}

TEST_F(Heap, RequestsRoundUpToBlockSizes) {
    struct { int line; uint32_t n, need; } rows[] = {
        {__LINE__, 0, 28}, {__LINE__, 1, 28}, {__LINE__, 16, 28}, {__LINE__, 17, 32},
        {__LINE__, 20, 32}, {__LINE__, 21, 36}, {__LINE__, 100, 112}, {__LINE__, 101, 116},
    };
    for (auto& r : rows) {
        init(1000);
        uint16_t off = heap_alloc(h, r.n);
        ASSERT_NE(off, 0) << "row at line " << r.line;
        uint32_t b = off - 8u;
        EXPECT_EQ(word(b + 4), r.need) << "row at line " << r.line;
        // Cut from the top end of the one free block.
        EXPECT_EQ(b + r.need, 1000u - 12) << "row at line " << r.line;
        EXPECT_EQ(tag(b), "5678");
        EXPECT_EQ(tag(b + r.need - 4), "5678");
        EXPECT_EQ(word(44), 948 - r.need) << "the free block keeps the lower part";
        EXPECT_EQ(word(40 + 948 - r.need - 8), 948 - r.need) << "with a new footer";
        EXPECT_EQ(tag(40 + 948 - r.need - 4), "QRST");
        EXPECT_EQ(word(8), 40u) << "the free block stays in the list";
        EXPECT_EQ(heap_check(h, 1000), "") << "row at line " << r.line;
    }
}

TEST_F(Heap, SmallRemainderTakesTheWholeBlock) {
    init(300);  // one free block of 248 bytes
    // need 228 leaves 20 < 28: the whole block goes, 20 bytes more than asked.
    uint16_t off = heap_alloc(h, 216);
    EXPECT_EQ(off, 48);
    EXPECT_EQ(word(44), 248u) << "the whole block keeps its size";
    EXPECT_EQ(tag(40), "5678");
    EXPECT_EQ(tag(40 + 248 - 4), "5678");
    EXPECT_EQ(word(8), 0u) << "unlinked: the head points at itself";
    EXPECT_EQ(word(12), 0u);
    EXPECT_EQ(word(28), 0u) << "the rover pointed at the block and is reset";
    EXPECT_EQ(heap_free_bytes(h), 0u);
    EXPECT_EQ(heap_alloc(h, 0), 0) << "nothing left";
    // need 220 leaves exactly 28: split.
    init(300);
    off = heap_alloc(h, 208);
    EXPECT_EQ(off, 40 + 28 + 8);
    EXPECT_EQ(word(44), 28u);
    EXPECT_EQ(heap_check(h, 300), "");
}

TEST_F(Heap, TooLargeRequestsFailWithoutDamage) {
    init(300);
    std::vector<uint8_t> copy = mem;
    EXPECT_EQ(heap_alloc(h, 237), 0) << "need 252 > 248";
    EXPECT_EQ(heap_alloc(h, 65536), 0);
    EXPECT_EQ(heap_alloc(h, 0xFFFFFFF8u), 0) << "a huge request must not wrap to a small one";
    EXPECT_EQ(heap_alloc(h, 0xFFFFFFFFu), 0);
    EXPECT_EQ(heap_check(h, 300), "");
    EXPECT_EQ(heap_free_bytes(h), 248u);
    EXPECT_EQ(heap_alloc(h, 236), 48) << "need 248 = the block: whole take";
    (void)copy;
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
    uint16_t f = heap_alloc(h, 120);
    ASSERT_NE(f, 0);
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
    EXPECT_EQ(heap_check(h, 1000), "");
}

TEST_F(Heap, FailedSearchMakesOneFullCircuit) {
    init(1000);
    uint16_t a = heap_alloc(h, 100), b = heap_alloc(h, 100), c = heap_alloc(h, 100);
    heap_free(h, b);
    (void)a; (void)c;
    // Free blocks: b (112) and the big one (~600): ask for more than either.
    EXPECT_EQ(heap_alloc(h, 700), 0);
    EXPECT_EQ(heap_check(h, 1000), "");
    EXPECT_EQ(heap_free_bytes(h), 112u + word(44));
}

TEST_F(Heap, NeighboursMergeInEitherOrder) {
    for (int order = 0; order < 2; ++order) {
        init(1000);
        uint16_t a = heap_alloc(h, 100), b = heap_alloc(h, 100), c = heap_alloc(h, 100);
        (void)c;
        uint32_t free0 = heap_free_bytes(h);
        heap_free(h, order ? a : b);
        heap_free(h, order ? b : a);
        SCOPED_TRACE(order ? "a then b" : "b then a");
        EXPECT_EQ(heap_free_bytes(h), free0 + 224);
        EXPECT_EQ(tag(b - 8u), "QRST") << "one merged block starts at b (the lower)";
        EXPECT_EQ(word(b - 8u + 4), 224u);
        EXPECT_EQ(word(b - 8u + 224 - 8), 224u);
        EXPECT_EQ(heap_check(h, 1000), "");
        // c sits on the big free block: freeing it merges all three.
        heap_free(h, c);
        EXPECT_EQ(word(44), 948u);
        EXPECT_EQ(heap_free_bytes(h), 948u);
        EXPECT_EQ(heap_check(h, 1000), "");
    }
}

TEST_F(Heap, SentinelsNeverMerge) {
    init(300);
    uint16_t whole = heap_alloc(h, 236);   // the one block, between both sentinels
    ASSERT_EQ(whole, 48);
    heap_free(h, whole);
    EXPECT_EQ(word(44), 248u) << "no merge into the sentinel at 20 or the end marker";
    EXPECT_EQ(tag(36), "5678");
    EXPECT_EQ(tag(300 - 12), "5678");
    EXPECT_EQ(word(8), 40u);
    EXPECT_EQ(heap_check(h, 300), "");
    // The first and last allocations of a full heap.
    init(1000);
    std::vector<uint16_t> all;
    for (uint16_t o; (o = heap_alloc(h, 20));) all.push_back(o);
    EXPECT_EQ(heap_free_bytes(h), 0u);
    heap_free(h, all.front());   // the top block, next to the end marker
    heap_free(h, all.back());    // the bottom block, next to the sentinel
    EXPECT_EQ(heap_check(h, 1000), "");
    for (size_t i = 1; i + 1 < all.size(); ++i) heap_free(h, all[i]);
    EXPECT_EQ(heap_check(h, 1000), "");
    EXPECT_EQ(heap_free_bytes(h), 948u);
}

TEST_F(Heap, DamagedTagBeforeTheBlockShowsTagOverwrite1) {
    init(1000);
    uint16_t a = heap_alloc(h, 20), b = heap_alloc(h, 20);
    (void)a;
    // b lies below a; the tag just before b is the big free block's footer.
    memcpy(h + b - 12, "XXXX", 4);
    heap_free(h, b);
    EXPECT_EQ(plat_native_take_boxes(), "INTERNAL DYNALLOC ERROR|Tag Overwrite 1\n");
    EXPECT_EQ(tag(b - 8u), "5678") << "not freed";
}

TEST_F(Heap, DamagedFollowingTagShowsTagOverwrite2AfterTheFirstMerge) {
    init(1000);
    uint16_t a = heap_alloc(h, 20), b = heap_alloc(h, 20);
    // a follows b; damage a's header and free b: b merges with the big
    // free block below it, and the merged block is left out of the list.
    memcpy(h + a - 8, "XXXX", 4);
    heap_free(h, b);
    EXPECT_EQ(plat_native_take_boxes(), "INTERNAL DYNALLOC ERROR|Tag Overwrite 2\n");
    EXPECT_EQ(heap_free_bytes(h), 0u) << "the merged block is out of the list";
    EXPECT_EQ(word(44), 948u - 32) << "the merge of the first step happened";
}

TEST_F(Heap, EverySizeFromAFewHundredTo65536) {
    for (uint32_t s : {128u, 200u, 256u, 300u, 512u, 1000u, 2000u, 4096u, 30000u, 65532u, 65536u}) {
        init(s);
        SCOPED_TRACE("heap of " + std::to_string(s));
        std::vector<uint16_t> got;
        for (uint16_t o; (o = heap_alloc(h, 10));) {
            ASSERT_GE(o, 48);
            ASSERT_LE(o + 10u, s - 12);
            got.push_back(o);
        }
        EXPECT_EQ(got.size(), (s - 52) / 28);
        EXPECT_EQ(heap_check(h, s), "");
        for (size_t i = 0; i < got.size(); i += 2) heap_free(h, got[i]);
        for (size_t i = 1; i < got.size(); i += 2) heap_free(h, got[i]);
        EXPECT_EQ(heap_free_bytes(h), s - 52);
        EXPECT_EQ(heap_check(h, s), "");
        uint16_t one = heap_alloc(h, s - 52 - 12);
        EXPECT_EQ(one, 48) << "after all the merging one block holds everything";
    }
}

TEST_F(Heap, TooSmallForOneBlockRefusesEveryRequest) {
    // Below 80 bytes there is no room for the sentinels, one 28-byte block
    // and the end: every request fails, and nothing is read outside.
    for (uint32_t s : {52u, 60u, 64u, 76u, 79u}) {
        init(s);
        EXPECT_EQ(heap_alloc(h, 0), 0) << "heap of " << s;
        EXPECT_EQ(heap_free_bytes(h), 0u) << "heap of " << s;
    }
    init(80);
    EXPECT_EQ(heap_alloc(h, 16), 48) << "80 bytes hold one 28-byte block";
}

TEST_F(Heap, SizesThatAreNoMultipleOfFour) {
    for (uint32_t s : {301u, 1001u, 65535u}) {
        init(s);
        SCOPED_TRACE("heap of " + std::to_string(s));
        EXPECT_EQ(word(44), s - 52);
        EXPECT_EQ(tag(s - 12), "5678");
        std::vector<uint16_t> got;
        for (uint16_t o; (o = heap_alloc(h, 5));) got.push_back(o);
        EXPECT_EQ(heap_free_bytes(h), 0u);
        for (uint16_t o : got) heap_free(h, o);
        EXPECT_EQ(heap_free_bytes(h), s - 52);
        EXPECT_EQ(word(44), s - 52) << "merged back into one block";
        EXPECT_EQ(plat_native_take_boxes(), "");
    }
}

// Thousands of random requests and frees checked after every step: the
// heap walk (tags, sizes, free-list links both ways, no two free
// neighbours, sizes adding up), no overlap of live blocks (their bytes keep
// a pattern), and a failure only when no free block is large enough.
TEST_F(Heap, RandomSequencesKeepTheBlockListWhole) {
    std::mt19937 rng(12345);
    for (uint32_t s : {400u, 2000u, 65536u}) {
        init(s);
        SCOPED_TRACE("heap of " + std::to_string(s));
        std::map<uint16_t, std::pair<uint32_t, uint8_t>> live;   // offset -> (size asked, pattern)
        for (int step = 0; step < 6000; ++step) {
            bool do_alloc = live.empty() || rng() % 100 < 55;
            if (do_alloc) {
                uint32_t n = rng() % 4 == 0 ? rng() % 600 : rng() % 60;
                uint32_t need = std::max<uint32_t>(28, (n + 15) & ~3u);
                uint32_t largest = 0;
                for (uint32_t f = heap_word(h, 8); f; f = heap_word(h, f + 8)) largest = std::max(largest, heap_word(h, f + 4));
                uint16_t o = heap_alloc(h, n);
                if (!o) {
                    ASSERT_LT(largest, need) << "step " << step << ": failed although a block fits";
                    continue;
                }
                uint32_t got = heap_word(h, o - 4u);
                ASSERT_GE(got, need) << "step " << step;
                ASSERT_LT(got, need + 28) << "step " << step;
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
            std::string bad = heap_check(h, s);
            ASSERT_EQ(bad, "") << "step " << step;
        }
        for (auto& l : live) heap_free(h, l.first);
        EXPECT_EQ(heap_free_bytes(h), s - 52);
        EXPECT_EQ(heap_check(h, s), "");
    }
    EXPECT_EQ(plat_native_take_boxes(), "") << "no tag-overwrite box on a sound heap";
}

} // namespace
} // namespace tsl

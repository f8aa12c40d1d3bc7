// The item-list functions called directly: edges, double-byte delimiters, the heap, random lists.
#include <algorithm>
#include "values_fixture.h"

namespace tsl {
namespace {

enum { ITEMCOUNT = 158, ITEMEXTRACT = 159, ITEMINSERT = 160, ITEMLOCATE = 161, ITEMREMOVE = 162,
       ITEMSORT = 164 };

struct Items : ValueTest { Items() : ValueTest(kFamilyItems) {} };

// The sort's order: bytes compared as signed values, a prefix first.
bool signed_less(const std::string& a, const std::string& b) {
    return std::vector<signed char>(a.begin(), a.end()) < std::vector<signed char>(b.begin(), b.end());
}

TEST_F(Items, DoubleByteDelimiterAndItems) {
    plat_native_set_dbcs(true);
    const std::string D = "\x81\x40";      // a double-byte delimiter
    const std::string K5C = "\x95\x5c";    // a character whose trail byte is a backslash
    std::string list = "a" + D + K5C + "b" + D + "c";
    EXPECT_EQ(int_of(ITEMCOUNT, {list, D}), 3);
    EXPECT_EQ(text_of(ITEMEXTRACT, {2, list, D}), K5C + "b");
    EXPECT_EQ(int_of(ITEMLOCATE, {"c", list, D}), 3);
    EXPECT_EQ(text_of(ITEMREMOVE, {2, list, D}), "a" + D + "c");
    EXPECT_EQ(text_of(ITEMINSERT, {"x", 9, list, D}), list + D + "x" + D);
    EXPECT_EQ(text_of(ITEMSORT, {list, D}), K5C + "b" + D + "a" + D + "c" + D);   // 0x95 is negative
    // A lead byte alone does not delimit: 0x81 0x41 is another character.
    EXPECT_EQ(int_of(ITEMCOUNT, {"a\x81\x41" "b", D}), 1);
    // A single-byte delimiter never matches the trail byte of a character.
    EXPECT_EQ(int_of(ITEMCOUNT, {K5C + "\\x", "\\"}), 2);
    EXPECT_EQ(text_of(ITEMEXTRACT, {1, K5C + "\\x", "\\"}), K5C);
}

// Random lists of random items, with a one-byte and a double-byte
// delimiter: the functions must agree with the items the list was made of,
// and the sort with a stable sort of the non-empty items.
TEST_F(Items, RandomListsAgreeWithTheirItems) {
    plat_native_set_dbcs(true);
    const char* const pieces[] = {"a", "b", "\x95\x5c", "\x81\x41", "\x88\x9f", "\xb1", "\xa0", ";", "1"};
    std::mt19937 rng(77);
    for (const std::string D : {";", "\x81\x40"}) {
        for (int round = 0; round < 100; round++) {
            std::vector<std::string> items(1 + rng() % (round < 90 ? 8 : 300));
            for (auto& it : items)
                for (unsigned k = rng() % 4; k > 0; k--)
                    if (std::string piece = pieces[rng() % 9]; piece != D) it += piece;
            std::string list;
            for (size_t i = 0; i < items.size(); i++) list += (i ? D : "") + items[i];
            if (rng() % 2) list += D;   // with or without a trailing delimiter
            std::string note = "round " + std::to_string(round) + " list [" + list + "]";
            for (size_t i = 0; i < items.size() && i < 10; i++) {
                ASSERT_EQ(text_of(ITEMEXTRACT, {(int32_t)i + 1, list, D}), items[i]) << note;
                int32_t at = int_of(ITEMLOCATE, {items[i], list, D});
                if (items[i].empty()) {
                    ASSERT_EQ(at, 0) << note;
                } else {
                    ASSERT_TRUE(at >= 1 && items[(size_t)at - 1] == items[i]) << note;
                }
                std::string removed = text_of(ITEMREMOVE, {(int32_t)i + 1, list, D});
                if (i + 1 < items.size()) {
                    ASSERT_EQ(text_of(ITEMEXTRACT, {(int32_t)i + 1, removed, D}), items[i + 1]) << note;
                }
            }
            std::string inserted = text_of(ITEMINSERT, {"new", (int32_t)(rng() % (items.size() + 1)), list, D});
            ASSERT_GE(int_of(ITEMLOCATE, {"new", inserted, D}), 1) << note;
            std::vector<std::string> sorted;
            for (auto& it : items) if (!it.empty()) sorted.push_back(it);
            std::stable_sort(sorted.begin(), sorted.end(), signed_less);
            std::string want;
            for (auto& it : sorted) want += it + D;
            ASSERT_EQ(text_of(ITEMSORT, {list, D}), want) << note;
        }
    }
}

TEST_F(Items, OutOfHeapLeavesNothingAllocated) {
    use_heap(700);
    std::string list(250, 'a');
    EXPECT_EQ(call(ITEMINSERT, {list, 0, list, ","}).error, 3096);
    EXPECT_EQ(call(ITEMSORT, {list, ","}).error, 0);
    EXPECT_EQ(call(ITEMSORT, {std::string(400, 'b'), ","}).error, 3096);
}

} // namespace
} // namespace tsl

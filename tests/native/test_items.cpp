// The item-list functions called directly.
#include "values_fixture.h"

namespace tsl {
namespace {

enum { ITEMCOUNT = 158, ITEMEXTRACT = 159, ITEMINSERT = 160, ITEMLOCATE = 161, ITEMREMOVE = 162,
       ITEMSORT = 164 };

class Items : public ValueTest {
protected:
    Result item(int id, std::initializer_list<Arg> a) { return call(kFamilyItems, id, a); }
    std::string text_of(int id, std::initializer_list<Arg> a) {
        Result r = item(id, a);
        EXPECT_EQ(r.error, 0) << "function " << id;
        EXPECT_TRUE(r.has_text) << "function " << id << " returns a text";
        return r.text;
    }
    int32_t int_of(int id, std::initializer_list<Arg> a) {
        Result r = item(id, a);
        EXPECT_EQ(r.error, 0) << "function " << id;
        EXPECT_FALSE(r.has_text) << "function " << id << " returns an integer";
        return r.integer;
    }
};

TEST_F(Items, Count) {
    struct { int line; const char* list; const char* delim; int expect; } rows[] = {
        {__LINE__, "", ",", 0},
        {__LINE__, ",", ",", 1},
        {__LINE__, "a b", "", 1},        // an empty delimiter is the tab
        {__LINE__, "a\tb", "", 2},
        {__LINE__, "a,b", ",", 2},
        {__LINE__, "a,b,", ",", 2},
        {__LINE__, "a,,b", ",", 3},
        {__LINE__, ",,", ",", 2},
        {__LINE__, "a;b,c", ";,", 2},    // only the first character delimits
    };
    for (auto& r : rows) EXPECT_EQ(int_of(ITEMCOUNT, {r.list, r.delim}), r.expect) << "row at line " << r.line;
}

TEST_F(Items, ExtractInsertRemoveLocate) {
    struct { int line; int index; const char* list; const char* expect; } extract[] = {
        {__LINE__, 2, "a,,c", ""}, {__LINE__, 3, "a,,c", "c"}, {__LINE__, 0, "a", ""},
        {__LINE__, -1, "a", ""},   {__LINE__, 1, "a", "a"},    {__LINE__, 2, "a", ""},
        {__LINE__, 1, "", ""},     {__LINE__, 2, "ab,cd,", "cd"}, {__LINE__, 3, "ab,cd,", ""},
        {__LINE__, 4, "ab,cd,", ""},
    };
    for (auto& r : extract)
        EXPECT_EQ(text_of(ITEMEXTRACT, {r.index, r.list, ","}), r.expect) << "row at line " << r.line;

    struct { int line; const char* item; int index; const char* list; const char* expect; } insert[] = {
        {__LINE__, "x", 0, "a,b", "x,a,b"},  {__LINE__, "x", 1, "a,b", "a,x,b"},
        {__LINE__, "x", 5, "a,b", "a,b,x,"}, {__LINE__, "x", 2, "a,b", "a,b,x,"},
        {__LINE__, "x", 2, "a,b,", "a,b,x,"}, {__LINE__, "x", -1, "a,b", "a,b,x,"},
        {__LINE__, "x", 0, "", ",x,"},       {__LINE__, "x", 3, "", ",x,"},
        {__LINE__, "", 1, "a,b", "a,,b"},
    };
    for (auto& r : insert)
        EXPECT_EQ(text_of(ITEMINSERT, {r.item, r.index, r.list, ","}), r.expect) << "row at line " << r.line;

    struct { int line; int index; const char* list; const char* expect; } remove[] = {
        {__LINE__, 1, "a,b", "b"},   {__LINE__, 2, "a,b", "a,"},  {__LINE__, 2, "a,b,", "a,"},
        {__LINE__, 3, "a,b", "a,b"}, {__LINE__, 0, "a,b", "a,b"}, {__LINE__, 2, "a,,c", "a,c"},
        {__LINE__, 1, "", ""},
    };
    for (auto& r : remove)
        EXPECT_EQ(text_of(ITEMREMOVE, {r.index, r.list, ","}), r.expect) << "row at line " << r.line;

    EXPECT_EQ(int_of(ITEMLOCATE, {"b", "a,b,c", ","}), 2);
    EXPECT_EQ(int_of(ITEMLOCATE, {"B", "a,b,c", ","}), 0);
    EXPECT_EQ(int_of(ITEMLOCATE, {"", "a,,c", ","}), 0);
    EXPECT_EQ(int_of(ITEMLOCATE, {"c", "a,,c", ","}), 3);
    EXPECT_EQ(int_of(ITEMLOCATE, {"ab", "a,abc,ab", ","}), 3);
    EXPECT_EQ(int_of(ITEMLOCATE, {"b", "a\tb", ""}), 2);
}

TEST_F(Items, SortOrderAndEmptyItems) {
    struct { int line; const char* list; const char* expect; } rows[] = {
        {__LINE__, "c,a,,b", "a,b,c,"},
        {__LINE__, "", ""},
        {__LINE__, ",,", ""},
        {__LINE__, "b,B,a,A", "A,B,a,b,"},            // with case, byte order
        {__LINE__, "ab,a,abc", "a,ab,abc,"},          // a prefix sorts first
        {__LINE__, "\xe9t\xe9,zoo,Apple", "\xe9t\xe9,Apple,zoo,"},   // high bytes are negative
        {__LINE__, "b,a,b,a", "a,a,b,b,"},
    };
    for (auto& r : rows) EXPECT_EQ(text_of(ITEMSORT, {r.list, ","}), r.expect) << "row at line " << r.line;
    EXPECT_EQ(text_of(ITEMSORT, {"b\ta\t", ""}), "a\tb\t");
}

TEST_F(Items, SortMatchesSelectionSortOnALargeList) {
    // Selection sort by the same rule as a reference: each pass takes the
    // first of the smallest remaining items.
    std::vector<std::string> items;
    std::string list;
    unsigned x = 12345;
    for (int i = 0; i < 300; i++) {
        x = x * 1103515245u + 12345u;
        std::string it = std::to_string((x >> 16) % 50);
        if (i % 37 == 0) it += "\xa0";
        items.push_back(it);
        list += it + ";";
    }
    std::string expect;
    std::vector<bool> taken(items.size());
    for (size_t pass = 0; pass < items.size(); pass++) {
        int best = -1;
        for (size_t i = 0; i < items.size(); i++) {
            if (taken[i]) continue;
            if (best < 0) { best = (int)i; continue; }
            const std::string& a = items[(size_t)best];
            const std::string& b = items[i];
            size_t k = 0;
            while (k < a.size() && k < b.size() && a[k] == b[k]) k++;
            bool greater = k < a.size() && (k == b.size() || (signed char)a[k] > (signed char)b[k]);
            if (greater) best = (int)i;
        }
        taken[(size_t)best] = true;
        expect += items[(size_t)best] + ";";
    }
    EXPECT_EQ(text_of(ITEMSORT, {list, ";"}), expect);
}

TEST_F(Items, DoubleByteDelimiterAndItems) {
    plat_native_set_dbcs(true);
    const std::string D = "\x81\x40";      // a double-byte delimiter
    const std::string K5C = "\x95\x5c";    // a character whose trail byte is a backslash
    std::string list = "a" + D + K5C + "b" + D + "c";
    EXPECT_EQ(int_of(ITEMCOUNT, {list, D}), 3);
    EXPECT_EQ(text_of(ITEMEXTRACT, {2, list, D}), K5C + "b");
    EXPECT_EQ(text_of(ITEMEXTRACT, {3, list, D}), "c");
    EXPECT_EQ(int_of(ITEMLOCATE, {"c", list, D}), 3);
    EXPECT_EQ(text_of(ITEMREMOVE, {2, list, D}), "a" + D + "c");
    EXPECT_EQ(text_of(ITEMINSERT, {"x", 9, list, D}), list + D + "x" + D);
    EXPECT_EQ(text_of(ITEMSORT, {list, D}), K5C + "b" + D + "a" + D + "c" + D);   // 0x95 is negative
    // A lead byte alone does not delimit: 0x81 0x41 is another character.
    EXPECT_EQ(int_of(ITEMCOUNT, {"a\x81\x41" "b", D}), 1);
    // A single-byte delimiter never matches the trail byte of a character.
    std::string path = K5C + "\\x";
    EXPECT_EQ(int_of(ITEMCOUNT, {path, "\\"}), 2);
    EXPECT_EQ(text_of(ITEMEXTRACT, {1, path, "\\"}), K5C);
}

// Random lists of random items, with a one-byte and a double-byte
// delimiter: the functions must agree with the items the list was made of.
TEST_F(Items, RandomListsAgreeWithTheirItems) {
    plat_native_set_dbcs(true);
    const char* const pieces[] = {"a", "b", "\x95\x5c", "\x81\x41", "\x88\x9f", "\xb1", ";"};
    struct { const char* delim; const char* avoid; } kinds[] = {{";", ";"}, {"\x81\x40", "\x81\x40"}};
    unsigned x = 77;
    auto next = [&x](unsigned n) { x = x * 1103515245u + 12345u; return (x >> 16) % n; };
    for (auto& kind : kinds) {
        const std::string D = kind.delim;
        for (int round = 0; round < 100; round++) {
            std::vector<std::string> items(1 + next(8));
            for (auto& it : items) {
                for (unsigned k = next(4); k > 0; k--) {
                    std::string piece = pieces[next(7)];
                    if (piece != kind.avoid) it += piece;
                }
            }
            std::string list;
            for (size_t i = 0; i < items.size(); i++) list += (i ? D : "") + items[i];
            if (next(2)) list += D;   // with or without a trailing delimiter
            std::string ctx_note = "round " + std::to_string(round) + " list [" + list + "]";
            for (size_t i = 0; i < items.size(); i++) {
                ASSERT_EQ(text_of(ITEMEXTRACT, {(int32_t)i + 1, list, D}), items[i]) << ctx_note;
                int32_t at = int_of(ITEMLOCATE, {items[i], list, D});
                if (items[i].empty()) {
                    ASSERT_EQ(at, 0) << ctx_note;
                } else {
                    ASSERT_GE(at, 1) << ctx_note;
                    ASSERT_EQ(items[(size_t)at - 1], items[i]) << ctx_note;
                }
                std::string removed = text_of(ITEMREMOVE, {(int32_t)i + 1, list, D});
                if (i + 1 < items.size()) {
                    ASSERT_EQ(text_of(ITEMEXTRACT, {(int32_t)i + 1, removed, D}), items[i + 1]) << ctx_note;
                }
            }
            std::string inserted = text_of(ITEMINSERT, {"new", (int32_t)next(items.size() + 1), list, D});
            ASSERT_GE(int_of(ITEMLOCATE, {"new", inserted, D}), 1) << ctx_note;
            std::string sorted = text_of(ITEMSORT, {list, D});
            size_t nonempty = 0;
            for (auto& it : items) nonempty += !it.empty();
            ASSERT_EQ(int_of(ITEMCOUNT, {sorted, D}), (int32_t)nonempty) << ctx_note;
            for (size_t i = 1; i < nonempty; i++) {
                std::string a = text_of(ITEMEXTRACT, {(int32_t)i, sorted, D});
                std::string b = text_of(ITEMEXTRACT, {(int32_t)i + 1, sorted, D});
                std::vector<signed char> sa(a.begin(), a.end()), sb(b.begin(), b.end());
                ASSERT_FALSE(sb < sa) << ctx_note << " sorted [" << sorted << "]";
            }
        }
    }
}

TEST_F(Items, OutOfHeapLeavesNothingAllocated) {
    use_heap(700);
    std::string list(250, 'a');
    EXPECT_EQ(item(ITEMINSERT, {list, 0, list, ","}).error, 3096);
    EXPECT_EQ(item(ITEMSORT, {list, ","}).error, 0);
    std::string big(400, 'b');
    EXPECT_EQ(item(ITEMSORT, {big, ","}).error, 3096);
}

} // namespace
} // namespace tsl

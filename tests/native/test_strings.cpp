// The string functions called directly, single-byte and double-byte.
#include "values_fixture.h"
#include <map>
#include "core/keywords.h"

namespace tsl {
namespace {

enum { STRCHARCOUNT = 217, STRCMP = 218, STRFILL = 219, STRFIX = 220, STRFIXCHARS = 221,
       STRICMP = 222, STRINDEX = 223, STRLEN = 224, STRLOWER = 225, STRREPLACE = 226,
       STRSCAN = 227, STRSUB = 228, STRTRIM = 229, STRUPPER = 230 };
const int FWD = 0, BACK = 1;

// Two double-byte characters of code page 932 and one single-byte one.
const char* const KANJI_A = "\x88\x9f";   // a lead byte 0x88, trail 0x9f
const char* const KANJI_B = "\x82\xa0";
const char* const KANJI_5C = "\x95\x5c";  // its trail byte is a backslash

class Strings : public ValueTest {
protected:
    Result str(int id, std::initializer_list<Arg> a) { return call(kFamilyStrings, id, a); }
    std::string text_of(int id, std::initializer_list<Arg> a) {
        Result r = str(id, a);
        EXPECT_EQ(r.error, 0) << "function " << id;
        EXPECT_TRUE(r.has_text) << "function " << id << " returns a text";
        return r.text;
    }
    int32_t int_of(int id, std::initializer_list<Arg> a) {
        Result r = str(id, a);
        EXPECT_EQ(r.error, 0) << "function " << id;
        EXPECT_FALSE(r.has_text) << "function " << id << " returns an integer";
        return r.integer;
    }
};

TEST_F(Strings, SubTakesCharactersAndNeverClips) {
    struct { int line; const char* s; int start, len; uint16_t error; const char* expect; } rows[] = {
        {__LINE__, "abc", 2, 5, 3059, ""},
        {__LINE__, "abc", 4, 0, 0, ""},
        {__LINE__, "abc", 0, 2, 3059, ""},
        {__LINE__, "abc", 0, 0, 0, ""},
        {__LINE__, "abc", -5, 0, 0, ""},
        {__LINE__, "abc", 5, 0, 3059, ""},
        {__LINE__, "abc", 4, 1, 3059, ""},
        {__LINE__, "abc", 1, -1, 3059, ""},
        {__LINE__, "abc", 1, 3, 0, "abc"},
        {__LINE__, "abc", 2, 2, 0, "bc"},
        {__LINE__, "abc", 3, 1, 0, "c"},
        {__LINE__, "", 1, 0, 0, ""},
        {__LINE__, "", 1, 1, 3059, ""},
        {__LINE__, "abc", INT32_MIN, 0, 0, ""},
        {__LINE__, "abc", 2, INT32_MAX, 3059, ""},
    };
    for (auto& r : rows) {
        Result got = str(STRSUB, {r.s, r.start, r.len});
        EXPECT_EQ(got.error, r.error) << "row at line " << r.line;
        if (!r.error) {
            EXPECT_EQ(got.text, r.expect) << "row at line " << r.line;
        }
    }
}

TEST_F(Strings, IndexBoundsAndTheBackwardRule) {
    struct { int line; const char* s; const char* sub; int start, dir; uint16_t error; int expect; } rows[] = {
        {__LINE__, "abc", "abc", 0, BACK, 0, 0},     // would end exactly at start = m
        {__LINE__, "abcd", "abc", 0, BACK, 0, 1},
        {__LINE__, "", "x", 0, FWD, 1100, 0},
        {__LINE__, "", "", 0, FWD, 1100, 0},
        {__LINE__, "abc", "", 2, FWD, 0, 2},
        {__LINE__, "abc", "x", 4, FWD, 1100, 0},
        {__LINE__, "abc", "x", -1, FWD, 1100, 0},
        {__LINE__, "abcabc", "bc", 0, FWD, 0, 2},
        {__LINE__, "abcabc", "bc", 3, FWD, 0, 5},
        {__LINE__, "abcabc", "bc", 6, FWD, 0, 0},
        {__LINE__, "abcabc", "bc", 0, BACK, 0, 5},
        {__LINE__, "abcabc", "bc", 5, BACK, 0, 2},   // a match ends at or before start
        {__LINE__, "abcabcx", "bc", 6, BACK, 0, 5},
        {__LINE__, "abcabcxy", "bc", 7, BACK, 0, 5},
        {__LINE__, "abcabc", "BC", 0, FWD, 0, 0},    // with case
        {__LINE__, "abcabc", "bc", 0, 7, 0, 5},      // any non-zero direction is backward
        {__LINE__, "ab", "abc", 1, FWD, 0, 0},
    };
    for (auto& r : rows) {
        Result got = str(STRINDEX, {r.s, r.sub, r.start, r.dir});
        EXPECT_EQ(got.error, r.error) << "row at line " << r.line;
        EXPECT_EQ(got.integer, r.expect) << "row at line " << r.line;
        EXPECT_FALSE(got.has_text) << "row at line " << r.line;
    }
}

TEST_F(Strings, ScanFindsAnyDelimiter) {
    struct { int line; const char* s; const char* d; int start, dir; uint16_t error; int expect; } rows[] = {
        {__LINE__, "a,b;c", ",;", 0, BACK, 0, 4},
        {__LINE__, "a,b;c", ",;", 0, FWD, 0, 2},
        {__LINE__, "a,b;c", ",;", 3, FWD, 0, 4},
        {__LINE__, "a,b;c", ",;", 3, BACK, 0, 2},
        {__LINE__, "", "x", 0, FWD, 0, 0},           // empty string: 0, no error
        {__LINE__, "", "x", 5, BACK, 0, 0},
        {__LINE__, "abc", "", 2, FWD, 0, 2},
        {__LINE__, "abc", "x", 4, FWD, 1100, 0},
        {__LINE__, "abc", "x", 0, FWD, 0, 0},
        {__LINE__, "abc", "a", 1, BACK, 0, 1},
    };
    for (auto& r : rows) {
        Result got = str(STRSCAN, {r.s, r.d, r.start, r.dir});
        EXPECT_EQ(got.error, r.error) << "row at line " << r.line;
        EXPECT_EQ(got.integer, r.expect) << "row at line " << r.line;
    }
}

TEST_F(Strings, FillFixAndFixChars) {
    EXPECT_EQ(text_of(STRFILL, {"ab", 5}), "ababa");
    EXPECT_EQ(text_of(STRFILL, {"", 3}), "   ");
    EXPECT_EQ(text_of(STRFILL, {"xyz", 0}), "");
    EXPECT_EQ(text_of(STRFILL, {"xyz", -4}), "");
    EXPECT_EQ(text_of(STRFILL, {"abc", 3}), "abc");
    EXPECT_EQ(text_of(STRFILL, {"-", 300}), std::string(300, '-'));
    EXPECT_EQ(str(STRFILL, {"ab", 70000}).error, 3096);

    EXPECT_EQ(text_of(STRFIX, {"abc", "", 5}), "abc  ");
    EXPECT_EQ(text_of(STRFIX, {"abcdef", "x", 3}), "abc");
    EXPECT_EQ(text_of(STRFIX, {"ab", "123", 7}), "ab12312");
    EXPECT_EQ(text_of(STRFIX, {"ab", "x", 0}), "");
    EXPECT_EQ(text_of(STRFIX, {"ab", "x", -3}), "");

    EXPECT_EQ(text_of(STRFIXCHARS, {"abc", "", 5}), "abc  ");
    EXPECT_EQ(text_of(STRFIXCHARS, {"abcdef", "x", 3}), "abc");
    EXPECT_EQ(text_of(STRFIXCHARS, {"ab", "123", 7}), "ab12312");
    EXPECT_EQ(text_of(STRFIXCHARS, {"ab", "x", 0}), "");
}

TEST_F(Strings, TrimReplaceCaseAndCompare) {
    EXPECT_EQ(text_of(STRTRIM, {"  \t a b \t"}), "a b");
    EXPECT_EQ(text_of(STRTRIM, {" \t  "}), "");
    EXPECT_EQ(text_of(STRTRIM, {"\na\n"}), "\na\n");   // only spaces and tabs
    EXPECT_EQ(text_of(STRREPLACE, {"aaa", "aa", "b"}), "ba");
    EXPECT_EQ(text_of(STRREPLACE, {"abc", "", "x"}), "abc");
    EXPECT_EQ(text_of(STRREPLACE, {"", "a", "x"}), "");
    EXPECT_EQ(text_of(STRREPLACE, {"a.b.c", ".", "::"}), "a::b::c");
    EXPECT_EQ(text_of(STRREPLACE, {"a.b.c", ".", ""}), "abc");
    EXPECT_EQ(text_of(STRREPLACE, {"abcabc", "abc", "abcabc"}), "abcabcabcabc");
    EXPECT_EQ(text_of(STRUPPER, {"MiXed 1"}), "MIXED 1");
    EXPECT_EQ(text_of(STRLOWER, {"MiXed 1"}), "mixed 1");
    EXPECT_EQ(int_of(STRCMP, {"abc", "abc"}), 0);
    EXPECT_LT(int_of(STRCMP, {"abc", "abd"}), 0);
    EXPECT_GT(int_of(STRCMP, {"b", "a"}), 0);
    EXPECT_NE(int_of(STRCMP, {"abc", "ABC"}), 0);
    EXPECT_EQ(int_of(STRICMP, {"abc", "ABC"}), 0);
    EXPECT_LT(int_of(STRICMP, {"abc", "ABD"}), 0);
    EXPECT_EQ(int_of(STRLEN, {"hello"}), 5);
    EXPECT_EQ(int_of(STRCHARCOUNT, {"hello"}), 5);
    EXPECT_EQ(int_of(STRLEN, {""}), 0);
}

TEST_F(Strings, DoubleByteCharactersStayWhole) {
    plat_native_set_dbcs(true);
    std::string one = KANJI_A;
    std::string mixed = std::string("a") + KANJI_A + "b" + KANJI_B + "c";   // 5 characters, 7 bytes
    EXPECT_EQ(int_of(STRLEN, {one}), 2);
    EXPECT_EQ(int_of(STRCHARCOUNT, {one}), 1);
    EXPECT_EQ(int_of(STRLEN, {mixed}), 7);
    EXPECT_EQ(int_of(STRCHARCOUNT, {mixed}), 5);
    EXPECT_EQ(text_of(STRSUB, {mixed, 2, 3}), std::string(KANJI_A) + "b" + KANJI_B);
    EXPECT_EQ(text_of(STRSUB, {mixed, 4, 2}), std::string(KANJI_B) + "c");
    EXPECT_EQ(str(STRSUB, {mixed, 4, 3}).error, 3059);
    EXPECT_EQ(int_of(STRINDEX, {mixed, KANJI_B, 0, FWD}), 4);
    EXPECT_EQ(int_of(STRINDEX, {mixed, "c", 0, BACK}), 5);
    EXPECT_EQ(int_of(STRINDEX, {mixed, std::string("b") + KANJI_B, 0, BACK}), 3);
    // A backslash inside a double-byte character is not a backslash.
    std::string path = std::string(KANJI_5C) + "x\\y";
    EXPECT_EQ(int_of(STRSCAN, {path, "\\", 0, FWD}), 3);
    EXPECT_EQ(int_of(STRINDEX, {path, "\\", 0, FWD}), 3);
    EXPECT_EQ(int_of(STRCHARCOUNT, {path}), 4);
    // Only the lead byte equal is not the same character.
    EXPECT_EQ(int_of(STRINDEX, {std::string(KANJI_A), "\x88\x40", 0, FWD}), 0);
    // StrFix cuts in bytes: a character split at the end becomes a space.
    EXPECT_EQ(text_of(STRFIX, {std::string("ab") + KANJI_A, "", 3}), "ab ");
    EXPECT_EQ(text_of(STRFIX, {std::string("ab") + KANJI_A, "", 4}), std::string("ab") + KANJI_A);
    EXPECT_EQ(text_of(STRFIX, {"a", KANJI_B, 4}), std::string("a") + KANJI_B + " ");
    EXPECT_EQ(text_of(STRFIXCHARS, {"a", KANJI_B, 3}), std::string("a") + KANJI_B + KANJI_B);
    EXPECT_EQ(text_of(STRFIXCHARS, {mixed, "", 2}), std::string("a") + KANJI_A);
    EXPECT_EQ(text_of(STRFILL, {std::string(KANJI_A) + "x", 3}), std::string(KANJI_A) + "x" + KANJI_A);
    EXPECT_EQ(text_of(STRTRIM, {std::string(" ") + KANJI_A + " "}), KANJI_A);
    std::string dbcs_tail = std::string("a") + KANJI_B;
    EXPECT_EQ(text_of(STRTRIM, {dbcs_tail + "\t"}), dbcs_tail);
    // StrReplace copies double-byte characters whole: the trail byte 0x5c is not replaced.
    EXPECT_EQ(text_of(STRREPLACE, {path, "\\", "/"}), std::string(KANJI_5C) + "x/y");
}

TEST_F(Strings, ResultsThatDoNotFitLeaveNothingAllocated) {
    use_heap(600);
    std::string big(200, 'x');
    EXPECT_EQ(str(STRREPLACE, {big, "x", "yyy"}).error, 3096);
    EXPECT_EQ(str(STRFILL, {"ab", 1000}).error, 3096);
    EXPECT_EQ(str(STRFIX, {"a", "b", 1000}).error, 3096);
    EXPECT_EQ(str(STRFIXCHARS, {"a", "b", 1000}).error, 3096);
    EXPECT_EQ(str(STRUPPER, {big}).error, 0);
    EXPECT_EQ(str(STRFILL, {"ab", 100}).error, 0);
}

// Random texts of single-byte and double-byte characters (some with trail
// bytes that look like a backslash or a letter): the functions must agree
// with each other and never split a character.
TEST_F(Strings, RandomDoubleByteTextsHoldTogether) {
    plat_native_set_dbcs(true);
    const char* const pieces[] = {"a", "b", "\\", " ", "\x88\x9f", "\x95\x5c", "\x82\x61", "\xb1", "\xe0\x40"};
    unsigned x = 2024;
    auto next = [&x](unsigned n) { x = x * 1103515245u + 12345u; return (x >> 16) % n; };
    for (int round = 0; round < 150; round++) {
        std::vector<std::string> chars;
        std::string s;
        unsigned n = next(12);
        for (unsigned i = 0; i < n; i++) {
            chars.push_back(pieces[next(9)]);
            s += chars.back();
        }
        ASSERT_EQ(int_of(STRCHARCOUNT, {s}), (int32_t)n) << "round " << round;
        ASSERT_EQ(int_of(STRLEN, {s}), (int32_t)s.size()) << "round " << round;
        for (unsigned k = 0; k <= n; k++) {
            std::string head = text_of(STRSUB, {s, 1, (int32_t)k});
            std::string tail = text_of(STRSUB, {s, (int32_t)k + 1, (int32_t)(n - k)});
            ASSERT_EQ(head + tail, s) << "round " << round << " cut " << k;
        }
        if (n > 0) {
            unsigned p = 1 + next(n), len = 1 + next(n - p + 1);
            std::string sub = text_of(STRSUB, {s, (int32_t)p, (int32_t)len});
            int32_t found = int_of(STRINDEX, {s, sub, 0, FWD});
            ASSERT_GE(found, 1);
            ASSERT_LE(found, (int32_t)p);
            ASSERT_EQ(text_of(STRSUB, {s, found, (int32_t)len}), sub) << "round " << round;
            int32_t back = int_of(STRINDEX, {s, sub, 0, BACK});
            if (len == n) {
                ASSERT_EQ(back, 0) << "a match ending at start = m is not found, round " << round;
            } else {
                ASSERT_GE(back, found);
                ASSERT_EQ(text_of(STRSUB, {s, back, (int32_t)len}), sub) << "round " << round;
            }
            int32_t scan = int_of(STRSCAN, {s, chars[p - 1], 0, FWD});
            ASSERT_GE(scan, 1);
            ASSERT_EQ(chars[(size_t)scan - 1], chars[p - 1]) << "round " << round;
        }
        int32_t width = (int32_t)next(20);
        std::string fixed = text_of(STRFIX, {s, pieces[next(9)], width});
        ASSERT_EQ(fixed.size(), (size_t)width) << "round " << round;
        for (const char* q = fixed.c_str(); *q; q = plat_char_next(q))
            ASSERT_FALSE(plat_is_lead_byte((unsigned char)*q) && !q[1]) << "StrFix left half a character";
        std::string chars_fixed = text_of(STRFIXCHARS, {s, pieces[next(9)], width});
        ASSERT_EQ(int_of(STRCHARCOUNT, {chars_fixed}), width) << "round " << round;
        ASSERT_EQ(int_of(STRCHARCOUNT, {text_of(STRFILL, {s, width})}), width) << "round " << round;
        std::string upper = text_of(STRUPPER, {s});
        ASSERT_EQ(int_of(STRCHARCOUNT, {upper}), (int32_t)n) << "round " << round;
    }
}

// Each family's table entry sits at the keyword record of its function.
TEST(ValueFamilies, EveryEntryIsTheFunctionOfItsKeywordRecord) {
    std::map<std::string, const FunctionFamily*> expect = {
        {"strcat", &kFamilyStrings}, {"strcharcount", &kFamilyStrings}, {"strcmp", &kFamilyStrings},
        {"strfill", &kFamilyStrings}, {"strfix", &kFamilyStrings}, {"strfixchars", &kFamilyStrings},
        {"stricmp", &kFamilyStrings}, {"strindex", &kFamilyStrings}, {"strlen", &kFamilyStrings},
        {"strlower", &kFamilyStrings}, {"strreplace", &kFamilyStrings}, {"strscan", &kFamilyStrings},
        {"strsub", &kFamilyStrings}, {"strtrim", &kFamilyStrings}, {"strupper", &kFamilyStrings},
        {"itemcount", &kFamilyItems}, {"itemextract", &kFamilyItems}, {"iteminsert", &kFamilyItems},
        {"itemlocate", &kFamilyItems}, {"itemremove", &kFamilyItems}, {"itemsort", &kFamilyItems},
        {"abs", &kFamilyArith}, {"average", &kFamilyArith}, {"char2num", &kFamilyArith},
        {"isnumber", &kFamilyArith}, {"max", &kFamilyArith}, {"min", &kFamilyArith},
        {"num2char", &kFamilyArith}, {"random", &kFamilyArith},
        {"datetime", &kFamilyDateTime}, {"getexacttime", &kFamilyDateTime},
    };
    unsigned seen = 0;
    for (const FunctionFamily* f : {&kFamilyStrings, &kFamilyItems, &kFamilyArith, &kFamilyDateTime}) {
        for (unsigned i = 0; i < f->count; i++) {
            int id = f->entries[i].id;
            ASSERT_GE(id, 0);
            ASSERT_LT(id, (int)KEYWORD_BUILTIN_COUNT);
            const KeywordRecord& r = g_keywords[id];
            EXPECT_EQ(r.kind, KW_FUNCTION) << "id " << id;
            auto it = expect.find(r.name);
            ASSERT_NE(it, expect.end()) << "id " << id << " is " << r.name;
            EXPECT_EQ(it->second, f) << r.name << " is in the wrong family";
            EXPECT_NE(f->entries[i].fn, nullptr) << r.name;
            seen++;
        }
    }
    EXPECT_EQ(seen, expect.size()) << "every function has exactly one entry";
}

} // namespace
} // namespace tsl

// The string functions called directly: edges, double-byte texts, results that do not fit, random texts.
#include "values_fixture.h"
#include "core/keywords.h"

namespace tsl {
namespace {

enum { STRCHARCOUNT = 217, STRCMP = 218, STRFILL = 219, STRFIX = 220, STRFIXCHARS = 221,
       STRICMP = 222, STRINDEX = 223, STRLEN = 224, STRLOWER = 225, STRREPLACE = 226,
       STRSCAN = 227, STRSUB = 228, STRTRIM = 229, STRUPPER = 230 };
const int FWD = 0, BACK = 1;
const std::string KANJI_A = "\x88\x9f", KANJI_B = "\x82\xa0";
const std::string KANJI_5C = "\x95\x5c";  // its trail byte is a backslash

struct Strings : ValueTest { Strings() : ValueTest(kFamilyStrings) {} };

struct Row { int line; int id; std::vector<Arg> args; uint16_t error; };

// The errors; the edges that give results are lines of the strings script.
TEST_F(Strings, Errors) {
    const std::vector<Row> rows = {
        {__LINE__, STRSUB, {"abc", 0, 2}, 3059},   // a start below 1 with a length
        {__LINE__, STRSUB, {"abc", 5, 0}, 3059},
        {__LINE__, STRSUB, {"abc", 4, 1}, 3059},
        {__LINE__, STRSUB, {"abc", 1, -1}, 3059},
        {__LINE__, STRSUB, {"", 1, 1}, 3059},
        {__LINE__, STRSUB, {"abc", 2, INT32_MAX}, 3059},
        {__LINE__, STRINDEX, {"abc", "x", 4, FWD}, 1100},
        {__LINE__, STRINDEX, {"abc", "x", -1, FWD}, 1100},
        {__LINE__, STRFILL, {"ab", 70000}, 3096},
    };
    for (const Row& r : rows) EXPECT_EQ(call(r.id, r.args).error, r.error) << AT_ROW(r);
}

TEST_F(Strings, DoubleByteCharactersStayWhole) {
    plat_native_set_dbcs(true);
    std::string mixed = "a" + KANJI_A + "b" + KANJI_B + "c";   // 5 characters, 7 bytes
    std::string path = KANJI_5C + "x\\y";
    EXPECT_EQ(int_of(STRLEN, {KANJI_A}), 2);
    EXPECT_EQ(int_of(STRCHARCOUNT, {KANJI_A}), 1);
    EXPECT_EQ(int_of(STRLEN, {mixed}), 7);
    EXPECT_EQ(int_of(STRCHARCOUNT, {mixed}), 5);
    EXPECT_EQ(text_of(STRSUB, {mixed, 2, 3}), KANJI_A + "b" + KANJI_B);
    EXPECT_EQ(text_of(STRSUB, {mixed, 4, 2}), KANJI_B + "c");
    EXPECT_EQ(call(STRSUB, {mixed, 4, 3}).error, 3059);
    EXPECT_EQ(int_of(STRINDEX, {mixed, KANJI_B, 0, FWD}), 4);
    EXPECT_EQ(int_of(STRINDEX, {mixed, "c", 0, BACK}), 5);
    EXPECT_EQ(int_of(STRINDEX, {mixed, "b" + KANJI_B, 0, BACK}), 3);
    // A backslash inside a double-byte character is not a backslash.
    EXPECT_EQ(int_of(STRSCAN, {path, "\\", 0, FWD}), 3);
    EXPECT_EQ(int_of(STRINDEX, {path, "\\", 0, FWD}), 3);
    EXPECT_EQ(int_of(STRCHARCOUNT, {path}), 4);
    EXPECT_EQ(text_of(STRREPLACE, {path, "\\", "/"}), KANJI_5C + "x/y");
    // Only the lead byte equal is not the same character.
    EXPECT_EQ(int_of(STRINDEX, {KANJI_A, "\x88\x40", 0, FWD}), 0);
    // StrFix cuts in bytes: a character split at the end becomes a space.
    EXPECT_EQ(text_of(STRFIX, {"ab" + KANJI_A, "", 3}), "ab ");
    EXPECT_EQ(text_of(STRFIX, {"ab" + KANJI_A, "", 4}), "ab" + KANJI_A);
    EXPECT_EQ(text_of(STRFIX, {"a", KANJI_B, 4}), "a" + KANJI_B + " ");
    EXPECT_EQ(text_of(STRFIXCHARS, {"a", KANJI_B, 3}), "a" + KANJI_B + KANJI_B);
    EXPECT_EQ(text_of(STRFIXCHARS, {mixed, "", 2}), "a" + KANJI_A);
    EXPECT_EQ(text_of(STRFILL, {KANJI_A + "x", 3}), KANJI_A + "x" + KANJI_A);
    EXPECT_EQ(text_of(STRTRIM, {" " + KANJI_A + " "}), KANJI_A);
    EXPECT_EQ(text_of(STRTRIM, {"a" + KANJI_B + "\t"}), "a" + KANJI_B);
}

TEST_F(Strings, ResultsThatDoNotFitLeaveNothingAllocated) {
    use_heap(600);
    std::string big(200, 'x');
    EXPECT_EQ(call(STRREPLACE, {big, "x", "yyy"}).error, 3096);
    EXPECT_EQ(call(STRFILL, {"ab", 1000}).error, 3096);
    EXPECT_EQ(call(STRFIX, {"a", "b", 1000}).error, 3096);
    EXPECT_EQ(call(STRFIXCHARS, {"a", "b", 1000}).error, 3096);
    EXPECT_EQ(call(STRUPPER, {big}).error, 0);
    EXPECT_EQ(call(STRFILL, {"ab", 100}).error, 0);
}

// Random texts of single-byte and double-byte characters (some with trail
// bytes that look like a backslash or a letter): the functions must agree
// with each other and never split a character.
TEST_F(Strings, RandomDoubleByteTextsHoldTogether) {
    plat_native_set_dbcs(true);
    const char* const pieces[] = {"a", "b", "\\", " ", "\x88\x9f", "\x95\x5c", "\x82\x61", "\xb1", "\xe0\x40"};
    std::mt19937 rng(2024);
    auto next = [&](unsigned n) { return (unsigned)(rng() % n); };
    for (int round = 0; round < 150; round++) {
        std::vector<std::string> chars;
        std::string s;
        unsigned n = next(12);
        for (unsigned i = 0; i < n; i++) s += chars.emplace_back(pieces[next(9)]);
        ASSERT_EQ(int_of(STRCHARCOUNT, {s}), (int32_t)n) << "round " << round;
        ASSERT_EQ(int_of(STRLEN, {s}), (int32_t)s.size()) << "round " << round;
        for (unsigned k = 0; k <= n; k++)
            ASSERT_EQ(text_of(STRSUB, {s, 1, (int32_t)k}) + text_of(STRSUB, {s, (int32_t)k + 1, (int32_t)(n - k)}), s)
                << "round " << round << " cut " << k;
        if (n > 0) {
            unsigned p = 1 + next(n), len = 1 + next(n - p + 1);
            std::string sub = text_of(STRSUB, {s, (int32_t)p, (int32_t)len});
            int32_t found = int_of(STRINDEX, {s, sub, 0, FWD});
            ASSERT_TRUE(found >= 1 && found <= (int32_t)p) << "round " << round;
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
        ASSERT_EQ(int_of(STRCHARCOUNT, {text_of(STRFIXCHARS, {s, pieces[next(9)], width})}), width) << round;
        ASSERT_EQ(int_of(STRCHARCOUNT, {text_of(STRFILL, {s, width})}), width) << "round " << round;
        ASSERT_EQ(int_of(STRCHARCOUNT, {text_of(STRUPPER, {s})}), (int32_t)n) << "round " << round;
    }
}

// StrCat, Average, Max and Min read their own arguments (their failures in scripts: the arith and strings scripts).
struct Variadic : ValueTest { Variadic() : ValueTest(kFamilyStrings) {} };

// The function itself, called with the lexer standing after "(": a failure
// leaves no text in the result value and gives back every byte.
TEST_F(Variadic, StrCatFailureLeavesNoResultText) {
    use_heap(1400);
    FunctionImpl str_cat = find(K_STRCAT);
    ASSERT_NE(str_cat, nullptr);
    std::string lit = "\"" + std::string(200, 'z') + "\"";
    struct { int line; std::string args; uint16_t error; size_t length; } rows[] = {
        {__LINE__, lit + ", " + lit + ")", 0, 400},
        {__LINE__, lit + ", " + lit + ", " + lit + ", " + lit + ")", 3096, 0},   // the growing buffer does not fit
        {__LINE__, lit + ", " + lit + " 5)", 2058, 0},
        {__LINE__, lit + ", 5 / 0)", 3062, 0},   // an argument's own error
    };
    for (auto& r : rows) {
        uint32_t free_before = free_bytes();
        ctx->cursor = r.args.c_str();
        ctx->error = 0;
        Value result = value_int(0);
        str_cat(ctx, &result, nullptr);
        EXPECT_EQ(ctx->error, r.error) << AT_ROW(r);
        if (r.error) {
            EXPECT_EQ(result.string, 0) << AT_ROW(r);
        } else {
            EXPECT_EQ(std::string(value_text(ctx, result)).size(), r.length) << AT_ROW(r);
        }
        value_free(ctx, &result);
        EXPECT_EQ(free_bytes(), free_before) << AT_ROW(r);
    }
}

} // namespace
} // namespace tsl

// Values: the number test, integer to text in radix 10 and 36, conversions, the bounded routines.
#include "core/bounded.h"
#include "core_fixture.h"

namespace tsl {
namespace {

class Values : public CoreTest {};

// `ok` and `value`: the number test and the value's conversion (0 on a
// failure); `prefix`: text_to_integer, which reads one sign and stops at
// the first other character.
TEST_F(Values, ToIntegerFollowsTheNumberTest) {
    struct { int line; const char* text; int ok; int32_t value, prefix; } rows[] = {
        {__LINE__, "  -7", 1, -7, -7},
        {__LINE__, "42 ", 0, 0, 42},             // a trailing space is not skipped
        {__LINE__, "\t42", 0, 0, 0},             // a tab is not a blank here
        {__LINE__, "   ", 0, 0, 0},
        {__LINE__, "+-", 0, 0, 0},
        {__LINE__, "-+7", 1, 0, 0},              // passes the test, converts to 0
        {__LINE__, "- 7", 0, 0, 0},              // no blank after the sign
        {__LINE__, "+0012", 1, 12, 12},
        {__LINE__, "12abc", 0, 0, 12},
        {__LINE__, "1.5", 0, 0, 1},
        {__LINE__, "0x10", 0, 0, 0},
        {__LINE__, "2147483648", 1, INT32_MIN, INT32_MIN},   // wraps silently
        {__LINE__, "-2147483648", 1, INT32_MIN, INT32_MIN},
        {__LINE__, "99999999999", 1, (int32_t)(99999999999ULL & 0xFFFFFFFF), (int32_t)(99999999999ULL & 0xFFFFFFFF)},
    };
    for (auto& r : rows) {
        Value v{1234, 0, NO_VARIABLE, 0};
        ASSERT_TRUE(value_set_text(ctx, &v, r.text));
        EXPECT_EQ(value_to_integer(ctx, &v), r.ok) << AT_ROW(r);
        EXPECT_EQ(v.integer, r.value) << AT_ROW(r);
        EXPECT_EQ(v.flags, (uint32_t)VF_STR) << AT_ROW(r) << "flags left as they were";
        EXPECT_EQ(text_is_number(r.text), r.ok == 1) << AT_ROW(r);
        EXPECT_EQ(text_to_integer(r.text), r.prefix) << AT_ROW(r);
        EXPECT_EQ(ctx->error, 0) << AT_ROW(r) << "conversions set no error";
        value_free(ctx, &v);
    }
    Value none{77, 0, NO_VARIABLE, 0};
    EXPECT_EQ(value_to_integer(ctx, &none), 0);
    EXPECT_EQ(none.integer, 77) << "a value with neither half is left alone";
}

TEST_F(Values, TextsOfValues) {
    uint32_t before = free_bytes();
    Value v{-42, 0, 7, VF_INT | VF_HANDLE};
    ASSERT_EQ(value_to_string(ctx, &v), 1);
    EXPECT_STREQ(value_text(ctx, v), "-42");
    EXPECT_EQ(v.flags, 3u) << "a handle turned into text is no longer a handle";
    EXPECT_EQ(v.source, 7) << "the source variable is kept";
    uint16_t off = v.string;
    EXPECT_EQ(value_to_string(ctx, &v), 1);
    EXPECT_EQ(v.string, off) << "a text value keeps its text";
    ASSERT_TRUE(value_set_text(ctx, &v, "second"));
    EXPECT_STREQ(value_text(ctx, v), "second");
    EXPECT_EQ(v.flags, (uint32_t)VF_STR);
    char* p = value_alloc_text(ctx, &v, 0);
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p, "") << "a fresh text starts empty";
    // A copy takes the text, its NUL and 12 bytes, in fours: 32 bytes for 19 characters.
    ASSERT_TRUE(value_set_text(ctx, &v, "nineteen characters"));
    uint32_t held = free_bytes();
    uint16_t copy = value_copy_text(ctx, v.string);
    EXPECT_EQ(held - free_bytes(), 32u);
    heap_free(ctx->heap, copy);
    value_free(ctx, &v);
    EXPECT_EQ(v.string + v.flags, 0u);
    Value none{1, 0, NO_VARIABLE, 0};
    EXPECT_EQ(value_to_string(ctx, &none), 0);
    EXPECT_EQ(ctx->error, 0);
    EXPECT_EQ(free_bytes(), before) << "every replaced text was freed";
    EXPECT_STREQ(value_text(ctx, Value{0, 0, NO_VARIABLE, VF_STR}), "") << "no text offset reads as empty";
    EXPECT_EQ(value_alloc_text(ctx, &v, HEAP_MAX_SIZE + 1), nullptr);
    EXPECT_EQ(ctx->error, 3096);
    // On a full heap: 3096, and the value stays an integer.
    use_heap(200);
    while (heap_alloc(ctx->heap, 0)) {}
    v = value_int(12345);
    EXPECT_EQ(value_to_string(ctx, &v), 0);
    EXPECT_EQ(ctx->error, 3096);
    EXPECT_EQ(v.flags, (uint32_t)VF_INT);
    EXPECT_EQ(v.string, 0);
}

TEST_F(Values, IntegerToTextInRadix10And36) {
    struct { int line; int32_t n; int radix; const char* text; } rows[] = {
        {__LINE__, 0, 10, "0"}, {__LINE__, -1, 10, "-1"}, {__LINE__, INT32_MAX, 10, "2147483647"},
        {__LINE__, INT32_MIN, 10, "-2147483648"}, {__LINE__, 35, 36, "Z"}, {__LINE__, 36, 36, "10"},
        {__LINE__, -1, 36, "-1"}, {__LINE__, INT32_MAX, 36, "ZIK0ZJ"}, {__LINE__, INT32_MIN, 36, "-ZIK0ZK"},
    };
    for (auto& r : rows) {
        char buf[40];
        memset(buf, 'x', sizeof buf);
        EXPECT_STREQ(integer_to_text(r.n, buf, r.radix), r.text) << AT_ROW(r);
        EXPECT_EQ(buf[31], 'x') << AT_ROW(r) << "at most 31 bytes written";
    }
}

// Copy and append into an 8-byte buffer: lengths count in their low 16 bits
// (65,537 bytes count as 1), and a missing pointer is 3098 with the buffer kept.
TEST_F(Values, BoundedCopyAndAppend) {
    std::string q65537(65537, 'q');
    struct { int line; bool append; const char* dst; const char* src; unsigned cap; const char* want; uint16_t error; } rows[] = {
        {__LINE__, false, "keep", "abcdefghij", 8, "abcdefg", 0},
        {__LINE__, false, "keep", "abc", 1, "", 0},          // capacity 1 holds only the NUL
        {__LINE__, false, "keep", q65537.c_str(), 8, "q", 0},
        {__LINE__, false, "keep", nullptr, 8, "keep", 3098},
        {__LINE__, true, "abc", "defghij", 8, "abcdefg", 0},
        {__LINE__, true, "abcdefg", "x", 8, "abcdefg", 0},   // a destination at capacity - 1 is left as it is
        {__LINE__, true, "abc", "z", 2, "abc", 0},           // ... and one already past it
        {__LINE__, true, "abc", q65537.c_str(), 6, "abcq", 0},   // 65,537 counts as 1 in an append too
        {__LINE__, true, "abc", nullptr, 8, "abc", 3098},
    };
    for (auto& r : rows) {
        char buf[8];
        strcpy(buf, r.dst);
        ctx->error = 0;
        (r.append ? bounded_append : bounded_copy)(ctx, buf, r.src, r.cap);
        EXPECT_STREQ(buf, r.want) << AT_ROW(r);
        EXPECT_EQ(ctx->error, r.error) << AT_ROW(r);
    }
    for (auto fn : {bounded_copy, bounded_append}) {
        ctx->error = 0;
        fn(ctx, nullptr, "abc", 4);
        EXPECT_EQ(ctx->error, 3098) << "no destination";
    }
    // A capacity of 65,536 is 0 in 16 bits: nothing is cut.
    std::string big(65536, 'x');
    bounded_copy(ctx, &big[0], "abc", 65536);
    EXPECT_STREQ(big.c_str(), "abc");
}

} // namespace
} // namespace tsl

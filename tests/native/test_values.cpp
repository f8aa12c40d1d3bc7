// Values: the number test and text-to-integer, integer-to-text in radix
// 10 and 36, the two conversions of a value, the bounded routines.
#include "core/bounded.h"
#include "core_fixture.h"

namespace tsl {
namespace {

class Values : public CoreTest {
protected:
    Value text_value(const char* s) {
        Value v{0, 0, NO_VARIABLE, 0};
        EXPECT_TRUE(value_set_text(ctx, &v, s));
        return v;
    }
};

TEST_F(Values, ToIntegerFollowsTheNumberTest) {
    struct { int line; const char* text; int ok; int32_t value; } rows[] = {
        {__LINE__, "42", 1, 42},
        {__LINE__, "  42", 1, 42},          // leading spaces are skipped
        {__LINE__, "42 ", 0, 0},            // a trailing space is not
        {__LINE__, "\t42", 0, 0},           // a tab is not a blank here
        {__LINE__, "", 0, 0},
        {__LINE__, "   ", 0, 0},
        {__LINE__, "-", 0, 0},
        {__LINE__, "+-", 0, 0},
        {__LINE__, "--5", 1, 0},            // passes the test, converts to 0
        {__LINE__, "+-7", 1, 0},
        {__LINE__, "-+7", 1, 0},
        {__LINE__, "4-2", 0, 0},
        {__LINE__, "-7", 1, -7},
        {__LINE__, "+7", 1, 7},
        {__LINE__, "  -7", 1, -7},
        {__LINE__, "- 7", 0, 0},            // no blank after the sign
        {__LINE__, "007", 1, 7},
        {__LINE__, "1a", 0, 0},
        {__LINE__, "a1", 0, 0},
        {__LINE__, "1.5", 0, 0},
        {__LINE__, "0x10", 0, 0},
        {__LINE__, "2147483647", 1, INT32_MAX},
        {__LINE__, "2147483648", 1, INT32_MIN},     // wraps silently
        {__LINE__, "-2147483648", 1, INT32_MIN},
        {__LINE__, "4294967297", 1, 1},
        {__LINE__, "99999999999", 1, (int32_t)(99999999999ULL & 0xFFFFFFFF)},
    };
    for (auto& r : rows) {
        Value v = text_value(r.text);
        v.integer = 1234;
        EXPECT_EQ(value_to_integer(ctx, &v), r.ok) << "row at line " << r.line;
        EXPECT_EQ(v.integer, r.value) << "row at line " << r.line << " (a failure leaves 0)";
        EXPECT_EQ(v.flags, (uint32_t)VF_STR) << "row at line " << r.line << ": flags left as they were";
        EXPECT_EQ(text_is_number(r.text), r.ok == 1) << "row at line " << r.line;
        EXPECT_EQ(ctx->error, 0) << "row at line " << r.line << ": conversions set no error";
        value_free(ctx, &v);
    }
}

TEST_F(Values, TextToIntegerTakesOneSignAndStopsAtTheFirstNonDigit) {
    EXPECT_EQ(text_to_integer("12abc"), 12);
    EXPECT_EQ(text_to_integer("   -3x"), -3);
    EXPECT_EQ(text_to_integer("--5"), 0);
    EXPECT_EQ(text_to_integer(""), 0);
    EXPECT_EQ(text_to_integer("\t5"), 0);
    EXPECT_EQ(text_to_integer("+0012"), 12);
    EXPECT_EQ(text_to_integer("4294967295"), -1);
}

TEST_F(Values, ToIntegerOfAnIntegerOrNothing) {
    Value v = value_int(5);
    EXPECT_EQ(value_to_integer(ctx, &v), 1);
    EXPECT_EQ(v.integer, 5);
    Value none{77, 0, NO_VARIABLE, 0};
    EXPECT_EQ(value_to_integer(ctx, &none), 0);
    EXPECT_EQ(none.integer, 77) << "a value with neither half is left alone";
}

TEST_F(Values, ToStringRendersAndDropsTheHandleBit) {
    uint32_t before = free_bytes();
    Value v{-42, 0, 7, VF_INT};
    ASSERT_EQ(value_to_string(ctx, &v), 1);
    EXPECT_STREQ(value_text(ctx, v), "-42");
    EXPECT_EQ(v.flags, 3u);
    EXPECT_EQ(v.source, 7) << "the source variable is kept";
    value_free(ctx, &v);

    Value handle{3, 0, NO_VARIABLE, VF_INT | VF_HANDLE};
    ASSERT_EQ(value_to_string(ctx, &handle), 1);
    EXPECT_EQ(handle.flags, 3u) << "a handle turned into text is no longer a handle";
    EXPECT_STREQ(value_text(ctx, handle), "3");
    value_free(ctx, &handle);

    Value text = text_value("abc");
    uint16_t off = text.string;
    EXPECT_EQ(value_to_string(ctx, &text), 1);
    EXPECT_EQ(text.string, off) << "a text value keeps its text";
    value_free(ctx, &text);

    Value none{1, 0, NO_VARIABLE, 0};
    EXPECT_EQ(value_to_string(ctx, &none), 0);
    EXPECT_EQ(ctx->error, 0);
    EXPECT_EQ(free_bytes(), before);
}

TEST_F(Values, ToStringOnAFullHeapIs3096) {
    use_heap(200);
    while (heap_alloc(ctx->heap, 0)) {}
    Value v = value_int(12345);
    EXPECT_EQ(value_to_string(ctx, &v), 0);
    EXPECT_EQ(ctx->error, 3096);
    EXPECT_EQ(v.flags, (uint32_t)VF_INT);
    EXPECT_EQ(v.string, 0);
}

TEST_F(Values, IntegerToTextInRadix10And36) {
    struct { int line; int32_t n; int radix; const char* text; } rows[] = {
        {__LINE__, 0, 10, "0"},
        {__LINE__, 7, 10, "7"},
        {__LINE__, -1, 10, "-1"},
        {__LINE__, INT32_MAX, 10, "2147483647"},
        {__LINE__, INT32_MIN, 10, "-2147483648"},
        {__LINE__, 1000000, 10, "1000000"},
        {__LINE__, 35, 36, "Z"},
        {__LINE__, 36, 36, "10"},
        {__LINE__, -1, 36, "-1"},
        {__LINE__, INT32_MAX, 36, "ZIK0ZJ"},
        {__LINE__, INT32_MIN, 36, "-ZIK0ZK"},
        {__LINE__, 0, 36, "0"},
    };
    for (auto& r : rows) {
        char buf[40];
        memset(buf, 'x', sizeof buf);
        EXPECT_STREQ(integer_to_text(r.n, buf, r.radix), r.text) << "row at line " << r.line;
        EXPECT_EQ(buf[31], 'x') << "row at line " << r.line << ": at most 31 bytes written";
    }
}

TEST_F(Values, SetAndAllocTextReplaceTheOldText) {
    uint32_t before = free_bytes();
    Value v = value_int(9);
    ASSERT_TRUE(value_set_text(ctx, &v, "first"));
    ASSERT_TRUE(value_set_text(ctx, &v, "second"));
    EXPECT_STREQ(value_text(ctx, v), "second");
    EXPECT_EQ(v.flags, (uint32_t)VF_STR);
    char* p = value_alloc_text(ctx, &v, 0);
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p, "") << "a fresh text starts empty";
    value_free(ctx, &v);
    EXPECT_EQ(v.string, 0);
    EXPECT_EQ(v.flags, 0u);
    EXPECT_EQ(free_bytes(), before);
    EXPECT_EQ(value_alloc_text(ctx, &v, HEAP_MAX_SIZE + 1), nullptr);
    EXPECT_EQ(ctx->error, 3096);
    EXPECT_STREQ(value_text(ctx, Value{0, 0, NO_VARIABLE, VF_STR}), "") << "no text offset reads as empty";
}

TEST_F(Values, BoundedCopy) {
    char buf[8];
    bounded_copy(ctx, buf, "abcdefghij", sizeof buf);
    EXPECT_STREQ(buf, "abcdefg");
    bounded_copy(ctx, buf, "abc", 1);
    EXPECT_STREQ(buf, "") << "capacity 1 holds only the NUL";
    bounded_copy(ctx, buf, "", sizeof buf);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(ctx->error, 0);
    bounded_copy(ctx, nullptr, "abc", 4);
    EXPECT_EQ(ctx->error, 3098);
    ctx->error = 0;
    strcpy(buf, "keep");
    bounded_copy(ctx, buf, nullptr, sizeof buf);
    EXPECT_EQ(ctx->error, 3098);
    EXPECT_STREQ(buf, "keep");
    // The count uses the low 16 bits of the length: 65,537 bytes count as 1.
    std::string longer(65537, 'q');
    ctx->error = 0;
    bounded_copy(ctx, buf, longer.c_str(), sizeof buf);
    EXPECT_STREQ(buf, "q");
}

TEST_F(Values, BoundedAppend) {
    char buf[8] = "abc";
    bounded_append(ctx, buf, "defghij", sizeof buf);
    EXPECT_STREQ(buf, "abcdefg");
    bounded_append(ctx, buf, "x", sizeof buf);
    EXPECT_STREQ(buf, "abcdefg") << "a destination at capacity - 1 is left as it is";
    char small[4] = "abc";
    bounded_append(ctx, small, "z", 2);
    EXPECT_STREQ(small, "abc") << "a destination already past the capacity is left as it is";
    EXPECT_EQ(ctx->error, 0);
    bounded_append(ctx, buf, nullptr, sizeof buf);
    EXPECT_EQ(ctx->error, 3098);
    ctx->error = 0;
    bounded_append(ctx, nullptr, "a", 4);
    EXPECT_EQ(ctx->error, 3098);
}

} // namespace
} // namespace tsl

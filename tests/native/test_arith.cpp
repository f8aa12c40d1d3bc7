// Arithmetic and conversion functions called directly. (Average, Max and
// Min read their own arguments from a script line: the script tests in
// tests/scripts/arith cover them.)
#include "values_fixture.h"

namespace tsl {
namespace {

enum { ABS = 61, CHAR2NUM = 72, ISNUMBER = 157, NUM2CHAR = 182, RANDOM = 190 };

class Arith : public ValueTest {
protected:
    Result fn(int id, std::initializer_list<Arg> a) { return call(kFamilyArith, id, a); }
    int32_t int_of(int id, std::initializer_list<Arg> a) {
        Result r = fn(id, a);
        EXPECT_EQ(r.error, 0) << "function " << id;
        EXPECT_FALSE(r.has_text) << "function " << id << " returns an integer";
        return r.integer;
    }
    std::string text_of(int id, std::initializer_list<Arg> a) {
        Result r = fn(id, a);
        EXPECT_EQ(r.error, 0) << "function " << id;
        EXPECT_TRUE(r.has_text) << "function " << id << " returns a text";
        return r.text;
    }
};

TEST_F(Arith, Abs) {
    EXPECT_EQ(int_of(ABS, {-5}), 5);
    EXPECT_EQ(int_of(ABS, {5}), 5);
    EXPECT_EQ(int_of(ABS, {0}), 0);
    EXPECT_EQ(int_of(ABS, {INT32_MIN}), INT32_MIN);   // wraps: stays itself
    EXPECT_EQ(int_of(ABS, {-INT32_MAX}), INT32_MAX);
}

TEST_F(Arith, IsNumberFollowsTheValueConversion) {
    struct { int line; const char* s; int expect; } rows[] = {
        {__LINE__, "42", 1}, {__LINE__, "  42", 1}, {__LINE__, "42 ", 0}, {__LINE__, "\t42", 0},
        {__LINE__, "", 0},   {__LINE__, "-", 0},    {__LINE__, "--5", 1}, {__LINE__, "4-2", 0},
        {__LINE__, "+7", 1}, {__LINE__, "abc", 0},  {__LINE__, "99999999999", 1},
    };
    for (auto& r : rows) EXPECT_EQ(int_of(ISNUMBER, {r.s}), r.expect) << "row at line " << r.line;
}

TEST_F(Arith, Char2NumAndNum2Char) {
    EXPECT_EQ(int_of(CHAR2NUM, {"A"}), 65);
    EXPECT_EQ(int_of(CHAR2NUM, {""}), 0);
    EXPECT_EQ(int_of(CHAR2NUM, {"\xff"}), 255);
    EXPECT_EQ(int_of(CHAR2NUM, {"\x88\x9f"}), 0x88);   // no double-byte code page
    EXPECT_EQ(text_of(NUM2CHAR, {65}), "A");
    EXPECT_EQ(text_of(NUM2CHAR, {321}), "A");
    EXPECT_EQ(text_of(NUM2CHAR, {-1}), "\xff");
    EXPECT_EQ(text_of(NUM2CHAR, {0x889f}), "\x9f");
    EXPECT_EQ(text_of(NUM2CHAR, {256}), "");             // the NUL byte ends the text

    plat_native_set_dbcs(true);
    EXPECT_EQ(int_of(CHAR2NUM, {"\x88\x9f"}), 0x889f);
    EXPECT_EQ(int_of(CHAR2NUM, {"\x88\x9f" "abc"}), 0x889f);
    EXPECT_EQ(int_of(CHAR2NUM, {"A\x88"}), 65);
    EXPECT_EQ(text_of(NUM2CHAR, {0x889f}), "\x88\x9f");
    EXPECT_EQ(text_of(NUM2CHAR, {0x4141}), "A");          // 0x41 is no lead byte
    EXPECT_EQ(text_of(NUM2CHAR, {65}), "A");
    // Round trip of every character of the code page's lead ranges.
    for (int lead : {0x81, 0x9f, 0xe0, 0xfc}) {
        int code = lead * 256 + 0x40;
        EXPECT_EQ(int_of(CHAR2NUM, {text_of(NUM2CHAR, {code})}), code) << "code " << code;
    }
}

TEST_F(Arith, RandomStaysInRangeAndMovesTheSeed) {
    EXPECT_EQ(int_of(RANDOM, {0}), 0);
    EXPECT_EQ(int_of(RANDOM, {-1}), 0);   // the divisor would be 0
    bool seen[11] = {};
    for (int i = 0; i < 2000; i++) {
        int32_t r = int_of(RANDOM, {10});
        ASSERT_GE(r, 0);
        ASSERT_LE(r, 10);
        seen[r] = true;
    }
    int distinct = 0;
    for (bool b : seen) distinct += b;
    EXPECT_GE(distinct, 8) << "2000 draws cover nearly all of 0..10";
    for (int i = 0; i < 200; i++) {
        int32_t big = int_of(RANDOM, {INT32_MAX});
        EXPECT_GE(big, 0);
        int32_t neg = int_of(RANDOM, {-5});   // divisor -4: |remainder| in 0..3
        EXPECT_GE(neg, 0);
        EXPECT_LE(neg, 3);
        EXPECT_EQ(int_of(RANDOM, {-2}), 0);   // divisor -1
        EXPECT_GE(int_of(RANDOM, {INT32_MIN}), 0);
    }
}

TEST_F(Arith, RandomFollowsTheSeedFormula) {
    // x = ticks + seed * 13497 and seed += x: two calls within one tick and
    // one second from the same seed give the same value; the seed moves.
    for (int attempt = 0; attempt < 20; attempt++) {
        ctx->random_seed = 777;
        LocalTime before;
        plat_local_time(&before);
        uint32_t t0 = plat_tick_count();
        int32_t a = int_of(RANDOM, {1000000});
        uint32_t seed_after = ctx->random_seed;
        ctx->random_seed = 777;
        int32_t b = int_of(RANDOM, {1000000});
        uint32_t t1 = plat_tick_count();
        LocalTime after;
        plat_local_time(&after);
        if (t0 != t1 || before.second != after.second) continue;   // the clock moved: try again
        EXPECT_EQ(a, b);
        uint32_t x = t0 + 777u * 13497u;
        EXPECT_EQ(seed_after, 777u + x);
        int32_t v = (int32_t)(x + (uint32_t)((before.hour * 60 + before.minute) * 60 + before.second));
        int32_t expect = v % 1000001;
        EXPECT_EQ(a, expect < 0 ? -expect : expect);
        return;
    }
    ADD_FAILURE() << "the clock never stood still for two calls";
}

} // namespace
} // namespace tsl

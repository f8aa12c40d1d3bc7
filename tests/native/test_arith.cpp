// Arithmetic and conversion functions called directly: integer edges, double-byte characters, the random seed.
#include "values_fixture.h"

namespace tsl {
namespace {

enum { CHAR2NUM = 72, NUM2CHAR = 182, RANDOM = 190 };

struct Arith : ValueTest { Arith() : ValueTest(kFamilyArith) {} };

TEST_F(Arith, DoubleByteCharacters) {
    plat_native_set_dbcs(true);
    EXPECT_EQ(int_of(CHAR2NUM, {"\x88\x9f" "abc"}), 0x889f);
    EXPECT_EQ(int_of(CHAR2NUM, {"A\x88"}), 65);
    EXPECT_EQ(text_of(NUM2CHAR, {0x4141}), "A");          // 0x41 is no lead byte
    for (int lead : {0x81, 0x88, 0x9f, 0xe0, 0xfc}) {      // round trips at the lead ranges' ends
        int code = lead * 256 + 0x9f;
        EXPECT_EQ(text_of(NUM2CHAR, {code}), std::string(1, (char)lead) + "\x9f") << "code " << code;
        EXPECT_EQ(int_of(CHAR2NUM, {text_of(NUM2CHAR, {code})}), code) << "code " << code;
    }
}

TEST_F(Arith, RandomWithNegativeMaximum) {
    for (int i = 0; i < 200; i++) {
        int32_t neg = int_of(RANDOM, {-5});   // divisor -4: |remainder| in 0..3
        EXPECT_TRUE(neg >= 0 && neg <= 3) << neg;
        EXPECT_EQ(int_of(RANDOM, {-2}), 0);   // divisor -1
        EXPECT_GE(int_of(RANDOM, {INT32_MIN}), 0);
    }
}

TEST_F(Arith, RandomFollowsTheSeedFormula) {
    // x = ticks + seed * 13497 and seed += x: two calls within one tick and
    // one second from the same seed give the same value; the seed moves.
    for (int attempt = 0; attempt < 20; attempt++) {
        ctx->random_seed = 777;
        LocalTime before, after;
        plat_local_time(&before);
        uint32_t t0 = plat_tick_count();
        int32_t a = int_of(RANDOM, {1000000});
        uint32_t seed_after = ctx->random_seed;
        ctx->random_seed = 777;
        int32_t b = int_of(RANDOM, {1000000});
        uint32_t t1 = plat_tick_count();
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

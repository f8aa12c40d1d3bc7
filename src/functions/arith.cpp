// The arithmetic and conversion functions: Abs, Average, Max, Min, Random,
// Char2Num, Num2Char, IsNumber. All arithmetic is signed 32-bit, wrapping.
#include "families.h"
#include "../core/eval.h"

namespace tsl {

enum : int16_t {   // ORDER KEYWORDS: ids of keyword_table.cpp
    ID_ABS = 61, ID_AVERAGE = 67, ID_CHAR2NUM = 72, ID_ISNUMBER = 157, ID_MAX = 169,
    ID_MIN = 171, ID_NUM2CHAR = 182, ID_RANDOM = 190,
};
static_assert((int)ID_ABS == K_ABS && (int)ID_AVERAGE == K_AVERAGE && (int)ID_MAX == K_MAX &&
                  (int)ID_MIN == K_MIN,
              "the variadic functions keep their keyword ids");

static int32_t wrap(uint32_t u) { return (int32_t)u; }

// Average, Max and Min read their own arguments; a bad delimiter is 2060
// "AVERAGE function syntax error" for all three, deliberately.
static void aggregate(Context* ctx, Value* result, int id) {
    uint32_t sum = 0;
    int32_t count = 0;
    int32_t best = id == ID_MAX ? INT32_MIN : INT32_MAX;
    bool last = false;
    while (!last) {
        Value v = value_int(0);
        v.flags = 0;
        if (!eval_next_argument(ctx, &v, &last, 2060) || ctx->error) { value_free(ctx, &v); return; }
        if (!value_to_integer(ctx, &v)) {
            value_free(ctx, &v);
            fail(ctx, 3057);
            return;
        }
        value_free(ctx, &v);
        int32_t n = v.integer;
        if (id == ID_AVERAGE) { sum += (uint32_t)n; count++; }
        else if (id == ID_MAX ? n > best : n < best) best = n;
    }
    if (id != ID_AVERAGE) { result->integer = best; return; }
    // Both divisions truncate toward zero, so a negative mean rounds
    // differently from a positive one (kept as it is).
    result->integer = wrap(sum + (uint32_t)(count / 2)) / count;
}
static void fn_average(Context* ctx, Value* result, Value*) { aggregate(ctx, result, ID_AVERAGE); }
static void fn_max(Context* ctx, Value* result, Value*) { aggregate(ctx, result, ID_MAX); }
static void fn_min(Context* ctx, Value* result, Value*) { aggregate(ctx, result, ID_MIN); }

static void fn_abs(Context*, Value* result, Value* args) {
    int32_t n = args[1].integer;
    result->integer = n >= 0 ? n : wrap(0u - (uint32_t)n);   // the smallest integer stays itself
}

// Random(max): a value in 0..max from the seed, the tick count and the clock.
static void fn_random(Context* ctx, Value* result, Value* args) {
    LocalTime t;
    plat_local_time(&t);
    uint32_t x = plat_tick_count() + ctx->random_seed * 13497u;
    ctx->random_seed += x;
    int32_t v = wrap(x + (uint32_t)((t.hour * 60 + t.minute) * 60 + t.second));
    int32_t divisor = wrap((uint32_t)args[1].integer + 1u);
    // max 0 gives 0; max -1 would divide by zero and also gives 0.
    if (args[1].integer == 0 || divisor == 0) return;
    long long r = (long long)v % (long long)divisor;
    result->integer = (int32_t)(r < 0 ? -r : r);
}

// Char2Num(s): the first byte 0-255, or lead byte * 256 + trail byte.
static void fn_char2num(Context* ctx, Value* result, Value* args) {
    const unsigned char* s = reinterpret_cast<const unsigned char*>(value_text(ctx, args[1]));
    result->integer = s[0];
    if (plat_is_lead_byte(s[0])) result->integer = s[0] * 256 + s[1];
}

// Num2Char(n): the lead byte and the low byte when bits 8-15 are a lead
// byte, else the single byte n % 256.
static void fn_num2char(Context* ctx, Value* result, Value* args) {
    int32_t n = args[1].integer;
    unsigned char high = (unsigned char)((uint32_t)n >> 8), low = (unsigned char)(n % 256);
    char buf[3] = {0, 0, 0};
    if (plat_is_lead_byte(high)) { buf[0] = (char)high; buf[1] = (char)low; }
    else buf[0] = (char)low;
    value_set_text(ctx, result, buf);
}

static void fn_isnumber(Context* ctx, Value* result, Value* args) {
    result->integer = text_is_number(value_text(ctx, args[1])) ? 1 : 0;
}

static const FunctionEntry kTable[] = {
    {ID_ABS, fn_abs}, {ID_AVERAGE, fn_average}, {ID_CHAR2NUM, fn_char2num},
    {ID_ISNUMBER, fn_isnumber}, {ID_MAX, fn_max}, {ID_MIN, fn_min},
    {ID_NUM2CHAR, fn_num2char}, {ID_RANDOM, fn_random},
};
TSL_FAMILY_DEFINE(kFamilyArith, kTable)

} // namespace tsl

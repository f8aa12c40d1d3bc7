// StrCat, Average, Max and Min read their own arguments: their failures give
// back the heap (results at the edges: the arith and strings scripts).
#include "values_fixture.h"
#include "core/keywords.h"

namespace tsl {
namespace {

struct Variadic : ValueTest {
    Variadic() : ValueTest(kFamilyStrings) {}
    uint16_t run_line(const std::string& text) {   // the run's error number
        run(text + "\r\n");
        return ctx->run_error;
    }
};

TEST_F(Variadic, ErrorsGiveBackTheHeap) {
    ASSERT_EQ(run_line("s = StrFill(\"x\", 100)"), 0);
    uint32_t free_before = free_bytes();
    struct { int line; const char* text; uint16_t error; } rows[] = {
        {__LINE__, "t = StrCat(s, s, s,)", 3061},
        {__LINE__, "x = Min(1 2)", 2060},
        {__LINE__, "x = Average(1, \"two\")", 3057},
        {__LINE__, "x = Max(\"x\", 1)", 3057},
        {__LINE__, "x = Average(1, 2", 2060},
    };
    for (auto& r : rows) {
        EXPECT_EQ(run_line(r.text), r.error) << AT_ROW(r);
        EXPECT_EQ(free_bytes(), free_before) << AT_ROW(r);
    }
}

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

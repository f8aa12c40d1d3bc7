// StrCat, Average, Max and Min read their own arguments: run as script lines
// through the real lexer and evaluator, in a context with its own heap and
// variable table, with the heap checked after each run.
#include "values_fixture.h"
#include "core/keywords.h"
#include "core/runloop.h"
#include "core/vars.h"

namespace tsl {
namespace {

struct Variadic : ValueTest {
    Variadic() : ValueTest(kFamilyStrings) {}
    std::vector<VarSlot> vars = std::vector<VarSlot>(200);
    void start(uint32_t heap_size) {
        use_heap(heap_size);
        ctx->vars = vars.data();
        ctx->var_capacity = (uint16_t)vars.size();
        ctx->exclusive = 1;
        plat_set_console_mode(true);
    }
    void SetUp() override { ValueTest::SetUp(); start(HEAP_MAX_SIZE); }
    uint16_t run(const std::string& line) {   // the run's error number
        std::string script = line + "\r\n";
        run_script(ctx, &script[0]);
        return ctx->run_error;
    }
    std::string get(const char* name) {
        char buf[8192] = "";
        return var_get_text(ctx, name, buf, sizeof buf) ? buf : "<undefined>";
    }
    uint32_t free_bytes() { return heap_free_bytes(heap.get()); }
};

TEST_F(Variadic, ResultsAtTheEdges) {
    for (int n : {127, 128, 129}) {   // the edges of StrCat's first buffer
        ASSERT_EQ(run("u = StrCat(StrFill(\"a\", " + std::to_string(n - 1) + "), \"b\")"), 0) << n;
        EXPECT_EQ(get("u"), std::string((size_t)n - 1, 'a') + "b") << n;
    }
    struct { int line; const char* expr; const char* expect; } rows[] = {
        {__LINE__, "Average(7)", "7"},
        {__LINE__, "Average(-1, -2, -3, -4)", "-2"},
        {__LINE__, "Average(2147483647, 1)", "-1073741823"},   // the sum wraps
        {__LINE__, "Max(-5, -9)", "-5"},
        {__LINE__, "Max(3, \"12\", 7)", "12"},
        {__LINE__, "Min(2147483647)", "2147483647"},
        {__LINE__, "Max(-2147483647 - 1)", "-2147483648"},
    };
    for (auto& r : rows) {
        ASSERT_EQ(run(std::string("x = ") + r.expr), 0) << "row at line " << r.line;
        EXPECT_EQ(get("x"), r.expect) << "row at line " << r.line;
    }
}

TEST_F(Variadic, ErrorsGiveBackTheHeap) {
    ASSERT_EQ(run("s = StrFill(\"x\", 100)"), 0);
    uint32_t free_before = free_bytes();
    struct { int line; const char* line_text; uint16_t error; } rows[] = {
        {__LINE__, "t = StrCat(s, s, s,)", 3061},
        {__LINE__, "x = Max(1; 2)", 2060},
        {__LINE__, "x = Min(1 2)", 2060},
        {__LINE__, "x = Average(1, \"two\")", 3057},
        {__LINE__, "x = Max(\"x\", 1)", 3057},
        {__LINE__, "x = Average(1, 2", 2060},
    };
    for (auto& r : rows) {
        EXPECT_EQ(run(r.line_text), r.error) << "row at line " << r.line;
        EXPECT_EQ(free_bytes(), free_before) << "row at line " << r.line;
    }
}

// The function itself, called with the lexer standing after "(": a failure
// leaves no text in the result value and gives back every byte.
TEST_F(Variadic, StrCatFailureLeavesNoResultText) {
    start(1400);
    FunctionImpl str_cat = nullptr;
    for (unsigned i = 0; i < family->count; i++)
        if (family->entries[i].id == K_STRCAT) str_cat = family->entries[i].fn;
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
        EXPECT_EQ(ctx->error, r.error) << "row at line " << r.line;
        if (r.error) {
            EXPECT_EQ(result.string, 0) << "row at line " << r.line;
        } else {
            EXPECT_EQ(std::string(value_text(ctx, result)).size(), r.length) << "row at line " << r.line;
        }
        value_free(ctx, &result);
        EXPECT_EQ(free_bytes(), free_before) << "row at line " << r.line;
    }
}

} // namespace
} // namespace tsl

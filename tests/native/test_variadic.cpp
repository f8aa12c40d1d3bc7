// StrCat, Average, Max and Min read their own arguments: run as script lines
// through the real lexer and evaluator, in a context with its own heap and
// variable table, with the heap checked after each run.
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>
#include "core/context.h"
#include "core/heap.h"
#include "core/keywords.h"
#include "core/runloop.h"
#include "core/vars.h"
#include "core/plat_native_control.h"
#include "functions/families.h"

namespace tsl {
namespace {

class Variadic : public ::testing::Test {
protected:
    std::unique_ptr<Context> holder{new Context()};
    Context* ctx = holder.get();
    std::vector<uint8_t> heap;
    std::vector<VarSlot> vars = std::vector<VarSlot>(200);

    void SetUp() override { start(HEAP_MAX_SIZE); }

    void start(uint32_t heap_size) {
        heap.assign(heap_size, 0);
        heap_init(heap.data(), heap_size);
        ctx->heap = heap.data();
        ctx->heap_size = heap_size;
        ctx->vars = vars.data();
        ctx->var_capacity = (uint16_t)vars.size();
        ctx->exclusive = 1;
        plat_set_console_mode(true);
    }
    // Runs the lines; returns the run's error number.
    uint16_t run(const std::string& lines) {
        std::vector<char> script(lines.begin(), lines.end());
        script.push_back(0);
        run_script(ctx, script.data());
        return ctx->run_error;
    }
    std::string get(const char* name) {
        char buf[8192] = "";
        if (!var_get_text(ctx, name, buf, sizeof buf)) return "<undefined>";
        return buf;
    }
};

TEST_F(Variadic, StrCatJoinsAndGrows) {
    ASSERT_EQ(run("a = StrCat(\"x\", 12, \"-\", -3)\r\n"), 0);
    EXPECT_EQ(get("a"), "x12--3");
    // Ten arguments of 100 characters: the 129-byte buffer grows several times.
    ASSERT_EQ(run("s = StrFill(\"0123456789\", 100)\r\nt = StrCat(s,s,s,s,s,s,s,s,s,s)\r\n"), 0);
    std::string s(100, ' ');
    for (int i = 0; i < 100; i++) s[(size_t)i] = (char)('0' + i % 10);
    std::string t;
    for (int i = 0; i < 10; i++) t += s;
    EXPECT_EQ(get("t"), t);
    // 127, 128 and 129 characters: the edges of the first buffer.
    for (int n : {127, 128, 129}) {
        std::string line = "u = StrCat(StrFill(\"a\", " + std::to_string(n - 1) + "), \"b\")\r\n";
        ASSERT_EQ(run(line), 0) << n;
        EXPECT_EQ(get("u"), std::string((size_t)n - 1, 'a') + "b") << n;
    }
}

TEST_F(Variadic, StrCatErrorsFreeEverything) {
    ASSERT_EQ(run("s = StrFill(\"x\", 100)\r\n"), 0);
    uint32_t free_before = heap_free_bytes(heap.data());
    EXPECT_EQ(run("t = StrCat(s, s \"b\")\r\n"), 2058);
    EXPECT_EQ(heap_free_bytes(heap.data()), free_before);
    EXPECT_EQ(run("t = StrCat(s, s, 1 / 0)\r\n"), 3062);   // an argument's own error
    EXPECT_EQ(heap_free_bytes(heap.data()), free_before);
    EXPECT_EQ(run("t = StrCat(s, s, s,)\r\n"), 3061);
    EXPECT_EQ(heap_free_bytes(heap.data()), free_before);
}

TEST_F(Variadic, StrCatOutOfHeapLeavesNothing) {
    start(3000);
    ASSERT_EQ(run("s = StrFill(\"x\", 200)\r\n"), 0);
    uint32_t free_before = heap_free_bytes(heap.data());
    // The growing buffer cannot be had once the text passes what is left.
    EXPECT_EQ(run("t = StrCat(s, s, s, s, s, s, s, s, s, s, s, s, s, s, s, s)\r\n"), 3096);
    EXPECT_EQ(heap_free_bytes(heap.data()), free_before);
    EXPECT_EQ(run("t = StrCat(s, s)\r\n"), 0);
    EXPECT_EQ(get("t").size(), 400u);
}

// The function itself, called with the lexer standing after "(": a failure
// leaves no text in the result value and gives back every byte.
TEST_F(Variadic, StrCatFailureLeavesNoResultText) {
    start(1400);
    FunctionImpl str_cat = nullptr;
    for (unsigned i = 0; i < kFamilyStrings.count; i++)
        if (kFamilyStrings.entries[i].id == K_STRCAT) str_cat = kFamilyStrings.entries[i].fn;
    ASSERT_NE(str_cat, nullptr);
    std::string lit = "\"" + std::string(200, 'z') + "\"";
    struct { int line; std::string args; uint16_t error; size_t length; } rows[] = {
        {__LINE__, lit + ", " + lit + ")", 0, 400},
        {__LINE__, lit + ", " + lit + ", " + lit + ", " + lit + ")", 3096, 0},
        {__LINE__, lit + ", " + lit + " 5)", 2058, 0},
        {__LINE__, lit + ", 5 / 0)", 3062, 0},
    };
    for (auto& r : rows) {
        uint32_t free_before = heap_free_bytes(heap.data());
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
        EXPECT_EQ(heap_free_bytes(heap.data()), free_before) << "row at line " << r.line;
    }
}

TEST_F(Variadic, AverageMaxMin) {
    struct { int line; const char* expr; const char* expect; } rows[] = {
        {__LINE__, "Average(1, 2)", "2"},
        {__LINE__, "Average(-1, -2)", "-1"},
        {__LINE__, "Average(7)", "7"},
        {__LINE__, "Average(1, 2, 3, 4)", "3"},
        {__LINE__, "Average(-1, -2, -3, -4)", "-2"},
        {__LINE__, "Average(2147483647, 1)", "-1073741823"},   // the sum wraps
        {__LINE__, "Max(5)", "5"},
        {__LINE__, "Max(-5, -9)", "-5"},
        {__LINE__, "Max(3, \"12\", 7)", "12"},
        {__LINE__, "Min(3, -9, 12)", "-9"},
        {__LINE__, "Min(2147483647)", "2147483647"},
        {__LINE__, "Max(-2147483647 - 1)", "-2147483648"},
        {__LINE__, "Max((1 + 2) * 3, Min(4, 40))", "9"},
    };
    for (auto& r : rows) {
        ASSERT_EQ(run(std::string("x = ") + r.expr + "\r\n"), 0) << "row at line " << r.line;
        EXPECT_EQ(get("x"), r.expect) << "row at line " << r.line;
    }
}

TEST_F(Variadic, AverageMaxMinErrors) {
    uint32_t free_before = heap_free_bytes(heap.data());
    struct { int line; const char* expr; uint16_t error; } rows[] = {
        {__LINE__, "Max(1; 2)", 2060},
        {__LINE__, "Min(1 2)", 2060},
        {__LINE__, "Average(1, \"two\")", 3057},
        {__LINE__, "Max(\"x\", 1)", 3057},
        {__LINE__, "Average(1, 2", 2060},
    };
    for (auto& r : rows) {
        EXPECT_EQ(run(std::string("x = ") + r.expr + "\r\n"), r.error) << "row at line " << r.line;
        EXPECT_EQ(heap_free_bytes(heap.data()), free_before) << "row at line " << r.line;
    }
}

} // namespace
} // namespace tsl

// The evaluator: errors and edges no script reaches, values, the heap, and random expressions against a model.
#include <functional>
#include <random>
#include "core_fixture.h"

namespace tsl {
namespace {

class Evaluator : public CoreTest {
protected:
    void SetUp() override {
        CoreTest::SetUp();
        var_set_int(ctx, "five", 5);
        var_set_text(ctx, "txt", "abc");
        var_set_text(ctx, "num", "12");
    }
};

TEST_F(Evaluator, ErrorsAndEdges) {
    struct { int line; const char* expr; uint16_t error; int32_t value; } rows[] = {
        {__LINE__, "num + 1", 0, 13},
        {__LINE__, "'1' << '2'", 0, 4},
        {__LINE__, "'10' > '9x'", 0, 0},         // text: "1" sorts before "9"
        {__LINE__, "5 < 'abc'", 0, 1},           // 5 becomes the text "5"
        {__LINE__, "abs (-3)", 0, 3},
        {__LINE__, "five + 1 = 2", 3069, 0},
        {__LINE__, "1 <> Drop(zz)", 3095, 0},    // a value with neither half
        {__LINE__, "Drop(zz) + 1", 3057, 0},
        {__LINE__, "!'abc'", 3057, 0},
        {__LINE__, "~txt", 3057, 0},
        {__LINE__, "'a' && 1", 3057, 0},
        {__LINE__, "", 3061, 0},
        {__LINE__, "1 + then", 3061, 0},
        {__LINE__, "goto", 3061, 0},
        {__LINE__, "-", 3061, 0},
        {__LINE__, "(1 2)", 3065, 0},
        {__LINE__, "((1)", 3065, 0},
        {__LINE__, "x = 5 then", 3074, 0},
        {__LINE__, "a.b = 5 6", 3074, 0},
        {__LINE__, "a.b = 1 / 0", 3062, 0},
        {__LINE__, "a.b", 3046, 0},              // the object function is not built in here
        {__LINE__, "Abs 3", 3067, 0},            // zero or more arguments: "(" is required
        {__LINE__, "About", 3067, 0},
        {__LINE__, "About(1)", 3066, 0},
        {__LINE__, "Abs()", 3061, 0},
        {__LINE__, "Abs(1", 3066, 0},
        {__LINE__, "StrCmp('a', 'b', 'c')", 3066, 0},
        {__LINE__, "StrCmp('a' 'b')", 3068, 0},  // ")" or another token where "," was required
        {__LINE__, "StrSub('abcdef', 1 / 0, 3)", 3062, 0},
        {__LINE__, "StrSub('abcdef', 2, 3 4)", 3066, 0},
        {__LINE__, "StrSub('abcdef' 2, 3)", 3068, 0},
        {__LINE__, "six(1, 2, 3, 4, 5, 6)", 3070, 0},  // at most 5 declared arguments
        {__LINE__, "StrCat('a', 1 / 0)", 3062, 0},
        {__LINE__, "Drop()", 3102, 0},
        {__LINE__, "Drop five", 3067, 0},
        {__LINE__, "Drop(five txt)", 3066, 0},
        {__LINE__, "IsDefined five", 3067, 0},
        {__LINE__, "IsDefined(five, txt)", 3066, 0},
        {__LINE__, "Drop(five, 2)", 3102, 0},    // last: five is dropped (below)
    };
    for (auto& r : rows) {
        Eval e = eval(r.expr);
        EXPECT_EQ(e.error, r.error) << AT_ROW(r) << r.expr;
        if (!e.error && !r.error) { EXPECT_EQ(e.integer, r.value) << AT_ROW(r) << r.expr; }
        EXPECT_EQ(e.leaked, 0) << AT_ROW(r) << r.expr;
    }
    EXPECT_FALSE(defined("five")) << "the names before Drop's bad argument are dropped";
}

TEST_F(Evaluator, ValuesOfPrimariesAndAssignments) {
    Eval e = eval("42");
    EXPECT_EQ(e.flags, (uint32_t)VF_INT);
    EXPECT_EQ(e.source, NO_VARIABLE);
    e = eval("'lit'");
    EXPECT_EQ(e.integer, STRING_LITERAL_MARK);
    EXPECT_EQ(e.flags, (uint32_t)VF_STR);
    EXPECT_EQ(e.text, "lit");
    e = eval("(txt)");
    EXPECT_EQ(e.text, "abc");
    EXPECT_EQ(e.source, var_find_slot(ctx, "txt")) << "a variable's value names its slot";
    EXPECT_EQ(e.leaked, 0) << "the value's copy of the text is its own";
    EXPECT_EQ(var_text("txt"), "abc") << "the variable keeps its text";
    e = eval("N = txt");
    EXPECT_EQ(e.text, "abc");
    EXPECT_EQ(vars[var_find_slot(ctx, "n")].value.flags, (uint32_t)VF_STR);
    EXPECT_NE(vars[var_find_slot(ctx, "n")].value.string, vars[var_find_slot(ctx, "txt")].value.string);
    EXPECT_EQ(e.leaked, 0);
    // A failed right side leaves the integer 0 and frees the old text.
    e = eval("n = 1 / 0");
    EXPECT_EQ(e.error, 3062);
    EXPECT_EQ(var_int("n"), 0);
    EXPECT_EQ(vars[var_find_slot(ctx, "n")].value.flags, (uint32_t)VF_INT);
    EXPECT_EQ(e.leaked, 0);
    eval("w = 'text' 1");
    EXPECT_EQ(var_text("w"), "text") << "assigned before what follows fails";
}

TEST_F(Evaluator, OutOfHeapIs3096AndNothingLeaks) {
    use_heap(300);
    use_vars(20);
    var_set_text(ctx, "big", std::string(150, 'b').c_str());
    ASSERT_EQ(ctx->error, 0);
    Eval e = eval("big == big");
    EXPECT_EQ(e.error, 3096) << "two copies of 150 bytes do not fit";
    EXPECT_EQ(e.leaked, 0);
    e = eval("x = big");
    EXPECT_EQ(e.error, 3096) << "the assignment's own copy does not fit";
    EXPECT_EQ(var_int("x"), 0);
    EXPECT_EQ(e.leaked, 0);
    EXPECT_EQ(check(), "");
}

// A model of the integer grammar, written from the precedence table (levels
// 1 to 6 left-associative, prefix operators binding tightest), evaluates
// thousands of random expressions; the evaluator must agree on every value
// and on error 3062.
const struct { const char* op; int level; } OPS[] = {
    {"&&", 1}, {"||", 1}, {"^", 2}, {"&", 2}, {"|", 2}, {"==", 3}, {"!=", 3}, {"<>", 3}, {"<", 3}, {"<=", 3},
    {">", 3}, {">=", 3}, {"<<", 4}, {">>", 4}, {"+", 5}, {"-", 5}, {"*", 6}, {"/", 6}, {"mod", 6},
};
struct Model {
    std::vector<std::string> toks;
    size_t at = 0;
    bool div0 = false;
    static int level_of(const std::string& op) {
        for (auto& o : OPS) if (op == o.op) return o.level;
        return 0;
    }
    static int32_t apply(const std::string& op, int32_t a, int32_t b, bool* div0) {
        uint32_t ua = (uint32_t)a, ub = (uint32_t)b;
        if (op == "&&") return a && b;
        if (op == "||") return a || b;
        if (op == "^") return a ^ b;
        if (op == "&") return a & b;
        if (op == "|") return a | b;
        if (op == "==") return a == b;
        if (op == "!=" || op == "<>") return a != b;
        if (op == "<") return a < b;
        if (op == "<=") return a <= b;
        if (op == ">") return a > b;
        if (op == ">=") return a >= b;
        if (op == "<<") return (int32_t)(ua << (b & 31));
        if (op == ">>") return (int32_t)(a < 0 ? ~(~ua >> (b & 31)) : ua >> (b & 31));
        if (op == "+") return (int32_t)(ua + ub);
        if (op == "-") return (int32_t)(ua - ub);
        if (op == "*") return (int32_t)(ua * ub);
        if (b == 0) { *div0 = true; return 0; }
        int64_t q = (int64_t)a / (int64_t)b;
        if (op == "/") return (int32_t)(uint32_t)(int64_t)q;
        return (int32_t)(uint32_t)((int64_t)a - (int64_t)b * q);
    }
    int32_t primary() {
        const std::string& t = toks[at++];
        if (t == "(") { int32_t v = level(1); ++at; return v; }
        if (t == "-") return (int32_t)(0u - (uint32_t)primary());
        if (t == "+") return primary();
        if (t == "!") return !primary();
        if (t == "~") return ~primary();
        return (int32_t)(uint32_t)std::stoull(t);
    }
    int32_t level(int n) {
        if (n == 7) return primary();
        int32_t v = level(n + 1);
        while (at < toks.size() && level_of(toks[at]) == n) {
            std::string op = toks[at++];
            int32_t r = level(n + 1);
            if (!div0) v = apply(op, v, r, &div0);
        }
        return v;
    }
};

TEST_F(Evaluator, RandomExpressionsAgreeWithAModelOfThePrecedenceTable) {
    std::mt19937 rng(2024);
    const char* nums[] = {"0", "1", "2", "3", "7", "31", "32", "33", "100", "65536", "2147483647", "2147483648",
                          "4294967295"};
    const char* prefixes[] = {"-", "+", "!", "~"};
    int compared = 0, div0 = 0;
    for (int round = 0; round < 4000; ++round) {
        std::vector<std::string> toks;
        std::function<void(int)> operand = [&](int depth) {
            while (rng() % 4 == 0) toks.push_back(prefixes[rng() % 4]);
            if (depth < 3 && rng() % 5 == 0) {
                toks.push_back("(");
                for (int i = 0, n = 1 + rng() % 4; i < n; ++i) {
                    if (i) toks.push_back(OPS[rng() % 19].op);
                    operand(depth + 1);
                }
                toks.push_back(")");
            } else {
                toks.push_back(nums[rng() % 13]);
            }
        };
        for (int i = 0, n = 1 + rng() % 6; i < n; ++i) {
            if (i) toks.push_back(OPS[rng() % 19].op);
            operand(0);
        }
        std::string text;
        for (auto& t : toks) text += (text.empty() ? "" : " ") + t;
        Model m{toks};
        int32_t want = m.level(1);
        Eval e = eval(text);
        ASSERT_EQ(e.leaked, 0) << text;
        if (m.div0) {
            ASSERT_EQ(e.error, 3062) << text;
            ++div0;
            continue;
        }
        ASSERT_EQ(e.error, 0) << text;
        ASSERT_EQ(e.integer, want) << text;
        ++compared;
    }
    EXPECT_GT(compared, 3000);
    EXPECT_GT(div0, 10);
}

} // namespace
} // namespace tsl

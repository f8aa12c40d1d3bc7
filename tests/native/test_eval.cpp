// The evaluator: every operator with its precedence and associativity,
// wrapping arithmetic, comparisons (numeric first, then collation), the
// assignment rules, function-call syntax, Drop and IsDefined, and every
// error it raises; each row also checks that all heap texts came back.
#include <functional>
#include <random>
#include "core_fixture.h"

namespace tsl {
namespace {

struct Row {
    int line;
    const char* expr;
    uint16_t error;   // 0xFFFF: any error
    int32_t value;
};

class Evaluator : public CoreTest {
protected:
    void SetUp() override {
        CoreTest::SetUp();
        var_set_int(ctx, "five", 5);
        var_set_text(ctx, "txt", "abc");
        var_set_text(ctx, "num", "12");
    }
    // One table row: its error (or none and its value), and every heap text given back.
    void check_row(const Row& r, bool integer_result = false) {
        Eval e = eval(r.expr);
        if (r.error == 0xFFFF) {
            EXPECT_NE(e.error, 0) << "row at line " << r.line << ": " << r.expr;
        } else {
            EXPECT_EQ(e.error, r.error) << "row at line " << r.line << ": " << r.expr;
        }
        if (!e.error && !r.error) {
            EXPECT_EQ(e.integer, r.value) << "row at line " << r.line << ": " << r.expr;
            if (integer_result) EXPECT_EQ(e.flags, (uint32_t)VF_INT) << "row at line " << r.line << ": results are integers";
        }
        EXPECT_EQ(e.leaked, 0) << "row at line " << r.line << ": " << r.expr;
    }
};

TEST_F(Evaluator, OperatorsPrecedenceAndAssociativity) {
    const Row rows[] = {
        {__LINE__, "1 + 2 * 3", 0, 7},
        {__LINE__, "2 * 3 mod 4", 0, 2},
        {__LINE__, "1 << 2 + 1", 0, 8},          // additive binds tighter than shift
        {__LINE__, "1 & 3 == 1", 0, 0},          // comparison binds tighter than "&"
        {__LINE__, "10 - 4 - 3", 0, 3},          // left associative
        {__LINE__, "100 / 10 / 5", 0, 2},
        {__LINE__, "2 * 3 + 4 * 5", 0, 26},
        {__LINE__, "(1 + 2) * 3", 0, 9},
        {__LINE__, "-7 / 2", 0, -3},
        {__LINE__, "-7 mod 2", 0, -1},
        {__LINE__, "7 mod -2", 0, 1},
        {__LINE__, "-8 >> 1", 0, -4},
        {__LINE__, "-1 >> 31", 0, -1},
        {__LINE__, "1 << 33", 0, 2},             // the count is taken & 31
        {__LINE__, "1 << 31", 0, INT32_MIN},
        {__LINE__, "256 >> 36", 0, 16},
        {__LINE__, "-2 * 3", 0, -6},             // prefix binds tighter than "*"
        {__LINE__, "- -5", 0, 5},
        {__LINE__, "--5", 0, 5},
        {__LINE__, "!~0", 0, 0},
        {__LINE__, "!~-1", 0, 1},
        {__LINE__, "~5", 0, -6},
        {__LINE__, "+-+3", 0, -3},
        {__LINE__, "!5", 0, 0},
        {__LINE__, "!0", 0, 1},
        {__LINE__, "5 ^ 3", 0, 6},
        {__LINE__, "5 | 2", 0, 7},
        {__LINE__, "6 & 3", 0, 2},
        {__LINE__, "6 & 3 | 8 ^ 1", 0, 11},     // one level, left to right: ((6&3)|8)^1
        {__LINE__, "2 && 3", 0, 1},
        {__LINE__, "2 && 0", 0, 0},
        {__LINE__, "0 || 0", 0, 0},
        {__LINE__, "0 || 7", 0, 1},
        {__LINE__, "1 | 2 && 4", 0, 1},          // logical is the lowest level
        {__LINE__, "0 && 1 / 0", 3062, 0},       // both operands are always evaluated
        {__LINE__, "1 < 2 < 3", 0, 1},
        {__LINE__, "3 > 2 > 1", 0, 0},           // (3 > 2) > 1
        {__LINE__, "1 == 1 == 1", 0, 1},
        {__LINE__, "five * five", 0, 25},
        {__LINE__, "num + 1", 0, 13},
        {__LINE__, "@true + @yes", 0, 2},
        {__LINE__, "3 mod 3 mod 2", 0, 0},
    };
    for (auto& r : rows) check_row(r, true);
}

TEST_F(Evaluator, ArithmeticWraps) {
    const Row rows[] = {
        {__LINE__, "2147483647 + 1", 0, INT32_MIN},
        {__LINE__, "-2147483648 - 1", 0, INT32_MAX},
        {__LINE__, "65536 * 65536", 0, 0},
        {__LINE__, "65537 * 65537", 0, 131073},
        {__LINE__, "-2147483648", 0, INT32_MIN},
        {__LINE__, "-(-2147483648)", 0, INT32_MIN},
        {__LINE__, "-2147483648 / -1", 0, INT32_MIN},
        {__LINE__, "-2147483648 mod -1", 0, 0},
        {__LINE__, "-2147483648 / 1", 0, INT32_MIN},
        {__LINE__, "7 / -1", 0, -7},
        {__LINE__, "7 mod -1", 0, 0},
        {__LINE__, "4294967296", 0, 0},
        {__LINE__, "5 / 0", 3062, 0},
        {__LINE__, "5 mod 0", 3062, 0},
        {__LINE__, "0 / 0", 3062, 0},
    };
    for (auto& r : rows) check_row(r);
}

TEST_F(Evaluator, ComparisonsAreNumericFirstThenByCollation) {
    const Row rows[] = {
        {__LINE__, "'abc' == 'ABC'", 0, 0},      // case-sensitive
        {__LINE__, "'abc' == 'abc'", 0, 1},
        {__LINE__, "'10' > '9'", 0, 1},          // numeric: both read as integers
        {__LINE__, "'10' > '9x'", 0, 0},         // text: "1" sorts before "9"
        {__LINE__, "'007' == 7", 0, 1},
        {__LINE__, "' 7' == 7", 0, 1},
        {__LINE__, "'7 ' == 7", 0, 0},           // a trailing blank makes it text
        {__LINE__, "'abc' < 'abd'", 0, 1},
        {__LINE__, "'a' != 'b'", 0, 1},
        {__LINE__, "'a' <> 'a'", 0, 0},
        {__LINE__, "'b' >= 'a'", 0, 1},
        {__LINE__, "'a' <= 'a'", 0, 1},
        {__LINE__, "'a' > 'a'", 0, 0},
        {__LINE__, "txt == 'abc'", 0, 1},
        {__LINE__, "12 == num", 0, 1},
        {__LINE__, "5 < 'abc'", 0, 1},           // 5 becomes the text "5"
        {__LINE__, "-1 < 1", 0, 1},              // signed
        {__LINE__, "-2147483648 < 2147483647", 0, 1},
        {__LINE__, "1 = 1", 3069, 0},
        {__LINE__, "five + 1 = 2", 3069, 0},
        {__LINE__, "Drop(zz) == 1", 3095, 0},    // a value with neither half
        {__LINE__, "1 <> Drop(zz)", 3095, 0},
    };
    for (auto& r : rows) check_row(r);
}

TEST_F(Evaluator, TextOperandsMustLookLikeIntegers) {
    const Row rows[] = {
        {__LINE__, "'abc' + 1", 3057, 0},
        {__LINE__, "1 + 'abc'", 3057, 0},
        {__LINE__, "'12' + 1", 0, 13},
        {__LINE__, "'--5' + 1", 0, 1},
        {__LINE__, "txt * 2", 3057, 0},
        {__LINE__, "-'5'", 0, -5},
        {__LINE__, "!'abc'", 3057, 0},
        {__LINE__, "~txt", 3057, 0},
        {__LINE__, "'a' && 1", 3057, 0},
        {__LINE__, "Drop(zz) + 1", 3057, 0},
        {__LINE__, "'1' << '2'", 0, 4},
    };
    for (auto& r : rows) check_row(r);
}

TEST_F(Evaluator, PrimariesMakeTheirValues) {
    Eval e = eval("42");
    EXPECT_EQ(e.flags, (uint32_t)VF_INT);
    EXPECT_EQ(e.source, NO_VARIABLE);
    e = eval("'lit'");
    EXPECT_EQ(e.integer, STRING_LITERAL_MARK);
    EXPECT_EQ(e.flags, (uint32_t)VF_STR);
    EXPECT_EQ(e.text, "lit");
    EXPECT_EQ(e.source, NO_VARIABLE);
    e = eval("txt");
    EXPECT_EQ(e.text, "abc");
    EXPECT_EQ(e.source, var_find_slot(ctx, "txt"));
    EXPECT_EQ(e.leaked, 0) << "the value's copy of the text is its own";
    EXPECT_EQ(var_text("txt"), "abc") << "the variable keeps its text";
    e = eval("(txt)");
    EXPECT_EQ(e.text, "abc");
    e = eval("-txt2");
    EXPECT_EQ(e.error, 3052);
}

TEST_F(Evaluator, SyntaxErrors) {
    const Row rows[] = {
        {__LINE__, ")", 3061, 0},
        {__LINE__, "", 3061, 0},
        {__LINE__, "* 3", 3061, 0},
        {__LINE__, "1 +", 3061, 0},
        {__LINE__, "1 + then", 3061, 0},
        {__LINE__, "goto", 3061, 0},
        {__LINE__, "-", 3061, 0},
        {__LINE__, "(1 + 2", 3065, 0},
        {__LINE__, "(1 2)", 3065, 0},
        {__LINE__, "((1)", 3065, 0},
        {__LINE__, "nosuchvar", 3052, 0},
        {__LINE__, "a = five = txt", 3069, 0},
        {__LINE__, "1 + 'ab", 3057, 0},
        {__LINE__, "x = 5 then", 3074, 0},
        {__LINE__, "(x = 4) * 2", 3074, 0},
        {__LINE__, "a.b = 5", 2253, 0},
        {__LINE__, "a.b = 5 6", 3074, 0},
        {__LINE__, "a.b = 1 / 0", 3062, 0},
        {__LINE__, "a.b", 3046, 0},              // the object function is not built in here
    };
    for (auto& r : rows) {
        Eval e = eval(r.expr);
        EXPECT_EQ(e.error, r.error) << "row at line " << r.line << ": " << r.expr;
        EXPECT_EQ(e.leaked, 0) << "row at line " << r.line << ": " << r.expr;
    }
    eval("(y = 4) * 2");
    EXPECT_EQ(var_int("y"), 4) << "the assignment inside parentheses happened";
    eval("z = 5 then");
    EXPECT_EQ(var_int("z"), 5);
    eval("w = 'text' 1");
    EXPECT_EQ(var_text("w"), "text");
}

TEST_F(Evaluator, AssignmentOfTheResultValue) {
    Eval e = eval("n = 3 + 4");
    EXPECT_EQ(e.error, 0);
    EXPECT_EQ(e.integer, 7) << "an assignment's value is the assigned value";
    EXPECT_EQ(var_int("n"), 7);
    EXPECT_EQ(vars[var_find_slot(ctx, "n")].value.flags, (uint32_t)VF_INT);
    e = eval("N = 'x'");
    EXPECT_EQ(var_text("n"), "x") << "names are case-insensitive";
    EXPECT_EQ(vars[var_find_slot(ctx, "n")].value.flags, (uint32_t)VF_STR);
    EXPECT_EQ(e.leaked, 0);
    e = eval("n == 'x'");
    EXPECT_EQ(e.integer, 1) << "a name followed by == is no assignment";
}

TEST_F(Evaluator, FunctionCallSyntax) {
    const Row rows[] = {
        {__LINE__, "Abs(-3)", 0, 3},
        {__LINE__, "abs (-3)", 0, 3},
        {__LINE__, "Abs(-3) + Abs(-4) * 2", 0, 11},
        {__LINE__, "-Abs(3)", 0, -3},
        {__LINE__, "Abs", 3067, 0},               // zero or more arguments: "(" is required
        {__LINE__, "Abs 3", 3067, 0},
        {__LINE__, "About", 3067, 0},
        {__LINE__, "About(1)", 3066, 0},
        {__LINE__, "Abs()", 3061, 0},
        {__LINE__, "Abs(1, 2)", 3066, 0},
        {__LINE__, "Abs(1", 3066, 0},
        {__LINE__, "StrCmp('a')", 3068, 0},      // ")" where "," was required
        {__LINE__, "StrCmp('a', 'b', 'c')", 3066, 0},
        {__LINE__, "StrCmp('a' 'b')", 3068, 0},
        {__LINE__, "StrCmp('a', 'a')", 0, 0},
        {__LINE__, "StrLen(txt)", 0, 3},
        {__LINE__, "StrLen(12345)", 0, 5},       // converted by the string mask
        {__LINE__, "Abs('x')", 3057, 0},
        {__LINE__, "Abs(txt)", 3057, 0},
        {__LINE__, "StrLen(Drop(zz))", 3056, 0},
        {__LINE__, "StrLen(x = 'abc')", 3074, 0},
        {__LINE__, "StrSub('abcdef', 2, 3 / 0)", 3062, 0},
        {__LINE__, "StrSub('abcdef', 1 / 0, 3)", 3062, 0},
        {__LINE__, "StrSub('abcdef', 2, 3 4)", 3066, 0},
        {__LINE__, "StrSub('abcdef' 2, 3)", 3068, 0},
        {__LINE__, "six(1, 2, 3, 4, 5, 6)", 3070, 0},  // at most 5 declared arguments
        {__LINE__, "StrCat('a', 1, 'b') == 'a1b'", 0, 1},
        {__LINE__, "Max(1, 5, 3)", 0, 5},
        {__LINE__, "StrCat('a', 'b' 'c')", 0xFFFF, 0},    // any error; texts must come back
        {__LINE__, "StrCat('a', 1 / 0)", 3062, 0},
    };
    for (auto& r : rows) check_row(r);
    Eval e = eval("StrSub(txt, 2, 2)");
    EXPECT_EQ(e.text, "bc");
    EXPECT_EQ(e.leaked, 0);
}

TEST_F(Evaluator, DropAndIsDefinedErrors) {
    const Row rows[] = {
        {__LINE__, "Drop(1)", 3102, 0},
        {__LINE__, "Drop('five')", 3102, 0},
        {__LINE__, "Drop(five, 2)", 3102, 0},
        {__LINE__, "Drop()", 3102, 0},
        {__LINE__, "Drop five", 3067, 0},
        {__LINE__, "Drop(five txt)", 3066, 0},
        {__LINE__, "IsDefined(1)", 3103, 0},
        {__LINE__, "IsDefined('x')", 3103, 0},
        {__LINE__, "IsDefined five", 3067, 0},
        {__LINE__, "IsDefined(five, txt)", 3066, 0},
        {__LINE__, "IsDefined(five) + 1", 0, 2},
        {__LINE__, "!IsDefined(undefinedname)", 0, 1},
    };
    for (auto& r : rows) {
        var_set_int(ctx, "five", 5);
        check_row(r);
    }
    var_set_int(ctx, "five", 5);
    EXPECT_EQ(eval("Drop(five, 2)").error, 3102);
    EXPECT_FALSE(defined("five")) << "the names before the bad argument are dropped";
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

TEST_F(Evaluator, NextArgumentReadsOneArgumentAtATime) {
    start("('a', 5)");
    Value v{0, 0, NO_VARIABLE, 0};
    bool last = true;
    ASSERT_EQ(eval_next_argument(ctx, &v, &last, 3068), 1);
    EXPECT_FALSE(last);
    EXPECT_STREQ(value_text(ctx, v), "a");
    value_free(ctx, &v);
    v = Value{0, 0, NO_VARIABLE, 0};
    ASSERT_EQ(eval_next_argument(ctx, &v, &last, 3068), 1);
    EXPECT_TRUE(last);
    EXPECT_EQ(v.integer, 5);
    uint32_t before = free_bytes();
    start("('a' 5)");
    v = Value{0, 0, NO_VARIABLE, 0};
    EXPECT_EQ(eval_next_argument(ctx, &v, &last, 3068), 0);
    EXPECT_EQ(ctx->error, 3068);
    EXPECT_EQ(free_bytes(), before) << "the argument's text is freed on the error";
}

// A model of the integer grammar, written from the precedence table (levels
// 1 to 6 left-associative, prefix operators binding tightest), evaluates
// thousands of random expressions; the evaluator must agree on every value
// and on error 3062.
struct Model {
    std::vector<std::string> toks;
    size_t at = 0;
    bool div0 = false;
    static int level_of(const std::string& op) {
        if (op == "&&" || op == "||") return 1;
        if (op == "^" || op == "&" || op == "|") return 2;
        if (op == "==" || op == "!=" || op == "<>" || op == "<" || op == "<=" || op == ">" || op == ">=") return 3;
        if (op == "<<" || op == ">>") return 4;
        if (op == "+" || op == "-") return 5;
        if (op == "*" || op == "/" || op == "mod") return 6;
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
    const char* ops[] = {"&&", "||", "^", "&", "|", "==", "!=", "<>", "<", "<=", ">", ">=",
                         "<<", ">>", "+", "-", "*", "/", "mod"};
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
                int n = 1 + rng() % 4;
                for (int i = 0; i < n; ++i) {
                    if (i) toks.push_back(ops[rng() % 19]);
                    operand(depth + 1);
                }
                toks.push_back(")");
            } else {
                toks.push_back(nums[rng() % 13]);
            }
        };
        int n = 1 + rng() % 6;
        for (int i = 0; i < n; ++i) {
            if (i) toks.push_back(ops[rng() % 19]);
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

// Remembered line tokens and plans change nothing a script can see, and no record outlives what it relies on.
#include <unistd.h>
#include <cstdio>
#include <random>
#include "core_fixture.h"
#include "../fuzz/fuzz_harness.h"
#include "../../src/core/line_tokens.h"
#include "../../src/core/plan.h"

using namespace tsl;

namespace {

// A portable script's run with and without replay: the fuzz target's run on a
// full heap and a table of 2,000 slots, no user break.
const fuzz::Setup FULL{HEAP_MAX_SIZE, fuzz::MAX_SLOTS, true, false, 0};

// Random loops over a few variables whose kinds change from pass to pass:
// assignments, conditions, Drop, execute, numbers, literals, constants,
// every operator and some functions, so that plans meet what scripts do.
class LoopMaker {
public:
    explicit LoopMaker(unsigned seed) : rng_(seed) {}
    std::string script() {
        std::string s = "a = 1\r\nb = \"x\"\r\nCnt = 0\r\nlongername12 = 5\r\ns = \"7\"\r\ni = 0\r\n:top\r\n";
        s += "i = i + 1\r\n";
        for (int k = 0; k < 6; ++k) s += statement() + "\r\n";
        s += "execute Echo(StrCat(i, a, \"|\", b, \"|\", Cnt, \"|\", longername12, \"|\", s))\r\n";
        return s + "if i < 4 then goto top\r\n";
    }

private:
    std::mt19937 rng_;
    int pick(int n) { return (int)(rng_() % (unsigned)n); }
    // The loop counter i is read, never written.
    std::string var(bool readable = false) {
        static const char* names[] = {"a", "b", "Cnt", "longername12", "s", "i"};
        return names[pick(readable ? 6 : 5)];
    }
    std::string operand(int depth) {
        switch (pick(depth > 2 ? 4 : 9)) {
        case 0: case 1: return var(true);
        case 2: return std::to_string(pick(200) - 50);
        case 3: return pick(2) ? "\"7\"" : "'q''r'";
        case 4: return "@fwdscan";
        case 5: return "(" + expr(depth + 1) + ")";
        case 6: return std::string(1, "-!~+"[pick(4)]) + operand(depth + 1);
        case 7: {
            static const char* calls[] = {"StrLen(%)", "StrUpper(%)", "Abs(%)", "StrSub(\"abcdef\", %, 2)",
                                          "StrCat(%, %)", "IsDefined(a)", "StrFix(%, \"-\", 3)"};
            std::string c = calls[pick(7)];
            for (size_t at; (at = c.find('%')) != std::string::npos;) c.replace(at, 1, expr(depth + 1));
            return c;
        }
        case 8: {
            // A name, then a literal that is read again from its second
            // character on: (a "?+ "7") reads as (a + "7").
            static const char* ops[] = {"+", "*", "==", "<", "&&", "mod"};
            char q = "\"'"[pick(2)];
            return "(" + var(true) + " " + q + "?" + ops[pick(6)] + " " + q + std::to_string(pick(20)) + q + ")";
        }
        default: return var(true);
        }
    }
    std::string expr(int depth) {
        static const char* ops[] = {"+", "-", "*", "/", "mod", "==", "!=", "<", ">", "<=", ">=",
                                    "&&", "||", "&", "|", "^", "<<", ">>", "<>"};
        std::string e = operand(depth);
        for (int n = pick(3); n > 0; --n) e += std::string(" ") + ops[pick(19)] + " " + operand(depth);
        return e;
    }
    // Most statements run under execute, whose failures go on after the
    // box; a few run bare, and their failure ends the run.
    std::string statement() {
        std::string run = pick(10) ? "execute " : "";
        switch (pick(6)) {
        case 0: return run + "if " + expr(0) + " then " + var() + " = " + expr(0);
        case 1: return "if i == " + std::to_string(1 + pick(4)) + " then Drop(" + var() + ")";
        case 2: return "if i == " + std::to_string(1 + pick(4)) + " then " + var() + " = \"text\"";
        default: return run + var() + " = " + expr(0);
        }
    }
};

} // namespace

TEST(LineTokens, ReplayChangesNothingInAnyPortableScriptTest) {
    unsigned checked = 0;
    char here[4096];
    ASSERT_NE(getcwd(here, sizeof here), nullptr);
    for (const std::string& group : files_in(source_dir() + "/tests/scripts", "")) {
        if (!std::ifstream(group + "/PORTABLE")) continue;
        ASSERT_EQ(chdir(group.c_str()), 0) << group;   // scripts Call files beside them
        for (const std::string& f : files_in(group, ".tsl")) {
            if (std::ifstream(f.substr(0, f.size() - 4) + ".args")) continue;
            EXPECT_EQ(fuzz::run_one(read_file(f), FULL), "") << f;
            ++checked;
        }
    }
    EXPECT_EQ(chdir(here), 0);
    EXPECT_GT(checked, 20u) << "the script tests were not found";
    unlink(fuzz::self_path().c_str());
}

// Loops whose names move between slots, are dropped and made in other
// orders, fail on a later pass or fill the table (30 slots).
TEST(LineTokens, ReplayedLinesBehaveAsLexedOnes) {
    const char* scripts[] = {
        "i = 0\r\n:top\r\nt = i\r\nDrop(t)\r\nu%i% = i\r\nt = 'x'\r\ni = i + 1\r\nif i < 5 then goto top\r\necho(StrCat(t, i, u3))\r\n",
        "n = 0\r\n:a\r\nif n mod 2 then Drop(p)\r\nelse p = n\r\nq = IsDefined(p)\r\necho(StrCat(n, q))\r\nn = n + 1\r\nif n < 6 then goto a\r\n",
        "k = 3\r\n:b\r\nErrorMode(@off)\r\nv = 12 / k\r\necho(v)\r\nk = k - 1\r\nif k >= 0 then goto b\r\n",
        "c = 0\r\n:c\r\nw%c% = c\r\nc = c + 1\r\nif c < 40 then goto c\r\necho(c)\r\n",
        "j = 0\r\n:d\r\ns = StrCat('a''b', \"c\", `d`, j)\r\necho(s)\r\nj = j + 1\r\nif j < 3 then goto d\r\n",
    };
    for (const char* text : scripts) EXPECT_EQ(fuzz::run_one(text, fuzz::Setup{HEAP_MAX_SIZE, 30, true, false, 0}), "") << text;
    unlink(fuzz::self_path().c_str());
}

TEST(LineTokens, PlansChangeNothingInRandomLoops) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        std::string text = LoopMaker(seed).script();
        ASSERT_EQ(fuzz::run_one(text, FULL), "") << "seed " << seed << ":\n" << text;
    }
    unlink(fuzz::self_path().c_str());
}

class LineTokensCases : public CoreTest {};

// A dropped variable read again by a replayed line is registered afresh
// (3052, not 3051); a changed host table between runs is seen.
TEST_F(LineTokensCases, RecordsNeverOutliveWhatTheyRelyOn) {
    run("i = 0\r\n:again\r\ni = i + 1\r\nif i == 2 then Drop(x)\r\nif i == 3 then goto done\r\nx = 5\r\ngoto again\r\n"
        ":done\r\nErrorMode(@OFF)\r\nEcho(IsDefined(x))\r\n");
    EXPECT_EQ(out, "1\n");
    run("n = 0\r\n:loop\r\nn = n + 1\r\nif n < 3 then goto loop\r\ny = z\r\n");
    EXPECT_EQ(ctx->run_error, 3052) << "z only registered, in a line that ran once";
    KeywordRecord other[2] = {function_record(0, "echox", 1, 1), KeywordRecord{}};
    ctx->host_table = other;
    run("Echo(1)\r\n");
    EXPECT_EQ(ctx->run_error, 3052) << "echo is no command of the new table: a name read, never assigned";
}

// A name followed by a string literal reads on from inside the literal; a
// statement that does so is planned like the expression it reads as: the
// same output and as many plan nodes. The count comes from a host command
// "plans" at the end of the run, while the run's plans still exist; "nest"
// runs its text as a script in a buffer that every call reuses.
static Context* g_planned;
static int32_t plans_host(PHandle owner, intptr_t host_value, int32_t a, int32_t command, AnswerFn answer,
                          void* record, const char* t1, const char* t2, const char* t3, const char* t4,
                          const char* t5) {
    static char nested[64];
    if (command == 4) { snprintf(nested, sizeof nested, "%s\r\n", t1); run_script(g_planned, nested); return 0; }
    if (command != 3) return core_host(owner, host_value, a, command, answer, record, t1, t2, t3, t4, t5);
    *reinterpret_cast<std::string*>(host_value) += "nodes " + std::to_string(line_tokens_plan_pool(g_planned)->nodes);
    return 0;
}

TEST_F(LineTokensCases, APushedBackLiteralIsPlannedAsWhatItReadsAs) {
    struct Row { int line; const char* statement; const char* reads_as; } rows[] = {
        {__LINE__, "y = Abs(x \"1+ 2 + \"3\")", "y = Abs(x + 2 + \"3\")"},
        {__LINE__, "y = Abs(x \"\"\"+ 1 + \"1\")", "y = Abs(x + 1 + \"1\")"},
        {__LINE__, "if x \"1== 5 && \"1\" then y = x", "if x == 5 && \"1\" then y = x"},
        {__LINE__, "y = Abs(x `1) ;`)", "y = Abs(x)"},
    };
    KeywordRecord hosted[5] = {function_record(0, "echo", 1, 1), function_record(1, "hfail", 1, 1),
                               function_record(2, "six", 6, 0), function_record(3, "plans", 0, 0), KeywordRecord{}};
    ctx->host_table = hosted;
    ctx->host_proc = plans_host;
    g_planned = ctx;
    auto loop = [&](const char* statement) {
        run(std::string("x = 5\r\ni = 0\r\n:again\r\ni = i + 1\r\n") + statement +
            "\r\necho(y)\r\nif i < 3 then goto again\r\nplans()\r\n");
        EXPECT_EQ(ctx->run_error, 0) << statement;
        return out;
    };
    for (const Row& r : rows) {
        std::string pushed_back = loop(r.statement);
        EXPECT_EQ(pushed_back, loop(r.reads_as)) << AT_ROW(r);
    }
}

// A host that runs scripts from one buffer: the second run reads its own bytes, not the first's line.
TEST_F(LineTokensCases, ANestedRunInAReusedBufferReadsItsOwnBytes) {
    KeywordRecord hosted[3] = {function_record(0, "echo", 1, 1), function_record(4, "nest", 1, 1), KeywordRecord{}};
    ctx->host_table = hosted;
    ctx->host_proc = plans_host;
    g_planned = ctx;
    run("nest('a = 1')\r\nnest('b = 2')\r\necho(StrCat(IsDefined(a), IsDefined(b)))\r\n");
    EXPECT_EQ(out, "11\n");
}

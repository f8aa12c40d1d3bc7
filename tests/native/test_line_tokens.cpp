// Remembered line tokens change nothing a script can see: every portable
// script test runs twice, with and without replay, on fresh contexts, and
// the output, the run's results and the final variable table must agree.
// Plus the cases where a record must not be trusted.
#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include "core_fixture.h"
#include "../../src/core/line_tokens.h"
#include "../../src/core/plan.h"

namespace fs = std::filesystem;
using namespace tsl;

namespace {

// Scripts that read the clock (Random included) differ between any two runs.
bool reads_the_clock(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    for (auto& c : text) c = (char)tolower((unsigned char)c);
    for (const char* word : {"random", "gettickcount", "datetime", "getexacttime"})
        if (text.find(word) != std::string::npos) return true;
    return false;
}

// The command table of tslrun: 0 quit, 1 version, 2 echo, 3 itemizenull.
int32_t script_host(PHandle, intptr_t host_value, int32_t, int32_t command, AnswerFn answer, void* record,
                    const char* t1, const char*, const char*, const char*, const char*) {
    std::string* out = reinterpret_cast<std::string*>(host_value);
    if (command == 1) return answer(0, 0, record, 1, 0, "tslrun 1.0");
    if (command == 2) { *out += t1; *out += "\n"; }
    if (command == 3) return answer(0, 0, record, 1, 0, "");
    return 0;
}

// Runs a script on a fresh context and describes what it did: output,
// boxes, the run's results, the variable table and the heap's blocks.
std::string run_text(const std::string& s, bool replay) {
    std::vector<char> buf(s.begin(), s.end());
    buf.push_back(0);

    std::unique_ptr<Context> holder(new Context());
    Context* ctx = holder.get();
    std::vector<uint8_t> heap(HEAP_MAX_SIZE);
    std::vector<VarSlot> vars(2000);
    heap_init(heap.data(), HEAP_MAX_SIZE);
    ctx->heap = heap.data();
    ctx->vars = vars.data();
    ctx->var_capacity = 2000;
    std::string out;
    KeywordRecord table[5] = {function_record(0, "tslrunquit", 0, 0), function_record(1, "tslrunversion", 0, 0),
                              function_record(2, "echo", 1, 1), function_record(3, "itemizenull", 1, 1), KeywordRecord{}};
    ctx->host_table = table;
    ctx->host_proc = script_host;
    ctx->host_value = (intptr_t)&out;
    var_set_int(ctx, "Param0", 0);

    line_tokens_set_enabled(replay);
    run_script(ctx, buf.data());
    line_tokens_set_enabled(true);

    std::ostringstream seen;
    seen << out << plat_native_take_boxes() << "error " << ctx->run_error << " result " << ctx->run_result << "\n";
    for (unsigned i = 0; i < ctx->var_count; ++i) {
        const Value& v = vars[i].value;
        seen << vars[i].name << " " << v.flags << " " << v.integer << " "
             << (v.string ? heap_ptr(heap.data(), v.string) : "") << "\n";
    }
    // The heap's blocks, not only its free bytes: runs with and without
    // replay (and plans) must allocate and free in the same order.
    seen << heap_layout(heap.data(), HEAP_MAX_SIZE);
    return seen.str();
}

std::string run_file(const fs::path& file, bool replay) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return run_text(text.str(), replay);
}

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
    fs::path scripts = fs::path(__FILE__).parent_path().parent_path() / "scripts";
    fs::path here = fs::current_path();
    plat_native_set_no_sleep(true);
    unsigned checked = 0;
    for (const auto& group : fs::directory_iterator(scripts)) {
        if (!fs::exists(group.path() / "PORTABLE")) continue;
        for (const auto& f : fs::directory_iterator(group.path())) {
            if (f.path().extension() != ".tsl" || fs::exists(group.path() / (f.path().stem().string() + ".args")) ||
                reads_the_clock(f.path()))
                continue;
            fs::current_path(group.path());
            std::string with = run_file(f.path(), true);
            std::string without = run_file(f.path(), false);
            EXPECT_EQ(with, without) << "script " << f.path();
            ++checked;
        }
    }
    fs::current_path(here);
    plat_native_set_no_sleep(false);
    EXPECT_GT(checked, 20u) << "the script tests were not found under " << scripts;
}

TEST(LineTokens, PlansChangeNothingInRandomLoops) {
    plat_native_set_no_sleep(true);
    for (unsigned seed = 1; seed <= 300; ++seed) {
        std::string text = LoopMaker(seed).script();
        std::string with = run_text(text, true);
        ASSERT_EQ(with, run_text(text, false)) << "seed " << seed << ":\n" << text;
    }
    plat_native_set_no_sleep(false);
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
// "plans" at the end of the run, while the run's plans still exist.
static Context* g_planned;
static int32_t plans_host(PHandle owner, intptr_t host_value, int32_t a, int32_t command, AnswerFn answer,
                          void* record, const char* t1, const char* t2, const char* t3, const char* t4,
                          const char* t5) {
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

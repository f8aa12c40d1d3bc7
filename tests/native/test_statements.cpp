// Statements and the run loop, through run_script on CR LF scripts:
// if/then/else across lines, goto with its cache bytes, labels, execute,
// exit and return, Call with its parameters and depth, the CANCEL label,
// %name% substitution, the line reader, error modes, the user break and
// the debug trace.
#include <sys/stat.h>
#include <unistd.h>
#include <cstdio>
#include <fstream>
#include "core/line_tokens.h"
#include "core/report.h"
#include "core/statements.h"
#include "core_fixture.h"

namespace tsl {
namespace {

std::string S(std::initializer_list<const char*> lines) {
    std::string s;
    for (const char* l : lines) { s += l; s += "\r\n"; }
    return s;
}

const char* const FOOTER = "\n\n\nTSL Version: 1.3a";

class Statements : public CoreTest {
protected:
    std::string dir;
    void SetUp() override {
        CoreTest::SetUp();
        char tmpl[] = "/tmp/tslcoreXXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir = tmpl;
    }
    void TearDown() override {
        std::string cmd = "rm -rf '" + dir + "'";
        EXPECT_EQ(system(cmd.c_str()), 0);
        CoreTest::TearDown();
    }
    std::string file(const std::string& name, const std::string& text) {
        std::string path = dir + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
    // The box of a numbered report of `line`.
    static std::string report_box(unsigned error, const char* message, const std::string& line) {
        return std::to_string(error) + ":  " + message + "|" + line + FOOTER + "\n";
    }
    std::string boxes() { return plat_native_take_boxes(); }
    uint32_t heap_in_use() { return HEAP_MAX_SIZE - 52 - free_bytes() - var_text_bytes(); }
};

TEST_F(Statements, IfGovernsThenAndElseOnFollowingLines) {
    run(S({"if 1 == 1 then echo('a')", "then echo('b')", "else echo('c')", "if 0 then echo('d')",
           "else echo('e')", "then echo('f')", "if 1 then if 0 then echo('g')", "else echo('h')",
           "if 'x' == 'x' then echo('i') ; comment", "if 0 then", "else ; nothing", "echo('end')"}));
    EXPECT_EQ(out, "a\nb\ne\nh\ni\nend\n");
    EXPECT_EQ(ctx->run_error, 0);
    EXPECT_EQ(ctx->run_result, 1) << "ran out of lines";
    EXPECT_EQ(boxes(), "");
}

TEST_F(Statements, StatementErrors) {
    struct { int line; const char* stmt; uint16_t error; } rows[] = {
        {__LINE__, "if x = 5 then echo('no')", 3074},
        {__LINE__, "if 1 echo('no')", 3072},
        {__LINE__, "if 'abc' then echo('no')", 3057},
        {__LINE__, "if 1 then", 3071},
        {__LINE__, "then", 3071},           // after a true IF (below)
        {__LINE__, "x = 1 2", 3074},
        {__LINE__, "goto", 3071},
        {__LINE__, "goto +x", 3054},
        {__LINE__, "goto nowhere", 3033},
        {__LINE__, "5 +", 3061},
        {__LINE__, "1 + 1 = 2", 3069},
    };
    for (auto& r : rows) {
        // "then" alone only runs after a true IF.
        run(std::string(r.stmt) == "then" ? S({"if 1 then x = 1", r.stmt}) : S({r.stmt}));
        EXPECT_EQ(ctx->run_error, r.error) << "row at line " << r.line;
        EXPECT_EQ(ctx->run_result, 0) << "row at line " << r.line;
        EXPECT_NE(boxes().find(std::to_string(r.error) + ":  "), std::string::npos) << "row at line " << r.line;
    }
    run(S({"execute", "echo('on')"}));
    EXPECT_EQ(out, "on\n") << "execute with nothing after it fails inside execute, which asks";
    EXPECT_EQ(boxes(), "EXECUTE::Missing or incomplete statement|execute\n");
    run(S({"if 1 then x = 5", "if x = 5 then echo('no')"}));
    EXPECT_EQ(var_int("x"), 5) << "the IF condition assigned before it failed";
}

TEST_F(Statements, ExitReturnAndTheQuietStatements) {
    run(S({"echo(1)", "beep", "boop", "yield", "exit", "echo(2)"}));
    EXPECT_EQ(out, "1\n");
    EXPECT_EQ(ctx->run_result, 0);
    EXPECT_EQ(ctx->run_error, 0);
    run(S({"echo(1)", "return", "echo(2)"}));
    EXPECT_EQ(out, "1\n");
    EXPECT_EQ(ctx->run_result, -1);
    run(S({"  \t echo(1)", "\t; a comment", "   :label", ":label2 ; comment", ":label3 echo(3)"}));
    EXPECT_EQ(out, "1\n3\n") << "blanks before statements, comments and labels are ignored";
    EXPECT_EQ(ctx->run_result, 1);
    EXPECT_EQ(boxes(), "");
}

TEST_F(Statements, GotoFindsTheFirstLabelCaseInsensitively) {
    run(S({"i = 0", ":Loop", "i = i + 1", "if i < 3 then goto LOOP", "echo(i)", "goto end", "echo('skipped')",
           ":END ; label with a comment", "echo('end')", "goto twice", ":twice", "echo('first')", "exit",
           ":twice", "echo('second')"}));
    EXPECT_EQ(out, "3\nend\nfirst\n");
    EXPECT_EQ(boxes(), "");
    run(S({"goto Loop", ":Loop2", "echo('wrong')"}));
    EXPECT_EQ(ctx->run_error, 3033) << ":Loop2 does not match goto Loop";
    EXPECT_EQ(boxes(), report_box(3033, "GoTo label not found", "goto Loop"));
    run(S({"goto l@1", "echo('no')", ":L@1 echo('a statement after a label runs')"}));
    EXPECT_EQ(out, "a statement after a label runs\n");
}

TEST_F(Statements, GotoWritesItsCacheIntoTheScript) {
    std::string text = S({"i = 0", ":Loop", "i = i + 1", "if i < 3 then goto Loop", "  goto done", "echo('no')",
                          ":done", "echo(i)"});
    run(text);
    ASSERT_EQ(out, "3\n");
    for (const char* g : {"goto Loop", "goto done"}) {
        size_t at = text.find(g);
        size_t label = text.find(std::string(":") + (g + 5));
        unsigned char* c = (unsigned char*)script.data() + at;
        EXPECT_EQ(c[0], 159) << g;
        unsigned p = 0;
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(c[1 + k] & 0xF0, 0x40) << g << " nibble " << k;
            p = p << 4 | (c[1 + k] & 15);
        }
        // The reader's position of the label line: the line's first byte, or
        // the line feed before it.
        EXPECT_TRUE(p == label || (p + 1 == label && text[p] == '\n')) << g << ": position " << p;
        EXPECT_EQ(memcmp(c + 5, g + 5, strlen(g) - 5), 0) << "only five bytes are written";
    }
    // A second run of the same buffer jumps without searching: renaming the
    // label in the buffer does not matter any more.
    size_t label = text.find(":Loop");
    script[label + 1] = 'X';
    rerun();
    EXPECT_EQ(out, "3\n");
    EXPECT_EQ(ctx->run_error, 0);
}

TEST_F(Statements, GotoIsNotCachedFromExecuteOrSubstitutedLines) {
    std::string text = S({"lbl = 'target'", "goto %lbl%", ":target", "execute goto next", "echo('no')", ":next",
                          "echo('ok')"});
    run(text);
    EXPECT_EQ(out, "ok\n");
    EXPECT_EQ(std::string(script.data()), text) << "the buffer is unchanged";
}

TEST_F(Statements, GotoAfterALabelIsCachedAtItsOwnPlace) {
    std::string text = S({"n = 0", ":top n = n + 1", ":again if n < 2 then goto top", "echo(n)"});
    run(text);
    EXPECT_EQ(out, "2\n");
    EXPECT_EQ((unsigned char)script[text.find("goto top")], 159);
}

TEST_F(Statements, ACachedGotoByteAtTheEndOfTheLineIsNoJump) {
    // The statement after a long label is a lone byte 159 at the last place of
    // the line buffer: no four position bytes follow it.
    std::string long_label = ":" + std::string(253, 'L') + " \x9f";
    ASSERT_EQ(long_label.size(), 256u);
    plat_native_break_after(1000);
    run(S({long_label.c_str(), "echo('no')"}));
    EXPECT_EQ(ctx->run_error, 3054);
    EXPECT_EQ(out, "");
    run(S({"x = 1", "\x9f@@", "echo('no')"}));
    EXPECT_EQ(ctx->run_error, 3054) << "a 159 byte without its four position bytes is no cached goto";
}

TEST_F(Statements, ExecuteAsksWhetherToGoOn) {
    run(S({"execute x = 1 / 0", "echo('after')"}));
    EXPECT_EQ(out, "after\n");
    EXPECT_EQ(boxes(), "EXECUTE::Attempt to divide by zero|execute x = 1 / 0\n");
    EXPECT_EQ(ctx->run_error, 0);
    plat_native_set_box_answer(ANSWER_CANCEL);
    run(S({"execute x = 1 / 0", "echo('after')"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(ctx->run_error, 9013) << "Cancel stops silently";
    EXPECT_EQ(boxes(), "EXECUTE::Attempt to divide by zero|execute x = 1 / 0\n");
    plat_native_set_box_answer(0);
    run(S({"execute echo('fine')", "execute if 1 then echo('nested')", "execute ; nothing"}));
    EXPECT_EQ(out, "fine\nnested\n");
    EXPECT_EQ(boxes(), "");
}

TEST_F(Statements, SubstitutionBetweenPercentSigns) {
    run(S({"cmd = `echo('hi')`", "%cmd%", "n = 7", "echo('%n%%%')", "echo(%n% * 2)"}));
    EXPECT_EQ(out, "hi\n7%\n14\n");
    struct { int line; const char* stmt; uint16_t error; const char* message; } rows[] = {
        {__LINE__, "x = %nope%", 3050, "Undefined variable"},
        {__LINE__, "x = %n", 3048, "Substitution %Variable% not followed by a % (Use %% for %)"},
        {__LINE__, "x = % %", 3048, "Substitution %Variable% not followed by a % (Use %% for %)"},
        {__LINE__, "x = 5 %", 3048, "Substitution %Variable% not followed by a % (Use %% for %)"},
        {__LINE__, "x = %aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa%", 3047, "Variable name over 30 chars. Too Long"},
    };
    for (auto& r : rows) {
        run(S({r.stmt, "echo('no')"}));
        EXPECT_EQ(ctx->run_error, r.error) << "row at line " << r.line;
        EXPECT_EQ(out, "") << "row at line " << r.line << ": substitution errors are fatal";
        EXPECT_EQ(boxes(), report_box(r.error, r.message, r.stmt)) << "row at line " << r.line;
    }
}

TEST_F(Statements, ATooLongSubstitutedLineIsFatal) {
    var_set_text(ctx, "long", std::string(250, 'v').c_str());
    plat_native_set_box_answer(ANSWER_OK);
    run(S({"ErrorMode(@off)", "x = '%long%' + 1", "echo('no')"}));
    EXPECT_EQ(ctx->run_error, 3101);
    EXPECT_EQ(out, "");
    EXPECT_EQ(boxes(), report_box(3101, "Substituted line too long. (> 256 characters)", "x = '%long%' + 1"));
}

TEST_F(Statements, SubstitutedLinesStayWithin256Characters) {
    var_set_text(ctx, "long", std::string(300, 'v').c_str());
    char buf[LINE_BUF] = "%long%";
    EXPECT_EQ(substitute_variables(ctx, buf), 2);
    EXPECT_EQ(std::string(buf), std::string(256, 'v')) << "the value is cut to the line";
    strcpy(buf, "%long%x");
    EXPECT_EQ(substitute_variables(ctx, buf), 0);
    EXPECT_EQ(ctx->error, 3101);
    ctx->error = 0;
    var_set_text(ctx, "mid", std::string(250, 'm').c_str());
    strcpy(buf, "%mid%123456");
    EXPECT_EQ(substitute_variables(ctx, buf), 2);
    EXPECT_EQ(strlen(buf), 256u);
    strcpy(buf, "%mid%1234567");
    EXPECT_EQ(substitute_variables(ctx, buf), 0);
    EXPECT_EQ(ctx->error, 3101);
    ctx->error = 0;
    strcpy(buf, "no percent");
    EXPECT_EQ(substitute_variables(ctx, buf), 1);
    strcpy(buf, "100%%");
    EXPECT_EQ(substitute_variables(ctx, buf), 1) << "%% alone substitutes no variable";
    EXPECT_STREQ(buf, "100%");
}

TEST_F(Statements, TheLineReader) {
    struct { int line; const char* text; unsigned len; const char* want; } rows[] = {
        {__LINE__, "a\r\nb", 4, "a|b"},
        {__LINE__, "a\rb\r", 4, "a|b"},
        {__LINE__, "a\nb\n", 4, "ab"},                 // LF alone never ends a line
        {__LINE__, "a\x1a" "b", 3, "a|b"},             // Ctrl+Z ends the line only
        {__LINE__, "  \t x = 1\r\n", 11, "x = 1"},
        {__LINE__, "a\r\rb", 4, "a||b"},               // an empty line
        {__LINE__, "a\r\n", 3, "a"},                   // nothing after the last CR LF
        {__LINE__, "a\r\n  \t", 6, "a"},
        {__LINE__, "", 0, ""},
        {__LINE__, "x\ty", 3, "x\ty"},
    };
    for (auto& r : rows) {
        uint16_t pos = 0, start = 0;
        char buf[LINE_BUF];
        std::string got;
        int n = 0;
        while (read_line(r.text, r.len, &pos, &start, buf) && n < 10) {
            got += (n++ ? "|" : "") + std::string(buf);
        }
        EXPECT_EQ(got, r.want) << "row at line " << r.line;
    }
    uint16_t pos = 0, start = 99;
    char buf[LINE_BUF];
    const char* t = "  \tabc\r\n \tdef";
    read_line(t, 13, &pos, &start, buf);
    EXPECT_EQ(start, 3) << "the line starts at its first other byte";
    EXPECT_EQ(pos, 7);
    read_line(t, 13, &pos, &start, buf);
    EXPECT_EQ(start, 10);
    EXPECT_STREQ(buf, "def");
}

TEST_F(Statements, LongLinesSplitAfter256Bytes) {
    std::string s256 = "x = " + std::string(251, '0') + "7";
    ASSERT_EQ(s256.size(), 256u);
    run(S({s256.c_str(), "echo(x)"}));
    EXPECT_EQ(out, "7\n") << "a line of exactly 256 characters runs whole";
    std::string s257 = "x = " + std::string(252, '0') + "7";
    run(S({s257.c_str(), "echo(x)"}));
    EXPECT_EQ(out, "0\n") << "the 257th character runs as a line of its own";
    EXPECT_EQ(ctx->run_error, 0);
    // Bare LF line ends: one long line.
    run("x = 1\n+ 2\necho(x)");
    EXPECT_EQ(ctx->run_error, 3074);
    run("x = 1\n+ 2\r\necho(x)\r\n");
    EXPECT_EQ(out, "3\n");
}

TEST_F(Statements, ErrorModes) {
    const std::string minor = "x = StrIndex('abc', 'b', 9, 0)";   // 1100
    const std::string moderate = "hfail('2')";                       // 2214 under @off
    // @cancel, the default: every reported error stops.
    run(S({minor.c_str(), "echo('no')"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(ctx->run_error, 1100);
    EXPECT_EQ(boxes(), report_box(1100, "StrIndex/StrScan 3rd parameter out of bounds", minor));
    // @off: minor errors are not shown; moderate ones ask.
    run(S({"ErrorMode(@off)", minor.c_str(), "echo(LastError())", moderate.c_str(), "echo('on')"}));
    EXPECT_EQ(out, "1100\non\n");
    EXPECT_EQ(boxes(), report_box(2214, "Cmd Extender: Moderate Error Occurred", moderate));
    plat_native_set_box_answer(ANSWER_CANCEL);
    run(S({"ErrorMode(@off)", moderate.c_str(), "echo('no')"}));
    EXPECT_EQ(out, "") << "Cancel stops";
    boxes();
    // @notify: OK goes on, Cancel stops.
    plat_native_set_box_answer(ANSWER_OK);
    run(S({"ErrorMode(@notify)", minor.c_str(), "echo('on')"}));
    EXPECT_EQ(out, "on\n");
    EXPECT_EQ(boxes(), report_box(1100, "StrIndex/StrScan 3rd parameter out of bounds", minor));
    plat_native_set_box_answer(ANSWER_CANCEL);
    run(S({"ErrorMode(@notify)", minor.c_str(), "echo('no')"}));
    EXPECT_EQ(out, "");
    boxes();
    // Fatal errors stop in every mode, whatever the answer.
    for (const char* mode : {"@off", "@notify", "@cancel"}) {
        plat_native_set_box_answer(ANSWER_OK);
        run(S({(std::string("ErrorMode(") + mode + ")").c_str(), "x = 1 / 0", "echo('no')"}));
        EXPECT_EQ(out, "") << mode;
        EXPECT_EQ(ctx->run_error, 3062) << mode;
        EXPECT_EQ(boxes(), report_box(3062, "Attempt to divide by zero", "x = 1 / 0")) << mode;
    }
    // Each run starts in @cancel.
    run(S({minor.c_str(), "echo('no')"}));
    EXPECT_EQ(out, "");
}

TEST_F(Statements, SeverityByNumber) {
    struct { unsigned error; int severity; } rows[] = {
        {1, SEV_MINOR}, {1016, SEV_MINOR}, {2000, SEV_MINOR}, {2001, SEV_MODERATE}, {3000, SEV_MODERATE},
        {3001, SEV_FATAL}, {8999, SEV_FATAL},
    };
    for (auto& r : rows) EXPECT_EQ(severity_of(r.error), r.severity) << r.error;
}

TEST_F(Statements, TheIdentificationLineIsInEveryReport) {
    strcpy(ctx->ident, "My Host 2.0");
    run(S({"x = 1 / 0"}));
    EXPECT_EQ(boxes(), "3062:  Attempt to divide by zero|x = 1 / 0\n\nMy Host 2.0\nTSL Version: 1.3a\n");
}

TEST_F(Statements, ConsoleReportsNameTheScriptAndLine) {
    plat_set_console_mode(true);
    strcpy(ctx->top_script_name, "t.tsl");
    testing::internal::CaptureStderr();
    run(S({"x = 1", "", "y = 1 / 0"}));
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err, "t.tsl(3): error 3062: Attempt to divide by zero\n    y = 1 / 0\n");
}

TEST_F(Statements, ConsoleReportsInACalledFileNameThatFile) {
    std::string callee = file("inner.tsl", S({"a = 1", "b = 1 / 0"}));
    plat_set_console_mode(true);
    strcpy(ctx->top_script_name, "outer.tsl");
    testing::internal::CaptureStderr();
    run(S({"; first line", ("Call('" + callee + "', '')").c_str(), "c = 1 / 0"}));
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err, callee + "(2): error 3062: Attempt to divide by zero\n    b = 1 / 0\n")
        << "the caller stops silently after its callee's report";
}

TEST_F(Statements, DebugTraceShowsEachLine) {
    plat_set_console_mode(true);
    testing::internal::CaptureStderr();
    run(S({"x = 1", "Debug(@on)", "y = 2", ":lab z = 3", "Debug(@off)", "w = 4"}));
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err, "trace: y = 2\ntrace: :lab z = 3\ntrace: Debug(@off)\n");
    plat_set_console_mode(false);
    plat_native_set_box_answer(ANSWER_CANCEL);
    run(S({"Debug(@on)", "echo('no')"}));
    EXPECT_EQ(out, "") << "Cancel in the trace stops the run";
    EXPECT_EQ(boxes(), "Debug: run this line?|echo('no')\n");
    EXPECT_EQ(ctx->debug_trace, 1);
    run(S({"echo('yes')"}));
    EXPECT_EQ(out, "yes\n") << "each run starts without the trace";
}

TEST_F(Statements, TheUserBreak) {
    // Break tests: one in the pump before the loop, then one before each line.
    plat_native_break_after(3);
    run(S({"echo(1)", "echo(2)", "echo(3)"}));
    EXPECT_EQ(out, "1\n");
    EXPECT_EQ(ctx->run_result, 0);
    EXPECT_EQ(boxes(), "192:  Execution ended|Execution terminated by user request or error" + std::string(FOOTER) + "\n");
    // With the break-report switch off the run ends silently.
    run_reset(ctx);
    ctx->break_report = 0;
    std::string two = S({"echo(1)", "echo(2)"});
    script.assign(two.begin(), two.end());
    script.push_back(0);
    out.clear();
    plat_native_break_after(2);
    uint16_t pos = 0, start = 0;
    EXPECT_EQ(run_loop(ctx, script.data(), (uint32_t)strlen(script.data()), &pos, &start), 0);
    EXPECT_EQ(out, "1\n");
    EXPECT_EQ(boxes(), "");
    // The next run starts with the break flag clear.
    run(S({"echo(5)"}));
    EXPECT_EQ(out, "5\n");
}

TEST_F(Statements, CtrlBreakBeforeTheRunStopsItBeforeTheFirstLine) {
    plat_native_press_break();
    run(S({"echo(1)"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(ctx->run_result, 0);
    EXPECT_EQ(ctx->break_flag, 1);
    EXPECT_NE(boxes().find("192:  Execution ended|"), std::string::npos);
}

TEST_F(Statements, StatementResultsAreFreed) {
    run(S({"a = 'one'", "'two'", "StrCat('x', 'y')", "b = a", "Drop(a)"}));
    EXPECT_EQ(ctx->run_error, 0);
    EXPECT_EQ(heap_in_use(), 0u) << "only variables hold texts after a run";
    EXPECT_EQ(check(), "");
}

TEST_F(Statements, CallParametersAreSplitAtBlanks) {
    struct { int line; const char* params; std::vector<std::string> want; } rows[] = {
        {__LINE__, "a 'b c' d", {"a", "b c", "d"}},
        {__LINE__, "  x\t\ty  ", {"x", "y"}},
        {__LINE__, "'it''s' \"q\"\"\" `b`", {"it's", "q\"", "b"}},
        {__LINE__, "a'b c'd", {"ab cd"}},
        {__LINE__, "''", {""}},
        {__LINE__, "", {}},
        {__LINE__, "'unclosed part", {"unclosed part"}},
    };
    for (auto& r : rows) {
        set_call_parameters(ctx, r.params);
        EXPECT_EQ(ctx->error, 0) << "row at line " << r.line;
        EXPECT_EQ(var_int("param0"), (int32_t)r.want.size()) << "row at line " << r.line;
        for (size_t i = 0; i < r.want.size(); ++i) {
            std::string name = "Param" + std::to_string(i + 1);
            EXPECT_EQ(var_text(name.c_str()), r.want[i]) << "row at line " << r.line << " " << name;
        }
    }
    set_call_parameters(ctx, "1 2 3 4 5 6 7 8 9 ten eleven");
    EXPECT_EQ(var_int("param0"), 11);
    EXPECT_EQ(var_text("Param:"), "ten") << "the tenth parameter is Param followed by a colon";
    EXPECT_EQ(var_text("Param;"), "eleven");
}

TEST_F(Statements, CallRunsAnotherFileWithSharedVariables) {
    std::string callee = file("callee.tsl", S({"shared = shared + Param0", "echo(Param2)", "return", "echo('no')"}));
    run(S({"shared = 10", ("Call('" + callee + "', 'a `b c` d')").c_str(), "echo(shared)"}));
    EXPECT_EQ(out, "b c\n13\n");
    EXPECT_EQ(ctx->run_error, 0);
    EXPECT_EQ(ctx->call_depth, 0);
    // A callee that ends at its last line lets the caller go on too.
    std::string plain = file("plain.tsl", "echo('in')");
    run(S({("Call('" + plain + "', '')").c_str(), "echo('out')"}));
    EXPECT_EQ(out, "in\nout\n");
}

TEST_F(Statements, ACalleeThatStopsStopsTheCallerUnlessItHasACancelLabel) {
    std::string quits = file("quits.tsl", S({"echo('callee')", "exit"}));
    std::string call = "Call('" + quits + "', '')";
    run(S({call.c_str(), "echo('no')"}));
    EXPECT_EQ(out, "callee\n");
    EXPECT_EQ(ctx->run_error, 9999) << "a silent stop";
    EXPECT_EQ(boxes(), "");
    run(S({call.c_str(), "echo('no')", ":CANCEL", "echo('cancelled')"}));
    EXPECT_EQ(out, "callee\ncancelled\n");
    EXPECT_EQ(ctx->run_error, 0);
    std::string fails = file("fails.tsl", S({"x = 1 / 0"}));
    run(S({("Call('" + fails + "', '')").c_str(), "echo('no')", ":cancel", "echo('cancelled')"}));
    EXPECT_EQ(out, "cancelled\n");
    EXPECT_EQ(boxes(), report_box(3062, "Attempt to divide by zero", "x = 1 / 0"));
}

TEST_F(Statements, SixLevelsOfCallAndNoMore) {
    std::string self = dir + "/deep.tsl";
    file("deep.tsl", S({"d = d + 1", "if d == limit then return", ("Call('" + self + "', '')").c_str()}));
    run(S({"d = 0", "limit = 6", ("Call('" + self + "', '')").c_str(), "echo(d)"}));
    EXPECT_EQ(out, "6\n");
    EXPECT_EQ(ctx->run_error, 0);
    EXPECT_EQ(boxes(), "");
    std::string call_line = "Call('" + self + "', '')";
    run(S({"d = 0", "limit = 99", call_line.c_str(), "echo(d)"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(var_int("d"), 6);
    EXPECT_EQ(boxes(), report_box(3211, "Call:  More than 6 levels of Calls", call_line));
    EXPECT_EQ(ctx->call_depth, 0);
}

TEST_F(Statements, CallInsideAnExpressionKeepsTheCallersState) {
    std::string callee = file("c.tsl", S({"y = 'callee text'", "'last value'"}));
    std::string call = "Call('" + callee + "', '')";
    run(S({("x = 5 + " + call).c_str(), "echo(x)", ("if " + call + " == 0 then echo('rest of the line')").c_str(),
           ("s = StrCat('left', " + call + ", 'right')").c_str(), "echo(s)"}));
    EXPECT_EQ(out, "5\nrest of the line\nleft0right\n");
    EXPECT_EQ(ctx->run_error, 0);
    EXPECT_EQ(heap_in_use(), 0u) << "the callee's statement values were freed";
}

TEST_F(Statements, EachRunStartsFresh) {
    run(S({"if 1 then x = 1", "ErrorMode(@off)", "Debug(@on)"}));
    ASSERT_EQ(ctx->last_if, 1);
    boxes();
    run(S({"then echo('no')", "else echo('else runs: the last IF result is false')",
           "x = StrIndex('abc', 'b', 9, 0)", "echo('no')"}));
    EXPECT_EQ(out, "else runs: the last IF result is false\n");
    EXPECT_EQ(ctx->run_error, 1100) << "the error mode is @cancel again";
    EXPECT_EQ(boxes(), report_box(1100, "StrIndex/StrScan 3rd parameter out of bounds", "x = StrIndex('abc', 'b', 9, 0)"))
        << "no trace box: the debug trace is off again";
    EXPECT_EQ(ctx->call_depth, 0);
}

TEST_F(Statements, ExecuteOfExitAndReturn) {
    run(S({"execute exit", "echo('no')"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(ctx->run_result, 0);
    EXPECT_EQ(boxes(), "") << "an exit is no error";
    run(S({"execute return", "echo('no')"}));
    EXPECT_EQ(ctx->run_result, -1);
}

TEST_F(Statements, AFullVariableTableIsReported) {
    use_vars(4);
    run(S({"a = 1", "b = 2", "c = 3", "d = 4", "echo('no')"}));
    EXPECT_EQ(ctx->run_error, 3097) << "three of four slots are usable";
    EXPECT_EQ(out, "");
    EXPECT_EQ(boxes(), report_box(3097, "Memory allocation failure.  Out of memory for variables", "d = 4"));
}

TEST_F(Statements, SmallHeapsFailCleanly) {
    std::string text = S({"ErrorMode(@off)", "a = 'abcdefghijklmnopqrstuvwxyz'", "b = StrCat(a, a, a)", "c = StrCat(b, b)",
                          "d = StrFill('xy', 200)", "if a == b then echo('eq')", "e = '%a%'", "Drop(a)",
                          "f = StrCat('tail', 1)"});
    for (uint32_t size : {200u, 256u, 300u, 400u, 600u, 1000u, 2000u}) {
        use_heap(size);
        use_vars(50);
        run(text);
        EXPECT_EQ(check(), "") << "heap of " << size;
        EXPECT_EQ(size - 52 - free_bytes() - var_text_bytes(), 0u) << "heap of " << size << ": nothing leaked";
        if (size == 2000) { EXPECT_EQ(ctx->run_error, 0) << "everything fits"; }
        if (ctx->run_error) { EXPECT_EQ(ctx->run_error, 3096) << "heap of " << size; }
        boxes();
    }
}

// Lines that run again replay their remembered tokens: every script must
// give the same output, error and variables with and without replay.
TEST_F(Statements, ReplayedLinesBehaveAsLexedOnes) {
    const char* scripts[] = {
        // A loop whose body drops its variable, so the name moves between slots.
        "i = 0\r\n:top\r\nt = i\r\nDrop(t)\r\nu%i% = i\r\nt = 'x'\r\ni = i + 1\r\nif i < 5 then goto top\r\necho(StrCat(t, i, u3))\r\n",
        // Names dropped and created in other orders on each pass.
        "n = 0\r\n:a\r\nif n mod 2 then Drop(p)\r\nelse p = n\r\nq = IsDefined(p)\r\necho(StrCat(n, q))\r\nn = n + 1\r\nif n < 6 then goto a\r\n",
        // Errors on a later pass of a line that worked before.
        "k = 3\r\n:b\r\nErrorMode(@off)\r\nv = 12 / k\r\necho(v)\r\nk = k - 1\r\nif k >= 0 then goto b\r\n",
        // A full table reached inside a loop.
        "c = 0\r\n:c\r\nw%c% = c\r\nc = c + 1\r\nif c < 40 then goto c\r\necho(c)\r\n",
        // Literals, keywords and host names on replayed lines.
        "j = 0\r\n:d\r\ns = StrCat('a''b', \"c\", `d`, j)\r\necho(s)\r\nj = j + 1\r\nif j < 3 then goto d\r\n",
    };
    for (const char* text : scripts) {
        std::string results[2];
        for (int replay = 0; replay < 2; ++replay) {
            line_tokens_set_enabled(replay == 1);
            use_heap(HEAP_MAX_SIZE);
            use_vars(30);
            run(text);
            std::string r = out + "|" + std::to_string(ctx->run_error) + "|";
            for (unsigned i = 0; i < ctx->var_count; ++i)
                if (vars[i].value.flags) r += std::string(vars[i].name) + "=" + var_text(vars[i].name) + ";";
            results[replay] = r;
            boxes();
        }
        line_tokens_set_enabled(true);
        EXPECT_EQ(results[1], results[0]) << text;
    }
}

TEST_F(Statements, CallLoaderFailures) {
    std::string missing = dir + "/missing.tsl";
    run(S({("Call('" + missing + "', '')").c_str(), "echo('no')"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(boxes(), report_box(102, "Specified menu/batch file not found", missing));
    std::string big = file("big.tsl", "echo('big')\r\n" + std::string(65521 - 13, ';'));
    run(S({("Call('" + big + "', '')").c_str(), "echo('no')"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(boxes(), report_box(205, "Batch file >64K.  Too Large.", big));
    std::string fits = file("fits.tsl", "echo('fits')\r\n" + std::string(65520 - 14, ';'));
    run(S({("Call('" + fits + "', '')").c_str(), "echo('back')"}));
    EXPECT_EQ(out, "fits\nback\n");
}

} // namespace
} // namespace tsl

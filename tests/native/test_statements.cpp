// Statements and the run loop where scripts cannot see: results, goto's cache, boxes, breaks, runs, Call's limit.
#include "core/report.h"
#include "core/statements.h"
#include "core_fixture.h"

namespace tsl {
namespace {

std::string S(std::initializer_list<std::string> lines) {
    std::string s;
    for (const std::string& l : lines) s += l + "\r\n";
    return s;
}

const char* const FOOTER = "\n\n\nTSL Version: 1.3a";

class Statements : public CoreTest {
protected:
    std::string call_of(const std::string& name, const std::string& text) {
        return "Call('" + file(name, text) + "', '')";
    }
    // The box of a numbered report of `line`.
    static std::string report_box(unsigned error, const char* message, const std::string& line) {
        return std::to_string(error) + ":  " + message + "|" + line + FOOTER + "\n";
    }
    std::string boxes() { return plat_native_take_boxes(); }
};

// run_result: 1 when the lines ran out, 0 for exit or a stop, -1 for return.
TEST_F(Statements, TheRunsResultsAndErrors) {
    struct { int line; std::string text; int result; uint16_t error; const char* out; } rows[] = {
        {__LINE__, S({"echo(1)", "exit", "echo(2)"}), 0, 0, "1\n"},
        {__LINE__, S({"echo(1)", "return", "echo(2)"}), -1, 0, "1\n"},
        {__LINE__, S({"echo(1)", ":label echo(2)"}), 1, 0, "1\n2\n"},
        {__LINE__, S({"execute exit", "echo(2)"}), 0, 0, ""},
        {__LINE__, S({"execute return", "echo(2)"}), -1, 0, ""},
        {__LINE__, S({"goto", "echo(2)"}), 0, 3071, ""},
        {__LINE__, S({"goto +x", "echo(2)"}), 0, 3054, ""},
        {__LINE__, S({"x = 1 / 0", "echo(2)"}), 0, 3062, ""},
    };
    for (auto& r : rows) {
        run(r.text);
        EXPECT_EQ(ctx->run_result, r.result) << AT_ROW(r);
        EXPECT_EQ(ctx->run_error, r.error) << AT_ROW(r);
        EXPECT_EQ(out, r.out) << AT_ROW(r);
        EXPECT_EQ(boxes().find(std::to_string(r.error) + ":  ") != std::string::npos, r.error != 0) << AT_ROW(r);
    }
    strcpy(ctx->ident, "My Host 2.0");
    run(S({"x = 1 / 0"}));
    EXPECT_EQ(boxes(), "3062:  Attempt to divide by zero|x = 1 / 0\n\nMy Host 2.0\nTSL Version: 1.3a\n")
        << "the host's identification line is in every report";
    ctx->host_proc = nullptr;
    run(S({"echo(1)"}));
    EXPECT_EQ(ctx->run_error, 3046) << "a host command with no procedure to call";
}

TEST_F(Statements, GotoWritesItsCacheIntoTheScript) {
    std::string text = S({"i = 0", ":Loop", "i = i + 1", "if i < 3 then goto Loop", "  goto done", "echo('no')",
                          ":done", "n = 0", ":top n = n + 1", ":again if n < 2 then goto top", "echo(i + n)"});
    run(text);
    ASSERT_EQ(out, "5\n");
    for (const char* g : {"goto Loop", "goto done", "goto top"}) {
        size_t at = text.find(g), label = text.find(std::string(":") + (g + 5));
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
    script[text.find(":Loop") + 1] = 'X';
    rerun();
    EXPECT_EQ(out, "5\n");
    // A goto in a substituted line or after execute is never cached.
    text = S({"lbl = 'target'", "goto %lbl%", ":target", "execute goto next", "echo('no')", ":next", "echo('ok')"});
    run(text);
    EXPECT_EQ(out, "ok\n");
    EXPECT_EQ(std::string(script.data()), text) << "the buffer is unchanged";
}

TEST_F(Statements, ACachedGotoByteWithoutItsPositionIsNoJump) {
    // The statement after a long label is a lone byte 159 at the last place of
    // the line buffer: no four position bytes follow it.
    std::string long_label = ":" + std::string(253, 'L') + " \x9f";
    ASSERT_EQ(long_label.size(), 256u);
    plat_native_break_after(1000);
    run(S({long_label, "echo('no')"}));
    EXPECT_EQ(ctx->run_error, 3054);
    EXPECT_EQ(out, "");
    for (const char* bytes : {"\x9f@@", "\x9f@@@"}) {   // two or three position bytes: no jump either
        plat_native_break_after(1000);
        run(S({"x = 1", bytes, "echo('no')"}));
        EXPECT_EQ(ctx->run_error, 3054) << strlen(bytes) - 1 << " position bytes";
    }
}

// Boxes answered with OK or Cancel (the console answers every box with its default).
TEST_F(Statements, BoxesAnsweredWithCancelStop) {
    const std::string minor = "x = StrIndex('abc', 'b', 9, 0)";   // 1100
    const std::string moderate = "hfail('2')";                       // 2214 under @off
    struct { int line; int answer; std::string text; const char* out; uint16_t error; std::string box; } rows[] = {
        {__LINE__, ANSWER_CANCEL, S({"execute x = 1 / 0", "echo('no')"}), "", 9013,
         "EXECUTE::Attempt to divide by zero|execute x = 1 / 0\n"},
        {__LINE__, ANSWER_CANCEL, S({"Debug(@on)", "echo('no')"}), "", 0, "Debug: run this line?|echo('no')\n"},
        {__LINE__, ANSWER_OK, S({"ErrorMode(@off)", minor, "echo(LastError())", moderate, "echo('on')"}), "1100\non\n", 0,
         report_box(2214, "Cmd Extender: Moderate Error Occurred", moderate)},
        {__LINE__, ANSWER_CANCEL, S({"ErrorMode(@off)", moderate, "echo('no')"}), "", 2214,
         report_box(2214, "Cmd Extender: Moderate Error Occurred", moderate)},
        {__LINE__, ANSWER_OK, S({"ErrorMode(@notify)", minor, "echo('on')"}), "on\n", 0,
         report_box(1100, "StrIndex/StrScan 3rd parameter out of bounds", minor)},
        {__LINE__, ANSWER_CANCEL, S({"ErrorMode(@notify)", minor, "echo('no')"}), "", 1100,
         report_box(1100, "StrIndex/StrScan 3rd parameter out of bounds", minor)},
    };
    for (auto& r : rows) {
        plat_native_set_box_answer(r.answer);
        run(r.text);
        EXPECT_EQ(out, r.out) << AT_ROW(r);
        EXPECT_EQ(ctx->run_error, r.error) << AT_ROW(r);
        EXPECT_EQ(boxes(), r.box) << AT_ROW(r);
    }
}

TEST_F(Statements, SeverityByNumber) {
    struct { unsigned error; int severity; } rows[] = {
        {1, SEV_MINOR}, {2000, SEV_MINOR}, {2001, SEV_MODERATE}, {3000, SEV_MODERATE}, {3001, SEV_FATAL}, {8999, SEV_FATAL},
    };
    for (auto& r : rows) EXPECT_EQ(severity_of(r.error), r.severity) << r.error;
}

TEST_F(Statements, TheUserBreak) {
    // Break tests: one in the pump before the loop, then one before each line.
    plat_native_break_after(3);
    run(S({"echo(1)", "echo(2)", "echo(3)"}));
    EXPECT_EQ(out, "1\n");
    EXPECT_EQ(ctx->run_result, 0);
    EXPECT_EQ(boxes(), "192:  Execution ended|Execution terminated by user request or error" + std::string(FOOTER) + "\n");
    // One more in the pump after the last line: a break there ends nothing.
    plat_native_break_after(3);
    run(S({"echo(1)"}));
    EXPECT_EQ(out + std::to_string(ctx->run_result) + std::to_string(ctx->break_flag) + boxes(), "1\n11");
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
    // Ctrl+Break pressed before a run stops it before its first line.
    plat_native_press_break();
    run(S({"echo(1)"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(ctx->break_flag, 1);
    EXPECT_NE(boxes().find("192:  Execution ended|"), std::string::npos);
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

TEST_F(Statements, SmallHeapsFailCleanly) {
    std::string text = S({"ErrorMode(@off)", "a = 'abcdefghijklmnopqrstuvwxyz'", "b = StrCat(a, a, a)", "c = StrCat(b, b)",
                          "d = StrFill('xy', 200)", "if a == b then echo('eq')", "e = '%a%'", "Drop(a)",
                          "f = StrCat('tail', 1)"});
    for (uint32_t size : {200u, 256u, 300u, 400u, 600u, 1000u, 2000u}) {
        use_heap(size);
        use_vars(50);
        run(text);
        EXPECT_EQ(check(), "") << "heap of " << size;
        EXPECT_EQ(heap_in_use(), 0u) << "heap of " << size << ": nothing leaked";
        EXPECT_EQ(ctx->run_error, size == 2000 || !ctx->run_error ? 0 : 3096) << "heap of " << size << " (2000 holds all)";
        boxes();
    }
}

// Files of 65,520 bytes and less are read, larger ones are 205.
TEST_F(Statements, CallLoadsFilesBelow64K) {
    std::string missing = file("missing.tsl", "");
    unlink(missing.c_str());
    run(S({"Call('" + missing + "', '')", "echo('no')"}));
    EXPECT_EQ(boxes(), report_box(102, "Specified menu/batch file not found", missing));
    run(S({call_of("big.tsl", "echo('big')\r\n" + std::string(65521 - 13, ';')), "echo('no')"}));
    EXPECT_EQ(out, "");
    EXPECT_EQ(boxes(), report_box(205, "Batch file >64K.  Too Large.", dir + "/big.tsl"));
    run(S({call_of("fits.tsl", "echo('fits')\r\n" + std::string(65520 - 14, ';')), "echo('back')"}));
    EXPECT_EQ(out, "fits\nback\n");
    // The tenth and eleventh parameters are Param followed by ':' and ';'.
    set_call_parameters(ctx, "1 2 3 4 5 6 7 8 9 ten 'eleven and");
    EXPECT_EQ(var_int("param0"), 11);
    EXPECT_EQ(var_text("Param:"), "ten");
    EXPECT_EQ(var_text("Param;"), "eleven and") << "an unclosed quote runs to the end";
}

} // namespace
} // namespace tsl

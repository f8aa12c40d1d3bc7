// The debug trace stepped by the user thread: the dialog before each line
// shows the line and the last result; Step runs the line, Run runs on with
// the trace off. (Cancel stops before the line: CoreWindows.BoxesOf...;
// console mode writes the trace without asking: tests/scripts/core/debug_trace.)
#include "host_harness.h"
#include "resources/dialogs/debugtrace_ids.h"

class Trace : public DllTest {
protected:
    HostContext host;
    void SetUp() override { host.lock()->sounds = 0; host.unlock(); }
};

// Each dialog seen as "caption: its texts [its Run button]", one a line.
TEST_F(Trace, StepAndRun) {
    const std::string script = crlf({"Debug(@on)", "x = 5", "y = \"text\"", "ErrorMode(@off)",
                                     "z = StrIndex('abc', 'b', 9, 0)", "Echo(x)", "Echo(y)"});
    auto shown = [](const char* line, const char* last) { return "Debug: Next line:|" + std::string(line) + "|Last result:|" + last + " [&Run]\n"; };
    struct { int line; std::vector<int> press; std::string seen; } rows[] = {
        {__LINE__, {IDOK, IDOK, IDOK, IDOK, IDOK, IDOK},
         shown("x = 5", "0") + shown("y = \"text\"", "5") + shown("ErrorMode(@off)", "text") +
             shown("z = StrIndex('abc', 'b', 9, 0)", "1") + shown("Echo(x)", "0   (error 1100)") + shown("Echo(y)", "0")},
        {__LINE__, {IDOK, DT_RUN}, shown("x = 5", "0") + shown("y = \"text\"", "5")},
    };
    for (auto& r : rows) {
        host.out.clear();
        User user(r.press);
        host.run(script);
        user.finish();
        std::string seen;
        for (auto& b : user.seen()) seen += b.caption + ": " + b.text + " [" + b.items[DT_RUN] + "]\n";
        EXPECT_EQ(r.seen + "5\ntext\n 0", seen + host.out + " " + std::to_string(host.error())) << "row at line " << r.line;
    }
    // A dialog that cannot be shown (its owner is gone) steps: the run goes on to its end.
    HWND gone = CreateWindowA("STATIC", "", 0, 0, 0, 1, 1, NULL, NULL, NULL, NULL);
    DestroyWindow(gone);
    host.out.clear();
    host.run(script, HostContext::echo_proc, HostContext::kEcho, gone);
    EXPECT_EQ("5\ntext\n 0", host.out + " " + std::to_string(host.error()));
}

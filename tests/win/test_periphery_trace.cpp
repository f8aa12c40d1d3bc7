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

TEST_F(Trace, StepRunAndCancel) {
    const std::string script = crlf({"Debug(@on)", "x = 5", "y = \"text\"", "ErrorMode(@off)",
                                     "z = StrIndex('abc', 'b', 9, 0)", "Echo(x)", "Echo(y)"});
    auto shown = [](const char* line, const char* last) { return std::string("Next line:|") + line + "|Last result:|" + last; };
    struct { int line; std::vector<int> press; std::vector<std::string> seen; std::string out; } rows[] = {
        {__LINE__, {IDOK, IDOK, IDOK, IDOK, IDOK, IDOK},
         {shown("x = 5", "0"), shown("y = \"text\"", "5"), shown("ErrorMode(@off)", "text"),
          shown("z = StrIndex('abc', 'b', 9, 0)", "1"), shown("Echo(x)", "0   (error 1100)"), shown("Echo(y)", "0")},
         "5\ntext\n"},
        {__LINE__, {IDOK, DT_RUN}, {shown("x = 5", "0"), shown("y = \"text\"", "5")}, "5\ntext\n"},
    };
    for (auto& r : rows) {
        host.out.clear();
        User user(r.press);
        host.run(script);
        user.finish();
        auto seen = user.seen();
        ASSERT_EQ(r.seen.size(), seen.size()) << "row at line " << r.line;
        for (size_t i = 0; i < seen.size(); i++) {
            EXPECT_EQ("Debug", seen[i].caption) << "row at line " << r.line << ", dialog " << i;
            EXPECT_EQ(r.seen[i], seen[i].text) << "row at line " << r.line << ", dialog " << i;
            EXPECT_EQ("&Run", seen[i].items[DT_RUN]) << "row at line " << r.line << ", dialog " << i;
        }
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ(r.out, host.out) << "row at line " << r.line;
    }
}

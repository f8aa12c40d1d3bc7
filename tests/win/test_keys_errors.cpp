// The keystroke functions' numbered errors, none of which sends a key:
// 2001 for a bad keystroke text, 3123 for a WaitForKey argument that names
// no key, 1045 when SendKeysTo finds no window in its ten searches.
#include "host_harness.h"

class KeysErrors : public DllTest {
protected:
    HostContext host;
    void SetUp() override { g_dll.console(1); }
    void TearDown() override { g_dll.console(0); }
};

TEST_F(KeysErrors, SyntaxErrorsOfBothNotations) {
    struct { int line; const char* call; long error; const char* result; } rows[] = {
        {__LINE__, "SendKey(\"{\")", 2001, "0"},   // -1, but a failed assignment leaves 0
        {__LINE__, "SendKey(\"{F17}\")", 2001, "0"},
        {__LINE__, "SendKeysTo(\"\", \"{ENTER\")", 2001, "0"},
        {__LINE__, "WaitForKey(\"+\", \"\", \"\", \"\", \"\")", 3123, "0"},
        {__LINE__, "WaitForKey(\"a\", \"{}\", \"\", \"\", \"\")", 3123, "0"},
        {__LINE__, "WaitForKey(\"\", \"a\", \"\", \"\", \"\")", 3123, "0"},   // no key before the first empty argument
    };
    for (auto& r : rows) {
        host.run(std::string("r = 7\r\nr = ") + r.call + "\r\n");
        EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
        EXPECT_EQ(r.result, host.get("r")) << "row at line " << r.line;
    }
}

// Ten searches one second apart, then 1045 and nothing sent.
TEST_F(KeysErrors, SendKeysToWithoutItsWindow) {
    DWORD start = GetTickCount();
    host.run("r = 7\r\nr = SendKeysTo(\"tsl no such window title\", \"abc\")\r\n");
    DWORD took = GetTickCount() - start;
    EXPECT_EQ(1045, host.error());
    EXPECT_GE(took, 9000u);
    EXPECT_LT(took, 15000u);
}

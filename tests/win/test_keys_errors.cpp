// The keystroke functions' numbered errors, none of which sends a key:
// 2001 for a bad keystroke text, 3123 for a WaitForKey argument that names
// no key, 1045 when SendKeysTo finds no window in its ten searches.
#include "window_thread.h"

class KeysErrors : public ScriptTest {};

TEST_F(KeysErrors, SyntaxErrorsOfBothNotations) {
    play({{__LINE__, "SendKey(\"{\")", "0", 2001},   // -1, but a failed assignment leaves 0
          {__LINE__, "SendKey(\"{F17}\")", "0", 2001},
          {__LINE__, "SendKeysTo(\"\", \"{ENTER\")", "0", 2001},
          {__LINE__, "WaitForKey(\"+\", \"\", \"\", \"\", \"\")", "0", 3123},
          {__LINE__, "WaitForKey(\"a\", \"{}\", \"\", \"\", \"\")", "0", 3123},
          {__LINE__, "WaitForKey(\"\", \"a\", \"\", \"\", \"\")", "0", 3123}});   // no key before the first empty argument
}

// Ten searches one second apart, then 1045 and nothing sent.
TEST_F(KeysErrors, SendKeysToWithoutItsWindow) {
    DWORD start = GetTickCount();
    EXPECT_EQ("0", eval("SendKeysTo(\"tsl no such window title\", \"abc\")", NULL, 1045));
    DWORD took = GetTickCount() - start;
    EXPECT_GE(took, 9000u);
    EXPECT_LT(took, 15000u);
}

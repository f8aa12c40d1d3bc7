// Display's closing check: while the Alt key is held when the time runs out,
// the box stays up, checked again every 700 ms, and closes after the release.
// (Types keys: runs alone.)
#include "host_harness.h"

class DisplayHold : public DllTest {
protected:
    HostContext host;
    void SetUp() override { host.lock()->sounds = 0; host.unlock(); }
};

TEST_F(DisplayHold, AltHeldKeepsTheBoxUntilReleased) {
    struct { int line; DWORD hold_ms; DWORD min_ms, max_ms; } rows[] = {
        {__LINE__, 0, 800, 1600},      // not held: gone after its second
        {__LINE__, 2500, 2400, 3700},  // held past the second: gone within 700 ms of the release
    };
    for (auto& r : rows) {
        DWORD took = 0;
        User user([&](const SeenBox& b) {
            DWORD seen_at = GetTickCount();
            if (r.hold_ms) keybd_event(VK_MENU, 0, 0, 0);
            bool held = r.hold_ms != 0;
            while (IsWindow(b.window) && IsWindowVisible(b.window) && GetTickCount() - seen_at < 10000) {
                if (held && GetTickCount() - seen_at >= r.hold_ms) { keybd_event(VK_MENU, 0, KEYEVENTF_KEYUP, 0); held = false; }
                Sleep(10);
            }
            if (held) keybd_event(VK_MENU, 0, KEYEVENTF_KEYUP, 0);
            took = GetTickCount() - seen_at;
            return -1;
        });
        host.run("r = Display(1, \"Held\", \"Hold Alt\")\r\n");
        user.finish();
        EXPECT_EQ("0", host.get("r")) << "row at line " << r.line;   // the time ran out
        EXPECT_LE(r.min_ms, took) << "row at line " << r.line;
        EXPECT_GE(r.max_ms, took) << "row at line " << r.line;
    }
}

// A user break typed on the keyboard: Ctrl+Break with keybd_event while a
// script loops. The keys reach the whole display, so this program runs
// alone (CMakeLists.txt runs test programs that type keys serially).
#include "host_harness.h"

class CoreBreak : public DllTest {};

static void key(BYTE vk, bool down) { keybd_event(vk, (BYTE)MapVirtualKeyA(vk, 0), down ? 0 : KEYEVENTF_KEYUP, 0); }

// The break shows the fatal box (OK only) and ends the run. (A break with the report
// switched off by the host ends silently: BoxKeys.CtrlBreakEndsTheBoxAndTheRun and,
// natively, Statements.TheUserBreak.)
TEST_F(CoreBreak, CtrlBreakTypedByTheUserStopsALoop) {
    HostContext host;
    HWND owner = CreateWindowA("STATIC", "core break test", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 200, 100, NULL,
                               NULL, NULL, NULL);
    ASSERT_NE(nullptr, owner);
    SetForegroundWindow(owner);
    SetFocus(owner);
    std::atomic<bool> released(false);
    User user([&](const SeenBox&) { key(VK_CANCEL, false); key(VK_CONTROL, false); released = true; return IDOK; });
    std::thread typist([&] {
        Sleep(500);
        key(VK_CONTROL, true);
        key(VK_CANCEL, true);
        for (int i = 0; i < 250 && !released; ++i) Sleep(20);
        key(VK_CANCEL, false);
        key(VK_CONTROL, false);
    });
    DWORD start = GetTickCount();
    EXPECT_EQ(1, host.run(crlf({"n = 0", ":again", "n = n + 1", "goto again"}), nullptr, nullptr, owner));
    DWORD took = GetTickCount() - start;
    typist.join();
    user.finish();
    std::vector<std::string> seen;
    for (auto& b : user.seen()) seen.push_back(joined(b.caption, "/", b.text, "/", b.ok, b.cancel));
    EXPECT_EQ(std::vector<std::string>{"192:  Execution ended / Execution terminated by user request or error"
                                       "\n\nCore test host\nTSL Version: 1.3a / 1 0"}, seen);
    EXPECT_EQ("1 0", joined(host.service(TSL_SERVICE_RUN_BREAK), host.result()));
    EXPECT_LT(took, 5000u);
    EXPECT_GT(atoi(host.get("n").c_str()), 3) << "the loop ran until the break";
    // The next run goes through, with the report on again at its start.
    host.service(TSL_SERVICE_BREAK_REPORT, 0);
    EXPECT_EQ(1, host.run("a = 1\r\n"));
    EXPECT_EQ("0 1", joined(host.service(TSL_SERVICE_RUN_BREAK), +host.lock()->break_report));
    host.unlock();
    DestroyWindow(owner);
}

// A user break typed on the keyboard: Ctrl+Break with keybd_event while a
// script loops. The keys reach the whole display, so this program runs
// alone (CMakeLists.txt runs test programs that type keys serially).
#include "host_harness.h"

class CoreBreak : public DllTest {};

static void key(BYTE vk, bool down) { keybd_event(vk, (BYTE)MapVirtualKeyA(vk, 0), down ? 0 : KEYEVENTF_KEYUP, 0); }

static HostContext* g_host;
static long WINAPI quiet_break(HWND, LPARAM, long, long command, TslAnswerProc, void*, LPCSTR, LPCSTR, LPCSTR,
                               LPCSTR, LPCSTR) {
    if (command == TSL_COMMAND_IDLE) g_host->service(TSL_SERVICE_BREAK_REPORT, 0);
    return 0;
}

// With the report on, the break shows the fatal box (OK only); the host can
// switch the report off (here from its idle call) and the run ends silently.
TEST_F(CoreBreak, CtrlBreakTypedByTheUserStopsALoop) {
    static const TslKeywordRecord none[] = {{0, 0, 0, 0, 0, ""}};
    for (bool report : {true, false}) {
        HostContext host;
        g_host = &host;
        HWND owner = CreateWindowA("STATIC", "core break test", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 200, 100,
                                   NULL, NULL, NULL, NULL);
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
        host.service(TSL_SERVICE_IDLE_CALLS, !report);
        DWORD start = GetTickCount();
        std::string loop = crlf({"n = 0", ":again", "n = n + 1", "goto again"});
        EXPECT_EQ(1, report ? host.run(loop, nullptr, nullptr, owner) : host.run(loop, quiet_break, none, owner));
        DWORD took = GetTickCount() - start;
        released = true;  // the silent run ends with the keys still down
        typist.join();
        user.finish();
        std::vector<std::string> seen;  // the break report is fatal: OK only
        for (auto& b : user.seen()) seen.push_back(joined(b.caption, "/", b.text, "/", b.ok, b.cancel));
        EXPECT_EQ(report ? std::vector<std::string>{"192:  Execution ended / Execution terminated by user request or error"
                                                    "\n\nCore test host\nTSL Version: 1.3a / 1 0"} : std::vector<std::string>{},
                  seen);
        EXPECT_EQ("1 0", joined(host.service(TSL_SERVICE_RUN_BREAK), host.result())) << "report " << report;
        EXPECT_LT(took, 5000u) << "report " << report;
        EXPECT_GT(atoi(host.get("n").c_str()), 3) << "the loop ran until the break";
        // The next run goes through, with the report on again.
        host.service(TSL_SERVICE_IDLE_CALLS, 0);
        EXPECT_EQ(1, host.run("a = 1\r\n"));
        EXPECT_EQ("0 1", joined(host.service(TSL_SERVICE_RUN_BREAK), +host.lock()->break_report)) << "report " << report;
        host.unlock();
        DestroyWindow(owner);
    }
}

// A user break typed on the keyboard: Ctrl+Break with keybd_event while a
// script loops. The keys reach the whole display, so this program runs
// alone (CMakeLists.txt runs test programs that type keys serially).
#include "core_user.h"

static Dll g_dll;

class CoreBreak : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
};

static void key(BYTE vk, bool down) {
    keybd_event(vk, (BYTE)MapVirtualKeyA(vk, 0), down ? 0 : KEYEVENTF_KEYUP, 0);
}

TEST_F(CoreBreak, CtrlBreakTypedByTheUserStopsALoop) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    HWND owner = CreateWindowA("STATIC", "core break test", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 200, 100,
                               NULL, NULL, NULL, NULL);
    ASSERT_NE(nullptr, owner);
    SetForegroundWindow(owner);
    SetFocus(owner);
    std::atomic<bool> released(false);
    User user([&](const SeenBox&) {
        key(VK_CANCEL, false);
        key(VK_CONTROL, false);
        released = true;
        return IDOK;
    });
    std::thread typist([&] {
        Sleep(500);
        key(VK_CONTROL, true);
        key(VK_CANCEL, true);
        for (int i = 0; i < 250 && !released; ++i) Sleep(20);
        if (!released) { key(VK_CANCEL, false); key(VK_CONTROL, false); }
    });
    DWORD start = GetTickCount();
    EXPECT_EQ(1, host->run(crlf({"n = 0", ":again", "n = n + 1", "goto again"}), nullptr, nullptr, owner));
    DWORD took = GetTickCount() - start;
    typist.join();
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ("192:  Execution ended", seen[0].caption);
    EXPECT_EQ(std::string("Execution terminated by user request or error") + kFooter, seen[0].text);
    EXPECT_TRUE(seen[0].ok);
    EXPECT_FALSE(seen[0].cancel) << "the break report is fatal: OK only";
    EXPECT_EQ(1, host->service(TSL_SERVICE_RUN_BREAK));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_RESULT));
    EXPECT_LT(took, 5000u);
    int n = atoi(host->get("n").c_str());
    EXPECT_GT(n, 3) << "the loop ran until the break";
    DestroyWindow(owner);
}

static HostContext* g_quiet_host;
static long WINAPI quiet_break(HWND, LPARAM, long, long command, TslAnswerProc, void*, LPCSTR, LPCSTR, LPCSTR,
                               LPCSTR, LPCSTR) {
    if (command == TSL_COMMAND_IDLE) g_quiet_host->service(TSL_SERVICE_BREAK_REPORT, 0);
    return 0;
}

TEST_F(CoreBreak, CtrlBreakWithoutItsReportEndsTheRunSilently) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    HWND owner = CreateWindowA("STATIC", "core break test 2", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 200, 100,
                               NULL, NULL, NULL, NULL);
    ASSERT_NE(nullptr, owner);
    SetForegroundWindow(owner);
    SetFocus(owner);
    User user([](const SeenBox&) { return IDOK; });
    std::atomic<bool> stop(false);
    std::thread typist([&] {
        Sleep(500);
        key(VK_CONTROL, true);
        key(VK_CANCEL, true);
        for (int i = 0; i < 250 && !stop; ++i) Sleep(20);
        key(VK_CANCEL, false);
        key(VK_CONTROL, false);
    });
    // The switch is on at the start of every run; the host's idle call turns it off.
    g_quiet_host = host.get();
    static const TslKeywordRecord none[] = {{0, 0, 0, 0, 0, ""}};
    host->service(TSL_SERVICE_IDLE_CALLS, 1);
    EXPECT_EQ(1, host->run(crlf({"n = 0", ":again", "n = n + 1", "goto again"}), quiet_break, none, owner));
    stop = true;
    typist.join();
    user.finish();
    EXPECT_EQ(0u, user.seen().size());
    EXPECT_EQ(1, host->service(TSL_SERVICE_RUN_BREAK));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_RESULT));
    DestroyWindow(owner);
}

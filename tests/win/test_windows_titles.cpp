// The title search and the functions that walk the window list, on windows
// this test makes (so that z-order and titles are exact): the prefix and "~"
// rules, z-order, WinItemize, WinCloseNot, WinExist, WinTitle, the show-state
// table for the host window and for another thread's windows, WinWaitClose
// broken by Ctrl+Break. RUN_SERIAL: it steers windows of the whole desktop.
#include "window_thread.h"

class WinTitles : public DllTest {
protected:
    HostContext host;
    void SetUp() override { g_dll.console(1); }
    void TearDown() override { g_dll.console(0); }
    // Runs one line and gives the value of `r` (the run's error in `error`).
    std::string eval(const std::string& expr, HWND owner = NULL, long* error = nullptr) {
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "r", (LPARAM) "<unset>");
        host.run("r = " + expr + "\r\n", HostContext::echo_proc, HostContext::kEcho, owner);
        if (error) *error = host.error();
        else EXPECT_EQ(0, host.error()) << expr;
        return host.get("r");
    }
};

static void raise_in_order(const std::vector<HWND>& top_first) {
    for (size_t i = top_first.size(); i-- > 0;)
        SetWindowPos(top_first[i], HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

// Which window a pattern finds: the first in z-order whose title it starts
// (case-sensitively), or whose whole title it equals in the "~" form; empty
// titles and "WinOldAp" are never found.
TEST_F(WinTitles, PatternFindsFirstMatchInZOrder) {
    WindowThread other;
    const char* titles[] = {"Zq Notepad - x", "Zq Note", "WinOldAp", "", "zq lower", "Zq Note~d"};
    std::vector<HWND> w;
    for (const char* t : titles) w.push_back(other.make(t));
    raise_in_order(w);
    struct { int line; const char* pattern; int found; } rows[] = {
        {__LINE__, "Zq Note", 0},            // both "Zq Note..." match: the upper one wins
        {__LINE__, "Zq", 0},
        {__LINE__, "Zq Note~", 1},           // the whole title
        {__LINE__, "Zq Notepad - x~", 0},
        {__LINE__, "Zq Notepad~", -1},       // the "~" form is no prefix
        {__LINE__, "Zq Note~d", 5},          // a "~" that does not end the pattern is an ordinary character
        {__LINE__, "Zq Note~d~", 5},
        {__LINE__, "zq note", -1},           // case counts
        {__LINE__, "zq", 4},
        {__LINE__, "Zq Notepad - x and more", -1},   // longer than every title
        {__LINE__, "WinOldAp", -1},
        {__LINE__, "WinOld", -1},
    };
    for (auto& r : rows) {
        std::string p = std::string("\"") + r.pattern + "\"";
        EXPECT_EQ(r.found < 0 ? "0" : hwnd_text(w[r.found]), eval("IntControl(21, " + p + ", \"\", \"\", \"\")"))
            << "row at line " << r.line;
        EXPECT_EQ(r.found < 0 ? "0" : "1", eval("WinExist(" + p + ")")) << "row at line " << r.line;
    }
    raise_in_order({w[1], w[0]});   // now "Zq Note" is above "Zq Notepad - x"
    EXPECT_EQ(hwnd_text(w[1]), eval("IntControl(21, \"Zq Note\", \"\", \"\", \"\")"));
    // An empty title means the host window; for IntControl 21 the main window
    // (the host window of the context's first run).
    EXPECT_EQ("0", eval("WinExist(\"\")"));
    EXPECT_EQ("1", eval("WinExist(\"\")", w[4]));
    HostContext fresh;
    fresh.run("r = IntControl(21, \"\", \"\", \"\", \"\")\r\n", HostContext::echo_proc, HostContext::kEcho, w[2]);
    EXPECT_EQ(hwnd_text(w[2]), fresh.get("r"));
}

static BOOL CALLBACK collect_titles(HWND w, LPARAM lp) {
    std::string t = title_of(w);
    if (!t.empty() && t != "WinOldAp") *(std::string*)lp += t + "\t";
    return TRUE;
}

TEST_F(WinTitles, WinItemizeListsTitledWindowsInZOrderWithTrailingTab) {
    WindowThread other;
    std::vector<HWND> w = {other.make("ZqItem A"), other.make("ZqItem B"), other.make(""), other.make("WinOldAp")};
    raise_in_order(w);
    std::string list = eval("WinItemize()");
    std::string expected;
    EnumWindows(collect_titles, (LPARAM)&expected);
    EXPECT_EQ(expected, list);
    EXPECT_EQ(0u, list.find("ZqItem A\tZqItem B\t")) << list;
    EXPECT_EQ(std::string::npos, list.find("\t\t"));
    EXPECT_EQ(std::string::npos, list.find("WinOldAp"));
    EXPECT_EQ('\t', list.back());
}

// A list that does not fit the string heap is error 3096.
TEST_F(WinTitles, WinItemizeTooLongForTheHeapIs3096) {
    WindowThread other;
    std::vector<HWND> w;
    for (int i = 0; i < 12; ++i) w.push_back(other.make((std::to_string(i) + std::string(250, 'y')).c_str()));
    HostContext small(&g_dll, "tslhosttest", "test host", 200, 2048);
    small.run("r = WinItemize()\r\n");
    EXPECT_EQ(3096, small.error());
}

// Every show-state function on the host window (changed at once) and on
// another thread's window (posted a system command that its own loop carries
// out), then on a title that is not there.
TEST_F(WinTitles, ShowStateFunctionsOnHostAndOtherWindows) {
    WindowThread other;
    struct Row { int line; const char* fn; DWORD style; std::function<bool(HWND)> state; uint16_t missing;
                 bool host_too = true; };
    auto visible = [](HWND w) { return IsWindowVisible(w) != 0; };
    Row rows[] = {
        {__LINE__, "WinHide", WS_OVERLAPPEDWINDOW | WS_VISIBLE, [&](HWND w) { return !visible(w); }, 1040},
        {__LINE__, "WinIconize", WS_OVERLAPPEDWINDOW | WS_VISIBLE, [](HWND w) { return IsIconic(w) != 0; }, 1041},
        {__LINE__, "WinZoom", WS_OVERLAPPEDWINDOW | WS_VISIBLE, [](HWND w) { return IsZoomed(w) != 0; }, 1042},
        {__LINE__, "WinShow", WS_OVERLAPPEDWINDOW, visible, 1043},   // hidden: shown
        {__LINE__, "WinShow", WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_MINIMIZE,
         [&](HWND w) { return visible(w) && !IsIconic(w); }, 1043, false},   // iconic: restored (not the host)
    };
    for (auto& r : rows) {
        for (bool as_host : {true, false}) {
            if (as_host && !r.host_too) continue;
            HWND w = as_host ? test_window("TslWinHost", DefWindowProcA, "ZqShow target", r.style, 300, 200)
                             : other.make("ZqShow target", r.style);
            ASSERT_NE(nullptr, w);
            if (r.style & WS_MINIMIZE) ShowWindow(w, SW_SHOWMINNOACTIVE);
            std::string call = std::string(r.fn) + (as_host ? "(\"\")" : "(\"ZqShow target\")");
            EXPECT_EQ("1", eval(call, as_host ? w : NULL)) << "row at line " << r.line << " host " << as_host;
            if (as_host) EXPECT_TRUE(r.state(w)) << "the host window changes at once: line " << r.line;
            else EXPECT_TRUE(wait_for([&] { return r.state(w); })) << "row at line " << r.line;
            long error = 0;
            EXPECT_EQ("0", eval(std::string(r.fn) + "(\"ZqShow gone\")", NULL, &error));
            EXPECT_EQ(r.missing, error) << "row at line " << r.line;
            if (as_host) DestroyWindow(w);
            else PostMessageA(w, WM_CLOSE, 0, 0);
            wait_for([&] { return !IsWindow(w); });
        }
    }
}

TEST_F(WinTitles, WinTitleRenamesAndCutsAt256) {
    WindowThread other;
    HWND host_window = test_window("TslWinHost", DefWindowProcA, "ZqTitle host", WS_OVERLAPPEDWINDOW, 300, 200);
    HWND w = other.make("ZqTitle other");
    EXPECT_EQ("1", eval("WinTitle(\"ZqTitle o\", \"ZqTitle renamed\")", host_window));
    EXPECT_EQ("ZqTitle renamed", title_of(w));
    EXPECT_EQ("1", eval("WinTitle(\"\", \"ZqTitle host 2\")", host_window));
    EXPECT_EQ("ZqTitle host 2", title_of(host_window));
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "long", (LPARAM)std::string(300, 'x').c_str());
    EXPECT_EQ("1", eval("WinTitle(\"ZqTitle renamed\", long)", host_window));
    EXPECT_EQ(std::string(256, 'x'), title_of(w));
    long error = 0;
    eval("WinTitle(\"ZqTitle renamed\", \"x\")", host_window, &error);
    EXPECT_EQ(1121, error);
    DestroyWindow(host_window);
}

// WinCloseNot closes every titled window that none of its arguments names,
// except the host window. The other windows of the desktop are named by the
// first characters of their titles, so that only this test's windows go.
TEST_F(WinTitles, WinCloseNotClosesEveryWindowNotNamed) {
    WindowThread other;
    HWND host_window = test_window("TslWinHost", DefWindowProcA, "\x7f" "host", WS_OVERLAPPEDWINDOW, 300, 200);
    HWND keep_prefix = other.make("\x7f" "prefix 1"), keep_exact = other.make("\x7f" "keep exact");
    HWND go1 = other.make("\x7f" "go 1"), go2 = other.make("\x7f" "keep exact too");
    std::string all;
    EnumWindows(collect_titles, (LPARAM)&all);
    std::string firsts, args;
    for (size_t i = 0; i < all.size(); i = all.find('\t', i) + 1)
        if (all[i] != '\x7f' && firsts.find(all[i]) == std::string::npos) firsts += all[i];
    for (char c : firsts) args += std::string(c == '"' ? "'" : "\"") + c + (c == '"' ? "'" : "\"") + ", ";
    ASSERT_LT(args.size(), 200u) << "the list must fit a script line";
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "exact", (LPARAM) "\x7f" "keep exact~");
    // Three times over in a loop: the list is read again each time, from the line's remembered tokens too.
    host.run(crlf({"i = 0", ":again", "r = WinCloseNot(" + args + "\"\x7f" "pre\", exact)", "i = i + 1",
                   "if i < 3 then goto again"}), HostContext::echo_proc, HostContext::kEcho, host_window);
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("1", host.get("r"));
    EXPECT_EQ("3", host.get("i"));
    EXPECT_TRUE(wait_for([&] { return !IsWindow(go1) && !IsWindow(go2); }));
    EXPECT_TRUE(IsWindow(keep_prefix));
    EXPECT_TRUE(IsWindow(keep_exact));
    EXPECT_TRUE(IsWindow(host_window)) << "the host window is never closed";
    // Errors: nothing is closed when the list cannot be read.
    struct { int line; const char* call; long error; } rows[] = {
        {__LINE__, "WinCloseNot(\"\x7f\", 5)", 2038},          // a number
        {__LINE__, "WinCloseNot(\"\x7f\" \"x\")", 2038},       // no "," or ")"
        {__LINE__, "WinCloseNot(\"\x7f\", handle)", 3056},      // an open file has no text
    };
    TempDir dir("tslclosenot");
    write_file(dir.at("f.txt"), "x");
    host.run("handle = FileOpen(\"" + dir.at("f.txt") + "\", \"READ\")\r\n");
    for (auto& r : rows) {
        long error = 0;
        eval(r.call, host_window, &error);
        EXPECT_EQ(r.error, error) << "row at line " << r.line;
    }
    EXPECT_TRUE(IsWindow(keep_prefix));
    host.run("FileClose(handle)\r\n");
    DestroyWindow(host_window);
}

// WinWaitClose returns when the window goes (1), at once for a window that
// is not there (0), and on Ctrl+Break for one that stays.
TEST_F(WinTitles, WinWaitCloseReturnsWhenTheWindowGoesOrOnBreak) {
    WindowThread other;
    HWND w = other.make("ZqWait target");
    std::thread closer([w] { Sleep(300); PostMessageA(w, WM_CLOSE, 0, 0); });
    EXPECT_EQ("1", eval("WinWaitClose(\"ZqWait\")"));
    closer.join();
    EXPECT_FALSE(IsWindow(w));
    EXPECT_EQ("0", eval("WinWaitClose(\"ZqWait\")"));
    // Exclusive: no messages are handled between looks, but the wait still ends.
    HWND w2 = other.make("ZqWait exclusive");
    std::thread closer2([w2] { Sleep(300); PostMessageA(w2, WM_CLOSE, 0, 0); });
    host.run(crlf({"Exclusive(1)", "r = WinWaitClose(\"ZqWait\")", "Exclusive(0)"}));
    closer2.join();
    EXPECT_EQ("1", host.get("r"));
    HWND stays = other.make("ZqWait stays");
    HWND focus = test_window("TslWinHost", DefWindowProcA, "ZqWait host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300, 200);
    SetForegroundWindow(focus);
    SetFocus(focus);   // the keys reach this thread's key state through its focus window
    std::thread typist([] {
        Sleep(300);
        keybd_event(VK_CONTROL, 0, 0, 0);
        keybd_event(VK_CANCEL, 0, 0, 0);
        Sleep(200);
        keybd_event(VK_CANCEL, 0, KEYEVENTF_KEYUP, 0);
        keybd_event(VK_CONTROL, 0, KEYEVENTF_KEYUP, 0);
    });
    host.service(TSL_SERVICE_BREAK_REPORT, 0);
    host.run("r = WinWaitClose(\"ZqWait stays\")\r\n", HostContext::echo_proc, HostContext::kEcho, focus);
    typist.join();
    EXPECT_EQ(1, host.service(TSL_SERVICE_RUN_BREAK));
    EXPECT_TRUE(IsWindow(stays));
    DestroyWindow(focus);
}

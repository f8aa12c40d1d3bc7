// The window functions on windows this test makes (so that z-order and
// titles are exact) and on Wine's notepad, placing in virtual coordinates
// (0..1000 on both axes, integer division both ways) included. Not-found
// errors are left to the script test windows/window_errors. RUN_SERIAL: it
// steers, arranges and activates windows of the whole desktop.
#include "window_thread.h"

class Windows : public ScriptTest {
protected:
    WindowThread other;
    int sw = GetSystemMetrics(SM_CXSCREEN), sh = GetSystemMetrics(SM_CYSCREEN);
    HWND host_window(const char* title, DWORD style = WS_OVERLAPPEDWINDOW) {
        return test_window("TslWinHost", DefWindowProcA, title, style, 300, 200);
    }
    // A rectangle in virtual coordinates, as WinPosition ("," apart) or WinPlaceGet (" " apart) give it.
    std::string virt(const RECT& r, const char* sep) {
        return std::to_string(r.left * 1000 / sw) + sep + std::to_string(r.top * 1000 / sh) + sep +
               std::to_string(r.right * 1000 / sw) + sep + std::to_string(r.bottom * 1000 / sh);
    }
    RECT screen(int l, int t, int r, int b) { return {l * sw / 1000, t * sh / 1000, r * sw / 1000, b * sh / 1000}; }
};

static void raise_in_order(const std::vector<HWND>& top_first) {
    for (size_t i = top_first.size(); i-- > 0;)
        SetWindowPos(top_first[i], HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

static BOOL CALLBACK collect_titles(HWND w, LPARAM lp) {
    std::string t = title_of(w);
    if (!t.empty() && t != "WinOldAp") *(std::string*)lp += t + "\t";
    return TRUE;
}

// A pattern finds the first window in z-order whose title it starts (case
// counts), or whose whole title it equals in the "~" form; empty titles and
// "WinOldAp" are never found. An empty title means the host window; for
// IntControl 21 the main window (the host window of the context's first run).
TEST_F(Windows, PatternFindsFirstMatchInZOrder) {
    std::vector<HWND> w;
    for (const char* t : {"Zq Notepad - x", "Zq Note", "WinOldAp", "", "zq lower", "Zq Note~d"}) w.push_back(other.make(t));
    raise_in_order(w);
    struct { int line; const char* pattern; int found; } rows[] = {
        {__LINE__, "Zq Note", 0}, {__LINE__, "Zq", 0},         // both "Zq Note..." match: the upper one wins
        {__LINE__, "Zq Note~", 1}, {__LINE__, "Zq Notepad - x~", 0},   // the whole title
        {__LINE__, "Zq Notepad~", -1},       // the "~" form is no prefix
        {__LINE__, "Zq Note~d", 5}, {__LINE__, "Zq Note~d~", 5},   // a "~" that does not end the pattern is a character
        {__LINE__, "zq note", -1}, {__LINE__, "zq", 4},       // case counts
        {__LINE__, "Zq Notepad - x and more", -1},   // longer than every title
        {__LINE__, "WinOldAp", -1}, {__LINE__, "WinOld", -1},
    };
    for (auto& r : rows) {
        std::string p = std::string("\"") + r.pattern + "\"";
        EXPECT_EQ(r.found < 0 ? "0 0" : hwnd_text(w[r.found]) + " 1",
                  eval("StrCat(IntControl(21, " + p + ", \"\", \"\", \"\"), \" \", WinExist(" + p + "))"))
            << "row at line " << r.line;
    }
    raise_in_order({w[1], w[0]});   // now "Zq Note" is above "Zq Notepad - x"
    play({{__LINE__, "IntControl(21, \"Zq Note\", \"\", \"\", \"\")", hwnd_text(w[1])}, {__LINE__, "WinExist(\"\")", "0"}});
    play({{__LINE__, "WinExist(\"\")", "1"}}, w[4]);
    HostContext fresh;
    fresh.run("r = IntControl(21, \"\", \"\", \"\", \"\")\r\n", HostContext::echo_proc, HostContext::kEcho, w[2]);
    EXPECT_EQ(hwnd_text(w[2]), fresh.get("r"));
}

// WinItemize: the titled windows in z-order, each with a tab after it; a
// list that does not fit the string heap is 3096.
TEST_F(Windows, WinItemizeListsTitledWindowsInZOrder) {
    raise_in_order({other.make("ZqItem A"), other.make("ZqItem B"), other.make(""), other.make("WinOldAp")});
    std::string list = eval("WinItemize()"), expected;
    EnumWindows(collect_titles, (LPARAM)&expected);
    EXPECT_EQ(expected, list);
    EXPECT_EQ(0u, list.find("ZqItem A\tZqItem B\t")) << list;
    for (int i = 0; i < 12; ++i) other.make((std::to_string(i) + std::string(250, 'y')).c_str());
    HostContext small(&g_dll, "tslhosttest", "test host", 200, 2048);
    small.run("r = WinItemize()\r\n");
    EXPECT_EQ(3096, small.error());
}

// Every show-state function on the host window, changed at once (another
// program's window is posted a system command: the notepad test); an iconic
// window of another thread restored.
TEST_F(Windows, ShowStateFunctionsOnHostAndOtherWindows) {
    auto visible = [](HWND w) { return IsWindowVisible(w) != 0; };
    struct { int line; const char* fn; DWORD style; std::function<bool(HWND)> state; bool as_host; } rows[] = {
        {__LINE__, "WinHide", WS_OVERLAPPEDWINDOW | WS_VISIBLE, [&](HWND w) { return !visible(w); }, true},
        {__LINE__, "WinIconize", WS_OVERLAPPEDWINDOW | WS_VISIBLE, [](HWND w) { return IsIconic(w) != 0; }, true},
        {__LINE__, "WinZoom", WS_OVERLAPPEDWINDOW | WS_VISIBLE, [](HWND w) { return IsZoomed(w) != 0; }, true},
        {__LINE__, "WinShow", WS_OVERLAPPEDWINDOW, visible, true},   // hidden: shown
        {__LINE__, "WinShow", WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_MINIMIZE,
         [&](HWND w) { return visible(w) && !IsIconic(w); }, false},   // iconic: restored
    };
    for (auto& r : rows) {
        HWND w = r.as_host ? host_window("ZqShow target", r.style) : other.make("ZqShow target", r.style);
        if (r.style & WS_MINIMIZE) ShowWindow(w, SW_SHOWMINNOACTIVE);
        EXPECT_EQ("1", eval(std::string(r.fn) + (r.as_host ? "(\"\")" : "(\"ZqShow target\")"), r.as_host ? w : NULL))
            << "row at line " << r.line;
        EXPECT_TRUE(r.as_host ? r.state(w) : wait_for([&] { return r.state(w); })) << "row at line " << r.line;
        if (r.as_host) DestroyWindow(w);
        else PostMessageA(w, WM_CLOSE, 0, 0);
        wait_for([&] { return !IsWindow(w); });
    }
}

// WinCloseNot closes every titled window that none of its arguments names,
// except the host window. The other windows of the desktop are named by the
// first characters of their titles, so that only this test's windows go.
TEST_F(Windows, WinCloseNotClosesEveryWindowNotNamed) {
    HWND host_w = host_window("\x7f" "host");
    HWND keep_prefix = other.make("\x7f" "prefix 1"), keep_exact = other.make("\x7f" "keep exact");
    HWND go1 = other.make("\x7f" "go 1"), go2 = other.make("\x7f" "keep exact too");
    std::string all, firsts, args;
    EnumWindows(collect_titles, (LPARAM)&all);
    for (size_t i = 0; i < all.size(); i = all.find('\t', i) + 1)
        if (all[i] != '\x7f' && firsts.find(all[i]) == std::string::npos) firsts += all[i];
    for (char c : firsts) args += std::string(c == '"' ? "'" : "\"") + c + (c == '"' ? "'" : "\"") + ", ";
    ASSERT_LT(args.size(), 200u) << "the list must fit a script line";
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "exact", (LPARAM) "\x7f" "keep exact~");
    // Three times over in a loop: the list is read again each time, from the line's remembered tokens too.
    host.run(crlf({"i = 0", ":again", "r = WinCloseNot(" + args + "\"\x7f" "pre\", exact)", "i = i + 1",
                   "if i < 3 then goto again"}), HostContext::echo_proc, HostContext::kEcho, host_w);
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("1 3", host.get("r") + " " + host.get("i"));
    EXPECT_TRUE(wait_for([&] { return !IsWindow(go1) && !IsWindow(go2); }));
    EXPECT_TRUE(IsWindow(keep_prefix) && IsWindow(keep_exact));
    EXPECT_TRUE(IsWindow(host_w)) << "the host window is never closed";
    // Errors: nothing is closed when the list cannot be read.
    TempDir dir("tslclosenot");
    write_file(dir.at("f.txt"), "x");
    host.run("handle = FileOpen(\"" + dir.at("f.txt") + "\", \"READ\")\r\n");
    play({{__LINE__, "WinCloseNot(\"\x7f\", 5)", "0", 2038},            // a number
          {__LINE__, "WinCloseNot(\"\x7f\" \"x\")", "0", 2038},         // no "," or ")"
          {__LINE__, "WinCloseNot(\"\x7f\", handle)", "0", 3056}},      // an open file has no text
         host_w);
    EXPECT_TRUE(IsWindow(keep_prefix));
    host.run("FileClose(handle)\r\n");
    DestroyWindow(host_w);
}

// WinWaitClose returns when the window goes (1), also under Exclusive (no
// messages handled between looks), and on Ctrl+Break for one that stays.
TEST_F(Windows, WinWaitCloseReturnsWhenTheWindowGoesOrOnBreak) {
    for (bool exclusive : {false, true}) {
        HWND w = other.make("ZqWait target");
        std::thread closer([w] { Sleep(300); PostMessageA(w, WM_CLOSE, 0, 0); });
        host.run(crlf({exclusive ? "Exclusive(1)" : "", "r = WinWaitClose(\"ZqWait\")", "Exclusive(0)"}));
        closer.join();
        EXPECT_EQ("1", host.get("r")) << exclusive;
        EXPECT_FALSE(IsWindow(w));
    }
    HWND stays = other.make("ZqWait stays");
    HWND focus = host_window("ZqWait host", WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    SetForegroundWindow(focus);
    SetFocus(focus);   // the keys reach this thread's key state through its focus window
    std::thread typist([] { Sleep(300); ctrl_break(true); Sleep(200); ctrl_break(false); });
    host.service(TSL_SERVICE_BREAK_REPORT, 0);
    host.run("r = WinWaitClose(\"ZqWait stays\")\r\n", HostContext::echo_proc, HostContext::kEcho, focus);
    typist.join();
    EXPECT_EQ(1, host.service(TSL_SERVICE_RUN_BREAK));
    EXPECT_TRUE(IsWindow(stays));
    DestroyWindow(focus);
}

// WinParmSet gives the previous value and WinParmGet reads the new one;
// each setting is put back for this session only. The system's numbers.
TEST_F(Windows, SystemQuestionsAndSettings) {
    for (auto parm : std::vector<std::pair<std::string, std::string>>{{"1", "0"}, {"3", "7"}, {"5", "321"}, {"8", "777"}}) {
        std::string req = parm.first, value = parm.second, old = eval("WinParmGet(" + req + ")");
        play({{__LINE__, "WinParmSet(" + req + ", \"" + value + "\", 0)", old}, {__LINE__, "WinParmGet(" + req + ")", value},
              {__LINE__, "WinParmSet(" + req + ", \"" + old + "\", 0)", value}, {__LINE__, "WinParmGet(" + req + ")", old}});
    }
    DWORD v = GetVersion();
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "smlimit", (LPARAM)std::to_string(SM_CMETRICS).c_str());
    play({{__LINE__, "WinVersion(@major)", std::to_string(LOBYTE(LOWORD(v)))},
          {__LINE__, "WinVersion(@minor)", std::to_string(HIBYTE(LOWORD(v)))},
          {__LINE__, "WinMetrics(0)", std::to_string(GetSystemMetrics(SM_CXSCREEN))},
          {__LINE__, "WinMetrics(4)", std::to_string(GetSystemMetrics(SM_CYCAPTION))},
          {__LINE__, "WinHelp(\"x.hlp\", \"quit\", \"\")", "1"},   // nothing to quit is no failure
          {__LINE__, "WinMetrics(-1)", "0", 3124}, {__LINE__, "WinMetrics(smlimit)", "0", 3124},
          {__LINE__, "WinResources(5)", "0", 3197}, {__LINE__, "WinResources(-1)", "0", 3197},
          {__LINE__, "WinParmGet(0)", "0", 3198}, {__LINE__, "WinParmGet(10)", "0", 3198},
          {__LINE__, "WinParmSet(10, \"1\", 0)", "0", 3198}, {__LINE__, "WinHelp(\"x.hlp\", \"NOSUCH\", \"\")", "0", 1217}});
    int free_percent = atoi(eval("WinResources(0)").c_str());
    EXPECT_TRUE(free_percent >= 0 && free_percent <= 100) << free_percent;
    EXPECT_GT(atoi(eval("WinResources(4)").c_str()), atoi(eval("WinResources(3)").c_str()) - 1);
}

// WinName, WinState, WinExeName, WinIsDos and FindWindow; WinActivate brings
// a window forward and restores it from an icon, and an empty title means
// the host window's parent; WinTitle.
TEST_F(Windows, NameStateProgramAndActivation) {
    HWND mine = host_window("ZqSys host", WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    HWND child = CreateWindowA("STATIC", "child", WS_CHILD | WS_VISIBLE, 0, 0, 50, 20, mine, NULL, NULL, NULL);
    HWND hidden = other.make("ZqSys hidden");
    HWND shown = other.make("ZqSys shown", WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    char exe[MAX_PATH];
    GetModuleFileNameA(NULL, exe, sizeof exe);
    play({{__LINE__, "WinName()", "ZqSys host"}, {__LINE__, "WinExeName(\"\")", exe}}, mine);
    play({{__LINE__, "WinName()", ""},
          {__LINE__, "WinState(\"ZqSys none\")", "0"},
          {__LINE__, "WinState(\"ZqSys hidden\")", "-1"},
          {__LINE__, "WinState(\"ZqSys shown\")", "2"},
          {__LINE__, "WinExeName(\"ZqSys hidden\")", exe},
          {__LINE__, "WinIsDos(\"ZqSys hidden\")", "0"},
          {__LINE__, "FindWindow(\"TslWinOther\")", title_of(FindWindowA("TslWinOther", NULL))},
          {__LINE__, "FindWindow(\"TslWinHost\")", "ZqSys host"},
          {__LINE__, "FindWindow(\"TslNoSuchClass\")", ""}});
    ShowWindow(shown, SW_SHOWMAXIMIZED);
    play({{__LINE__, "WinState(\"ZqSys shown\")", "3"}});
    ShowWindow(shown, SW_SHOWMINNOACTIVE);
    play({{__LINE__, "WinState(\"ZqSys shown\")", "1"},
          {__LINE__, "WinActivate(\"ZqSys sh\")", "1", 0, [&] { return !IsIconic(shown) && GetForegroundWindow() == shown; }},
          {__LINE__, "WinGetActive()", "ZqSys shown"}});
    play({{__LINE__, "WinActivate(\"\")", "1", 0, [&] { return GetForegroundWindow() == mine; }}}, child);
    // WinTitle renames another window or the host window and cuts at 256.
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "long", (LPARAM)std::string(300, 'x').c_str());
    play({{__LINE__, "WinTitle(\"ZqSys hid\", \"ZqSys renamed\")", "1", 0, [&] { return title_of(hidden) == "ZqSys renamed"; }},
          {__LINE__, "WinTitle(\"\", \"ZqSys host 2\")", "1", 0, [&] { return title_of(mine) == "ZqSys host 2"; }},
          {__LINE__, "WinTitle(\"ZqSys renamed\", long)", "1", 0, [&] { return title_of(hidden) == std::string(256, 'x'); }}},
         mine);
    DestroyWindow(mine);
}

// Ten searches a second apart, then error 1045.
TEST_F(Windows, WinActivateOfAMissingWindowGivesUpAfterNineSeconds) {
    DWORD start = GetTickCount();
    eval("WinActivate(\"ZqActivate nowhere\")", NULL, 1045);
    DWORD took = GetTickCount() - start;
    EXPECT_GE(took, 8900u);
    EXPECT_LT(took, 12000u);
}

// A program is found by its file name with or without path and extension,
// and so is a library that some program has loaded.
TEST_F(Windows, AppExistByFileNameOfProgramsAndModules) {
    char exe[MAX_PATH];
    GetModuleFileNameA(NULL, exe, sizeof exe);
    std::string path = exe, file = path.substr(path.rfind('\\') + 1), stem = file.substr(0, file.rfind('.'));
    auto app = [](const std::string& name) { return "AppExist(\"" + name + "\")"; };
    play({{__LINE__, app(path), "1"}, {__LINE__, app(file), "1"}, {__LINE__, app(stem), "1"}, {__LINE__, app("X" + file), "0"},
          {__LINE__, app("C:\\elsewhere\\" + file), "1"},           // the directory is not compared
          {__LINE__, app("TSLPR32I.DLL"), "1"}, {__LINE__, app("tslpr32i"), "1"},   // a module of this program
          {__LINE__, app(stem + ".dll"), "0"},                      // an extension given must match
          {__LINE__, app("tslnosuchprogram.exe"), "0"}, {__LINE__, app(""), "0"}});
}

// SendMenusTo finds an item by its text through the submenus and posts its
// command; "&", the hot-key text after a tab, a trailing "..." and the case
// of letters do not count. A submenu is no command.
TEST_F(Windows, SendMenusToPostsTheItemsCommand) {
    HMENU bar = CreateMenu(), file = CreatePopupMenu(), deeper = CreatePopupMenu();
    AppendMenuA(file, MF_STRING, 101, "&Open...\tCtrl+O");
    AppendMenuA(file, MF_STRING, 102, "Save &As...");
    AppendMenuA(deeper, MF_STRING, 103, "Fish && Chips");
    AppendMenuA(file, MF_POPUP, (UINT_PTR)deeper, "&More");
    AppendMenuA(bar, MF_POPUP, (UINT_PTR)file, "&File");
    AppendMenuA(bar, MF_STRING, 104, "&Help");
    other.make("ZqMenu target", WS_OVERLAPPEDWINDOW | WS_VISIBLE, bar);
    struct { int line; const char* item; UINT id; } rows[] = {
        {__LINE__, "Open", 101}, {__LINE__, "&Open...\tCtrl+O", 101}, {__LINE__, "open...", 101},
        {__LINE__, "Save As", 102}, {__LINE__, "SAVE AS...", 102}, {__LINE__, "Fish & Chips", 103},
        {__LINE__, "Fish && Chips", 103}, {__LINE__, "Help", 104},
    };
    for (auto& r : rows) {
        WindowThread::last_command = 0;
        play({{r.line, std::string("SendMenusTo(\"ZqMenu target\", \"") + r.item + "\")", "1", 0,
               [&] { return WindowThread::last_command == r.id; }}});
    }
    play({{__LINE__, "SendMenusTo(\"ZqMenu target\", \"More\")", "0", 1316},
          {__LINE__, "SendMenusTo(\"ZqMenu target\", \"Close\")", "0", 1316}});
}

// The target of the placing tests takes any size it is given (no minimum of
// its own), so that the sizes the interpreter asks for are the sizes seen.
static LRESULT CALLBACK any_size(HWND w, UINT m, WPARAM wp, LPARAM lp) {
    if (m == WM_GETMINMAXINFO) ((MINMAXINFO*)lp)->ptMinTrackSize = POINT{1, 1};
    return DefWindowProcA(w, m, wp, lp);
}

class WinPlace : public Windows {
protected:
    HWND target = NULL;
    int min_w = GetSystemMetrics(SM_CXMINTRACK), min_h = GetSystemMetrics(SM_CYMINTRACK);
    void SetUp() override {
        Windows::SetUp();
        target = test_window("TslWinPlace", any_size, "ZqPlace target", WS_POPUP | WS_VISIBLE, 300, 200);
    }
    void TearDown() override { DestroyWindow(target); Windows::TearDown(); }
    int px(int v) { return v * sw / 1000; }
    int py(int v) { return v * sh / 1000; }
};

// WinPlace with each clamping step, read back by WinPosition (an iconic or
// zoomed window is not placed: the notepad test).
TEST_F(WinPlace, WinPlaceClampsEachStep) {
    RECT work;
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    int icons = work.bottom - GetSystemMetrics(SM_CYMINSPACING);
    // Each row starts from the window at 10,10 sized 300 x 200.
    struct { int line; const char* v; RECT expected; } rows[] = {
        {__LINE__, "0, 0, 500, 500", {0, 0, px(500), py(500)}},
        {__LINE__, "250, 100, 750, 900", {px(250), py(100), px(750), py(900)}},
        // -999; the width is cut to the screen's, then the left edge raised to (minimum - width)
        {__LINE__, "-5000, 0, 500, 500", {min_w - sw, 0, min_w, py(500)}},
        // 2000: the left and top edges come back to leave a minimum window on the screen
        {__LINE__, "2000, 2000, 3000, 3000", {sw - min_w, sh - min_h, 2 * sw - min_w, 2 * sh - min_h}},
        {__LINE__, "100, 100, 0, 0", {px(100), py(100), px(100) + 300, py(100) + 200}},   // 0, 0 keep the size
        {__LINE__, "100, 100, 101, 101", {px(100), py(100), px(100) + min_w, py(100) + min_h}},
        {__LINE__, "100, 200, 600, 1", {px(100), py(200), px(600), icons}},      // @aboveicons
        {__LINE__, "0, 0, 0, 0", {0, 0, 300, 200}},
        {__LINE__, "-999, -999, -999, -999", {min_w - sw, min_h - sh, min_w, min_h}},
    };
    for (auto& r : rows) {
        SetWindowPos(target, NULL, 10, 10, 300, 200, SWP_NOZORDER | SWP_NOACTIVATE);
        EXPECT_EQ("1", eval(std::string("WinPlace(") + r.v + ", \"ZqPlace\")", target)) << "row at line " << r.line;
        EXPECT_EQ(rect_text(r.expected), rect_text(window_rect(target))) << "row at line " << r.line;
        EXPECT_EQ(virt(window_rect(target), ","), eval("WinPosition(\"ZqPlace\")", target)) << "row at line " << r.line;
    }
}

// WinPlaceSet gives the part as it was, WinPlaceGet the part as it is now;
// blanks and signs before the numbers, a fifth number ignored; the iconic
// and zoomed positions; the numbered errors (a real 27981 counts as missing).
TEST_F(WinPlace, PlaceSetReturnsTheOldPartAndGetReadsTheNew) {
    auto v = [](int p, int size) { return std::to_string(p * 1000 / size); };
    auto at = [&](RECT want) { return [&, want] { return rect_text(want) == rect_text(window_rect(target)); }; };
    SetWindowPos(target, NULL, 0, 0, sw / 2, sh / 2, SWP_NOZORDER | SWP_NOACTIVATE);
    std::string before = "0 0 " + v(sw / 2, sw) + " " + v(sh / 2, sh);
    play({{__LINE__, "WinPlaceGet(@normal, \"ZqPlace\")", before},
          {__LINE__, "WinPlaceSet(@normal, \"ZqPlace\", \"100 100 600 700\")", before, 0, at(screen(100, 100, 600, 700))},
          {__LINE__, "WinPlaceGet(@normal, \"ZqPlace\")", virt(screen(100, 100, 600, 700), " ")},
          {__LINE__, "WinPlaceSet(@normal, \"ZqPlace\", \"  -10  20 500 600 9\")", virt(screen(100, 100, 600, 700), " "), 0,
           at({px(-10), py(20), px(500), py(600)})}}, target);
    eval("WinPlaceSet(@icon, \"ZqPlace\", \"100 200\")", target);
    eval("WinPlaceSet(@zoomed, \"ZqPlace\", \"0 0\")", target);
    play({{__LINE__, "WinPlaceGet(@icon, \"ZqPlace\")", v(px(100), sw) + " " + v(py(200), sh)},
          {__LINE__, "WinPlaceGet(@zoomed, \"ZqPlace\")", "0 0"},
          {__LINE__, "WinPlaceSet(@normal, \"ZqPlace none\", \"1 2 3 4\")", "0", 1200},
          {__LINE__, "WinPlaceGet(0, \"ZqPlace\")", "0", 3199},
          {__LINE__, "WinPlaceSet(4, \"ZqPlace\", \"1 2\")", "0", 3199},
          {__LINE__, "WinPlaceSet(@icon, \"ZqPlace\", \"1 2 3\")", "0", 3202},
          {__LINE__, "WinPlaceSet(@zoomed, \"ZqPlace\", \"1\")", "0", 3202},
          {__LINE__, "WinPlaceSet(@icon, \"ZqPlace\", \"27981 5\")", "0", 3202},
          {__LINE__, "WinPlaceSet(@normal, \"ZqPlace\", \"1 2 27981 4\")", "0", 3202}},
         target);
}

// WinArrange lays out the visible, normal windows over the work area.
TEST_F(WinPlace, WinArrangeLaysWindowsOut) {
    std::vector<HWND> w;
    for (const char* t : {"ZqArrange 1", "ZqArrange 2", "ZqArrange 3"}) w.push_back(other.make(t, WS_OVERLAPPEDWINDOW | WS_VISIBLE));
    HWND iconic = other.make("ZqArrange iconic", WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    ShowWindow(iconic, SW_SHOWMINNOACTIVE);
    std::string iconic_before = rect_text(window_rect(iconic));
    RECT work;
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    struct { int line; const char* style; bool same_left, same_top, full_width, full_height; } rows[] = {
        {__LINE__, "@rows", true, false, true, false},
        {__LINE__, "@columns", false, true, false, true},
        {__LINE__, "@stack", false, false, false, false},
        {__LINE__, "@tile", false, false, false, false},
        {__LINE__, "@arrange", false, false, false, false},
    };
    for (auto& r : rows) {
        SCOPED_TRACE(r.line);
        EXPECT_GE(atoi(eval(std::string("WinArrange(") + r.style + ")", target).c_str()), 4) << "three windows, the host's too";
        std::vector<RECT> rc;
        for (HWND h : w) {
            rc.push_back(window_rect(h));
            RECT in;
            IntersectRect(&in, &rc.back(), &work);
            EXPECT_EQ(rect_text(rc.back()), rect_text(in)) << "inside the work area";
            if (r.full_width) { EXPECT_EQ(work.right - work.left, rc.back().right - rc.back().left); }
            if (r.full_height) { EXPECT_EQ(work.bottom - work.top, rc.back().bottom - rc.back().top); }
        }
        for (size_t i = 0; i < w.size(); ++i)
            for (size_t j = i + 1; j < w.size(); ++j) {
                RECT both;
                EXPECT_EQ(strcmp(r.style, "@stack") == 0, IntersectRect(&both, &rc[i], &rc[j]) != 0)
                    << "cascaded windows overlap, tiled ones do not";
                if (r.same_left) { EXPECT_EQ(rc[i].left, rc[j].left); }
                if (r.same_top) { EXPECT_EQ(rc[i].top, rc[j].top); }
            }
        EXPECT_EQ(iconic_before, rect_text(window_rect(iconic))) << "an iconic window stays";
    }
}

// Wine's notepad steered as a user's script would, from start to close.
class WinNotepad : public Windows {
protected:
    PROCESS_INFORMATION pi = {};
    HWND pad = NULL;
    void SetUp() override {
        Windows::SetUp();
        STARTUPINFOA si = {};
        si.cb = sizeof si;
        char cmd[] = "notepad.exe";
        ASSERT_TRUE(CreateProcessA(NULL, cmd, NULL, NULL, FALSE, 0, NULL, NULL, &si, &pi));
        ASSERT_TRUE(wait_for([&] { return (pad = FindWindowA("Notepad", "Untitled - Notepad")) && IsWindowVisible(pad); }));
    }
    void TearDown() override {
        if (WaitForSingleObject(pi.hProcess, 0) != WAIT_OBJECT_0) TerminateProcess(pi.hProcess, 1);
        CloseHandle(pi.hProcess);
        CloseHandle(pi.hThread);
        Windows::TearDown();
    }
};

TEST_F(WinNotepad, AScriptSteersNotepadFromStartToClose) {
    RECT want = screen(100, 100, 600, 700);
    auto placed = [&] { return rect_text(window_rect(pad)) == rect_text(want); };
    HWND edit = FindWindowExA(pad, NULL, "Edit", NULL);
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "edit", (LPARAM)hwnd_text(edit).c_str());
    std::string exe = eval("WinExeName(\"Untitled\")");
    for (auto& c : exe) c = (char)tolower((unsigned char)c);
    EXPECT_EQ("\\notepad.exe", exe.substr(exe.size() - 12)) << exe;
    play({// Found by its program and its title.
          {__LINE__, "AppExist(\"notepad\")", "1"}, {__LINE__, "AppExist(\"NOTEPAD.EXE\")", "1"},
          {__LINE__, "WinExist(\"Untitled - Notepad~\")", "1"}, {__LINE__, "WinExist(\"untitled\")", "0"},
          {__LINE__, "WinIsDos(\"Untitled\")", "0"}, {__LINE__, "FindWindow(\"Notepad\")", "Untitled - Notepad"},
          {__LINE__, "IntControl(25, \"Notepad\", \"Edit\", \"Button\", \"\")", "1 0 0"},
          // Retitled, placed, read back; another program's placement cannot be written here.
          {__LINE__, "WinTitle(\"Untitled - Notepad\", \"TSL pad\")", "1", 0, [&] { return title_of(pad) == "TSL pad"; }},
          {__LINE__, "WinPlace(100, 100, 600, 700, \"TSL pad\")", "1", 0, placed},
          {__LINE__, "WinPosition(\"TSL pad\")", virt(want, ",")},
          {__LINE__, "WinPlaceGet(@normal, \"TSL pad\")", virt(want, " ")},
          {__LINE__, "WinPlaceSet(@normal, \"TSL pad\", \"0 0 500 500\")", "0", 1201},
          // Iconized, zoomed and restored by posted system commands; neither state can be placed.
          {__LINE__, "WinIconize(\"TSL pad\")", "1", 0, [&] { return IsIconic(pad) != 0; }},
          {__LINE__, "WinState(\"TSL pad\")", "1"}, {__LINE__, "WinPlace(0, 0, 1000, 1000, \"TSL pad\")", "0"},
          {__LINE__, "WinZoom(\"TSL pad\")", "1", 0, [&] { return IsZoomed(pad) != 0; }},
          {__LINE__, "WinState(\"TSL pad\")", "3"}, {__LINE__, "WinPlace(0, 0, 500, 500, \"TSL pad\")", "0"},
          {__LINE__, "WinShow(\"TSL pad\")", "1", 0, [&] { return !IsZoomed(pad) && !IsIconic(pad) && placed(); }},
          // Activated. Its menus belong to its own process: under Wine no other
          // process can read them, so SendMenusTo finds no menu there.
          {__LINE__, "WinActivate(\"TSL pad\")", "1", 0, [&] { return GetForegroundWindow() == pad; }},
          {__LINE__, "WinGetActive()", "TSL pad"}, {__LINE__, "SendMenusTo(\"TSL pad\", \"Time/Date\")", "0", 1315},
          // Text handed to its edit control by IntControl 22 (WM_SETTEXT with a copy of the text).
          {__LINE__, "IntControl(22, edit, \"12\", \"0\", \"set by a script\")", "1", 0,
           [&] { char t[64] = ""; SendMessageA(edit, WM_GETTEXT, sizeof t, (LPARAM)t); return !strcmp(t, "set by a script"); }},
          // Hidden (at once) and shown again.
          {__LINE__, "WinHide(\"TSL pad\")", "1", 0, [&] { return !IsWindowVisible(pad); }},
          {__LINE__, "WinState(\"TSL pad\")", "-1"},
          {__LINE__, "WinShow(\"TSL pad\")", "1", 0, [&] { return IsWindowVisible(pad) != 0; }}});
    // Closing, notepad first puts its own title back ("Untitled - Notepad"),
    // then takes about two seconds to go: the script waits for that title.
    host.run(crlf({"WinTitle(\"TSL pad\", \"Untitled - Notepad\")", "WinClose(\"Untitled\")",
                   "waited = WinWaitClose(\"Untitled\")"}));
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("1", host.get("waited"));
    EXPECT_FALSE(IsWindow(pad));
}

// AppWaitClose waits for the program itself, which ends after its window.
TEST_F(WinNotepad, AppWaitCloseReturnsWhenTheProgramHasEnded) {
    host.run(crlf({"WinClose(\"Untitled - Notepad\")", "app = AppWaitClose(\"notepad\")", "after = AppExist(\"notepad\")"}));
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("1 0", host.get("app") + " " + host.get("after"));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(pi.hProcess, 0)) << "notepad has ended";
}

// A console program's window is told apart from other windows by WinIsDos.
TEST_F(WinNotepad, WinIsDosKnowsAConsoleWindow) {
    STARTUPINFOA si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION cmd = {};
    char line[] = "cmd.exe", sys[MAX_PATH];
    ASSERT_TRUE(CreateProcessA(NULL, line, NULL, NULL, FALSE, CREATE_NEW_CONSOLE, NULL, NULL, &si, &cmd));
    GetSystemDirectoryA(sys, sizeof sys);
    std::string title = std::string(sys) + "\\cmd.exe";
    ASSERT_TRUE(wait_for([&] { return FindWindowA(NULL, title.c_str()) != NULL; })) << title;
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "console", (LPARAM)(title + "~").c_str());
    play({{__LINE__, "WinIsDos(console)", "1"}, {__LINE__, "WinIsDos(\"Untitled - Notepad\")", "0"}});
    TerminateProcess(cmd.hProcess, 0);
    WaitForSingleObject(cmd.hProcess, 10000);
    CloseHandle(cmd.hProcess);
    CloseHandle(cmd.hThread);
}

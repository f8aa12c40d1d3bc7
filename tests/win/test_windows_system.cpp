// The questions about the system and the smaller window functions: WinVersion,
// WinConfig, WinMetrics, WinResources, WinParmGet/WinParmSet, WinName,
// WinHelp, FindWindow, WinState, WinIsDos, WinExeName, WinGetActive,
// WinActivate, AppExist and AppWaitClose with this test's own program and
// modules, SendMenusTo on a window with a menu. RUN_SERIAL: it activates windows.
#include "window_thread.h"

class WinSystem : public DllTest {
protected:
    HostContext host;
    void SetUp() override { g_dll.console(1); }
    void TearDown() override { g_dll.console(0); }
    std::string eval(const std::string& expr, long* error = nullptr, HWND owner = NULL) {
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "r", (LPARAM) "<unset>");
        host.run("r = " + expr + "\r\n", HostContext::echo_proc, HostContext::kEcho, owner);
        if (error) *error = host.error();
        else EXPECT_EQ(0, host.error()) << expr;
        return host.get("r");
    }
};

TEST_F(WinSystem, VersionConfigMetricsResources) {
    DWORD v = GetVersion();
    EXPECT_EQ(std::to_string(LOBYTE(LOWORD(v))), eval("WinVersion(@major)"));
    EXPECT_EQ(std::to_string(HIBYTE(LOWORD(v))), eval("WinVersion(@minor)"));
    EXPECT_EQ("45", eval("WinConfig()"));
    EXPECT_EQ(std::to_string(GetSystemMetrics(SM_CXSCREEN)), eval("WinMetrics(0)"));
    EXPECT_EQ(std::to_string(GetSystemMetrics(SM_CYCAPTION)), eval("WinMetrics(4)"));
    int free_percent = atoi(eval("WinResources(0)").c_str());
    EXPECT_TRUE(free_percent >= 0 && free_percent <= 100) << free_percent;
    EXPECT_GT(atoi(eval("WinResources(4)").c_str()), atoi(eval("WinResources(3)").c_str()) - 1);
    struct { int line; const char* call; long error; } rows[] = {
        {__LINE__, "WinMetrics(-1)", 3124},      {__LINE__, "WinMetrics(smlimit)", 3124},
        {__LINE__, "WinResources(5)", 3197},     {__LINE__, "WinResources(-1)", 3197},
        {__LINE__, "WinParmGet(0)", 3198},       {__LINE__, "WinParmGet(10)", 3198},
        {__LINE__, "WinParmSet(10, \"1\", 0)", 3198},
        {__LINE__, "WinHelp(\"x.hlp\", \"NOSUCH\", \"\")", 1217},
    };
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "smlimit", (LPARAM)std::to_string(SM_CMETRICS).c_str());
    for (auto& r : rows) {
        long error = 0;
        eval(r.call, &error);
        EXPECT_EQ(r.error, error) << "row at line " << r.line;
    }
    EXPECT_EQ("1", eval("WinHelp(\"x.hlp\", \"quit\", \"\")")) << "nothing to quit is no failure";
}

// WinParmSet gives the previous value and WinParmGet reads the new one; each
// setting is put back for this session only.
TEST_F(WinSystem, ParmSetAndGetRoundTrip) {
    struct { int line; int request; const char* value; } rows[] = {
        {__LINE__, 1, "0"}, {__LINE__, 3, "7"}, {__LINE__, 5, "321"}, {__LINE__, 8, "777"},
    };
    for (auto& r : rows) {
        std::string req = std::to_string(r.request);
        std::string old = eval("WinParmGet(" + req + ")");
        EXPECT_EQ(old, eval("WinParmSet(" + req + ", \"" + r.value + "\", 0)")) << "row at line " << r.line;
        EXPECT_EQ(r.value, eval("WinParmGet(" + req + ")")) << "row at line " << r.line;
        eval("WinParmSet(" + req + ", \"" + old + "\", 0)");
        EXPECT_EQ(old, eval("WinParmGet(" + req + ")")) << "row at line " << r.line;
    }
}

TEST_F(WinSystem, NameStateDosExeNameFindWindow) {
    WindowThread other;
    HWND host_window = test_window("TslWinSysHost", DefWindowProcA, "ZqSys host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300, 200);
    HWND hidden = other.make("ZqSys hidden"), shown = other.make("ZqSys shown", WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    EXPECT_EQ("ZqSys host", eval("WinName()", nullptr, host_window));
    EXPECT_EQ("", eval("WinName()"));
    struct { int line; const char* title; std::function<void()> before; const char* state; } rows[] = {
        {__LINE__, "ZqSys none", [] {}, "0"},
        {__LINE__, "ZqSys hidden", [] {}, "-1"},
        {__LINE__, "ZqSys shown", [] {}, "2"},
        {__LINE__, "ZqSys shown", [&] { ShowWindow(shown, SW_SHOWMINNOACTIVE); }, "1"},
        {__LINE__, "ZqSys shown", [&] { ShowWindow(shown, SW_SHOWMAXIMIZED); }, "3"},
    };
    for (auto& r : rows) {
        r.before();
        EXPECT_EQ(r.state, eval(std::string("WinState(\"") + r.title + "\")")) << "row at line " << r.line;
    }
    char exe[MAX_PATH];
    GetModuleFileNameA(NULL, exe, sizeof exe);
    EXPECT_EQ(exe, eval("WinExeName(\"ZqSys hidden\")"));
    EXPECT_EQ(exe, eval("WinExeName(\"\")", nullptr, host_window));
    EXPECT_EQ("0", eval("WinIsDos(\"ZqSys hidden\")"));
    EXPECT_EQ(title_of(FindWindowA("TslWinOther", NULL)), eval("FindWindow(\"TslWinOther\")"));
    EXPECT_EQ("ZqSys host", eval("FindWindow(\"TslWinSysHost\")"));
    EXPECT_EQ("", eval("FindWindow(\"TslNoSuchClass\")"));
    long error = 0;
    eval("WinExeName(\"ZqSys none\")", &error);
    EXPECT_EQ(1172, error);
    eval("WinIsDos(\"ZqSys none\")", &error);
    EXPECT_EQ(1227, error);
    DestroyWindow(host_window);
    (void)hidden;
}

// WinActivate brings a window forward and restores it from an icon; an empty
// title means the host window's parent.
TEST_F(WinSystem, WinActivateRestoresAndActivates) {
    WindowThread other;
    HWND w = other.make("ZqActivate target", WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    ShowWindow(w, SW_SHOWMINNOACTIVE);
    EXPECT_EQ("1", eval("WinActivate(\"ZqActivate\")"));
    EXPECT_TRUE(wait_for([&] { return !IsIconic(w) && GetForegroundWindow() == w; }));
    EXPECT_EQ("ZqActivate target", eval("WinGetActive()"));
    HWND parent = test_window("TslWinSysHost", DefWindowProcA, "ZqActivate parent", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300, 200);
    HWND child = CreateWindowA("STATIC", "host", WS_CHILD | WS_VISIBLE, 0, 0, 50, 20, parent, NULL, NULL, NULL);
    EXPECT_EQ("1", eval("WinActivate(\"\")", nullptr, child));
    EXPECT_TRUE(wait_for([&] { return GetForegroundWindow() == parent; }));
    DestroyWindow(parent);
}

// Ten searches a second apart, then error 1045.
TEST_F(WinSystem, WinActivateOfAMissingWindowGivesUpAfterNineSeconds) {
    long error = 0;
    DWORD start = GetTickCount();
    eval("WinActivate(\"ZqActivate nowhere\")", &error);
    DWORD took = GetTickCount() - start;
    EXPECT_EQ(1045, error);
    EXPECT_GE(took, 8900u);
    EXPECT_LT(took, 12000u);
}

// A program is found by its file name with or without path and extension,
// and so is a library that some program has loaded.
TEST_F(WinSystem, AppExistByFileNameOfProgramsAndModules) {
    char exe[MAX_PATH];
    GetModuleFileNameA(NULL, exe, sizeof exe);
    std::string path = exe, file = path.substr(path.rfind('\\') + 1), stem = file.substr(0, file.rfind('.'));
    struct { int line; std::string name; const char* found; } rows[] = {
        {__LINE__, path, "1"}, {__LINE__, file, "1"}, {__LINE__, stem, "1"},
        {__LINE__, "C:\\elsewhere\\" + file, "1"},           // the directory is not compared
        {__LINE__, std::string("X") + file, "0"},
        {__LINE__, "TSLPR32I.DLL", "1"},                     // a module of this program
        {__LINE__, "tslpr32i", "1"},
        {__LINE__, stem + ".dll", "0"},                      // an extension given must match
        {__LINE__, "tslnosuchprogram.exe", "0"},
        {__LINE__, "", "0"},
    };
    for (auto& r : rows) {
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "name", (LPARAM)r.name.c_str());
        EXPECT_EQ(r.found, eval("AppExist(name)")) << "row at line " << r.line << ": " << r.name;
    }
    EXPECT_EQ("0", eval("AppWaitClose(\"tslnosuchprogram\")")) << "not running: at once";
}

// SendMenusTo finds an item by its text through the submenus and posts its
// command; "&", the hot-key text after a tab, a trailing "..." and the case
// of letters do not count.
TEST_F(WinSystem, SendMenusToPostsTheItemsCommand) {
    HMENU bar = CreateMenu(), file = CreatePopupMenu(), deeper = CreatePopupMenu();
    AppendMenuA(file, MF_STRING, 101, "&Open...\tCtrl+O");
    AppendMenuA(file, MF_STRING, 102, "Save &As...");
    AppendMenuA(deeper, MF_STRING, 103, "Fish && Chips");
    AppendMenuA(file, MF_POPUP, (UINT_PTR)deeper, "&More");
    AppendMenuA(bar, MF_POPUP, (UINT_PTR)file, "&File");
    AppendMenuA(bar, MF_STRING, 104, "&Help");
    WindowThread other;
    HWND w = other.make("ZqMenu target", WS_OVERLAPPEDWINDOW | WS_VISIBLE, bar);
    HWND plain = other.make("ZqMenu plain", WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    struct { int line; const char* item; UINT id; } rows[] = {
        {__LINE__, "Open", 101}, {__LINE__, "&Open...\tCtrl+O", 101}, {__LINE__, "open...", 101},
        {__LINE__, "Save As", 102}, {__LINE__, "SAVE AS...", 102}, {__LINE__, "Fish & Chips", 103},
        {__LINE__, "Fish && Chips", 103}, {__LINE__, "Help", 104},
    };
    for (auto& r : rows) {
        WindowThread::last_command = 0;
        EXPECT_EQ("1", eval(std::string("SendMenusTo(\"ZqMenu target\", \"") + r.item + "\")")) << "row at line " << r.line;
        EXPECT_TRUE(wait_for([&] { return WindowThread::last_command == r.id; })) << "row at line " << r.line;
    }
    struct { int line; const char* call; long error; } errors[] = {
        {__LINE__, "SendMenusTo(\"ZqMenu none\", \"Open\")", 1045},
        {__LINE__, "SendMenusTo(\"ZqMenu plain\", \"Open\")", 1315},
        {__LINE__, "SendMenusTo(\"ZqMenu target\", \"More\")", 1316},   // a submenu is no command
        {__LINE__, "SendMenusTo(\"ZqMenu target\", \"Close\")", 1316},
    };
    for (auto& r : errors) {
        long error = 0;
        eval(r.call, &error);
        EXPECT_EQ(r.error, error) << "row at line " << r.line;
    }
    (void)w; (void)plain;
}

// The window functions against a real program, Wine's notepad, driven as a
// user's script would: found by title, retitled, placed and read back,
// iconized, zoomed, restored, activated, a menu item chosen, closed, and
// waited for. RUN_SERIAL: it activates windows of the desktop.
#include "window_thread.h"

class WinNotepad : public DllTest {
protected:
    HostContext host;
    PROCESS_INFORMATION pi = {};
    HWND pad = NULL;
    int sw = GetSystemMetrics(SM_CXSCREEN), sh = GetSystemMetrics(SM_CYSCREEN);
    void SetUp() override {
        g_dll.console(1);
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
        g_dll.console(0);
    }
    std::string eval(const std::string& expr, long* error = nullptr) {
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "r", (LPARAM) "<unset>");
        host.run("r = " + expr + "\r\n");
        if (error) *error = host.error();
        else EXPECT_EQ(0, host.error()) << expr;
        return host.get("r");
    }
    std::string virt(const RECT& r, const char* sep) {
        return std::to_string(r.left * 1000 / sw) + sep + std::to_string(r.top * 1000 / sh) + sep +
               std::to_string(r.right * 1000 / sw) + sep + std::to_string(r.bottom * 1000 / sh);
    }
};

static std::string lower(std::string s) {
    for (auto& c : s) c = (char)tolower((unsigned char)c);
    return s;
}

TEST_F(WinNotepad, AScriptSteersNotepadFromStartToClose) {
    // Found by its program and its title.
    EXPECT_EQ("1", eval("AppExist(\"notepad\")"));
    EXPECT_EQ("1", eval("AppExist(\"NOTEPAD.EXE\")"));
    EXPECT_EQ("1", eval("WinExist(\"Untitled - Notepad~\")"));
    EXPECT_EQ("0", eval("WinExist(\"untitled\")"));
    std::string exe = lower(eval("WinExeName(\"Untitled\")"));
    EXPECT_EQ("\\notepad.exe", exe.substr(exe.size() - 12)) << exe;
    EXPECT_EQ("0", eval("WinIsDos(\"Untitled\")"));
    EXPECT_EQ("Untitled - Notepad", eval("FindWindow(\"Notepad\")"));
    EXPECT_EQ("1 0 0", eval("IntControl(25, \"Notepad\", \"Edit\", \"Button\", \"\")"));

    // Retitled, placed, read back.
    EXPECT_EQ("1", eval("WinTitle(\"Untitled - Notepad\", \"TSL pad\")"));
    EXPECT_EQ("TSL pad", title_of(pad));
    EXPECT_EQ("1", eval("WinPlace(100, 100, 600, 700, \"TSL pad\")"));
    RECT want{100 * sw / 1000, 100 * sh / 1000, 600 * sw / 1000, 700 * sh / 1000}, rc;
    EXPECT_TRUE(wait_for([&] { GetWindowRect(pad, &rc); return EqualRect(&rc, &want); }));
    EXPECT_EQ(virt(want, ","), eval("WinPosition(\"TSL pad\")"));
    EXPECT_EQ(virt(want, " "), eval("WinPlaceGet(@normal, \"TSL pad\")"));
    long error = 0;
    eval("WinPlaceSet(@normal, \"TSL pad\", \"0 0 500 500\")", &error);
    EXPECT_EQ(1201, error) << "another program's placement cannot be written here";

    // Iconized, zoomed and restored by posted system commands; neither state can be placed.
    EXPECT_EQ("1", eval("WinIconize(\"TSL pad\")"));
    EXPECT_TRUE(wait_for([&] { return IsIconic(pad) != 0; }));
    EXPECT_EQ("1", eval("WinState(\"TSL pad\")"));
    EXPECT_EQ("0", eval("WinPlace(0, 0, 1000, 1000, \"TSL pad\")"));
    EXPECT_EQ("1", eval("WinZoom(\"TSL pad\")"));
    EXPECT_TRUE(wait_for([&] { return IsZoomed(pad) != 0; }));
    EXPECT_EQ("3", eval("WinState(\"TSL pad\")"));
    EXPECT_EQ("0", eval("WinPlace(0, 0, 500, 500, \"TSL pad\")"));
    EXPECT_EQ("1", eval("WinShow(\"TSL pad\")"));
    EXPECT_TRUE(wait_for([&] { return !IsZoomed(pad) && !IsIconic(pad); }));
    EXPECT_TRUE(wait_for([&] { GetWindowRect(pad, &rc); return EqualRect(&rc, &want); })) << "back where it was placed";

    // Activated. Its menus belong to its own process: under Wine no other
    // process can read them, so SendMenusTo finds no menu there.
    EXPECT_EQ("1", eval("WinActivate(\"TSL pad\")"));
    EXPECT_TRUE(wait_for([&] { return GetForegroundWindow() == pad; }));
    EXPECT_EQ("TSL pad", eval("WinGetActive()"));
    eval("SendMenusTo(\"TSL pad\", \"Time/Date\")", &error);
    EXPECT_EQ(1315, error);
    // Text handed to its edit control by IntControl 22 (WM_SETTEXT with a copy of the text).
    HWND edit = FindWindowExA(pad, NULL, "Edit", NULL);
    ASSERT_NE(nullptr, edit);
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "edit", (LPARAM)hwnd_text(edit).c_str());
    EXPECT_EQ("1", eval("IntControl(22, edit, \"12\", \"0\", \"set by a script\")"));
    char text[64] = "";
    SendMessageA(edit, WM_GETTEXT, sizeof text, (LPARAM)text);
    EXPECT_STREQ("set by a script", text);

    // Hidden and shown again, then closed: WinWaitClose and AppWaitClose return.
    EXPECT_EQ("1", eval("WinHide(\"TSL pad\")"));
    EXPECT_FALSE(IsWindowVisible(pad));
    EXPECT_EQ("-1", eval("WinState(\"TSL pad\")"));
    EXPECT_EQ("1", eval("WinShow(\"TSL pad\")"));
    EXPECT_TRUE(IsWindowVisible(pad));
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
    host.run(crlf({"WinClose(\"Untitled - Notepad\")", "app = AppWaitClose(\"notepad\")", "after = AppExist(\"notepad\")",
                   "again = AppWaitClose(\"notepad\")"}));
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("1", host.get("app"));
    EXPECT_EQ("0", host.get("after"));
    EXPECT_EQ("0", host.get("again")) << "not running: 0 at once";
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(pi.hProcess, 0)) << "notepad has ended";
}

// A console program's window is told apart from other windows by WinIsDos.
TEST_F(WinNotepad, WinIsDosKnowsAConsoleWindow) {
    STARTUPINFOA si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION cmd = {};
    char line[] = "cmd.exe";
    ASSERT_TRUE(CreateProcessA(NULL, line, NULL, NULL, FALSE, CREATE_NEW_CONSOLE, NULL, NULL, &si, &cmd));
    char sys[MAX_PATH];
    GetSystemDirectoryA(sys, sizeof sys);
    std::string title = std::string(sys) + "\\cmd.exe";
    ASSERT_TRUE(wait_for([&] { return FindWindowA(NULL, title.c_str()) != NULL; })) << title;
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "console", (LPARAM)(title + "~").c_str());
    EXPECT_EQ("1", eval("WinIsDos(console)"));
    EXPECT_EQ("0", eval("WinIsDos(\"Untitled - Notepad\")"));
    TerminateProcess(cmd.hProcess, 0);
    WaitForSingleObject(cmd.hProcess, 10000);
    CloseHandle(cmd.hProcess);
    CloseHandle(cmd.hThread);
}

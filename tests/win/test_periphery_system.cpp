// MsgTextGet against a real message box, MouseInfo against a real window
// under the cursor, KeyToggleGet/KeyToggleSet on the real key state (the
// key is pressed with keybd_event; the test restores it), EndSession
// answered No by the user and by console mode, DosVersion against Win32.
#include "host_harness.h"

class SystemInfo : public DllTest {
protected:
    HostContext host;
    void SetUp() override { host.lock()->sounds = 0; host.unlock(); }
};

// The text of a message box that another thread shows, found by the start
// of its title; "" for a title that no box has.
TEST_F(SystemInfo, MsgTextGetReadsAnOpenMessageBox) {
    std::thread box([] { MessageBoxA(NULL, "Disk is almost full", "Probe warning", MB_OK | MB_ICONWARNING); });
    HWND w = NULL;
    for (int i = 0; i < 500 && !((w = FindWindowA("#32770", "Probe warning")) && IsWindowVisible(w)); i++) Sleep(10);
    ASSERT_TRUE(w != NULL && IsWindowVisible(w));
    host.run("r = StrCat(MsgTextGet(\"Probe w\"), \"|\", MsgTextGet(\"probe\"), \"|\", MsgTextGet(\"Other\"))\r\n");
    PostMessageA(w, WM_COMMAND, IDOK, 0);
    box.join();
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("Disk is almost full||", host.get("r"));
}

LRESULT CALLBACK plain_proc(HWND w, UINT m, WPARAM wp, LPARAM lp) { return DefWindowProcA(w, m, wp, lp); }

// The window under the cursor, the cursor's place on the screen and in the
// window's client area; an unknown request is 2402.
TEST_F(SystemInfo, MouseInfoReportsTheWindowAndPlaceUnderTheCursor) {
    HWND w = test_window("TslMouseProbe", plain_proc, "Mouse probe", WS_POPUP | WS_VISIBLE, 300, 200);
    SetWindowPos(w, HWND_TOPMOST, 100, 100, 300, 200, SWP_SHOWWINDOW);
    POINT want = {150, 170};
    ASSERT_TRUE(SetCursorPos(want.x, want.y));
    for (int i = 0; i < 100; i++) {   // the cursor reaches the server's state
        POINT p;
        GetCursorPos(&p);
        if (p.x == want.x && p.y == want.y) break;
        Sleep(10);
    }
    POINT client = want;
    ScreenToClient(w, &client);
    struct { int line; int request; std::string text; } rows[] = {
        {__LINE__, 0, "Mouse probe"},
        {__LINE__, 1, "Mouse probe"},
        {__LINE__, 2, "150 170"},
        {__LINE__, 3, std::to_string(client.x) + " " + std::to_string(client.y)},
        {__LINE__, 4, "0"},
    };
    for (auto& r : rows) {
        host.run("r = MouseInfo(" + std::to_string(r.request) + ")\r\n");
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ(r.text, host.get("r")) << "row at line " << r.line;
    }
    g_dll.console(1);
    StderrCapture err;
    host.run("MouseInfo(5)\r\n");
    g_dll.console(0);
    EXPECT_EQ(2402, host.error());
    DestroyWindow(w);
}

// KeyToggleSet presses the key only when its state differs and returns the
// previous state; KeyToggleGet reads it. Other keys are 2401.
TEST_F(SystemInfo, KeyToggleSetAndGetOnScrollLock) {
    host.run("was = KeyToggleGet(@scrolllock)\r\n");
    std::string was = host.get("was");
    ASSERT_EQ(0, host.error());
    struct { int line; int set; std::string previous, now; } rows[] = {
        {__LINE__, 1, was, "1"}, {__LINE__, 1, "1", "1"}, {__LINE__, 0, "1", "0"}, {__LINE__, 0, "0", "0"},
    };
    for (auto& r : rows) {
        host.run("p = KeyToggleSet(@scrolllock, " + std::to_string(r.set) + ")\r\nn = KeyToggleGet(@scrolllock)\r\n");
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ(r.previous, host.get("p")) << "row at line " << r.line;
        EXPECT_EQ(r.now, host.get("n")) << "row at line " << r.line;
    }
    host.run("KeyToggleSet(@scrolllock, " + was + ")\r\n");
    g_dll.console(1);
    StderrCapture err;
    for (const char* bad : {"KeyToggleGet(65)", "KeyToggleSet(@shift, 1)"}) {
        host.run(std::string(bad) + "\r\n");
        EXPECT_EQ(2401, host.error()) << bad;
    }
    g_dll.console(0);
}

// EndSession asks first; No (pressed by the user, or console mode's default)
// leaves the session alone and returns 0.
TEST_F(SystemInfo, EndSessionAsksAndNoKeepsTheSession) {
    User user({IDNO});
    host.run("r = EndSession()\r\n");
    user.finish();
    ASSERT_EQ(1u, user.seen().size());
    EXPECT_EQ("End Session", user.seen()[0].caption);
    EXPECT_EQ("0", host.get("r"));
    g_dll.console(1);
    StderrCapture err;
    host.run("r = EndSession()\r\n");
    g_dll.console(0);
    EXPECT_EQ("0", host.get("r"));
    EXPECT_EQ("BOX(End Session): End the Windows session now? Every program will be closed.\r\n", err.text());
}

TEST_F(SystemInfo, DosVersionIsTheSystemsVersion) {
    OSVERSIONINFOA v = {};
    v.dwOSVersionInfoSize = sizeof v;
    GetVersionExA(&v);
    host.run("r = StrCat(DosVersion(@major), \".\", DosVersion(@minor))\r\n");
    EXPECT_EQ(std::to_string(v.dwMajorVersion) + "." + std::to_string(v.dwMinorVersion), host.get("r"));
}

// Program types from crafted headers: "MZ" alone, "MZ" leading to "NE" or to
// "PE" with the console or the GUI subsystem; text and a missing file are 0.
TEST_F(SystemInfo, ExeTypeInfoReadsTheHeaders) {
    TempDir dir("tslexetype");
    auto image = [](const char* sig, WORD subsystem) {
        std::string s(0x200, '\0');
        s[0] = 'M'; s[1] = 'Z';
        s[0x18] = 0x40;                       // e_lfarlc: a new-style header follows
        s[0x3C] = (char)0x80;                 // e_lfanew
        memcpy(&s[0x80], sig, 4);
        size_t at = 0x80 + 4 + sizeof(IMAGE_FILE_HEADER) + offsetof(IMAGE_OPTIONAL_HEADER32, Subsystem);
        memcpy(&s[at], &subsystem, 2);
        return s;
    };
    std::string dos = image("\0\0\0\0", 0);
    dos[0x18] = 0x1C;                         // an old DOS program: no new header
    struct { int line; std::string data; int type; } rows[] = {
        {__LINE__, dos, 1},
        {__LINE__, image("NE\0\0", 0), 2},
        {__LINE__, image("PE\0\0", IMAGE_SUBSYSTEM_WINDOWS_GUI), 3},
        {__LINE__, image("PE\0\0", IMAGE_SUBSYSTEM_WINDOWS_CUI), 4},
        {__LINE__, "plain text", 0},
    };
    for (auto& r : rows) {
        write_file(dir.at("p.exe"), r.data);
        host.run("r = ExeTypeInfo(\"" + dir.at("p.exe") + "\")\r\n");
        EXPECT_EQ(std::to_string(r.type), host.get("r")) << "row at line " << r.line;
    }
    host.run("r = ExeTypeInfo(\"" + dir.at("missing.exe") + "\")\r\n");
    EXPECT_EQ("0", host.get("r"));
}

// SendKey, SendKeysTo, WaitForKey and IsKeyDown with real key events: a
// window of this program records the key messages it receives, Wine's
// notepad is typed into, and a test thread presses keys (keybd_event) for
// WaitForKey. The keys reach the whole display, so this program runs alone.
#include "host_harness.h"

namespace {

std::string g_keys;   // what the recorder received: "+Shift +A -A -Shift"

std::string key_name(unsigned vk) {
    switch (vk) {
    case VK_SHIFT: return "Shift";
    case VK_CONTROL: return "Ctrl";
    case VK_MENU: return "Alt";
    case VK_RETURN: return "Enter";
    }
    char name[8];
    if ((vk >= 'A' && vk <= 'Z') || (vk >= '0' && vk <= '9')) snprintf(name, sizeof name, "%c", vk);
    else snprintf(name, sizeof name, "x%02X", vk);
    return name;
}

// Key messages are recorded and kept from the default handling (Alt+F4 would close the window).
LRESULT CALLBACK recorder_proc(HWND w, UINT msg, WPARAM wp, LPARAM lp) {
    bool down = msg == WM_KEYDOWN || msg == WM_SYSKEYDOWN;
    if (down || msg == WM_KEYUP || msg == WM_SYSKEYUP) {
        g_keys += (g_keys.empty() ? "" : " ") + std::string(down ? "+" : "-") + key_name((unsigned)wp);
        return 0;
    }
    return DefWindowProcA(w, msg, wp, lp);
}

void key(BYTE vk, bool down) { keybd_event(vk, (BYTE)MapVirtualKeyA(vk, 0), down ? 0 : KEYEVENTF_KEYUP, 0); }

// Dispatches this thread's messages until `done` holds or two seconds pass.
bool pump_until(const std::function<bool()>& done) {
    for (DWORD start = GetTickCount(); GetTickCount() - start < 2000; Sleep(10)) {
        MSG m;
        while (PeekMessageA(&m, NULL, 0, 0, PM_REMOVE)) { TranslateMessage(&m); DispatchMessageA(&m); }
        if (done()) return true;
    }
    return done();
}

std::string times(int n, const std::string& s) {
    std::string out;
    for (int i = 0; i < n; ++i) out += (i ? " " : "") + s;
    return out;
}

class KeysTyped : public DllTest {
protected:
    HostContext host;
    static inline HWND recorder = NULL;   // one for the program: closing a window costs Wine seconds
    static void SetUpTestSuite() {
        DllTest::SetUpTestSuite();
        recorder = test_window("TslKeyRecorder", recorder_proc, "key recorder", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300, 200);
    }
    void SetUp() override {
        g_dll.console(1);
        ASSERT_NE(nullptr, recorder);
        SetForegroundWindow(recorder);
        SetFocus(recorder);
        ASSERT_TRUE(pump_until([&] { return GetFocus() == recorder; }));
        g_keys.clear();
    }
    void TearDown() override { g_dll.console(0); }
};

// The exact order of key downs and ups, row by row; keys sent before a
// syntax error stay sent and the modifier around it is released.
TEST_F(KeysTyped, RecorderReceivesEachFormInOrder) {
    const std::string a = "+A -A", enter = "+Enter -Enter";
    struct { int line; const char* keys; const char* result; long error; std::string events; } rows[] = {
        {__LINE__, "+^a", "0", 0, "+Shift +Ctrl +A -A -Ctrl -Shift"},
        {__LINE__, "!{F4}", "0", 0, "+Alt +x73 -x73 -Alt"},
        {__LINE__, "A", "0", 0, "+Shift +A -A -Shift"},
        {__LINE__, "{a 5}", "0", 0, times(5, a)},
        {__LINE__, "{ENTER 3}", "0", 0, times(3, enter)},
        {__LINE__, "ab~", "0", 0, "+A -A +B -B " + enter},
        {__LINE__, "+{TAB 2}", "0", 0, "+Shift +x09 -x09 +x09 -x09 -Shift"},
        {__LINE__, "{+}", "0", 0, "+Shift +xBB -xBB -Shift"},
        {__LINE__, "a^{NOTAKEY}", "0", 2001, "+A -A +Ctrl -Ctrl"},
    };
    for (auto& r : rows) {
        g_keys.clear();
        host.run(std::string("r = SendKey(\"") + r.keys + "\")\r\n");
        EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
        EXPECT_EQ(r.result, host.get("r")) << "row at line " << r.line;
        pump_until([&] { return g_keys.size() >= r.events.size(); });
        EXPECT_EQ(r.events, g_keys) << "row at line " << r.line;
        for (BYTE m : {VK_SHIFT, VK_CONTROL, VK_MENU})
            EXPECT_FALSE(GetAsyncKeyState(m) & 0x8000) << "modifier " << (int)m << " left down, row at line " << r.line;
    }
}

// Notepad started by Run, found by its title and typed into by SendKeysTo;
// its edit control holds the text. Caps Lock is not compensated: with it on,
// "cD" arrives as "Cd".
TEST_F(KeysTyped, NotepadTypedIntoBySendKeysTo) {
    host.run(crlf({"Run(\"notepad\", \"\")", "r = SendKeysTo(\"Untitled - Notepad\", \"Hello, World{ENTER}tsl~{a 3}+b {CAPSLOCK}cD{CAPSLOCK}\")"}));
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("0", host.get("r"));
    HWND pad = FindWindowA("Notepad", NULL);
    ASSERT_NE(nullptr, pad);
    HWND edit = FindWindowExA(pad, NULL, "Edit", NULL);
    char text[256] = "";
    pump_until([&] { SendMessageA(edit, WM_GETTEXT, sizeof text, (LPARAM)text); return strcmp(text, "Hello, World\r\ntsl\r\naaaB Cd") == 0; });
    EXPECT_STREQ("Hello, World\r\ntsl\r\naaaB Cd", text);
    DWORD pid = 0;
    GetWindowThreadProcessId(pad, &pid);
    HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, pid);
    TerminateProcess(process, 0);
    WaitForSingleObject(process, 5000);
    CloseHandle(process);
}

// SendKeysTo searches again one second later when the window is not there yet.
TEST_F(KeysTyped, SendKeysToWaitsForTheWindowToAppear) {
    std::atomic<bool> done(false);
    std::thread late([&] {
        Sleep(1200);
        HWND w = CreateWindowA("EDIT", "late arrival", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 100, 100, NULL, NULL, NULL, NULL);
        MSG m;
        for (DWORD start = GetTickCount(); !done && GetTickCount() - start < 5000;)
            if (PeekMessageA(&m, NULL, 0, 0, PM_REMOVE)) DispatchMessageA(&m); else Sleep(10);
        DestroyWindow(w);
    });
    DWORD start = GetTickCount();
    host.run("r = SendKeysTo(\"late arr\", \"x\")\r\n");
    DWORD took = GetTickCount() - start;
    done = true;
    late.join();
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("0", host.get("r"));
    EXPECT_GE(took, 1200u);
    EXPECT_LT(took, 4000u);
}

// A test thread presses keys until WaitForKey has answered: the position of
// the first key whose modifiers match exactly.
TEST_F(KeysTyped, WaitForKeyAnsweredByPressedKeys) {
    struct { int line; std::vector<BYTE> press; const char* keys; const char* found; } rows[] = {
        {__LINE__, {VK_F2}, "\"{F1}\", \"^{F2}\", \"{F2}\", \"\", \"\"", "3"},
        {__LINE__, {VK_CONTROL, VK_F2}, "\"{F1}\", \"^{F2}\", \"{F2}\", \"\", \"\"", "2"},
        {__LINE__, {'Q'}, "\"x\", \"q\", \"\", \"z\", \"\"", "2"},   // the first empty argument ends the list
        {__LINE__, {VK_SHIFT, VK_RETURN}, "\"~\", \"{enter}\", \"+{ENTER}\", \"\", \"\"", "3"},
    };
    for (auto& r : rows) {
        std::atomic<bool> done(false);
        std::thread presser([&] {
            for (int i = 0; i < 100 && !done; ++i) {
                for (BYTE k : r.press) key(k, true);
                Sleep(60);
                for (auto k = r.press.rbegin(); k != r.press.rend(); ++k) key(*k, false);
                Sleep(20);
            }
        });
        host.run(std::string("k = WaitForKey(") + r.keys + ")\r\n");
        done = true;
        presser.join();
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ(r.found, host.get("k")) << "row at line " << r.line;
    }
}

// Ctrl+Break ends WaitForKey with 0. (The waiting Run forms block the
// thread until their program ends, so a break cannot cut them short.)
TEST_F(KeysTyped, CtrlBreakEndsTheWait) {
    struct { int line; std::string call; } rows[] = {
        {__LINE__, "WaitForKey(\"{F1}\", \"\", \"\", \"\", \"\")"},
    };
    for (auto& r : rows) {
        std::atomic<bool> done(false);
        std::thread breaker([&] {
            Sleep(300);
            key(VK_CONTROL, true);
            key(VK_CANCEL, true);
            for (int i = 0; i < 250 && !done; ++i) Sleep(20);
            key(VK_CANCEL, false);
            key(VK_CONTROL, false);
        });
        DWORD start = GetTickCount();
        host.run("r = 7\r\nr = " + r.call + "\r\nafter = 1\r\n");
        DWORD took = GetTickCount() - start;
        done = true;
        breaker.join();
        EXPECT_EQ(1, host.service(TSL_SERVICE_RUN_BREAK)) << "row at line " << r.line;
        EXPECT_EQ("<undefined>", host.get("after")) << "row at line " << r.line;
        EXPECT_LT(took, 3000u) << "row at line " << r.line;
    }
}

// IsKeyDown while keys are held.
TEST_F(KeysTyped, IsKeyDownReadsShiftAndCtrl) {
    struct { int line; std::vector<BYTE> held; const char* asked; const char* answer; } rows[] = {
        {__LINE__, {}, "@shift", "0"},
        {__LINE__, {VK_SHIFT}, "@shift", "1"},
        {__LINE__, {VK_SHIFT}, "@ctrl", "0"},
        {__LINE__, {VK_CONTROL}, "@ctrl", "1"},
        {__LINE__, {VK_CONTROL}, "@ctrl + @shift", "0"},
        {__LINE__, {VK_CONTROL, VK_SHIFT}, "@ctrl + @shift", "1"},
        {__LINE__, {VK_CONTROL, VK_SHIFT}, "4", "0"},
    };
    for (auto& r : rows) {
        for (BYTE k : r.held) key(k, true);
        host.run(std::string("d = IsKeyDown(") + r.asked + ")\r\n");
        for (BYTE k : r.held) key(k, false);
        EXPECT_EQ(r.answer, host.get("d")) << "row at line " << r.line;
    }
}

} // namespace

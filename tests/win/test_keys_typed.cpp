// SendKey, SendKeysTo, WaitForKey and IsKeyDown with real key events: a
// window of this program records the key messages it receives, Wine's
// notepad is typed into, and a test thread presses keys (keybd_event) for
// WaitForKey; keys typed while a box is up: Alt held keeps a timed-out
// Display up, Ctrl+Break ends any wait and stops the run. The keys reach
// the whole display, so this program runs alone.
#include "window_thread.h"

namespace {

std::string g_keys;   // what the recorder received: "+Shift +A -A -Shift"

std::string key_name(unsigned vk) {
    static const std::map<unsigned, std::string> named = {{VK_SHIFT, "Shift"}, {VK_CONTROL, "Ctrl"}, {VK_MENU, "Alt"},
                                                          {VK_RETURN, "Enter"}};
    char name[8];
    snprintf(name, sizeof name, (vk >= 'A' && vk <= 'Z') || (vk >= '0' && vk <= '9') ? "%c" : "x%02X", vk);
    return named.count(vk) ? named.at(vk) : name;
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

class KeysTyped : public ScriptTest {
protected:
    static inline HWND recorder = NULL;   // one for the program: closing a window costs Wine seconds
    static void SetUpTestSuite() {
        DllTest::SetUpTestSuite();
        recorder = test_window("TslKeyRecorder", recorder_proc, "key recorder", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300, 200);
    }
    void SetUp() override {
        ScriptTest::SetUp();
        ASSERT_NE(nullptr, recorder);
        SetForegroundWindow(recorder);
        SetFocus(recorder);
        ASSERT_TRUE(wait_for([&] { return GetFocus() == recorder; }, 2000));
        g_keys.clear();
    }
};

// The exact order of key downs and ups, row by row; keys sent before a
// syntax error stay sent and the modifier around it is released.
TEST_F(KeysTyped, RecorderReceivesEachFormInOrder) {
    struct { int line; const char* keys; long error; std::string events; } rows[] = {
        {__LINE__, "+^a", 0, "+Shift +Ctrl +A -A -Ctrl -Shift"},
        {__LINE__, "!{F4}", 0, "+Alt +x73 -x73 -Alt"},
        {__LINE__, "A", 0, "+Shift +A -A -Shift"},
        {__LINE__, "{a 5}", 0, "+A -A +A -A +A -A +A -A +A -A"},
        {__LINE__, "{ENTER 3}", 0, "+Enter -Enter +Enter -Enter +Enter -Enter"},
        {__LINE__, "ab~", 0, "+A -A +B -B +Enter -Enter"},
        {__LINE__, "+{TAB 2}", 0, "+Shift +x09 -x09 +x09 -x09 -Shift"},
        {__LINE__, "{+}", 0, "+Shift +xBB -xBB -Shift"},
        {__LINE__, "a^{NOTAKEY}", 2001, "+A -A +Ctrl -Ctrl"},
    };
    for (auto& r : rows) {
        g_keys.clear();
        EXPECT_EQ("0", eval(std::string("SendKey(\"") + r.keys + "\")", NULL, r.error)) << "row at line " << r.line;
        wait_for([&] { return g_keys.size() >= r.events.size(); }, 2000);
        EXPECT_EQ(r.events, g_keys) << "row at line " << r.line;
        for (BYTE m : {VK_SHIFT, VK_CONTROL, VK_MENU})
            EXPECT_FALSE(GetAsyncKeyState(m) & 0x8000) << "modifier " << (int)m << " left down, row at line " << r.line;
    }
}

// Notepad started by Run, found by its title and typed into by SendKeysTo;
// its edit control holds the text. Caps Lock is not compensated: with it on,
// "cD" arrives as "Cd".
TEST_F(KeysTyped, NotepadTypedIntoBySendKeysTo) {
    EXPECT_EQ("10", eval("StrCat(Run(\"notepad\", \"\"), SendKeysTo(\"Untitled - Notepad\", \"Hello, World{ENTER}tsl~{a 3}+b {CAPSLOCK}cD{CAPSLOCK}\"))"));
    HWND pad = FindWindowA("Notepad", NULL);
    ASSERT_NE(nullptr, pad);
    HWND edit = FindWindowExA(pad, NULL, "Edit", NULL);
    char text[256] = "";
    wait_for([&] { SendMessageA(edit, WM_GETTEXT, sizeof text, (LPARAM)text); return strcmp(text, "Hello, World\r\ntsl\r\naaaB Cd") == 0; }, 2000);
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
    WindowThread other;
    std::thread late([&] { Sleep(1200); other.make("late arrival", WS_OVERLAPPEDWINDOW | WS_VISIBLE); });
    DWORD start = GetTickCount();
    EXPECT_EQ("0", eval("SendKeysTo(\"late arr\", \"x\")"));
    DWORD took = GetTickCount() - start;
    late.join();
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
        std::string found = eval(std::string("WaitForKey(") + r.keys + ")");
        done = true;
        presser.join();
        EXPECT_EQ(r.found, found) << "row at line " << r.line;
    }
}

HostContext* g_host;
// The host switches the break report off from its idle call: the run ends silently.
long WINAPI quiet_break(HWND, LPARAM, long, long command, TslAnswerProc, void*, LPCSTR, LPCSTR, LPCSTR, LPCSTR, LPCSTR) {
    if (command == TSL_COMMAND_IDLE) g_host->service(TSL_SERVICE_BREAK_REPORT, 0);
    return 0;
}

// Ctrl+Break while a box or WaitForKey waits: the wait ends within a second
// and the run stops as a user break. (The waiting Run forms block the
// thread until their program ends, so a break cannot cut them short.)
TEST_F(KeysTyped, CtrlBreakEndsTheWaitAndTheRun) {
    static const TslKeywordRecord none[] = {{0, 0, 0, 0, 0, ""}};
    std::string dialog = "dFormat = \"TSLDLGED,4.0\"\r\ndX = 10\r\ndY = 10\r\ndWidth = 100\r\ndHeight = 50\r\n"
                         "dNumControls = 1\r\nd01 = '5, 5, 60, 12, EDITBOX, v, \"\"'\r\ndCaption = \"Brk\"\r\n";
    struct { int line; std::string setup, call; const char* box_class; } rows[] = {
        {__LINE__, "", "AskLine(\"Brk\", \"p\", \"d\")", "#32770"},
        {__LINE__, "", "ItemSelect(\"Brk\", \"a|b\", \"|\")", "#32770"},
        {__LINE__, "", "Display(30, \"Brk\", \"x\")", "#32770"},
        {__LINE__, dialog, "DialogBox(\"d\", \"\")", "ts0wcdl2"},
        {__LINE__, "", "WaitForKey(\"{F1}\", \"\", \"\", \"\", \"\")", nullptr},
    };
    g_dll.console(0);
    g_host = &host;
    host.service(TSL_SERVICE_IDLE_CALLS, 1);
    for (auto& r : rows) {
        std::atomic<DWORD> pressed(0), ended(0);   // the box goes at once; the run ends as Wine lets it (~2 s)
        auto press = [&] { ctrl_break(true); pressed = GetTickCount(); };
        User user([&](const SeenBox& b) {
            if (b.caption != "Brk") return IDOK;   // a report after the break
            SetForegroundWindow(b.window);
            press();
            while (IsWindow(b.window) && IsWindowVisible(b.window) && GetTickCount() - pressed < 5000) Sleep(10);
            ended = GetTickCount();
            return -1;
        }, r.box_class ? r.box_class : "#32770");
        std::thread late([&] { if (!r.box_class) { Sleep(300); press(); } });
        host.run(r.setup + "r = " + r.call + "\r\nafter = 1\r\n", quiet_break, none);
        if (!r.box_class) ended = GetTickCount();
        DWORD took = ended - pressed;
        late.join();
        user.finish();
        ctrl_break(false);
        EXPECT_EQ(r.box_class ? 1u : 0u, user.seen().size()) << "row at line " << r.line;
        EXPECT_NE(0u, (DWORD)pressed) << "row at line " << r.line;
        EXPECT_GT(1000u, took) << "row at line " << r.line;
        EXPECT_EQ(1, host.service(TSL_SERVICE_RUN_BREAK)) << "row at line " << r.line;
        EXPECT_EQ("<undefined>", host.get("after")) << "row at line " << r.line;
    }
    host.service(TSL_SERVICE_IDLE_CALLS, 0);
}

// Alt held keeps a timed-out Display up (checked every 700 ms) until it is released.
TEST_F(KeysTyped, AltHeldKeepsADisplayUntilReleased) {
    struct { int line; DWORD hold_ms; DWORD min_ms, max_ms; } rows[] = {
        {__LINE__, 0, 700, 1400},      // not held: gone after its second (seen up to ~100 ms late)
        {__LINE__, 2500, 2400, 3700},  // held past the second: gone within 700 ms of the release
    };
    g_dll.console(0);
    for (auto& r : rows) {
        DWORD took = 0;
        User user([&](const SeenBox& b) {
            DWORD seen_at = GetTickCount();
            if (r.hold_ms) key(VK_MENU, true);
            bool held = r.hold_ms != 0;
            while (IsWindow(b.window) && IsWindowVisible(b.window) && GetTickCount() - seen_at < 10000) {
                if (held && GetTickCount() - seen_at >= r.hold_ms) { key(VK_MENU, false); held = false; }
                Sleep(10);
            }
            if (held) key(VK_MENU, false);
            took = GetTickCount() - seen_at;
            return -1;
        });
        EXPECT_EQ("0", eval("Display(1, \"Held\", \"Hold Alt\")")) << "row at line " << r.line;   // the time ran out
        user.finish();
        EXPECT_LE(r.min_ms, took) << "row at line " << r.line;
        EXPECT_GE(r.max_ms, took) << "row at line " << r.line;
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
        std::string down = eval(std::string("IsKeyDown(") + r.asked + ")");
        for (BYTE k : r.held) key(k, false);
        EXPECT_EQ(r.answer, down) << "row at line " << r.line;
    }
}

} // namespace

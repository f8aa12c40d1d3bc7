// What the tests of boxes, windows, keys and launching share: a fixture
// that runs one expression at a time; windows of "another program", owned
// by a thread of the test with its own message loop, so that messages posted
// to them are handled there while the script runs on the test's main
// thread; a wait for a window's state (never a fixed sleep).
#pragma once
#include "host_harness.h"
#include <future>

// Polls `done` every 10 ms for up to `ms`, handling this thread's messages meanwhile.
inline bool wait_for(const std::function<bool()>& done, DWORD ms = 8000) {
    DWORD start = GetTickCount();
    for (;;) {
        if (done()) return true;
        if (GetTickCount() - start > ms) return false;
        MSG msg;
        while (PeekMessageA(&msg, NULL, 0, 0, PM_REMOVE)) { TranslateMessage(&msg); DispatchMessageA(&msg); }
        Sleep(10);
    }
}

// A context in console mode (reports go to standard error) without sounds.
class ScriptTest : public DllTest {
protected:
    HostContext host;
    void SetUp() override { g_dll.console(1); host.lock()->sounds = 0; host.unlock(); }
    void TearDown() override { g_dll.console(0); }
    // Runs "r = <expr>" with `owner` as the host window, expects the run's
    // error to be `error` and gives r (a failed call leaves 0 there).
    std::string eval(const std::string& expr, HWND owner = NULL, long error = 0) {
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "r", (LPARAM) "<unset>");
        host.run("r = " + expr + "\r\n", HostContext::echo_proc, HostContext::kEcho, owner);
        EXPECT_EQ(error, host.error()) << expr;
        return host.get("r");
    }
    // One step of a script played against windows: an expression, its
    // result and error, and a state to wait for afterwards.
    struct Step { int line; std::string expr, result; long error = 0; std::function<bool()> until = nullptr; };
    void play(const std::vector<Step>& steps, HWND owner = NULL) {
        for (auto& s : steps) {
            EXPECT_EQ(s.result, eval(s.expr, owner, s.error)) << "step at line " << s.line;
            if (s.until) { EXPECT_TRUE(wait_for(s.until)) << "step at line " << s.line; }
        }
    }
};

class WindowThread {
public:
    WindowThread() : thread_([this] { loop(); }) { id_ = started_.get_future().get(); }
    ~WindowThread() { PostThreadMessageA(id_, WM_QUIT, 0, 0); thread_.join(); }
    // A top-level window of class "TslWinOther" made on the thread; menu may be NULL.
    HWND make(const char* title, DWORD style = WS_OVERLAPPEDWINDOW, HMENU menu = NULL) {
        Request r{title, style, menu, {}};
        PostThreadMessageA(id_, WM_APP, 0, (LPARAM)&r);
        return r.made.get_future().get();
    }
    static inline std::atomic<UINT> last_command{0};   // the last WM_COMMAND id any such window received

private:
    struct Request { const char* title; DWORD style; HMENU menu; std::promise<HWND> made; };
    static LRESULT CALLBACK proc(HWND w, UINT m, WPARAM wp, LPARAM lp) {
        if (m == WM_COMMAND) last_command = LOWORD(wp);
        return DefWindowProcA(w, m, wp, lp);
    }
    void loop() {
        MSG msg;
        PeekMessageA(&msg, NULL, 0, 0, PM_NOREMOVE);   // the thread's queue exists before make() posts
        WNDCLASSA wc = {};
        wc.lpfnWndProc = proc;
        wc.hInstance = GetModuleHandleA(NULL);
        wc.lpszClassName = "TslWinOther";
        RegisterClassA(&wc);
        started_.set_value(GetCurrentThreadId());
        while (GetMessageA(&msg, NULL, 0, 0) > 0) {
            if (msg.hwnd || msg.message != WM_APP) { TranslateMessage(&msg); DispatchMessageA(&msg); continue; }
            Request* r = (Request*)msg.lParam;
            r->made.set_value(CreateWindowA("TslWinOther", r->title, r->style, 20, 20, 300, 200, NULL, r->menu,
                                            wc.hInstance, NULL));
        }
    }
    std::promise<DWORD> started_;
    DWORD id_ = 0;
    std::thread thread_;
};

// Presses (down) or releases a key, or Ctrl+Break, on the whole display.
inline void key(BYTE vk, bool down) { keybd_event(vk, (BYTE)MapVirtualKeyA(vk, 0), down ? 0 : KEYEVENTF_KEYUP, 0); }
inline void ctrl_break(bool down) {
    key(down ? VK_CONTROL : VK_CANCEL, down);
    key(down ? VK_CANCEL : VK_CONTROL, down);
}

inline std::string hwnd_text(HWND w) { return std::to_string((long long)(INT_PTR)w); }

inline std::string rect_text(const RECT& r) {
    return std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," +
           std::to_string(r.bottom);
}

inline RECT window_rect(HWND w) { RECT r; GetWindowRect(w, &r); return r; }

inline std::string title_of(HWND w) {
    char t[300] = "";
    GetWindowTextA(w, t, sizeof t);
    return t;
}

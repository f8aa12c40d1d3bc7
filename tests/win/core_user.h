// Playing the user in the Windows tests of the core: a thread that waits
// for each message box of this process, reads it and presses a button.
#pragma once
#include <gtest/gtest.h>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>
#include "host_harness.h"

static const char kIdent[] = "Core test host";
static const char kFooter[] = "\n\nCore test host\nTSL Version: 1.3a";

struct SeenBox {
    std::string caption, text;
    bool ok = false, cancel = false;
    HWND owner = NULL;
    HICON icon = NULL;  // the box's icon (compare with LoadIcon(NULL, IDI_...))
};

inline BOOL CALLBACK find_icon(HWND child, LPARAM lp) {
    char cls[32];
    GetClassNameA(child, cls, sizeof cls);
    if (lstrcmpiA(cls, "Static") != 0 || (GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) != SS_ICON) return TRUE;
    *(HICON*)lp = (HICON)SendMessageA(child, STM_GETICON, 0, 0);
    return FALSE;
}

inline BOOL CALLBACK collect_static(HWND child, LPARAM lp) {
    char cls[32], text[1024];
    GetClassNameA(child, cls, sizeof cls);
    if (lstrcmpiA(cls, "Static") == 0 && GetWindowTextA(child, text, sizeof text) > 0) {
        std::string* out = (std::string*)lp;
        if (!out->empty()) *out += "|";
        *out += text;
    }
    return TRUE;
}

struct BoxSearch { HWND found; HWND skip; };

inline BOOL CALLBACK find_box(HWND w, LPARAM lp) {
    BoxSearch* s = (BoxSearch*)lp;
    DWORD pid = 0;
    GetWindowThreadProcessId(w, &pid);
    char cls[16];
    if (pid != GetCurrentProcessId() || w == s->skip || !IsWindowVisible(w)) return TRUE;
    if (!GetClassNameA(w, cls, sizeof cls) || strcmp(cls, "#32770") != 0) return TRUE;
    s->found = w;
    return FALSE;
}

// Answers every message box of this process with the button that `answer`
// chooses for it (IDOK, IDCANCEL), and keeps what it saw.
class User {
public:
    explicit User(std::function<int(const SeenBox&)> answer) : answer_(answer), thread_([this] { loop(); }) {}
    ~User() { finish(); }
    void finish() {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
    }
    std::vector<SeenBox> seen() {
        std::lock_guard<std::mutex> lock(mutex_);
        return seen_;
    }

private:
    void loop() {
        HWND last = NULL;
        while (!stop_) {
            BoxSearch s{NULL, last};
            EnumWindows(find_box, (LPARAM)&s);
            if (s.found) {
                Sleep(50);  // let the box finish painting its controls
                SeenBox b;
                char caption[300] = "";
                GetWindowTextA(s.found, caption, sizeof caption);
                b.caption = caption;
                EnumChildWindows(s.found, collect_static, (LPARAM)&b.text);
                b.ok = GetDlgItem(s.found, IDOK) != NULL;
                b.cancel = GetDlgItem(s.found, IDCANCEL) != NULL;
                b.owner = GetWindow(s.found, GW_OWNER);
                EnumChildWindows(s.found, find_icon, (LPARAM)&b.icon);
                {
                    std::lock_guard<std::mutex> lock(mutex_);
                    seen_.push_back(b);
                }
                int id = answer_(b);
                PostMessageA(s.found, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), 0);
                last = s.found;
            }
            Sleep(20);
        }
    }
    std::function<int(const SeenBox&)> answer_;
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    std::vector<SeenBox> seen_;
    std::thread thread_;
};

inline std::string crlf(const std::vector<std::string>& lines) {
    std::string s;
    for (auto& l : lines) s += l + "\r\n";
    return s;
}

inline HostContext* new_host(Dll* dll) {
    HostContext* h = new HostContext(dll);
    h->service(TSL_SERVICE_IDENT, (LPARAM)kIdent);
    return h;
}

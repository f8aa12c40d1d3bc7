// The one fixture of the Windows tests: a host that loads TSLPR32I.dll by its exports, runs
// scripts in contexts of its own; a user thread that reads and presses every dialog box.
#pragma once
#include <gtest/gtest.h>
#include <windows.h>
#include <atomic>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#include "../../include/tslpr32i.h"
#include "core/context.h"

struct Dll {
    HMODULE module = NULL;
    TslDoDaDllInitProc init = nullptr;
    TslProcessDaBatBufferProc run = nullptr;
    TslDLLServicesProc services = nullptr;
    bool load(const char* path = "TSLPR32I.dll") {
        if (!(module = LoadLibraryA(path))) return false;
        init = (TslDoDaDllInitProc)(void*)GetProcAddress(module, "DoDaDllInit");
        run = (TslProcessDaBatBufferProc)(void*)GetProcAddress(module, "ProcessDaBatBuffer");
        services = (TslDLLServicesProc)(void*)GetProcAddress(module, "DLLServices");
        return init && run && services;
    }
    void unload() { if (module) FreeLibrary(module); module = NULL; }
    void console(int on) { services(NULL, TSL_SERVICE_CONSOLE, on, 0, 0); }
};
inline Dll g_dll;

// Every test program loads the DLL once.
class DllTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
};

inline std::string crlf(const std::vector<std::string>& lines) {
    std::string s;
    for (auto& l : lines) s += l + "\r\n";
    return s;
}
// Values joined by blanks, one comparison for a table row: joined("a", 1, 2) == "a 1 2".
template <class... T> std::string joined(const T&... v) {
    std::ostringstream s;
    ((s << v << ' '), ...);
    std::string r = s.str();
    return r.substr(0, r.empty() ? 0 : r.size() - 1);
}
// A movable block holding `text` and its NUL, as hosts hand scripts over.
inline HGLOBAL text_block(const std::string& text) {
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, text.size() + 1);
    memcpy(GlobalLock(block), text.c_str(), text.size() + 1);
    GlobalUnlock(block);
    return block;
}

// One interpreter context with its variable table and heap, started in modes 0..3
// and shut down (mode 99) by the destructor. Echo(text) lines go to `out`.
struct HostContext {
    Dll* dll;
    HGLOBAL ctx = NULL, vars = NULL, heap = NULL;
    WORD results[4] = {0, 0, 0, 0};
    std::string out;
    static inline HostContext* echoing = nullptr;

    explicit HostContext(Dll* d = &g_dll, const char* host_name = "tslhosttest", const char* usage = "test host",
                         unsigned slots = 2000, LPARAM heap_size = 65536) : dll(d) {
        HINSTANCE inst = GetModuleHandleA(NULL);
        results[0] = dll->init(inst, NULL, TSL_INTERFACE_VERSION, TSL_INIT_INTERFACE, 0, NULL, NULL);
        ctx = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, results[0] ? results[0] : TSL_CONTEXT_SIZE);
        vars = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, slots * TSL_VARSLOT_SIZE);
        heap = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 65536);
        results[1] = dll->init(inst, ctx, 0, TSL_INIT_CONTEXT, 7, "tslhost", "1.0");
        results[2] = dll->init(inst, ctx, (WPARAM)vars, TSL_INIT_VARIABLES, 0, host_name, "second name");
        results[3] = dll->init(inst, ctx, (WPARAM)heap, TSL_INIT_HEAP, heap_size, usage, NULL);
        service(TSL_SERVICE_IDENT, (LPARAM) "Core test host");
    }
    ~HostContext() {
        dll->init(GetModuleHandleA(NULL), ctx, 0, TSL_INIT_SHUTDOWN, 0, NULL, NULL);
        for (HGLOBAL b : {heap, vars, ctx}) GlobalFree(b);
    }
    static long WINAPI echo_proc(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1,
                                 LPCSTR, LPCSTR, LPCSTR, LPCSTR) {
        if (command == 0 && echoing) echoing->out += std::string(t1) + "\n";
        return answer(0, 0, record, 0, 0, NULL);
    }
    static inline const TslKeywordRecord kEcho[] = {{0, TSL_KIND_FUNCTION, 1, 1, 4, "echo"}, {0, 0, 0, 0, 0, ""}};

    // Runs a script text from a movable block; without a procedure of its own the host answers Echo.
    long run(const std::string& text, TslCommandProc proc = echo_proc, const TslKeywordRecord* table = kEcho,
             HWND owner = NULL) {
        HGLOBAL script = text_block(text);
        HostContext* saved = echoing;
        echoing = this;
        long r = dll->run(owner, ctx, script, proc, proc == echo_proc ? kEcho : table);
        echoing = saved;
        GlobalFree(script);
        return r;
    }
    LRESULT service(int code, LPARAM p1 = 0, LPARAM p2 = 0, LPARAM p3 = 0) { return dll->services(ctx, code, p1, p2, p3); }
    long error() { return (long)service(TSL_SERVICE_RUN_ERROR); }
    long result() { return (long)service(TSL_SERVICE_RUN_RESULT); }
    std::string get(const char* name) {
        char buf[300] = "";
        return service(TSL_SERVICE_GET_VAR, (LPARAM)name, (LPARAM)buf, sizeof buf) ? buf : "<undefined>";
    }
    tsl::Context* lock() { return (tsl::Context*)GlobalLock(ctx); }  // white-box view until unlock()
    void unlock() { GlobalUnlock(ctx); }
};

// Standard error of this process redirected into a file while alive.
struct StderrCapture {
    char path[MAX_PATH];
    HANDLE file, saved;
    StderrCapture() {
        char dir[MAX_PATH];
        GetTempPathA(sizeof dir, dir);
        GetTempFileNameA(dir, "tsl", 0, path);
        file = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL,
                           CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, NULL);
        saved = GetStdHandle(STD_ERROR_HANDLE);
        SetStdHandle(STD_ERROR_HANDLE, file);
    }
    std::string text() {
        std::string s;
        char buf[4096];
        DWORD got;
        SetFilePointer(file, 0, NULL, FILE_BEGIN);
        while (ReadFile(file, buf, sizeof buf, &got, NULL) && got) s.append(buf, got);
        return s;
    }
    ~StderrCapture() { SetStdHandle(STD_ERROR_HANDLE, saved); CloseHandle(file); DeleteFileA(path); }
};

// A setting in TSLPROCS.INI (the Windows directory), restored when the test ends.
struct SettingOverride {
    std::string section, key, old;
    bool had;
    SettingOverride(const char* s, const char* k, const char* value) : section(s), key(k) {
        char buf[300];
        GetPrivateProfileStringA(s, k, "\x01", buf, sizeof buf, "TSLPROCS.INI");
        had = strcmp(buf, "\x01") != 0, old = buf;
        WritePrivateProfileStringA(s, k, value, "TSLPROCS.INI");
    }
    ~SettingOverride() { WritePrivateProfileStringA(section.c_str(), key.c_str(), had ? old.c_str() : NULL, "TSLPROCS.INI"); }
};

// What the user saw in one box: caption, Static texts joined by "|", the texts
// of the controls by id, the lines of its list box, the buttons, the owner
// and the icon. `window` is the box itself while the answer is being chosen.
struct SeenBox {
    HWND window = NULL;
    std::string caption, text;
    std::map<int, std::string> items;
    std::vector<std::string> list;
    bool ok = false, cancel = false;
    HWND owner = NULL;
    HICON icon = NULL;
};

// The user: a thread that waits for each visible dialog box of this process
// (class #32770, or the class given), reads it and presses the button that
// `answer` picks. The answer may act on the box first (type, select); an
// answer below 0 presses nothing.
class User {
public:
    explicit User(std::function<int(const SeenBox&)> answer, const char* box_class = "#32770")
        : answer_(answer), class_(box_class), thread_([this] { loop(); }) {}
    explicit User(std::vector<int> buttons)  // the buttons in turn, the last one again
        : User([buttons, n = std::make_shared<size_t>(0)](const SeenBox&) {
              return buttons[(*n)++ < buttons.size() ? *n - 1 : buttons.size() - 1];
          }) {}
    ~User() { finish(); }
    void finish() { stop_ = true; if (thread_.joinable()) thread_.join(); }
    std::vector<SeenBox> seen() { std::lock_guard<std::mutex> lock(mutex_); return seen_; }

private:
    static BOOL CALLBACK child(HWND w, LPARAM lp) {
        SeenBox* b = (SeenBox*)lp;
        char cls[32], text[1024] = "";
        GetClassNameA(w, cls, sizeof cls);
        GetWindowTextA(w, text, sizeof text);
        b->items[GetDlgCtrlID(w)] = text;
        if (lstrcmpiA(cls, "ListBox") == 0) {
            int n = (int)SendMessageA(w, LB_GETCOUNT, 0, 0);
            for (int i = 0; i < n; i++) {
                std::string line((size_t)SendMessageA(w, LB_GETTEXTLEN, i, 0) + 1, '\0');
                SendMessageA(w, LB_GETTEXT, i, (LPARAM)&line[0]);
                b->list.push_back(line.c_str());
            }
        }
        if (lstrcmpiA(cls, "Static") != 0) return TRUE;
        if ((GetWindowLongA(w, GWL_STYLE) & SS_TYPEMASK) == SS_ICON) b->icon = (HICON)SendMessageA(w, STM_GETICON, 0, 0);
        else if (text[0]) b->text += (b->text.empty() ? "" : "|") + std::string(text);
        return TRUE;
    }
    struct Search { HWND skip, found; const char* cls; };
    static BOOL CALLBACK top(HWND w, LPARAM lp) {
        Search* s = (Search*)lp;
        DWORD pid = 0;
        char cls[16];
        GetWindowThreadProcessId(w, &pid);
        if (pid != GetCurrentProcessId() || w == s->skip || !IsWindowVisible(w)) return TRUE;
        if (!GetClassNameA(w, cls, sizeof cls) || strcmp(cls, s->cls) != 0) return TRUE;
        s->found = w;
        return FALSE;
    }
    void loop() {
        Search s{NULL, NULL, class_};
        while (!stop_) {
            s.found = NULL;
            EnumWindows(top, (LPARAM)&s);
            if (s.found) {
                Sleep(50);  // let the box finish painting its controls
                SeenBox b;
                char caption[300] = "";
                GetWindowTextA(s.found, caption, sizeof caption);
                b.window = s.found, b.caption = caption, b.owner = GetWindow(s.found, GW_OWNER);
                EnumChildWindows(s.found, child, (LPARAM)&b);
                b.ok = GetDlgItem(s.found, IDOK) != NULL, b.cancel = GetDlgItem(s.found, IDCANCEL) != NULL;
                { std::lock_guard<std::mutex> lock(mutex_); seen_.push_back(b); }
                int id = answer_(b);
                if (id >= 0) PostMessageA(s.found, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), (LPARAM)GetDlgItem(s.found, id));
                s.skip = s.found;
            }
            Sleep(20);
        }
    }
    std::function<int(const SeenBox&)> answer_;
    const char* class_;
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    std::vector<SeenBox> seen_;
    std::thread thread_;
};

// A fresh temporary directory for a test, removed with its files by the destructor.
struct TempDir {
    std::string dir;
    explicit TempDir(const char* name = "tslwin") {
        static int counter = 0;
        char base[MAX_PATH];
        GetTempPathA(sizeof base, base);
        dir = std::string(base) + name + "-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++counter);
        CreateDirectoryA(dir.c_str(), NULL);
    }
    ~TempDir() { remove(dir); }
    std::string at(const std::string& name) const { return dir + "\\" + name; }
    static void remove(const std::string& d) {
        WIN32_FIND_DATAA fd;
        HANDLE h = FindFirstFileA((d + "\\*").c_str(), &fd);
        if (h != INVALID_HANDLE_VALUE) {
            do {
                std::string name = fd.cFileName, path = d + "\\" + name;
                if (name == "." || name == "..") continue;
                if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) remove(path);
                else { SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL); DeleteFileA(path.c_str()); }
            } while (FindNextFileA(h, &fd));
            FindClose(h);
        }
        RemoveDirectoryA(d.c_str());
    }
};

// A window of the test program's own class `cls`, whose messages go to `proc`.
inline HWND test_window(const char* cls, WNDPROC proc, const char* title, DWORD style, int width, int height) {
    WNDCLASSA wc = {};
    wc.lpfnWndProc = proc;
    wc.hInstance = GetModuleHandleA(NULL);
    wc.lpszClassName = cls;
    RegisterClassA(&wc);
    return CreateWindowA(cls, title, style, 0, 0, width, height, NULL, NULL, wc.hInstance, NULL);
}

inline void write_file(const std::string& path, const std::string& data) { std::ofstream(path, std::ios::binary) << data; }
inline std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "<missing>";
}

// Sets a file's last-write time from a local time.
inline void set_local_time(const std::string& path, int year, int month, int day, int hour, int minute) {
    SYSTEMTIME st = {};
    st.wYear = (WORD)year; st.wMonth = (WORD)month; st.wDay = (WORD)day; st.wHour = (WORD)hour; st.wMinute = (WORD)minute;
    FILETIME local, utc;
    SystemTimeToFileTime(&st, &local);
    LocalFileTimeToFileTime(&local, &utc);
    HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL);
    SetFileTime(h, NULL, NULL, &utc);
    CloseHandle(h);
}

// The directory of this test program, where the build puts tslrun, tslenc and tslmenu.
inline std::string build_dir() {
    char path[MAX_PATH];
    GetModuleFileNameA(NULL, path, sizeof path);
    *strrchr(path, '\\') = 0;
    return path;
}

// Runs a command line and waits (two minutes at most) for its exit status; 0xFFFF when it cannot start.
inline DWORD run_and_wait(std::string line) {
    STARTUPINFOA si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi;
    if (!CreateProcessA(NULL, &line[0], NULL, NULL, FALSE, 0, NULL, NULL, &si, &pi)) return 0xFFFF;
    WaitForSingleObject(pi.hProcess, 120000);
    DWORD status = 0xFFFF;
    GetExitCodeProcess(pi.hProcess, &status);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    return status;
}

// Runs a program of the build with arguments and waits for its exit status.
inline DWORD run_program(const std::string& exe, const std::string& args) {
    return run_and_wait("\"" + build_dir() + "\\" + exe + "\" " + args);
}

// Polls `done` every 20 ms for at most `ms`; true once it holds.
inline bool wait_until(const std::function<bool()>& done, DWORD ms = 10000) {
    for (DWORD start = GetTickCount(); !done(); Sleep(20))
        if (GetTickCount() - start > ms) return false;
    return true;
}

// The language core with real windows: report boxes under each error mode,
// the "EXECUTE::" box, a user break typed as Ctrl+Break, the goto cache in
// the host's buffer and the language file. A second thread plays the user:
// it waits for each message box of this process, reads it and presses a
// button.
#include <gtest/gtest.h>
#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>
#include "host_harness.h"

static Dll g_dll;

class CoreWindows : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
};

static const char kIdent[] = "Core test host";
static const char kFooter[] = "\n\nCore test host\nTSL Version: 1.3a";

// --- the user thread ---

struct SeenBox {
    std::string caption, text;
    bool ok = false, cancel = false;
};

static BOOL CALLBACK collect_static(HWND child, LPARAM lp) {
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

static BOOL CALLBACK find_box(HWND w, LPARAM lp) {
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

static std::string crlf(const std::vector<std::string>& lines) {
    std::string s;
    for (auto& l : lines) s += l + "\r\n";
    return s;
}

static HostContext* new_host() {
    HostContext* h = new HostContext(&g_dll);
    h->service(TSL_SERVICE_IDENT, (LPARAM)kIdent);
    return h;
}

// --- the error report box ---

TEST_F(CoreWindows, NotifyReportOkGoesOnWithTheNextLine) {
    std::unique_ptr<HostContext> host(new_host());
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"ErrorMode(@notify)", "x = StrIndex(\"abc\", \"b\", 9, @fwdscan)", "y = 2"})));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ("1100:  StrIndex/StrScan 3rd parameter out of bounds", seen[0].caption);
    EXPECT_EQ(std::string("x = StrIndex(\"abc\", \"b\", 9, @fwdscan)") + kFooter, seen[0].text);
    EXPECT_TRUE(seen[0].ok);
    EXPECT_TRUE(seen[0].cancel) << "a minor error under @notify offers Cancel";
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ(1, host->service(TSL_SERVICE_RUN_RESULT));
    EXPECT_EQ("2", host->get("y"));
    EXPECT_EQ("0", host->get("x")) << "the failed assignment leaves 0";
}

TEST_F(CoreWindows, NotifyReportCancelStopsTheRun) {
    std::unique_ptr<HostContext> host(new_host());
    User user([](const SeenBox&) { return IDCANCEL; });
    EXPECT_EQ(1, host->run(crlf({"ErrorMode(@notify)", "a.b = 1", "y = 2"})));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ("2253:  Cannot assign to or drop a special variable", seen[0].caption);
    EXPECT_TRUE(seen[0].cancel) << "a moderate error under @notify offers Cancel";
    EXPECT_EQ(2253, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_RESULT));
    EXPECT_EQ("<undefined>", host->get("y"));
}

TEST_F(CoreWindows, ReportBoxesOfEachModeAndSeverity) {
    struct { const char* mode; const char* line; const char* caption; bool cancel; bool goes_on; } rows[] = {
        // row 0: @cancel, the default: OK only, and the run stops
        {"@cancel", "x = StrIndex(\"\", \"a\", 1, @fwdscan)", "1100:  StrIndex/StrScan 3rd parameter out of bounds",
         false, false},
        // row 1: @off shows moderate errors with OK and Cancel
        {"@off", "a.b = 1", "2253:  Cannot assign to or drop a special variable", true, true},
        // rows 2-4: fatal errors show OK only and stop under every mode
        {"@notify", "x = 1 / 0", "3062:  Attempt to divide by zero", false, false},
        {"@off", "x = 1 +", "3061:  Illegal Syntax", false, false},
        {"@cancel", "goto nowhere", "3033:  GoTo label not found", false, false},
    };
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        std::unique_ptr<HostContext> host(new_host());
        User user([](const SeenBox&) { return IDOK; });
        EXPECT_EQ(1, host->run(crlf({std::string("ErrorMode(") + rows[i].mode + ")", rows[i].line, "y = 2"})));
        user.finish();
        auto seen = user.seen();
        ASSERT_EQ(1u, seen.size()) << "row " << i;
        EXPECT_EQ(rows[i].caption, seen[0].caption) << "row " << i;
        EXPECT_EQ(rows[i].line + std::string(kFooter), seen[0].text) << "row " << i;
        EXPECT_TRUE(seen[0].ok) << "row " << i;
        EXPECT_EQ(rows[i].cancel, seen[0].cancel) << "row " << i;
        EXPECT_EQ(rows[i].goes_on ? "2" : "<undefined>", host->get("y")) << "row " << i;
    }
}

TEST_F(CoreWindows, OffHidesMinorErrorsWithoutABox) {
    std::unique_ptr<HostContext> host(new_host());
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"ErrorMode(@off)", "x = StrIndex(\"abc\", \"b\", 9, @fwdscan)", "e = LastError()"})));
    user.finish();
    EXPECT_EQ(0u, user.seen().size());
    EXPECT_EQ("1100", host->get("e"));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
}

TEST_F(CoreWindows, ErrorModeStartsAtCancelInEveryRun) {
    std::unique_ptr<HostContext> host(new_host());
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"ErrorMode(@off)"})));
    EXPECT_EQ(1, host->run(crlf({"m = ErrorMode(@cancel)"})));
    user.finish();
    EXPECT_EQ("1", host->get("m"));
}

// --- execute ---

TEST_F(CoreWindows, ExecuteBoxOkGoesOn) {
    std::unique_ptr<HostContext> host(new_host());
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"execute x = 1 +", "y = 2"})));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ("EXECUTE::Illegal Syntax", seen[0].caption);
    EXPECT_EQ("execute x = 1 +", seen[0].text) << "the line alone, no footer";
    EXPECT_TRUE(seen[0].ok);
    EXPECT_TRUE(seen[0].cancel);
    EXPECT_EQ("2", host->get("y"));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
}

TEST_F(CoreWindows, ExecuteBoxCancelStopsSilentlyWith9013) {
    std::unique_ptr<HostContext> host(new_host());
    User user([](const SeenBox&) { return IDCANCEL; });
    EXPECT_EQ(1, host->run(crlf({"execute goto nowhere", "y = 2"})));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size()) << "no report follows the Cancel";
    EXPECT_EQ("EXECUTE::GoTo label not found", seen[0].caption);
    EXPECT_EQ(9013, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_RESULT));
    EXPECT_EQ("<undefined>", host->get("y"));
}

// --- the user break ---

static void key(BYTE vk, bool down) {
    keybd_event(vk, (BYTE)MapVirtualKeyA(vk, 0), down ? 0 : KEYEVENTF_KEYUP, 0);
}

TEST_F(CoreWindows, CtrlBreakTypedByTheUserStopsALoop) {
    std::unique_ptr<HostContext> host(new_host());
    HWND owner = CreateWindowA("STATIC", "core break test", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 200, 100,
                               NULL, NULL, NULL, NULL);
    ASSERT_NE(nullptr, owner);
    SetForegroundWindow(owner);
    SetFocus(owner);
    std::atomic<bool> released(false);
    User user([&](const SeenBox&) {
        key(VK_CANCEL, false);
        key(VK_CONTROL, false);
        released = true;
        return IDOK;
    });
    std::thread typist([&] {
        Sleep(500);
        key(VK_CONTROL, true);
        key(VK_CANCEL, true);
        for (int i = 0; i < 250 && !released; ++i) Sleep(20);
        if (!released) { key(VK_CANCEL, false); key(VK_CONTROL, false); }
    });
    DWORD start = GetTickCount();
    EXPECT_EQ(1, host->run(crlf({"n = 0", ":again", "n = n + 1", "goto again"}), nullptr, nullptr, owner));
    DWORD took = GetTickCount() - start;
    typist.join();
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ("192:  Execution ended", seen[0].caption);
    EXPECT_EQ(std::string("Execution terminated by user request or error") + kFooter, seen[0].text);
    EXPECT_TRUE(seen[0].ok);
    EXPECT_FALSE(seen[0].cancel) << "the break report is fatal: OK only";
    EXPECT_EQ(1, host->service(TSL_SERVICE_RUN_BREAK));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_RESULT));
    EXPECT_LT(took, 5000u);
    int n = atoi(host->get("n").c_str());
    EXPECT_GT(n, 3) << "the loop ran until the break";
    DestroyWindow(owner);
}

static HostContext* g_quiet_host;
static long WINAPI quiet_break(HWND, LPARAM, long, long command, TslAnswerProc, void*, LPCSTR, LPCSTR, LPCSTR,
                               LPCSTR, LPCSTR) {
    if (command == TSL_COMMAND_IDLE) g_quiet_host->service(TSL_SERVICE_BREAK_REPORT, 0);
    return 0;
}

TEST_F(CoreWindows, CtrlBreakWithoutItsReportEndsTheRunSilently) {
    std::unique_ptr<HostContext> host(new_host());
    HWND owner = CreateWindowA("STATIC", "core break test 2", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 200, 100,
                               NULL, NULL, NULL, NULL);
    ASSERT_NE(nullptr, owner);
    SetForegroundWindow(owner);
    SetFocus(owner);
    User user([](const SeenBox&) { return IDOK; });
    std::atomic<bool> stop(false);
    std::thread typist([&] {
        Sleep(500);
        key(VK_CONTROL, true);
        key(VK_CANCEL, true);
        for (int i = 0; i < 250 && !stop; ++i) Sleep(20);
        key(VK_CANCEL, false);
        key(VK_CONTROL, false);
    });
    // The switch is on at the start of every run; the host's idle call turns it off.
    g_quiet_host = host.get();
    static const TslKeywordRecord none[] = {{0, 0, 0, 0, 0, ""}};
    host->service(TSL_SERVICE_IDLE_CALLS, 1);
    EXPECT_EQ(1, host->run(crlf({"n = 0", ":again", "n = n + 1", "goto again"}), quiet_break, none, owner));
    stop = true;
    typist.join();
    user.finish();
    EXPECT_EQ(0u, user.seen().size());
    EXPECT_EQ(1, host->service(TSL_SERVICE_RUN_BREAK));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_RESULT));
    DestroyWindow(owner);
}

// --- the goto cache in the host's buffer ---

// Runs a script from a movable block that the test keeps, and returns the
// block's bytes after the run.
static std::string run_kept(HostContext* host, HGLOBAL block) {
    EXPECT_EQ(1, g_dll.run(NULL, host->ctx, block, nullptr, nullptr));
    const char* p = (const char*)GlobalLock(block);
    std::string s(p, GlobalSize(block));
    GlobalUnlock(block);
    return s;
}

static HGLOBAL make_block(const std::string& text) {
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, text.size() + 1);
    char* p = (char*)GlobalLock(block);
    memcpy(p, text.c_str(), text.size() + 1);
    GlobalUnlock(block);
    return block;
}

// The position that the five cache bytes at `at` hold.
static unsigned cached_position(const std::string& s, size_t at) {
    unsigned p = 0;
    for (int k = 1; k <= 4; ++k) p = p << 4 | ((unsigned char)s[at + k] & 15);
    return p;
}

TEST_F(CoreWindows, GotoWritesItsCacheOverTheKeywordInTheHostsBuffer) {
    std::unique_ptr<HostContext> host(new_host());
    const std::string text = crlf({"Exclusive(@on)", "n = 0", ":loop", "n = n + 1", "if n < 3 then goto loop",
                                   "goto End", ":end"});
    HGLOBAL block = make_block(text);
    std::string after = run_kept(host.get(), block);
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("3", host->get("n"));
    size_t g1 = text.find("goto loop"), g2 = text.find("goto End");
    ASSERT_GE(after.size(), text.size());
    for (size_t at : {g1, g2}) {
        EXPECT_EQ(159, (unsigned char)after[at]) << "at " << at;
        for (int k = 1; k <= 4; ++k)
            EXPECT_EQ(0x40, (unsigned char)after[at + k] & 0xF0) << "nibble byte " << k << " at " << at;
    }
    // Everything else is as the host wrote it.
    std::string expect = text;
    for (size_t at : {g1, g2}) expect.replace(at, 5, after.substr(at, 5));
    EXPECT_EQ(expect, after.substr(0, text.size()));
    // The positions lead to the label lines (blanks and line feeds before a line are skipped).
    for (auto pair : {std::make_pair(g1, std::string(":loop")), std::make_pair(g2, std::string(":end"))}) {
        size_t p = cached_position(after, pair.first);
        ASSERT_LT(p, text.size());
        while (text[p] == '\n' || text[p] == ' ') ++p;
        EXPECT_EQ(pair.second, text.substr(p, pair.second.size()));
    }
    // A second run of the same buffer jumps by the cache without searching:
    // with the label renamed, a search would fail with 3033.
    char* p = (char*)GlobalLock(block);
    memcpy(p + text.find(":loop"), ":lxxx", 5);
    GlobalUnlock(block);
    run_kept(host.get(), block);
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("3", host->get("n"));
    GlobalFree(block);
}

TEST_F(CoreWindows, GotoFromOutsideTheScriptTextIsNotCached) {
    std::unique_ptr<HostContext> host(new_host());
    const std::string text = crlf({"Exclusive(@on)", "t = \"loop\"", "n = 0", ":loop", "n = n + 1",
                                   "if n < 3 then goto %t%", "if n < 5 then execute goto loop"});
    HGLOBAL block = make_block(text);
    std::string after = run_kept(host.get(), block);
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("5", host->get("n"));
    EXPECT_EQ(text, after.substr(0, text.size())) << "substituted and executed gotos leave the buffer alone";
    GlobalFree(block);
}

// --- the language file ---

// A private copy of the interpreter in a directory of its own, with
// TSLDLANG.DLL (an INI text) beside it: other programs that run at the same
// time use the interpreter of the build directory and never see the file.
struct LanguageCopy {
    char dir[MAX_PATH], dll_path[MAX_PATH], lang_path[MAX_PATH];
    Dll dll;
    explicit LanguageCopy(const char* text) {
        char temp[MAX_PATH], source[MAX_PATH];
        GetTempPathA(sizeof temp, temp);
        snprintf(dir, sizeof dir, "%stslcore-lang-%lu", temp, GetCurrentProcessId());
        CreateDirectoryA(dir, NULL);
        GetModuleFileNameA(g_dll.module, source, sizeof source);
        snprintf(dll_path, sizeof dll_path, "%s\\TSLLANGT.DLL", dir);
        snprintf(lang_path, sizeof lang_path, "%s\\TSLDLANG.DLL", dir);
        CopyFileA(source, dll_path, FALSE);
        HANDLE f = CreateFileA(lang_path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
        DWORD n;
        WriteFile(f, text, (DWORD)strlen(text), &n, NULL);
        CloseHandle(f);
        dll.module = LoadLibraryA(dll_path);
        if (!dll.module) return;
        dll.init = (TslDoDaDllInitProc)(void*)GetProcAddress(dll.module, "DoDaDllInit");
        dll.run = (TslProcessDaBatBufferProc)(void*)GetProcAddress(dll.module, "ProcessDaBatBuffer");
        dll.services = (TslDLLServicesProc)(void*)GetProcAddress(dll.module, "DLLServices");
    }
    bool ok() const { return dll.module && dll.init && dll.run && dll.services; }
    ~LanguageCopy() {
        dll.unload();
        DeleteFileA(lang_path);
        DeleteFileA(dll_path);
        RemoveDirectoryA(dir);
    }
};

TEST_F(CoreWindows, LanguageFileTextsReplaceTheTableWithLineBreaksAndTabs) {
    LanguageCopy copy("[MAIN]\r\n[TESTLANG]\r\nX3061=Bad~syntax|here\r\nX3062=Zero~divisor\r\n");
    ASSERT_TRUE(copy.ok());
    SettingOverride language("MAIN", "Language", "TESTLANG");
    {
        HostContext host(&copy.dll);
        User user([](const SeenBox&) { return IDOK; });
        host.run(crlf({"x = 1 +"}));
        host.run(crlf({"v = VersionDll()", "x = 1 / 0"}));
        user.finish();
        auto seen = user.seen();
        ASSERT_EQ(2u, seen.size());
        EXPECT_EQ("3061:  Bad\nsyntax\there", seen[0].caption);
        EXPECT_EQ("3062:  Zero\ndivisor", seen[1].caption);
        EXPECT_EQ("1.3a", host.get("v")) << "numbers below 100 always come from the table";
    }
}

TEST_F(CoreWindows, LanguageXXXOrAMissingKeyUsesTheTable) {
    LanguageCopy copy("[MAIN]\r\n[TESTLANG]\r\nX3061=Bad~syntax|here\r\n");
    ASSERT_TRUE(copy.ok());
    std::unique_ptr<SettingOverride> language(new SettingOverride("MAIN", "Language", "XXX"));
    {
        HostContext host(&copy.dll);
        User user([](const SeenBox&) { return IDOK; });
        host.run(crlf({"x = 1 +"}));
        // Switched while the context lives: IntControl 26 reads the setting again.
        language.reset();  // restore first, then set anew
        language.reset(new SettingOverride("MAIN", "Language", "TESTLANG"));
        host.run(crlf({"IntControl(26, \"\", \"\", \"\", \"\")", "x = 1 +"}));
        host.run(crlf({"x = 1 / 0"}));
        user.finish();
        auto seen = user.seen();
        ASSERT_EQ(3u, seen.size());
        EXPECT_EQ("3061:  Illegal Syntax", seen[0].caption);
        EXPECT_EQ("3061:  Bad\nsyntax\there", seen[1].caption);
        EXPECT_EQ("3062:  Attempt to divide by zero", seen[2].caption) << "a key the file lacks";
    }
}

// --- the statement trace ---

TEST_F(CoreWindows, DebugTraceAsksBeforeEachLineAndCancelStops) {
    std::unique_ptr<HostContext> host(new_host());
    int count = 0;
    User user([&](const SeenBox&) { return ++count < 3 ? IDOK : IDCANCEL; });
    EXPECT_EQ(1, host->run(crlf({"Debug(@on)", "a = 1", ":lab b = 2", "c = 3"})));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(3u, seen.size());
    const char* lines[] = {"a = 1", ":lab b = 2", "c = 3"};
    for (unsigned i = 0; i < 3; ++i) {
        EXPECT_EQ("Debug: run this line?", seen[i].caption) << "box " << i;
        EXPECT_EQ(lines[i], seen[i].text) << "box " << i;
        EXPECT_TRUE(seen[i].cancel) << "box " << i;
    }
    EXPECT_EQ("1", host->get("a"));
    EXPECT_EQ("2", host->get("b"));
    EXPECT_EQ("<undefined>", host->get("c")) << "Cancel stops before the line";
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_RESULT));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
}

// --- what survives from run to run ---

TEST_F(CoreWindows, VariablesSurviveRunsButTheRunStateStartsFresh) {
    std::unique_ptr<HostContext> host(new_host());
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"x = 5", "if 1 then a = 1", "ErrorMode(@off)",
                                 "p = StrIndex(\"abc\", \"b\", 9, @fwdscan)", "Debug(@on)"})));
    EXPECT_EQ(1, host->run(crlf({"y = x + 1", "then b = 1", "else c = 1", "e = LastError()", "m = ErrorMode(@off)",
                                 "d = Debug(@off)"})));
    user.finish();
    EXPECT_EQ(0u, user.seen().size()) << "the trace was switched off by the new run";
    EXPECT_EQ("6", host->get("y"));
    EXPECT_EQ("<undefined>", host->get("b")) << "the last IF result starts false";
    EXPECT_EQ("1", host->get("c"));
    EXPECT_EQ("0", host->get("e")) << "LastError starts at 0";
    EXPECT_EQ("1", host->get("m")) << "ErrorMode starts at @cancel";
    EXPECT_EQ("0", host->get("d"));
}

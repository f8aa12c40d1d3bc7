// The language core with real windows: report boxes under each error mode,
// the "EXECUTE::" box, the statement trace, the goto cache in the host's
// buffer and the language file. A second thread plays the user
// (core_user.h). The user break typed on the keyboard is in test_core_break.cpp.
#include "core_user.h"

static Dll g_dll;

class CoreWindows : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
};

// --- the error report box ---

TEST_F(CoreWindows, NotifyReportOkGoesOnWithTheNextLine) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
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
    std::unique_ptr<HostContext> host(new_host(&g_dll));
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
        std::unique_ptr<HostContext> host(new_host(&g_dll));
        User user([](const SeenBox&) { return IDOK; });
        EXPECT_EQ(1, host->run(crlf({std::string("ErrorMode(") + rows[i].mode + ")", rows[i].line, "y = 2"})));
        user.finish();
        auto seen = user.seen();
        ASSERT_EQ(1u, seen.size()) << "row " << i;
        EXPECT_EQ(rows[i].caption, seen[0].caption) << "row " << i;
        EXPECT_EQ(rows[i].line + std::string(kFooter), seen[0].text) << "row " << i;
        EXPECT_TRUE(seen[0].ok) << "row " << i;
        EXPECT_EQ(rows[i].cancel, seen[0].cancel) << "row " << i;
        // OK alone comes with the stop sign, OK and Cancel with the exclamation mark.
        EXPECT_EQ(LoadIcon(NULL, rows[i].cancel ? IDI_EXCLAMATION : IDI_HAND), seen[0].icon) << "row " << i;
        EXPECT_EQ(rows[i].goes_on ? "2" : "<undefined>", host->get("y")) << "row " << i;
    }
}

TEST_F(CoreWindows, OffHidesMinorErrorsWithoutABox) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"ErrorMode(@off)", "x = StrIndex(\"abc\", \"b\", 9, @fwdscan)", "e = LastError()"})));
    user.finish();
    EXPECT_EQ(0u, user.seen().size());
    EXPECT_EQ("1100", host->get("e"));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
}

TEST_F(CoreWindows, ErrorModeStartsAtCancelInEveryRun) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"ErrorMode(@off)"})));
    EXPECT_EQ(1, host->run(crlf({"m = ErrorMode(@cancel)"})));
    user.finish();
    EXPECT_EQ("1", host->get("m"));
}

// --- execute ---

TEST_F(CoreWindows, ExecuteBoxOkGoesOn) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"execute x = 1 +", "y = 2"})));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ("EXECUTE::Illegal Syntax", seen[0].caption);
    EXPECT_EQ("execute x = 1 +", seen[0].text) << "the line alone, no footer";
    EXPECT_EQ(LoadIcon(NULL, IDI_EXCLAMATION), seen[0].icon);
    EXPECT_TRUE(seen[0].ok);
    EXPECT_TRUE(seen[0].cancel);
    EXPECT_EQ("2", host->get("y"));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
}

TEST_F(CoreWindows, ExecuteBoxCancelStopsSilentlyWith9013) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
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

TEST_F(CoreWindows, NestedExecuteAsksAgainWithCancelledAndBoxesAreOwnedByTheOwner) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    HWND owner = CreateWindowA("STATIC", "core owner test", WS_OVERLAPPEDWINDOW, 10, 10, 200, 100, NULL, NULL,
                               NULL, NULL);
    ASSERT_NE(nullptr, owner);
    User user([](const SeenBox&) { return IDCANCEL; });
    EXPECT_EQ(1, host->run(crlf({"execute execute x = 1 +", "y = 2"}), nullptr, nullptr, owner));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(2u, seen.size());
    EXPECT_EQ("EXECUTE::Illegal Syntax", seen[0].caption);
    EXPECT_EQ("EXECUTE::Cancelled", seen[1].caption) << "the outer execute reports the inner Cancel";
    for (auto& b : seen) {
        EXPECT_EQ("execute execute x = 1 +", b.text);
        EXPECT_EQ(owner, b.owner);
    }
    EXPECT_EQ(9013, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("<undefined>", host->get("y"));
    DestroyWindow(owner);
}

TEST_F(CoreWindows, ReportBoxIsOwnedByTheRunsOwnerWindow) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    HWND owner = CreateWindowA("STATIC", "core owner test 2", WS_OVERLAPPEDWINDOW, 10, 10, 200, 100, NULL, NULL,
                               NULL, NULL);
    ASSERT_NE(nullptr, owner);
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"x = 1 +"}), nullptr, nullptr, owner));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ(owner, seen[0].owner);
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
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    // Padding puts the second label beyond 4096 bytes, so all four nibbles count.
    std::vector<std::string> lines = {"Exclusive(@on)", "n = 0", ":loop", "n = n + 1", "if n < 3 then goto loop",
                                      "goto End"};
    for (int i = 0; i < 120; ++i) lines.push_back("; padding padding padding padding padding padding");
    lines.push_back(":end");
    const std::string text = crlf(lines);
    ASSERT_GT(text.find(":end"), 4096u);
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
    std::unique_ptr<HostContext> host(new_host(&g_dll));
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
    std::unique_ptr<HostContext> host(new_host(&g_dll));
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
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"x = 5", "if 1 then a = 1", "ErrorMode(@off)",
                                 "p = StrIndex(\"abc\", \"b\", 9, @fwdscan)", "Exclusive(@on)",
                                 "IntControl(7, \"1\", \"\", \"\", \"\")", "Debug(@on)"})));
    EXPECT_EQ(1, host->run(crlf({"y = x + 1", "then b = 1", "else c = 1", "e = LastError()", "m = ErrorMode(@off)",
                                 "d = Debug(@off)", "ex = Exclusive(@off)",
                                 "o = IntControl(7, \"0\", \"\", \"\", \"\")"})));
    user.finish();
    EXPECT_EQ(0u, user.seen().size()) << "the trace was switched off by the new run";
    EXPECT_EQ("6", host->get("y"));
    EXPECT_EQ("<undefined>", host->get("b")) << "the last IF result starts false";
    EXPECT_EQ("1", host->get("c"));
    EXPECT_EQ("0", host->get("e")) << "LastError starts at 0";
    EXPECT_EQ("1", host->get("m")) << "ErrorMode starts at @cancel";
    EXPECT_EQ("0", host->get("d"));
    EXPECT_EQ("1", host->get("ex")) << "Exclusive is not reset by a new run";
    EXPECT_EQ("1", host->get("o")) << "nor is the debugger output of IntControl 7";
}

// --- IntControl requests that talk to windows ---

static UINT g_seen_message;
static WPARAM g_seen_wparam;
static LPARAM g_seen_lparam;
static std::string g_seen_text;

static LRESULT CALLBACK recording_proc(HWND w, UINT m, WPARAM wp, LPARAM lp) {
    if (m == WM_USER + 5 || m == WM_USER + 6) {
        g_seen_message = m;
        g_seen_wparam = wp;
        g_seen_lparam = lp;
        if (m == WM_USER + 6) g_seen_text = (const char*)lp;  // valid during the SendMessage only
        return 0;
    }
    return DefWindowProcA(w, m, wp, lp);
}

TEST_F(CoreWindows, IntControlSendsPostsAndCountsChildWindows) {
    WNDCLASSA wc;
    memset(&wc, 0, sizeof wc);
    wc.lpfnWndProc = recording_proc;
    wc.hInstance = GetModuleHandleA(NULL);
    wc.lpszClassName = "TslCoreIntControlTest";
    RegisterClassA(&wc);
    HWND top = CreateWindowA("TslCoreIntControlTest", "intcontrol target", WS_OVERLAPPEDWINDOW, 0, 0, 200, 200,
                             NULL, NULL, wc.hInstance, NULL);
    ASSERT_NE(nullptr, top);
    CreateWindowA("BUTTON", "b1", WS_CHILD, 0, 0, 10, 10, top, NULL, NULL, NULL);
    CreateWindowA("BUTTON", "b2", WS_CHILD, 0, 20, 10, 10, top, NULL, NULL, NULL);
    CreateWindowA("EDIT", "", WS_CHILD, 0, 40, 10, 10, top, NULL, NULL, NULL);
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    host->service(TSL_SERVICE_SET_VAR, (LPARAM) "target", (LPARAM)std::to_string((long long)(INT_PTR)top).c_str());
    g_seen_message = 0;
    EXPECT_EQ(1, host->run(crlf({
        "c = IntControl(25, \"TslCoreIntControlTest\", \"Button\", \"Edit\", \"Static\")",
        "c2 = IntControl(25, \"TslCoreIntControlTest\", \"B\", \"\", \"Ed\")",
        "p = IntControl(23, target, \"1029\", \"17\", \"-42\")",
        "yield",
    })));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("2 1 0", host->get("c"));
    EXPECT_EQ("2 0 1", host->get("c2")) << "class names are matched as prefixes, case-sensitively";
    EXPECT_EQ("1", host->get("p"));
    EXPECT_EQ((UINT)WM_USER + 5, g_seen_message) << "the posted message reached the window";
    EXPECT_EQ(17u, g_seen_wparam);
    EXPECT_EQ(-42, (long)g_seen_lparam);
    EXPECT_EQ(1, host->run(crlf({"s = IntControl(22, target, \"1030\", \"9\", \"text for the window\")"})));
    EXPECT_EQ("1", host->get("s"));
    EXPECT_EQ((UINT)WM_USER + 6, g_seen_message);
    EXPECT_EQ(9u, g_seen_wparam);
    EXPECT_EQ("text for the window", g_seen_text);
    DestroyWindow(top);
}

static std::vector<std::string> g_intcontrol_texts;
static long WINAPI intcontrol_host(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record,
                                   LPCSTR t1, LPCSTR t2, LPCSTR t3, LPCSTR t4, LPCSTR t5) {
    if (command != 1) return 0;
    g_intcontrol_texts = {t1, t2, t3, t4, t5};
    return answer(0, 0, record, 1, 0, "host answered");
}

TEST_F(CoreWindows, UnlistedIntControlRequestsGoToTheHostsIntcontrolCommand) {
    static const TslKeywordRecord table[] = {
        {0, TSL_KIND_FUNCTION, 1, 1, 5, "other"},
        {1, TSL_KIND_FUNCTION, 5, 0x1f, 10, "intcontrol"},
        {0, 0, 0, 0, 0, ""},
    };
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    g_intcontrol_texts.clear();
    EXPECT_EQ(1, host->run(crlf({"r = IntControl(77, \"a\", \"b\", \"c\", \"d\")"}), intcontrol_host, table));
    EXPECT_EQ(0, host->service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("host answered", host->get("r"));
    EXPECT_EQ((std::vector<std::string>{"77", "a", "b", "c", "d"}), g_intcontrol_texts);
    // Without such a command the request is invalid.
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"r = IntControl(77, \"a\", \"b\", \"c\", \"d\")"})));
    user.finish();
    EXPECT_EQ(3171, host->service(TSL_SERVICE_RUN_ERROR));
}

// --- the debugger output ---

// Listens for OutputDebugString texts of this process the way a debug
// viewer does: the DBWIN_BUFFER mapping and its two events.
class DebugListener {
public:
    DebugListener() {
        ready_ = CreateEventA(NULL, FALSE, FALSE, "DBWIN_BUFFER_READY");
        data_ = CreateEventA(NULL, FALSE, FALSE, "DBWIN_DATA_READY");
        map_ = CreateFileMappingA(INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, 4096, "DBWIN_BUFFER");
        view_ = map_ ? (char*)MapViewOfFile(map_, FILE_MAP_READ, 0, 0, 4096) : nullptr;
        if (ok()) thread_ = std::thread([this] { loop(); });
    }
    ~DebugListener() {
        stop_ = true;
        if (thread_.joinable()) { SetEvent(data_); thread_.join(); }
        if (view_) UnmapViewOfFile(view_);
        if (map_) CloseHandle(map_);
        if (ready_) CloseHandle(ready_);
        if (data_) CloseHandle(data_);
    }
    bool ok() const { return ready_ && data_ && view_; }
    std::vector<std::string> texts() {
        std::lock_guard<std::mutex> lock(mutex_);
        return texts_;
    }

private:
    void loop() {
        SetEvent(ready_);
        while (!stop_) {
            if (WaitForSingleObject(data_, 100) != WAIT_OBJECT_0) continue;
            if (stop_) break;
            if (*(DWORD*)view_ == GetCurrentProcessId()) {
                std::lock_guard<std::mutex> lock(mutex_);
                texts_.push_back(std::string(view_ + 4, strnlen(view_ + 4, 4092)));
            }
            SetEvent(ready_);
        }
    }
    HANDLE ready_ = NULL, data_ = NULL, map_ = NULL;
    char* view_ = nullptr;
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    std::vector<std::string> texts_;
    std::thread thread_;
};

TEST_F(CoreWindows, DebuggerOutputFramesEachLineAndDebugDataEndsWithLfCr) {
    DebugListener listener;
    ASSERT_TRUE(listener.ok());
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    EXPECT_EQ(1, host->run(crlf({"IntControl(7, \"1\", \"\", \"\", \"\")", "a = 1", ":lab b = 2",
                                 "DebugData(\"one\", \"two\")", "IntControl(7, \"0\", \"\", \"\", \"\")",
                                 "c = 3"})));
    Sleep(300);
    std::vector<std::string> want = {">>>>>a = 1<<<<<\r\n", ">>>>>:lab b = 2<<<<<\r\n",
                                     ">>>>>DebugData(\"one\", \"two\")<<<<<\r\n", "DebugData:one two\n\r",
                                     ">>>>>IntControl(7, \"0\", \"\", \"\", \"\")<<<<<\r\n"};
    EXPECT_EQ(want, listener.texts());
}

TEST_F(CoreWindows, IntControl1ShowsTwoPlainBoxesInTurn) {
    std::unique_ptr<HostContext> host(new_host(&g_dll));
    User user([](const SeenBox&) { return IDOK; });
    EXPECT_EQ(1, host->run(crlf({"r = IntControl(1, \"first caption\", \"first text\", \"second caption\", "
                                 "\"second text\")"})));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(2u, seen.size());
    EXPECT_EQ("first caption", seen[0].caption);
    EXPECT_EQ("first text", seen[0].text);
    EXPECT_EQ("second caption", seen[1].caption);
    EXPECT_EQ("second text", seen[1].text);
    for (auto& b : seen) {
        EXPECT_EQ(nullptr, b.icon) << "plain boxes have no icon";
        EXPECT_FALSE(b.cancel);
    }
    EXPECT_EQ("1", host->get("r"));
}

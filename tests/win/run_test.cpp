// ProcessDaBatBuffer, DLLServices and the exported helpers, driven as a host.
#include <gtest/gtest.h>
#include <vector>
#include "host_harness.h"

static Dll g_dll;

class Run : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
};

TEST_F(Run, EmptyScriptRunsToItsEnd) {
    HostContext host(&g_dll);
    EXPECT_EQ(1, host.run(""));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ(1, host.service(TSL_SERVICE_RUN_RESULT));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_BREAK));
}

TEST_F(Run, BlocksThatCannotBeLockedGiveZero) {
    HostContext host(&g_dll);
    HGLOBAL script = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 4);
    EXPECT_EQ(0, g_dll.run(NULL, NULL, script, nullptr, nullptr));
    EXPECT_EQ(0, g_dll.run(NULL, host.ctx, NULL, nullptr, nullptr));
    GlobalFree(script);
    // A context that never got its variable table and heap.
    HGLOBAL bare = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, TSL_CONTEXT_SIZE);
    ASSERT_EQ(44, g_dll.init(GetModuleHandleA(NULL), bare, 0, TSL_INIT_CONTEXT, 0, "bare", "1"));
    script = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 4);
    EXPECT_EQ(0, g_dll.run(NULL, bare, script, nullptr, nullptr));
    GlobalFree(script);
    GlobalFree(bare);
}

TEST_F(Run, RunResultsTellHowTheRunEnded) {
    struct { const char* script; long error; long result; } rows[] = {
        {"a = 1\r\n", 0, 1},            // row 0: ran out of lines
        {"exit\r\na = 2\r\n", 0, 0},    // row 1: Exit
        {"return\r\n", 0, -1},          // row 2: Return
        {"a = 1 +\r\n", 3061, 0},       // row 3: an error stops the run (console: no box)
    };
    HostContext host(&g_dll);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    StderrCapture err;
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        EXPECT_EQ(1, host.run(rows[i].script)) << "row " << i;
        EXPECT_EQ(rows[i].error, host.service(TSL_SERVICE_RUN_ERROR)) << "row " << i;
        EXPECT_EQ(rows[i].result, host.service(TSL_SERVICE_RUN_RESULT)) << "row " << i;
    }
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);
    EXPECT_NE(std::string::npos, err.text().find("error 3061")) << err.text();
}

TEST_F(Run, VariableServicesWorkBetweenRuns) {
    HostContext host(&g_dll);
    EXPECT_EQ(1, host.service(TSL_SERVICE_SET_VAR, (LPARAM) "Greeting", (LPARAM) "hello there"));
    EXPECT_EQ(1, host.run("answer = StrLen(greeting) + 1\r\n"));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("12", host.get("ANSWER"));
    EXPECT_EQ("<undefined>", host.get("nosuchname"));
    // The buffer size bounds the copy.
    char small[6] = "#####";
    EXPECT_EQ(1, host.service(TSL_SERVICE_GET_VAR, (LPARAM) "greeting", (LPARAM)small, 4));
    EXPECT_STREQ("hel", small);
    EXPECT_EQ('#', small[4]);
    EXPECT_EQ(0, host.service(TSL_SERVICE_GET_VAR, 0, (LPARAM)small, 4));
    EXPECT_EQ(0, host.service(999));
    // Outside a run the blocks are unlocked again.
    tsl::Context* c = host.lock();
    EXPECT_EQ(nullptr, c->vars);
    EXPECT_EQ(nullptr, c->heap);
    host.unlock();
    EXPECT_EQ(0, GlobalFlags(host.vars) & GMEM_LOCKCOUNT);
    EXPECT_EQ(0, GlobalFlags(host.heap) & GMEM_LOCKCOUNT);
    EXPECT_EQ(0, GlobalFlags(host.ctx) & GMEM_LOCKCOUNT);
}

TEST_F(Run, IdentificationScriptNameAndSwitchesAreStored) {
    HostContext host(&g_dll);
    EXPECT_EQ(1, host.service(TSL_SERVICE_IDENT, (LPARAM) "Test host 2.0"));
    EXPECT_EQ(1, host.service(TSL_SERVICE_SCRIPT_NAME, (LPARAM) "top.tsl"));
    EXPECT_EQ(1, host.service(TSL_SERVICE_IDLE_CALLS, 1));
    std::string long_ident(400, 'x');
    tsl::Context* c = host.lock();
    EXPECT_STREQ("Test host 2.0", c->ident);
    EXPECT_STREQ("top.tsl", c->top_script_name);
    EXPECT_EQ(1, c->idle_calls);
    host.unlock();
    EXPECT_EQ(1, host.service(TSL_SERVICE_IDENT, (LPARAM)long_ident.c_str()));
    EXPECT_EQ(1, host.service(TSL_SERVICE_IDLE_CALLS, 0));
    EXPECT_EQ(1, host.service(TSL_SERVICE_BREAK_REPORT, 0));
    c = host.lock();
    EXPECT_EQ(256u, strlen(c->ident)) << "the identification line is cut to its buffer";
    EXPECT_EQ(0, c->idle_calls);
    EXPECT_EQ(0, c->break_report);
    host.unlock();
    EXPECT_EQ(0, g_dll.services(NULL, TSL_SERVICE_IDENT, (LPARAM) "x", 0, 0)) << "no context";
}

// --- host commands ---

static int g_idle_calls;
static std::vector<std::string> g_texts;
static long WINAPI host_proc(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1,
                             LPCSTR t2, LPCSTR, LPCSTR, LPCSTR) {
    if (command == TSL_COMMAND_IDLE) { ++g_idle_calls; return 0; }
    if (command == 0) {  // join(a, b)
        std::string s = std::string(t1) + "+" + t2;
        g_texts.push_back(s);
        return answer(0, 0, record, 1, 0, s.c_str());
    }
    if (command == 1) return answer(0, 0, record, 0, 4242, NULL);  // number()
    return 0;
}
static const TslKeywordRecord kTable[] = {
    {0, TSL_KIND_FUNCTION, 2, 3, 4, "join"},
    {1, TSL_KIND_FUNCTION, 0, 0, 6, "number"},
    {0, 0, 0, 0, 0, ""},
};

TEST_F(Run, HostCommandsAnswerThroughViperAnswer) {
    HostContext host(&g_dll);
    g_texts.clear();
    g_idle_calls = 0;
    EXPECT_EQ(1, host.run("x = Join(\"a\", 12)\r\nn = number() + 1\r\n", host_proc, kTable));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("a+12", host.get("x"));
    EXPECT_EQ("4243", host.get("n"));
    EXPECT_EQ(std::vector<std::string>{"a+12"}, g_texts);
    EXPECT_EQ(0, g_idle_calls);
}

TEST_F(Run, IdleCallsComeFromEveryBreakTestWhenAskedFor) {
    HostContext host(&g_dll);
    g_idle_calls = 0;
    host.service(TSL_SERVICE_IDLE_CALLS, 1);
    EXPECT_EQ(1, host.run("a = 1\r\nb = 2\r\nc = 3\r\n", host_proc, kTable));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_GE(g_idle_calls, 3) << "one idle call at least before every line";
    EXPECT_EQ("3", host.get("c"));
}

TEST_F(Run, ExportedViperAnswerStoresAnswersInTheRecord) {
    auto answer = (TslAnswerProc)(void*)GetProcAddress(g_dll.module, "ViperAnswer");
    ASSERT_NE(nullptr, answer);
    EXPECT_EQ(5, answer(5, 0, nullptr, 0, 1, NULL)) << "no record: the code comes back";
    EXPECT_EQ(-2, answer(-2, 0, nullptr, 1, 0, "x"));
}

// --- the user break ---

TEST_F(Run, CtrlBreakStopsTheRunAndIsReported) {
    HostContext host(&g_dll);
    BYTE keys[256], saved[256];
    GetKeyboardState(saved);
    memcpy(keys, saved, sizeof keys);
    keys[VK_CONTROL] = 0x80;
    keys[VK_CANCEL] = 0x80;
    SetKeyboardState(keys);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    std::string out;
    {
        StderrCapture err;
        EXPECT_EQ(1, host.run("a = 1\r\nb = 2\r\n"));
        out = err.text();
    }
    SetKeyboardState(saved);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);
    EXPECT_EQ(1, host.service(TSL_SERVICE_RUN_BREAK));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_RESULT));
    EXPECT_EQ("<undefined>", host.get("a")) << "the break is tested before the first line";
    EXPECT_NE(std::string::npos, out.find("Execution terminated by user request or error")) << out;
    // Without the keys the next run goes through.
    EXPECT_EQ(1, host.run("a = 1\r\n"));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_BREAK));
    EXPECT_EQ("1", host.get("a"));
}

// --- windows of the run ---

TEST_F(Run, OwnerAndMainWindowAreStored) {
    HostContext host(&g_dll);
    HWND parent = CreateWindowA("STATIC", "parent", WS_OVERLAPPED, 0, 0, 50, 50, NULL, NULL, NULL, NULL);
    HWND child = CreateWindowA("STATIC", "child", WS_CHILD, 0, 0, 10, 10, parent, NULL, NULL, NULL);
    ASSERT_NE(nullptr, child);
    EXPECT_EQ(1, host.run("a = 1\r\n", nullptr, nullptr, child));
    EXPECT_EQ(1, host.run("a = 2\r\n", nullptr, nullptr, parent));
    tsl::Context* c = host.lock();
    EXPECT_EQ(parent, c->owner);
    EXPECT_EQ(nullptr, c->owner_parent);
    EXPECT_EQ(child, c->main_window) << "the main window is set by the first run only";
    EXPECT_EQ(c->arrow_cursor, c->current_cursor) << "the arrow cursor after the run";
    host.unlock();
    DestroyWindow(parent);
}

// --- the heap helpers for extenders ---

TEST_F(Run, VMallocAndVFreeWorkOnTheHostsHeap) {
    typedef unsigned short(WINAPI * Alloc)(void*, unsigned long);
    typedef void(WINAPI * Free)(void*, unsigned short);
    auto vmalloc = (Alloc)(void*)GetProcAddress(g_dll.module, "VMalloc");
    auto vfree = (Free)(void*)GetProcAddress(g_dll.module, "VFree");
    ASSERT_TRUE(vmalloc && vfree);
    HostContext host(&g_dll, "tslhostvm", "vm", 100, 4096);
    uint8_t* heap = (uint8_t*)GlobalLock(host.heap);
    unsigned short a = vmalloc(heap, 17);
    unsigned short b = vmalloc(heap, 0);
    EXPECT_NE(0, a);
    EXPECT_NE(0, b);
    EXPECT_NE(a, b);
    EXPECT_EQ(0, vmalloc(heap, 5000)) << "larger than the whole heap";
    vfree(heap, a);
    vfree(heap, b);
    unsigned short c = vmalloc(heap, 1500), d = vmalloc(heap, 1500);
    EXPECT_TRUE(c && d);
    EXPECT_EQ(0, vmalloc(heap, 1500)) << "a third 1500-byte block cannot fit in 4096 bytes";
    vfree(heap, c);
    vfree(heap, d);
    EXPECT_NE(0, vmalloc(heap, 3000)) << "freed neighbours were not merged";
    GlobalUnlock(host.heap);
}

// --- script files loaded by Call: the search and the size limit ---

static std::string temp_dir(const char* name) {
    char base[MAX_PATH];
    GetTempPathA(sizeof base, base);
    std::string dir = std::string(base) + name + std::to_string(GetCurrentProcessId());
    CreateDirectoryA(dir.c_str(), NULL);
    return dir;
}

static void write_file(const std::string& path, const std::string& text) {
    HANDLE f = CreateFileA(path.c_str(), GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
    DWORD n;
    WriteFile(f, text.data(), (DWORD)text.size(), &n, NULL);
    CloseHandle(f);
}

// A script of exactly `size` bytes that sets loaded = size.
static std::string script_of_size(size_t size) {
    std::string head = "loaded = " + std::to_string(size) + "\r\n";
    std::string s = head;
    while (s.size() + 300 < size) s += ";" + std::string(250, 'c') + "\r\n";
    s += ";" + std::string(size - s.size() - 3, 'c') + "\r\n";
    return s;
}

TEST_F(Run, CallLoadsFilesBelowTheSizeLimitOnly) {
    std::string dir = temp_dir("tslcall");
    struct { size_t size; long error; const char* report; } rows[] = {
        {65520, 0, nullptr},                        // row 0: the largest file that loads
        {65521, 9002, "error 205: Batch file >64K.  Too Large."},  // row 1: one byte more
        {20, 0, nullptr},                           // row 2: a small one
    };
    HostContext host(&g_dll);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        std::string path = dir + "\\size" + std::to_string(i) + ".inc";
        std::string text = script_of_size(rows[i].size);
        ASSERT_EQ(rows[i].size, text.size()) << "row " << i;
        write_file(path, text);
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "loaded", (LPARAM) "none");
        StderrCapture err;
        // Exclusive: no 20 ms pause between the callee's lines.
        EXPECT_EQ(1, host.run("Exclusive(@on)\r\nCall(\"" + path + "\", \"\")\r\n")) << "row " << i;
        EXPECT_EQ(rows[i].error, host.service(TSL_SERVICE_RUN_ERROR)) << "row " << i;
        EXPECT_EQ(rows[i].error ? "none" : std::to_string(rows[i].size), host.get("loaded")) << "row " << i;
        if (rows[i].report) {
            EXPECT_NE(std::string::npos, err.text().find(rows[i].report)) << err.text();
        }
        DeleteFileA(path.c_str());
    }
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);
    RemoveDirectoryA(dir.c_str());
}

TEST_F(Run, CallFindsFilesAsGivenThenAlongPath) {
    std::string dir = temp_dir("tslsearch");
    std::string sub = dir + "\\onpath";
    CreateDirectoryA(sub.c_str(), NULL);
    write_file(dir + "\\here.inc", "found = \"here\"\r\n");
    write_file(sub + "\\far.inc", "found = \"far\"\r\n");
    write_file(sub + "\\here.inc", "found = \"path copy\"\r\n");
    char old_path[8192], old_dir[MAX_PATH];
    GetEnvironmentVariableA("PATH", old_path, sizeof old_path);
    GetCurrentDirectoryA(sizeof old_dir, old_dir);
    SetEnvironmentVariableA("PATH", (std::string("C:\\nonexistent;") + sub + ";" + old_path).c_str());
    SetCurrentDirectoryA(dir.c_str());

    HostContext host(&g_dll);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    EXPECT_EQ(1, host.run("Call(\"here.inc\", \"\")\r\n"));
    EXPECT_EQ("here", host.get("found")) << "the current directory comes first";
    EXPECT_EQ(1, host.run("Call(\"far.inc\", \"\")\r\n"));
    EXPECT_EQ("far", host.get("found")) << "then the directories of PATH";
    StderrCapture err;
    EXPECT_EQ(1, host.run("Call(\"nowhere.inc\", \"\")\r\n"));
    EXPECT_EQ(9002, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_NE(std::string::npos, err.text().find("error 102: Specified menu/batch file not found")) << err.text();
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);

    SetCurrentDirectoryA(old_dir);
    SetEnvironmentVariableA("PATH", old_path);
    DeleteFileA((dir + "\\here.inc").c_str());
    DeleteFileA((sub + "\\far.inc").c_str());
    DeleteFileA((sub + "\\here.inc").c_str());
    RemoveDirectoryA(sub.c_str());
    RemoveDirectoryA(dir.c_str());
}

// --- a run inside a run ---

static HostContext* g_nesting_host;
static long WINAPI nesting_proc(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1,
                                LPCSTR, LPCSTR, LPCSTR, LPCSTR) {
    if (command != 0) return 0;
    long r = g_nesting_host->run(t1);  // the same context, no host commands
    return answer(0, 0, record, 0, r, NULL);
}
static const TslKeywordRecord kNestingTable[] = {
    {0, TSL_KIND_FUNCTION, 1, 1, 5, "inner"},
    {0, 0, 0, 0, 0, ""},
};

TEST_F(Run, RunStartedByAHostCommandGivesTheOuterRunItsStateBack) {
    HostContext host(&g_dll);
    g_nesting_host = &host;
    EXPECT_EQ(1, host.run("a = 1\r\nok = Inner(\"b = a + 1\")\r\nc = b + ok\r\nd = StrCat(\"x\", c)\r\n",
                          nesting_proc, kNestingTable));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("2", host.get("b"));
    EXPECT_EQ("3", host.get("c"));
    EXPECT_EQ("x3", host.get("d"));
    tsl::Context* c = host.lock();
    EXPECT_EQ(nullptr, c->heap);
    EXPECT_EQ((tsl::CommandProc)nesting_proc, c->host_proc) << "the outer run's procedure is kept";
    host.unlock();
    EXPECT_EQ(0, GlobalFlags(host.heap) & GMEM_LOCKCOUNT);
}

// --- the message pump between lines ---

static int g_user_messages;
static LRESULT CALLBACK counting_proc(HWND w, UINT msg, WPARAM wp, LPARAM lp) {
    if (msg == WM_USER + 7) ++g_user_messages;
    return DefWindowProcA(w, msg, wp, lp);
}

TEST_F(Run, PumpDispatchesTheHostsMessagesAndLeavesWmQuitToTheHost) {
    WNDCLASSA wc = {};
    wc.lpfnWndProc = counting_proc;
    wc.hInstance = GetModuleHandleA(NULL);
    wc.lpszClassName = "tsl_counting";
    RegisterClassA(&wc);
    HWND w = CreateWindowA("tsl_counting", "", 0, 0, 0, 10, 10, NULL, NULL, wc.hInstance, NULL);
    ASSERT_NE(nullptr, w);
    HostContext host(&g_dll);
    g_user_messages = 0;
    for (int i = 0; i < 5; ++i) PostMessageA(w, WM_USER + 7, 0, 0);
    EXPECT_EQ(1, host.run("a = 1\r\n"));
    EXPECT_EQ(5, g_user_messages) << "messages posted before the run were not dispatched";

    PostQuitMessage(3);
    EXPECT_EQ(1, host.run("a = 2\r\n"));
    MSG msg;
    ASSERT_TRUE(PeekMessageA(&msg, NULL, WM_QUIT, WM_QUIT, PM_REMOVE)) << "WM_QUIT was swallowed";
    EXPECT_EQ(3u, msg.wParam);
    EXPECT_EQ("2", host.get("a"));
    DestroyWindow(w);
}

static HostContext* g_quiet_host;
static int g_quiet_idle;
static long WINAPI quiet_break_proc(HWND, LPARAM, long, long command, TslAnswerProc, void*, LPCSTR, LPCSTR,
                                    LPCSTR, LPCSTR, LPCSTR) {
    if (command == TSL_COMMAND_IDLE && ++g_quiet_idle == 1) {
        // The host switches the break report off and the user presses Ctrl+Break.
        g_quiet_host->service(TSL_SERVICE_BREAK_REPORT, 0);
        BYTE keys[256];
        GetKeyboardState(keys);
        keys[VK_CONTROL] = keys[VK_CANCEL] = 0x80;
        SetKeyboardState(keys);
    }
    return 0;
}

TEST_F(Run, BreakWithTheReportSwitchedOffEndsTheRunSilently) {
    HostContext host(&g_dll);
    g_quiet_host = &host;
    g_quiet_idle = 0;
    host.service(TSL_SERVICE_IDLE_CALLS, 1);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    BYTE saved[256];
    GetKeyboardState(saved);
    std::string out;
    {
        StderrCapture err;
        EXPECT_EQ(1, host.run("a = 1\r\nb = 2\r\nc = 3\r\n", quiet_break_proc, nullptr));
        out = err.text();
    }
    saved[VK_CONTROL] = saved[VK_CANCEL] = 0;
    SetKeyboardState(saved);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);
    EXPECT_EQ(1, host.service(TSL_SERVICE_RUN_BREAK));
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_RESULT));
    EXPECT_EQ("", out) << "a break with the report off showed something";
    EXPECT_EQ("<undefined>", host.get("c"));
    tsl::Context* c = host.lock();
    EXPECT_EQ(0, c->break_report);
    host.unlock();
    // The next run starts with the report on again.
    host.service(TSL_SERVICE_IDLE_CALLS, 0);
    EXPECT_EQ(1, host.run("a = 5\r\n"));
    c = host.lock();
    EXPECT_EQ(1, c->break_report);
    host.unlock();
}

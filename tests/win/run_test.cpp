// ProcessDaBatBuffer, DLLServices and the exported helpers, driven as a host.
#include "host_harness.h"

class Run : public DllTest {};

TEST_F(Run, RunResultsTellHowTheRunEnded) {
    struct { int line; const char* script; long error, result; } rows[] = {
        {__LINE__, "", 0, 1}, {__LINE__, "a = 1\r\n", 0, 1},  // an empty run; ran out of lines
        {__LINE__, "exit\r\na = 2\r\n", 0, 0}, {__LINE__, "return\r\n", 0, -1},
        {__LINE__, "a = 1 +\r\n", 3061, 0},  // an error stops the run (console: no box)
    };
    HostContext host;
    g_dll.console(1);
    StderrCapture err;
    for (auto& r : rows) {
        long ran = host.run(r.script);
        EXPECT_EQ(joined(1, r.error, r.result, 0), joined(ran, host.error(), host.result(), host.service(TSL_SERVICE_RUN_BREAK)))
            << "row at line " << r.line;
    }
    g_dll.console(0);
    EXPECT_NE(std::string::npos, err.text().find("error 3061")) << err.text();
}

TEST_F(Run, VariableServicesWorkBetweenRuns) {
    HostContext host;
    EXPECT_EQ(1, host.service(TSL_SERVICE_SET_VAR, (LPARAM) "Greeting", (LPARAM) "hello there"));
    EXPECT_EQ(1, host.run("answer = StrLen(greeting) + 1\r\n"));
    EXPECT_EQ("12 <undefined>", joined(host.get("ANSWER"), host.get("nosuchname")));
    char small[6] = "#####";  // the buffer size bounds the copy
    EXPECT_EQ(1, host.service(TSL_SERVICE_GET_VAR, (LPARAM) "greeting", (LPARAM)small, 4));
    EXPECT_EQ(std::string("hel\0#", 5), std::string(small, 5));
    // no name, an unknown request, no context
    EXPECT_EQ("0 0 0", joined(host.service(TSL_SERVICE_GET_VAR, 0, (LPARAM)small, 4), host.service(999),
                              g_dll.services(NULL, TSL_SERVICE_IDENT, (LPARAM) "x", 0, 0)));
    tsl::Context* c = host.lock();  // outside a run the blocks are unlocked again
    EXPECT_EQ(nullptr, c->vars);
    EXPECT_EQ(nullptr, c->heap);
    host.unlock();
    for (HGLOBAL block : {host.vars, host.heap, host.ctx}) EXPECT_EQ(0u, GlobalFlags(block) & GMEM_LOCKCOUNT);
}

// (The script name of console reports: every script test's .err.)
TEST_F(Run, IdentificationIsCutToItsBufferAndShownInReports) {
    HostContext host;
    EXPECT_EQ(1, host.service(TSL_SERVICE_IDENT, (LPARAM)std::string(400, 'x').c_str()));
    User user({IDOK});
    host.run("x = 1 +\r\n");
    user.finish();
    ASSERT_EQ(1u, user.seen().size());
    EXPECT_EQ("x = 1 +\n\n" + std::string(256, 'x') + "\nTSL Version: 1.3a", user.seen()[0].text);
}

// --- host commands ---

static int g_idle_calls;
static std::vector<std::string> g_texts;
static long WINAPI host_proc(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1,
                             LPCSTR t2, LPCSTR, LPCSTR, LPCSTR) {
    if (command == TSL_COMMAND_IDLE) { ++g_idle_calls; return 0; }
    if (command == 1) return answer(0, 0, record, 0, 4242, NULL);  // number()
    g_texts.push_back(std::string(t1) + "+" + t2);                 // join(a, b)
    return answer(0, 0, record, 1, 0, g_texts.back().c_str());
}
static const TslKeywordRecord kTable[] = {
    {0, TSL_KIND_FUNCTION, 2, 3, 4, "join"}, {1, TSL_KIND_FUNCTION, 0, 0, 6, "number"}, {0, 0, 0, 0, 0, ""}};

TEST_F(Run, HostCommandsAnswerThroughViperAnswerAndIdleCallsComeWhenAskedFor) {
    HostContext host;
    for (int idle : {0, 1}) {
        g_texts.clear();
        g_idle_calls = 0;
        host.service(TSL_SERVICE_IDLE_CALLS, idle);
        EXPECT_EQ(1, host.run("x = Join(\"a\", 12)\r\nn = number() + 1\r\nc = 3\r\n", host_proc, kTable));
        EXPECT_EQ("0 a+12 4243 1", joined(host.error(), host.get("x"), host.get("n"), g_texts.size()));
        EXPECT_TRUE(idle ? g_idle_calls >= 3 : g_idle_calls == 0)
            << g_idle_calls << " idle calls; asked for, one at least comes before every line";
    }
    auto answer = (TslAnswerProc)(void*)GetProcAddress(g_dll.module, "ViperAnswer");
    ASSERT_NE(nullptr, answer);
    EXPECT_EQ("5 -2", joined(answer(5, 0, nullptr, 0, 1, NULL), answer(-2, 0, nullptr, 1, 0, "x"))) << "no record: the code comes back";
}

static HostContext* g_nesting_host;
static long WINAPI nesting_proc(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1,
                                LPCSTR, LPCSTR, LPCSTR, LPCSTR) {
    if (command != 0) return 0;
    long r = g_nesting_host->run(t1, nullptr, nullptr);  // the same context, no host commands
    return answer(0, 0, record, 0, r, NULL);
}

TEST_F(Run, RunStartedByAHostCommandGivesTheOuterRunItsStateBack) {
    static const TslKeywordRecord table[] = {{0, TSL_KIND_FUNCTION, 1, 1, 5, "inner"}, {0, 0, 0, 0, 0, ""}};
    HostContext host;
    g_nesting_host = &host;
    host.service(TSL_SERVICE_CONSOLE, 1);  // a failure reports on standard error, no box waits
    // The outer statement goes on after the command (+ 10), and its IF result survives the inner run's.
    EXPECT_EQ(1, host.run("a = 1\r\nb = 2\r\nif a == 1 then ok = Inner(\"if a == 5 then b = 7\") + 10\r\n"
                          "else ok = 99\r\nc = b + ok\r\nd = StrCat(\"x\", c)\r\n", nesting_proc, table));
    EXPECT_EQ("0 x13", joined(host.error(), host.get("d"))) << "b 2, ok 1 + 10";
    tsl::Context* c = host.lock();
    EXPECT_EQ(nullptr, c->heap);
    EXPECT_EQ((tsl::CommandProc)nesting_proc, c->host_proc) << "the outer run's procedure is kept";
    host.unlock();
    EXPECT_EQ(0u, GlobalFlags(host.heap) & GMEM_LOCKCOUNT);
}

// --- windows of the run ---

static int g_user_messages;
static LRESULT CALLBACK counting_proc(HWND w, UINT msg, WPARAM wp, LPARAM lp) {
    if (msg == WM_USER + 7) ++g_user_messages;
    return DefWindowProcA(w, msg, wp, lp);
}

// The pump dispatches the host's messages and leaves WM_QUIT to the host; the
// owner is stored at every run, the main window at the first.
TEST_F(Run, PumpOwnerAndMainWindow) {
    HWND w = test_window("tsl_counting", counting_proc, "", 0, 10, 10);
    HWND child = CreateWindowA("STATIC", "child", WS_CHILD, 0, 0, 10, 10, w, NULL, NULL, NULL);
    ASSERT_NE(nullptr, child);
    HostContext host;
    g_user_messages = 0;
    for (int i = 0; i < 5; ++i) PostMessageA(w, WM_USER + 7, 0, 0);
    EXPECT_EQ(1, host.run("a = 1\r\n", HostContext::echo_proc, nullptr, child));
    EXPECT_EQ(5, g_user_messages) << "messages posted before the run were not dispatched";
    PostQuitMessage(3);
    EXPECT_EQ(1, host.run("a = 2\r\n", HostContext::echo_proc, nullptr, w));
    MSG msg;
    ASSERT_TRUE(PeekMessageA(&msg, NULL, WM_QUIT, WM_QUIT, PM_REMOVE)) << "WM_QUIT was swallowed";
    EXPECT_EQ("3 2", joined(msg.wParam, host.get("a")));
    tsl::Context* c = host.lock();
    EXPECT_TRUE(c->owner == w && c->owner_parent == NULL);
    EXPECT_EQ(child, c->main_window) << "the main window is set by the first run only";
    EXPECT_EQ(c->arrow_cursor, c->current_cursor) << "the arrow cursor after the run";
    host.unlock();
    DestroyWindow(w);
}

TEST_F(Run, VMallocAndVFreeWorkOnTheHostsHeap) {
    auto vmalloc = (unsigned short(WINAPI*)(void*, unsigned long))(void*)GetProcAddress(g_dll.module, "VMalloc");
    auto vfree = (void(WINAPI*)(void*, unsigned short))(void*)GetProcAddress(g_dll.module, "VFree");
    ASSERT_TRUE(vmalloc && vfree);
    HostContext host(&g_dll, "tslhostvm", "vm", 100, 4096);
    void* heap = GlobalLock(host.heap);
    unsigned short a = vmalloc(heap, 17), b = vmalloc(heap, 0);
    EXPECT_TRUE(a && b && a != b);
    EXPECT_EQ(0, vmalloc(heap, 5000)) << "larger than the whole heap";
    vfree(heap, a);
    vfree(heap, b);
    unsigned short c = vmalloc(heap, 1500), d = vmalloc(heap, 1500), e = vmalloc(heap, 1500);
    EXPECT_TRUE(c && d && !e) << "a third 1500-byte block cannot fit in 4096 bytes";
    vfree(heap, c);
    vfree(heap, d);
    EXPECT_NE(0, vmalloc(heap, 3000)) << "freed neighbours were not merged";
    GlobalUnlock(host.heap);
}

TEST_F(Run, CallFindsFilesAsGivenThenAlongPath) {
    TempDir dir("tslsearch");
    std::string sub = dir.at("onpath");
    CreateDirectoryA(sub.c_str(), NULL);
    write_file(dir.at("here.inc"), "Echo(\"here\")\r\n");
    write_file(sub + "\\far.inc", "Echo(\"far\")\r\n");
    write_file(sub + "\\here.inc", "Echo(\"path copy\")\r\n");
    char old_path[8192], old_dir[MAX_PATH];
    GetEnvironmentVariableA("PATH", old_path, sizeof old_path);
    GetCurrentDirectoryA(sizeof old_dir, old_dir);
    SetEnvironmentVariableA("PATH", (std::string("C:\\nonexistent;") + sub + ";" + old_path).c_str());
    SetCurrentDirectoryA(dir.dir.c_str());
    HostContext host;
    g_dll.console(1);
    StderrCapture err;
    EXPECT_EQ(1, host.run("Call(\"here.inc\", \"\")\r\nCall(\"far.inc\", \"\")\r\nCall(\"nowhere.inc\", \"\")\r\n"));
    g_dll.console(0);
    SetCurrentDirectoryA(old_dir);
    SetEnvironmentVariableA("PATH", old_path);
    EXPECT_EQ("here\nfar\n", host.out) << "the current directory comes first, then the directories of PATH";
    EXPECT_EQ(102, host.error()) << "the run stops with the error of the Call statement";
    EXPECT_NE(std::string::npos, err.text().find("error 102: Specified menu/batch file not found")) << err.text();
}

// DoDaDllInit in every mode, the settings, the window classes and the
// resources, driven through the DLL's exports as a host does it.
#include "host_harness.h"

class Startup : public DllTest {};

TEST_F(Startup, EveryEntryIsExportedUnderItsPlainName) {
    for (const char* n : {"DoDaDllInit", "ProcessDaBatBuffer", "DLLServices", "ViperAnswer", "LibMain",
                          "ProcessSubExpression", "get_token", "find_var", "VMalloc", "VFree"})
        EXPECT_NE(nullptr, (void*)GetProcAddress(g_dll.module, n)) << n;
}

TEST_F(Startup, Mode0AcceptsEveryVersionWithHighByte0x12) {
    struct { int line; WPARAM version; WORD want; } rows[] = {
        {__LINE__, 0x1200, 8016}, {__LINE__, 0x12FF, 8016},  // the low byte does not count
        {__LINE__, 0x51234, 8016},                           // nor do the bits above the low 16
        {__LINE__, 0x1300, 0},                               // a mismatch, in console mode
    };
    StderrCapture err;
    g_dll.console(1);
    for (auto& r : rows)
        EXPECT_EQ(r.want, g_dll.init(GetModuleHandleA(NULL), NULL, r.version, 0, 0, NULL, NULL)) << "row at line " << r.line;
    g_dll.console(0);
    EXPECT_EQ("BOX(DLL mismatch): Version Interface Incompatible\r\n", err.text()) << "one console box, for the mismatch";
}

TEST_F(Startup, Mode0MismatchShowsTheBoxAndGivesZero) {
    User user({IDOK});
    EXPECT_EQ(0, g_dll.init(GetModuleHandleA(NULL), NULL, 0x1100, 0, 0, NULL, NULL));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size()) << "no box appeared";
    EXPECT_EQ("DLL mismatch", seen[0].caption);
    EXPECT_EQ("Version Interface Incompatible", seen[0].text);
}

TEST_F(Startup, ModesGiveTheirResultsAndFillTheContext) {
    HostContext host(&g_dll, "tslhostfill");
    EXPECT_EQ(8016, host.results[0]);
    EXPECT_EQ(44, host.results[1]);
    EXPECT_EQ(1, host.results[2]);
    EXPECT_EQ(1, host.results[3]);
    tsl::Context* c = host.lock();
    ASSERT_NE(nullptr, c);
    EXPECT_STREQ("tslhost", c->host_name1);
    EXPECT_STREQ("1.0", c->host_name2);
    EXPECT_STREQ("tslhostfill", c->host_name3);
    EXPECT_STREQ("second name", c->host_name4);
    EXPECT_EQ(7, c->host_value);
    EXPECT_EQ(2000, c->var_capacity);
    EXPECT_EQ(host.vars, c->var_block);
    EXPECT_EQ(host.heap, c->heap_block);
    EXPECT_EQ(host.ctx, c->self_block);
    EXPECT_EQ(LoadCursorA(NULL, (LPCSTR)IDC_WAIT), c->wait_cursor);
    EXPECT_EQ(LoadCursorA(NULL, (LPCSTR)IDC_ARROW), c->current_cursor);
    EXPECT_GT(c->font_height, c->font_width) << "font metrics measured";
    EXPECT_EQ(1, c->attached);
    host.unlock();
}

TEST_F(Startup, HeapSizeComesFromTheHostValueAndIsClamped) {
    struct { int line; LPARAM asked; uint32_t want; } rows[] = {
        {__LINE__, 4096, 4096}, {__LINE__, 65536, 65536}, {__LINE__, 200000, 65536},
        {__LINE__, 0, 65536},  // no size given: the whole block
    };
    for (auto& r : rows) {
        HostContext host(&g_dll, "tslhostheap", "heap test", 100, r.asked);
        EXPECT_EQ(1, host.results[3]) << "row at line " << r.line;
        EXPECT_EQ(r.want, host.lock()->heap_size) << "row at line " << r.line;
        host.unlock();
        EXPECT_EQ(1, host.service(TSL_SERVICE_SET_VAR, (LPARAM) "h", (LPARAM) "value")) << "row at line " << r.line;
        EXPECT_EQ("value", host.get("h")) << "row at line " << r.line;
    }
}

TEST_F(Startup, UnusableBlocksGiveZero) {
    HINSTANCE inst = GetModuleHandleA(NULL);
    HostContext host(&g_dll, "tslhostnull");
    EXPECT_EQ(0, g_dll.init(inst, NULL, 0, TSL_INIT_CONTEXT, 0, "x", "y"));
    EXPECT_EQ(0, g_dll.init(inst, host.ctx, 0, TSL_INIT_HEAP, 65536, "x", NULL));
    EXPECT_EQ(0, g_dll.init(inst, NULL, 0, TSL_INIT_HEAP, 65536, "x", NULL));
    EXPECT_EQ(0, g_dll.init(inst, host.ctx, 0, 42, 0, NULL, NULL)) << "an unknown mode does nothing";
    HGLOBAL script = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 4);
    EXPECT_EQ(0, g_dll.run(NULL, NULL, script, nullptr, nullptr));
    EXPECT_EQ(0, g_dll.run(NULL, host.ctx, NULL, nullptr, nullptr));
    // A context that never got its variable table and heap.
    HGLOBAL bare = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, TSL_CONTEXT_SIZE);
    ASSERT_EQ(44, g_dll.init(inst, bare, 0, TSL_INIT_CONTEXT, 0, "bare", "1"));
    EXPECT_EQ(0, g_dll.run(NULL, bare, script, nullptr, nullptr));
    GlobalFree(script);
    GlobalFree(bare);
}

TEST_F(Startup, TwoContextsAttachedAtOnceKeepTheirOwnVariables) {
    HostContext a(&g_dll, "tslhosta"), b(&g_dll, "tslhostb");
    EXPECT_EQ(1, a.run("x = 1\r\ny = \"from a\"\r\n"));
    EXPECT_EQ(1, b.run("x = 2\r\n"));
    EXPECT_EQ(1, a.run("Echo(x)\r\nEcho(y)\r\n"));
    EXPECT_EQ(1, b.run("Echo(x)\r\nEcho(IsDefined(y))\r\n"));
    EXPECT_EQ("1\nfrom a\n", a.out);
    EXPECT_EQ("2\n0\n", b.out);
}

TEST_F(Startup, BusyCounterSerialisesCallsFromTwoThreads) {
    std::atomic<int> failures(0);
    auto worker = [&](const char* name) {
        for (int i = 0; i < 5; ++i) {
            HostContext host(&g_dll, name);
            if (host.results[0] != 8016 || host.results[1] != 44 || host.results[2] != 1 || host.results[3] != 1)
                ++failures;
        }
    };
    std::thread t1(worker, "tslhostt1"), t2(worker, "tslhostt2");
    t1.join();
    t2.join();
    EXPECT_EQ(0, failures.load());
}

// --- mode 99 ---

static std::vector<long> g_commands;
static long WINAPI recording_proc(HWND, LPARAM host_value, long magic, long command, TslAnswerProc answer,
                                  void* record, LPCSTR, LPCSTR, LPCSTR, LPCSTR, LPCSTR) {
    EXPECT_EQ(TSL_INTERFACE_MAGIC, magic);
    EXPECT_EQ(7, host_value);
    g_commands.push_back(command);
    return answer(0, 0, record, 0, 0, NULL);
}

TEST_F(Startup, Mode99ClosesTheScriptsFilesAndSendsTheHostTheShutdownCommand) {
    TempDir dir;
    std::string path = dir.at("w.txt");
    g_commands.clear();
    {
        HostContext host(&g_dll, "tslhostdown");
        g_dll.console(1);  // the report goes to standard error
        StderrCapture err;
        std::string open = "FileOpen(\"" + path + "\", ";
        EXPECT_EQ(1, host.run("h = " + open + "\"WRITE\")\r\nFileWrite(h, \"data\")\r\ng = " + open + "\"READ\")\r\n",
                              recording_proc, nullptr));
        g_dll.console(0);
        EXPECT_EQ(1077, host.error()) << "still open for writing, alone";
        EXPECT_EQ(std::vector<long>{}, g_commands) << "no idle calls unless asked for";
        EXPECT_FALSE(DeleteFileA(path.c_str())) << "the file is open while the context lives";
    }
    EXPECT_EQ(std::vector<long>{TSL_COMMAND_SHUTDOWN}, g_commands);
    EXPECT_EQ("data\r\n", read_file(path));
    EXPECT_TRUE(DeleteFileA(path.c_str()));
}

// --- settings ---

TEST_F(Startup, SoundsSettingIsReadAndMissingMeansOn) {
    struct { int line; const char* value; int sounds; } rows[] = {
        {__LINE__, "0", 0}, {__LINE__, "5", 1}, {__LINE__, NULL, 1},
    };
    for (auto& r : rows) {
        SettingOverride sounds("MAIN", "Sounds", r.value);
        HostContext host(&g_dll, "tslhostsnd");
        EXPECT_EQ(r.sounds, host.lock()->sounds) << "row at line " << r.line;
        host.unlock();
    }
}

TEST_F(Startup, DllUsageIsRecordedOnlyWhenItDiffersIgnoringCase) {
    SettingOverride clean("DllUsage", "tslhostusage", NULL);
    struct { int line; const char* usage; const char* recorded; } rows[] = {
        {__LINE__, "First Usage", "First Usage"},
        {__LINE__, "FIRST USAGE", "First Usage"},  // a case-only difference is not written
        {__LINE__, "Second", "Second"},
    };
    for (auto& r : rows) {
        { HostContext host(&g_dll, "tslhostusage", r.usage); }
        char buf[300];
        GetPrivateProfileStringA("DllUsage", "tslhostusage", "<none>", buf, sizeof buf, "TSLPROCS.INI");
        EXPECT_STREQ(r.recorded, buf) << "row at line " << r.line;
    }
}

// --- window classes, reloading ---

// Mode 1 registers three classes; a reloaded library registers them again,
// the dialog classes with the texture brush when PrettyDialogs is on.
TEST_F(Startup, Mode1RegistersTheThreeClassesOnlyAndAgainAfterAReload) {
    struct { const char* name; UINT style; int extra; bool cursor; } rows[] = {
        {"ts8wcmmn", 0, 8, false},
        {"ts9wcdlg", CS_HREDRAW | CS_VREDRAW, 38, true},
        {"ts0wcdl2", CS_HREDRAW | CS_VREDRAW, 38, true},
    };
    for (const char* pretty : {"1", "0"}) {
        SettingOverride setting("MAIN", "PrettyDialogs", pretty);
        g_dll.unload();
        ASSERT_TRUE(g_dll.load());
        HostContext host(&g_dll, "tslhostcls");
        EXPECT_EQ(44, host.results[1]) << "classes of the earlier load were left registered";
        WNDCLASSA wc;
        for (auto& r : rows) {
            ASSERT_TRUE(GetClassInfoA(g_dll.module, r.name, &wc)) << r.name;
            EXPECT_EQ(r.style, wc.style) << r.name;
            EXPECT_EQ(r.extra, wc.cbWndExtra) << r.name;
            EXPECT_EQ(r.cursor ? LoadCursorA(NULL, (LPCSTR)IDC_ARROW) : NULL, wc.hCursor) << r.name;
            if (!r.cursor) continue;
            LOGBRUSH lb;
            if (*pretty == '0') {
                EXPECT_EQ((HBRUSH)(COLOR_WINDOW + 1), wc.hbrBackground) << r.name;
            } else {
                ASSERT_EQ((int)sizeof lb, GetObjectA(wc.hbrBackground, sizeof lb, &lb)) << r.name;
                EXPECT_EQ((UINT)BS_PATTERN, lb.lbStyle) << r.name;
            }
        }
        EXPECT_FALSE(GetClassInfoA(g_dll.module, "ts6wcdds", &wc));
        EXPECT_FALSE(GetClassInfoA(g_dll.module, "ts7wcddc", &wc));
    }
}

// --- resources ---

TEST_F(Startup, StringTableHoldsEveryMessageExactly) {
    struct { unsigned number; const char* text; } messages[] = {
#define MSG(n, t) {n, t},
#include "resources/messages.def"
#undef MSG
    };
    ASSERT_GT(sizeof messages / sizeof messages[0], 100u);
    for (auto& m : messages) {
        char buf[2048];
        EXPECT_EQ((int)strlen(m.text), LoadStringA(g_dll.module, m.number, buf, sizeof buf)) << "message " << m.number;
        EXPECT_STREQ(m.text, buf) << "message " << m.number;
    }
}

TEST_F(Startup, VersionResourceNamesTheProduct) {
    char path[MAX_PATH], *value;
    UINT len;
    GetModuleFileNameA(g_dll.module, path, sizeof path);
    DWORD dummy, size = GetFileVersionInfoSizeA(path, &dummy);
    ASSERT_GT(size, 0u);
    std::vector<char> data(size);
    ASSERT_TRUE(GetFileVersionInfoA(path, 0, size, data.data()));
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\StringFileInfo\\040904E4\\ProductName", (void**)&value, &len));
    EXPECT_STREQ("TSL", value);
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\StringFileInfo\\040904E4\\ProductVersion", (void**)&value, &len));
    EXPECT_STREQ("1.3a", value);
    HBITMAP bmp = LoadBitmapA(g_dll.module, "BackTexture");
    EXPECT_NE(nullptr, bmp);
    DeleteObject(bmp);
}

// DoDaDllInit in every mode, the settings, the window classes and the
// resources, driven through the DLL's exports as a host does it.
#include "host_harness.h"

class Startup : public DllTest {};

TEST_F(Startup, EveryEntryIsExportedUnderItsPlainName) {
    for (const char* n : {"DoDaDllInit", "ProcessDaBatBuffer", "DLLServices", "ViperAnswer", "LibMain",
                          "ProcessSubExpression", "get_token", "find_var", "VMalloc", "VFree"})
        EXPECT_NE(nullptr, (void*)GetProcAddress(g_dll.module, n)) << n;
}

// Mode 0 accepts every version whose second byte is 0x12; a mismatch shows its box
// (on standard error in console mode) and gives 0.
TEST_F(Startup, Mode0AcceptsEveryVersionWithHighByte0x12) {
    struct { int line; WPARAM version; WORD want; } rows[] = {
        {__LINE__, 0x1200, 8016}, {__LINE__, 0x12FF, 8016},  // the low byte does not count
        {__LINE__, 0x51234, 8016}, {__LINE__, 0x1300, 0},    // nor do the bits above the low 16
    };
    StderrCapture err;
    g_dll.console(1);
    for (auto& r : rows) EXPECT_EQ(r.want, g_dll.init(GetModuleHandleA(NULL), NULL, r.version, 0, 0, NULL, NULL)) << r.line;
    g_dll.console(0);
    EXPECT_EQ("BOX(DLL mismatch): Version Interface Incompatible\r\n", err.text()) << "one console box, for the mismatch";
    User user({IDOK});
    EXPECT_EQ(0, g_dll.init(GetModuleHandleA(NULL), NULL, 0x1100, 0, 0, NULL, NULL));
    user.finish();
    ASSERT_EQ(1u, user.seen().size()) << "no box appeared";
    EXPECT_EQ("DLL mismatch|Version Interface Incompatible", user.seen()[0].caption + "|" + user.seen()[0].text);
}

TEST_F(Startup, ModesGiveTheirResultsAndFillTheContext) {
    HostContext host(&g_dll, "tslhostfill");
    EXPECT_EQ("8016 44 1 1", joined(host.results[0], host.results[1], host.results[2], host.results[3]));
    tsl::Context* c = host.lock();
    ASSERT_NE(nullptr, c);
    EXPECT_EQ("tslhost 1.0 tslhostfill second name 7 2000 1", joined(c->host_name1, c->host_name2, c->host_name3,
                                                                    c->host_name4, c->host_value, c->var_capacity, +c->attached));
    EXPECT_TRUE(c->var_block == host.vars && c->heap_block == host.heap && c->self_block == host.ctx);
    EXPECT_EQ(LoadCursorA(NULL, (LPCSTR)IDC_WAIT), c->wait_cursor);
    EXPECT_EQ(LoadCursorA(NULL, (LPCSTR)IDC_ARROW), c->current_cursor);
    EXPECT_GT(c->font_height, c->font_width) << "font metrics measured";
    host.unlock();
}

// The heap size comes from the host value, clamped to 65,536 (0: the whole block);
// the Sounds setting is read, and missing means on.
TEST_F(Startup, HeapSizeFromTheHostValueAndTheSoundsSetting) {
    struct { int line; LPARAM asked; uint32_t want; const char* sounds; int on; } rows[] = {
        {__LINE__, 4096, 4096, "0", 0}, {__LINE__, 65536, 65536, "5", 1}, {__LINE__, 200000, 65536, NULL, 1},
        {__LINE__, 0, 65536, "0", 0},
    };
    for (auto& r : rows) {
        SCOPED_TRACE(r.line);
        SettingOverride sounds("MAIN", "Sounds", r.sounds);
        HostContext host(&g_dll, "tslhostheap", "heap test", 100, r.asked);
        tsl::Context* c = host.lock();
        EXPECT_EQ(joined(1, r.want, r.on), joined(host.results[3], c->heap_size, +c->sounds));
        host.unlock();
        EXPECT_EQ(1, host.service(TSL_SERVICE_SET_VAR, (LPARAM) "h", (LPARAM) "value"));
        EXPECT_EQ("value", host.get("h"));
    }
}

TEST_F(Startup, BusyCounterSerialisesCallsFromTwoThreads) {
    std::atomic<int> failures(0);
    auto worker = [&](const char* name) {
        for (int i = 0; i < 5; ++i) {
            HostContext host(&g_dll, name);
            failures += joined(host.results[0], host.results[1], host.results[2], host.results[3]) != "8016 44 1 1";
        }
    };
    std::thread t1(worker, "tslhostt1"), t2(worker, "tslhostt2");
    t1.join();
    t2.join();
    EXPECT_EQ(0, failures.load());
}

TEST_F(Startup, UnusableBlocksGiveZero) {
    HINSTANCE inst = GetModuleHandleA(NULL);
    HostContext host(&g_dll, "tslhostnull");
    HGLOBAL script = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 4);
    HGLOBAL bare = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, TSL_CONTEXT_SIZE);  // no variable table, no heap
    ASSERT_EQ(44, g_dll.init(inst, bare, 0, TSL_INIT_CONTEXT, 0, "bare", "1"));
    EXPECT_EQ("0 0 0 0 0 0 0", joined(g_dll.init(inst, NULL, 0, TSL_INIT_CONTEXT, 0, "x", "y"),
                                      g_dll.init(inst, host.ctx, 0, TSL_INIT_HEAP, 65536, "x", NULL),
                                      g_dll.init(inst, NULL, 0, TSL_INIT_HEAP, 65536, "x", NULL),
                                      g_dll.init(inst, host.ctx, 0, 42, 0, NULL, NULL),  // an unknown mode
                                      g_dll.run(NULL, NULL, script, nullptr, nullptr),
                                      g_dll.run(NULL, host.ctx, NULL, nullptr, nullptr),
                                      g_dll.run(NULL, bare, script, nullptr, nullptr)));
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
    std::string path = dir.at("w.txt"), open = "FileOpen(\"" + dir.at("w.txt") + "\", ";
    g_commands.clear();
    {
        HostContext host(&g_dll, "tslhostdown");
        g_dll.console(1);  // the report goes to standard error
        StderrCapture err;
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

TEST_F(Startup, DllUsageIsRecordedOnlyWhenItDiffersIgnoringCase) {
    SettingOverride clean("DllUsage", "tslhostusage", NULL);
    // A case-only difference is not written.
    const char* rows[][2] = {{"First Usage", "First Usage"}, {"FIRST USAGE", "First Usage"}, {"Second", "Second"}};
    for (auto& r : rows) {
        { HostContext host(&g_dll, "tslhostusage", r[0]); }
        char buf[300];
        GetPrivateProfileStringA("DllUsage", "tslhostusage", "<none>", buf, sizeof buf, "TSLPROCS.INI");
        EXPECT_STREQ(r[1], buf) << r[0];
    }
}

// Mode 1 registers three classes; a reloaded library registers them again,
// the dialog classes with the texture brush when PrettyDialogs is on.
TEST_F(Startup, Mode1RegistersTheThreeClassesOnlyAndAgainAfterAReload) {
    struct { const char* name; UINT style; int extra; bool cursor; } rows[] = {
        {"ts8wcmmn", 0, 8, false}, {"ts9wcdlg", CS_HREDRAW | CS_VREDRAW, 38, true}, {"ts0wcdl2", CS_HREDRAW | CS_VREDRAW, 38, true},
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
            EXPECT_EQ(joined(r.style, r.extra, r.cursor ? LoadCursorA(NULL, (LPCSTR)IDC_ARROW) : NULL),
                      joined(wc.style, wc.cbWndExtra, wc.hCursor)) << r.name;
            LOGBRUSH lb = {};
            GetObjectA(wc.hbrBackground, sizeof lb, &lb);
            if (r.cursor && *pretty == '0') EXPECT_EQ((HBRUSH)(COLOR_WINDOW + 1), wc.hbrBackground) << r.name;
            if (r.cursor && *pretty == '1') EXPECT_EQ((UINT)BS_PATTERN, lb.lbStyle) << r.name;
        }
        EXPECT_FALSE(GetClassInfoA(g_dll.module, "ts6wcdds", &wc) || GetClassInfoA(g_dll.module, "ts7wcddc", &wc));
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
    std::vector<char> data(size + 1);
    ASSERT_TRUE(size && GetFileVersionInfoA(path, 0, size, data.data()));
    const char* fields[][2] = {{"ProductName", "TSL"}, {"ProductVersion", "1.3a"}};
    for (auto& f : fields) {
        ASSERT_TRUE(VerQueryValueA(data.data(), (std::string("\\StringFileInfo\\040904E4\\") + f[0]).c_str(), (void**)&value, &len));
        EXPECT_STREQ(f[1], value);
    }
    HBITMAP bmp = LoadBitmapA(g_dll.module, "BackTexture");
    EXPECT_NE(nullptr, bmp);
    DeleteObject(bmp);
}

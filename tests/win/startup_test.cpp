// DoDaDllInit in every mode, the settings, the window classes, LibMain and
// the resources, driven through the DLL's exports as a host does it.
#include <gtest/gtest.h>
#include <thread>
#include <atomic>
#include <vector>
#include "host_harness.h"

static Dll g_dll;

class Startup : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
};

// --- the exports ---

TEST_F(Startup, EveryEntryIsExportedUnderItsPlainName) {
    const char* names[] = {"DoDaDllInit", "ProcessDaBatBuffer", "DLLServices", "ViperAnswer", "LibMain",
                           "ProcessSubExpression", "get_token", "find_var", "VMalloc", "VFree"};
    for (const char* n : names) EXPECT_NE(nullptr, (void*)GetProcAddress(g_dll.module, n)) << n;
}

// --- mode 0 ---

TEST_F(Startup, Mode0AcceptsEveryVersionWithHighByte0x12) {
    struct { WPARAM version; WORD want; } rows[] = {
        {0x1200, 8016},     // row 0: the version itself
        {0x12FF, 8016},     // row 1: the low byte does not count
        {0x51234, 8016},    // row 2: nor do the bits above the low 16
    };
    StderrCapture err;  // console mode is off: nothing may be written
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        WORD r = g_dll.init(GetModuleHandleA(NULL), NULL, rows[i].version, 0, 0, NULL, NULL);
        EXPECT_EQ(rows[i].want, r) << "row " << i;
    }
    EXPECT_EQ("", err.text());
}

// Collects the texts of a window's Static children.
static BOOL CALLBACK collect_static(HWND child, LPARAM out) {
    char cls[32], text[256];
    GetClassNameA(child, cls, sizeof cls);
    if (lstrcmpiA(cls, "Static") == 0) {
        GetWindowTextA(child, text, sizeof text);
        *(std::string*)out += text;
    }
    return TRUE;
}

// The user: waits for a top-level window with that caption, reads its
// static text and presses the button `id`.
static std::thread play_box(const char* caption, int id, std::string* text, std::atomic<bool>* seen) {
    return std::thread([=] {
        for (int i = 0; i < 200; ++i) {
            HWND box = FindWindowA(NULL, caption);
            if (box) {
                EnumChildWindows(box, collect_static, (LPARAM)text);
                seen->store(true);
                PostMessageA(box, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), 0);
                return;
            }
            Sleep(50);
        }
    });
}

TEST_F(Startup, Mode0MismatchShowsTheBoxAndGivesZero) {
    std::string text;
    std::atomic<bool> seen(false);
    std::thread user = play_box("DLL mismatch", IDOK, &text, &seen);
    WORD r = g_dll.init(GetModuleHandleA(NULL), NULL, 0x1100, 0, 0, NULL, NULL);
    user.join();
    EXPECT_EQ(0, r);
    EXPECT_TRUE(seen.load()) << "no box captioned \"DLL mismatch\" appeared";
    EXPECT_EQ("Version Interface Incompatible", text);
}

TEST_F(Startup, Mode0MismatchInConsoleModeWritesTheBoxToStandardError) {
    StderrCapture err;
    EXPECT_EQ(1, g_dll.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0));
    WORD r = g_dll.init(GetModuleHandleA(NULL), NULL, 0x1300, 0, 0, NULL, NULL);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);
    EXPECT_EQ(0, r);
    EXPECT_EQ("BOX(DLL mismatch): Version Interface Incompatible\r\n", err.text());
}

// --- modes 1, 2, 3 ---

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
    EXPECT_EQ(3000u, c->dde_timeout);
    EXPECT_STREQ("\t", c->delim1);
    EXPECT_STREQ("\t", c->delim2);
    EXPECT_EQ(7, c->host_value);
    EXPECT_EQ(2000, c->var_capacity);
    EXPECT_EQ(65536u, c->heap_size);
    EXPECT_EQ(host.vars, c->var_block);
    EXPECT_EQ(host.heap, c->heap_block);
    EXPECT_EQ(host.ctx, c->self_block);
    EXPECT_EQ(LoadCursorA(NULL, (LPCSTR)IDC_WAIT), c->wait_cursor);
    EXPECT_EQ(LoadCursorA(NULL, (LPCSTR)IDC_ARROW), c->arrow_cursor);
    EXPECT_EQ(c->arrow_cursor, c->current_cursor);
    EXPECT_GT(c->font_width, 0);
    EXPECT_GT(c->font_height, c->font_width);
    EXPECT_EQ(1, c->attached);
    host.unlock();
}

TEST_F(Startup, HeapSizeComesFromTheHostValueAndIsClamped) {
    struct { LPARAM asked; uint32_t want; } rows[] = {
        {4096, 4096},      // row 0: a small heap
        {65536, 65536},    // row 1: the largest
        {200000, 65536},   // row 2: more is cut to 65536
        {0, 65536},        // row 3: no size given: the whole block
    };
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        HostContext host(&g_dll, "tslhostheap", "heap test", 100, rows[i].asked);
        EXPECT_EQ(1, host.results[3]) << "row " << i;
        tsl::Context* c = host.lock();
        EXPECT_EQ(rows[i].want, c->heap_size) << "row " << i;
        host.unlock();
        // The heap works at that size: a variable can be set and read.
        EXPECT_EQ(1, host.service(TSL_SERVICE_SET_VAR, (LPARAM) "h", (LPARAM) "value")) << "row " << i;
        EXPECT_EQ("value", host.get("h")) << "row " << i;
    }
}

TEST_F(Startup, UnlockableBlocksGiveZero) {
    HINSTANCE inst = GetModuleHandleA(NULL);
    EXPECT_EQ(0, g_dll.init(inst, NULL, 0, TSL_INIT_CONTEXT, 0, "x", "y"));
    HostContext host(&g_dll, "tslhostnull");
    EXPECT_EQ(0, g_dll.init(inst, host.ctx, 0, TSL_INIT_HEAP, 65536, "x", NULL));
    EXPECT_EQ(0, g_dll.init(inst, NULL, 0, TSL_INIT_HEAP, 65536, "x", NULL));
    EXPECT_EQ(0, g_dll.init(inst, host.ctx, 0, 42, 0, NULL, NULL)) << "an unknown mode does nothing";
}

TEST_F(Startup, TwoContextsAttachedAtOnceKeepTheirOwnVariables) {
    HostContext a(&g_dll, "tslhosta"), b(&g_dll, "tslhostb");
    EXPECT_EQ(1, a.run("x = 1\r\ny = \"from a\"\r\n"));
    EXPECT_EQ(1, b.run("x = 2\r\n"));
    EXPECT_EQ("1", a.get("x"));
    EXPECT_EQ("2", b.get("x"));
    EXPECT_EQ("from a", a.get("y"));
    EXPECT_EQ("<undefined>", b.get("y"));
    tsl::Context* ca = a.lock();
    tsl::Context* cb = b.lock();
    EXPECT_EQ(1, ca->attached);
    EXPECT_EQ(1, cb->attached);
    b.unlock();
    a.unlock();
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

TEST_F(Startup, Mode99ClosesFileSlotsAndSendsTheHostTheShutdownCommand) {
    char dir[MAX_PATH], path[MAX_PATH];
    GetTempPathA(sizeof dir, dir);
    GetTempFileNameA(dir, "tsl", 0, path);
    HANDLE f = CreateFileA(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, NULL);
    ASSERT_NE(INVALID_HANDLE_VALUE, f);
    g_commands.clear();
    {
        HostContext host(&g_dll, "tslhostdown");
        EXPECT_EQ(1, host.run("a = 1\r\n", recording_proc, nullptr));
        EXPECT_EQ(std::vector<long>{}, g_commands) << "no idle calls unless asked for";
        tsl::Context* c = host.lock();
        c->files[2].handle = f;
        c->files[2].mode = 4;
        host.unlock();
    }  // mode 99
    EXPECT_EQ(std::vector<long>{TSL_COMMAND_SHUTDOWN}, g_commands);
    DWORD flags;
    EXPECT_FALSE(GetHandleInformation(f, &flags)) << "the open file slot was not closed";
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(path)) << "delete-on-close file still there";
}

// --- settings ---

TEST_F(Startup, SoundsSettingIsReadAndMissingMeansOn) {
    {
        SettingOverride off("MAIN", "Sounds", "0");
        HostContext host(&g_dll, "tslhostsnd");
        tsl::Context* c = host.lock();
        EXPECT_EQ(0, c->sounds);
        host.unlock();
    }
    {
        SettingOverride on("MAIN", "Sounds", "5");
        HostContext host(&g_dll, "tslhostsnd");
        tsl::Context* c = host.lock();
        EXPECT_EQ(1, c->sounds);
        host.unlock();
    }
    {
        SettingOverride none("MAIN", "Sounds", NULL);
        HostContext host(&g_dll, "tslhostsnd");
        tsl::Context* c = host.lock();
        EXPECT_EQ(1, c->sounds);
        EXPECT_EQ(0, c->pretty_dialogs);
        host.unlock();
    }
}

static std::string usage_of(const char* host) {
    char buf[300];
    GetPrivateProfileStringA("DllUsage", host, "<none>", buf, sizeof buf, "TSLPROCS.INI");
    return buf;
}

TEST_F(Startup, DllUsageIsRecordedOnlyWhenItDiffersIgnoringCase) {
    SettingOverride clean("DllUsage", "tslhostusage", NULL);
    { HostContext host(&g_dll, "tslhostusage", "First Usage"); }
    EXPECT_EQ("First Usage", usage_of("tslhostusage"));
    { HostContext host(&g_dll, "tslhostusage", "FIRST USAGE"); }
    EXPECT_EQ("First Usage", usage_of("tslhostusage")) << "a case-only difference rewrote the record";
    { HostContext host(&g_dll, "tslhostusage", "Second"); }
    EXPECT_EQ("Second", usage_of("tslhostusage"));
}

// --- window classes, reloading ---

struct ClassRow { const char* name; UINT style; int extra; bool cursor; };
static const ClassRow kClasses[] = {
    {"ts8wcmmn", 0, 8, false},
    {"ts9wcdlg", CS_HREDRAW | CS_VREDRAW, 38, true},
    {"ts0wcdl2", CS_HREDRAW | CS_VREDRAW, 38, true},
};

TEST_F(Startup, Mode1RegistersTheThreeClassesOnly) {
    HostContext host(&g_dll, "tslhostcls");
    for (const ClassRow& row : kClasses) {
        WNDCLASSA wc;
        ASSERT_TRUE(GetClassInfoA(g_dll.module, row.name, &wc)) << row.name;
        EXPECT_EQ(row.style, wc.style) << row.name;
        EXPECT_EQ(row.extra, wc.cbWndExtra) << row.name;
        EXPECT_EQ(row.cursor ? LoadCursorA(NULL, (LPCSTR)IDC_ARROW) : NULL, wc.hCursor) << row.name;
    }
    WNDCLASSA wc;
    EXPECT_FALSE(GetClassInfoA(g_dll.module, "ts6wcdds", &wc));
    EXPECT_FALSE(GetClassInfoA(g_dll.module, "ts7wcddc", &wc));
}

TEST_F(Startup, ReloadedLibraryRegistersAgainWithTheTextureBrushWhenPretty) {
    SettingOverride pretty("MAIN", "PrettyDialogs", "1");
    g_dll.unload();
    ASSERT_TRUE(g_dll.load());
    {
        HostContext host(&g_dll, "tslhostpretty");
        EXPECT_EQ(44, host.results[1]) << "classes of the earlier load were left registered";
        WNDCLASSA wc;
        ASSERT_TRUE(GetClassInfoA(g_dll.module, "ts0wcdl2", &wc));
        EXPECT_NE((HBRUSH)(COLOR_WINDOW + 1), wc.hbrBackground);
        EXPECT_NE(nullptr, wc.hbrBackground);
        LOGBRUSH lb;
        ASSERT_EQ((int)sizeof lb, GetObjectA(wc.hbrBackground, sizeof lb, &lb));
        EXPECT_EQ((UINT)BS_PATTERN, lb.lbStyle);
    }
    g_dll.unload();
    ASSERT_TRUE(g_dll.load());
    SettingOverride plain("MAIN", "PrettyDialogs", "0");
    HostContext host(&g_dll, "tslhostplain");
    WNDCLASSA wc;
    ASSERT_TRUE(GetClassInfoA(g_dll.module, "ts9wcdlg", &wc));
    EXPECT_EQ((HBRUSH)(COLOR_WINDOW + 1), wc.hbrBackground);
}

// --- resources ---

struct MessageRow { unsigned number; const char* text; };
#define MSG(n, t) {n, t},
static const MessageRow kMessages[] = {
#include "resources/messages.def"
};
#undef MSG

TEST_F(Startup, StringTableHoldsEveryMessageExactly) {
    ASSERT_GT(sizeof kMessages / sizeof kMessages[0], 100u);
    for (const MessageRow& m : kMessages) {
        char buf[2048];
        int n = LoadStringA(g_dll.module, m.number, buf, sizeof buf);
        EXPECT_EQ((int)strlen(m.text), n) << "message " << m.number;
        EXPECT_STREQ(m.text, buf) << "message " << m.number;
    }
}

TEST_F(Startup, VersionResourceNamesTheProduct) {
    char path[MAX_PATH];
    GetModuleFileNameA(g_dll.module, path, sizeof path);
    DWORD dummy, size = GetFileVersionInfoSizeA(path, &dummy);
    ASSERT_GT(size, 0u);
    std::vector<char> data(size);
    ASSERT_TRUE(GetFileVersionInfoA(path, 0, size, data.data()));
    char* value;
    UINT len;
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\StringFileInfo\\040904E4\\ProductName", (void**)&value, &len));
    EXPECT_STREQ("TSL", value);
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\StringFileInfo\\040904E4\\ProductVersion", (void**)&value, &len));
    EXPECT_STREQ("1.3a", value);
    HBITMAP bmp = LoadBitmapA(g_dll.module, "BackTexture");
    EXPECT_NE(nullptr, bmp);
    DeleteObject(bmp);
}

TEST_F(Startup, BusyCounterSerialisesCallsFromTwoThreads) {
    // Two threads start and stop contexts at once; every call must succeed.
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

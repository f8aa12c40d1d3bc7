// File functions seen from a host: pipes read again after "no data", the
// FileTimeGet layout under the INTL settings, the host's "itemizenull"
// command, the OEM-to-ANSI pass of FileItemize, files closed at shutdown.
#include <gtest/gtest.h>
#include "host_harness.h"
#include "files_fixture.h"

using namespace files_test;

static Dll g_dll;

class FilesHost : public ::testing::Test {
protected:
    std::string dir;
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
    void SetUp() override { dir = make_temp_dir(); }
    void TearDown() override { remove_tree(dir); }
    std::string at(const std::string& name) { return dir + "\\" + name; }
};

// The server end of a named pipe: waits for the script's "go" and "more"
// before writing, so the script meets a pipe with no data in between.
static DWORD WINAPI pipe_server(void* p) {
    HANDLE pipe = (HANDLE)p;
    ConnectNamedPipe(pipe, NULL);
    char buf[16];
    DWORD n;
    ReadFile(pipe, buf, 2, &n, NULL);           // "go"
    WriteFile(pipe, "one\rtw", 6, &n, NULL);
    ReadFile(pipe, buf, 4, &n, NULL);           // "more"
    WriteFile(pipe, "o\r", 2, &n, NULL);
    ReadFile(pipe, buf, 1, &n, NULL);           // ends when the script closes its end
    return 0;
}

TEST_F(FilesHost, PipeWithoutDataIsReadAgainLater) {
    std::string name = "\\\\.\\pipe\\tslfiles-" + std::to_string(GetCurrentProcessId());
    HANDLE pipe = CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 4096, 4096, 0, NULL);
    ASSERT_NE(INVALID_HANDLE_VALUE, pipe);
    HANDLE server = CreateThread(NULL, 0, pipe_server, pipe, 0, NULL);
    HostContext host(&g_dll);
    host.run("h = FileOpen(\"" + name + "\", \"PIPE\")\r\n"
             "a = FileRead(h)\r\n"
             "FileWrite(h, \"go\")\r\n"
             "Delay(1)\r\n"
             "b = FileRead(h)\r\n"
             "c = FileRead(h)\r\n"
             "d = FileRead(h)\r\n"
             "FileWrite(h, \"more\")\r\n"
             "Delay(1)\r\n"
             "e = FileRead(h)\r\n"
             "FileClose(h)\r\n");
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("*EOF*", host.get("a"));   // nothing yet: "*EOF*", and no end-of-file bits
    EXPECT_EQ("one", host.get("b"));
    EXPECT_EQ("tw", host.get("c"));      // a partial line when the data stops
    EXPECT_EQ("*EOF*", host.get("d"));
    EXPECT_EQ("o", host.get("e"));       // read again after "no data"
    WaitForSingleObject(server, 5000);
    CloseHandle(server);
    CloseHandle(pipe);
}

// One [INTL] setting of the user's profile, restored afterwards.
struct IntlOverride {
    std::string key, old;
    bool had;
    IntlOverride(const char* k, const char* value) : key(k) {
        char buf[64];
        GetProfileStringA("INTL", k, "\x01", buf, sizeof buf);
        had = strcmp(buf, "\x01") != 0;
        old = buf;
        WriteProfileStringA("INTL", k, value);
    }
    ~IntlOverride() { WriteProfileStringA("INTL", key.c_str(), had ? old.c_str() : NULL); }
};

TEST_F(FilesHost, FileTimeGetLayouts) {
    write_file(at("f.txt"), "x");
    HostContext host(&g_dll);
    std::string get = "t = FileTimeGet(\"" + at("f.txt") + "\")\r\n";
    struct Row { int y, mo, d, h, mi; const char* idate; const char* itime; const char* sdate; const char* stime;
                 const char* am; const char* pm; const char* expected; } rows[] = {
        {1995, 1, 5, 9, 7, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, " 1/05/95   9:07AM"},   // row 0
        {1995, 1, 5, 0, 5, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, " 1/05/95  12:05AM"},   // row 1
        {1995, 12, 25, 12, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "12/25/95  12:00PM"}, // row 2
        {1999, 3, 9, 23, 59, "1", "1", ".", ".", nullptr, nullptr, " 9.03.99  23.59  "},                 // row 3
        {1988, 7, 4, 13, 1, "2", "0", "-", nullptr, "vorm", "nachm", "88-07-04   1:01na"},               // row 4
        // from 2000 on the year's tens run past '9': 2005 is DOS year 25, 25 + 80 = 105
        {2005, 2, 3, 10, 30, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, " 2/03/:5  10:30AM"},  // row 5
        {2026, 11, 21, 17, 40, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "11/21/<6   5:40PM"}, // row 6
    };
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; i++) {
        const Row& r = rows[i];
        IntlOverride idate("IDATE", r.idate), itime("ITIME", r.itime), sdate("SDATE", r.sdate),
            stime("STIME", r.stime), am("S1159", r.am), pm("S2359", r.pm);
        set_local_time(at("f.txt"), r.y, r.mo, r.d, r.h, r.mi);
        host.run(get);
        EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR)) << "row " << i;
        EXPECT_EQ(r.expected, host.get("t")) << "row " << i;
    }
}

// The host's "itemizenull" command answers FileItemize("") and DirItemize("").
static std::string g_itemize_args;
static long WINAPI itemize_host(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1,
                                LPCSTR, LPCSTR, LPCSTR, LPCSTR) {
    if (command != 1) return answer(0, 0, record, 0, 0, NULL);
    g_itemize_args += t1;
    return answer(0, 0, record, 1, 0, *t1 == '0' ? "from host " : "dirs from host ");
}

TEST_F(FilesHost, EmptyItemizeAsksTheHost) {
    const TslKeywordRecord table[] = {
        {0, TSL_KIND_FUNCTION, 1, 1, 4, "echo"},
        {1, TSL_KIND_FUNCTION, 1, 1, 11, "itemizenull"},
        {0, 0, 0, 0, 0, ""},
    };
    HostContext host(&g_dll);
    g_itemize_args.clear();
    host.run("f = FileItemize(\"\")\r\nd = DirItemize(\"\")\r\n", itemize_host, table);
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("from host ", host.get("f"));
    EXPECT_EQ("dirs from host ", host.get("d"));
    EXPECT_EQ("01", g_itemize_args);
    host.run("f = FileItemize(\"\")\r\n");   // a host without the command: empty
    EXPECT_EQ("", host.get("f"));
}

// FileItemize converts its result from OEM to ANSI: with code pages 437 and
// 1252, the ANSI byte 0x82 of a name comes back as 0xE9.
TEST_F(FilesHost, ItemizeConvertsOemToAnsi) {
    if (GetACP() != 1252 || GetOEMCP() != 437) GTEST_SKIP() << "needs code pages 1252 and 437";
    write_file(at("\x82.txt"), "x");
    HostContext host(&g_dll);
    host.run("f = FileItemize(\"" + at("*.txt") + "\")\r\n");
    EXPECT_EQ("\xE9.txt ", host.get("f"));
}

// Files left open by a script are closed when the context shuts down.
TEST_F(FilesHost, OpenFilesClosedAtShutdown) {
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);   // the error report goes to standard error
    StderrCapture err;
    {
        HostContext host(&g_dll);
        host.run("h = FileOpen(\"" + at("w.txt") + "\", \"WRITE\")\r\nFileWrite(h, \"data\")\r\n"
                 "g = FileOpen(\"" + at("w.txt") + "\", \"READ\")\r\n");
        EXPECT_EQ(1077, host.service(TSL_SERVICE_RUN_ERROR));   // still open for writing, alone
        EXPECT_FALSE(DeleteFileA(at("w.txt").c_str()));
    }
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);
    EXPECT_EQ("data\r\n", read_file(at("w.txt")));
    EXPECT_TRUE(DeleteFileA(at("w.txt").c_str()));
}

// A 1,258-byte line limit and LF dropping hold across the read-ahead
// buffer's refills (lines that straddle its 16 KiB blocks).
TEST_F(FilesHost, LinesAcrossReadAheadBlocks) {
    std::string data, expect_last;
    for (int i = 0; i < 200; i++) data += std::string(1000, (char)('a' + i % 26)) + "\r\n";
    data += std::string(3000, 'z');   // no final CR: pieces of 1258, 1258, 484
    write_file(at("big.txt"), data);
    HostContext host(&g_dll);
    host.run("Exclusive(1)\r\nh = FileOpen(\"" + at("big.txt") + "\", \"READ\")\r\nn = 0\r\nbad = 0\r\n"
             ":loop\r\nl = FileRead(h)\r\nif l == \"*EOF*\" then goto done\r\nn = n + 1\r\n"
             "last = StrLen(l)\r\nif n > 200 then goto loop\r\nif last != 1000 then bad = bad + 1\r\ngoto loop\r\n"
             ":done\r\nFileClose(h)\r\n");
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("203", host.get("n"));
    EXPECT_EQ("0", host.get("bad"));
    EXPECT_EQ("484", host.get("last"));
}

// FileAppend copies every byte (NULs and Ctrl+Z included) in 32 KiB blocks.
TEST_F(FilesHost, AppendCopiesAllBytesInBlocks) {
    std::string source;
    for (int i = 0; i < 100000; i++) source += (char)(i * 7 % 256);
    write_file(at("src.bin"), source);
    write_file(at("dst.bin"), "head");
    HostContext host(&g_dll);
    host.run("r = FileAppend(\"" + at("src.bin") + "\", \"" + at("dst.bin") + "\")\r\n");
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("1", host.get("r"));
    std::string got = read_file(at("dst.bin"));
    ASSERT_EQ(4u + source.size(), got.size());
    EXPECT_TRUE(got == "head" + source);
    EXPECT_EQ(source, read_file(at("src.bin")));
}

// IniWrite announces the changed section to the top-level windows.
static std::string g_announced;
static LRESULT CALLBACK listener_proc(HWND w, UINT msg, WPARAM wp, LPARAM lp) {
    if (msg == WM_WININICHANGE && lp) g_announced += (const char*)lp + std::string(";");
    return DefWindowProcA(w, msg, wp, lp);
}

TEST_F(FilesHost, IniWriteAnnouncesTheSection) {
    WNDCLASSA wc = {};
    wc.lpfnWndProc = listener_proc;
    wc.hInstance = GetModuleHandleA(NULL);
    wc.lpszClassName = "tslfiles_listener";
    RegisterClassA(&wc);
    HWND listener = CreateWindowA("tslfiles_listener", "listener", WS_OVERLAPPED, 0, 0, 10, 10, NULL, NULL,
                                  GetModuleHandleA(NULL), NULL);
    ASSERT_TRUE(listener != NULL);
    g_announced.clear();
    HostContext host(&g_dll);
    host.run("r = IniWrite(\"TSL Announce Test\", \"k\", \"v\")\r\n"
             "IniWritePvt(\"Private\", \"k\", \"v\", \"" + at("p.ini") + "\")\r\n"
             "v = IniRead(\"TSL Announce Test\", \"k\", \"\")\r\n"
             "IniDelete(\"TSL Announce Test\", @wholesection)\r\n");
    EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    EXPECT_EQ("1", host.get("r"));
    EXPECT_EQ("v", host.get("v"));
    EXPECT_EQ("TSL Announce Test;", g_announced);   // the private file announces nothing
    DestroyWindow(listener);
}

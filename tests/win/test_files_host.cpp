// File functions seen from a host: pipes read again after "no data", the
// host's "itemizenull" command, the OEM-to-ANSI pass of FileItemize, the
// read-ahead buffer's refills, FileAppend's blocks, IniWrite's announcement.
#include "host_harness.h"

class FilesHost : public DllTest {
protected:
    TempDir dir{"tslfiles"};
    HostContext host;
    std::string at(const std::string& name) { return dir.at(name); }
};

// The server end of a named pipe: waits for the script's "go" and "more"
// before writing, so the script meets a pipe with no data in between.
static DWORD WINAPI pipe_server(void* p) {
    HANDLE pipe = (HANDLE)p;
    char buf[16];
    DWORD n;
    ConnectNamedPipe(pipe, NULL);
    ReadFile(pipe, buf, 2, &n, NULL);  // "go"
    WriteFile(pipe, "one\rtw", 6, &n, NULL);
    ReadFile(pipe, buf, 4, &n, NULL);  // "more"
    WriteFile(pipe, "o\r", 2, &n, NULL);
    ReadFile(pipe, buf, 1, &n, NULL);  // ends when the script closes its end
    return 0;
}

TEST_F(FilesHost, PipeWithoutDataIsReadAgainLater) {
    std::string name = "\\\\.\\pipe\\tslfiles-" + std::to_string(GetCurrentProcessId());
    HANDLE pipe = CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 4096, 4096, 0, NULL);
    ASSERT_NE(INVALID_HANDLE_VALUE, pipe);
    HANDLE server = CreateThread(NULL, 0, pipe_server, pipe, 0, NULL);
    host.run(crlf({"h = FileOpen(\"" + name + "\", \"PIPE\")", "Echo(FileRead(h))", "FileWrite(h, \"go\")", "Delay(1)",
                   "Echo(FileRead(h))", "Echo(FileRead(h))", "Echo(FileRead(h))", "FileWrite(h, \"more\")", "Delay(1)",
                   "Echo(FileRead(h))", "FileClose(h)"}));
    // nothing yet: "*EOF*"; a partial line when the data stops; read again after "no data"
    EXPECT_EQ("0 *EOF*\none\ntw\n*EOF*\no\n", joined(host.error(), host.out));
    WaitForSingleObject(server, 5000);
    CloseHandle(server);
    CloseHandle(pipe);
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
        {0, TSL_KIND_FUNCTION, 1, 1, 4, "echo"}, {1, TSL_KIND_FUNCTION, 1, 1, 11, "itemizenull"}, {0, 0, 0, 0, 0, ""}};
    g_itemize_args.clear();
    host.run("f = FileItemize(\"\")\r\nd = DirItemize(\"\")\r\n", itemize_host, table);
    EXPECT_EQ("0 | from host  | dirs from host  | 01", joined(host.error(), "|", host.get("f"), "|", host.get("d"), "|", g_itemize_args));
    host.run("Echo(FileItemize(\"\"))\r\n");  // a host without the command: empty
    EXPECT_EQ("\n", host.out);
}

// FileItemize converts its result from OEM to ANSI: with code pages 437 and
// 1252, the ANSI byte 0x82 of a name comes back as 0xE9.
TEST_F(FilesHost, ItemizeConvertsOemToAnsi) {
    if (GetACP() != 1252 || GetOEMCP() != 437) GTEST_SKIP() << "needs code pages 1252 and 437";
    write_file(at("\x82.txt"), "x");
    host.run("Echo(FileItemize(\"" + at("*.txt") + "\"))\r\n");
    EXPECT_EQ("\xE9.txt \n", host.out);
}

// The 1,258-byte line limit holds across the read-ahead buffer's 16 KiB refills.
TEST_F(FilesHost, LinesAcrossReadAheadBlocks) {
    std::string data;
    for (int i = 0; i < 200; i++) data += std::string(1000, (char)('a' + i % 26)) + "\r\n";
    write_file(at("big.txt"), data + std::string(3000, 'z'));  // no final CR: pieces of 1258, 1258, 484
    host.run(crlf({"Exclusive(1)", "h = FileOpen(\"" + at("big.txt") + "\", \"READ\")", "n = 0", "bad = 0", ":loop",
                   "l = FileRead(h)", "if l == \"*EOF*\" then goto done", "n = n + 1", "last = StrLen(l)",
                   "if n > 200 then goto loop", "if last != 1000 then bad = bad + 1", "goto loop", ":done",
                   "FileClose(h)", "Echo(StrCat(n, \" \", bad, \" \", last))"}));
    EXPECT_EQ("0 203 0 484\n", joined(host.error(), host.out));
}

// FileAppend copies every byte (NULs and Ctrl+Z included) in 32 KiB blocks.
TEST_F(FilesHost, AppendCopiesAllBytesInBlocks) {
    std::string source;
    for (int i = 0; i < 100000; i++) source += (char)(i * 7 % 256);
    write_file(at("src.bin"), source);
    write_file(at("dst.bin"), "head");
    host.run("Echo(FileAppend(\"" + at("src.bin") + "\", \"" + at("dst.bin") + "\"))\r\n");
    EXPECT_EQ("1\n", host.out);
    EXPECT_TRUE(read_file(at("dst.bin")) == "head" + source && read_file(at("src.bin")) == source);
}

// IniWrite announces the changed section to the top-level windows; the private file announces nothing.
static std::string g_announced;
static LRESULT CALLBACK listener_proc(HWND w, UINT msg, WPARAM wp, LPARAM lp) {
    if (msg == WM_WININICHANGE && lp) g_announced += (const char*)lp + std::string(";");
    return DefWindowProcA(w, msg, wp, lp);
}

TEST_F(FilesHost, IniWriteAnnouncesTheSection) {
    HWND listener = test_window("tslfiles_listener", listener_proc, "listener", WS_OVERLAPPED, 10, 10);
    ASSERT_TRUE(listener != NULL);
    g_announced.clear();
    host.run(crlf({"Echo(IniWrite(\"TSL Announce Test\", \"k\", \"v\"))",
                   "IniWritePvt(\"Private\", \"k\", \"v\", \"" + at("p.ini") + "\")",
                   "Echo(IniRead(\"TSL Announce Test\", \"k\", \"\"))", "IniDelete(\"TSL Announce Test\", @wholesection)"}));
    EXPECT_EQ("0 1\nv\n TSL Announce Test;", joined(host.error(), host.out, g_announced));
    DestroyWindow(listener);
}

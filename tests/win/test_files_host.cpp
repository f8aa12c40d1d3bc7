// File functions seen from a host: pipes read again after "no data", the
// host's "itemizenull" command, the OEM-to-ANSI pass of FileItemize, the
// read-ahead buffer's refills, FileAppend's blocks, IniWrite's announcement;
// FileCopy and FileMove asking through the real "Confirm File Replace" dialog,
// pressed by the user thread. Also the window-to-context table of the dialog
// procedures, compiled into this program: 100 pairs, and the box for a window
// that is not in it.
#include <algorithm>
#include "host_harness.h"
#include "resources/dialogs/filewarn_ids.h"
#include "../../src/ui/dialog_contexts.cpp"

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

// --- Confirm File Replace ---

class Replace : public FilesHost {
protected:
    void SetUp() override { host.lock()->sounds = 0; host.unlock(); }  // no sound to wait for at each dialog
    std::string copy(const char* from, const char* to, const char* fn = "FileCopy", int warn = 1) {
        return std::string(fn) + "(\"" + at(from) + "\", \"" + at(to) + "\", " + std::to_string(warn) + ")\r\n";
    }
    // A source "src.txt" ("source") and a target "dst.txt" ("target") `age` days older (-) or newer (+).
    void make_pair(int age) {
        write_file(at("src.txt"), "source");
        write_file(at("dst.txt"), "target");
        set_local_time(at("src.txt"), 2020, 6, 15, 12, 0);
        set_local_time(at("dst.txt"), 2020, 6, 15 + age, 12, 0);
    }
};

// Each of the eight buttons, with an older and with a newer target; times
// equal to the two-second step count as "source newer or the same age".
TEST_F(Replace, EveryButtonWithOlderAndNewerTarget) {
    struct { int line; int button; int age; bool replaced; } rows[] = {
        {__LINE__, FW_OVERWRITE, -1, true},     {__LINE__, FW_OVERWRITE, 1, true},
        {__LINE__, FW_OVERWRITE_ALL, -1, true}, {__LINE__, FW_OVERWRITE_ALL, 1, true},
        {__LINE__, FW_SKIP, -1, false},         {__LINE__, FW_SKIP, 1, false},
        {__LINE__, FW_CANCEL, -1, false},       {__LINE__, FW_CANCEL, 1, false},
        {__LINE__, FW_NEWER, -1, false},  // "Use Newer" replaces only a NEWER target
        {__LINE__, FW_NEWER, 1, true},          {__LINE__, FW_NEWER, 0, false},
        {__LINE__, FW_NEWER_ALL, -1, false},    {__LINE__, FW_NEWER_ALL, 1, true},
        {__LINE__, FW_OLDER, -1, true},   // "Use Older" replaces an older target
        {__LINE__, FW_OLDER, 1, false},         {__LINE__, FW_OLDER, 0, true},
        {__LINE__, FW_OLDER_ALL, -1, true},     {__LINE__, FW_OLDER_ALL, 1, false},
    };
    for (auto& r : rows) {
        make_pair(r.age);
        User user({r.button});
        host.run("r = " + copy("src.txt", "dst.txt"));
        user.finish();
        EXPECT_EQ(joined(0, 1, 1, r.replaced ? "source" : "target", "source"),
                  joined(host.error(), host.get("r"), user.seen().size(), read_file(at("dst.txt")), read_file(at("src.txt"))))
            << "row at line " << r.line;
    }
}

// The dialog shows both names, an information line for each, and the title and labels loaded by message number.
TEST_F(Replace, DialogShowsNamesInformationAndLabels) {
    write_file(at("src.txt"), "source!");
    write_file(at("dst.txt"), "target");
    set_local_time(at("dst.txt"), 1995, 1, 5, 9, 7);
    set_local_time(at("src.txt"), 1995, 1, 5, 14, 30);
    User user({FW_SKIP});
    host.run(copy("src.txt", "dst.txt"));
    user.finish();
    ASSERT_EQ(1u, user.seen().size());
    SeenBox s = user.seen()[0];
    EXPECT_EQ("Confirm File Replace", s.caption);
    struct { int id; std::string text; } items[] = {
        {102, at("dst.txt")}, {103, " 1/05/95   9:07AM   6 bytes"}, {105, at("src.txt")}, {106, " 1/05/95   2:30PM   7 bytes"},
        {FW_LABEL_REPLACE, "Replace file:"}, {FW_LABEL_WITH, "with file:"}, {FW_OVERWRITE, "O&verwrite"},
        {FW_CANCEL, "&Cancel"}, {FW_OVERWRITE_ALL, "Overwrite &All"}, {FW_SKIP, "&Skip"}, {FW_NEWER, "Use &Newer"},
        {FW_NEWER_ALL, "Use Ne&wer All"}, {FW_OLDER, "Use O&lder"}, {FW_OLDER_ALL, "Use Ol&der All"},
    };
    for (auto& i : items) EXPECT_EQ(i.text, s.items[i.id]) << "control " << i.id;
}

// Calls on three files: "Overwrite All" answers for the rest of its call and the
// next call asks again; "Cancel" skips every remaining file; "Use Newer All"
// decides the rest by age (targets b1 and b3 are newer than their sources).
TEST_F(Replace, AllButtonsDecideTheRestOfTheirCallOnly) {
    struct { int line; const char* fn; std::vector<int> press; size_t asked; const char* replaced; } rows[] = {
        {__LINE__, "FileCopy", {FW_OVERWRITE_ALL}, 1, "111"},
        {__LINE__, "FileCopy", {FW_SKIP, FW_OVERWRITE, FW_SKIP}, 3, nullptr},  // one file, in the order found
        {__LINE__, "FileMove", {FW_CANCEL}, 1, "000"},
        {__LINE__, "FileMove", {FW_NEWER_ALL}, 1, "101"},
    };
    CreateDirectoryA(at("out").c_str(), NULL);
    for (auto& r : rows) {
        std::string got;
        for (int i = 1; i <= 3; i++) {
            std::string name = "b" + std::to_string(i) + ".txt";
            write_file(at(name), "new");
            write_file(at("out\\" + name), "old");
            set_local_time(at(name), 2020, 6, 15, 12, 0);
            set_local_time(at("out\\" + name), 2020, 6, i == 2 ? 14 : 16, 12, 0);
        }
        User user(r.press);
        host.run(copy("b*.txt", "out\\*.*", r.fn));
        user.finish();
        EXPECT_EQ(joined(r.asked, 0), joined(user.seen().size(), host.error())) << "row at line " << r.line;
        for (int i = 1; i <= 3; i++) {
            std::string name = "b" + std::to_string(i) + ".txt";
            bool replaced = read_file(at("out\\" + name)) == "new";
            got += replaced ? '1' : '0';
            EXPECT_EQ(replaced && r.fn[4] == 'M' ? "<missing>" : "new", read_file(at(name))) << "row at line " << r.line << ", " << name;
        }
        // skip, overwrite, skip: exactly one file is replaced, whichever is found second
        EXPECT_EQ(r.replaced ? r.replaced : "one", r.replaced ? got : std::count(got.begin(), got.end(), '1') == 1 ? "one" : got)
            << "row at line " << r.line;
    }
}

// A missing target is never asked about; a warning argument of 0 never asks.
// A move onto a target held open fails with 1003 (a copy with 1008) and leaves the source in place.
TEST_F(Replace, NoQuestionForMissingTargetOrNoWarningAndALockedTargetKeepsTheSource) {
    make_pair(1);
    User user({FW_SKIP});
    host.run(copy("src.txt", "new.txt") + copy("src.txt", "dst.txt", "FileCopy", 0));
    EXPECT_EQ("source", read_file(at("new.txt")));
    EXPECT_EQ("source", read_file(at("dst.txt")));
    write_file(at("dst.txt"), "target");
    HANDLE lock = CreateFileA(at("dst.txt").c_str(), GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
    ASSERT_NE(INVALID_HANDLE_VALUE, lock);
    g_dll.console(1);  // the reports go to standard error
    StderrCapture err;
    host.run("ErrorMode(@off)\r\n" + copy("src.txt", "dst.txt", "FileMove", 0) + "Echo(LastError())\r\n" +
             copy("src.txt", "dst.txt", "FileCopy", 0) + "Echo(LastError())\r\n");
    g_dll.console(0);
    CloseHandle(lock);
    user.finish();
    EXPECT_EQ("0 1003\n1008\n source target", joined(user.seen().size(), host.out, read_file(at("src.txt")), read_file(at("dst.txt"))));
}

static tsl::PHandle fake_window(uintptr_t n) { return (tsl::PHandle)(0x10000 + n * 16); }
static tsl::Context* fake_context(uintptr_t n) { return (tsl::Context*)(0x20000 + n * 16); }

TEST(DialogContexts, HoldsOneHundredPairsAndShowsAFailedLookup) {
    for (uintptr_t i = 0; i < tsl::DIALOG_CONTEXTS_MAX; i++)
        ASSERT_TRUE(tsl::dialog_context_add(fake_window(100 + i), fake_context(i))) << "pair " << i;
    EXPECT_FALSE(tsl::dialog_context_add(fake_window(999), fake_context(999)));
    EXPECT_EQ(fake_context(99), tsl::dialog_context_peek(fake_window(199)));
    EXPECT_EQ(fake_context(7), tsl::dialog_context_find(fake_window(107)));
    tsl::dialog_context_remove(fake_window(150));
    EXPECT_EQ(nullptr, tsl::dialog_context_peek(fake_window(150)));
    EXPECT_EQ(fake_context(51), tsl::dialog_context_peek(fake_window(151)));
    EXPECT_TRUE(tsl::dialog_context_add(fake_window(999), fake_context(999)));  // the freed place is taken again
    EXPECT_EQ(fake_context(999), tsl::dialog_context_peek(fake_window(999)));
    for (uintptr_t i = 0; i < tsl::DIALOG_CONTEXTS_MAX; i++) tsl::dialog_context_remove(fake_window(100 + i));
    tsl::dialog_context_remove(fake_window(999));
    EXPECT_EQ(nullptr, tsl::dialog_context_peek(nullptr));
    EXPECT_TRUE(tsl::dialog_context_add(fake_window(1), fake_context(1)));
    tsl::dialog_context_remove(fake_window(1));
    // A failed lookup shows "DlgPointLookup Failure" titled "Internal Error"; the user presses OK.
    User user({IDOK});
    EXPECT_EQ(nullptr, tsl::dialog_context_find(fake_window(12345)));
    user.finish();
    ASSERT_EQ(1u, user.seen().size());
    EXPECT_EQ("Internal Error / DlgPointLookup Failure", user.seen()[0].caption + " / " + user.seen()[0].text);
}

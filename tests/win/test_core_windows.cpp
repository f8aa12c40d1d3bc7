// The language core with real windows: report boxes under each error mode,
// the "EXECUTE::" box, the statement trace, plain boxes, the goto cache in the
// host's buffer, the language file, IntControl and the debugger output. The
// user (a second thread) reads every box and presses its button.
#include "host_harness.h"

#define FOOTER "\n\nCore test host\nTSL Version: 1.3a"

class CoreWindows : public DllTest {};

// A box as one line: caption, text, the buttons ("OK" or "OK Cancel"), the icon
// (H hand, E exclamation, - none) and "*" when it is not owned by `owner`.
static std::string box_line(const SeenBox& b, HWND owner) {
    char icon = b.icon == LoadIcon(NULL, IDI_HAND) ? 'H' : b.icon == LoadIcon(NULL, IDI_EXCLAMATION) ? 'E' : '-';
    return b.caption + " / " + b.text + " / " + (b.ok ? "OK" : "") + (b.cancel ? " Cancel " : " ") + icon +
           (b.owner == owner ? "" : "*");
}

// Each row: a script, the buttons pressed in turn, the boxes seen, how the run ended.
TEST_F(CoreWindows, BoxesOfReportsExecuteTraceAndIntControl1) {
    struct { int line; std::vector<std::string> script; std::vector<int> press; std::vector<std::string> boxes;
             std::string end; } rows[] = {
        // @notify: OK goes on with the next line, a failed assignment leaves 0
        {__LINE__, {"ErrorMode(@notify)", "x = StrIndex(\"abc\", \"b\", 9, @fwdscan)", "Echo(x)"}, {IDOK},
         {"1100:  StrIndex/StrScan 3rd parameter out of bounds / x = StrIndex(\"abc\", \"b\", 9, @fwdscan)" FOOTER
          " / OK Cancel E"}, "0 1 0\n"},
        // @notify: Cancel stops the run
        {__LINE__, {"ErrorMode(@notify)", "a.b = 1", "Echo(2)"}, {IDCANCEL},
         {"2253:  Cannot assign to or drop a special variable / a.b = 1" FOOTER " / OK Cancel E"}, "2253 0 "},
        // @cancel, the default: OK only, and the run stops
        {__LINE__, {"x = StrIndex(\"\", \"a\", 1, @fwdscan)", "Echo(2)"}, {IDOK},
         {"1100:  StrIndex/StrScan 3rd parameter out of bounds / x = StrIndex(\"\", \"a\", 1, @fwdscan)" FOOTER " / OK H"},
         "1100 0 "},
        // @off shows moderate errors with OK and Cancel
        {__LINE__, {"ErrorMode(@off)", "a.b = 1", "Echo(2)"}, {IDOK},
         {"2253:  Cannot assign to or drop a special variable / a.b = 1" FOOTER " / OK Cancel E"}, "0 1 2\n"},
        // fatal errors show OK only and stop under every mode
        {__LINE__, {"ErrorMode(@notify)", "x = 1 / 0", "Echo(2)"}, {IDOK},
         {"3062:  Attempt to divide by zero / x = 1 / 0" FOOTER " / OK H"}, "3062 0 "},
        {__LINE__, {"ErrorMode(@off)", "x = 1 +"}, {IDOK}, {"3061:  Illegal Syntax / x = 1 +" FOOTER " / OK H"}, "3061 0 "},
        {__LINE__, {"goto nowhere"}, {IDOK}, {"3033:  GoTo label not found / goto nowhere" FOOTER " / OK H"}, "3033 0 "},
        // EXECUTE:: shows the line alone; OK goes on
        {__LINE__, {"execute x = 1 +", "Echo(2)"}, {IDOK}, {"EXECUTE::Illegal Syntax / execute x = 1 + / OK Cancel E"},
         "0 1 2\n"},
        // Cancel stops silently with 9013; a nested execute asks again with "Cancelled"
        {__LINE__, {"execute goto nowhere", "Echo(2)"}, {IDCANCEL},
         {"EXECUTE::GoTo label not found / execute goto nowhere / OK Cancel E"}, "9013 0 "},
        {__LINE__, {"execute execute x = 1 +", "Echo(2)"}, {IDCANCEL},
         {"EXECUTE::Illegal Syntax / execute execute x = 1 + / OK Cancel E",
          "EXECUTE::Cancelled / execute execute x = 1 + / OK Cancel E"}, "9013 0 "},
        // the trace asks before each line (its dialog: test_periphery_trace.cpp); Cancel stops before the line
        {__LINE__, {"Debug(@on)", "Echo(1)", ":lab b = 2", "Echo(3)"}, {IDOK, IDOK, IDCANCEL},
         {"Debug / Next line:|Echo(1)|Last result:|0 / OK Cancel -", "Debug / Next line:|:lab b = 2|Last result:|0 / OK Cancel -",
          "Debug / Next line:|Echo(3)|Last result:|2 / OK Cancel -"}, "0 0 1\n"},
        // a script file that Call cannot load: its own number and the file's name (under the
        // other modes and execute: the script test call/missing_modes)
        {__LINE__, {"Call(\"no_such_script.tsl\", \"\")", "Echo(2)"}, {IDOK},
         {"102:  Specified menu/batch file not found / no_such_script.tsl" FOOTER " / OK H"}, "102 0 "},
        // IntControl 1: two plain boxes in turn
        {__LINE__, {"Echo(IntControl(1, \"first caption\", \"first text\", \"second caption\", \"second text\"))"},
         {IDOK}, {"first caption / first text / OK -", "second caption / second text / OK -"}, "0 1 1\n"},
    };
    HWND owner = CreateWindowA("STATIC", "core owner test", WS_OVERLAPPEDWINDOW, 10, 10, 200, 100, NULL, NULL, NULL, NULL);
    ASSERT_NE(nullptr, owner);
    for (auto& r : rows) {
        HostContext host;
        User user(r.press);
        long ran = host.run(crlf(r.script), HostContext::echo_proc, nullptr, owner);
        user.finish();
        std::vector<std::string> seen;
        for (auto& b : user.seen()) seen.push_back(box_line(b, owner));
        EXPECT_EQ(r.boxes, seen) << "row at line " << r.line;
        EXPECT_EQ("1 " + r.end, joined(ran, host.error(), host.result(), host.out)) << "row at line " << r.line;
    }
    DestroyWindow(owner);
}

// The IntControl switches of requests 4, 5, 12, 28 and 7, each set to 1 and read back.
#define SWITCHES(to) "Echo(StrCat(IntControl(4, \"" to "\", \"\", \"\", \"\"), IntControl(5, \"" to "\", \"\", \"\", \"\"), " \
    "IntControl(12, \"" to "\", \"\", \"\", \"\"), IntControl(28, \"" to "\", \"\", \"\", \"\"), IntControl(7, \"" to "\", \"\", \"\", \"\")))"

TEST_F(CoreWindows, VariablesSurviveRunsButTheRunStateStartsFresh) {
    HostContext host;
    User user({IDOK});
    EXPECT_EQ(1, host.run(crlf({"x = 5", "if 1 then a = 1", "ErrorMode(@off)", "p = StrIndex(\"abc\", \"b\", 9, @fwdscan)",
                                "Exclusive(@on)", SWITCHES("1"), "Debug(@on)"})));
    EXPECT_EQ(1, host.run(crlf({"Echo(x + 1)", "then Echo(\"then\")", "else Echo(\"else\")", "Echo(LastError())",
                                "Echo(ErrorMode(@off))", "Echo(Debug(@off))", "Echo(Exclusive(@off))", SWITCHES("0")})));
    user.finish();
    EXPECT_EQ(0u, user.seen().size()) << "the trace was switched off by the new run";
    // The IntControl switches start off; the last IF result starts false,
    // LastError at 0, ErrorMode at @cancel, Debug off; Exclusive and the
    // IntControl switches are kept from run to run
    EXPECT_EQ("00000\n6\nelse\n0\n1\n0\n1\n11111\n", host.out);
    // and start off again in a context started afresh
    HostContext fresh;
    EXPECT_EQ(1, fresh.run(crlf({SWITCHES("1")})));
    EXPECT_EQ("00000\n", fresh.out);
}

// The cache goes into the host's own block: byte 159, then the label line's position in
// four bytes 0x4N; padding puts the second label beyond 4096 bytes, so all four count.
// (Its other rules: Statements.GotoWritesItsCacheIntoTheScript, natively.)
TEST_F(CoreWindows, GotoWritesItsCacheIntoTheHostsBlock) {
    HostContext host;
    std::vector<std::string> lines = {"Exclusive(@on)", "n = 0", ":loop", "n = n + 1", "if n < 3 then goto loop", "goto End"};
    lines.insert(lines.end(), 120, "; padding padding padding padding padding padding");
    lines.push_back(":end");
    const std::string text = crlf(lines);
    ASSERT_GT(text.find(":end"), 4096u);
    HGLOBAL block = text_block(text);
    for (int pass = 0; pass < 2; ++pass) {  // the second run jumps by the cache: a search for ":lxxx" would fail
        EXPECT_EQ(1, g_dll.run(NULL, host.ctx, block, nullptr, nullptr));
        EXPECT_EQ("0 3", joined(host.error(), host.get("n")));
        char* held = (char*)GlobalLock(block);
        std::string after(held, text.size()), expect = after, want = text;
        for (auto jump : {std::make_pair("goto loop", ":l"), std::make_pair("goto End", ":end")}) {
            size_t at = text.find(jump.first), p = 0;
            std::string bytes;
            for (int k = 0; k <= 4; ++k) bytes += std::to_string((unsigned char)after[at + k] & (k ? 0xF0 : 0xFF)) + " ";
            for (int k = 1; k <= 4; ++k) p = p << 4 | ((unsigned char)after[at + k] & 15);
            ASSERT_LT(p, text.size());
            p += text[p] == '\n';  // the line feed before the label line, or its first byte
            EXPECT_EQ(std::string("159 64 64 64 64 ") + jump.second, bytes + text.substr(p, strlen(jump.second)));
            expect.replace(at, 5, jump.first, 5);
        }
        if (pass) want.replace(text.find(":loop"), 5, ":lxxx");
        EXPECT_EQ(want, expect) << "everything else is as the host wrote it";
        memcpy(held + text.find(":loop"), ":lxxx", 5);
        GlobalUnlock(block);
    }
    GlobalFree(block);
}

// --- the language file: TSLDLANG.DLL (an INI text) beside a private copy of the interpreter ---

TEST_F(CoreWindows, LanguageFileTextsReplaceTheTableByTheLanguageSetting) {
    TempDir dir("tslcore-lang");
    char source[MAX_PATH];
    GetModuleFileNameA(g_dll.module, source, sizeof source);
    ASSERT_TRUE(CopyFileA(source, dir.at("TSLLANGT.DLL").c_str(), FALSE));
    write_file(dir.at("TSLDLANG.DLL"), "[MAIN]\r\n[TESTLANG]\r\nX3061=Bad~syntax|here\r\nX504=\r\n");
    Dll copy;
    ASSERT_TRUE(copy.load(dir.at("TSLLANGT.DLL").c_str()));
    {
        auto language = std::make_unique<SettingOverride>("MAIN", "Language", "XXX");
        HostContext host(&copy);
        User user({IDOK});
        host.run("x = 1 +\r\n");  // XXX: the table
        // Switched while the context lives: IntControl 26 reads the setting again.
        language.reset();
        language = std::make_unique<SettingOverride>("MAIN", "Language", "TESTLANG");
        host.run(crlf({"IntControl(26, \"\", \"\", \"\", \"\")", "x = 1 +"}));
        host.run("x = 1 / 0\r\n");
        host.run("Echo(VersionDll())\r\n");
        // A menu message whose text the language file leaves empty shows its number.
        auto load = (TslLoadStandardMenuProc)(void*)GetProcAddress(copy.module, "LoadStandardMenu");
        TslMenuRecord rec = {};
        strcpy(rec.path, "no-such-menu.mnu");
        EXPECT_EQ(NULL, load(host.ctx, NULL, 100, 200, &rec, "Lang", NULL, TSL_MENU_NEW_POPUP));
        user.finish();
        std::vector<std::string> captions;
        for (auto& b : user.seen()) captions.push_back(b.caption);
        // ~ is a line break, | a tab; a key the file lacks comes from the table
        EXPECT_EQ((std::vector<std::string>{"3061:  Illegal Syntax", "3061:  Bad\nsyntax\there", "3062:  Attempt to divide by zero", "Lang"}),
                  captions);
        EXPECT_EQ("Undefined error code -> 504\nno-such-menu.mnu", user.seen().back().text);
        EXPECT_EQ("1.3a\n", host.out) << "numbers below 100 always come from the table";
    }
    copy.unload();
}

// --- IntControl requests that talk to windows ---

static std::string g_posted;
static LRESULT CALLBACK recording_proc(HWND w, UINT m, WPARAM wp, LPARAM lp) {
    if (m == WM_USER + 5) g_posted = joined("WM_USER+5", wp, (long)lp);
    return DefWindowProcA(w, m, wp, lp);
}

// IntControl 25 counts the children of each class, 23 posts a message with its
// parameters (22 sending a text is seen by the script test control/intcontrol).
TEST_F(CoreWindows, IntControlPostsAndCountsChildWindows) {
    HWND top = test_window("TslCoreIntControlTest", recording_proc, "intcontrol target", WS_OVERLAPPEDWINDOW, 200, 200);
    ASSERT_NE(nullptr, top);
    for (const char* cls : {"BUTTON", "BUTTON", "EDIT"}) CreateWindowA(cls, "", WS_CHILD, 0, 0, 10, 10, top, NULL, NULL, NULL);
    HostContext host;
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "target", (LPARAM)std::to_string((long long)(INT_PTR)top).c_str());
    EXPECT_EQ(1, host.run(crlf({"Echo(IntControl(25, \"TslCoreIntControlTest\", \"Button\", \"Edit\", \"Static\"))",
                                "Echo(IntControl(25, \"TslCoreIntControlTest\", \"B\", \"\", \"Ed\"))",
                                "Echo(IntControl(23, target, \"1029\", \"17\", \"-42\"))", "yield"})));
    EXPECT_EQ("2 1 0\n2 0 1\n1\n", host.out) << "class names are matched as prefixes, case-sensitively";
    EXPECT_EQ("WM_USER+5 17 -42", g_posted) << "the posted message reached the window";
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
        {0, TSL_KIND_FUNCTION, 1, 1, 5, "other"}, {1, TSL_KIND_FUNCTION, 5, 0x1f, 10, "intcontrol"}, {0, 0, 0, 0, 0, ""}};
    HostContext host;
    EXPECT_EQ(1, host.run("r = IntControl(77, \"a\", \"b\", \"c\", \"d\")\r\n", intcontrol_host, table));
    EXPECT_EQ("0 host answered", joined(host.error(), host.get("r")));
    EXPECT_EQ((std::vector<std::string>{"77", "a", "b", "c", "d"}), g_intcontrol_texts);
    User user({IDOK});  // without such a command the request is invalid
    EXPECT_EQ(1, host.run("r = IntControl(77, \"a\", \"b\", \"c\", \"d\")\r\n"));
    user.finish();
    EXPECT_EQ(3171, host.error());
}

// --- the debugger output, read the way a debug viewer does (DBWIN_BUFFER and its two events) ---

TEST_F(CoreWindows, DebuggerOutputFramesEachLineAndDebugDataEndsWithLfCr) {
    HANDLE ready = CreateEventA(NULL, FALSE, FALSE, "DBWIN_BUFFER_READY");
    HANDLE data = CreateEventA(NULL, FALSE, FALSE, "DBWIN_DATA_READY");
    HANDLE map = CreateFileMappingA(INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, 4096, "DBWIN_BUFFER");
    const char* view = map ? (const char*)MapViewOfFile(map, FILE_MAP_READ, 0, 0, 4096) : nullptr;
    ASSERT_TRUE(ready && data && view);
    std::vector<std::string> texts;
    std::atomic<bool> stop(false);
    std::thread listener([&] {
        for (SetEvent(ready); !stop;) {
            if (WaitForSingleObject(data, 100) != WAIT_OBJECT_0 || stop) continue;
            if (*(const DWORD*)view == GetCurrentProcessId()) texts.push_back(std::string(view + 4, strnlen(view + 4, 4092)));
            SetEvent(ready);
        }
    });
    HostContext host;
    EXPECT_EQ(1, host.run(crlf({"IntControl(7, \"1\", \"\", \"\", \"\")", "a = 1", ":lab b = 2",
                                "DebugData(\"one\", \"two\")", "IntControl(7, \"0\", \"\", \"\", \"\")", "c = 3"})));
    Sleep(300);
    stop = true;
    listener.join();
    std::vector<std::string> want = {">>>>>a = 1<<<<<\r\n", ">>>>>:lab b = 2<<<<<\r\n",
                                     ">>>>>DebugData(\"one\", \"two\")<<<<<\r\n", "DebugData:one two\n\r",
                                     ">>>>>IntControl(7, \"0\", \"\", \"\", \"\")<<<<<\r\n"};
    EXPECT_EQ(want, texts);
    UnmapViewOfFile(view);
    for (HANDLE h : {map, ready, data}) CloseHandle(h);
}

// The Run family, RunEnviron, ShellExecute, ShellPrint and IntControl
// 30/31, starting tsl_args_log.exe (which writes down its command line,
// working directory and start-up request) and documents through the
// Extensions section of WIN.INI. (cmd.exe and the errors that the script
// test launch/run_family shows are left to it.)
#include "window_thread.h"

namespace {

// Waits up to five seconds for the log to hold `lines` lines.
std::string wait_for_lines(const std::string& path, size_t lines) {
    std::string text;
    for (DWORD start = GetTickCount(); GetTickCount() - start < 5000; Sleep(20)) {
        text = read_file(path);
        if (text != "<missing>" && (size_t)std::count(text.begin(), text.end(), '\n') >= lines) break;
    }
    return text;
}

class Launch : public ScriptTest {
protected:
    TempDir dir{"tsllaunch"};
    std::string app = build_dir() + "\\tsl_args_log";   // without its extension: Run adds ".EXE"
    std::string log = dir.at("args.log");
    void SetUp() override { ScriptTest::SetUp(); SetEnvironmentVariableA("TSL_ARGS_LOG", log.c_str()); }
    void TearDown() override { SetEnvironmentVariableA("TSL_ARGS_LOG", NULL); ScriptTest::TearDown(); }
    std::string quoted(const std::string& s) { return "\"" + s + "\""; }
};

// What each form starts, as the program writes it down: the command line
// (".EXE" after a bare name, "*" for the dot of any extension, a document
// through its Extensions entry, RunEnviron's program and parameters
// unchanged), the working directory of ShellExecute, the show command and
// the flags STARTF_USESHOWWINDOW | STARTF_FORCEONFEEDBACK. A waiting form
// returns after the program has written its log (it sleeps 200 ms first).
TEST_F(Launch, WhatEachFormStarts) {
    CopyFileA((app + ".exe").c_str(), dir.at("helper.bin").c_str(), FALSE);
    write_file(dir.at("doc.tslk"), "a document");
    WriteProfileStringA("Extensions", "tslk", (app + ".exe ^.tslk").c_str());
    host.run(crlf({"A = " + quoted(app), "A2 = " + quoted(app + ".exe"), "P = \"sleep=200\""}));
    std::string exe = app + ".exe sleep=200", bare = app + ".EXE sleep=200";
    struct { int line; std::string call, command, directory; int show; bool waits; } rows[] = {
        {__LINE__, "Run(A, P)", bare, "", SW_SHOWNORMAL, false},
        {__LINE__, "RunWait(A, P)", bare, "", SW_SHOWNORMAL, true},
        {__LINE__, "RunIcon(A, P)", bare, "", SW_SHOWMINNOACTIVE, false},
        {__LINE__, "RunIconWait(A, P)", bare, "", SW_SHOWMINNOACTIVE, true},
        {__LINE__, "RunZoom(A, P)", bare, "", SW_MAXIMIZE, false},
        {__LINE__, "RunZoomWait(A, P)", bare, "", SW_MAXIMIZE, true},
        {__LINE__, "RunHide(A, P)", bare, "", SW_HIDE, false},
        {__LINE__, "RunHideWait(A, P)", bare, "", SW_HIDE, true},
        {__LINE__, "RunEnviron(A2, P, @icon, 1)", exe, "", SW_MINIMIZE, true},
        {__LINE__, "RunEnviron(A2, P, @zoomed, 1)", exe, "", SW_MAXIMIZE, true},
        {__LINE__, "RunEnviron(A2, P, @hidden, 1)", exe, "", SW_HIDE, true},
        {__LINE__, "RunEnviron(A2, P, @normal, 1)", exe, "", SW_SHOWNORMAL, true},
        {__LINE__, "RunEnviron(A2, P, 7, 0)", exe, "", SW_SHOWNORMAL, false},
        {__LINE__, "RunEnviron(A2, \"\", @normal, 1)", app + ".exe", "", SW_SHOWNORMAL, true},
        {__LINE__, "ShellExecute(A2, P, \"\", @icon, 1)", exe, "", SW_MINIMIZE, true},
        {__LINE__, "ShellExecute(A2, \"q\", " + quoted(dir.dir) + ", @normal, 1)", app + ".exe q", dir.dir, SW_SHOWNORMAL, true},
        {__LINE__, "RunWait(A, \"a b\")", app + ".EXE a b", "", SW_SHOWNORMAL, true},
        {__LINE__, "RunWait(" + quoted(dir.at("helper*bin")) + ", \"x\")", dir.at("helper.bin") + " x", "", SW_SHOWNORMAL, true},
        {__LINE__, "RunWait(" + quoted(dir.at("doc.tslk")) + ", \"-p\")", app + ".exe " + dir.at("doc.tslk") + " -p", "",
         SW_SHOWNORMAL, true},
    };
    for (auto& r : rows) {
        DeleteFileA(log.c_str());
        EXPECT_EQ("1", eval(r.call)) << "row at line " << r.line;
        std::string text = r.waits ? read_file(log) : wait_for_lines(log, 3);
        size_t end1 = text.find('\n'), end2 = text.find('\n', end1 + 1);
        char show[64];
        snprintf(show, sizeof show, "show=%d flags=%lx", r.show, (unsigned long)(STARTF_USESHOWWINDOW | STARTF_FORCEONFEEDBACK));
        EXPECT_EQ(r.command + "|" + (r.directory.empty() ? "" : r.directory + "|") + show,
                  text.substr(0, end1) + "|" + (r.directory.empty() ? "" : text.substr(end1 + 1, end2 - end1 - 1) + "|") +
                      text.substr(end2 + 1, text.find('\n', end2 + 1) - end2 - 1)) << "row at line " << r.line;
    }
    wait_for_lines(log, 3);   // the last programs that did not wait
    WriteProfileStringA("Extensions", "tslk", NULL);
}

// The failures that the script test does not show: their number, the
// result 0, and whether the run went on (ErrorMode(@off) hides minor ones).
TEST_F(Launch, EachNumberedError) {
    write_file(dir.at("plain.tslq"), "x");
    struct { int line; std::string call; long error; } rows[] = {
        {__LINE__, "ShellPrint(" + quoted(dir.at("plain.tslq")) + ", \"\", \"\", @normal, 0)", 1932},   // no association: 1931 has no text
        {__LINE__, "ShellExecute(\"tsl-no-such.exe\", \"\", \"\", @normal, 0)", 1932},
    };
    for (auto& r : rows) {
        host.run(crlf({"after = 0", "r = " + r.call, "after = 1"}));
        EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
        EXPECT_EQ("0", host.get("after")) << "row at line " << r.line;
        host.run(crlf({"after = 0", "ErrorMode(@off)", "r = " + r.call, "e = LastError()", "after = 1"}));
        EXPECT_EQ("1 0 " + std::to_string(r.error), host.get("after") + " " + host.get("r") + " " + host.get("e"))
            << "row at line " << r.line;
    }
}

// IntControl 30 opens (runs) a program in a directory; 31 prints, "0" when refused.
TEST_F(Launch, IntControlOpenAndPrint) {
    DeleteFileA(log.c_str());
    host.run(crlf({"o = IntControl(30, " + quoted(app + ".exe") + ", \"opened\", " + quoted(dir.dir) + ", \"1\")",
                   "p = IntControl(31, " + quoted(dir.at("missing.txt")) + ", \"\", \"\", \"1\")"}));
    EXPECT_EQ("1 0", host.get("o") + " " + host.get("p"));
    std::string text = wait_for_lines(log, 3);
    EXPECT_NE(std::string::npos, text.find("opened")) << text;
    EXPECT_NE(std::string::npos, text.find(dir.dir + "\n")) << text;
}

} // namespace

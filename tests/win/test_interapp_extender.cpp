// Command extenders: the tests' own library (extenders/tsltestext.c) and the
// kit's sample (sdk/extender), named by CMDEXTDLL in the prefix's
// TSLPROCS.INI and loaded when a host context attaches.
#include "host_harness.h"

#define INTCONTROL_10(request) "Echo(IntControl(10, \"" #request "\", \"\", \"\", \"\"))"

class Extender : public DllTest {
protected:
    std::string test_ext = build_dir() + "\\tsltestext.dll";
    SettingOverride note{"MAIN", "CmdExtDllError", nullptr};
    struct Row { int line; std::string script, out; long error = 0; };
    // Runs each row's lines in `host`: its Echo output and the run's error.
    static void check(HostContext& host, const std::vector<Row>& rows) {
        for (auto& r : rows) {
            host.out.clear();
            host.run(r.script + "\r\n");
            EXPECT_EQ(r.out + " " + std::to_string(r.error), host.out + " " + std::to_string(host.error()))
                << "row at line " << r.line;
        }
    }
};

// The two refused definitions (six arguments, a 14-character name) each show
// the definition box, and the commands after them keep their numbers. Text
// answers land in the string heap; one that does not fit makes ViperAnswer
// answer -4, which the command returns: 3210 and no extender box.
TEST_F(Extender, AcceptedCommandsAndRefusedDefinitions) {
    SettingOverride dll("MAIN", "CMDEXTDLL", test_ext.c_str());
    g_dll.console(1);
    StderrCapture err;
    HostContext host(&g_dll, "tslhosttest", "test host", 200, 2048);
    EXPECT_EQ("BOX(COMDLL Definition Error): extsix\r\nBOX(COMDLL Definition Error): extnamefourtee\r\n", err.text());
    check(host, {
        {__LINE__, "Echo(extadd(2, 40))", "42\n"},
        {__LINE__, "Echo(ExtAdd(\"7\", -9))", "-2\n"},
        {__LINE__, "Echo(extecho(\"hello world\"))", "hello world\n"},
        {__LINE__, "Echo(@extconst)", "-314159\n"},
        {__LINE__, "Echo(extnamefourtn())", "6\n"},
        {__LINE__, "Echo(extlast())", "8\n"},
        {__LINE__, "Echo(extfive(1, \"b\", 3, \"d\", \"e\"))", "1,b,3,d,e\n"},   // five arguments, all texts
        {__LINE__, "extsix = 5\r\nEcho(extsix)", "5\n"},  // the refused slot is empty: a plain variable
        {__LINE__, INTCONTROL_10(0) "\r\n" INTCONTROL_10(1) "\r\n" INTCONTROL_10(2), "1\n42\n100010205\n"},
        {__LINE__, INTCONTROL_10(3) "\r\n" INTCONTROL_10(4), test_ext + "\n0\n"},
        {__LINE__, "Echo(StrLen(extbig(1000)))", "1000\n"},
        {__LINE__, "x = extbig(4000)", "", 3210},
    });
    g_dll.console(0);
    EXPECT_EQ(std::string::npos, err.text().find("BOX(Command Extender Error)")) << err.text();
}

// A negative answer under each error mode: the numbered error, the
// extender's box (its text, or the stock text) and whether the run goes on.
TEST_F(Extender, NegativeAnswersUnderEachErrorMode) {
    SettingOverride dll("MAIN", "CMDEXTDLL", test_ext.c_str());
    User definitions({IDOK});
    HostContext host;
    definitions.finish();
    host.lock()->sounds = 0;
    host.unlock();
    const std::string stock = "Command Extender Error.  No ErrorString reported.";
    // Each row: the error mode, the answer's code and text, the button pressed;
    // the Echo output, the run's error and the extender's box ("+Cancel": it has that button).
    struct { int line; const char* mode; int code; const char* text; int press; std::string want; } rows[] = {
        {__LINE__, "@cancel", -1, "bad thing", IDOK, " 9013 bad thing"},
        {__LINE__, "@cancel", -2, "", IDOK, " 9013 " + stock},
        {__LINE__, "@cancel", -3, "worse", IDOK, " 9013 worse"},
        {__LINE__, "@cancel", -5, "odd", IDOK, " 9013 odd"},
        {__LINE__, "@notify", -2, "soft", IDOK, "after\n 0 soft+Cancel"},
        {__LINE__, "@notify", -2, "soft", IDCANCEL, " 9013 soft+Cancel"},
        {__LINE__, "@notify", -1, "", IDOK, "after\n 0 " + stock + "+Cancel"},
        // Under @off no extender box: the statement reports the number by its severity.
        {__LINE__, "@off", -1, "hidden", IDOK, "after\n 0 "},
        {__LINE__, "@off", -2, "moderate", IDOK, "after\n 0 "},
        {__LINE__, "@off", -3, "severe", IDOK, " 3215 "},
        {__LINE__, "@off", -5, "other", IDOK, " 3210 "},
    };
    for (auto& r : rows) {
        host.out.clear();
        User user({r.press, IDOK});
        host.run(crlf({std::string("ErrorMode(") + r.mode + ")",
                       "extfail(" + std::to_string(r.code) + ", \"" + r.text + "\")", "Echo(\"after\")"}));
        user.finish();
        std::string boxes;
        for (auto& b : user.seen()) if (b.caption == "Command Extender Error") boxes += b.text + (b.cancel ? "+Cancel" : "");
        EXPECT_EQ(r.want, host.out + " " + std::to_string(host.error()) + " " + boxes) << "row at line " << r.line;
    }
}

// What CMDEXTDLL names, in turn: no extender, a missing file (noted in
// CmdExtDllError), a good library (the note deleted again), the kit's sample
// (through the example script, and rows for the edges that it does not reach).
// Each is loaded by the first of two attached hosts, initialised once, and
// done and freed after the last one shuts down (the test library counts
// COMEXT_INIT and COMEXT_DONE in the environment). A library whose COMEXT_INIT
// answers -1 is refused: its commands stay unknown and it is never done.
TEST_F(Extender, SettingsLoadsAndTheKitsSample) {
    std::string sample = build_dir() + "\\TSLSAMPLE.dll", missing = "Z:\\no\\such\\dir\\ext.dll";
    TempDir dir{"tslsample"};
    write_file(dir.at("three.txt"), "one\r\ntwo\r\nthree");
    char computer[64];
    DWORD size = sizeof computer;
    GetComputerNameA(computer, &size);
    auto env = [](const char* name) { char buf[16] = ""; GetEnvironmentVariableA(name, buf, sizeof buf); return std::string(buf); };
    WritePrivateProfileStringA("MAIN", "CmdExtDllError", NULL, "TSLPROCS.INI");
    struct { int line; std::string file; std::string after; std::vector<Row> rows; const char* answer = nullptr; } settings[] = {
        {__LINE__, "(NONE)", "<absent> inits= done=", {{__LINE__, INTCONTROL_10(0) "\r\n" INTCONTROL_10(3), "0\n(NONE)\n"}}},
        {__LINE__, missing, "Dll Not Found inits= done=", {{__LINE__, INTCONTROL_10(0) "\r\n" INTCONTROL_10(3), "0\n" + missing + "\n"}}},
        {__LINE__, "(none)", "Dll Not Found inits= done=", {{__LINE__, INTCONTROL_10(0) "\r\n" INTCONTROL_10(3), "0\n(none)\n"}}},
        {__LINE__, test_ext, "<absent> inits=1 done=1",
         {{__LINE__, INTCONTROL_10(0) "\r\n" INTCONTROL_10(3) "\r\nEcho(extlast())", "1\n" + test_ext + "\n8\n"}}},
        {__LINE__, test_ext, "<absent> inits=1 done=",
         {{__LINE__, INTCONTROL_10(0) "\r\n" INTCONTROL_10(1) "\r\nextlast = 3\r\nEcho(extlast)", "0\n-1\n3\n"}}, "-1"},
        {__LINE__, sample, "<absent> inits= done=", {
            {__LINE__, read_file(TSL_SOURCE_DIR "/examples/extender.tsl"), "Extender: " + sample + "\ndesserts\nThis computer: " +
                 computer + "\nLongest path: 260\n3 words, the second is green\n"},
            {__LINE__, "Echo(StrReverse(\"\"))", "\n"},
            {__LINE__, "Echo(FileLines(\"" + dir.at("three.txt") + "\"))", "3\n"},
            {__LINE__, "Echo(SplitToVars(\"w\", \" alpha  beta\tgamma \"))\r\nEcho(w2)", "3\nbeta\n"},
            {__LINE__, "ErrorMode(@off)\r\nFileLines(\"" + dir.at("none.txt") + "\")\r\nEcho(\"on\")", "on\n"}}},
    };
    for (auto& s : settings) {
        SettingOverride dll("MAIN", "CMDEXTDLL", s.file.c_str());
        SetEnvironmentVariableA("TSLTESTEXT_INITS", NULL);
        SetEnvironmentVariableA("TSLTESTEXT_DONE", NULL);
        SetEnvironmentVariableA("TSLTESTEXT_ANSWER", s.answer);
        g_dll.console(1);
        {
            StderrCapture err;
            auto first = std::make_unique<HostContext>();
            HostContext second;
            first.reset();
            EXPECT_EQ("", env("TSLTESTEXT_DONE")) << "setting at line " << s.line;
            check(second, s.rows);
        }
        g_dll.console(0);
        char written[300];
        GetPrivateProfileStringA("MAIN", "CmdExtDllError", "<absent>", written, sizeof written, "TSLPROCS.INI");
        EXPECT_EQ(s.after, written + (" inits=" + env("TSLTESTEXT_INITS")) + " done=" + env("TSLTESTEXT_DONE")) << "setting at line " << s.line;
    }
}

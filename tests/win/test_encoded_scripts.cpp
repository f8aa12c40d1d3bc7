// Encoded scripts under Wine: tslenc.exe encodes and checks, Call runs the
// result, tslrun.exe runs it as its top script, and the encoded-scripts
// mode (DLLServices, TSLPROCS.INI, tslrun --encoded-only) refuses plain files.
#include "host_harness.h"

namespace {

// The directory of this test program, where the build puts tslenc and tslrun.
std::string build_dir() {
    char path[MAX_PATH];
    GetModuleFileNameA(NULL, path, sizeof path);
    *strrchr(path, '\\') = 0;
    return path;
}

// Runs a program of the build with a command line and waits for its exit status.
DWORD run_program(const std::string& exe, const std::string& args) {
    std::string line = "\"" + build_dir() + "\\" + exe + "\" " + args;
    STARTUPINFOA si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi;
    if (!CreateProcessA(NULL, &line[0], NULL, NULL, FALSE, 0, NULL, NULL, &si, &pi)) return 0xFFFF;
    WaitForSingleObject(pi.hProcess, 60000);
    DWORD status = 0xFFFF;
    GetExitCodeProcess(pi.hProcess, &status);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    return status;
}

const char kCalled[] = "; called\r\nEcho(StrCat(\"called with \", Param1, \" and \", Param2))\r\nReturn\r\n";

class EncodedScripts : public DllTest {
protected:
    TempDir dir{"tslenc"};
    void SetUp() override { g_dll.console(1); }
    void TearDown() override { g_dll.console(0); }
    // A plain script and its encoding by tslenc.exe.
    std::string encode(const std::string& text, const char* name = "called") {
        write_file(dir.at(std::string(name) + ".txt"), text);
        std::string out = dir.at(std::string(name) + ".tsl");
        EXPECT_EQ(0u, run_program("tslenc.exe", "\"" + dir.at(std::string(name) + ".txt") + "\" \"" + out + "\""));
        return out;
    }
    std::string call_line(const std::string& file) { return crlf({"Call(\"" + file + "\", \"one two\")", "Echo(\"back\")"}); }
};

TEST_F(EncodedScripts, TslencOutputRunsThroughCallAndHidesItsText) {
    std::string encoded = encode(kCalled);
    std::string bytes = read_file(encoded);
    EXPECT_EQ(1, bytes[0]);
    EXPECT_EQ(std::string::npos, bytes.find("Echo")) << "the text is not readable";
    EXPECT_EQ(0u, run_program("tslenc.exe", "--check \"" + encoded + "\""));
    HostContext host;
    host.run(call_line(encoded));
    EXPECT_EQ(0, host.error());
    EXPECT_EQ("called with one and two\nback\n", host.out);
}

// A changed, missing or added byte: tslenc --check and Call refuse the file,
// Call before any of its lines runs.
TEST_F(EncodedScripts, DamagedFilesAreRefusedByTheCheckAndByCall) {
    std::string good = read_file(encode(kCalled));
    auto flip = [&](size_t at, char bits) { std::string b = good; b[at] = (char)(b[at] ^ bits); return b; };
    struct { int line; std::string bytes; const char* report; } rows[] = {
        {__LINE__, flip(0, 0x02), "error 3232: Encoded menu/batch file of an unknown form"},        // form byte
        {__LINE__, flip(0, 0x40), "error 3231: Encoded menu/batch file damaged or changed"},        // form byte, now plain
        {__LINE__, flip(2, 0x01), "error 3231: Encoded menu/batch file damaged or changed"},        // length
        {__LINE__, flip(5, 0x01), "error 3231: Encoded menu/batch file damaged or changed"},        // salt
        {__LINE__, flip(20, 0x01), "error 3231: Encoded menu/batch file damaged or changed"},       // text
        {__LINE__, flip(good.size() - 1, 0x01), "error 3231: Encoded menu/batch file damaged or changed"},  // check
        {__LINE__, good.substr(0, good.size() - 1), "error 3231: Encoded menu/batch file damaged or changed"},  // truncated
        {__LINE__, good + "\r\n", "error 3231: Encoded menu/batch file damaged or changed"},                  // added
    };
    for (auto& r : rows) {
        std::string file = dir.at("damaged.tsl");
        write_file(file, r.bytes);
        EXPECT_EQ(1u, run_program("tslenc.exe", "--check \"" + file + "\"")) << "row at line " << r.line;
        HostContext host;
        StderrCapture err;
        host.run(call_line(file));
        EXPECT_EQ("", host.out) << "row at line " << r.line;
        EXPECT_NE(std::string::npos, err.text().find(r.report)) << "row at line " << r.line << ": " << err.text();
    }
}

// The mode, set by the host's service, by TSLPROCS.INI or by tslrun's option:
// plain files are refused, encoded ones still run.
TEST_F(EncodedScripts, EncodedScriptsModeRefusesPlainFiles) {
    std::string encoded = encode(kCalled);
    std::string plain = dir.at("called.txt");
    HostContext host;
    EXPECT_EQ(0, host.service(TSL_SERVICE_ENCODED_ONLY, 1)) << "off until asked";
    EXPECT_EQ(1, host.service(TSL_SERVICE_ENCODED_ONLY, -1)) << "-1 only asks";
    {
        StderrCapture err;
        host.run(call_line(plain));
        EXPECT_EQ("", host.out);
        EXPECT_NE(std::string::npos, err.text().find("error 3233: Only encoded menu/batch files may be loaded")) << err.text();
    }
    host.run(call_line(encoded));
    EXPECT_EQ("called with one and two\nback\n", host.out);
    EXPECT_EQ(1, host.service(TSL_SERVICE_ENCODED_ONLY, 0));
    host.out.clear();
    host.run(call_line(plain));
    EXPECT_EQ("called with one and two\nback\n", host.out) << "the host turned the mode off again";
    {
        SettingOverride setting("MAIN", "EncodedScriptsOnly", "1");
        HostContext configured;
        EXPECT_EQ(1, configured.service(TSL_SERVICE_ENCODED_ONLY, -1)) << "TSLPROCS.INI turns it on";
    }
    write_file(dir.at("top.txt"), "Exit\r\n");
    std::string top = encode("Exit\r\n", "top");
    struct { int line; std::string args; DWORD status; } rows[] = {
        {__LINE__, "--console \"" + top + "\"", 0},
        {__LINE__, "--console --encoded-only \"" + top + "\"", 0},
        {__LINE__, "--console \"" + dir.at("top.txt") + "\"", 0},
        {__LINE__, "--console --encoded-only \"" + dir.at("top.txt") + "\"", 2},
    };
    for (auto& r : rows) EXPECT_EQ(r.status, run_program("tslrun.exe", r.args)) << "row at line " << r.line;
}

} // namespace

// Encoded scripts under Wine: tslenc.exe encodes and checks, Call runs the
// result, tslrun.exe runs it as its top script, and the encoded-scripts
// mode (DLLServices, TSLPROCS.INI, tslrun --encoded-only) refuses plain files.
#include "host_harness.h"

namespace {

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
    std::string encoded = encode(kCalled), bytes = read_file(encoded);
    EXPECT_EQ(1, bytes[0]);
    EXPECT_EQ(std::string::npos, bytes.find("Echo")) << "the text is not readable";
    EXPECT_EQ(0u, run_program("tslenc.exe", "--check \"" + encoded + "\""));
    HostContext host;
    host.run(call_line(encoded));
    EXPECT_EQ("0 called with one and two\nback\n", joined(host.error(), host.out));
}

// A changed, missing or added byte: tslenc --check and Call refuse the file,
// Call before any of its lines runs.
TEST_F(EncodedScripts, DamagedFilesAreRefusedByTheCheckAndByCall) {
    std::string good = read_file(encode(kCalled));
    auto flip = [&](size_t at, char bits) { std::string b = good; b[at] = (char)(b[at] ^ bits); return b; };
    // A later form byte, a changed text byte, a truncated file (every byte of every region, and
    // missing or added bytes: EncodedScript.AChangedByteInAnyRegionIsRefused and the next, natively).
    struct { int line; std::string bytes; int error; } rows[] = {
        {__LINE__, flip(0, 0x02), 3232}, {__LINE__, flip(20, 0x01), 3231}, {__LINE__, good.substr(0, good.size() - 1), 3231},
    };
    for (auto& r : rows) {
        std::string file = dir.at("damaged.tsl");
        write_file(file, r.bytes);
        EXPECT_EQ(1u, run_program("tslenc.exe", "--check \"" + file + "\"")) << "row at line " << r.line;
        HostContext host;
        StderrCapture err;
        host.run(call_line(file));
        EXPECT_EQ("", host.out) << "row at line " << r.line;
        std::string report = r.error == 3232 ? "error 3232: Encoded menu/batch file of an unknown form"
                                             : "error 3231: Encoded menu/batch file damaged or changed";
        EXPECT_NE(std::string::npos, err.text().find(report)) << "row at line " << r.line << ": " << err.text();
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
    // tslrun runs an encoded top script with and without --encoded-only (a plain one with
    // it fails: wine/tslrun/plain-script-encoded-only).
    std::string top = encode("Exit\r\n", "top");
    for (const char* option : {"", "--encoded-only "})
        EXPECT_EQ(0u, run_program("tslrun.exe", std::string("--console ") + option + "\"" + top + "\"")) << option;
}

} // namespace

// Sounds, the multimedia functions and the Net* functions on whatever this
// machine has: each expected answer is what the system itself says here (a
// device or none, a network or none), and every call returns promptly.
#include "host_harness.h"
#include <mmsystem.h>
#include <winnetwk.h>

class MediaNet : public DllTest {
protected:
    HostContext host;
    // Runs one line under ErrorMode(@off) in console mode: the value of r, or "error N".
    std::string call(const std::string& line) {
        g_dll.console(1);   // a moderate error's report is written, not shown, and the run goes on
        StderrCapture err;
        host.run("ErrorMode(@off)\r\nr = " + line + "\r\ne = LastError()\r\n");
        g_dll.console(0);
        std::string e = host.get("e");
        return e == "0" ? host.get("r") : "error " + e;
    }
};

TEST_F(MediaNet, SoundsSwitchesTheContextsSettingAndReturnsThePrevious) {
    int start = host.lock()->sounds;
    host.unlock();
    host.run("a = Sounds(0)\r\nb = Sounds(1)\r\nc = Sounds(0)\r\n");
    EXPECT_EQ(std::to_string(start) + " 0 1", host.get("a") + " " + host.get("b") + " " + host.get("c"));
    EXPECT_EQ(0, host.lock()->sounds);
    host.unlock();
}

// With no device the documented error; with one, the call's own outcome.
TEST_F(MediaNet, PlayFunctionsAnswerPromptlyWithOrWithoutADevice) {
    bool wave = waveOutGetNumDevs() > 0, midi = midiOutGetNumDevs() > 0;
    char quantity[64] = "";
    mciSendStringA("sysinfo all quantity", quantity, sizeof quantity, NULL);
    char bad_text[256] = "";
    mciGetErrorStringA(mciSendStringA("play tsl-no-such-alias", NULL, 0, NULL), bad_text, sizeof bad_text);
    struct { int line; std::string script, want; } rows[] = {
        {__LINE__, "PlayWaveform(\"SystemAsterisk\", 1)", wave ? "1" : "error 1451"},
        {__LINE__, "PlayWaveform(\"C:\\no\\such.wav\", 1)", wave ? "error 1452" : "error 1451"},
        {__LINE__, "PlayMidi(\"C:\\no\\such.mid\", 1)", midi ? "error 1454" : "error 1453"},
        {__LINE__, "PlayMedia(\"sysinfo all quantity\")", quantity},
        {__LINE__, "PlayMedia(\"play tsl-no-such-alias\")", "error 1455"},
    };
    for (auto& r : rows) {
        DWORD start = GetTickCount();
        EXPECT_EQ(r.want, call(r.script)) << "row at line " << r.line;
        EXPECT_LT(GetTickCount() - start, 5000u) << "row at line " << r.line;
    }
    EXPECT_EQ(bad_text, host.get("MciErrorText"));
}

TEST_F(MediaNet, NetworkFunctionsGiveTheSystemsAnswerOrTheirError) {
    char user[256] = "";
    DWORD size = sizeof user;
    bool has_user = WNetGetUserA(NULL, user, &size) == NO_ERROR;
    struct { int line; std::string script, want; } rows[] = {
        {__LINE__, "NetGetUser()", has_user ? std::string(user) : "error 1474"},
        {__LINE__, "NetAddCon(\"\\\\localhost\\tsl-no-such-share\", \"\", \"\")", "error 1471"},
        {__LINE__, "NetCancelCon(\"Q:\", 0)", "error 1472"},
        {__LINE__, "NetGetCon(\"C:\")", "error 1473"},
        {__LINE__, "NetGetCaps(0)", std::to_string(GetSystemMetrics(SM_NETWORK) & 1)},
        {__LINE__, "NetGetCaps(7)", "error 2441"},
        {__LINE__, "NetBrowse(5)", "error 2441"},
    };
    for (auto& r : rows) {
        DWORD start = GetTickCount();
        EXPECT_EQ(r.want, call(r.script)) << "row at line " << r.line;
        EXPECT_LT(GetTickCount() - start, 5000u) << "row at line " << r.line;
    }
    host.run("ErrorMode(@off)\r\nNetGetCon(\"C:\")\r\n");
    EXPECT_NE("", host.get("NetErrorText"));
}

// The system's network dialogs never block a console run.
TEST_F(MediaNet, NetworkDialogsInConsoleModeAreWrittenAndCancelled) {
    g_dll.console(1);
    StderrCapture err;
    host.run("a = NetDialog()\r\nb = NetBrowse(1)\r\n");
    g_dll.console(0);
    EXPECT_EQ("0 0", host.get("a") + " " + host.get("b"));
    EXPECT_EQ("BOX(Map Network Drive): Cancel\r\nBOX(Disconnect Network Drive): Cancel\r\n", err.text());
}

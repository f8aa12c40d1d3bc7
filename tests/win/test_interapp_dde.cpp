// The DDE client functions against a DDEML server of the tests' own
// (dde_test_server.h) and against Wine's program-manager server "Progman".
// Scripts run in a host context; fatal errors are reported to standard error.
// "TslTestServer" in a script stands for this program's server (here()).
#include "host_harness.h"
#include <dde.h>
#include "dde_test_server.h"

class Dde : public DllTest {
protected:
    DdeTestServer server{1500};
    void SetUp() override { g_dll.console(1); }
    void TearDown() override { g_dll.console(0); }
    // Runs the lines in a fresh context; its out and the run's error.
    std::pair<std::string, long> run(const std::vector<std::string>& lines) {
        StderrCapture err;
        HostContext host;
        host.run(server.here(crlf(lines)));
        return {host.out, host.error()};
    }
};

#define OPEN "c = DDEInitiate(\"TslTestServer\", \"Test\")"

// Each function's results, and every error a script can provoke, one script a row.
TEST_F(Dde, FunctionsAndErrors) {
    struct { int line; std::vector<std::string> script; const char* out; long error; } rows[] = {
        {__LINE__, {OPEN, "Echo(c)"}, "1\n", 0},
        {__LINE__, {"Echo(DDEInitiate(\"TslNoSuchServer\", \"Test\"))"}, "0\n", 0},  // no server: 0, no error
        {__LINE__, {OPEN, "Echo(DDEExecute(c, \"[open(a)]\"))", "Echo(DDERequest(c, \"log\"))"}, "1\n[open(a)]\n", 0},
        {__LINE__, {OPEN, "Echo(DDEExecute(c, \"[refuse]\"))"}, "0\n", 0},
        {__LINE__, {OPEN, "Echo(DDEPoke(c, \"name\", \"Ada\"))", "Echo(DDERequest(c, \"name\"))"}, "1\nAda\n", 0},
        {__LINE__, {OPEN, "Echo(DDERequest(c, \"colour\"))"}, "value of colour\n", 0},
        {__LINE__, {OPEN, "Echo(DDERequest(c, \"secret\"))"}, "***NACK***\n", 0},
        {__LINE__, {OPEN, "r = DDERequest(c, \"secret\")", "Echo(r == \"***NACK***\")"}, "1\n", 0},
        {__LINE__, {OPEN, "Echo(DDETerminate(c))", "Echo(DDEExecute(c, \"[x]\"))"}, "1\n", 3139},
        {__LINE__, {"Echo(DDETimeout(500))", "Echo(DDETimeout(-7))", "Echo(DDETimeout(3000))"}, "3000\n500\n-7\n", 0},
        {__LINE__, {OPEN, "x = DDERequest(c, \"big\")", "Echo(\"not reached\")"}, "", 3096},
        {__LINE__, {"DDEExecute(0, \"[x]\")"}, "", 3152},
        {__LINE__, {"DDEExecute(11, \"[x]\")"}, "", 3152},
        {__LINE__, {"DDEPoke(-1, \"a\", \"b\")"}, "", 3152},
        {__LINE__, {"DDERequest(11, \"a\")"}, "", 3152},
        {__LINE__, {"DDETerminate(0)"}, "", 3152},
        {__LINE__, {"DDEExecute(5, \"[x]\")"}, "", 3139},
        {__LINE__, {"DDEPoke(1, \"a\", \"b\")"}, "", 3139},
        {__LINE__, {"DDERequest(10, \"a\")"}, "", 3139},
        {__LINE__, {"DDETerminate(5)"}, "", 3139},
        // DDEML takes names of at most 255 characters.
        {__LINE__, {"DDEInitiate(StrFill(\"a\", 300), \"Test\")"}, "", 3140},
        {__LINE__, {"DDEInitiate(\"TslTestServer\", StrFill(\"a\", 300))"}, "", 3140},
        {__LINE__, {OPEN, "DDEPoke(c, StrFill(\"a\", 300), \"b\")"}, "", 3154},
        {__LINE__, {OPEN, "DDERequest(c, StrFill(\"a\", 300))"}, "", 3154},
    };
    for (auto& r : rows) {
        auto got = run(r.script);
        EXPECT_EQ(r.out, got.first) << "row at line " << r.line;
        EXPECT_EQ(r.error, got.second) << "row at line " << r.line;
        EXPECT_TRUE(server.wait_conversations(0)) << "row at line " << r.line << ": shutdown ends every conversation";
    }
}

// A delayed answer past a short time-out: the request NACKs, the execute
// gives 0, no error. (Under Wine the conversation answers nothing more
// afterwards, and its server may miss the terminate of the shutdown: no
// further use and no count of the server's conversations here.)
TEST_F(Dde, DelayedAnswerPastTheTimeout) {
    struct { int line; const char* slow; const char* out; } rows[] = {
        {__LINE__, "Echo(DDERequest(c, \"slow\"))", "***NACK***\n"},
        {__LINE__, "Echo(DDEExecute(c, \"[slow]\"))", "0\n"},
    };
    for (auto& r : rows) {
        auto got = run({OPEN, "Echo(DDETimeout(300))", r.slow, "Echo(DDETimeout(3000))"});
        EXPECT_EQ(std::string("3000\n") + r.out + "300\n", got.first) << "row at line " << r.line;
        EXPECT_EQ(0, got.second) << "row at line " << r.line;
    }
}

static std::string initiate(int server) {
    return "DDEInitiate(\"TslTestServer" + (server > 1 ? std::to_string(server) : std::string()) + "\", \"Test\")";
}

// Ten channels and no more; a terminated number is taken again, lowest
// first. (One service per channel: see dde_test_server.h.)
TEST_F(Dde, TenChannelsLowestFreeFirst) {
    std::vector<std::string> ten;
    for (int i = 1; i <= 10; ++i) ten.push_back("Echo(" + initiate(i) + ")");
    std::string all = "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n";
    struct { int line; std::vector<std::string> then; std::string out; long error; } rows[] = {
        {__LINE__, {initiate(11)}, all, 3138},
        {__LINE__, {"DDETerminate(7)", "DDETerminate(3)", "Echo(" + initiate(7) + ")", "Echo(" + initiate(3) + ")"},
         all + "3\n7\n", 0},
        {__LINE__, {"DDETerminate(10)", "Echo(" + initiate(11) + ")"}, all + "10\n", 0},
    };
    for (auto& r : rows) {
        std::vector<std::string> script = ten;
        script.insert(script.end(), r.then.begin(), r.then.end());
        auto got = run(script);
        EXPECT_EQ(r.out, got.first) << "row at line " << r.line;
        EXPECT_EQ(r.error, got.second) << "row at line " << r.line;
    }
    EXPECT_TRUE(server.wait_conversations(0));
}

// The server ends the conversation: the channel is free (3139 on its next
// use, its number taken by the next DDEInitiate). The hang-up reaches the
// client with the messages pumped before the next line; Wine 8 never calls
// ClientCallback for it, and the channel is found ended by its state.
TEST_F(Dde, ServerDisconnectFreesTheChannel) {
    struct { int line; const char* after; const char* out; long error; } rows[] = {
        {__LINE__, "DDEExecute(1, \"[ping]\")", "", 3139},
        // (another service: Wine still counts the ended conversation against this one)
        {__LINE__, "Echo(DDEInitiate(\"TslTestServer2\", \"Test\"))", "1\n", 0},
    };
    for (auto& r : rows) {
        StderrCapture err;
        HostContext host;
        host.run(server.here(crlf({OPEN, "Echo(DDEExecute(c, \"[bye]\"))"})));
        EXPECT_EQ("1\n", host.out) << "row at line " << r.line;
        EXPECT_TRUE(server.wait_conversations(0)) << "row at line " << r.line;
        host.out.clear();
        host.run(server.here(crlf({r.after})));
        EXPECT_EQ(r.out, host.out) << "row at line " << r.line;
        EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
    }
}

// Channels live with the context across runs; its shutdown ends them all.
TEST_F(Dde, ChannelsOutliveARunAndEndAtShutdown) {
    {
        StderrCapture err;
        HostContext host;
        host.run(server.here(crlf({OPEN, "d = " + initiate(2)})));
        EXPECT_TRUE(server.wait_conversations(2));
        host.run(crlf({"Echo(DDEExecute(2, \"[second run]\"))", "Echo(DDERequest(1, \"log\"))"}));
        EXPECT_EQ("1\n[second run]\n", host.out);
        EXPECT_EQ(0, host.error());
    }
    EXPECT_TRUE(server.wait_conversations(0));
}

// Wine's desktop answers as the program manager: a group made by an execute
// is listed by the request "Groups".
TEST_F(Dde, ProgmanGroups) {
    auto got = run({"c = DDEInitiate(\"Progman\", \"Progman\")", "Echo(c)",
                    "Echo(DDEExecute(c, \"[CreateGroup(TslDdeGroup)]\"))",
                    "g = DDERequest(c, \"Groups\")", "Echo(StrIndex(g, \"TslDdeGroup\", 0, @fwdscan) > 0)",
                    "Echo(DDEExecute(c, \"[DeleteGroup(TslDdeGroup)]\"))", "Echo(DDETerminate(c))"});
    EXPECT_EQ("1\n1\n1\n1\n1\n", got.first);
    EXPECT_EQ(0, got.second);
    // The group's Explorer window opens a moment later: wait for it and close it,
    // so that it takes no other test's foreground (RUN_SERIAL: this program runs alone).
    bool seen = false;
    for (DWORD start = GetTickCount(); GetTickCount() - start < 5000; Sleep(50)) {
        HWND w = FindWindowA(NULL, "TslDdeGroup");
        if (w) { seen = true; PostMessageA(w, WM_CLOSE, 0, 0); }
        else if (seen) break;
    }
}

// The diagnostic server window: one "DDE DEBUG" box per raw DDE message and
// for WM_CLOSE and WM_DESTROY; other messages pass by without a box.
TEST_F(Dde, DiagnosticServerWindow) {
    StderrCapture err;
    HostContext host;
    HWND w = (HWND)host.service(TSL_SERVICE_DDE_DEBUG, 1);
    ASSERT_TRUE(IsWindow(w));
    struct { int line; UINT msg; const char* box; } rows[] = {
        {__LINE__, WM_DDE_TERMINATE, "BOX(DDE DEBUG): DDE TERMINATE\r\n"},
        {__LINE__, WM_DDE_ADVISE, "BOX(DDE DEBUG): DDE Advise\r\n"},
        {__LINE__, WM_DDE_UNADVISE, "BOX(DDE DEBUG): DDE UnAdvise\r\n"},
        {__LINE__, WM_DDE_REQUEST, "BOX(DDE DEBUG): DDE Request\r\n"},
        {__LINE__, WM_DDE_POKE, "BOX(DDE DEBUG): DDE Poke\r\n"},
        {__LINE__, WM_DDE_EXECUTE, "BOX(DDE DEBUG): DDE Execute\r\n"},
        {__LINE__, WM_CLOSE, "BOX(DDE DEBUG): WM_CLOSE\r\n"},
        {__LINE__, WM_USER, ""},
    };
    std::string before = err.text();
    EXPECT_EQ("BOX(DEBUG): DDE SERVER MODE\r\n", before);
    for (auto& r : rows) {
        SendMessageA(w, r.msg, 0, 0);
        std::string now = err.text();
        EXPECT_EQ(r.box, now.substr(before.size())) << "row at line " << r.line;
        before = now;
    }
    EXPECT_TRUE(IsWindow(w)) << "WM_CLOSE is only shown";
    host.service(TSL_SERVICE_DDE_DEBUG, 0, (LPARAM)w);
    EXPECT_FALSE(IsWindow(w));
    EXPECT_EQ("BOX(DDE DEBUG): WM_DESTRPY\r\n", err.text().substr(before.size()));
}

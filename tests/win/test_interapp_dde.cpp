// The DDE client functions against Wine's program-manager server "Progman"
// and a DDEML server of the tests' own on a thread of this program (the
// fixture): services "TslTestServer" and "TslTestServer2" to "11" (Wine's
// DDEML gives a client one conversation per service), any topic. It
// misbehaves on purpose:
//   execute "[refuse]" refused; "[slow]" answered after 1.5 s; "[bye]" taken, then it hangs up
//   request "secret" refused; "slow" answered after 1.5 s; "big" 70,000 characters; "log" the
//   last execute; any other item the text last poked to it, or "value of <item>"
//   ("bare" without a closing NUL)
// RUN_SERIAL: no other program serves these names meanwhile, and the group
// made through "Progman" opens a window on the desktop.
#include "host_harness.h"
#include <dde.h>
#include <ddeml.h>

class Dde : public DllTest {
protected:
    void SetUp() override {
        g_dll.console(1);
        thread_ = std::thread([this] { serve(); });
        while (!ready_) Sleep(5);
    }
    void TearDown() override {
        PostThreadMessageA(thread_id_, WM_QUIT, 0, 0);
        thread_.join();
        g_dll.console(0);
    }
    // Waits (5 s at most) until n conversations are open, pumping the calling
    // thread's messages: the client's side of a hang-up arrives there.
    bool wait_conversations(int n) {
        for (DWORD start = GetTickCount(); GetTickCount() - start < 5000 && open_ != n; Sleep(10)) {
            MSG msg;
            while (PeekMessageA(&msg, NULL, 0, 0, PM_REMOVE)) DispatchMessageA(&msg);
        }
        return open_ == n;
    }

private:
    static const UINT kHangUp = WM_APP + 1;
    HDDEDATA on(UINT type, HCONV conv, HSZ item, HDDEDATA data) {
        char name[300] = "", sent[300] = "";
        DdeQueryStringA(inst_, item, name, sizeof name, CP_WINANSI);
        if (data) DdeGetData(data, (LPBYTE)sent, sizeof sent - 1, 0);
        std::string what = type == XTYP_EXECUTE ? sent : name, answer;
        if (what == "[slow]" || what == "slow") Sleep(1500);
        switch (type) {
        case XTYP_CONNECT: return (HDDEDATA)TRUE;
        case XTYP_CONNECT_CONFIRM: ++open_; return 0;
        case XTYP_DISCONNECT: --open_; return 0;
        case XTYP_EXECUTE:
            if (what == "[refuse]") return (HDDEDATA)DDE_FNOTPROCESSED;
            if (what == "[bye]") PostThreadMessageA(thread_id_, kHangUp, 0, (LPARAM)conv);
            last_ = what;
            return (HDDEDATA)DDE_FACK;
        case XTYP_POKE: poked_[what] = sent; return (HDDEDATA)DDE_FACK;
        case XTYP_REQUEST:
            if (what == "secret") return 0;
            answer = what == "big" ? std::string(70000, 'b') : what == "log" ? last_ : poked_.count(what) ? poked_[what] : "value of " + what;
            return DdeCreateDataHandle(inst_, (LPBYTE)answer.c_str(), (DWORD)answer.size() + (what != "bare"), 0, item, CF_TEXT, 0);
        default: return 0;
        }
    }
    static HDDEDATA CALLBACK callback(UINT type, UINT, HCONV conv, HSZ, HSZ item, HDDEDATA data, ULONG_PTR, ULONG_PTR) {
        return self_->on(type, conv, item, data);
    }
    void serve() {
        self_ = this;
        thread_id_ = GetCurrentThreadId();
        MSG msg;
        PeekMessageA(&msg, NULL, 0, 0, PM_NOREMOVE);  // the thread's queue exists before anyone posts
        DdeInitializeA(&inst_, callback, APPCLASS_STANDARD | CBF_SKIP_REGISTRATIONS | CBF_SKIP_UNREGISTRATIONS, 0);
        for (int i = 1; i <= 11; ++i) {
            std::string name = "TslTestServer" + (i > 1 ? std::to_string(i) : "");
            DdeNameService(inst_, DdeCreateStringHandleA(inst_, name.c_str(), CP_WINANSI), NULL, DNS_REGISTER);
        }
        ready_ = true;
        while (GetMessageA(&msg, NULL, 0, 0) > 0) {
            // Wine's DdeDisconnect does not end a conversation from the server's
            // side: the server posts the protocol's WM_DDE_TERMINATE to the
            // client's window itself; the client's answer gives XTYP_DISCONNECT.
            CONVINFO ci = {};
            ci.cb = sizeof ci;
            if (msg.message == kHangUp && DdeQueryConvInfo((HCONV)msg.lParam, QID_SYNC, &ci))
                PostMessageA(ci.hwndPartner, WM_DDE_TERMINATE, (WPARAM)ci.hwnd, 0);
            DispatchMessageA(&msg);
        }
        DdeNameService(inst_, NULL, NULL, DNS_UNREGISTER);
        DdeUninitialize(inst_);  // frees the string handles too
    }

    static inline Dde* self_ = nullptr;
    DWORD inst_ = 0, thread_id_ = 0;
    std::atomic<bool> ready_{false};
    std::atomic<int> open_{0};
    std::string last_;
    std::map<std::string, std::string> poked_;
    std::thread thread_;
};

#define OPEN "c = DDEInitiate(\"TslTestServer\", \"Test\")"

static std::string initiate(int server) {
    return "DDEInitiate(\"TslTestServer" + (server > 1 ? std::to_string(server) : std::string()) + "\", \"Test\")";
}

// One script a row in a context of its own; `then` runs in the same context
// once the server counts `between` conversations (the hang-up of "[bye]"
// reaches the client with the messages pumped before the next line: Wine 8
// never calls ClientCallback for it, and the channel is found ended by its
// state). The context's shutdown ends every conversation, except past a
// time-out: Wine's conversation then answers nothing more and its server may
// miss the terminate, so those rows come last and are not counted.
TEST_F(Dde, FunctionsAndErrors) {
    std::string ten, all;   // channels 1 to 10, one service each
    for (int i = 1; i <= 10; ++i) ten += (i > 1 ? "\r\nEcho(" : "Echo(") + initiate(i) + ")", all += std::to_string(i) + "\n";
    struct Row { int line; std::vector<std::string> script; std::string out; long error;
                 std::vector<std::string> then = {}; int between = 0; bool ended = true; } rows[] = {
        {__LINE__, {OPEN, "Echo(c)"}, "1\n", 0},
        {__LINE__, {"Echo(DDEInitiate(\"TslNoSuchServer\", \"Test\"))"}, "0\n", 0},  // no server: 0, no error
        {__LINE__, {OPEN, "Echo(DDEExecute(c, \"[open(a)]\"))", "Echo(DDERequest(c, \"log\"))"}, "1\n[open(a)]\n", 0},
        {__LINE__, {OPEN, "Echo(DDEExecute(c, \"[refuse]\"))"}, "0\n", 0},
        {__LINE__, {OPEN, "Echo(DDEPoke(c, \"name\", \"Ada\"))", "Echo(DDERequest(c, \"name\"))"}, "1\nAda\n", 0},
        {__LINE__, {OPEN, "Echo(DDERequest(c, \"colour\"))"}, "value of colour\n", 0},
        {__LINE__, {OPEN, "Echo(DDERequest(c, \"bare\"))"}, "value of bare\n", 0},  // every byte, with no NUL after them
        {__LINE__, {OPEN, "r = DDERequest(c, \"secret\")", "Echo(r)", "Echo(r == \"***NACK***\")"}, "***NACK***\n1\n", 0},
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
        // Ten channels and no more; a terminated number is taken again, lowest first.
        {__LINE__, {ten, initiate(11)}, all, 3138},
        {__LINE__, {ten, "DDETerminate(7)", "DDETerminate(3)", "Echo(" + initiate(7) + ")", "Echo(" + initiate(3) + ")"},
         all + "3\n7\n", 0},
        {__LINE__, {ten, "DDETerminate(10)", "Echo(" + initiate(11) + ")"}, all + "10\n", 0},
        // The server ends the conversation: the channel is free (3139 on its
        // next use, its number taken by the next DDEInitiate: of another
        // service, since Wine still counts the ended conversation against this one).
        {__LINE__, {OPEN, "Echo(DDEExecute(c, \"[bye]\"))"}, "1\n", 3139, {"DDEExecute(1, \"[ping]\")"}},
        {__LINE__, {OPEN, "Echo(DDEExecute(c, \"[bye]\"))"}, "1\n1\n", 0, {"Echo(" + initiate(2) + ")"}},
        // Channels live with the context from one run to the next.
        {__LINE__, {OPEN, "d = " + initiate(2)}, "1\n[second run]\n", 0,
         {"Echo(DDEExecute(2, \"[second run]\"))", "Echo(DDERequest(1, \"log\"))"}, 2},
        // Wine's desktop answers as the program manager: a group made by an
        // execute is listed by the request "Groups".
        {__LINE__, {"c = DDEInitiate(\"Progman\", \"Progman\")", "Echo(c)", "Echo(DDEExecute(c, \"[CreateGroup(TslDdeGroup)]\"))",
                    "g = DDERequest(c, \"Groups\")", "Echo(StrIndex(g, \"TslDdeGroup\", 0, @fwdscan) > 0)",
                    "Echo(DDEExecute(c, \"[DeleteGroup(TslDdeGroup)]\"))", "Echo(DDETerminate(c))"}, "1\n1\n1\n1\n1\n", 0},
        // A delayed answer past a short time-out: the request NACKs, the execute gives 0, no error.
        {__LINE__, {OPEN, "DDETimeout(300)", "Echo(DDERequest(c, \"slow\"))"}, "***NACK***\n", 0, {}, 0, false},
        {__LINE__, {OPEN, "DDETimeout(300)", "Echo(DDEExecute(c, \"[slow]\"))"}, "0\n", 0, {}, 0, false},
    };
    for (auto& r : rows) {
        StderrCapture err;
        {
            HostContext host;
            host.run(crlf(r.script));
            if (!r.then.empty()) {
                EXPECT_TRUE(wait_conversations(r.between)) << "row at line " << r.line;
                host.run(crlf(r.then));
            }
            EXPECT_EQ(r.out, host.out) << "row at line " << r.line;
            EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
        }
        if (r.ended) { EXPECT_TRUE(wait_conversations(0)) << "row at line " << r.line << ": shutdown ends them"; }
    }
    // The group's Explorer window opens a moment after its execute: close it
    // once it is there, so that it takes no other test's foreground.
    bool seen = false;
    for (DWORD start = GetTickCount(); GetTickCount() - start < 5000; Sleep(50)) {
        HWND w = FindWindowA(NULL, "TslDdeGroup");
        if (w) seen = true, PostMessageA(w, WM_CLOSE, 0, 0);
        else if (seen) break;
    }
}

// The diagnostic server window: one "DDE DEBUG" box per raw DDE message and
// for WM_CLOSE and WM_DESTROY (which it does not take for WM_CLOSE); other
// messages pass by without a box.
TEST_F(Dde, DiagnosticServerWindow) {
    StderrCapture err;
    HostContext host;
    HWND w = (HWND)host.service(TSL_SERVICE_DDE_DEBUG, 1);
    for (UINT m : {WM_DDE_TERMINATE, WM_DDE_ADVISE, WM_DDE_UNADVISE, WM_DDE_REQUEST, WM_DDE_POKE, WM_DDE_EXECUTE, WM_CLOSE, WM_USER})
        SendMessageA(w, m, 0, 0);
    EXPECT_TRUE(IsWindow(w));
    host.service(TSL_SERVICE_DDE_DEBUG, 0, (LPARAM)w);
    EXPECT_FALSE(IsWindow(w));
    EXPECT_EQ("BOX(DEBUG): DDE SERVER MODE\r\n"
              "BOX(DDE DEBUG): DDE TERMINATE\r\nBOX(DDE DEBUG): DDE Advise\r\nBOX(DDE DEBUG): DDE UnAdvise\r\n"
              "BOX(DDE DEBUG): DDE Request\r\nBOX(DDE DEBUG): DDE Poke\r\nBOX(DDE DEBUG): DDE Execute\r\n"
              "BOX(DDE DEBUG): WM_CLOSE\r\nBOX(DDE DEBUG): WM_DESTRPY\r\n", err.text());
}

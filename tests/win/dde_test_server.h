// A DDE server of the tests' own on DDEML, on a thread of the test program:
// services "TslTestServer_<pid>_" and the same followed by 2 to 11, topic
// "Test" (Wine's DDEML gives a client one conversation per service; the
// process id keeps test programs that run at the same time apart). It takes
// executes and pokes, answers requests, and on purpose misbehaves for some names:
//   execute "[refuse]" refused; "[slow]" answered after 1.5 s; "[bye]" taken, then the server hangs up
//   request "secret" refused; "slow" answered after 1.5 s; "big" 70,000 characters; "log" the last
//   execute taken; any other item the text last poked to it, or "value of <item>"
// The callback runs on the server's thread only, so its state needs no lock.
#pragma once
#include <windows.h>
#include <dde.h>
#include <ddeml.h>
#include <atomic>
#include <map>
#include <string>
#include <thread>

class DdeTestServer {
public:
    const std::string service = "TslTestServer_" + std::to_string(GetCurrentProcessId()) + "_";
    DdeTestServer() : thread_([this] { serve(); }) { while (!ready_) Sleep(5); }
    ~DdeTestServer() { PostThreadMessageA(thread_id_, WM_QUIT, 0, 0); thread_.join(); }
    // The script text with every "TslTestServer" made this server's name.
    std::string here(std::string text) const {
        for (size_t at = 0; (at = text.find("TslTestServer", at)) != std::string::npos; at += service.size())
            text.replace(at, 13, service);
        return text;
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
    std::string text(HSZ hsz) {
        char buf[300] = "";
        DdeQueryStringA(inst_, hsz, buf, sizeof buf, CP_WINANSI);
        return buf;
    }
    static std::string data_text(HDDEDATA d) {
        DWORD size = 0;
        const char* p = (const char*)DdeAccessData(d, &size);
        std::string s = p ? std::string(p, strnlen(p, size)) : "";
        if (p) DdeUnaccessData(d);
        return s;
    }
    HDDEDATA answer(HSZ item, const std::string& s) {
        return DdeCreateDataHandle(inst_, (LPBYTE)s.c_str(), (DWORD)s.size() + 1, 0, item, CF_TEXT, 0);
    }
    HDDEDATA on(UINT type, HCONV conv, HSZ topic, HSZ item, HDDEDATA data) {
        std::string name = item ? text(item) : "", cmd = type == XTYP_EXECUTE ? data_text(data) : "";
        switch (type) {
        case XTYP_CONNECT: return (HDDEDATA)(UINT_PTR)(text(topic) == "Test");
        case XTYP_CONNECT_CONFIRM: ++open_; return 0;
        case XTYP_DISCONNECT: --open_; return 0;
        case XTYP_EXECUTE:
            if (cmd == "[refuse]") return (HDDEDATA)DDE_FNOTPROCESSED;
            if (cmd == "[slow]") Sleep(1500);
            if (cmd == "[bye]") PostThreadMessageA(thread_id_, kHangUp, 0, (LPARAM)conv);
            last_ = cmd;
            return (HDDEDATA)DDE_FACK;
        case XTYP_POKE: poked_[name] = data_text(data); return (HDDEDATA)DDE_FACK;
        case XTYP_REQUEST:
            if (name == "secret") return 0;
            if (name == "slow") Sleep(1500);
            if (name == "big") return answer(item, std::string(70000, 'b'));
            if (name == "log") return answer(item, last_);
            return answer(item, poked_.count(name) ? poked_[name] : "value of " + name);
        default: return 0;
        }
    }
    static HDDEDATA CALLBACK callback(UINT type, UINT, HCONV conv, HSZ topic, HSZ item, HDDEDATA data, ULONG_PTR,
                                      ULONG_PTR) {
        return self_->on(type, conv, topic, item, data);
    }
    // Ends a conversation from the server's side. Wine's DdeDisconnect does
    // not do this for a server, so the server posts the protocol's
    // WM_DDE_TERMINATE to the client's window itself; the client's answering
    // terminate gives XTYP_DISCONNECT here.
    void hang_up(HCONV conv) {
        CONVINFO ci = {};
        ci.cb = sizeof ci;
        if (DdeQueryConvInfo(conv, QID_SYNC, &ci)) PostMessageA(ci.hwndPartner, WM_DDE_TERMINATE, (WPARAM)ci.hwnd, 0);
    }
    void serve() {
        self_ = this;
        thread_id_ = GetCurrentThreadId();
        MSG msg;
        PeekMessageA(&msg, NULL, 0, 0, PM_NOREMOVE);  // the thread's queue exists before anyone posts
        DdeInitializeA(&inst_, callback, APPCLASS_STANDARD | CBF_SKIP_REGISTRATIONS | CBF_SKIP_UNREGISTRATIONS, 0);
        for (int i = 1; i <= 11; ++i) {
            std::string name = service + (i > 1 ? std::to_string(i) : "");
            DdeNameService(inst_, DdeCreateStringHandleA(inst_, name.c_str(), CP_WINANSI), NULL, DNS_REGISTER);
        }
        ready_ = true;
        while (GetMessageA(&msg, NULL, 0, 0) > 0) {
            if (msg.message == kHangUp) hang_up((HCONV)msg.lParam);
            DispatchMessageA(&msg);
        }
        DdeNameService(inst_, NULL, NULL, DNS_UNREGISTER);
        DdeUninitialize(inst_);  // frees the string handles too
    }

    static inline DdeTestServer* self_ = nullptr;
    DWORD inst_ = 0, thread_id_ = 0;
    std::atomic<bool> ready_{false};
    std::atomic<int> open_{0};
    std::string last_;
    std::map<std::string, std::string> poked_;
    std::thread thread_;
};

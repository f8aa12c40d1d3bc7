// A DDE server of the tests' own on DDEML, on a thread of the test program:
// services "TslTestServer_<pid>_" and the same followed by 2 to 11, topic
// "Test" (Wine's DDEML gives a client one conversation per service; the
// process id keeps test programs that run at the same time apart). It takes executes and pokes,
// answers requests, and on purpose misbehaves for some names:
//   execute "[refuse]"      refused (DDE_FNOTPROCESSED)
//   execute "[slow]"        answered after `delay_ms`
//   execute "[bye]"         accepted; then the server ends the conversation
//   request "secret"        refused (no data)
//   request "slow"          answered after `delay_ms`
//   request "big"           70,000 characters
//   request "log"           the executes taken so far, joined by "|"
//   request anything else   the text last poked to it, or "value of <item>"
#pragma once
#include <windows.h>
#include <dde.h>
#include <ddeml.h>
#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>

class DdeTestServer {
public:
    const std::string service = "TslTestServer_" + std::to_string(GetCurrentProcessId()) + "_";
    // The script text with every "TslTestServer" made this server's name.
    std::string here(std::string text) const {
        for (size_t at = 0; (at = text.find("TslTestServer", at)) != std::string::npos; at += service.size())
            text.replace(at, 13, service);
        return text;
    }
    static constexpr const char* kTopic = "Test";
    explicit DdeTestServer(DWORD delay_ms = 1500) : delay_ms_(delay_ms) {
        self_ = this;
        thread_ = std::thread([this] { serve(); });
        while (!ready_) Sleep(5);  // registered and serving
    }
    ~DdeTestServer() {
        PostThreadMessageA(thread_id_, WM_QUIT, 0, 0);
        thread_.join();
        self_ = nullptr;
    }
    int conversations() const { return open_; }
    std::string log() { std::lock_guard<std::mutex> lock(mutex_); return log_; }
    // Waits (bounded) until the number of open conversations is n, pumping
    // the calling thread's messages: the client's side of a hang-up arrives there.
    bool wait_conversations(int n, DWORD ms = 5000) {
        for (DWORD start = GetTickCount(); GetTickCount() - start < ms; Sleep(10)) {
            MSG msg;
            while (PeekMessageA(&msg, NULL, 0, 0, PM_REMOVE)) DispatchMessageA(&msg);
            if (open_ == n) return true;
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
        switch (type) {
        case XTYP_CONNECT: return (HDDEDATA)(UINT_PTR)(text(topic) == kTopic);
        case XTYP_CONNECT_CONFIRM: ++open_; return 0;
        case XTYP_DISCONNECT: --open_; return 0;
        case XTYP_EXECUTE: {
            std::string cmd = data_text(data);
            if (cmd == "[refuse]") return (HDDEDATA)DDE_FNOTPROCESSED;
            if (cmd == "[slow]") Sleep(delay_ms_);
            if (cmd == "[bye]") PostThreadMessageA(thread_id_, kHangUp, 0, (LPARAM)conv);
            std::lock_guard<std::mutex> lock(mutex_);
            log_ += (log_.empty() ? "" : "|") + cmd;
            return (HDDEDATA)DDE_FACK;
        }
        case XTYP_POKE: {
            std::string name = text(item);
            std::lock_guard<std::mutex> lock(mutex_);
            poked_[name] = data_text(data);
            return (HDDEDATA)DDE_FACK;
        }
        case XTYP_REQUEST: {
            std::string name = text(item);
            if (name == "secret") return 0;
            if (name == "slow") Sleep(delay_ms_);
            if (name == "big") return answer(item, std::string(70000, 'b'));
            if (name == "log") return answer(item, log());
            std::lock_guard<std::mutex> lock(mutex_);
            auto p = poked_.find(name);
            return answer(item, p != poked_.end() ? p->second : "value of " + name);
        }
        default: return 0;
        }
    }
    static HDDEDATA CALLBACK callback(UINT type, UINT, HCONV conv, HSZ topic, HSZ item, HDDEDATA data, ULONG_PTR,
                                      ULONG_PTR) {
        return self_->on(type, conv, topic, item, data);
    }
    // Ends a conversation from the server's side. Wine's DdeDisconnect does
    // not do this for a server, so the server's window posts the protocol's
    // WM_DDE_TERMINATE to the client's window itself; the client's answering
    // terminate gives XTYP_DISCONNECT here.
    void hang_up(HCONV conv) {
        CONVINFO ci = {};
        ci.cb = sizeof ci;
        if (DdeQueryConvInfo(conv, QID_SYNC, &ci))
            PostMessageA(ci.hwndPartner, WM_DDE_TERMINATE, (WPARAM)ci.hwnd, 0);
    }
    void serve() {
        thread_id_ = GetCurrentThreadId();
        MSG msg;
        PeekMessageA(&msg, NULL, 0, 0, PM_NOREMOVE);  // the thread's queue exists before anyone posts
        DdeInitializeA(&inst_, callback, APPCLASS_STANDARD | CBF_SKIP_REGISTRATIONS | CBF_SKIP_UNREGISTRATIONS, 0);
        HSZ name0 = DdeCreateStringHandleA(inst_, service.c_str(), CP_WINANSI);
        DdeNameService(inst_, name0, NULL, DNS_REGISTER);
        for (int i = 2; i <= 11; ++i) {
            std::string name = service + std::to_string(i);
            DdeNameService(inst_, DdeCreateStringHandleA(inst_, name.c_str(), CP_WINANSI), NULL, DNS_REGISTER);
        }
        ready_ = true;
        while (GetMessageA(&msg, NULL, 0, 0) > 0) {
            if (msg.message == kHangUp) hang_up((HCONV)msg.lParam);
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
        DdeNameService(inst_, NULL, NULL, DNS_UNREGISTER);
        DdeFreeStringHandle(inst_, name0);
        DdeUninitialize(inst_);
    }

    static inline DdeTestServer* self_ = nullptr;
    DWORD delay_ms_;
    DWORD inst_ = 0, thread_id_ = 0;
    std::atomic<bool> ready_{false};
    std::atomic<int> open_{0};
    std::mutex mutex_;
    std::string log_;
    std::map<std::string, std::string> poked_;
    std::thread thread_;
};

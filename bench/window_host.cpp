// The window benchmark's desktop: opens N top-level windows titled
// "Bench window 1" .. "Bench window N", runs the command line that follows
// (tslrun with the benchmark script) while answering its windows' messages,
// and ends with that program's exit status.
//   window_host.exe N PROGRAM ARGS...
#include <windows.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

int main(int argc, char** argv) {
    if (argc < 3) { fprintf(stderr, "usage: window_host N PROGRAM ARGS...\n"); return 2; }
    int n = atoi(argv[1]);
    for (int i = 1; i <= n; ++i) {
        std::string title = "Bench window " + std::to_string(i);
        CreateWindowA("STATIC", title.c_str(), WS_OVERLAPPEDWINDOW, 10 * i, 10 * i, 200, 100, NULL, NULL, NULL, NULL);
    }
    std::string cmd;
    for (int i = 2; i < argc; ++i) cmd += std::string(i > 2 ? " " : "") + "\"" + argv[i] + "\"";
    STARTUPINFOA si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi;
    if (!CreateProcessA(NULL, &cmd[0], NULL, NULL, TRUE, 0, NULL, NULL, &si, &pi)) {
        fprintf(stderr, "window_host: cannot start %s\n", cmd.c_str());
        return 2;
    }
    while (MsgWaitForMultipleObjects(1, &pi.hProcess, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
        MSG msg;
        while (PeekMessageA(&msg, NULL, 0, 0, PM_REMOVE)) DispatchMessageA(&msg);
    }
    DWORD status = 1;
    GetExitCodeProcess(pi.hProcess, &status);
    return (int)status;
}

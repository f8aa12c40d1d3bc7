// AppExist and AppWaitClose: whether a program (or a library it loaded) is
// running anywhere on the system.
//
// A module-handle lookup would see only the modules of the script's own
// process, never another program, so the lookup here takes a snapshot of
// the running processes and, when no program file matches, of each
// process's modules. The name is compared by its file part only and without
// regard to case; without an extension it matches any extension
// ("notepad", "notepad.exe" and "C:\x\NOTEPAD.EXE" all find notepad.exe).
#include <windows.h>
#include <tlhelp32.h>
#include <cstring>
#include "window_find.h"
#include "../core/bounded.h"
#include "../functions/families.h"

namespace tsl {

namespace {

struct AppName {
    char name[MAX_PATH];   // the file part asked for
    bool has_extension;
};

void app_name(Context* ctx, const char* text, AppName* out) {
    const char* base = text;
    for (const char* p = text; *p; ++p)
        if (*p == '\\' || *p == '/' || *p == ':') base = p + 1;
    bounded_copy(ctx, out->name, base, sizeof out->name);
    out->has_extension = strchr(out->name, '.') != nullptr;
}

bool file_matches(const AppName& want, const char* path) {
    const char* base = path;
    for (const char* p = path; *p; ++p)
        if (*p == '\\' || *p == '/') base = p + 1;
    if (want.has_extension) return lstrcmpiA(base, want.name) == 0;
    char stem[MAX_PATH];
    lstrcpynA(stem, base, sizeof stem);
    if (char* dot = strrchr(stem, '.')) *dot = 0;
    return lstrcmpiA(stem, want.name) == 0;
}

bool module_running(DWORD pid, const AppName& want) {
    HANDLE snap = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE | TH32CS_SNAPMODULE32, pid);
    if (snap == INVALID_HANDLE_VALUE) return false;
    MODULEENTRY32 m;
    m.dwSize = sizeof m;
    bool found = false;
    for (BOOL more = Module32First(snap, &m); more && !found; more = Module32Next(snap, &m))
        found = file_matches(want, m.szModule) || file_matches(want, m.szExePath);
    CloseHandle(snap);
    return found;
}

bool app_running(const AppName& want) {
    HANDLE snap = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snap == INVALID_HANDLE_VALUE) return false;
    PROCESSENTRY32 p;
    p.dwSize = sizeof p;
    bool found = false;
    for (BOOL more = Process32First(snap, &p); more && !found; more = Process32Next(snap, &p))
        found = file_matches(want, p.szExeFile);
    for (BOOL more = found ? FALSE : Process32First(snap, &p); more && !found; more = Process32Next(snap, &p))
        if (p.th32ProcessID) found = module_running(p.th32ProcessID, want);
    CloseHandle(snap);
    return found;
}

void fn_app_exist(Context* ctx, Value* r, Value* a) {
    AppName want;
    app_name(ctx, value_text(ctx, a[1]), &want);
    r->integer = want.name[0] && app_running(want) ? 1 : 0;
}

// Waits, pumping messages as between script lines, until the program has
// ended or the user breaks in. 0 at once when it is not running.
void fn_app_wait_close(Context* ctx, Value* r, Value* a) {
    AppName want;
    app_name(ctx, value_text(ctx, a[1]), &want);
    if (!want.name[0] || !app_running(want)) return;
    do wait_pause(ctx);
    while (!ctx->break_flag && app_running(want));
    r->integer = 1;
}

const FunctionEntry kTable[] = {
    {62, fn_app_exist},
    {63, fn_app_wait_close},
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyApps, kTable)

} // namespace tsl

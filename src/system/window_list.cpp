// WinItemize, WinCloseNot, WinExeName, WinIsDos, FindWindow: functions that
// walk the top-level windows or ask about a window's program.
//
// WinItemize and WinCloseNot see the windows the title search sees: every
// top-level window with a title other than "WinOldAp", in z-order.
#include "window_find.h"
#include <psapi.h>
#include <cstring>
#include "../core/bounded.h"
#include "../core/eval.h"
#include "../functions/families.h"

extern "C" BOOL CALLBACK WinEnumItem(HWND window, LPARAM lp);
extern "C" BOOL CALLBACK WinEnumClose(HWND window, LPARAM lp);

namespace tsl {

namespace {

// WinItemize walks twice: the first pass adds up the titles, the second
// writes them, each followed by a tab.
struct ItemWalk {
    char* out;          // null in the counting pass
    unsigned length;    // bytes counted or written so far
    unsigned capacity;  // of out, without the NUL
};

void fn_win_itemize(Context* ctx, Value* r, Value*) {
    ItemWalk walk{nullptr, 0, 0};
    EnumWindows(WinEnumItem, (LPARAM)&walk);
    char* out = value_alloc_text(ctx, r, walk.length + 1);
    if (!out) return;
    walk = ItemWalk{out, 0, walk.length};
    out[0] = 0;
    EnumWindows(WinEnumItem, (LPARAM)&walk);   // a title that grew in between is cut to the count
    out[walk.length] = 0;
}

// WinCloseNot reads its own arguments and reads them again for every window,
// so that each window is matched against the list as it stands then.
struct CloseWalk {
    Context* ctx;
    const char* start;    // the lexer just after "("
    uint16_t kind;
    int16_t id;
    char text[4];
    bool read;            // the list has been read at least once
};

// Reads the whole argument list from its start; with a title, tells whether
// any argument matches it. Errors: 2038 for a list not closed by ")" or an
// argument that is a number, 3056 for one that has no text to give (an open
// file handle, or no value at all).
bool close_list_matches(CloseWalk* walk, const char* title) {
    Context* ctx = walk->ctx;
    ctx->cursor = walk->start;
    ctx->tok_kind = walk->kind;
    ctx->tok_id = walk->id;
    bounded_copy(ctx, ctx->tok_text, walk->text, sizeof walk->text);
    walk->read = true;
    bool matched = false, last = false;
    while (!last) {
        Value v = value_int(0);
        v.flags = 0;
        if (!eval_next_argument(ctx, &v, &last, 2038) || ctx->error) { value_free(ctx, &v); return false; }
        if (!(v.flags & VF_STR)) {
            fail(ctx, (v.flags & VF_HANDLE) || !value_defined(v) ? 3056 : 2038);
            value_free(ctx, &v);
            return false;
        }
        if (title && window_title_matches(title, value_text(ctx, v))) matched = true;
        value_free(ctx, &v);
    }
    return matched;
}

void fn_win_close_not(Context* ctx, Value* r, Value*) {
    CloseWalk walk{ctx, ctx->cursor, ctx->tok_kind, ctx->tok_id, "", false};
    bounded_copy(ctx, walk.text, ctx->tok_text, sizeof walk.text);
    EnumWindows(WinEnumClose, (LPARAM)&walk);
    if (!walk.read && !ctx->error) close_list_matches(&walk, nullptr);   // no window: the list is still read
    r->integer = 1;   // whatever was closed; an error stays in the error number
}

// The full file name of the module behind a window: its instance in its own
// process (asked of that process when it is another program).
bool window_module_name(HWND w, char* out, DWORD size) {
    HINSTANCE inst = (HINSTANCE)GetWindowLongPtrA(w, GWLP_HINSTANCE);
    DWORD pid = 0;
    GetWindowThreadProcessId(w, &pid);
    if (pid == GetCurrentProcessId()) return GetModuleFileNameA(inst, out, size) > 0;
    HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, pid);
    if (!process) process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, pid);
    if (!process) return false;
    bool ok = inst && GetModuleFileNameExA(process, inst, out, size) > 0;
    DWORD n = size;
    if (!ok) ok = QueryFullProcessImageNameA(process, 0, out, &n) != 0;   // the instance is no module there
    CloseHandle(process);
    return ok;
}

void fn_win_exe_name(Context* ctx, Value* r, Value* a) {
    HWND w = window_target(ctx, value_text(ctx, a[1]));
    char name[MAX_PATH] = "";
    if (!w) { fail(ctx, 1172); return; }
    if (!window_module_name(w, name, sizeof name)) name[0] = 0;
    value_set_text(ctx, r, name);
}

// WinIsDos: 1 when the window is a console program's window (the system's
// console window class; Wine names its own "WineConsoleClass"), else 0.
void fn_win_is_dos(Context* ctx, Value* r, Value* a) {
    HWND w = window_target(ctx, value_text(ctx, a[1]));
    char cls[64];
    if (!w || !GetClassNameA(w, cls, sizeof cls)) { fail(ctx, 1227); return; }
    r->integer = strcmp(cls, "ConsoleWindowClass") == 0 || strcmp(cls, "WineConsoleClass") == 0 ? 1 : 0;
}

// FindWindow(class): the title of the first top-level window of that
// window class, "" when there is none.
void fn_find_window(Context* ctx, Value* r, Value* a) {
    char title[TITLE_BUF] = "";
    if (HWND w = FindWindowA(value_text(ctx, a[1]), nullptr)) window_title(w, title);
    value_set_text(ctx, r, title);
}

const FunctionEntry kTable[] = {
    {137, fn_find_window}, {243, fn_win_close_not}, {245, fn_win_exe_name}, {251, fn_win_is_dos},
    {252, fn_win_itemize},
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyWindowList, kTable)

} // namespace tsl

extern "C" BOOL CALLBACK WinEnumItem(HWND window, LPARAM lp) {
    tsl::ItemWalk* walk = (tsl::ItemWalk*)lp;
    char title[tsl::TITLE_BUF];
    tsl::window_title(window, title);
    if (!tsl::window_title_listed(title)) return TRUE;
    unsigned n = (unsigned)strlen(title) + 1;
    if (!walk->out) { walk->length += n; return TRUE; }
    if (walk->length + n > walk->capacity) return FALSE;
    memcpy(walk->out + walk->length, title, n - 1);
    walk->out[walk->length + n - 1] = '\t';
    walk->length += n;
    return TRUE;
}

extern "C" BOOL CALLBACK WinEnumClose(HWND window, LPARAM lp) {
    tsl::CloseWalk* walk = (tsl::CloseWalk*)lp;
    char title[tsl::TITLE_BUF];
    tsl::window_title(window, title);
    if (!tsl::window_title_listed(title)) return TRUE;
    bool keep = tsl::close_list_matches(walk, title);
    if (walk->ctx->error) return FALSE;
    if (!keep && window != (HWND)walk->ctx->owner) PostMessageA(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    return TRUE;
}

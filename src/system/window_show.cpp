// WinActivate, WinClose, WinHide, WinIconize, WinZoom, WinShow, WinTitle,
// WinExist, WinWaitClose, WinGetActive, WinState, WinName: finding a
// top-level window by title and changing how it is shown.
//
// An empty title means the host window (for WinActivate: its parent). The
// host window is changed directly; any other window is posted a system
// command, so that its own program makes the change on its own thread and
// the script never waits for another program's message loop. A window not
// found is a minor error with the result 0.
#include "window_find.h"
#include "../core/bounded.h"
#include "../functions/families.h"

namespace tsl {

namespace {

const int ACTIVATE_SEARCHES = 10;      // WinActivate looks this often,
const unsigned ACTIVATE_WAIT_MS = 1000;   // this long apart

void post_command(HWND w, WPARAM command) { PostMessageA(w, WM_SYSCOMMAND, command, 0); }

void fn_win_activate(Context* ctx, Value* r, Value* a) {
    const char* title = value_text(ctx, a[1]);
    HWND w = nullptr;
    if (!title[0]) w = (HWND)ctx->owner_parent;
    else
        for (int i = 0; i < ACTIVATE_SEARCHES && !w; ++i) {
            if (i) Sleep(ACTIVATE_WAIT_MS);
            w = window_find(ctx, title);
        }
    if (!w) { fail(ctx, 1045); return; }
    SetForegroundWindow(w);
    if (IsIconic(w)) post_command(w, SC_RESTORE);
    r->integer = 1;
}

enum ShowKind { SHOW_CLOSE, SHOW_HIDE, SHOW_ICONIZE, SHOW_ZOOM, SHOW_SHOW };
const uint16_t kNotFound[] = {1039, 1040, 1041, 1042, 1043};

void show_state(Context* ctx, Value* r, Value* a, ShowKind kind) {
    HWND w = window_target(ctx, value_text(ctx, a[1]));
    if (!w) { fail(ctx, kNotFound[kind]); return; }
    bool host = w == (HWND)ctx->owner;
    switch (kind) {
    case SHOW_CLOSE:
        if (!host) post_command(w, SC_CLOSE);   // the host window is never closed by its own script
        break;
    case SHOW_HIDE:
        ShowWindow(w, SW_HIDE);
        break;
    case SHOW_ICONIZE:
        if (IsIconic(w)) break;
        if (host) ShowWindow(w, SW_SHOWMINNOACTIVE);
        else post_command(w, SC_MINIMIZE);
        break;
    case SHOW_ZOOM:
        if (IsZoomed(w)) break;
        if (host) ShowWindow(w, SW_SHOWMAXIMIZED);
        else post_command(w, SC_MAXIMIZE);
        break;
    case SHOW_SHOW:
        if (host) ShowWindow(w, SW_SHOWNA);
        else if (IsWindowVisible(w)) post_command(w, SC_RESTORE);
        else ShowWindow(w, SW_SHOW);
        break;
    }
    r->integer = 1;
}

void fn_win_close(Context* ctx, Value* r, Value* a) { show_state(ctx, r, a, SHOW_CLOSE); }
void fn_win_hide(Context* ctx, Value* r, Value* a) { show_state(ctx, r, a, SHOW_HIDE); }
void fn_win_iconize(Context* ctx, Value* r, Value* a) { show_state(ctx, r, a, SHOW_ICONIZE); }
void fn_win_zoom(Context* ctx, Value* r, Value* a) { show_state(ctx, r, a, SHOW_ZOOM); }
void fn_win_show(Context* ctx, Value* r, Value* a) { show_state(ctx, r, a, SHOW_SHOW); }

void fn_win_title(Context* ctx, Value* r, Value* a) {
    HWND w = window_target(ctx, value_text(ctx, a[1]));
    if (!w) { fail(ctx, 1121); return; }
    char title[TITLE_BUF];
    bounded_copy(ctx, title, value_text(ctx, a[2]), sizeof title);
    SetWindowTextA(w, title);
    r->integer = 1;
}

void fn_win_exist(Context* ctx, Value* r, Value* a) {
    r->integer = window_target(ctx, value_text(ctx, a[1])) ? 1 : 0;
}

// Waits, pumping messages as between script lines, until no window matches
// or the user breaks in. 1 when the window was there at least once.
void fn_win_wait_close(Context* ctx, Value* r, Value* a) {
    const char* title = value_text(ctx, a[1]);
    char pattern[TITLE_BUF];
    bounded_copy(ctx, pattern, title, sizeof pattern);   // the argument's text may move while messages run
    bool seen = false;
    for (;;) {
        wait_pause(ctx);
        if (ctx->break_flag || !window_target(ctx, pattern)) break;
        seen = true;
    }
    r->integer = seen ? 1 : 0;
}

void fn_win_get_active(Context* ctx, Value* r, Value*) {
    char title[TITLE_BUF] = "";
    if (HWND w = GetForegroundWindow()) window_title(w, title);
    value_set_text(ctx, r, title);
}

// WinState: 0 when no window matches, -1 for a hidden window, else the
// placement kinds of WinPlaceGet: 1 (@icon), 2 (@normal), 3 (@zoomed).
void fn_win_state(Context* ctx, Value* r, Value* a) {
    HWND w = window_target(ctx, value_text(ctx, a[1]));
    if (!w) return;
    r->integer = !IsWindowVisible(w) ? -1 : IsIconic(w) ? 1 : IsZoomed(w) ? 3 : 2;
}

// WinName: the host window's own title ("" without a host window).
void fn_win_name(Context* ctx, Value* r, Value*) {
    char title[TITLE_BUF] = "";
    if (ctx->owner) window_title((HWND)ctx->owner, title);
    value_set_text(ctx, r, title);
}

const FunctionEntry kTable[] = {
    {240, fn_win_activate}, {242, fn_win_close},     {246, fn_win_exist},      {247, fn_win_get_active},
    {249, fn_win_hide},     {250, fn_win_iconize},   {254, fn_win_name},       {262, fn_win_show},
    {263, fn_win_state},    {264, fn_win_title},     {266, fn_win_wait_close}, {267, fn_win_zoom},
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyWindowShow, kTable)

} // namespace tsl

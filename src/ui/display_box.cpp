// Display(seconds, title, text): a message that closes by itself (template
// TDISPLAY, procedure DisplayBoxProc). The time runs in slices of at most
// 30 seconds on window timer 4; a key, a click or any command ends it at
// once. It is owned by the host window's parent, where there is one.
#include "box_support.h"
#include "../core/bounded.h"
#include "../core/startup_win32.h"
#include "../functions/families.h"
#include "dialog_contexts.h"

extern "C" INT_PTR CALLBACK DisplayBoxProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp);

namespace tsl {

namespace {

const unsigned TITLE_MAX = 256;
const unsigned MESSAGE_MAX = 1280;
const int SECONDS_MAX = 3600;
const int SLICE_MAX_MS = 30000;
const UINT_PTR DISPLAY_TIMER = 4;
const UINT HOLD_RECHECK_MS = 700;   // Alt or the mouse button still held

struct DisplayCall {
    char title[TITLE_MAX + 1];
    char text[MESSAGE_MAX + 1];
    int char_width, char_height;   // the screen's default font
};

void measure_default_font(DisplayCall* call) {
    call->char_width = 8;
    call->char_height = 16;
    HDC ic = CreateICA("DISPLAY", NULL, NULL, NULL);
    if (!ic) return;
    TEXTMETRICA tm;
    if (GetTextMetricsA(ic, &tm)) {
        call->char_width = tm.tmAveCharWidth;
        call->char_height = tm.tmHeight + tm.tmExternalLeading;
    }
    DeleteDC(ic);
}

// Display(seconds, title, text) -> 1 dismissed by the user, 0 timed out
void fn_display(Context* ctx, Value* r, Value* a) {
    int seconds = a[1].integer;
    if (seconds < 1) seconds = 2;   // 2, not 1: kept so deliberately
    if (seconds > SECONDS_MAX) seconds = SECONDS_MAX;
    DisplayCall call;
    bounded_copy(ctx, call.title, value_text(ctx, a[2]), sizeof call.title);
    bounded_copy(ctx, call.text, value_text(ctx, a[3]), sizeof call.text);
    if (plat_console_mode()) {
        box_console(call.title, call.text);
        r->integer = 1;   // as if dismissed at once
        return;
    }
    ctx->box.display_left = seconds * 1000;
    measure_default_font(&call);
    HWND owner = (HWND)(ctx->owner_parent ? ctx->owner_parent : ctx->owner);
    void* outer = ctx->box.call;
    ctx->box.call = &call;
    INT_PTR ended = DialogBoxParamA(box_module(), "TDISPLAY", owner, DisplayBoxProc, (LPARAM)ctx);
    ctx->box.call = outer;
    if (ended == -1 || ended == 0) {
        // No dialog: the text in a plain message box instead.
        MessageBoxA((HWND)ctx->owner, call.text, call.title, MB_OK);
        r->integer = 0;
    } else {
        r->integer = ctx->box.display_left;
    }
    box_after(ctx);
}

// Lines: 1 + the line feeds. Width: the longest run between carriage
// returns, a line feed counting as a character of the run, never less than
// the title. A line after CR LF so measures one more than it shows: kept.
void size_window(HWND dlg, const DisplayCall* call) {
    int lines = 1, run = 0, longest = (int)strlen(call->title);
    for (const char* p = call->text; *p; ++p) {
        if (*p == '\n') ++lines;
        if (*p == '\r') run = 0;
        else if (++run > longest) longest = run;
    }
    int width = call->char_width * (longest + 6) + 2 * GetSystemMetrics(SM_CXBORDER);
    int height = call->char_height * (lines + 2) + 2 * GetSystemMetrics(SM_CYBORDER) + GetSystemMetrics(SM_CYCAPTION);
    SetWindowPos(dlg, NULL, 0, 0, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
    box_centre(dlg);
}

void start_slice(HWND dlg, Context* ctx) {
    int slice = ctx->box.display_left < SLICE_MAX_MS ? ctx->box.display_left : SLICE_MAX_MS;
    SetTimer(dlg, DISPLAY_TIMER, (UINT)slice, NULL);
    ctx->box.display_left -= slice;
}

// Time up: close unless Alt or the left mouse button is held, so that the
// release does not fall through to the window beneath.
void closing_check(HWND dlg, Context* ctx) {
    if (ctx->box.display_left >= 2) { start_slice(dlg, ctx); return; }
    if ((GetAsyncKeyState(VK_MENU) & 0x8000) || (GetAsyncKeyState(VK_LBUTTON) & 0x8000)) {
        SetTimer(dlg, DISPLAY_TIMER, HOLD_RECHECK_MS, NULL);
        return;
    }
    KillTimer(dlg, DISPLAY_TIMER);
    box_leave(dlg, 1);
}

void paint(HWND dlg, Context* ctx, const DisplayCall* call) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(dlg, &ps);
    RECT rc;
    GetClientRect(dlg, &rc);
    rc.top += call->char_height;
    bool pretty = ctx->pretty_dialogs != 0;
    COLORREF old_text = SetTextColor(dc, pretty ? RGB(0, 0, 0) : GetSysColor(COLOR_WINDOWTEXT));
    COLORREF old_back = SetBkColor(dc, GetSysColor(COLOR_WINDOW));
    int old_mode = SetBkMode(dc, pretty ? TRANSPARENT : OPAQUE);
    DrawTextA(dc, call->text, -1, &rc, DT_CENTER | DT_NOPREFIX);
    SetBkMode(dc, old_mode);
    SetBkColor(dc, old_back);
    SetTextColor(dc, old_text);
    EndPaint(dlg, &ps);
}

const FunctionEntry kTable[] = {
    {99, fn_display},   // Display
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyDisplay, kTable)

} // namespace tsl

using namespace tsl;

// The procedure of TDISPLAY (exported).
extern "C" INT_PTR CALLBACK DisplayBoxProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
    if (msg == WM_INITDIALOG) {
        Context* ctx = (Context*)lp;
        if (!box_enter(dlg, ctx, 0)) return TRUE;
        box_sound(ctx, "SystemExclamation");
        start_slice(dlg, ctx);
        SetWindowTextA(dlg, ((const DisplayCall*)ctx->box.call)->title);
        size_window(dlg, (const DisplayCall*)ctx->box.call);
        return TRUE;
    }
    Context* ctx = dialog_context_peek(dlg);   // nothing before the box entered itself or after it left
    if (!ctx) return FALSE;
    switch (msg) {
    case WM_KEYDOWN: case WM_CHAR: case WM_COMMAND: case WM_LBUTTONDOWN:
        box_note_break(ctx);
        ctx->box.display_left = 1;
        closing_check(dlg, ctx);
        return TRUE;
    case WM_TIMER:
        if (wp == BOX_BREAK_TIMER) {
            if (box_break_tick(ctx)) { KillTimer(dlg, DISPLAY_TIMER); ctx->box.display_left = 0; box_leave(dlg, 1); }
        } else if (wp == DISPLAY_TIMER) {
            KillTimer(dlg, DISPLAY_TIMER);
            closing_check(dlg, ctx);
        }
        return TRUE;
    case WM_PAINT:
        paint(dlg, ctx, (const DisplayCall*)ctx->box.call);
        return TRUE;
    case WM_CTLCOLORDLG:
        if (ctx->pretty_dialogs && g_texture_brush) return (INT_PTR)g_texture_brush;
        return FALSE;
    }
    return FALSE;
}

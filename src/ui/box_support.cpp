// Shared pieces of the boxes; see box_support.h.
#include "box_support.h"
#include "dialog_contexts.h"
#include "../core/bounded.h"
#include "../core/messages.h"
#include "../core/startup_win32.h"
#include <mmsystem.h>

namespace tsl {

namespace {
const unsigned MSG_OK = 120;
const unsigned MSG_CANCEL = 121;
const UINT BREAK_WATCH_MS = 100;

} // namespace

void box_button_caption(Context* ctx, int id, char* caption, unsigned size) {
    const char* pending = id == IDOK ? ctx->box.ok_name : ctx->box.cancel_name;
    if (ctx->box.names_pending && pending[0]) bounded_copy(ctx, caption, pending, size);
    else if (!load_message(ctx, id == IDOK ? MSG_OK : MSG_CANCEL, caption, size)) caption[0] = 0;
}

HINSTANCE box_module() {
    if (g_module) return g_module;
    HMODULE m = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       (LPCSTR)&box_module, &m);
    return m;
}

void box_button_names(Context* ctx, HWND dlg) {
    char caption[BUTTON_NAME_MAX + 80];
    box_button_caption(ctx, IDOK, caption, sizeof caption);
    SetDlgItemTextA(dlg, IDOK, caption);
    box_button_caption(ctx, IDCANCEL, caption, sizeof caption);
    SetDlgItemTextA(dlg, IDCANCEL, caption);
    ctx->box.names_pending = 0;
}

void box_centre(HWND w) {
    RECT r;
    GetWindowRect(w, &r);
    int width = r.right - r.left, height = r.bottom - r.top;
    int x = (GetSystemMetrics(SM_CXSCREEN) - width) / 2, y = (GetSystemMetrics(SM_CYSCREEN) - height) / 2;
    SetWindowPos(w, NULL, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void box_sound(Context* ctx, const char* alias) {
    if (ctx->sounds) PlaySoundA(alias, NULL, SND_ALIAS | SND_ASYNC | SND_NODEFAULT);
}

bool box_enter(HWND dlg, Context* ctx, INT_PTR failed) {
    if (!dialog_context_add(dlg, ctx)) {
        EndDialog(dlg, failed);   // a full table: the box fails, no other run's context is touched
        return false;
    }
    SetTimer(dlg, BOX_BREAK_TIMER, BREAK_WATCH_MS, NULL);
    return true;
}

void box_leave(HWND dlg, INT_PTR result) {
    KillTimer(dlg, BOX_BREAK_TIMER);
    dialog_context_remove(dlg);
    EndDialog(dlg, result);
}

bool box_break_tick(Context* ctx) {
    plat_break_test(ctx);
    return ctx->break_flag != 0;
}

void box_note_break(Context* ctx) {
    if ((GetKeyState(VK_CONTROL) & 0x8000) && (GetKeyState(VK_CANCEL) & 0x8000)) ctx->break_flag = 1;
}

void box_after(Context* ctx) {
    plat_pump_messages(ctx);
    SetCursor((HCURSOR)ctx->current_cursor);
}

void box_console(const char* caption, const char* text) {
    plat_message_box(NULL, text, caption, MB_OK);   // console mode: writes the line, shows nothing
}

Context* box_context(HWND dlg) { return dialog_context_find(dlg); }

} // namespace tsl

// DialogBox(name, unused) -> the value of the button that ended the dialog.
// The variables name+"Format", "Caption", "x", "y", "width", "height",
// "NumControls" and name+"01".. describe it; positions and sizes are in
// dialog units (x a quarter, y an eighth of the base units). The dialog runs
// modally in its own loop; Cancel (or a button of value 0) stops the script
// with 9999. In console mode the dialog is still created (so every
// definition error is found) but never shown: OK is pressed at once.
#include "dialog_box.h"
#include "box_support.h"
#include "../core/bounded.h"
#include "../core/startup_win32.h"
#include "../core/vars.h"
#include "../functions/families.h"
#include <cstdio>
#include <cstring>

namespace tsl {

namespace {

const char kFormat[] = "TSLDLGED,4.0";
const unsigned CAPTION_MAX = 256;

// Reads name+suffix into buf; false when the variable is undefined.
bool read_var(Context* ctx, const char* name, const char* suffix, char* buf, unsigned size) {
    char var[DIALOG_NAME_MAX + 16];
    snprintf(var, sizeof var, "%s%s", name, suffix);
    return var_get_text(ctx, var, buf, size) != 0;
}

bool read_int(Context* ctx, const char* name, const char* suffix, int* out) {
    char buf[64];
    if (!read_var(ctx, name, suffix, buf, sizeof buf) || !text_is_number(buf)) return false;
    *out = text_to_integer(buf);
    return true;
}

void centre_if_off_screen(HWND w) {
    RECT r;
    GetWindowRect(w, &r);
    if (r.left < 0 || r.top < 0 || r.right > GetSystemMetrics(SM_CXSCREEN) || r.bottom > GetSystemMetrics(SM_CYSCREEN))
        box_centre(w);
}

// The dialog's own loop: until its window is gone, or at once on a user break.
void run_loop(Context* ctx, HWND w, DialogCall* call) {
    MSG m;
    while (IsWindow(w)) {
        if (ctx->break_flag) { call->result = 0; DestroyWindow(w); break; }
        BOOL got = GetMessageA(&m, NULL, 0, 0);
        if (got <= 0) {
            if (got == 0) PostQuitMessage((int)m.wParam);   // leave the quit for the host's loop
            break;
        }
        if (!IsDialogMessageA(w, &m)) { TranslateMessage(&m); DispatchMessageA(&m); }
    }
}

// DialogBox(name, unused): see the head of this file.
void fn_dialog_box(Context* ctx, Value* r, Value* a) {
    const char* name = value_text(ctx, a[1]);
    if (strlen(name) > DIALOG_NAME_MAX) { fail(ctx, 3218); return; }
    DialogCall call;
    memset(&call, 0, sizeof call);
    bounded_copy(ctx, call.name, name, sizeof call.name);
    char format[64], caption[CAPTION_MAX + 1];
    if (!read_var(ctx, name, "Format", format, sizeof format)) { fail(ctx, 3219); return; }
    if (lstrcmpiA(format, kFormat) != 0) { fail(ctx, 3220); return; }
    int x, y, width, height, count = 0;
    if (!read_int(ctx, name, "x", &x) || !read_int(ctx, name, "y", &y) || !read_int(ctx, name, "width", &width) ||
        !read_int(ctx, name, "height", &height)) {
        fail(ctx, 3221);
        return;
    }
    if (!read_var(ctx, name, "Caption", caption, sizeof caption)) caption[0] = 0;
    read_int(ctx, name, "NumControls", &count);
    call.count = count < 0 ? 0 : count > (int)DIALOG_CONTROLS_MAX ? DIALOG_CONTROLS_MAX : (unsigned)count;
    call.console = plat_console_mode();

    LONG base = GetDialogBaseUnits();
    int bw = LOWORD(base), bh = HIWORD(base), cap = GetSystemMetrics(SM_CYCAPTION);
    DWORD style = WS_POPUP | WS_CAPTION | WS_CLIPCHILDREN | (call.console ? 0 : WS_VISIBLE);
    HWND owner = (HWND)ctx->owner;
    void* outer = ctx->box.call;
    ctx->box.call = &call;
    HWND w = CreateWindowExA(0, kClassDialog2, caption, style, x * bw / 4, y * bh / 8 - cap, width * bw / 4,
                             height * bh / 8 + cap, owner, NULL, g_module, ctx);
    if (!w) {
        // A definition error (3222..3225) fails the creation: the script sees 3104, deliberately.
        ctx->box.call = outer;
        fail(ctx, 3104);
        return;
    }
    if (call.console) {
        box_console(caption, call.name);
        call.result = 1;   // OK: the ending stores every control's state
        dialog_store(w, ctx, &call);
        DestroyWindow(w);
    } else {
        centre_if_off_screen(w);
        bool owner_enabled = owner && IsWindowEnabled(owner);
        if (owner_enabled) EnableWindow(owner, FALSE);
        run_loop(ctx, w, &call);
        if (owner_enabled) { EnableWindow(owner, TRUE); SetActiveWindow(owner); }
    }
    ctx->box.call = outer;
    ctx->box.names_pending = 0;
    box_after(ctx);
    if (call.result == 0) { fail(ctx, 9999); return; }
    r->integer = (int32_t)call.result;
}

const FunctionEntry kTable[] = {
    {87, fn_dialog_box},   // DialogBox
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyDialogBox, kTable)

} // namespace tsl

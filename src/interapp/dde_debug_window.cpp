// The diagnostic DDE server window: every raw DDE message and WM_CLOSE /
// WM_DESTROY is shown in a box captioned "DDE DEBUG" (in console mode a
// line on standard error) and answered with 0; everything else goes to
// DefWindowProcA. The window is one of the notification class with this
// procedure put in its place, since no class of its own is registered.
#include <windows.h>
#include <dde.h>
#include "dde_debug_window.h"
#include "../core/startup_win32.h"

namespace tsl {

static const char* message_name(UINT msg) {
    switch (msg) {
    case WM_DDE_TERMINATE: return "DDE TERMINATE";
    case WM_DDE_ADVISE: return "DDE Advise";
    case WM_DDE_UNADVISE: return "DDE UnAdvise";
    case WM_DDE_REQUEST: return "DDE Request";
    case WM_DDE_POKE: return "DDE Poke";
    case WM_DDE_EXECUTE: return "DDE Execute";
    case WM_CLOSE: return "WM_CLOSE";
    case WM_DESTROY: return "WM_DESTRPY";  // the text the box has always shown
    default: return nullptr;
    }
}

static LRESULT CALLBACK dde_debug_proc(HWND wnd, UINT msg, WPARAM wp, LPARAM lp) {
    const char* name = message_name(msg);
    if (!name) return DefWindowProcA(wnd, msg, wp, lp);
    plat_message_box(nullptr, name, "DDE DEBUG", BOX_OK);
    return 0;
}

PHandle dde_debug_window_open() {
    plat_message_box(nullptr, "DDE SERVER MODE", "DEBUG", BOX_OK);
    HWND w = CreateWindowA(kClassNotify, "", 0, 0, 0, 0, 0, NULL, NULL, g_module, NULL);
    if (w) SetWindowLongPtrA(w, GWLP_WNDPROC, (LONG_PTR)dde_debug_proc);
    return w;
}

void dde_debug_window_close(PHandle window) {
    if (IsWindow((HWND)window)) DestroyWindow((HWND)window);
}

} // namespace tsl

// SnapShot(request): a picture of the screen (0), of the active window (1)
// or of the active window's client area (2) put on the clipboard as a
// bitmap (CF_BITMAP), replacing what the clipboard held.
#include "clipboard.h"
#include "../functions/families.h"
#include <windows.h>

namespace tsl {

namespace {

enum { SNAP_SCREEN = 0, SNAP_WINDOW = 1, SNAP_CLIENT = 2 };

// Copies the rectangle (screen coordinates) of the screen into a new bitmap.
HBITMAP grab(const RECT& r) {
    int w = r.right - r.left, h = r.bottom - r.top;
    if (w <= 0 || h <= 0) return NULL;
    HDC screen = GetDC(NULL);
    HDC mem = CreateCompatibleDC(screen);
    HBITMAP bmp = CreateCompatibleBitmap(screen, w, h);
    if (mem && bmp) {
        HGDIOBJ old = SelectObject(mem, bmp);
        BitBlt(mem, 0, 0, w, h, screen, r.left, r.top, SRCCOPY | CAPTUREBLT);
        SelectObject(mem, old);
    }
    if (mem) DeleteDC(mem);
    ReleaseDC(NULL, screen);
    return bmp;
}

// The rectangle the request names, in screen coordinates.
bool snap_rect(Context* ctx, int32_t request, RECT* r) {
    if (request == SNAP_SCREEN) {
        SetRect(r, 0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
        return true;
    }
    if (request != SNAP_WINDOW && request != SNAP_CLIENT) return fail(ctx, 2431);
    HWND w = GetForegroundWindow();
    if (!w || !IsWindow(w)) return fail(ctx, 1461);
    if (request == SNAP_WINDOW) return GetWindowRect(w, r) != 0 || fail(ctx, 1461);
    if (!GetClientRect(w, r)) return fail(ctx, 1461);
    MapWindowPoints(w, NULL, (POINT*)r, 2);
    return true;
}

// SnapShot(request) -> 1
void fn_snapshot(Context* ctx, Value* result, Value* args) {
    RECT r;
    if (!snap_rect(ctx, args[1].integer, &r)) return;
    HBITMAP bmp = grab(r);
    if (!bmp) { fail(ctx, 1462); return; }
    if (!clipboard_put_bitmap(ctx, bmp)) return;   // the clipboard owns it now, or it is freed
    result->integer = 1;
}

const FunctionEntry kTable[] = {
    {214, fn_snapshot},   // SnapShot
};

} // namespace

TSL_FAMILY_DEFINE(kFamilySnapshot, kTable)

} // namespace tsl

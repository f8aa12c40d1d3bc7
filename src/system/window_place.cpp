// WinPosition, WinPlace, WinPlaceGet, WinPlaceSet: where a window is, in
// virtual coordinates (0..1000 on both axes), and moving it.
#include "window_find.h"
#include <cstdio>
#include "screen_coords.h"
#include "../core/bounded.h"
#include "../functions/families.h"

namespace tsl {

namespace {

const int PLACE_MIN = -999, PLACE_MAX = 2000;   // WinPlace's accepted virtual range
const int32_t NOT_SUPPLIED = 27981;             // WinPlaceSet's filler for a missing number
const int PLACE_ICON = 1, PLACE_NORMAL = 2, PLACE_ZOOMED = 3;

int clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }

void fn_win_position(Context* ctx, Value* r, Value* a) {
    HWND w = window_target(ctx, value_text(ctx, a[1]));
    if (!w) { fail(ctx, 1119); return; }
    RECT rc;
    GetWindowRect(w, &rc);
    int sw = screen_width(), sh = screen_height();
    char out[64];
    snprintf(out, sizeof out, "%d,%d,%d,%d", pixel_to_virtual(rc.left, sw), pixel_to_virtual(rc.top, sh),
             pixel_to_virtual(rc.right, sw), pixel_to_virtual(rc.bottom, sh));
    value_set_text(ctx, r, out);
}

// The y pixel where the icon area begins: one row of minimised windows above
// the bottom of the work area.
int icon_area_top() {
    RECT work;
    if (!SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0)) work.bottom = screen_height();
    return work.bottom - GetSystemMetrics(SM_CYMINSPACING);
}

// WinPlace(x1, y1, x2, y2, title). x2 = 0 keeps the width, y2 = 0
// (@noresize) the height; y2 = 1 (@aboveicons) ends the window at the icon area.
void fn_win_place(Context* ctx, Value* r, Value* a) {
    HWND w = window_target(ctx, value_text(ctx, a[5]));
    if (!w) { fail(ctx, 1044); return; }
    int v[4];
    for (int i = 0; i < 4; ++i) v[i] = clamp(a[i + 1].integer, PLACE_MIN, PLACE_MAX);
    int sw = screen_width(), sh = screen_height();
    int min_w = GetSystemMetrics(SM_CXMINTRACK), min_h = GetSystemMetrics(SM_CYMINTRACK);
    int left = virtual_to_pixel(v[0], sw), top = virtual_to_pixel(v[1], sh);
    int right = virtual_to_pixel(v[2], sw), bottom = virtual_to_pixel(v[3], sh);
    if (left > sw - min_w) left = sw - min_w;
    if (top > sh - min_h) top = sh - min_h;
    if (right < min_w) right = min_w;
    if (bottom < min_h) bottom = min_h;
    RECT now;
    GetWindowRect(w, &now);
    int width = v[2] == 0 ? now.right - now.left : clamp(right - left, min_w, sw);
    int height = v[3] == 0 ? now.bottom - now.top
               : clamp((v[3] == 1 ? icon_area_top() : bottom) - top, min_h, sh);
    if (top < min_h - height) top = min_h - height;
    if (left < min_w - width) left = min_w - width;
    if (IsIconic(w) || IsZoomed(w)) return;   // a minimised or maximised window stays where it is
    SetWindowPos(w, nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
    r->integer = 1;
}

// The requested part of a placement as text: "x y" or "left top right bottom".
void placement_text(const WINDOWPLACEMENT& p, int kind, char* out, unsigned size) {
    int sw = screen_width(), sh = screen_height();
    if (kind == PLACE_NORMAL) {
        const RECT& rc = p.rcNormalPosition;
        snprintf(out, size, "%d %d %d %d", pixel_to_virtual(rc.left, sw), pixel_to_virtual(rc.top, sh),
                 pixel_to_virtual(rc.right, sw), pixel_to_virtual(rc.bottom, sh));
        return;
    }
    const POINT& pt = kind == PLACE_ICON ? p.ptMinPosition : p.ptMaxPosition;
    snprintf(out, size, "%d %d", pixel_to_virtual(pt.x, sw), pixel_to_virtual(pt.y, sh));
}

// Takes the text's leading integer and blanks it out, so that the next read
// finds the next one. A word that is no number reads as 0 and is blanked too.
int32_t take_number(char* text) {
    char* p = text;
    while (*p == ' ') ++p;
    int32_t n = text_to_integer(p);
    if (*p == '-' || *p == '+') ++p;
    char* end = p;
    while (*end >= '0' && *end <= '9') ++end;
    if (end == p)
        while (*end && *end != ' ') ++end;
    for (char* q = text; q < end; ++q) *q = ' ';
    return n;
}

// Reads the positions of WinPlaceSet into the placement. 0 with the error set.
int store_positions(Context* ctx, WINDOWPLACEMENT* p, int kind, const char* positions) {
    char text[LINE_BUF + 32];
    bounded_copy(ctx, text, positions, LINE_BUF);
    bounded_append(ctx, text, " 27981 27981 27981 27981", sizeof text);
    int32_t n[4];
    int supplied = 0;
    for (int i = 0; i < 4; ++i) {
        n[i] = take_number(text);
        if (n[i] != NOT_SUPPLIED) ++supplied;   // a real 27981 is taken for a missing number
    }
    if (supplied != (kind == PLACE_NORMAL ? 4 : 2)) return fail(ctx, 3202);
    int sw = screen_width(), sh = screen_height();
    if (kind == PLACE_NORMAL) {
        p->rcNormalPosition = RECT{virtual_to_pixel(n[0], sw), virtual_to_pixel(n[1], sh),
                                   virtual_to_pixel(n[2], sw), virtual_to_pixel(n[3], sh)};
        return 1;
    }
    POINT pt{virtual_to_pixel(n[0], sw), virtual_to_pixel(n[1], sh)};
    if (kind == PLACE_ICON) {
        p->ptMinPosition = pt;
        p->flags |= WPF_SETMINPOSITION;
    } else {
        p->ptMaxPosition = pt;
    }
    return 1;
}

// WinPlaceGet(kind, title) and WinPlaceSet(kind, title, positions): both
// give the part of the placement as it was before any change.
void place_get_set(Context* ctx, Value* r, Value* a, bool set) {
    int kind = a[1].integer;
    if (kind < PLACE_ICON || kind > PLACE_ZOOMED) { fail(ctx, 3199); return; }
    HWND w = window_target(ctx, value_text(ctx, a[2]));
    if (!w) { fail(ctx, 1200); return; }
    WINDOWPLACEMENT p;
    p.length = sizeof p;
    if (!GetWindowPlacement(w, &p)) { fail(ctx, 1201); return; }
    char before[64];
    placement_text(p, kind, before, sizeof before);
    if (set) {
        if (!store_positions(ctx, &p, kind, value_text(ctx, a[3]))) return;
        p.length = sizeof p;
        if (!SetWindowPlacement(w, &p)) { fail(ctx, 1201); return; }
    }
    value_set_text(ctx, r, before);
}

void fn_win_place_get(Context* ctx, Value* r, Value* a) { place_get_set(ctx, r, a, false); }
void fn_win_place_set(Context* ctx, Value* r, Value* a) { place_get_set(ctx, r, a, true); }

const FunctionEntry kTable[] = {
    {257, fn_win_place}, {258, fn_win_place_get}, {259, fn_win_place_set}, {260, fn_win_position},
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyWindowPlace, kTable)

} // namespace tsl

// WinArrange(style): lays out the visible top-level windows that the title
// search would find and that are neither minimised nor maximised, in
// z-order, over the work area:
//   @stack (1)    cascaded from the top left, each a caption lower and to
//                 the right, two thirds of the work area in size;
//   @tile (2)     in a grid of ceil(sqrt(n)) columns (@arrange is the same);
//   @rows (3)     one above the other, each the full width;
//   @columns (4)  side by side, each the full height.
// Any other style is taken as @tile. The result is the number of windows
// placed. Windows are moved without activating them or changing z-order.
#include "window_find.h"
#include <cmath>
#include "../functions/families.h"

namespace tsl {

namespace {

const int ARRANGE_STACK = 1, ARRANGE_ROWS = 3, ARRANGE_COLUMNS = 4;
const unsigned ARRANGE_MAX = 256;   // windows laid out at most

struct ArrangeList {
    HWND window[ARRANGE_MAX];
    unsigned count;
};

BOOL CALLBACK collect(HWND w, LPARAM lp) {
    ArrangeList* list = (ArrangeList*)lp;
    char title[TITLE_BUF];
    window_title(w, title);
    if (!window_title_listed(title) || !IsWindowVisible(w) || IsIconic(w) || IsZoomed(w)) return TRUE;
    if (GetWindowLongA(w, GWL_EXSTYLE) & WS_EX_TOOLWINDOW) return TRUE;   // palettes and tips stay put
    list->window[list->count++] = w;
    return list->count < ARRANGE_MAX;
}

void fn_win_arrange(Context*, Value* r, Value* a) {
    static ArrangeList list;   // one script thread at a time arranges
    list.count = 0;
    EnumWindows(collect, (LPARAM)&list);
    int n = (int)list.count;
    if (!n) return;
    RECT work;
    if (!SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0))
        work = RECT{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    int ww = work.right - work.left, wh = work.bottom - work.top;
    int style = a[1].integer, cols = 1, rows = 1;
    if (style == ARRANGE_ROWS) rows = n;
    else if (style == ARRANGE_COLUMNS) cols = n;
    else if (style != ARRANGE_STACK) {
        cols = (int)std::ceil(std::sqrt((double)n));
        rows = (n + cols - 1) / cols;
    }
    int step = GetSystemMetrics(SM_CYCAPTION) + GetSystemMetrics(SM_CYFRAME);
    for (int i = 0; i < n; ++i) {
        int x, y, w, h;
        if (style == ARRANGE_STACK) {
            w = ww * 2 / 3, h = wh * 2 / 3;
            int k = step > 0 ? i % ((wh - h) / step + 1) : 0;   // start again at the top when out of room
            x = work.left + k * step, y = work.top + k * step;
        } else {
            w = ww / cols, h = wh / rows;
            x = work.left + (i % cols) * w, y = work.top + (i / cols) * h;
        }
        SetWindowPos(list.window[i], nullptr, x, y, w, h, SWP_NOZORDER | SWP_NOACTIVATE);
    }
    r->integer = n;
}

const FunctionEntry kTable[] = {
    {241, fn_win_arrange},
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyWindowArrange, kTable)

} // namespace tsl

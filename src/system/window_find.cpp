// The title search: EnumWindows over the top-level windows in z-order with
// the exported callback WinEnumFuncx, which stops at the first match.
#include "window_find.h"
#include <cstring>
#include "../core/bounded.h"

namespace tsl {

bool window_title_listed(const char* title) {
    return title[0] && strcmp(title, "WinOldAp") != 0;
}

bool window_title_matches(const char* title, const char* pattern) {
    size_t plen = strlen(pattern);
    if (plen > 1 && pattern[plen - 1] == '~') {
        // The exact form: the whole title equals the pattern without its tilde.
        char whole[TITLE_BUF];
        size_t n = plen - 1 < TITLE_BUF - 1 ? plen - 1 : TITLE_BUF - 1;
        memcpy(whole, pattern, n);
        whole[n] = 0;
        return plat_texts_equal(title, whole);
    }
    if (plen > strlen(title)) return false;
    char cut[TITLE_BUF];
    memcpy(cut, title, plen);
    cut[plen] = 0;
    return plat_texts_equal(cut, pattern);   // lstrcmpA's answer, mostly without asking it
}

HWND window_find(Context* ctx, const char* pattern) {
    bounded_copy(ctx, ctx->win_pattern, pattern, sizeof ctx->win_pattern);
    ctx->win_found = nullptr;
    EnumWindows(WinEnumFuncx, (LPARAM)ctx);
    return (HWND)ctx->win_found;
}

HWND window_target(Context* ctx, const char* title) {
    if (!title[0]) return IsWindow((HWND)ctx->owner) ? (HWND)ctx->owner : nullptr;
    return window_find(ctx, title);
}

void wait_pause(Context* ctx) {
    plat_break_test(ctx);
    if (ctx->exclusive) plat_sleep(20);
    else plat_pump_messages(ctx);
}

void window_title(HWND window, char* buf) {
    if (GetWindowTextA(window, buf, TITLE_BUF) <= 0) buf[0] = 0;
}

} // namespace tsl

extern "C" BOOL CALLBACK WinEnumFuncx(HWND window, LPARAM lp) {
    tsl::Context* ctx = (tsl::Context*)lp;
    char title[tsl::TITLE_BUF];
    if (GetWindowTextA(window, title, sizeof title) <= 0) return TRUE;
    if (!tsl::window_title_listed(title) || !tsl::window_title_matches(title, ctx->win_pattern)) return TRUE;
    ctx->win_found = window;
    return FALSE;
}

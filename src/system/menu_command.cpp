// SendMenusTo(title, item): chooses a menu item of another window as the
// user would, by posting the window the item's command.
//
// The item is looked up by its text through the whole menu tree, depth
// first, top to bottom, and compared as the user reads it: "&" marks are
// dropped ("&&" shows one "&"), so is the hot-key text after a tab and a
// trailing "...", and the case of letters does not count. The name asked
// for matches when it equals that form either as written (so "Fish & Chips"
// finds "Fish && Chips") or read the same way (so "Save &As...\tCtrl+S"
// finds "Save &As..."). "Save As" and "save as..." name the same item.
#include "window_find.h"
#include <cstring>
#include "../core/bounded.h"
#include "../functions/families.h"

namespace tsl {

namespace {

const unsigned MENU_TEXT = 257;
const int MENU_DEPTH_MAX = 8;   // submenus searched at most this deep

// The text as the user reads it; with `marks` false the "&" are kept.
void plain_item_text(const char* in, char* out, bool marks = true) {
    unsigned n = 0;
    for (const char* p = in; *p && *p != '\t' && n < MENU_TEXT - 1; ++p) {
        if (marks && *p == '&') {
            if (p[1] != '&') continue;
            ++p;
        }
        out[n++] = *p;
    }
    while (n >= 3 && strncmp(out + n - 3, "...", 3) == 0) n -= 3;
    out[n] = 0;
}

struct MenuName { char as_written[MENU_TEXT], as_read[MENU_TEXT]; };

// The command id of the item with that name, or -1.
int find_item(HMENU menu, const MenuName& want, int depth) {
    int count = GetMenuItemCount(menu);
    for (int i = 0; i < count; ++i) {
        char text[MENU_TEXT], plain[MENU_TEXT];
        if (GetMenuStringA(menu, (UINT)i, text, sizeof text, MF_BYPOSITION) <= 0) continue;
        HMENU sub = GetSubMenu(menu, i);
        plain_item_text(text, plain);
        if (!sub && (lstrcmpiA(plain, want.as_read) == 0 || lstrcmpiA(plain, want.as_written) == 0))
            return (int)GetMenuItemID(menu, i);
        if (sub && depth < MENU_DEPTH_MAX) {
            int id = find_item(sub, want, depth + 1);
            if (id >= 0) return id;
        }
    }
    return -1;
}

void fn_send_menus_to(Context* ctx, Value* r, Value* a) {
    HWND w = window_target(ctx, value_text(ctx, a[1]));
    if (!w) { fail(ctx, 1045); return; }   // the window is activated first, hence the activation message
    SetForegroundWindow(w);
    HMENU menu = GetMenu(w);
    if (!menu || !IsMenu(menu)) { fail(ctx, 1315); return; }
    MenuName want;
    plain_item_text(value_text(ctx, a[2]), want.as_read);
    plain_item_text(value_text(ctx, a[2]), want.as_written, false);
    int id = find_item(menu, want, 0);
    if (id < 0) { fail(ctx, 1316); return; }
    if (!PostMessageA(w, WM_COMMAND, MAKEWPARAM(id, 0), 0)) { fail(ctx, 1317); return; }
    r->integer = 1;
}

const FunctionEntry kTable[] = {
    {211, fn_send_menus_to},
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyMenuCommand, kTable)

} // namespace tsl

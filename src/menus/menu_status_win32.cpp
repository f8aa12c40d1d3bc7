// MenuSelectProcessing: the status-line text of the highlighted menu entry,
// from the packed item id and flags and the menu handle of the platform's
// menu-selection notice.
//
//   1  an item's (or a popup's) description, or an item's menu text
//   2  a system-menu text (messages 700..719, else the entry's menu text)
//   3  a popup's menu text
//   4  the menu text of an entry outside the set's ids
//   5  nothing (the menu closed, a separator)
//  -1  the context could not be locked
// Menu texts are shown without their "&" marks and hot-key text.
#include "menu_file_win32.h"
#include "menu_title.h"
#include "core/bounded.h"
#include "core/messages.h"
#include "core/vars.h"

namespace tsl {

namespace {

enum { STATUS_TEXT = 1, STATUS_SYSTEM = 2, STATUS_POPUP = 3, STATUS_OTHER = 4, STATUS_NONE = 5 };
const unsigned SYSTEM_TEXT_BASE = 700;

// The entry's menu text without "&" marks, cut at its tab.
void menu_text(HMENU menu, UINT item, UINT by, char* buf, unsigned size) {
    char raw[MENU_SHOWN_MAX + 2] = "";
    buf[0] = 0;
    if (!menu || GetMenuStringA(menu, item, raw, sizeof raw, by) <= 0) return;
    unsigned n = 0;
    for (const char* p = raw; *p && *p != '\t' && n + 1 < size; ++p) {
        if (*p == '&') { if (p[1] != '&') continue; ++p; }
        buf[n++] = *p;
    }
    buf[n] = 0;
}

bool description(Context* ctx, char kind, unsigned set, uintptr_t id, char* buf, unsigned size) {
    if (!ctx->vars || !ctx->heap) return false;
    char name[40];
    menu_description_name(kind, set, id, name, sizeof name);
    uint16_t saved = ctx->error;
    int found = var_get_text(ctx, name, buf, size);
    ctx->error = saved;
    return found;
}

LONG status(Context* ctx, WPARAM packed, HMENU menu, WORD first, WORD last, char* buf, unsigned size,
            unsigned set) {
    UINT item = LOWORD(packed), flags = HIWORD(packed);
    buf[0] = 0;
    if ((flags == 0xFFFF && !menu) || (flags & MF_SEPARATOR)) return STATUS_NONE;
    if (flags & MF_POPUP) {
        HMENU popup = GetSubMenu(menu, (int)item);
        if (popup && description(ctx, 'P', set, (uintptr_t)popup, buf, size)) return STATUS_TEXT;
        menu_text(menu, item, MF_BYPOSITION, buf, size);
        return buf[0] ? STATUS_POPUP : STATUS_NONE;
    }
    if (flags & MF_SYSMENU) {
        load_message(ctx, SYSTEM_TEXT_BASE + ((item >> 4) & 0x1F), buf, size);
        if (!buf[0]) menu_text(menu, item, MF_BYCOMMAND, buf, size);
        return STATUS_SYSTEM;
    }
    if (item >= first && item <= last) {
        if (!description(ctx, 'M', set, item, buf, size)) menu_text(menu, item, MF_BYCOMMAND, buf, size);
        return STATUS_TEXT;
    }
    menu_text(menu, item, MF_BYCOMMAND, buf, size);
    return buf[0] ? STATUS_OTHER : STATUS_NONE;
}

} // namespace

} // namespace tsl

extern "C" LONG WINAPI MenuSelectProcessing(HGLOBAL context, HWND, WPARAM item_and_flags, HMENU menu, WORD first_id,
                                            WORD last_id, LPSTR buffer, int size, TslMenuRecord* record) {
    tsl::MenuCall call(context);
    if (!call.ctx) return -1;
    if (!buffer || size <= 0) return 5;
    return tsl::status(call.ctx, item_and_flags, menu, first_id, last_id, buffer, (unsigned)size,
                       record ? record->set_number : 0);
}

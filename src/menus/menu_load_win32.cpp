// LoadStandardMenu: builds a popup menu, a menu bar, or entries appended to
// a host's menu from a menu file; registers the items' hot keys in the
// host's table and stores their descriptions as variables.
//
// The load ends at the first error, shown at once with the caller's
// caption; what was built so far stays built. Items get consecutive ids
// from first_id in file order, hidden items included.
#include "menu_file_win32.h"
#include "menu_fault.h"
#include "menu_walk.h"
#include "core/bounded.h"
#include "core/vars.h"

namespace tsl {

namespace {

const unsigned POPUP_ERROR_BASE = 515;   // 516..518: a popup of level 1..3 could not be made

struct Builder : MenuVisitor {
    Context* ctx;
    HMENU menus[4] = {};          // menus[0] the target; menus[L] the popup opened by level L's title
    bool bar;                     // built as a bar (target 1 or a host's menu)
    WORD last_allowed;
    unsigned set;
    HotKeyTable* keys;

    Builder(Context* c, HMENU target, bool as_bar, WORD last, unsigned set_number, HotKeyTable* table)
        : ctx(c), bar(as_bar), last_allowed(last), set(set_number), keys(table) { menus[0] = target; }

    void describe(char kind, uintptr_t id, const MenuTitle& t) {
        if (!t.description[0] || !ctx->vars || !ctx->heap) return;
        char name[40];
        menu_description_name(kind, set, id, name, sizeof name);
        uint16_t saved = ctx->error;
        var_set_text(ctx, name, t.description);
        ctx->error = saved;   // a full heap loses the description, not the menu
    }

    // Appends an entry to the menu of its level, with its separator and column break.
    void append(const MenuTitle& t, UINT flags, UINT_PTR id) {
        HMENU parent = menus[t.level - 1];
        bool bar_entry = bar && t.level == 1;
        if (t.separator && !bar_entry) AppendMenuA(parent, MF_SEPARATOR, 0, NULL);
        if (t.column && (t.level == 1 || bar)) flags |= bar_entry ? MF_MENUBREAK : MF_MENUBARBREAK;
        char shown[MENU_SHOWN_MAX + 1];
        menu_shown_text(t, bar_entry, shown, sizeof shown);
        AppendMenuA(parent, MF_STRING | flags, id, shown);
    }

    unsigned popup_open(const MenuTitle& t) override {
        HMENU popup = menu_fault(POPUP_ERROR_BASE + (unsigned)t.level) ? NULL : CreatePopupMenu();
        if (!popup) return POPUP_ERROR_BASE + (unsigned)t.level;
        menus[t.level] = popup;
        return 0;
    }
    unsigned popup_close(const MenuTitle& t) override {
        HMENU popup = menus[t.level];
        append(t, MF_POPUP, (UINT_PTR)popup);
        describe('P', (uintptr_t)popup, t);
        return 0;
    }
    unsigned item(const MenuTitle& t, uint16_t id, uint32_t, uint32_t) override {
        if (id > last_allowed || id == 0xFFFF) return 599;
        if (t.hotkey && keys) hotkey_add(keys, t.hotkey, id);   // the 101st is not registered
        if (!t.hidden) append(t, 0, id);
        describe('M', id, t);
        return 0;
    }
};

// The file by the interpreter's file search, else the name in the
// directory of the interpreter's module.
void find_menu_file(Context* ctx, const char* name, char* full, unsigned size) {
    if (plat_search_file(name, full, size)) return;
    char dir[PATH_BUF];
    const char* base = name;
    for (const char* p = name; *p; ++p)
        if (*p == '\\' || *p == '/' || *p == ':') base = p + 1;
    if (plat_module_dir(dir, sizeof dir)) {
        bounded_copy(ctx, full, dir, size);
        bounded_append(ctx, full, base, size);
    } else {
        bounded_copy(ctx, full, name, size);
    }
}

HMENU load(Context* ctx, HWND owner, WORD first_id, WORD last_allowed, TslMenuRecord* rec, LPCSTR caption,
           TslHotKeyTable* hotkeys, HMENU target) {
    rec->path[TSL_MENU_PATH_MAX] = 0;
    HotKeyTable* keys = (HotKeyTable*)hotkeys;
    if (keys && rec->set_number == 0) keys->count = 0;
    char full[TSL_MENU_PATH_MAX + 1];
    find_menu_file(ctx, rec->path, full, sizeof full);
    HANDLE file = menu_open(full);
    if (file == INVALID_HANDLE_VALUE) { menu_box(ctx, owner, caption, MENU_LOAD_ERRORS.open, rec->path); return NULL; }
    bounded_copy(ctx, rec->path, full, sizeof rec->path);
    menu_file_time(file, &rec->file_date, &rec->file_time);
    MenuText text;
    if (unsigned error = menu_read(file, MENU_LOAD_ERRORS, ctx->encoded_only, &text)) {
        menu_box(ctx, owner, caption, error, menu_encoding_refused(error) ? rec->path : nullptr);
        return NULL;
    }
    HMENU menu = target;
    if (target == TSL_MENU_NEW_POPUP || target == TSL_MENU_NEW_BAR)
        menu = menu_fault(513) ? NULL : target == TSL_MENU_NEW_POPUP ? CreatePopupMenu() : CreateMenu();
    if (!menu) { menu_box(ctx, owner, caption, 513); return NULL; }

    Builder builder(ctx, menu, target != TSL_MENU_NEW_POPUP, last_allowed, rec->set_number, keys);
    MenuWalkResult walk;
    menu_walk(text.text, text.size, first_id, builder, &walk);
    rec->last_id = (WORD)(walk.next_id - 1);
    if (walk.error) {
        // A broken rule names its line; a popup or id failure stands alone.
        bool rule = walk.error != 599 && (walk.error < POPUP_ERROR_BASE + 1 || walk.error > POPUP_ERROR_BASE + 3);
        menu_box(ctx, owner, caption, walk.error, rule && walk.bad_line.text[0] ? walk.bad_line.text : nullptr);
        return NULL;
    }
    return menu;
}

} // namespace

} // namespace tsl

extern "C" HMENU WINAPI LoadStandardMenu(HGLOBAL context, HWND owner, WORD first_id, WORD last_allowed_id,
                                         TslMenuRecord* record, LPCSTR error_caption, TslHotKeyTable* hotkeys,
                                         HMENU target) {
    tsl::MenuCall call(context);
    if (!call.ctx || !record) return NULL;
    return tsl::load(call.ctx, owner, first_id, last_allowed_id, record, error_caption, hotkeys, target);
}

// ParseStandardMenu: the script of a chosen item, or the file's
// initialisation lines, in a fresh movable block that the host runs and
// frees. A file changed since it was loaded answers -1 (reload first).
//
// The item is found by walking the file as the load did, counting ids
// from the same first id; its script runs from its first script line to
// the next title, comments, blank lines and indentation kept.
#include "menu_file_win32.h"
#include <cstring>
#include "menu_walk.h"
#include "core/messages.h"

namespace tsl {

namespace {

struct Finder : MenuVisitor {
    uint16_t wanted;
    uint32_t begin = 0, end = 0;
    explicit Finder(uint16_t id) : wanted(id) {}
    unsigned popup_open(const MenuTitle&) override { return 0; }
    unsigned popup_close(const MenuTitle&) override { return 0; }
    unsigned item(const MenuTitle&, uint16_t id, uint32_t b, uint32_t e) override {
        if (id != wanted) return 0;
        begin = b;
        end = e;
        return MENU_WALK_FOUND;
    }
};

HGLOBAL block_of(const char* text, uint32_t length) {
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, length + 1);
    char* p = block ? (char*)GlobalLock(block) : nullptr;
    if (!p) { if (block) GlobalFree(block); return NULL; }
    memcpy(p, text, length);
    p[length] = 0;
    GlobalUnlock(block);
    return block;
}

HGLOBAL search(Context* ctx, HWND owner, WORD item_id, BOOL initialisation, WORD first_id, TslMenuRecord* rec,
               LPCSTR caption) {
    rec->path[TSL_MENU_PATH_MAX] = 0;
    HANDLE file = menu_open(rec->path);
    if (file == INVALID_HANDLE_VALUE) {
        if (!initialisation) menu_box(ctx, owner, caption, MENU_SEARCH_ERRORS.open, rec->path);
        return NULL;
    }
    WORD date, time;
    menu_file_time(file, &date, &time);
    if (date != rec->file_date || time != rec->file_time) {
        CloseHandle(file);
        menu_box(ctx, owner, caption, 528);
        return TSL_MENU_RELOAD;
    }
    MenuText text;
    if (unsigned error = menu_read(file, MENU_SEARCH_ERRORS, ctx->encoded_only, &text)) {
        menu_box(ctx, owner, caption, error, menu_encoding_refused(error) ? rec->path : nullptr);
        return NULL;
    }
    Finder finder(item_id);
    MenuWalkResult walk;
    menu_walk(text.text, text.size, first_id, finder, &walk);
    if (initialisation) return walk.init_end ? block_of(text.text, walk.init_end) : NULL;
    if (walk.error != MENU_WALK_FOUND) {
        // The message is the caption and the offending line the text.
        char number_text[LINE_BUF];
        load_message(ctx, 527, number_text, sizeof number_text);
        plat_message_box(owner, walk.bad_line.text, number_text, BOX_OK | BOX_ICONSTOP);
        return NULL;
    }
    return block_of(text.text + finder.begin, finder.end - finder.begin);
}

} // namespace

} // namespace tsl

extern "C" HGLOBAL WINAPI ParseStandardMenu(HGLOBAL context, HWND owner, WORD item_id, BOOL initialisation,
                                            WORD first_id, LONG, TslMenuRecord* record, LPCSTR error_caption) {
    tsl::MenuCall call(context);
    if (!call.ctx || !record) return NULL;
    return tsl::search(call.ctx, owner, item_id, initialisation, first_id, record, error_caption);
}

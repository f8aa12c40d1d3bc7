// What the four menu entries share: the call's hold on the interpreter
// context (its variable table and heap too, for descriptions), the menu
// routines' message boxes, and reading a menu file whole.
#pragma once
#include <windows.h>
#include "../../include/tslpr32i.h"
#include "core/context.h"
#include "core/encoded_script.h"
#include "hotkeys.h"
#include "menu_lines.h"

namespace tsl {

static_assert(sizeof(TslHotKeyTable) == sizeof(HotKeyTable), "one hot-key table layout");
static_assert(TSL_HOTKEY_MAX == HOTKEY_MAX, "one hot-key table size");

// Locks the context block for one call, and its variable table and heap
// unless a run holds them already; everything is unlocked by the destructor.
class MenuCall {
public:
    explicit MenuCall(HGLOBAL block);
    ~MenuCall();
    Context* ctx = nullptr;   // null when the context could not be locked
private:
    HGLOBAL block_;
    bool vars_ = false, heap_ = false;
};

// Shows message `number` of the menu routines at once, with the caller's
// caption ("Undefined error code -> NNN" for a number without a text);
// `detail`, when given, follows the text on a line of its own.
void menu_box(Context* ctx, HWND owner, const char* caption, unsigned number, const char* detail = nullptr);

// The name of a description variable: "%M" (item) or "%P" (popup), "A"
// plus the set number, then the id or the popup's handle in decimal.
void menu_description_name(char kind, unsigned set, uintptr_t id, char* name, unsigned size);

// A menu file read whole into a movable block, ended by a zero byte.
struct MenuText {
    HGLOBAL block = NULL;
    char* text = nullptr;
    uint32_t size = 0;
    ~MenuText();
};

// The messages of a failure, for the load and for the item search.
struct MenuReadErrors { unsigned open, alloc, lock, io; };
const MenuReadErrors MENU_LOAD_ERRORS = {504, 505, 506, 507};
const MenuReadErrors MENU_SEARCH_ERRORS = {522, 523, 524, 525};
const unsigned MENU_TOO_BIG = 530;

// Opens `path` for reading; INVALID_HANDLE_VALUE when it cannot be.
HANDLE menu_open(const char* path);
// The file's last-write time in MS-DOS form.
void menu_file_time(HANDLE file, WORD* date, WORD* time);
// Reads the open file whole (and closes it); returns 0 or a message number.
// A file in the encoded form (first byte 1, 2 or 3) is checked and decoded
// in place; a refused one (damaged, of an unknown form, or plain while only
// encoded files may load) gives its message number and loads nothing.
unsigned menu_read(HANDLE file, const MenuReadErrors& errors, bool encoded_only, MenuText* out);
// Whether a load or search failure is a refused encoded file (its box names the file).
inline bool menu_encoding_refused(unsigned error) {
    return error == MSG_ENCODED_DAMAGED || error == MSG_ENCODED_FORM || error == MSG_ENCODED_REQUIRED;
}

} // namespace tsl

// The walk of a menu file shared by loading (which builds the menus) and
// by the item search (which finds one item's script): the states of the
// structure rules, the titles waiting per level until it is known whether
// they are items or popups, and item ids counted in file order.
#pragma once
#include <cstdint>
#include "menu_lines.h"
#include "menu_title.h"

namespace tsl {

// What the walk tells its visitor. Each call returns 0 to go on, or a
// number that ends the walk (an error number, or MENU_WALK_FOUND).
const unsigned MENU_WALK_FOUND = 1;

struct MenuVisitor {
    // A title followed by a deeper title opens a popup of that level.
    virtual unsigned popup_open(const MenuTitle& title) = 0;
    // A title of its own level or higher, or the end, closes it.
    virtual unsigned popup_close(const MenuTitle& title) = 0;
    // A title with script lines, complete: its id and the script's bytes
    // [begin, end) in the file, from its first script line to the next title.
    virtual unsigned item(const MenuTitle& title, uint16_t id, uint32_t begin, uint32_t end) = 0;
protected:
    ~MenuVisitor() = default;
};

struct MenuWalkResult {
    unsigned error;             // 0, an error of the state table, a visitor's number or MENU_WALK_FOUND
    uint32_t init_end;          // the initialisation lines are the bytes [0, init_end)
    uint16_t next_id;           // the id the next item would get
    MenuLine bad_line;          // the line that broke the rules (text "" at the end of the file)
};

// Walks the file's text, giving items ids from first_id.
void menu_walk(const char* text, uint32_t size, uint16_t first_id, MenuVisitor& visitor, MenuWalkResult* result);

} // namespace tsl

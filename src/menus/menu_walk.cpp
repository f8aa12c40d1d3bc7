// The structure rules of a menu file as a table of states.
//
//   start:            level-1 title, or initialisation lines
//   after level N:    a level N+1 title (N is a popup), or script (N is an item)
//   script of level N: more script, or a title of level 1..N
//
// A level is entered only from the level above it; every title needs
// script lines or deeper titles.
#include "menu_walk.h"
#include <cstring>

namespace tsl {

namespace {

enum State { START, AFTER_1, AFTER_2, AFTER_3, AFTER_4, SCRIPT_1, SCRIPT_2, SCRIPT_3, SCRIPT_4 };
const int STAY = -1, ERR = -2;

struct StateRow {
    int next[5];        // by line kind: level-1..4 title, script line
    unsigned error;     // anything else
};

// ORDER State
const StateRow kStates[] = {
    /* START    */ {{AFTER_1, ERR, ERR, ERR, STAY}, 512},
    /* AFTER_1  */ {{ERR, AFTER_2, ERR, ERR, SCRIPT_1}, 514},
    /* AFTER_2  */ {{ERR, ERR, AFTER_3, ERR, SCRIPT_2}, 519},
    /* AFTER_3  */ {{ERR, ERR, ERR, AFTER_4, SCRIPT_3}, 521},
    /* AFTER_4  */ {{ERR, ERR, ERR, ERR, SCRIPT_4}, 580},
    /* SCRIPT_1 */ {{AFTER_1, ERR, ERR, ERR, STAY}, 515},
    /* SCRIPT_2 */ {{AFTER_1, AFTER_2, ERR, ERR, STAY}, 520},
    /* SCRIPT_3 */ {{AFTER_1, AFTER_2, AFTER_3, ERR, STAY}, 579},
    /* SCRIPT_4 */ {{AFTER_1, AFTER_2, AFTER_3, AFTER_4, STAY}, 581},
};
static_assert(sizeof kStates / sizeof kStates[0] == SCRIPT_4 + 1, "one row per state");

int level_of(int state) {
    if (state >= SCRIPT_1) return state - SCRIPT_1 + 1;
    return state;   // AFTER_N is N, START 0
}

struct Walk {
    MenuVisitor& visitor;
    MenuWalkResult* result;
    MenuTitle titles[4];        // the waiting title of each level
    int state = START;
    uint16_t id;
    uint32_t script_begin = 0;
    bool seen_title = false;

    Walk(MenuVisitor& v, MenuWalkResult* r, uint16_t first) : visitor(v), result(r), id(first) {}

    // The item of a script state is complete at `end`; then the popups of
    // the levels from `down_to` up to the item's level close.
    unsigned close(uint32_t end, int down_to) {
        int level = level_of(state);
        if (state >= SCRIPT_1) {
            if (unsigned n = visitor.item(titles[level - 1], id, script_begin, end)) return n;
            ++id;
        }
        for (int l = level - 1; l >= down_to; --l)
            if (unsigned n = visitor.popup_close(titles[l - 1])) return n;
        return 0;
    }

    unsigned step(const MenuLine& line, MenuLineKind kind) {
        // The initialisation lines end at the first title, valid or not.
        if (state == START && kind != MENU_SCRIPT && !seen_title) {
            seen_title = true;
            result->init_end = line.start;
        }
        const StateRow& row = kStates[state];
        int next = row.next[kind - 1];
        if (next == STAY) return 0;
        if (next == ERR) return row.error;
        if (kind == MENU_SCRIPT) {
            script_begin = line.start;
        } else {
            int level = (int)kind;
            if (state >= SCRIPT_1) {
                if (unsigned n = close(line.start, level)) return n;
            } else if (state != START) {
                if (unsigned n = visitor.popup_open(titles[state - 1])) return n;
            }
            menu_parse_title(line.text, level, &titles[level - 1]);
        }
        state = next;
        return 0;
    }
};

} // namespace

void menu_walk(const char* text, uint32_t size, uint16_t first_id, MenuVisitor& visitor, MenuWalkResult* result) {
    memset(result, 0, sizeof *result);
    result->init_end = size;
    Walk walk(visitor, result, first_id);
    uint32_t pos = 0;
    MenuLine line;
    while (menu_next_line(text, size, &pos, &line)) {
        MenuLineKind kind = menu_line_kind(line.text);
        if (kind == MENU_COMMENT) continue;
        unsigned n = walk.step(line, kind);
        if (n) {
            result->error = n;
            if (n != MENU_WALK_FOUND) result->bad_line = line;
            result->next_id = walk.id;
            return;
        }
    }
    // The end of the file: a title still waiting for its script or its
    // deeper titles breaks the rules of its state.
    if (walk.state >= AFTER_1 && walk.state <= AFTER_4) {
        result->error = kStates[walk.state].error;
        result->bad_line.start = size;
    } else {
        result->error = walk.close(size, 1);
    }
    result->next_id = walk.id;
}

} // namespace tsl

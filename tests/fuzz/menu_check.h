// One fuzzing run of a menu file (fuzz_menus and the native replay): the line reader, the walk (once
// building nothing, once searching items it reported) and the hot-key parser must keep the rules
// whose breaches are named below. Returns "" or what is wrong.
#pragma once
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>
#include "menus/hotkeys.h"
#include "menus/menu_walk.h"

namespace fuzz {

using namespace tsl;

struct Range { uint16_t id; uint32_t begin, end; };

struct Checker : MenuVisitor {
    uint32_t size;
    uint16_t next_id;
    std::vector<int> open;          // levels of the open popups
    std::vector<Range> items;
    std::string bad;
    Checker(uint32_t s, uint16_t first) : size(s), next_id(first) {}

    void check_title(const MenuTitle& t) {
        if (t.level < 1 || t.level > 4) bad = "title level out of range";
        if (strnlen(t.text, sizeof t.text) >= sizeof t.text) bad = "menu text not terminated";
        if (strnlen(t.description, sizeof t.description) >= sizeof t.description) bad = "description not terminated";
        if (strnlen(t.hotkey_text, sizeof t.hotkey_text) >= sizeof t.hotkey_text) bad = "hot-key text not terminated";
        int parent = open.empty() ? 0 : open.back();
        if (t.level != parent + 1) bad = "entry not one level below its popup";
    }
    unsigned popup_open(const MenuTitle& t) override {
        check_title(t);
        open.push_back(t.level);
        return bad.empty() ? 0 : 1;
    }
    unsigned popup_close(const MenuTitle& t) override {
        if (open.empty() || open.back() != t.level) bad = "popup closed out of order";
        else open.pop_back();
        return bad.empty() ? 0 : 1;
    }
    unsigned item(const MenuTitle& t, uint16_t id, uint32_t begin, uint32_t end) override {
        check_title(t);
        if (id != next_id) bad = "item ids not consecutive";
        if (begin > end || end > size) bad = "script range outside the text";
        if (!items.empty() && begin < items.back().end) bad = "script ranges out of file order";
        next_id = (uint16_t)(id + 1);
        items.push_back({id, begin, end});
        return bad.empty() ? 0 : 1;
    }
};

struct Searcher : MenuVisitor {
    uint16_t wanted;
    Range found = {0, 0, 0};
    explicit Searcher(uint16_t id) : wanted(id) {}
    unsigned popup_open(const MenuTitle&) override { return 0; }
    unsigned popup_close(const MenuTitle&) override { return 0; }
    unsigned item(const MenuTitle&, uint16_t id, uint32_t b, uint32_t e) override {
        if (id != wanted) return 0;
        found = {id, b, e};
        return MENU_WALK_FOUND;
    }
};

inline std::string check_menu(const uint8_t* data, size_t length) {
    if (length >= MENU_FILE_LIMIT) return "";
    std::string text((const char*)data, length);
    uint32_t size = (uint32_t)length;

    uint32_t pos = 0;
    MenuLine line;
    while (menu_next_line(text.c_str(), size, &pos, &line)) {
        if (pos <= line.start || pos > size) return "the line reader did not move forward inside the text";
        if (strnlen(line.text, sizeof line.text) >= sizeof line.text) return "line not terminated";
        menu_line_kind(line.text);
        char shown[HOTKEY_TEXT_MAX];
        uint16_t code = hotkey_parse(line.text, shown, sizeof shown);
        if (code && !shown[0]) return "a hot key without its text";
        if (strnlen(shown, sizeof shown) >= sizeof shown) return "hot-key text not terminated";
    }

    const uint16_t first = (uint16_t)(length % 2 ? 1 : 0xFF00);   // ids that wrap past 0xFFFF too
    Checker checker(size, first);
    MenuWalkResult result;
    menu_walk(text.c_str(), size, first, checker, &result);
    if (!checker.bad.empty()) return checker.bad;
    if (result.init_end > size) return "initialisation lines past the end";
    if (result.error == 0 && !checker.open.empty()) return "popups left open at the end";
    // The first, a middle and the last item are searched for again.
    size_t n = checker.items.size();
    for (size_t i : {size_t(0), n / 2, n ? n - 1 : 0}) {
        if (i >= n) break;
        const Range& r = checker.items[i];
        Searcher searcher(r.id);
        MenuWalkResult found;
        menu_walk(text.c_str(), size, first, searcher, &found);
        if (found.error != MENU_WALK_FOUND) return "an item the walk reported was not found again";
        if (searcher.found.begin != r.begin || searcher.found.end != r.end) return "the search found another range";
    }
    return "";
}

} // namespace fuzz

// The portable half of menu files: lines and their kinds, titles, hot keys, the walk's popups, items and errors.
#include <gtest/gtest.h>
#include <string>
#include "menus/hotkeys.h"
#include "menus/menu_walk.h"

using namespace tsl;

#define AT_ROW(r) "row at line " << (r).line << " "

namespace {

std::vector<std::string> read_lines(const std::string& text) {
    std::vector<std::string> lines;
    uint32_t pos = 0;
    MenuLine line;
    while (menu_next_line(text.data(), (uint32_t)text.size(), &pos, &line)) lines.push_back(line.text);
    return lines;
}

} // namespace

TEST(MenuLines, LineEndsAndTheCutOfLongLines) {
    std::string long_line(300, 'x');
    long_line[257] = 'A';
    long_line[258] = 'B';
    long_line[259] = 'C';
    struct { int line; std::string text; std::vector<std::string> lines; } rows[] = {
        {__LINE__, "a\r\nb\r\n", {"a", "b"}},
        {__LINE__, "a\rbc\rde", {"a", "c", "e"}},          // a bare CR eats the next byte
        {__LINE__, std::string("a\0b\x1a" "c", 5), {"a", "b", "c"}},
        {__LINE__, "a\nb", {"a\nb"}},                      // a line feed alone ends nothing
        {__LINE__, "\r\n\r\n", {"", ""}},
        {__LINE__, long_line, {std::string(257, 'x'), "C" + std::string(40, 'x')}},
        {__LINE__, std::string(257, 'y') + "\r\nz", {std::string(257, 'y'), "z"}},
    };
    for (auto& r : rows) EXPECT_EQ(r.lines, read_lines(r.text)) << AT_ROW(r);
}

TEST(MenuLines, KindByTheFirstFourCharacters) {
    struct { int line; const char* text; MenuLineKind kind; } rows[] = {
        {__LINE__, "", MENU_COMMENT},        {__LINE__, "   \t ", MENU_COMMENT},
        {__LINE__, "; note", MENU_COMMENT},  {__LINE__, "\t' note", MENU_COMMENT},
        {__LINE__, "File", MENU_TITLE_1},    {__LINE__, " Open", MENU_TITLE_2},
        {__LINE__, "  Sub", MENU_TITLE_3},   {__LINE__, "   Leaf", MENU_TITLE_4},
        {__LINE__, "    x = 1", MENU_SCRIPT}, {__LINE__, "\tx = 1", MENU_SCRIPT},
        {__LINE__, "  \tx = 1", MENU_SCRIPT}, {__LINE__, "        deep", MENU_SCRIPT},
    };
    for (auto& r : rows) EXPECT_EQ(r.kind, menu_line_kind(r.text)) << AT_ROW(r);
}

TEST(MenuTitles, MarkersTextHotKeyHiddenAndDescription) {
    struct { int line; const char* text; int level; bool sep, col, hidden; const char* menu; const char* key;
             const char* desc; } rows[] = {
        {__LINE__, "&File", 1, false, false, false, "&File", "", ""},
        {__LINE__, " _&Open \\^O ; Opens a file  ", 2, true, false, false, "&Open", "Ctrl+O", "Opens a file"},
        {__LINE__, "Save;Saves it", 1, false, false, false, "Save", "", "Saves it"},   // no blank after ";"
        {__LINE__, "|Next column", 1, false, true, false, "Next column", "", ""},
        {__LINE__, "  @Secret\\!{f5}", 3, false, false, true, "Secret", "Alt+F5", ""},
        {__LINE__, "A very long menu text that goes past 38 characters", 1, false, false, false,
         "A very long menu text that goes past 3", "", ""},
        {__LINE__, "Thirty-seven characters of menu text!\\^E", 1, false, false, false,
         "Thirty-seven characters of menu text!", "", ""},   // the cut leaves "\\" alone
        {__LINE__, "Unknown\\{nokey}", 1, false, false, false, "Unknown", "", ""},
    };
    for (auto& r : rows) {
        MenuTitle t;
        menu_parse_title(r.text, r.level, &t);
        EXPECT_EQ(r.sep, t.separator) << AT_ROW(r);
        EXPECT_EQ(r.col, t.column) << AT_ROW(r);
        EXPECT_EQ(r.hidden, t.hidden) << AT_ROW(r);
        EXPECT_STREQ(r.menu, t.text) << AT_ROW(r);
        EXPECT_STREQ(r.key, t.hotkey_text) << AT_ROW(r);
        EXPECT_STREQ(r.desc, t.description) << AT_ROW(r);
    }
}

// Each definition's code and shown text, and the keystroke that matches it.
TEST(HotKeys, DefinitionCodeShownTextAndItsKeystroke) {
    struct { int line; const char* written; uint16_t code; const char* shown; bool press; unsigned key;
             bool shift, ctrl, alt; } rows[] = {
        {__LINE__, "^E", 0x4045, "Ctrl+E", false, 5, false, true, false},
        {__LINE__, "^e", 0x4045, "Ctrl+E", false, 5, false, true, false},
        {__LINE__, "!{F5}", 0x3074, "Alt+F5", true, 0x74, false, false, true},
        {__LINE__, "!{ f 5 }", 0x3074, "Alt+F5", true, 0x74, false, false, true},
        {__LINE__, "{F16}", 0x107F, "F16", true, 0x7F, false, false, false},
        {__LINE__, "x", 0x58, "X", false, 'x', false, false, false},
        {__LINE__, "+x", 0x8058, "Shift+X", false, 'X', true, false, false},
        {__LINE__, "!x", 0x3058, "Alt+X", true, 'X', false, false, true},
        {__LINE__, "^1", 0x5031, "Ctrl+1", true, '1', false, true, false},
        {__LINE__, "^{ENTER}", 0x500D, "Ctrl+ENTER", true, 0x0D, false, true, false},
        {__LINE__, "{esc}", 27, "ESC", false, 27, false, false, false},
        {__LINE__, "{BS}", 8, "BS", false, 8, false, false, false},
        {__LINE__, "{SP}", 32, "SP", false, ' ', false, false, false},
        {__LINE__, "^+{pgdn}", 0xD022, "Ctrl+Shift+PGDN", true, 0x22, true, true, false},
        {__LINE__, "{TAB}", 0x1009, "TAB", true, 0x09, false, false, false},
        {__LINE__, "{DEL}", 0x102E, "DEL", true, 0x2E, false, false, false},
        {__LINE__, "{PRTSC}", 0x102C, "PRTSC", true, 0x2C, false, false, false},
        {__LINE__, "{q}", 0x51, "Q", false, 'q', false, false, false},
        {__LINE__, "^@", 0x4040, "Ctrl+@", false, '@', false, true, false},   // with "@" a typed character, as with a letter
    };
    for (auto& r : rows) {
        char shown[HOTKEY_TEXT_MAX];
        EXPECT_EQ(r.code, hotkey_parse(r.written, shown, sizeof shown)) << AT_ROW(r);
        EXPECT_STREQ(r.shown, shown) << AT_ROW(r);
        EXPECT_EQ(r.code, hotkey_of_keystroke(r.press, r.key, r.shift, r.ctrl, r.alt)) << AT_ROW(r);
    }
}

TEST(HotKeys, NoKeyNamedAndModifierKeysAlone) {
    const char* none[] = {"", "^", "!+", "{F0}", "{F17}", "{F160}", "{NOKEY}", "{}", "{F5", "{ABCDEFGHIJKLMNOPQ}"};
    for (const char* written : none) {
        char shown[HOTKEY_TEXT_MAX] = "?";
        EXPECT_EQ(0, hotkey_parse(written, shown, sizeof shown)) << written;
        EXPECT_STREQ("", shown) << written;
    }
    for (unsigned vk : {0x10u, 0x11u, 0x12u}) EXPECT_EQ(0, hotkey_of_keystroke(true, vk, true, true, true)) << vk;
}

TEST(HotKeys, TableHoldsOneHundredAndFindsTheFirst) {
    HotKeyTable table = {};
    for (uint16_t i = 0; i < 100; ++i) EXPECT_TRUE(hotkey_add(&table, (uint16_t)(0x1070 + i % 3), i));
    EXPECT_FALSE(hotkey_add(&table, 0x9999, 100));
    EXPECT_EQ(100, table.count);
    EXPECT_EQ(1, hotkey_find(&table, 0x1071)->id);
    EXPECT_EQ(nullptr, hotkey_find(&table, 0x9999));
}

namespace {

// Writes what the walk reports as one line per event.
struct Trace : MenuVisitor {
    const std::string& text;
    std::string out;
    explicit Trace(const std::string& t) : text(t) {}
    unsigned popup_open(const MenuTitle& t) override { out += "open " + std::string(t.text) + "\n"; return 0; }
    unsigned popup_close(const MenuTitle& t) override { out += "close " + std::string(t.text) + "\n"; return 0; }
    unsigned item(const MenuTitle& t, uint16_t id, uint32_t b, uint32_t e) override {
        out += "item " + std::to_string(id) + " " + t.text + " [" + text.substr(b, e - b) + "]\n";
        return 0;
    }
};

} // namespace

TEST(MenuWalk, PopupsAtFourLevelsItemsInFileOrderAndInitLines) {
    std::string text =
        "\tinit\r\n; comment\r\nA\r\n B\r\n  C\r\n   D\r\n\td1\r\n\r\n;c\r\n   E\r\n    e1\r\n  F\r\n\tf1\r\n"
        "G\r\n\tg1\r\n";
    Trace trace(text);
    MenuWalkResult r;
    menu_walk(text.data(), (uint32_t)text.size(), 10, trace, &r);
    EXPECT_EQ(0u, r.error);
    EXPECT_EQ("\tinit\r\n; comment\r\n", text.substr(0, r.init_end));
    EXPECT_EQ(14, r.next_id);
    EXPECT_EQ("open A\nopen B\nopen C\nitem 10 D [\td1\r\n\r\n;c\r\n]\nitem 11 E [    e1\r\n]\nclose C\n"
              "item 12 F [\tf1\r\n]\nclose B\nclose A\nitem 13 G [\tg1\r\n]\n",
              trace.out);
}

TEST(MenuWalk, EachStateNamesItsErrorAndTheLine) {
    struct { int line; const char* text; unsigned error; const char* bad; } rows[] = {
        {__LINE__, " B\r\n", 512, " B"},
        {__LINE__, "A\r\nB\r\n", 514, "B"},
        {__LINE__, "A\r\n", 514, ""},
        {__LINE__, "A\r\n B\r\nC\r\n", 519, "C"},
        {__LINE__, "A\r\n B\r\n  C\r\n B\r\n", 521, " B"},
        {__LINE__, "A\r\n B\r\n  C\r\n   D\r\n   E\r\n", 580, "   E"},
        {__LINE__, "A\r\n\tx\r\n B\r\n", 515, " B"},
        {__LINE__, "A\r\n B\r\n\tx\r\n  C\r\n", 520, "  C"},
        {__LINE__, "A\r\n B\r\n  C\r\n\tx\r\n   D\r\n", 579, "   D"},
        {__LINE__, "A\r\n B\r\n  C\r\n   D\r\n\tx\r\n    \r\n", 0, ""},
    };
    for (auto& r : rows) {
        std::string text = r.text;
        Trace trace(text);
        MenuWalkResult res;
        menu_walk(text.data(), (uint32_t)text.size(), 1, trace, &res);
        EXPECT_EQ(r.error, res.error) << AT_ROW(r);
        EXPECT_STREQ(r.bad, res.bad_line.text) << AT_ROW(r);
    }
}

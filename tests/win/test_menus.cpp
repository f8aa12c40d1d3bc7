// The four menu entries called as a host calls them: menu files in a
// temporary directory, real menus read back with the menu API, the host's
// hot-key table, key state set for this thread, the menu boxes read from
// standard error in console mode.
#include "host_harness.h"

namespace {

struct MenuEntries {
    TslLoadStandardMenuProc load;
    TslParseStandardMenuProc parse;
    TslHotKeyCheckProc check;
    TslMenuSelectProcessingProc select;
    void find(HMODULE dll) {
        auto entry = [&](const char* name) { return (void*)GetProcAddress(dll, name); };
        load = (TslLoadStandardMenuProc)entry("LoadStandardMenu");
        parse = (TslParseStandardMenuProc)entry("ParseStandardMenu");
        check = (TslHotKeyCheckProc)entry("HotKeyCheck");
        select = (TslMenuSelectProcessingProc)entry("MenuSelectProcessing");
    }
};

const WORD FIRST_ID = 100;
const char CAPTION[] = "Menu test";

std::string menu_string(HMENU menu, UINT pos) {
    char buf[200] = "";
    GetMenuStringA(menu, pos, buf, sizeof buf, MF_BYPOSITION);
    return buf;
}

UINT menu_type(HMENU menu, UINT pos) {
    MENUITEMINFOA info = {};
    info.cbSize = sizeof info;
    info.fMask = MIIM_FTYPE;
    GetMenuItemInfoA(menu, pos, TRUE, &info);
    return info.fType;
}

// One line per entry: "id text" for an item, "[text]" before a popup's
// entries (indented), "-" for a separator.
void outline(HMENU menu, const std::string& indent, std::string* out) {
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        if (menu_type(menu, i) & MFT_SEPARATOR) { *out += indent + "-\n"; continue; }
        if (HMENU sub = GetSubMenu(menu, i)) {
            *out += indent + "[" + menu_string(menu, i) + "]\n";
            outline(sub, indent + "  ", out);
        } else {
            *out += indent + std::to_string(GetMenuItemID(menu, i)) + " " + menu_string(menu, i) + "\n";
        }
    }
}

} // namespace

class Menus : public DllTest {
protected:
    MenuEntries menus;
    TempDir dir{"tslmenus"};
    HostContext host;
    TslHotKeyTable keys = {};
    TslMenuRecord record = {};
    HMENU built = NULL;

    void SetUp() override {
        menus.find(g_dll.module);
        ASSERT_TRUE(menus.load && menus.parse && menus.check && menus.select);
        host.lock()->sounds = 0;
        host.unlock();
        g_dll.console(1);
    }
    void TearDown() override {
        g_dll.console(0);
        if (built) DestroyMenu(built);
    }
    // Writes the menu file and loads it as set `set` into a new bar (or `target`).
    HMENU load(const std::string& text, WORD set = 0, HMENU target = TSL_MENU_NEW_BAR, WORD last = 0xE000) {
        write_file(dir.at("test.mnu"), text);
        record = TslMenuRecord{};
        lstrcpyA(record.path, dir.at("test.mnu").c_str());
        record.set_number = set;
        HMENU m = menus.load(host.ctx, NULL, FIRST_ID, last, &record, CAPTION, &keys, target);
        if (m && target == TSL_MENU_NEW_BAR) built = m;
        return m;
    }
    std::string script_of(WORD id, BOOL init = FALSE, WORD first = FIRST_ID) {
        HGLOBAL block = menus.parse(host.ctx, NULL, id, init, first, 0, &record, CAPTION);
        if (block == TSL_MENU_RELOAD) return "<reload>";
        if (!block) return "<none>";
        std::string s = (const char*)GlobalLock(block);
        GlobalUnlock(block);
        GlobalFree(block);
        return s;
    }
};

// The errors of the load, each from a small file: a broken rule names its line (the rule
// of each state and its line: MenuWalk.EachStateNamesItsErrorAndTheLine, natively; the
// texts: Startup.StringTableHoldsEveryMessageExactly), or stands alone.
TEST_F(Menus, EachLoadErrorShowsItsMessageWithTheCallersCaption) {
    // A menu of one item and `size` bytes of script lines.
    auto lines_of = [](size_t size) {
        std::string s = "A\r\n";
        while (s.size() + 8 <= size) s += "\tx = 1\r\n";
        return s + std::string("\tx = 11", size - s.size());   // a shorter last line
    };
    std::string big = lines_of(65534);   // the smallest too big
    struct { int line; std::string text; WORD last; std::string box; } rows[] = {
        {__LINE__, " B\r\n\tx\r\n", 0xE000, "Need First level menu title.  Not found. /  B"},
        {__LINE__, "A\r\n B\r\n  C\r\n   D\r\n", 0xE000, "Need batch code after fourth level menutitle.  Not found"},
        {__LINE__, "A\r\n\tx\r\nB\r\n\tx\r\n", FIRST_ID, "Too many menu items defined for current application."},
        {__LINE__, "A\r\n\tx\r\nB\r\n\tx\r\nC\r\n\tx\r\n", FIRST_ID, "Too many menu items defined for current application."},
        {__LINE__, big, 0xE000, "Menu/Batch file too big  >>64K"},
        {__LINE__, "\x02" "A\r\n\tx\r\n", 0xE000,
         "Encoded menu/batch file of an unknown form (made by a later version of tslenc?) / " + dir.at("test.mnu")},
    };
    for (auto& r : rows) {
        StderrCapture err;
        EXPECT_EQ(NULL, load(r.text, 0, TSL_MENU_NEW_BAR, r.last)) << "row at line " << r.line;
        EXPECT_EQ("BOX(Menu test): " + r.box + "\r\n", err.text()) << "row at line " << r.line;
    }
    // The edges that still load: the last allowed id taken, a file one byte below the limit.
    for (auto& [text, last] : {std::pair<std::string, WORD>{"A\r\n\tx\r\n", FIRST_ID}, {lines_of(65533), 0xE000}}) {
        StderrCapture quiet;
        HMENU m = load(text, 0, TSL_MENU_NEW_POPUP, last);
        EXPECT_NE(nullptr, m) << text.size();
        EXPECT_EQ("", quiet.text()) << text.size();
        if (m) DestroyMenu(m);
    }
    StderrCapture err;
    lstrcpyA(record.path, dir.at("missing.mnu").c_str());
    EXPECT_EQ(NULL, menus.load(host.ctx, NULL, FIRST_ID, 0xE000, &record, CAPTION, &keys, TSL_MENU_NEW_BAR));
    EXPECT_EQ("BOX(Menu test): Menu file file open error. Maybe it does not exist??? / " + dir.at("missing.mnu") + "\r\n",
              err.text());
}

// Items take ids in file order, hidden ones included; popups nest four
// levels; separators, columns and hot-key texts; the load record.
TEST_F(Menus, IdsInFileOrderPopupsAtFourLevelsAndShownTexts) {
    HMENU bar = load(";menu\r\n\tinit = 1\r\n&File\\^F\r\n &New\\^N\r\n\tx=1\r\n @Hidden\\!{F5}\r\n\tx=2\r\n"
                     " _&Deep\r\n  Two\r\n   |Three\\{f2}\r\n\tx=3\r\n   Four\r\n\tx=4\r\n  _Back\r\n\tx=5\r\n"
                     "|&Help\r\n\tx=6\r\n");
    ASSERT_NE((HMENU)NULL, bar);
    std::string got;
    outline(bar, "", &got);
    EXPECT_EQ("[&File]\n  100 &New\tCtrl+N\n  -\n  [&Deep]\n    [Two]\n      102 Three\tF2\n      103 Four\n"
              "    -\n    104 Back\n105 &Help\n",
              got);
    EXPECT_EQ(105, record.last_id);
    HMENU two = GetSubMenu(GetSubMenu(GetSubMenu(bar, 0), 2), 0);
    EXPECT_TRUE(menu_type(two, 0) & MFT_MENUBARBREAK);
    EXPECT_TRUE(menu_type(bar, 1) & MFT_MENUBREAK);
    WORD date, time;
    WIN32_FILE_ATTRIBUTE_DATA data;
    FILETIME local;
    GetFileAttributesExA(record.path, GetFileExInfoStandard, &data);
    FileTimeToLocalFileTime(&data.ftLastWriteTime, &local);
    FileTimeToDosDateTime(&local, &date, &time);
    EXPECT_EQ(joined(date, time), joined(record.file_date, record.file_time));

    // Built as a popup, the level-1 entries show their hot keys and keep separators.
    HMENU popup = load("A\\^A\r\n\tx\r\n_B\r\n\tx\r\n", 0, TSL_MENU_NEW_POPUP);
    got.clear();
    outline(popup, "", &got);
    EXPECT_EQ("100 A\tCtrl+A\n-\n101 B\n", got);
    DestroyMenu(popup);
}

// The codes of the table's examples; set 0 empties the table, a later set appends, 100 at most.
TEST_F(Menus, HotKeyCodesOfTheExamplesAndTheTablesOfSets) {
    keys.count = 7;
    load("A\r\n B\\^E\r\n\tx\r\n C\\!{F5}\r\n\tx\r\n D\\!{ f5 }\r\n\tx\r\n E\\+{pgup}\r\n\tx\r\n F\\{nokey}\r\n\tx\r\n");
    std::string got;
    char entry[16];
    for (LONG i = 0; i < keys.count; ++i) got += (snprintf(entry, 16, "%04x/%u ", keys.entries[i].code, keys.entries[i].id), entry);
    EXPECT_EQ("4045/100 3074/101 3074/102 9021/103 ", got);
    DestroyMenu(built);
    built = NULL;
    load("Z\\^Z\r\n\tx\r\n", 1);
    ASSERT_EQ(5, keys.count);
    EXPECT_EQ(0x405A, keys.entries[4].code);
    // A set with 101 hot keys registers 100; the 101st item still has its id and entry.
    DestroyMenu(built);
    std::string text = "Many\r\n";
    for (int i = 0; i < 101; ++i) text += " Item" + std::to_string(i) + "\\^{F" + std::to_string(1 + i % 16) + "}\r\n\tx\r\n";
    HMENU bar = load(text);
    ASSERT_NE((HMENU)NULL, bar);
    EXPECT_EQ(100, keys.count);
    HMENU many = GetSubMenu(bar, 0);
    EXPECT_EQ(101, GetMenuItemCount(many));
    EXPECT_EQ(200u, GetMenuItemID(many, 100));
    EXPECT_EQ("Item100\tCtrl+F5", menu_string(many, 100));
}

namespace {
LRESULT CALLBACK plain_proc(HWND w, UINT m, WPARAM wp, LPARAM lp) { return DefWindowProcA(w, m, wp, lp); }

void set_modifiers(bool shift, bool ctrl, bool alt) {
    BYTE state[256];
    GetKeyboardState(state);
    state[VK_SHIFT] = shift ? 0x80 : 0;
    state[VK_CONTROL] = ctrl ? 0x80 : 0;
    state[VK_MENU] = alt ? 0x80 : 0;
    SetKeyboardState(state);
}

// The id of the menu command waiting for `w`, or -1.
int posted_command(HWND w) {
    MSG msg;
    int id = -1;
    while (PeekMessageA(&msg, w, WM_COMMAND, WM_COMMAND, PM_REMOVE)) id = LOWORD(msg.wParam);
    return id;
}
} // namespace

// Key messages against the table: typed characters with Ctrl, key presses with Alt, a
// disabled host window. (Modifier keys alone: HotKeys.NoKeyNamedAndModifierKeysAlone, natively.)
TEST_F(Menus, HotKeyCheckPostsTheItemsCommandWhenTheWindowIsEnabled) {
    load("A\r\n B\\^E\r\n\tx\r\n C\\!{F5}\r\n\tx\r\n D\\q\r\n\tx\r\n E\\^{DEL}\r\n\tx\r\n @F\\{F8}\r\n\tx\r\n");
    HWND w = test_window("tslmenukeys", plain_proc, "keys", WS_OVERLAPPEDWINDOW, 100, 100);
    struct { int line; UINT message; WPARAM key; bool shift, ctrl, alt, enabled; BOOL matched; int command; } rows[] = {
        {__LINE__, WM_CHAR, 5, false, true, false, true, TRUE, 100},       // Ctrl+E typed
        {__LINE__, WM_KEYDOWN, 'E', false, true, false, true, FALSE, -1},  // its key press is not the hot key
        {__LINE__, WM_KEYDOWN, VK_F5, false, false, true, true, TRUE, 101},
        {__LINE__, WM_KEYDOWN, VK_F5, false, false, false, true, FALSE, -1},
        {__LINE__, WM_CHAR, 'q', false, false, false, true, TRUE, 102},
        {__LINE__, WM_CHAR, 'Q', true, false, false, true, FALSE, -1},    // Shift+Q is another key
        {__LINE__, WM_KEYDOWN, VK_DELETE, false, true, false, true, TRUE, 103},
        {__LINE__, WM_KEYDOWN, VK_F8, false, false, false, true, TRUE, 104},   // a hidden item's
        {__LINE__, WM_CHAR, 5, false, true, false, false, TRUE, -1},      // matched, but nothing posted
    };
    for (auto& r : rows) {
        EnableWindow(w, r.enabled);
        set_modifiers(r.shift, r.ctrl, r.alt);
        BOOL matched = menus.check(host.ctx, w, r.message, r.key, &keys);
        EXPECT_EQ(joined(r.matched, r.command), joined(matched, posted_command(w))) << "row at line " << r.line;
    }
    set_modifiers(false, false, false);
    EXPECT_FALSE(menus.check(NULL, w, WM_CHAR, 5, &keys));
    DestroyWindow(w);
}

// Status texts: descriptions of items and popups, menu texts, system-menu
// texts, other ids, a closed menu, and a context that cannot be locked.
TEST_F(Menus, StatusTextsAndTheirCodes) {
    HMENU bar = load("&File ; Files and folders\r\n &Open\\^O ; Opens a file \r\n\tx\r\n &Save\r\n\tx\r\n"
                     "&Edit\r\n &Copy\r\n\tx\r\n", 2);
    ASSERT_NE((HMENU)NULL, bar);
    HMENU file = GetSubMenu(bar, 0);
    HMENU extra = CreatePopupMenu();
    AppendMenuA(extra, MF_STRING, 900, "E&xtra\tF9");
    struct { int line; WPARAM packed; HMENU menu; LONG code; const char* text; } rows[] = {
        {__LINE__, MAKEWPARAM(100, 0), file, 1, "Opens a file"},
        {__LINE__, MAKEWPARAM(101, 0), file, 1, "Save"},
        {__LINE__, MAKEWPARAM(0, MF_POPUP), bar, 1, "Files and folders"},
        {__LINE__, MAKEWPARAM(1, MF_POPUP), bar, 3, "Edit"},
#define SYS(sc, text) {__LINE__, MAKEWPARAM(sc, MF_SYSMENU), NULL, 2, text}
        SYS(SC_CLOSE, "Close down application"), SYS(SC_RESTORE, "Restore window to previous state"),
        SYS(SC_TASKLIST, "Get Task Manager"), SYS(SC_SIZE, "Resize window on screen"),
        SYS(SC_MOVE, "Move window on screen"), SYS(SC_MINIMIZE, "Reduce window to an icon"),
        SYS(SC_MAXIMIZE, "Zoom window to maximum size"), SYS(SC_NEXTWINDOW, "Switch to the next child window"),
        SYS(SC_PREVWINDOW, "Switch to the previous child window"), SYS(SC_VSCROLL, "Scroll child windows vertically"),
        SYS(SC_HSCROLL, "Scroll child windows horizontally"), SYS(SC_ARRANGE, "Arrange Windows"),
#undef SYS
        {__LINE__, MAKEWPARAM(900, 0), extra, 4, "Extra"},
        {__LINE__, MAKEWPARAM(0, 0xFFFF), NULL, 5, ""},
    };
    for (auto& r : rows) {
        char buf[100] = "?";
        LONG code = menus.select(host.ctx, NULL, r.packed, r.menu, FIRST_ID, record.last_id, buf, sizeof buf, &record);
        EXPECT_EQ(joined(r.code, r.text), joined(code, buf)) << "row at line " << r.line;
    }
    char buf[10];
    EXPECT_EQ(-1, menus.select(NULL, NULL, MAKEWPARAM(100, 0), file, FIRST_ID, 102, buf, sizeof buf, &record));
    // The descriptions are variables no script can name: "%M", the set's letter, the id.
    EXPECT_EQ("Opens a file", host.get("%MC100"));
    DestroyMenu(extra);
}

// An item's script keeps its blank lines, comments and indentation up to
// the next title; the initialisation lines; files without either.
TEST_F(Menus, ScriptBlocksAndInitialisationLines) {
    load("; head\r\n\tEcho(\"init\")\r\n\r\nA\r\n B\r\n\tEcho(\"b1\")\r\n\r\n; note\r\n    Echo(\"b2\")\r\n C\r\n\tEcho(\"c\")\r\n");
    EXPECT_EQ("\tEcho(\"b1\")\r\n\r\n; note\r\n    Echo(\"b2\")\r\n", script_of(100));
    EXPECT_EQ("\tEcho(\"c\")\r\n", script_of(101));
    EXPECT_EQ("; head\r\n\tEcho(\"init\")\r\n\r\n", script_of(0, TRUE));
    host.run(script_of(100));
    EXPECT_EQ("b1\nb2\n", host.out);

    load("A\r\n\tx = 1\r\n");
    EXPECT_EQ("<none>", script_of(0, TRUE));       // a file that begins with a title
    std::string only = "\tEcho(\"one\")\r\n\tEcho(\"two\")\r\n";
    HMENU empty = load(only);
    EXPECT_EQ(0, GetMenuItemCount(empty));         // a file of script lines: an empty menu
    EXPECT_EQ(only, script_of(0, TRUE));
}

// A touched file answers 528 and -1; an unknown id 527 with the line; an
// encoded file that fails its check 3231; a vanished file 522, but not when the initialisation
// lines are asked for.
TEST_F(Menus, SearchMessagesAndTheReloadAnswer) {
    load("A\r\n\tx = 1\r\n");
    auto rewrite_keeping_time = [&](const std::string& text) {
        FILETIME written;
        HANDLE h = CreateFileA(record.path, GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL);
        GetFileTime(h, NULL, NULL, &written);
        CloseHandle(h);
        write_file(record.path, text);
        h = CreateFileA(record.path, GENERIC_WRITE, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL);
        SetFileTime(h, NULL, NULL, &written);
        CloseHandle(h);
    };
    const std::string reload = "BOX(Menu test): TSL Processor menu(s) will reloaded / to reflect recent changes. / "
                               "Reselect menu option when reload complete.\r\n";
    struct { int line; std::function<void()> change; WORD id; BOOL init; std::string result, box; } rows[] = {
        {__LINE__, [] {}, 100, FALSE, "\tx = 1\r\n", ""},
        {__LINE__, [] {}, 101, FALSE, "<none>", "BOX(Menu file ended unexpectedly, or menu is invalid.): \r\n"},
        {__LINE__, [&] { rewrite_keeping_time("\x01" "A\r\n\tx = 1\r\n"); }, 100, FALSE, "<none>",
         "BOX(Menu test): Encoded menu/batch file damaged or changed: its length or check does not match / " +
             dir.at("test.mnu") + "\r\n"},
        // rewritten the same day at another time, then on another day
        {__LINE__, [&] { SYSTEMTIME t; GetLocalTime(&t); set_local_time(record.path, t.wYear, t.wMonth, t.wDay, (t.wHour + 1) % 24, 5); },
         100, FALSE, "<reload>", reload},
        {__LINE__, [&] { set_local_time(record.path, 2001, 2, 3, 4, 5); }, 100, FALSE, "<reload>", reload},
        {__LINE__, [&] { DeleteFileA(record.path); }, 100, TRUE, "<none>", ""},
        {__LINE__, [] {}, 100, FALSE, "<none>", "BOX(Menu test): Menu file re-open error / " + dir.at("test.mnu") + "\r\n"},
    };
    for (auto& r : rows) {
        r.change();
        StderrCapture err;
        EXPECT_EQ(r.result, script_of(r.id, r.init)) << "row at line " << r.line;
        EXPECT_EQ(r.box, err.text()) << "row at line " << r.line;
    }
}

// The failures a healthy machine never shows, each requested once with
// DLLServices 131, and a real read failure (a record naming a pipe, whose
// size cannot be asked): the box, the answer, what a host's menu keeps (a
// load keeps the entries it had finished), and the same call working again.
TEST_F(Menus, RequestedFailuresShowTheirMessageOnceAndKeepWhatWasBuilt) {
    const std::string text = "A\r\n\tx\r\nB\r\n C\r\n  D\r\n   E\r\n\tx\r\n";
    const std::string whole = "100 A\n[B]\n  [C]\n    [D]\n      101 E\n";
    enum { HOST = -1, POPUP = 0, BAR = 1 };   // the load's target: the host's menu or a new one
    struct { int line; LPARAM fault; int target; bool search; std::string box, kept; } rows[] = {
        {__LINE__, 505, HOST, false, "Could not allocate menu build workarea", ""},
        {__LINE__, 506, HOST, false, "Could not lock menu build workarea", ""},
        {__LINE__, 507, HOST, false, "File I/O error reading menu file", ""},
        {__LINE__, 513, BAR, false, "Could not create menu bar", ""},
        {__LINE__, 513, POPUP, false, "Could not create menu bar", ""},
        {__LINE__, 516, HOST, false, "First level popup menu creation failed.", "100 A\n"},
        {__LINE__, 517, HOST, false, "Second level popup menu creation failed.", "100 A\n"},
        {__LINE__, 518, HOST, false, "Third level popup menu creation failed.", "100 A\n"},
        {__LINE__, 523, HOST, true, "Could not allocate menu scan workarea -- Low on menory?", whole},
        {__LINE__, 524, HOST, true, "Could not lock menu scan workarea", whole},
        {__LINE__, 525, HOST, true, "File I/O error scanning menu file", whole},
        {__LINE__, 0, HOST, true, "File I/O error scanning menu file", whole},   // the pipe
    };
    const char* pipe_name = "\\\\.\\pipe\\tslmenutest";
    for (auto& r : rows) {
        HMENU mine = CreateMenu();
        ASSERT_EQ(1, host.service(TSL_SERVICE_MENU_FAULT, r.fault)) << "row at line " << r.line;
        {
            StderrCapture err;   // a search's failure is armed through the load, which passes it by
            HMENU m = load(text, 0, r.target == HOST ? mine : (HMENU)(INT_PTR)r.target);
            EXPECT_EQ(r.search ? mine : NULL, m) << "row at line " << r.line;
            TslMenuRecord loaded = record;
            HANDLE pipe = INVALID_HANDLE_VALUE;
            if (!r.fault) {   // the record names the pipe; it has no file time, and none is recorded
                pipe = CreateNamedPipeA(pipe_name, PIPE_ACCESS_OUTBOUND, 0, 1, 512, 512, 0, NULL);
                ASSERT_NE(INVALID_HANDLE_VALUE, pipe) << "row at line " << r.line;
                record = TslMenuRecord{};
                lstrcpyA(record.path, pipe_name);
            }
            if (r.search) {
                EXPECT_EQ("<none>", script_of(100)) << "row at line " << r.line;
            }
            if (pipe != INVALID_HANDLE_VALUE) CloseHandle(pipe);
            record = loaded;
            EXPECT_EQ("BOX(Menu test): " + r.box + "\r\n", err.text()) << "row at line " << r.line;
        }
        std::string kept;
        outline(mine, "", &kept);
        EXPECT_EQ(r.kept, kept) << "row at line " << r.line;
        StderrCapture again;   // used up by the call that failed
        if (r.search) {
            EXPECT_EQ("\tx\r\n", script_of(100)) << "row at line " << r.line;
        } else {
            HMENU m = load(text, 0, TSL_MENU_NEW_POPUP);
            EXPECT_NE((HMENU)NULL, m) << "row at line " << r.line;
            DestroyMenu(m);
        }
        EXPECT_EQ("", again.text()) << "row at line " << r.line;
        DestroyMenu(mine);
    }
    for (LPARAM other : {1, 504, 508, 519, 522, 526, 1505, -1})
        EXPECT_EQ(0, host.service(TSL_SERVICE_MENU_FAULT, other)) << other;
    ASSERT_EQ(1, host.service(TSL_SERVICE_MENU_FAULT, 505));
    EXPECT_EQ(1, g_dll.services(NULL, TSL_SERVICE_MENU_FAULT, 0, 0, 0)) << "0 clears, without a context too";
    StderrCapture err;
    EXPECT_NE((HMENU)NULL, load(text));
    EXPECT_EQ("", err.text());
}

// A menu file encoded by tslenc loads and searches like its plain text.
TEST_F(Menus, AnEncodedMenuFileLoadsAndGivesItsScripts) {
    write_file(dir.at("plain.mnu"), "A\r\n\tEcho(\"a\")\r\nB\r\n\tEcho(\"b\")\r\n");
    ASSERT_EQ(0u, run_program("tslenc.exe", "\"" + dir.at("plain.mnu") + "\" \"" + dir.at("coded.mnu") + "\""));
    record = TslMenuRecord{};
    lstrcpyA(record.path, dir.at("coded.mnu").c_str());
    built = menus.load(host.ctx, NULL, FIRST_ID, 0xE000, &record, CAPTION, &keys, TSL_MENU_NEW_BAR);
    ASSERT_NE((HMENU)NULL, built);
    EXPECT_EQ(2, GetMenuItemCount(built));
    EXPECT_EQ("\tEcho(\"b\")\r\n", script_of(101));
}

namespace {
long WINAPI example_host(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1, LPCSTR,
                         LPCSTR, LPCSTR, LPCSTR) {
    if (command == 0 && HostContext::echoing) HostContext::echoing->out += std::string(t1) + "\n";
    if (command == 1 && HostContext::echoing) HostContext::echoing->out += "<quit>\n";
    return answer(0, 0, record, 0, 0, NULL);
}
const TslKeywordRecord kExampleCommands[] = {
    {0, TSL_KIND_FUNCTION, 1, 1, 4, "echo"}, {1, TSL_KIND_FUNCTION, 0, 0, 11, "tslmenuquit"}, {0, 0, 0, 0, 0, ""}};
} // namespace

// The example menus load as two sets of one bar, and every item runs
// without an error, in file order, after the initialisation lines (with
// TEMP pointing into a temporary directory).
TEST_F(Menus, TheExampleMenusLoadAndEveryItemRuns) {
    std::string examples = TSL_SOURCE_DIR "\\examples\\menus\\";
    char old_temp[MAX_PATH] = "";
    GetEnvironmentVariableA("TEMP", old_temp, sizeof old_temp);
    SetEnvironmentVariableA("TEMP", dir.dir.c_str());
    HMENU bar = CreateMenu();
    WORD first = FIRST_ID;
    const char* files[] = {"everyday.mnu", "tools.mnu"};
    for (WORD set = 0; set < 2; ++set) {
        record = TslMenuRecord{};
        lstrcpyA(record.path, (examples + files[set]).c_str());
        record.set_number = set;
        StderrCapture err;
        ASSERT_EQ(bar, menus.load(host.ctx, NULL, first, 0xE000, &record, CAPTION, &keys, bar)) << err.text();
        std::string init = script_of(0, TRUE, first);
        if (init != "<none>") host.run(init, example_host, kExampleCommands);
        EXPECT_EQ(0, host.error()) << files[set] << " initialisation";
        for (WORD id = first; id <= record.last_id; ++id) {
            host.out.clear();
            host.run(script_of(id, FALSE, first), example_host, kExampleCommands);
            EXPECT_EQ(0, host.error()) << files[set] << " item " << id << ": " << host.out;
            EXPECT_NE("", host.out) << files[set] << " item " << id;   // every item says what it did
        }
        first = (WORD)(record.last_id + 1);
    }
    EXPECT_EQ(4, GetMenuItemCount(bar));    // Diary, Folder, Quit; Tools
    EXPECT_EQ(8, keys.count);
    DestroyMenu(bar);
    SetEnvironmentVariableA("TEMP", old_temp);
}

// Malformed files through the real load and search: each ends with a menu
// or with its message, and the search answers for the last id.
TEST_F(Menus, MalformedFilesEndWithAMenuOrAMessage) {
    std::string many;
    while (many.size() < 65000) many += "A\\^{F1}\r\n B\r\n  C\r\n   D\\!x ; d\r\n\tx\r\n";
    struct { int line; std::string text; bool menu; } rows[] = {
        {__LINE__, std::string(65533, '\r'), true},
        {__LINE__, std::string(65533, '\n'), false},                          // one title cut into many
        {__LINE__, "A\\" + std::string(250, '{') + "\r\n\tx\r\n", true},
        {__LINE__, "A\\" + std::string(5000, '{') + "\r\n\tx\r\n", false},   // cut into titles: 514
        {__LINE__, std::string("A\0\x1a\r\n\t\x1a B\\{}\\^\r\n\tx", sizeof "A\0\x1a\r\n\t\x1a B\\{}\\^\r\n\tx" - 1), true},
        {__LINE__, std::string(300, ' ') + ";\r\n" + std::string(3000, '_') + "\r\n\t" + std::string(3000, 'y'), false},
        {__LINE__, many, true},   // last: its hot keys stay in the table
    };
    for (auto& r : rows) {
        StderrCapture err;
        HMENU m = load(r.text);
        EXPECT_EQ(joined(r.menu, r.menu), joined(m != NULL, err.text().empty())) << "row at line " << r.line << ": " << err.text().substr(0, 200);
        if (m && record.last_id >= FIRST_ID) EXPECT_NE("<none>", script_of(record.last_id)) << "row at line " << r.line;
    }
    EXPECT_EQ(100, keys.count);   // the many items of the long file filled the table
}

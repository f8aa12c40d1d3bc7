// The list boxes as a user meets them: ItemSelect, TextSelect, TextBox and
// TextBoxSort in real dialogs, read back line by line, a line chosen by OK
// or a double click, Cancel; the templates' layout and the shadow bars.
// (The filling rules in detail are checked by the console script tests.)
#include "host_harness.h"
#include "resources/dialogs/box_ids.h"

class Lists : public DllTest {
protected:
    TempDir dir{"tsllists"};
    HostContext host;
    void SetUp() override { host.lock()->sounds = 0; host.unlock(); }
    std::string ask(const std::string& call, User& user) {
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "r", (LPARAM) "<none>");
        host.run("r = " + call + "\r\n");
        user.finish();
        return host.get("r");
    }
};

enum Action { ACT_OK, ACT_CANCEL, ACT_DOUBLE_CLICK };

// What each box lists and what choosing a line gives back.
TEST_F(Lists, ChooseALine) {
    write_file(dir.at("f.txt"), "pear\r\napple\r\n\r\nfig\r\n");
    std::string f = dir.at("f.txt"), missing = dir.at("none.txt");
    struct { int line; std::string call; std::string caption; std::vector<std::string> list; int select; Action act;
             std::string result; long error; } rows[] = {
        {__LINE__, "ItemSelect(\"Fruit\", \"pear|apple|fig\", \"|\")", "Fruit", {"apple", "fig", "pear"}, 1, ACT_OK, "fig", 0},
        {__LINE__, "ItemSelect(\"Fruit\", \"pear|apple|fig\", \"|\")", "Fruit", {"apple", "fig", "pear"}, 2, ACT_DOUBLE_CLICK, "pear", 0},
        {__LINE__, "ItemSelect(\"Fruit\", \"pear|apple|fig\", \"|\")", "Fruit", {"apple", "fig", "pear"}, -1, ACT_OK, "", 0},
        {__LINE__, "ItemSelect(\"Fruit\", \"pear|apple|fig\", \"|\")", "Fruit", {"apple", "fig", "pear"}, 0, ACT_CANCEL, "0", 9999},
        {__LINE__, "TextSelect(\"T\", \"pear|apple||fig\", \"|\")", "T", {"pear", "apple", "", "fig"}, 3, ACT_OK, "fig", 0},
        {__LINE__, "TextSelect(\"T\", StrCat(\"a\", Num2Char(9), \"b\"), \"|\")", "T", {"a\tb"}, 0, ACT_OK, "a\tb", 0},
        {__LINE__, "TextSelect(\"T\", \"\", \"|\")", "T", {}, -1, ACT_OK, "", 0},
        {__LINE__, "TextSelect(\"T\", \"x\", \"|\")", "T", {"x"}, 0, ACT_CANCEL, "0", 9999},
        {__LINE__, "TextBox(\"File\", \"" + f + "\")", "File", {"pear", "apple", "", "fig"}, 0, ACT_OK, "pear", 0},
        {__LINE__, "TextBoxSort(\"File\", \"" + f + "\")", "File", {"", "apple", "fig", "pear"}, 3, ACT_DOUBLE_CLICK, "pear", 0},
        {__LINE__, "TextBox(\"File\", \"" + f + "\")", "File", {"pear", "apple", "", "fig"}, 1, ACT_CANCEL, "0", 9999},
        {__LINE__, "TextBox(\"Gone\", \"" + missing + "\")", "Gone", {"Error opening/finding file:", missing}, 0, ACT_OK,
         "Error opening/finding file:", 0},
    };
    for (auto& r : rows) {
        User user([&](const SeenBox& b) {
            HWND list = GetDlgItem(b.window, BOX_LIST);
            if (r.select >= 0) SendMessageA(list, LB_SETCURSEL, r.select, 0);
            if (r.act == ACT_DOUBLE_CLICK) {
                PostMessageA(b.window, WM_COMMAND, MAKEWPARAM(BOX_LIST, LBN_DBLCLK), (LPARAM)list);
                return -1;
            }
            return r.act == ACT_OK ? IDOK : IDCANCEL;
        });
        EXPECT_EQ(r.result, ask(r.call, user)) << "row at line " << r.line;
        EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
        auto seen = user.seen();
        ASSERT_EQ(1u, seen.size()) << "row at line " << r.line;
        EXPECT_EQ(r.caption, seen[0].caption) << "row at line " << r.line;
        EXPECT_EQ(r.list, seen[0].list) << "row at line " << r.line;
        EXPECT_EQ("&Ok", seen[0].items[IDOK]) << "row at line " << r.line;
        EXPECT_EQ("&Cancel", seen[0].items[IDCANCEL]) << "row at line " << r.line;
    }
}

// BOXITEM serves ItemSelect, BOXTEXT the other three: client size, list and
// buttons in dialog units; the shadow bars placed from the system font's
// sizes; the list's styles; button names; the fixed-pitch option.
TEST_F(Lists, TemplatesShadowBarsAndOptions) {
    struct Rect { int x, y, w, h; };
    struct { int line; const char* script; Rect client, list, ok, cancel; const char* ok_name; bool fixed; } rows[] = {
        {__LINE__, "r = ItemSelect(\"a\", \"b\", \"|\")", {0, 0, 200, 141}, {3, 3, 188, 113}, {24, 124, 60, 14},
         {119, 124, 60, 14}, "&Ok", false},
        {__LINE__, "ButtonNames(\"Pick\", \"\")\r\nIntControl(40, \"1\", \"\", \"\", \"\")\r\nr = TextSelect(\"a\", \"b\", \"|\")",
         {0, 0, 206, 174}, {6, 3, 189, 145}, {21, 157, 70, 14}, {119, 157, 70, 14}, "Pick", true},
        {__LINE__, "IntControl(40, \"0\", \"\", \"\", \"\")\r\nr = TextBox(\"a\", \"nothing.txt\")", {0, 0, 206, 174},
         {6, 3, 189, 145}, {21, 157, 70, 14}, {119, 157, 70, 14}, "&Ok", false},
    };
    int cw = host.lock()->font_width, ch = host.lock()->font_height;
    host.unlock();
    host.unlock();
    auto px = [](HWND dlg, Rect u) {
        RECT r = {u.x, u.y, u.w, u.h};   // position and size map separately, as the dialog manager does
        MapDialogRect(dlg, &r);
        return RECT{r.left, r.top, r.left + r.right, r.top + r.bottom};
    };
    auto at = [](HWND dlg, int id) {
        RECT r;
        GetWindowRect(GetDlgItem(dlg, id), &r);
        MapWindowPoints(NULL, dlg, (POINT*)&r, 2);
        return r;
    };
    for (auto& row : rows) {
        std::vector<std::string> wrong;
        auto same = [&](const char* what, RECT a, RECT b) {
            if (!EqualRect(&a, &b))
                wrong.push_back(std::string(what) + " " + std::to_string(a.left) + "," + std::to_string(a.top) + "," +
                                std::to_string(a.right) + "," + std::to_string(a.bottom) + " got " + std::to_string(b.left) +
                                "," + std::to_string(b.top) + "," + std::to_string(b.right) + "," + std::to_string(b.bottom));
        };
        User user([&](const SeenBox& b) {
            HWND d = b.window;
            RECT client;
            GetClientRect(d, &client);
            same("client", px(d, row.client), client);
            RECT want_list = px(d, row.list), list = at(d, BOX_LIST);
            LRESULT item_h = SendDlgItemMessageA(d, BOX_LIST, LB_GETITEMHEIGHT, 0, 0);
            if (list.bottom <= want_list.bottom && want_list.bottom - list.bottom < item_h)
                list.bottom = want_list.bottom;   // the list keeps to whole lines
            same("list", want_list, list);
            same("ok", px(d, row.ok), at(d, IDOK));
            same("cancel", px(d, row.cancel), at(d, IDCANCEL));
            RECT l = at(d, BOX_LIST);
            same("bar under", RECT{l.left + cw / 2, l.bottom, l.right + cw / 2, l.bottom + ch / 3}, at(d, BOX_SHADOW_LOW));
            same("bar right", RECT{l.right, l.top + ch / 3, l.right + cw / 2, l.bottom + ch / 3}, at(d, BOX_SHADOW_SIDE));
            LONG style = GetWindowLongA(GetDlgItem(d, BOX_LIST), GWL_STYLE);
            LONG want = LBS_NOTIFY | LBS_SORT | LBS_USETABSTOPS;   // the scroll bar shows only when needed
            if ((style & want) != want) wrong.push_back("list style " + std::to_string(style));
            if (!(style & WS_BORDER) && !(GetWindowLongA(GetDlgItem(d, BOX_LIST), GWL_EXSTYLE) & WS_EX_CLIENTEDGE))
                wrong.push_back("list border");
            bool fixed = (HFONT)SendDlgItemMessageA(d, BOX_LIST, WM_GETFONT, 0, 0) == GetStockObject(SYSTEM_FIXED_FONT);
            if (fixed != row.fixed) wrong.push_back("font");
            return IDOK;
        });
        host.run(std::string(row.script) + "\r\n");
        user.finish();
        auto seen = user.seen();
        ASSERT_EQ(1u, seen.size()) << "row at line " << row.line;
        EXPECT_EQ(row.ok_name, seen[0].items[IDOK]) << "row at line " << row.line;
        EXPECT_EQ(std::vector<std::string>{}, wrong) << "row at line " << row.line;
    }
}

// No room in the string heap for the chosen line: 3096.
TEST_F(Lists, ChosenLineWithTheHeapFull) {
    HostContext small(&g_dll, "tslhosttest", "test host", 2000, 1000);
    small.lock()->sounds = 0;
    small.unlock();
    User user([](const SeenBox& b) { SendDlgItemMessageA(b.window, BOX_LIST, LB_SETCURSEL, 0, 0); return IDOK; });
    small.run("item = StrFill(\"x\", 250)\r\nfill = StrFill(\"y\", 200)\r\nr = TextSelect(\"t\", item, \"|\")\r\n");
    user.finish();
    ASSERT_EQ(2u, user.seen().size());   // the list, then the error's report
    EXPECT_EQ("t", user.seen()[0].caption);
    EXPECT_EQ(std::vector<std::string>{std::string(250, 'x')}, user.seen()[0].list);
    EXPECT_EQ(3096, small.error());
}

// The standard boxes and the list boxes as a user meets them: Message, Pause,
// AskYesNo, AskLine, AskPassword, ButtonNames, Display, ItemSelect,
// TextSelect, TextBox and TextBoxSort, each a real box read and pressed by
// the user thread; results, errors, what the box showed and its layout.
// (The list filling rules in detail are checked by the console script tests.)
#include "window_thread.h"
#include "resources/dialogs/box_ids.h"

class Boxes : public ScriptTest {
protected:
    TempDir dir{"tslboxes"};
    void SetUp() override { ScriptTest::SetUp(); g_dll.console(0); }
    // Runs "r = <call>" while the user plays the box; gives r.
    std::string ask(const std::string& call, User& user, long error = 0, HWND owner = NULL) {
        std::string r = eval(call, owner, error);
        user.finish();
        return r;
    }
    void answer_rows(bool lists);   // the table below, its standard boxes or its lists
    // The one box the user saw.
    static SeenBox only(User& user) {
        auto seen = user.seen();
        EXPECT_EQ(1u, seen.size());
        return seen.empty() ? SeenBox{} : seen[0];
    }
};

// What a box shows, in one line: caption|static texts, then the answer field
// with its limit ("*" for a password), the list, the template's button names,
// or for a message box a missing Cancel button and its icon.
static std::string shown(const SeenBox& b) {
    std::string s = b.caption + "|" + b.text;
    HWND edit = GetDlgItem(b.window, BOX_ANSWER), list = GetDlgItem(b.window, BOX_LIST);
    if (edit)
        s += "|" + b.items.at(BOX_ANSWER) + " " + std::to_string(SendMessageA(edit, EM_GETLIMITTEXT, 0, 0)) +
             ((GetWindowLongA(edit, GWL_STYLE) & ES_PASSWORD) ? "*" : "");
    if (list) {
        s += "|[";
        for (size_t i = 0; i < b.list.size(); i++) s += (i ? "/" : "") + b.list[i];
        s += "]";
    }
    if (edit || list) return s + "|" + b.items.at(IDOK) + " " + b.items.at(IDCANCEL);
    return s + (b.cancel ? "" : "|no cancel") + (b.icon ? "|icon" : "");
}

// The templates in dialog units: the client area, the controls, the fixed
// drop-shadow bars of an answer field (a list's bars are placed from the
// system font's sizes).
struct Units { int x, y, w, h; };
struct Template { Units client; std::map<int, Units> controls; std::vector<Units> bars; };
static const std::map<std::string, Template> kTemplates = {
    {"AskLine", {{0, 0, 175, 82}, {{BOX_PROMPT, {5, 7, 164, 32}}, {BOX_ANSWER, {5, 41, 164, 12}}, {IDOK, {15, 65, 60, 14}},
                  {IDCANCEL, {101, 65, 60, 14}}}, {{8, 53, 163, 2}, {169, 44, 2, 9}}}},
    {"AskPassword", {{0, 0, 175, 58}, {{BOX_PROMPT, {5, 7, 164, 8}}, {BOX_ANSWER, {5, 17, 164, 12}}, {IDOK, {15, 41, 60, 14}},
                      {IDCANCEL, {101, 41, 60, 14}}}, {{8, 29, 163, 2}, {169, 20, 2, 9}}}},
    {"ItemSelect", {{0, 0, 200, 141}, {{BOX_LIST, {3, 3, 188, 113}}, {IDOK, {24, 124, 60, 14}}, {IDCANCEL, {119, 124, 60, 14}}}, {}}},
    {"Text", {{0, 0, 206, 174}, {{BOX_LIST, {6, 3, 189, 145}}, {IDOK, {21, 157, 70, 14}}, {IDCANCEL, {119, 157, 70, 14}}}, {}}},
};

// Where the box `d` of template `t` has its parts against where they belong
// ("" when all are in place): position and size map separately, as the
// dialog manager does; a list keeps to whole lines; its styles and font.
static std::string misplaced(HWND d, const Template& t, bool fixed, int cw, int ch) {
    auto px = [d](Units u) {
        RECT r = {u.x, u.y, u.w, u.h};
        MapDialogRect(d, &r);
        return RECT{r.left, r.top, r.left + r.right, r.top + r.bottom};
    };
    auto at = [d](HWND c) { RECT r = window_rect(c); MapWindowPoints(NULL, d, (POINT*)&r, 2); return r; };
    HWND list = GetDlgItem(d, BOX_LIST);
    RECT client;
    GetClientRect(d, &client);
    std::string want = "client " + rect_text(px(t.client)), got = "client " + rect_text(client);
    for (auto& c : t.controls) {
        RECT w = px(c.second), r = at(GetDlgItem(d, c.first));
        if (c.first == BOX_LIST && r.bottom <= w.bottom && w.bottom - r.bottom < SendMessageA(list, LB_GETITEMHEIGHT, 0, 0))
            r.bottom = w.bottom;
        want += " " + std::to_string(c.first) + " " + rect_text(w);
        got += " " + std::to_string(c.first) + " " + rect_text(r);
    }
    for (auto& u : t.bars) want += " bar " + rect_text(px(u));
    for (HWND c = GetWindow(d, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
        if ((GetWindowLongA(c, GWL_STYLE) & SS_TYPEMASK) == SS_BLACKRECT) got += " bar " + rect_text(at(c));
    if (list) {
        RECT l = at(list);
        want += " bar " + rect_text({l.left + cw / 2, l.bottom, l.right + cw / 2, l.bottom + ch / 3}) + " bar " +
                rect_text({l.right, l.top + ch / 3, l.right + cw / 2, l.bottom + ch / 3}) + " list style" + (fixed ? " fixed" : "");
        LONG style = GetWindowLongA(list, GWL_STYLE), want_style = LBS_NOTIFY | LBS_SORT | LBS_USETABSTOPS;
        bool border = (style & WS_BORDER) || (GetWindowLongA(list, GWL_EXSTYLE) & WS_EX_CLIENTEDGE);
        got += (style & want_style) == want_style && border ? " list style" : " list style wrong";
        if ((HFONT)SendMessageA(list, WM_GETFONT, 0, 0) == GetStockObject(SYSTEM_FIXED_FONT)) got += " fixed";
    }
    if ((GetWindowLongA(d, GWL_STYLE) & (WS_POPUP | WS_CAPTION)) != (WS_POPUP | WS_CAPTION)) got += " not a popup";
    return want == got ? "" : want + "\n" + got;
}

enum { CHOOSE_BY_DOUBLE_CLICK = -2 };

// Every box, owned by the host window: what it showed and where, what the
// user typed or chose and pressed, the result and the error (Cancel stops
// with 9999). IntControl 40 gives the lists a fixed-pitch font.
// (Each box costs Wine about two seconds to close: two tests share the table.)
void Boxes::answer_rows(bool lists) {
    write_file(dir.at("f.txt"), "pear\r\napple\r\n\r\nfig\r\n");
    std::string f = dir.at("f.txt"), missing = dir.at("none.txt"), d256(256, 'd');
    const std::string fruit = "Fruit||[apple/fig/pear]|&Ok &Cancel", file = "File||[pear/apple//fig]|&Ok &Cancel";
    struct { int line; std::string call; const char* type; int select, press; std::string result; long error;
             std::string shown; } rows[] = {
        {__LINE__, "Message(\"Cap\", \"Body\")", nullptr, -1, IDOK, "1", 0, "Cap|Body|no cancel"},
        {__LINE__, "Pause(\"Cap\", \"Body\")", nullptr, -1, IDOK, "1", 0, "Cap|Body|icon"},
        {__LINE__, "Pause(\"Cap\", \"Body\")", nullptr, -1, IDCANCEL, "0", 9999, "Cap|Body|icon"},
        {__LINE__, "AskYesNo(\"Cap\", \"Body\")", nullptr, -1, IDYES, "1", 0, "Cap|Body|icon"},
        {__LINE__, "AskYesNo(\"Cap\", \"Body\")", nullptr, -1, IDNO, "0", 0, "Cap|Body|icon"},
        {__LINE__, "AskYesNo(\"Cap\", \"Body\")", nullptr, -1, IDCANCEL, "0", 9999, "Cap|Body|icon"},
        {__LINE__, "AskLine(\"Who\", \"Your name?\", \"Ann\")", nullptr, -1, IDOK, "Ann", 0, "Who|Your name?|Ann 256|&Ok &Cancel"},
        {__LINE__, "AskLine(\"Who\", \"Your name?\", \"Ann\")", "Bob Smith", -1, IDOK, "Bob Smith", 0, "Who|Your name?|Ann 256|&Ok &Cancel"},
        {__LINE__, "AskLine(\"Who\", \"Your name?\", \"Ann\")", "", -1, IDOK, "", 0, "Who|Your name?|Ann 256|&Ok &Cancel"},
        {__LINE__, "AskLine(\"Who\", \"Your name?\", \"Ann\")", "Bob", -1, IDCANCEL, "0", 9999, "Who|Your name?|Ann 256|&Ok &Cancel"},
        {__LINE__, "AskLine(\"T\", \"P\", StrFill(\"d\", 300))", nullptr, -1, IDOK, d256, 0, "T|P|" + d256 + " 256|&Ok &Cancel"},
        {__LINE__, "AskPassword(\"Key\", \"Password?\")", "s3cret", -1, IDOK, "s3cret", 0, "Key|Password?| 256*|&Ok &Cancel"},
        {__LINE__, "AskPassword(\"Key\", \"Password?\")", nullptr, -1, IDOK, "", 0, "Key|Password?| 256*|&Ok &Cancel"},
        {__LINE__, "AskPassword(\"Key\", \"Password?\")", "x", -1, IDCANCEL, "0", 9999, "Key|Password?| 256*|&Ok &Cancel"},
        {__LINE__, "ItemSelect(\"Fruit\", \"pear|apple|fig\", \"|\")", nullptr, 1, IDOK, "fig", 0, fruit},
        {__LINE__, "ItemSelect(\"Fruit\", \"pear|apple|fig\", \"|\")", nullptr, 2, CHOOSE_BY_DOUBLE_CLICK, "pear", 0, fruit},
        {__LINE__, "ItemSelect(\"Fruit\", \"pear|apple|fig\", \"|\")", nullptr, -1, IDOK, "", 0, fruit},
        {__LINE__, "ItemSelect(\"Fruit\", \"pear|apple|fig\", \"|\")", nullptr, 0, IDCANCEL, "0", 9999, fruit},
        {__LINE__, "TextSelect(\"T\", \"pear|apple||fig\", \"|\")", nullptr, 3, IDOK, "fig", 0, "T||[pear/apple//fig]|&Ok &Cancel"},
        {__LINE__, "TextSelect(\"T\", StrCat(\"a\", Num2Char(9), \"b\"), \"|\")", nullptr, 0, IDOK, "a\tb", 0, "T||[a\tb]|&Ok &Cancel"},
        {__LINE__, "TextSelect(\"T\", \"\", \"|\")", nullptr, -1, IDOK, "", 0, "T||[]|&Ok &Cancel"},
        {__LINE__, "TextSelect(\"T\", \"x\", \"|\")", nullptr, 0, IDCANCEL, "0", 9999, "T||[x]|&Ok &Cancel"},
        {__LINE__, "TextBox(\"File\", \"" + f + "\")", nullptr, 0, IDOK, "pear", 0, file},
        {__LINE__, "TextBoxSort(\"File\", \"" + f + "\")", nullptr, 3, CHOOSE_BY_DOUBLE_CLICK, "pear", 0, "File||[/apple/fig/pear]|&Ok &Cancel"},
        {__LINE__, "TextBox(\"File\", \"" + f + "\")", nullptr, 1, IDCANCEL, "0", 9999, file},
        {__LINE__, "TextBox(\"Gone\", \"" + missing + "\")", nullptr, 0, IDOK, "Error opening/finding file:", 0,
         "Gone||[Error opening/finding file:/" + missing + "]|&Ok &Cancel"},
        {__LINE__, "StrCat(IntControl(40, \"1\", \"\", \"\", \"\"), TextSelect(\"T\", \"x\", \"|\"))", nullptr, 0, IDOK, "0x", 0,
         "T||[x]|&Ok &Cancel"},
        {__LINE__, "StrCat(IntControl(40, \"0\", \"\", \"\", \"\"), TextBox(\"File\", \"" + f + "\"))", nullptr, 0, IDOK, "1pear", 0, file},
    };
    int cw = host.lock()->font_width, ch = host.lock()->font_height;
    host.unlock();
    host.unlock();
    HWND owner = test_window("TslBoxOwner", DefWindowProcA, "owner", WS_OVERLAPPEDWINDOW, 200, 100);
    for (auto& r : rows) {
        if (lists != (r.call.find("Select") != std::string::npos || r.call.find("Text") != std::string::npos)) continue;
        SCOPED_TRACE(r.line);
        std::string saw, placed;
        auto templ = kTemplates.end();
        for (auto t = kTemplates.begin(); t != kTemplates.end(); ++t)
            if (r.call.find(t->first) != std::string::npos) templ = t;   // the function names its template
        User user([&](const SeenBox& b) {
            saw = shown(b);
            if (templ != kTemplates.end())
                placed = misplaced(b.window, templ->second, r.call.find("IntControl(40, \"1\"") != std::string::npos, cw, ch);
            if (r.type) SetDlgItemTextA(b.window, BOX_ANSWER, r.type);
            HWND list = GetDlgItem(b.window, BOX_LIST);
            if (r.select >= 0) SendMessageA(list, LB_SETCURSEL, r.select, 0);
            if (r.press != CHOOSE_BY_DOUBLE_CLICK) return r.press;
            PostMessageA(b.window, WM_COMMAND, MAKEWPARAM(BOX_LIST, LBN_DBLCLK), (LPARAM)list);
            return -1;
        });
        EXPECT_EQ(r.result, ask(r.call, user, r.error, owner));
        EXPECT_EQ(owner, only(user).owner);
        EXPECT_EQ(r.shown, saw);
        EXPECT_EQ("", placed);
    }
    DestroyWindow(owner);
}
TEST_F(Boxes, StandardBoxesAnsweredByTheUser) { answer_rows(false); }
TEST_F(Boxes, ListBoxesAnsweredByTheUser) { answer_rows(true); }

// ButtonNames name the buttons of the next OK/Cancel box only (a list box
// too); an empty name keeps the default; the platform boxes neither use nor
// clear them; a new run starts with none.
TEST_F(Boxes, ButtonNamesForTheNextBoxOnly) {
    struct { int line; std::vector<std::string> runs, shown; } rows[] = {
        {__LINE__, {"ButtonNames(\"&Go\", \"\")\r\nAskLine(\"a\", \"b\", \"c\")\r\nAskLine(\"a\", \"b\", \"c\")\r\n"},
         {"a|b|c 256|&Go &Cancel", "a|b|c 256|&Ok &Cancel"}},
        {__LINE__, {"ButtonNames(\"Yes\", \"No way\")\r\nMessage(\"m\", \"m\")\r\nAskPassword(\"a\", \"b\")\r\n"},
         {"m|m|no cancel", "a|b| 256*|Yes No way"}},
        {__LINE__, {"ButtonNames(\"1234567890123456789012345678\", \"x\")\r\nAskLine(\"a\", \"b\", \"c\")\r\n"},
         {"a|b|c 256|123456789012345678901234 x"}},
        {__LINE__, {"ButtonNames(\"Left\", \"Right\")\r\n", "AskLine(\"a\", \"b\", \"c\")\r\n"}, {"a|b|c 256|&Ok &Cancel"}},
        {__LINE__, {"ButtonNames(\"Pick\", \"\")\r\nTextSelect(\"a\", \"b\", \"|\")\r\n"}, {"a||[b]|Pick &Cancel"}},
    };
    for (auto& r : rows) {
        std::vector<std::string> saw;
        User user([&](const SeenBox& b) { saw.push_back(shown(b)); return IDOK; });
        for (auto& script : r.runs) host.run(script);
        user.finish();
        EXPECT_EQ(r.shown, saw) << "row at line " << r.line;
    }
}

// No room in a small string heap for the answer: the box, then the report of 3096.
TEST_F(Boxes, AnswerWithTheHeapFull) {
    struct { int line; int heap; std::string script, shown; } rows[] = {
        {__LINE__, 1000, "fill = StrFill(\"x\", 400)\r\nr = AskLine(\"t\", \"p\", \"\")\r\n", "t|p| 256|&Ok &Cancel"},
        {__LINE__, 1000, "item = StrFill(\"x\", 250)\r\nfill = StrFill(\"y\", 200)\r\nr = TextSelect(\"t\", item, \"|\")\r\n",
         "t||[" + std::string(250, 'x') + "]|&Ok &Cancel"},
    };
    for (auto& r : rows) {
        HostContext small(&g_dll, "tslhosttest", "test host", 2000, r.heap);
        small.lock()->sounds = 0;
        small.unlock();
        std::vector<std::string> saw;
        User user([&](const SeenBox& b) {
            saw.push_back(shown(b));
            SetDlgItemTextA(b.window, BOX_ANSWER, std::string(250, 'a').c_str());
            SendDlgItemMessageA(b.window, BOX_LIST, LB_SETCURSEL, 0, 0);
            return IDOK;
        });
        small.run(r.script);
        user.finish();
        ASSERT_EQ(2u, saw.size()) << "row at line " << r.line;
        EXPECT_EQ(r.shown, saw[0]) << "row at line " << r.line;
        EXPECT_EQ(0u, saw[1].find("3096:")) << saw[1];
        EXPECT_EQ(3096, small.error()) << "row at line " << r.line;
        EXPECT_EQ("0", small.get("r")) << "row at line " << r.line;   // what a failed assignment leaves
    }
}

// Display: seconds below 1 become 2 (deliberately), above 3600 are 3600, run
// in slices of 30 s; dismissed (1) or timed out (0); owned by the host
// window's parent; sized by its text and title (lines = 1 + line feeds;
// width = the longest run between carriage returns, a line feed counting,
// or the title, plus six characters) and centred. Short times only.
TEST_F(Boxes, DisplayTimesOutOrIsDismissed) {
    struct { int line; int seconds; const char* title; const char* text; int press; const char* result;
             DWORD min_ms, max_ms; int left_after_first_slice, longest, lines; } rows[] = {
        // Times from when the user saw the box (the user thread notices it up to ~100 ms late).
        {__LINE__, 1, "T", "abc", -1, "0", 700, 1400, 0, 3, 1},
        {__LINE__, 0, "A much longer title", "abc", -1, "0", 1500, 2600, 0, 19, 1},
        {__LINE__, -5, "T", "ab\\r\\nabcdef", -1, "0", 1500, 2600, 0, 7, 2},   // CR LF: one more than it shows
        {__LINE__, 60, "T", "abcd\\rab", IDOK, "1", 0, 600, 30000, 4, 1},        // Enter (the hidden default button)
        {__LINE__, 60, "T", "ab\\ncd\\nef", IDCANCEL, "1", 0, 600, 30000, 8, 3},  // LF alone never ends a run
        {__LINE__, 5000, "Note", "x", IDOK, "1", 0, 600, 3600000 - 30000, 4, 1},
        {__LINE__, 45, "Note", "x", IDOK, "1", 0, 600, 15000, 4, 1},
        {__LINE__, 20, "Note", "x", IDOK, "1", 0, 600, 0, 4, 1},
    };
    HDC ic = CreateICA("DISPLAY", NULL, NULL, NULL);
    TEXTMETRICA tm;
    GetTextMetricsA(ic, &tm);
    DeleteDC(ic);
    HWND parent = test_window("TslBoxParent", DefWindowProcA, "parent", WS_OVERLAPPEDWINDOW, 300, 200);
    HWND owner = CreateWindowA("Static", "child", WS_CHILD, 0, 0, 10, 10, parent, NULL, NULL, NULL);
    for (auto& r : rows) {
        SCOPED_TRACE(r.line);
        DWORD took = 0;
        int left = -1;
        RECT got = {};
        User user([&](const SeenBox& b) {
            DWORD seen_at = GetTickCount();
            left = host.lock()->box.display_left;
            host.unlock();
            GetWindowRect(b.window, &got);
            if (r.press >= 0) PostMessageA(b.window, WM_COMMAND, r.press, 0);
            while (IsWindow(b.window) && IsWindowVisible(b.window) && GetTickCount() - seen_at < 10000) Sleep(10);
            took = GetTickCount() - seen_at;
            return -1;
        });
        std::string text = r.text;
        for (size_t p; (p = text.find("\\r")) != std::string::npos;) text.replace(p, 2, "\", Num2Char(13), \"");
        for (size_t p; (p = text.find("\\n")) != std::string::npos;) text.replace(p, 2, "\", Num2Char(10), \"");
        EXPECT_EQ(r.result, ask("Display(" + std::to_string(r.seconds) + ", \"" + r.title + "\", StrCat(\"" + text + "\"))",
                                user, 0, owner));
        EXPECT_LE(r.min_ms, took);
        EXPECT_GE(r.max_ms, took);
        EXPECT_EQ(r.left_after_first_slice, left);
        SeenBox b = only(user);
        EXPECT_EQ(std::string(r.title) + " " + hwnd_text(parent), b.caption + " " + hwnd_text(b.owner));
        int want_w = tm.tmAveCharWidth * (r.longest + 6) + 2 * GetSystemMetrics(SM_CXBORDER);
        int want_h = (tm.tmHeight + tm.tmExternalLeading) * (r.lines + 2) + 2 * GetSystemMetrics(SM_CYBORDER) +
                     GetSystemMetrics(SM_CYCAPTION);
        int left_edge = (GetSystemMetrics(SM_CXSCREEN) - want_w) / 2;   // centred
        EXPECT_EQ(rect_text({left_edge, 0, left_edge + want_w, want_h}),
                  rect_text({got.left, 0, got.right, got.bottom - got.top}));
    }
    DestroyWindow(parent);
}

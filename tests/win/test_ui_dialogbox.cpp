// DialogBox: dialogs described in variables, built as real windows of the
// class ts0wcdl2 and played by the user thread; the numbered errors; the
// ending's stores; file lists in a temporary directory; 50 controls.
#include "window_thread.h"

class DialogBoxTest : public ScriptTest {
protected:
    void SetUp() override { ScriptTest::SetUp(); g_dll.console(0); }
    // The window variables of dialog `d` and its controls, one definition each.
    static std::string describe(const std::vector<std::string>& controls, const std::string& d = "d") {
        std::string s = d + "Format = \"TSLDLGED,4.0\"\r\n" + d + "Caption = \"Test dialog\"\r\n" + d + "X = 10\r\n" + d +
                        "Y = 20\r\n" + d + "Width = 200\r\n" + d + "Height = 100\r\n" + d + "NumControls = " +
                        std::to_string(controls.size()) + "\r\n";
        for (size_t i = 0; i < controls.size(); i++)
            s += d + (i < 9 ? "0" : "") + std::to_string(i + 1) + " = '" + controls[i] + "'\r\n";
        return s;
    }
    // Runs the setup and "r = DialogBox("d", "")"; the user plays the dialog.
    std::string run_dialog(const std::string& setup, std::function<int(const SeenBox&)> play, std::vector<SeenBox>* seen = nullptr) {
        User user(play, "ts0wcdl2");
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "r", (LPARAM) "<none>");
        host.run(setup + "r = DialogBox(\"d\", \"\")\r\n");
        user.finish();
        if (seen) *seen = user.seen();
        return host.get("r");
    }
};

static const std::vector<std::string> kOrder = {
    "8, 6, 100, 10, STATICTEXT, , \"Name:\"",
    "8, 18, 120, 12, EDITBOX, name, \"\"",
    "8, 34, 60, 12, RADIOBUTTON, size, \"Small\", 1",
    "70, 34, 60, 12, RADIOBUTTON, size, \"Large\", 2",
    "8, 50, 60, 12, CHECKBOX, extras, \"Milk\", 1",
    "70, 50, 60, 12, CHECKBOX, extras, \"Sugar\", 2",
    "20, 70, 50, 14, PUSHBUTTON, , DEFAULT, 1",
    "100, 70, 50, 14, PUSHBUTTON, , DEFAULT, 0",
    "150, 70, 40, 14, PUSHBUTTON, , \"Later\", 7",
};
// Control ids of kOrder: 100 + index, OK and Cancel excepted.
enum { NAME_EDIT = 101, SMALL = 102, LARGE = 103, MILK = 104, SUGAR = 105, LATER = 108 };

static void click(HWND dlg, int id) { SendMessageA(dlg, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), (LPARAM)GetDlgItem(dlg, id)); }

// The numbered errors: 3218..3221 directly, a bad control definition as 3104
// (a missing one too: the script test boxes/dialogbox).
TEST_F(DialogBoxTest, DefinitionErrors) {
    std::string good = describe({"1,1,20,10,STATICTEXT,,x"});
    struct { int line; std::string setup; long error; } rows[] = {
        {__LINE__, good + "DialogBox(\"d2345678901234567\", \"\")\r\n", 3218},   // 17 characters
        {__LINE__, good + describe({"1,1,20,10,STATICTEXT,,x"}, "d234567890123456") + "DialogBox(\"d234567890123456\", \"\")\r\n", 0},
        {__LINE__, good + "DialogBox(\"nothing\", \"\")\r\n", 3219},
        {__LINE__, good + "dFormat = \"TSLDLGED,3.0\"\r\n", 3220},
        {__LINE__, good + "Drop(dx)\r\n", 3221},
        {__LINE__, good + "dY = \"top\"\r\n", 3221},
        {__LINE__, good + "Drop(dwidth)\r\n", 3221},
        {__LINE__, good + "dHeight = \"\"\r\n", 3221},
        {__LINE__, describe({"1,1,20,10,LABEL,,x"}), 3104},   // 3223 (each field error: the native DialogFields tests)
        {__LINE__, good + "dFormat = \"tsldlged,4.0\"\r\n", 0},       // any case
        {__LINE__, good + "Drop(dcaption)\r\n", 0},
    };
    g_dll.console(1);   // no window is shown; reports go to standard error
    StderrCapture err;
    for (auto& r : rows) {
        host.run(r.setup + "DialogBox(\"d\", \"\")\r\n");
        EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
    }
}

// What the dialog shows when it opens (initial states, captions, focus, the
// window and its controls placed in dialog units, only the file list taking
// its height); buttons, radio groups, check boxes and edit fields pressed by
// the user; the result and what the ending stored (any button but Cancel
// stores): a check box adds its value to the variable, an unchecked one
// empties it (0).
TEST_F(DialogBoxTest, OpeningButtonsAndTheEnding) {
    std::vector<std::string> controls = kOrder;
    controls.push_back("8, 86, 60, 40, FILELISTBOX, files, \"\"");
    std::string setup = "ButtonNames(\"\", \"Stop\")\r\nname = \"Ann\"\r\nsize = 1\r\nextras = 2\r\nfiles = \"*.none\"\r\n" +
                        describe(controls);
    LONG base = GetDialogBaseUnits();
    int bw = LOWORD(base), bh = HIWORD(base), cap = GetSystemMetrics(SM_CYCAPTION);
    std::string placed = "|" +
                          rect_text({10 * bw / 4, 20 * bh / 8 - cap, 10 * bw / 4 + 200 * bw / 4, 20 * bh / 8 + 100 * bh / 8}) + "|" +
                          rect_text({8 * bw / 4, 18 * bh / 8, 8 * bw / 4 + 120 * bw / 4, 18 * bh / 8 + bh * 3 / 2}) + "|" +
                          std::to_string(40 * bh / 8);
    struct { int line; std::function<void(HWND)> act; int press; std::string result; long error; std::string name,
             size, extras; } rows[] = {
        {__LINE__, [](HWND) {}, IDOK, "1", 0, "Ann", "1", "2"},   // Milk unchecked: 0; then Sugar: 0 | 2
        {__LINE__, [](HWND d) { SetDlgItemTextA(d, NAME_EDIT, "Bob"); click(d, LARGE); }, IDOK, "1", 0, "Bob", "2", "2"},
        {__LINE__, [](HWND d) { click(d, MILK); }, IDOK, "1", 0, "Ann", "1", "3"},   // 2 | 1, then 3 | 2
        {__LINE__, [](HWND d) { click(d, SUGAR); }, IDOK, "1", 0, "Ann", "1", "0"},
        {__LINE__, [](HWND d) { click(d, MILK); click(d, SUGAR); }, IDOK, "1", 0, "Ann", "1", "0"},   // Milk: 2 | 1; then 0
        {__LINE__, [](HWND d) { click(d, SUGAR); click(d, SUGAR); click(d, LARGE); }, LATER, "7", 0, "Ann", "2", "2"},   // stores too
        {__LINE__, [](HWND d) { SetDlgItemTextA(d, NAME_EDIT, "Bob"); click(d, LARGE); }, IDCANCEL, "0", 9999, "Ann", "1", "2"},
    };
    for (auto& r : rows) {
        std::vector<SeenBox> seen;
        std::string shown;
        std::string got = run_dialog(setup, [&](const SeenBox& b) {
            HWND d = b.window, edit = GetDlgItem(d, NAME_EDIT);
            for (int id : {SMALL, LARGE, MILK, SUGAR}) shown += std::to_string(SendDlgItemMessageA(d, id, BM_GETCHECK, 0, 0)) + " ";
            auto focused = [&] {   // the focus comes a moment after the window: waited for (in a fresh process:
                                   // a dialog of an earlier row still closing can keep the activation)
                GUITHREADINFO gi = {};
                gi.cbSize = sizeof gi;
                return GetGUIThreadInfo(GetWindowThreadProcessId(d, NULL), &gi) && gi.hwndFocus == edit;
            };
            RECT e = window_rect(edit), list = window_rect(GetDlgItem(d, 109));
            MapWindowPoints(NULL, d, (POINT*)&e, 2);
            shown.back() = '|';
            shown += b.items.at(NAME_EDIT) + "|" + b.items.at(IDOK) + "|" + b.items.at(IDCANCEL) + "|" + b.items.at(LATER) +
                     (&r != rows ? "" : wait_for(focused, 2000) ? "|focus" : "|no focus") + "|" + rect_text(window_rect(d)) + "|" + rect_text(e) + "|" +
                     std::to_string(list.bottom - list.top);
            r.act(d);
            return r.press;
        }, &seen);
        std::string opening = std::string("1 0 0 1|Ann|&Ok|Stop|Later") + (&r != rows ? "" : "|focus") + placed;
        EXPECT_EQ(std::make_tuple(r.result, r.error, r.name, r.size, r.extras, (size_t)1, opening),
                  std::make_tuple(got, host.error(), host.get("name"), host.get("size"), host.get("extras"), seen.size(), shown))
            << "row at line " << r.line;
        EXPECT_EQ("Test dialog", seen.empty() ? "" : seen[0].caption);
    }
}

// A file list with its varying text and edit box: the directory shown, a
// file chosen, a directory entered, a new mask, nothing chosen.
TEST_F(DialogBoxTest, FileListGroup) {
    TempDir dir("tsldlgfiles");
    write_file(dir.at("a.txt"), "a");
    write_file(dir.at("b.log"), "b");
    CreateDirectoryA(dir.at("sub").c_str(), NULL);
    write_file(dir.at("sub\\c.txt"), "c");
    auto group = [](bool with_edit) {
        std::vector<std::string> c = {"8, 4, 150, 10, VARYTEXT, f, \"\"", "8, 16, 100, 60, FILELISTBOX, f, \"\"",
                                      "120, 80, 40, 14, PUSHBUTTON, , OK, 1", "160, 80, 40, 14, PUSHBUTTON, , Cancel, 0"};
        if (with_edit) c.push_back("8, 80, 100, 12, EDITBOX, f, \"\"");
        return describe(c);
    };
    enum { VARY = 100, LIST = 101, EDIT = 104 };
    auto select = [](HWND d, const char* entry, WORD how) {
        HWND list = GetDlgItem(d, LIST);
        SendMessageA(list, LB_SETCURSEL, SendMessageA(list, LB_FINDSTRINGEXACT, (WPARAM)-1, (LPARAM)entry), 0);
        SendMessageA(d, WM_COMMAND, MAKEWPARAM(LIST, how), (LPARAM)list);
    };
    auto text = [](HWND d, int id) { char t[MAX_PATH] = ""; GetDlgItemTextA(d, id, t, sizeof t); return std::string(t); };
    auto list_of = [](HWND d) {   // in the list's own order; drives differ between machines: left out
        std::string l;
        char t[MAX_PATH];
        for (int i = 0; SendDlgItemMessageA(d, LIST, LB_GETTEXT, i, (LPARAM)t) != LB_ERR; i++)
            if (t[0] != '[' || t[1] != '-') l += (l.empty() ? "" : " ") + std::string(t);
        return l;
    };
    std::string mask = "f = \"" + dir.at("*.txt") + "\"\r\n";
    struct { int line; std::string setup; std::function<std::string(HWND)> act; std::string stored, notes; } rows[] = {
        {__LINE__, mask + group(true), [&](HWND d) {   // the mask as listed, then the file chosen
             std::string n = list_of(d) + "|" + text(d, EDIT);
             select(d, "a.txt", LBN_SELCHANGE);
             return n + "|" + text(d, EDIT);
         }, "a.txt", "a.txt [..] [sub]|*.TXT|a.txt"},
        {__LINE__, mask + group(true), [&](HWND d) {
             select(d, "[sub]", LBN_DBLCLK);
             std::string n = list_of(d);
             select(d, "c.txt", LBN_SELCHANGE);
             return n;
         }, "c.txt", "c.txt [..]"},
        {__LINE__, mask + group(true), [&](HWND d) {
             SetDlgItemTextA(d, EDIT, "*.log");
             click(d, IDOK);   // a mask: the list changes, the dialog stays
             SetDlgItemTextA(d, EDIT, "b.log");
             return list_of(d);
         }, "b.log", "b.log [..] [sub]"},
        {__LINE__, mask + group(false), [](HWND) { return std::string(); }, "NOFILESELECTED", ""},
        {__LINE__, mask + group(false), [&](HWND d) { select(d, "a.txt", LBN_SELCHANGE); return std::string(); }, "a.txt", ""},
        {__LINE__, mask + "IntControl(41, \"1\", \"\", \"\", \"\")\r\n" + group(false), [&](HWND d) {
             click(d, IDOK);   // no file chosen: the dialog stays open
             std::string n = IsWindow(d) ? "open" : "closed";
             select(d, "a.txt", LBN_SELCHANGE);
             return n;
         }, "a.txt", "open"},
    };
    for (auto& r : rows) {
        std::string notes, vary;
        std::string got = run_dialog(r.setup, [&](const SeenBox& b) {
            notes = r.act(b.window);
            vary = text(b.window, VARY);
            return IDOK;
        });
        host.run("IntControl(41, \"0\", \"\", \"\", \"\")\r\n");
        EXPECT_EQ(std::make_tuple(std::string("1"), 0L, r.stored, r.notes), std::make_tuple(got, host.error(), host.get("f"), notes))
            << "row at line " << r.line;
        EXPECT_FALSE(vary.empty()) << "row at line " << r.line;   // the varying text shows the directory
    }
}

// Fifty controls with over-long texts: the dialog opens, every control is
// there, and the ending stores each edit field cut to 256 characters.
TEST_F(DialogBoxTest, FiftyControlsWithOverlongTexts) {
    std::string setup = "long = StrFill(\"y\", 400)\r\n" + describe({}) + "dNumControls = 55\r\n";
    for (int i = 1; i <= 50; i++) {
        char n[8];
        snprintf(n, sizeof n, "%02d", i);
        setup += std::string("v") + n + " = long\r\n";
        setup += std::string("d") + n + " = StrCat('" + std::to_string(i % 10 * 18) + "," + std::to_string(i / 10 * 14) +
                 ",16,12,EDITBOX,v" + n + ",\"', StrFill(\"x\", 240), StrFill(\"z\", 200), '\"')\r\n";
    }
    int children = 0;
    std::string got = run_dialog(setup, [&](const SeenBox& b) {
        for (HWND c = GetWindow(b.window, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) children++;
        return IDOK;
    });
    EXPECT_EQ("1", got);
    EXPECT_EQ(0, host.error());
    EXPECT_EQ(50, children);
    EXPECT_EQ(std::string(256, 'y'), host.get("v01"));
    EXPECT_EQ(std::string(256, 'y'), host.get("v50"));
}

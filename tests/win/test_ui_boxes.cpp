// The standard boxes as a user meets them: Message, Pause, AskYesNo,
// AskLine, AskPassword, ButtonNames and Display, each a real box pressed
// by the user thread; results, errors, captions and the templates' layout.
#include "host_harness.h"
#include "resources/dialogs/box_ids.h"

class Boxes : public DllTest {
protected:
    HostContext host;
    void SetUp() override { host.lock()->sounds = 0; host.unlock(); }
    // Runs "r = <call>" and gives r (a failed call leaves the integer 0 there).
    std::string ask(const std::string& call, User& user, HWND owner = NULL) {
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "r", (LPARAM) "<none>");
        host.run("r = " + call + "\r\n", HostContext::echo_proc, HostContext::kEcho, owner);
        user.finish();
        return host.get("r");
    }
};

static std::string repeat(char c, size_t n) { return std::string(n, c); }

// The three platform boxes: buttons, icon, outcome; Cancel stops with 9999.
TEST_F(Boxes, PlatformBoxesAnswerByButton) {
    struct { int line; const char* call; int button; const char* result; long error; bool cancel; } rows[] = {
        {__LINE__, "Message(\"Cap\", \"Body\")", IDOK, "1", 0, false},
        {__LINE__, "Pause(\"Cap\", \"Body\")", IDOK, "1", 0, true},
        {__LINE__, "Pause(\"Cap\", \"Body\")", IDCANCEL, "0", 9999, true},
        {__LINE__, "AskYesNo(\"Cap\", \"Body\")", IDYES, "1", 0, true},
        {__LINE__, "AskYesNo(\"Cap\", \"Body\")", IDNO, "0", 0, true},
        {__LINE__, "AskYesNo(\"Cap\", \"Body\")", IDCANCEL, "0", 9999, true},
    };
    HWND owner = test_window("TslBoxOwner", DefWindowProcA, "owner", WS_OVERLAPPEDWINDOW, 200, 100);
    for (auto& r : rows) {
        User user({r.button});
        EXPECT_EQ(r.result, ask(r.call, user, owner)) << "row at line " << r.line;
        EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
        auto seen = user.seen();
        ASSERT_EQ(1u, seen.size()) << "row at line " << r.line;
        EXPECT_EQ("Cap", seen[0].caption) << "row at line " << r.line;
        EXPECT_EQ("Body", seen[0].text) << "row at line " << r.line;
        EXPECT_EQ(r.cancel, seen[0].cancel) << "row at line " << r.line;
        EXPECT_EQ(owner, seen[0].owner) << "row at line " << r.line;
        EXPECT_EQ(r.cancel, seen[0].icon != NULL) << "row at line " << r.line;   // Message has no icon
    }
    DestroyWindow(owner);
}

// AskLine and AskPassword: what the box shows, what the user types, what comes back.
TEST_F(Boxes, AskLineAndAskPassword) {
    struct { int line; std::string call; const char* type; int button; std::string result; long error;
             std::string caption, prompt, shown; } rows[] = {
        {__LINE__, "AskLine(\"Who\", \"Your name?\", \"Ann\")", nullptr, IDOK, "Ann", 0, "Who", "Your name?", "Ann"},
        {__LINE__, "AskLine(\"Who\", \"Your name?\", \"Ann\")", "Bob Smith", IDOK, "Bob Smith", 0, "Who", "Your name?", "Ann"},
        {__LINE__, "AskLine(\"Who\", \"Your name?\", \"Ann\")", "", IDOK, "", 0, "Who", "Your name?", "Ann"},
        {__LINE__, "AskLine(\"Who\", \"Your name?\", \"Ann\")", "Bob", IDCANCEL, "0", 9999, "Who", "Your name?", "Ann"},
        {__LINE__, "AskLine(\"T\", \"P\", StrFill(\"d\", 300))", nullptr, IDOK, repeat('d', 256), 0, "T", "P", repeat('d', 256)},
        {__LINE__, "AskPassword(\"Key\", \"Password?\")", "s3cret", IDOK, "s3cret", 0, "Key", "Password?", ""},
        {__LINE__, "AskPassword(\"Key\", \"Password?\")", nullptr, IDOK, "", 0, "Key", "Password?", ""},
        {__LINE__, "AskPassword(\"Key\", \"Password?\")", "x", IDCANCEL, "0", 9999, "Key", "Password?", ""},
    };
    for (auto& r : rows) {
        LONG style = 0;
        LRESULT limit = 0;
        User user([&](const SeenBox& b) {
            HWND edit = GetDlgItem(b.window, BOX_ANSWER);
            style = GetWindowLongA(edit, GWL_STYLE);
            limit = SendMessageA(edit, EM_GETLIMITTEXT, 0, 0);
            if (r.type) SetWindowTextA(edit, r.type);
            return r.button;
        });
        EXPECT_EQ(r.result, ask(r.call, user)) << "row at line " << r.line;
        EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
        auto seen = user.seen();
        ASSERT_EQ(1u, seen.size()) << "row at line " << r.line;
        EXPECT_EQ(r.caption, seen[0].caption) << "row at line " << r.line;
        EXPECT_EQ(r.prompt, seen[0].items[BOX_PROMPT]) << "row at line " << r.line;
        EXPECT_EQ(r.shown, seen[0].items[BOX_ANSWER]) << "row at line " << r.line;
        EXPECT_EQ("&Ok", seen[0].items[IDOK]) << "row at line " << r.line;
        EXPECT_EQ("&Cancel", seen[0].items[IDCANCEL]) << "row at line " << r.line;
        EXPECT_EQ(r.call[3] == 'P', (style & ES_PASSWORD) != 0) << "row at line " << r.line;
        EXPECT_EQ(256, limit) << "row at line " << r.line;
    }
}

// ButtonNames name the buttons of the next OK/Cancel box only; an empty name
// keeps the default; the platform boxes neither use nor clear them; a new run
// starts with none.
TEST_F(Boxes, ButtonNamesForTheNextBoxOnly) {
    struct { int line; std::vector<std::string> runs; std::vector<std::pair<std::string, std::string>> captions; } rows[] = {
        {__LINE__, {"ButtonNames(\"&Go\", \"\")\r\nAskLine(\"a\", \"b\", \"c\")\r\nAskLine(\"a\", \"b\", \"c\")\r\n"},
         {{"&Go", "&Cancel"}, {"&Ok", "&Cancel"}}},
        {__LINE__, {"ButtonNames(\"Yes\", \"No way\")\r\nMessage(\"m\", \"m\")\r\nAskPassword(\"a\", \"b\")\r\n"},
         {{"", ""}, {"Yes", "No way"}}},
        {__LINE__, {"ButtonNames(\"1234567890123456789012345678\", \"x\")\r\nAskLine(\"a\", \"b\", \"c\")\r\n"},
         {{"123456789012345678901234", "x"}}},
        {__LINE__, {"ButtonNames(\"Left\", \"Right\")\r\n", "AskLine(\"a\", \"b\", \"c\")\r\n"}, {{"&Ok", "&Cancel"}}},
    };
    for (auto& r : rows) {
        User user({IDOK});
        for (auto& script : r.runs) host.run(script);
        user.finish();
        auto seen = user.seen();
        ASSERT_EQ(r.captions.size(), seen.size()) << "row at line " << r.line;
        for (size_t i = 0; i < seen.size(); i++) {
            if (r.captions[i].first.empty()) continue;   // a message box: its own captions
            EXPECT_EQ(r.captions[i].first, seen[i].items[IDOK]) << "row at line " << r.line << ", box " << i;
            EXPECT_EQ(r.captions[i].second, seen[i].items[IDCANCEL]) << "row at line " << r.line << ", box " << i;
        }
    }
}

// The templates as created: the client area and every control in dialog units.
TEST_F(Boxes, TemplateGeometryFromTheRealWindow) {
    struct Rect { int x, y, w, h; };
    struct { int line; const char* call; Rect client; std::map<int, Rect> controls; std::vector<Rect> bars; } rows[] = {
        {__LINE__, "AskLine(\"a\", \"b\", \"c\")", {0, 0, 175, 82},
         {{BOX_PROMPT, {5, 7, 164, 32}}, {BOX_ANSWER, {5, 41, 164, 12}}, {IDOK, {15, 65, 60, 14}}, {IDCANCEL, {101, 65, 60, 14}}},
         {{8, 53, 163, 2}, {169, 44, 2, 9}}},
        {__LINE__, "AskPassword(\"a\", \"b\")", {0, 0, 175, 58},
         {{BOX_PROMPT, {5, 7, 164, 8}}, {BOX_ANSWER, {5, 17, 164, 12}}, {IDOK, {15, 41, 60, 14}}, {IDCANCEL, {101, 41, 60, 14}}},
         {{8, 29, 163, 2}, {169, 20, 2, 9}}},
    };
    auto to_pixels = [](HWND dlg, Rect u) {
        RECT r = {u.x, u.y, u.w, u.h};   // position and size map separately, as the dialog manager does
        MapDialogRect(dlg, &r);
        return RECT{r.left, r.top, r.left + r.right, r.top + r.bottom};
    };
    auto child_rect = [](HWND dlg, HWND child) {
        RECT r;
        GetWindowRect(child, &r);
        MapWindowPoints(NULL, dlg, (POINT*)&r, 2);
        return r;
    };
    for (auto& row : rows) {
        std::vector<std::string> failures;
        auto check = [&](const char* what, RECT want, RECT got) {
            if (!EqualRect(&want, &got))
                failures.push_back(std::string(what) + ": want " + std::to_string(want.left) + "," + std::to_string(want.top) +
                                   " " + std::to_string(want.right) + "," + std::to_string(want.bottom) + " got " +
                                   std::to_string(got.left) + "," + std::to_string(got.top) + " " +
                                   std::to_string(got.right) + "," + std::to_string(got.bottom));
        };
        User user([&](const SeenBox& b) {
            RECT client;
            GetClientRect(b.window, &client);
            check("client", to_pixels(b.window, row.client), client);
            for (auto& c : row.controls) check(std::to_string(c.first).c_str(), to_pixels(b.window, c.second),
                                               child_rect(b.window, GetDlgItem(b.window, c.first)));
            std::vector<HWND> bars;
            for (HWND c = GetWindow(b.window, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
                if ((GetWindowLongA(c, GWL_STYLE) & SS_TYPEMASK) == SS_BLACKRECT) bars.push_back(c);
            if (bars.size() != row.bars.size()) failures.push_back("bars: " + std::to_string(bars.size()));
            for (size_t i = 0; i < bars.size() && i < row.bars.size(); i++)
                check("bar", to_pixels(b.window, row.bars[i]), child_rect(b.window, bars[i]));
            LONG style = GetWindowLongA(b.window, GWL_STYLE);
            if ((style & (WS_POPUP | WS_CAPTION)) != (WS_POPUP | WS_CAPTION)) failures.push_back("style");
            return IDOK;
        });
        ask(row.call, user);
        ASSERT_EQ(1u, user.seen().size()) << "row at line " << row.line;
        EXPECT_EQ(std::vector<std::string>{}, failures) << "row at line " << row.line;
    }
}

// A full string heap: the answer cannot be stored (3096).
TEST_F(Boxes, AnswerWithTheHeapFull) {
    HostContext small(&g_dll, "tslhosttest", "test host", 2000, 600);
    small.lock()->sounds = 0;
    small.unlock();
    User user([](const SeenBox& b) { SetDlgItemTextA(b.window, BOX_ANSWER, std::string(200, 'a').c_str()); return IDOK; });
    small.run("ErrorMode(@off)\r\nfill = StrFill(\"x\", 400)\r\nr = AskLine(\"t\", \"p\", \"\")\r\n");
    user.finish();
    EXPECT_EQ(1u, user.seen().size());
    EXPECT_EQ(3096, small.error());
    EXPECT_EQ("<undefined>", small.get("r"));
}

// Display: clamped seconds, dismissed (1) or timed out (0), owned by the host
// window's parent, sized by its text and title. Short times only.
TEST_F(Boxes, DisplayTimesOutOrIsDismissed) {
    struct { int line; int seconds; int press; const char* result; DWORD min_ms, max_ms; } rows[] = {
        // Times from when the user saw the box (the user thread notices it up to ~100 ms late).
        {__LINE__, 1, -1, "0", 700, 1400},
        {__LINE__, 0, -1, "0", 1500, 2600},    // below 1 becomes 2, deliberately
        {__LINE__, -5, -1, "0", 1500, 2600},
        {__LINE__, 60, IDOK, "1", 0, 600},   // Enter (the hidden default button)
        {__LINE__, 60, IDCANCEL, "1", 0, 600},
    };
    HWND parent = test_window("TslBoxParent", DefWindowProcA, "parent", WS_OVERLAPPEDWINDOW, 300, 200);
    HWND owner = CreateWindowA("Static", "child", WS_CHILD, 0, 0, 10, 10, parent, NULL, NULL, NULL);
    for (auto& r : rows) {
        DWORD took = 0;
        User user([&](const SeenBox& b) {
            DWORD seen_at = GetTickCount();
            if (r.press >= 0) PostMessageA(b.window, WM_COMMAND, r.press, 0);
            while (IsWindow(b.window) && IsWindowVisible(b.window) && GetTickCount() - seen_at < 10000) Sleep(10);
            took = GetTickCount() - seen_at;
            return -1;
        });
        std::string got = ask("Display(" + std::to_string(r.seconds) + ", \"Note\", \"Hello\")", user, owner);
        EXPECT_EQ(r.result, got) << "row at line " << r.line;
        EXPECT_LE(r.min_ms, took) << "row at line " << r.line;
        EXPECT_GE(r.max_ms, took) << "row at line " << r.line;
        auto seen = user.seen();
        ASSERT_EQ(1u, seen.size()) << "row at line " << r.line;
        EXPECT_EQ("Note", seen[0].caption) << "row at line " << r.line;
        EXPECT_EQ(parent, seen[0].owner) << "row at line " << r.line;
    }
    DestroyWindow(parent);
}

// Seconds above 3600 are 3600, run in slices of 30 s: the time left after the first slice.
TEST_F(Boxes, DisplayClampsToAnHourInThirtySecondSlices) {
    struct { int line; int seconds; int left_after_first_slice; } rows[] = {
        {__LINE__, 5000, 3600000 - 30000},
        {__LINE__, 45, 15000},
        {__LINE__, 20, 0},
    };
    for (auto& r : rows) {
        int left = -1;
        User user([&](const SeenBox&) { left = host.lock()->box.display_left; host.unlock(); return IDOK; });
        EXPECT_EQ("1", ask("Display(" + std::to_string(r.seconds) + ", \"t\", \"x\")", user)) << "row at line " << r.line;
        EXPECT_EQ(r.left_after_first_slice, left) << "row at line " << r.line;
    }
}

// The box's size: lines = 1 + line feeds; width = the longest run between
// carriage returns (a line feed counting) or the title, plus six characters.
TEST_F(Boxes, DisplaySizeFollowsTextAndTitle) {
    struct { int line; const char* title; const char* text; int longest, lines; } rows[] = {
        {__LINE__, "T", "abc", 3, 1},
        {__LINE__, "A much longer title", "abc", 19, 1},
        {__LINE__, "T", "ab\\r\\nabcdef", 7, 2},   // CR LF: the line measures one more than it shows
        {__LINE__, "T", "abcd\\rab", 4, 1},
        {__LINE__, "T", "ab\\ncd\\nef", 8, 3},      // LF alone never ends a run
    };
    HDC ic = CreateICA("DISPLAY", NULL, NULL, NULL);
    TEXTMETRICA tm;
    GetTextMetricsA(ic, &tm);
    DeleteDC(ic);
    for (auto& r : rows) {
        RECT got = {0, 0, 0, 0};
        User user([&](const SeenBox& b) { GetWindowRect(b.window, &got); return IDOK; });
        std::string text = r.text;
        for (size_t p; (p = text.find("\\r")) != std::string::npos;) text.replace(p, 2, "\", Num2Char(13), \"");
        for (size_t p; (p = text.find("\\n")) != std::string::npos;) text.replace(p, 2, "\", Num2Char(10), \"");
        ask("Display(30, \"" + std::string(r.title) + "\", StrCat(\"" + text + "\"))", user);
        int want_w = tm.tmAveCharWidth * (r.longest + 6) + 2 * GetSystemMetrics(SM_CXBORDER);
        int want_h = (tm.tmHeight + tm.tmExternalLeading) * (r.lines + 2) + 2 * GetSystemMetrics(SM_CYBORDER) +
                     GetSystemMetrics(SM_CYCAPTION);
        EXPECT_EQ(want_w, got.right - got.left) << "row at line " << r.line;
        EXPECT_EQ(want_h, got.bottom - got.top) << "row at line " << r.line;
        EXPECT_EQ((GetSystemMetrics(SM_CXSCREEN) - want_w) / 2, got.left) << "row at line " << r.line;   // centred
    }
}

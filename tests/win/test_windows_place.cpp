// Placing windows in virtual coordinates (0..1000 on both axes, integer
// division both ways): WinPlace with each clamping step, WinPosition,
// WinPlaceGet and WinPlaceSet with the 27981 filler, WinArrange, on the host
// window and on windows of another thread. RUN_SERIAL: WinArrange moves
// every window of the desktop.
#include "window_thread.h"

// The target takes any size it is given (no minimum of its own), so that the
// sizes the interpreter asks for are the sizes seen.
static LRESULT CALLBACK any_size(HWND w, UINT m, WPARAM wp, LPARAM lp) {
    if (m == WM_GETMINMAXINFO) ((MINMAXINFO*)lp)->ptMinTrackSize = POINT{1, 1};
    return DefWindowProcA(w, m, wp, lp);
}

class WinPlaceTest : public DllTest {
protected:
    HostContext host;
    HWND target = NULL;
    int sw = GetSystemMetrics(SM_CXSCREEN), sh = GetSystemMetrics(SM_CYSCREEN);
    int min_w = GetSystemMetrics(SM_CXMINTRACK), min_h = GetSystemMetrics(SM_CYMINTRACK);
    void SetUp() override {
        g_dll.console(1);
        target = test_window("TslWinPlace", any_size, "ZqPlace target", WS_POPUP | WS_VISIBLE, 300, 200);
    }
    void TearDown() override { DestroyWindow(target); g_dll.console(0); }
    std::string eval(const std::string& expr, long* error = nullptr) {
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "r", (LPARAM) "<unset>");
        host.run("r = " + expr + "\r\n", HostContext::echo_proc, HostContext::kEcho, target);
        if (error) *error = host.error();
        else EXPECT_EQ(0, host.error()) << expr;
        return host.get("r");
    }
    int px(int v) { return v * sw / 1000; }
    int py(int v) { return v * sh / 1000; }
    RECT rect() { RECT r; GetWindowRect(target, &r); return r; }
};

static std::string rect_text(const RECT& r) {
    return std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," +
           std::to_string(r.bottom);
}

TEST_F(WinPlaceTest, WinPlaceClampsEachStep) {
    RECT work;
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    int icons = work.bottom - GetSystemMetrics(SM_CYMINSPACING);
    // Each row starts from the window at 10,10 sized 300 x 200.
    struct { int line; int v[4]; RECT expected; } rows[] = {
        {__LINE__, {0, 0, 500, 500}, {0, 0, px(500), py(500)}},
        {__LINE__, {250, 100, 750, 900}, {px(250), py(100), px(750), py(900)}},
        // -999; the width is cut to the screen's, then the left edge raised to (minimum - width)
        {__LINE__, {-5000, 0, 500, 500}, {min_w - sw, 0, min_w, py(500)}},
        // 2000: the left and top edges come back to leave a minimum window on the screen
        {__LINE__, {2000, 2000, 3000, 3000}, {sw - min_w, sh - min_h, 2 * sw - min_w, 2 * sh - min_h}},
        {__LINE__, {100, 100, 0, 0}, {px(100), py(100), px(100) + 300, py(100) + 200}},   // 0, 0 keep the size
        {__LINE__, {100, 100, 101, 101}, {px(100), py(100), px(100) + min_w, py(100) + min_h}},
        {__LINE__, {100, 200, 600, 1}, {px(100), py(200), px(600), icons}},      // @aboveicons
        {__LINE__, {0, 0, 0, 0}, {0, 0, 300, 200}},
        {__LINE__, {-999, -999, -999, -999}, {min_w - sw, min_h - sh, min_w, min_h}},
    };
    for (auto& r : rows) {
        SetWindowPos(target, NULL, 10, 10, 300, 200, SWP_NOZORDER | SWP_NOACTIVATE);
        std::string call = "WinPlace(" + std::to_string(r.v[0]) + ", " + std::to_string(r.v[1]) + ", " +
                           std::to_string(r.v[2]) + ", " + std::to_string(r.v[3]) + ", \"ZqPlace\")";
        EXPECT_EQ("1", eval(call)) << "row at line " << r.line;
        EXPECT_EQ(rect_text(r.expected), rect_text(rect())) << "row at line " << r.line;
        RECT now = rect();
        EXPECT_EQ(std::to_string(now.left * 1000 / sw) + "," + std::to_string(now.top * 1000 / sh) + "," +
                      std::to_string(now.right * 1000 / sw) + "," + std::to_string(now.bottom * 1000 / sh),
                  eval("WinPosition(\"ZqPlace\")")) << "row at line " << r.line;
    }
}

TEST_F(WinPlaceTest, IconicOrZoomedWindowIsNotMoved) {
    for (int show : {SW_SHOWMINNOACTIVE, SW_SHOWMAXIMIZED}) {
        ShowWindow(target, SW_SHOWNORMAL);
        ShowWindow(target, show);
        RECT before = rect();
        EXPECT_EQ("0", eval("WinPlace(0, 0, 1000, 1000, \"ZqPlace\")")) << show;
        EXPECT_EQ(rect_text(before), rect_text(rect())) << show;
    }
}

TEST_F(WinPlaceTest, NotFoundErrors) {
    struct { int line; const char* call; long error; } rows[] = {
        {__LINE__, "WinPlace(0, 0, 500, 500, \"ZqPlace none\")", 1044},
        {__LINE__, "WinPosition(\"ZqPlace none\")", 1119},
        {__LINE__, "WinPlaceGet(@normal, \"ZqPlace none\")", 1200},
        {__LINE__, "WinPlaceSet(@normal, \"ZqPlace none\", \"1 2 3 4\")", 1200},
        {__LINE__, "WinPlaceGet(0, \"ZqPlace\")", 3199},
        {__LINE__, "WinPlaceSet(4, \"ZqPlace\", \"1 2\")", 3199},
        {__LINE__, "WinPlaceSet(@normal, \"ZqPlace\", \"1 2 3\")", 3202},
        {__LINE__, "WinPlaceSet(@icon, \"ZqPlace\", \"1 2 3\")", 3202},
        {__LINE__, "WinPlaceSet(@zoomed, \"ZqPlace\", \"1\")", 3202},
        {__LINE__, "WinPlaceSet(@icon, \"ZqPlace\", \"27981 5\")", 3202},   // a real 27981 counts as missing
        {__LINE__, "WinPlaceSet(@normal, \"ZqPlace\", \"1 2 27981 4\")", 3202},
    };
    for (auto& r : rows) {
        long error = 0;
        eval(r.call, &error);
        EXPECT_EQ(r.error, error) << "row at line " << r.line;
    }
}

// WinPlaceSet gives the part as it was, WinPlaceGet the part as it is now.
TEST_F(WinPlaceTest, PlaceSetReturnsTheOldPartAndGetReadsTheNew) {
    auto v = [](int p, int size) { return std::to_string(p * 1000 / size); };
    SetWindowPos(target, NULL, 0, 0, sw / 2, sh / 2, SWP_NOZORDER | SWP_NOACTIVATE);
    std::string before = "0 0 " + v(sw / 2, sw) + " " + v(sh / 2, sh);
    EXPECT_EQ(before, eval("WinPlaceGet(@normal, \"ZqPlace\")"));
    EXPECT_EQ(before, eval("WinPlaceSet(@normal, \"ZqPlace\", \"100 100 600 700\")"));
    EXPECT_EQ(rect_text({px(100), py(100), px(600), py(700)}), rect_text(rect()));
    EXPECT_EQ(v(px(100), sw) + " " + v(py(100), sh) + " " + v(px(600), sw) + " " + v(py(700), sh),
              eval("WinPlaceGet(@normal, \"ZqPlace\")"));
    // Blanks and signs before the numbers; the fifth number is ignored.
    eval("WinPlaceSet(@normal, \"ZqPlace\", \"  -10  20 500 600 9\")");
    EXPECT_EQ(rect_text({px(-10), py(20), px(500), py(600)}), rect_text(rect()));
    // The iconic position: set, then read back and used when the window is iconized.
    eval("WinPlaceSet(@icon, \"ZqPlace\", \"100 200\")");
    EXPECT_EQ(v(px(100), sw) + " " + v(py(200), sh), eval("WinPlaceGet(@icon, \"ZqPlace\")"));
    eval("WinPlaceSet(@zoomed, \"ZqPlace\", \"0 0\")");
    EXPECT_EQ("0 0", eval("WinPlaceGet(@zoomed, \"ZqPlace\")"));
}

// WinArrange lays out the visible, normal windows over the work area.
TEST_F(WinPlaceTest, WinArrangeLaysWindowsOut) {
    WindowThread other;
    std::vector<HWND> w;
    for (const char* t : {"ZqArrange 1", "ZqArrange 2", "ZqArrange 3"}) w.push_back(other.make(t, WS_OVERLAPPEDWINDOW | WS_VISIBLE));
    HWND iconic = other.make("ZqArrange iconic", WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    ShowWindow(iconic, SW_SHOWMINNOACTIVE);
    RECT iconic_before;
    GetWindowRect(iconic, &iconic_before);
    RECT work;
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    struct { int line; const char* style; bool same_left, same_top, full_width, full_height; } rows[] = {
        {__LINE__, "@rows", true, false, true, false},
        {__LINE__, "@columns", false, true, false, true},
        {__LINE__, "@stack", false, false, false, false},
        {__LINE__, "@tile", false, false, false, false},
        {__LINE__, "@arrange", false, false, false, false},
    };
    for (auto& r : rows) {
        int n = atoi(eval(std::string("WinArrange(") + r.style + ")").c_str());
        EXPECT_GE(n, 4) << "three windows of the test and its host window: line " << r.line;
        std::vector<RECT> rc(w.size());
        for (size_t i = 0; i < w.size(); ++i) {
            GetWindowRect(w[i], &rc[i]);
            EXPECT_GE(rc[i].left, work.left); EXPECT_GE(rc[i].top, work.top);
            EXPECT_LE(rc[i].right, work.right); EXPECT_LE(rc[i].bottom, work.bottom);
            if (r.full_width) { EXPECT_EQ(work.right - work.left, rc[i].right - rc[i].left) << "line " << r.line; }
            if (r.full_height) { EXPECT_EQ(work.bottom - work.top, rc[i].bottom - rc[i].top) << "line " << r.line; }
        }
        for (size_t i = 0; i < w.size(); ++i)
            for (size_t j = i + 1; j < w.size(); ++j) {
                RECT both;
                bool overlap = IntersectRect(&both, &rc[i], &rc[j]) != 0;
                EXPECT_EQ(strcmp(r.style, "@stack") == 0, overlap) << "cascaded windows overlap, tiled ones do not: line " << r.line;
                if (r.same_left) { EXPECT_EQ(rc[i].left, rc[j].left); }
                if (r.same_top) { EXPECT_EQ(rc[i].top, rc[j].top); }
            }
        RECT now;
        GetWindowRect(iconic, &now);
        EXPECT_EQ(rect_text(iconic_before), rect_text(now)) << "an iconic window stays: line " << r.line;
    }
}

// SnapShot read back from the clipboard as a bitmap: the whole screen at the
// screen's size, the active window and its client area at theirs, with the
// window's own colour inside.
#include "host_harness.h"

namespace {

struct Picture {
    int width = 0, height = 0;
    COLORREF centre = CLR_INVALID;
};

// The clipboard's CF_BITMAP: its size and the colour at its centre.
Picture clipboard_picture() {
    Picture p;
    if (!OpenClipboard(NULL)) return p;
    HBITMAP bmp = (HBITMAP)GetClipboardData(CF_BITMAP);
    BITMAP info;
    if (bmp && GetObjectA(bmp, sizeof info, &info)) {
        p.width = info.bmWidth;
        p.height = info.bmHeight;
        HDC dc = CreateCompatibleDC(NULL);
        HGDIOBJ old = SelectObject(dc, bmp);
        p.centre = GetPixel(dc, p.width / 2, p.height / 2);
        SelectObject(dc, old);
        DeleteDC(dc);
    }
    CloseClipboard();
    return p;
}

LRESULT CALLBACK plain_proc(HWND w, UINT m, WPARAM wp, LPARAM lp) { return DefWindowProcA(w, m, wp, lp); }

} // namespace

class Snapshot : public DllTest {
protected:
    HostContext host;
};

TEST_F(Snapshot, ScreenWindowAndClientAreaAtTheirSizes) {
    const COLORREF colour = RGB(200, 40, 60);
    WNDCLASSA wc = {};
    wc.lpfnWndProc = plain_proc;
    wc.hInstance = GetModuleHandleA(NULL);
    wc.lpszClassName = "TslSnapProbe";
    wc.hbrBackground = CreateSolidBrush(colour);
    RegisterClassA(&wc);
    HWND w = CreateWindowA("TslSnapProbe", "Snap probe", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 60, 320, 240, NULL, NULL,
                           wc.hInstance, NULL);
    ASSERT_TRUE(w != NULL);
    SetForegroundWindow(w);
    for (int i = 0; i < 200 && GetForegroundWindow() != w; i++) Sleep(10);
    ASSERT_EQ(w, GetForegroundWindow());
    UpdateWindow(w);
    RECT win, client;
    GetWindowRect(w, &win);
    GetClientRect(w, &client);
    struct { int line; int request; int width, height; bool coloured; } rows[] = {
        {__LINE__, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN), false},
        {__LINE__, 1, win.right - win.left, win.bottom - win.top, true},
        {__LINE__, 2, client.right, client.bottom, true},
    };
    for (auto& r : rows) {
        ASSERT_TRUE(OpenClipboard(NULL));
        EmptyClipboard();
        CloseClipboard();
        host.run("r = SnapShot(" + std::to_string(r.request) + ")\r\n");
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ("1", host.get("r")) << "row at line " << r.line;
        Picture p = clipboard_picture();
        EXPECT_EQ(r.width, p.width) << "row at line " << r.line;
        EXPECT_EQ(r.height, p.height) << "row at line " << r.line;
        if (r.coloured) EXPECT_EQ(colour, p.centre) << "row at line " << r.line;
    }
    g_dll.console(1);
    StderrCapture err;
    host.run("SnapShot(3)\r\n");
    g_dll.console(0);
    EXPECT_EQ(2431, host.error());
    DestroyWindow(w);
}

// The periphery functions against the real system: each row a script whose
// answer, and what Win32 reads afterwards, make one text. KeyToggleSet
// presses keys with keybd_event, so this program runs alone.
#include "host_harness.h"
#include <mmsystem.h>
#include <winnetwk.h>

class Periphery : public DllTest {
protected:
    HostContext host;
    std::string said;   // standard error of the last call
    // Runs lines under ErrorMode(@off) in console mode (a report is written,
    // not shown): the value of r, or "error N" (the run's error, else LastError()).
    std::string call(const std::string& lines, HostContext* in = nullptr) {
        HostContext& h = in ? *in : host;
        g_dll.console(1);
        StderrCapture err;
        h.run("ErrorMode(@off)\r\n" + lines + "\r\ne = LastError()\r\n");
        g_dll.console(0);
        said = err.text();
        std::string e = h.error() ? std::to_string(h.error()) : h.get("e");
        return e == "0" ? h.get("r") : "error " + e;
    }
    // Each row's answer (within 5 s), followed by what `probe` reads from the system after it.
    struct Row { int line; std::string script, want; std::function<std::string()> probe = nullptr; };
    void check(const std::vector<Row>& rows) {
        for (auto& r : rows) {
            DWORD start = GetTickCount();
            std::string got = call(r.script);
            EXPECT_LT(GetTickCount() - start, 5000u) << "row at line " << r.line;
            if (r.probe) got += " " + r.probe();
            EXPECT_EQ(r.want, got) << "row at line " << r.line;
        }
    }
};

namespace {

LRESULT CALLBACK plain_proc(HWND w, UINT m, WPARAM wp, LPARAM lp) { return DefWindowProcA(w, m, wp, lp); }

// A REG_SZ value of HKEY_CURRENT_USER (nullptr: the key's default value), or "<none>".
std::string reg_text(const std::string& key, const char* name) {
    char buf[300] = "";
    DWORD size = sizeof buf;
    return RegGetValueA(HKEY_CURRENT_USER, key.c_str(), name, RRF_RT_REG_SZ, NULL, buf, &size) ? "<none>" : buf;
}

// The system's wallpaper file and tiling.
std::string wallpaper() {
    char file[MAX_PATH] = "";
    SystemParametersInfoA(SPI_GETDESKWALLPAPER, sizeof file, file, 0);
    return std::string(file) + " " + reg_text("Control Panel\\Desktop", "TileWallpaper");
}

BOOL CALLBACK first_group(HMODULE, LPCSTR, LPSTR name, LONG_PTR out) {
    *(WORD*)out = LOWORD((ULONG_PTR)name);
    return FALSE;
}

// The bytes of the first image of the program's first icon group.
std::string first_icon(const std::string& program) {
    HMODULE m = LoadLibraryExA(program.c_str(), NULL, LOAD_LIBRARY_AS_DATAFILE);
    std::string bytes;
    WORD group = 0;
    EnumResourceNamesA(m, (LPCSTR)RT_GROUP_ICON, first_group, (LONG_PTR)&group);
    HRSRC g = FindResourceA(m, MAKEINTRESOURCEA(group), (LPCSTR)RT_GROUP_ICON);
    const BYTE* dir = g ? (const BYTE*)LockResource(LoadResource(m, g)) : nullptr;
    HRSRC i = dir ? FindResourceA(m, MAKEINTRESOURCEA(*(const WORD*)(dir + 6 + 12)), (LPCSTR)RT_ICON) : NULL;
    if (i) bytes.assign((const char*)LockResource(LoadResource(m, i)), SizeofResource(m, i));
    FreeLibrary(m);
    return bytes;
}

// Puts text in the Unicode format only, as another program might; nullptr empties the clipboard.
void put_wide(const wchar_t* text) {
    HWND w = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
    OpenClipboard(w);
    EmptyClipboard();
    if (text) {
        size_t bytes = (wcslen(text) + 1) * sizeof(wchar_t);
        HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, bytes);
        memcpy(GlobalLock(h), text, bytes);
        GlobalUnlock(h);
        SetClipboardData(CF_UNICODETEXT, h);
    }
    CloseClipboard();
    DestroyWindow(w);
}

const COLORREF kProbeColour = RGB(200, 40, 60);

// The clipboard: its text in the ANSI format, in the Unicode format as UTF-8,
// and its bitmap's size (with whether its centre has the probe window's colour).
std::string clipboard() {
    char ansi[300] = "", utf8[300] = "";
    BITMAP info = {};
    COLORREF centre = CLR_INVALID;
    if (!OpenClipboard(NULL)) return "<busy>";
    if (HANDLE a = GetClipboardData(CF_TEXT)) lstrcpynA(ansi, (const char*)GlobalLock(a), sizeof ansi), GlobalUnlock(a);
    if (HANDLE w = GetClipboardData(CF_UNICODETEXT))
        WideCharToMultiByte(CP_UTF8, 0, (const wchar_t*)GlobalLock(w), -1, utf8, sizeof utf8, NULL, NULL), GlobalUnlock(w);
    HBITMAP bmp = (HBITMAP)GetClipboardData(CF_BITMAP);
    if (bmp && GetObjectA(bmp, sizeof info, &info)) {
        HDC dc = CreateCompatibleDC(NULL);
        HGDIOBJ old = SelectObject(dc, bmp);
        centre = GetPixel(dc, info.bmWidth / 2, info.bmHeight / 2);
        SelectObject(dc, old);
        DeleteDC(dc);
    }
    CloseClipboard();
    return std::string(ansi) + " / " + utf8 + " / " + std::to_string(info.bmWidth) + "x" + std::to_string(info.bmHeight) +
           (centre == kProbeColour ? " in its colour" : "");
}

std::string size_of(int width, int height) { return std::to_string(width) + "x" + std::to_string(height); }

} // namespace

// A message box of another thread found by the start of its title (with
// case); the window and the place under the cursor; ScrollLock pressed only
// when its state differs, the previous state returned (and restored at the
// end); the system's version; a 16-bit Windows program's header (the other
// program types: tests/scripts/periphery/exe_type).
#define SET_GET(on) "KeyToggleSet(@scrolllock, " #on "), KeyToggleGet(@scrolllock)"
TEST_F(Periphery, SystemQueriesAnswerWhatTheSystemSays) {
    std::thread box([] { MessageBoxA(NULL, "Disk is almost full", "Probe warning", MB_OK | MB_ICONWARNING); });
    HWND w = test_window("TslMouseProbe", plain_proc, "Mouse probe", WS_POPUP | WS_VISIBLE, 300, 200), b = NULL;
    SetWindowPos(w, HWND_TOPMOST, 100, 100, 300, 200, SWP_SHOWWINDOW);
    POINT at = {}, client = {150, 170};
    EXPECT_TRUE(SetCursorPos(150, 170));
    for (int i = 0; i < 100 && (at.x != 150 || at.y != 170); i++) Sleep(10), GetCursorPos(&at);  // the server has it
    ScreenToClient(w, &client);
    for (int i = 0; i < 500 && !((b = FindWindowA("#32770", "Probe warning")) && IsWindowVisible(b)); i++) Sleep(10);
    std::string was = call("r = KeyToggleGet(@scrolllock)");
    OSVERSIONINFOA v = {};
    v.dwOSVersionInfoSize = sizeof v;
    GetVersionExA(&v);
    TempDir dir("tslexetype");
    std::string ne(0x200, '\0');
    ne[0] = 'M', ne[1] = 'Z', ne[0x18] = 0x40, ne[0x3C] = (char)0x80, ne[0x80] = 'N', ne[0x81] = 'E';
    write_file(dir.at("ne.exe"), ne);
    check({
        {__LINE__, "r = StrCat(MsgTextGet(\"Probe w\"), \"|\", MsgTextGet(\"probe\"), \"|\", MsgTextGet(\"Other\"))", "Disk is almost full||"},
        {__LINE__, "r = StrCat(MouseInfo(0), \"|\", MouseInfo(1), \"|\", MouseInfo(2), \"|\", MouseInfo(3), \"|\", MouseInfo(4))",
         "Mouse probe|Mouse probe|150 170|" + std::to_string(client.x) + " " + std::to_string(client.y) + "|0"},
        {__LINE__, "r = MouseInfo(5)", "error 2402"},
        {__LINE__, "r = StrCat(" SET_GET(1) ", " SET_GET(1) ", " SET_GET(0) ", " SET_GET(0) ")", was + "1" "11" "10" "00"},
        {__LINE__, "r = KeyToggleGet(65)", "error 2401"},
        {__LINE__, "r = KeyToggleSet(@shift, 1)", "error 2401"},
        {__LINE__, "r = StrCat(DosVersion(@major), \".\", DosVersion(@minor))",
         std::to_string(v.dwMajorVersion) + "." + std::to_string(v.dwMinorVersion)},
        {__LINE__, "r = ExeTypeInfo(\"" + dir.at("ne.exe") + "\")", "2"},
    });
    call("r = KeyToggleSet(@scrolllock, " + was + ")");
    PostMessageA(b, WM_COMMAND, IDOK, 0);
    box.join();
    DestroyWindow(w);
}

// EndSession asks first; No (pressed by the user, or console mode's default)
// leaves the session alone and returns 0.
TEST_F(Periphery, EndSessionAsksAndNoKeepsTheSession) {
    User user({IDNO});
    host.run("r = EndSession()\r\n");
    user.finish();
    ASSERT_EQ(1u, user.seen().size());
    EXPECT_EQ("End Session 0", user.seen()[0].caption + " " + host.get("r"));
    check({{__LINE__, "r = EndSession()", "0 BOX(End Session): End the Windows session now? Every program will be closed.\r\n",
            [&] { return said; }}});
}

// Wallpaper set to a real bitmap file and read back from the system (the
// user's wallpaper and tiling are restored afterwards); IconReplace on a copy
// of Wine's notepad.exe, read back from the copy's resources.
TEST_F(Periphery, WallpaperAndIconReplace) {
    TempDir dir{"tsldesktop"};
    std::string old = wallpaper(), bmp = dir.at("paper.bmp"), program = dir.at("probe.exe"), icon = dir.at("red.ico");
    uint32_t bmp_head[13] = {70, 0, 54, 40, 2, 2, 1 | 24 << 16};   // a 2x2 24-bit bitmap
    write_file(bmp, "BM" + std::string((const char*)bmp_head, sizeof bmp_head) + std::string(16, '\x80'));
    const uint32_t image = 40 + 16 * 16 * 4 + 16 * 4, head[] = {40, 16, 32, 1 | 32 << 16};
    std::string ico(22 + image, '\0');   // an .ico file of one 16x16 32-bit image (its height counts the mask too)
    ico[2] = ico[4] = 1, ico[6] = ico[7] = 16, ico[10] = 1, ico[12] = 32, ico[18] = 22;   // one icon, one plane, at 22
    memcpy(&ico[14], &image, 4);
    memcpy(&ico[22], head, sizeof head);
    std::fill(ico.begin() + 62, ico.begin() + 62 + 1024, '\x7F');
    write_file(icon, ico);
    write_file(dir.at("bad.ico"), "not an icon");
    char windows[MAX_PATH];
    GetWindowsDirectoryA(windows, sizeof windows);
    ASSERT_TRUE(CopyFileA((std::string(windows) + "\\notepad.exe").c_str(), program.c_str(), FALSE));
    std::string before = first_icon(program);
    ASSERT_NE("", before);
    auto image_now = [&] { std::string now = first_icon(program); return now == before ? "as before" : now == ico.substr(22) ? "the new one" : "another"; };
    check({
        {__LINE__, "r = Wallpaper(\"" + bmp + "\", 1)", "1 " + bmp + " 1", wallpaper},
        {__LINE__, "r = Wallpaper(\"" + bmp + "\", 0)", "1 " + bmp + " 0", wallpaper},
        {__LINE__, "r = Wallpaper(\"" + dir.at("missing.bmp") + "\", 0)", "error 1463 " + bmp + " 0", wallpaper},
        {__LINE__, "r = IconReplace(\"" + program + "\", \"" + dir.at("bad.ico") + "\")", "error 1464 as before", image_now},
        {__LINE__, "r = IconReplace(\"" + dir.at("none.exe") + "\", \"" + icon + "\")", "error 1465 as before", image_now},
        {__LINE__, "r = IconReplace(\"" + program + "\", \"" + icon + "\")", "1 the new one", image_now},
    });
    size_t cut = old.rfind(' ');
    SystemParametersInfoA(SPI_SETDESKWALLPAPER, 0, (void*)old.substr(0, cut).c_str(), SPIF_UPDATEINIFILE);
    RegSetKeyValueA(HKEY_CURRENT_USER, "Control Panel\\Desktop", "TileWallpaper", REG_SZ, old.c_str() + cut + 1,
                    (DWORD)(old.size() - cut));
}

// Sounds switches the context's setting and returns the previous one; the
// multimedia and Net* functions answer what the system itself says here (a
// device or none, a network or none); the system's network dialogs never
// block a console run.
TEST_F(Periphery, SoundsMediaAndNetworkAsTheSystemAnswers) {
    bool wave = waveOutGetNumDevs() > 0, midi = midiOutGetNumDevs() > 0;
    char quantity[64] = "", bad_text[256] = "", user[256] = "";
    DWORD size = sizeof user;
    bool has_user = WNetGetUserA(NULL, user, &size) == NO_ERROR;
    mciSendStringA("sysinfo all quantity", quantity, sizeof quantity, NULL);
    mciGetErrorStringA(mciSendStringA("play tsl-no-such-alias", NULL, 0, NULL), bad_text, sizeof bad_text);
    check({
        {__LINE__, "Sounds(1)\r\nr = StrCat(Sounds(0), Sounds(1), Sounds(0))", "101 0",
         [&] { int on = host.lock()->sounds; host.unlock(); return std::to_string(on); }},
        {__LINE__, "r = PlayWaveform(\"SystemAsterisk\", 1)", wave ? "1" : "error 1451"},
        {__LINE__, "r = PlayWaveform(\"C:\\no\\such.wav\", 1)", wave ? "error 1452" : "error 1451"},
        {__LINE__, "r = PlayMidi(\"C:\\no\\such.mid\", 1)", midi ? "error 1454" : "error 1453"},
        {__LINE__, "r = PlayMedia(\"sysinfo all quantity\")", quantity},
        {__LINE__, "r = PlayMedia(\"play tsl-no-such-alias\")", "error 1455 " + std::string(bad_text), [&] { return host.get("MciErrorText"); }},
        {__LINE__, "r = NetGetUser()", has_user ? std::string(user) : "error 1474"},
        {__LINE__, "r = NetAddCon(\"\\\\localhost\\tsl-no-such-share\", \"\", \"\")", "error 1471"},
        {__LINE__, "r = NetCancelCon(\"Q:\", 0)", "error 1472"},
        {__LINE__, "r = NetGetCon(\"C:\")", "error 1473 explained", [&] { return host.get("NetErrorText") != "" ? "explained" : ""; }},
        {__LINE__, "r = NetGetCaps(0)", std::to_string(GetSystemMetrics(SM_NETWORK) & 1)},
        {__LINE__, "r = NetGetCaps(7)", "error 2441"},
        {__LINE__, "r = NetBrowse(5)", "error 2441"},
        {__LINE__, "r = StrCat(NetDialog(), NetBrowse(1))",
         "00 BOX(Map Network Drive): Cancel\r\nBOX(Disconnect Network Drive): Cancel\r\n", [&] { return said; }},
    });
}

// ClipPut and ClipAppend leave the same text in both formats, line ends and
// code-page characters as they were, cut at 32,000 bytes; text put in the
// Unicode format only by another program is read as ANSI and extended; an
// empty clipboard reads as ""; one held open by another window fails with 1401.
TEST_F(Periphery, ClipboardSharedWithOtherPrograms) {
    check({
        {__LINE__, "r = ClipPut(\"hello\")", "1 hello / hello / 0x0", clipboard},
        {__LINE__, "r = ClipPut(\"\")", "1  /  / 0x0", clipboard},
        {__LINE__, "r = ClipPut(StrCat(\"a\", Num2Char(13), Num2Char(10), \"b\", Num2Char(10)))", "1 a\r\nb\n / a\r\nb\n / 0x0", clipboard},
        {__LINE__, "r = ClipPut(StrCat(\"caf\", Num2Char(233)))", "1 caf\xe9 / caf\xc3\xa9 / 0x0", clipboard},
        {__LINE__, "ClipPut(\"one\")\r\nr = ClipAppend(\" two\")", "1 one two / one two / 0x0", clipboard},
        {__LINE__, "ClipPut(StrFill(\"a\", 31990))\r\nClipAppend(StrFill(\"b\", 20))\r\nr = StrLen(ClipGet())", "32000"},
    });
    struct { int line; const wchar_t* put; const char* script; const char* got; } rows[] = {
        {__LINE__, L"from outside", "r = ClipGet()", "from outside"},
        {__LINE__, L"x\u00e9\r\ny", "r = ClipGet()", "x\xe9\r\ny"},
        {__LINE__, L"base", "ClipAppend(\"+more\")\r\nr = ClipGet()", "base+more"},
        {__LINE__, nullptr, "r = StrCat(\"[\", ClipGet(), \"]\")", "[]"},
    };
    for (auto& r : rows) put_wide(r.put), check({{r.line, r.script, r.got}});
    HWND holder = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
    // A run with an owner window opens the clipboard with it, and closes it again.
    host.run("ClipPut(\"owned\")\r\n", HostContext::echo_proc, HostContext::kEcho, holder);
    bool closed = false;
    std::thread([&] { if ((closed = OpenClipboard(NULL) != 0)) CloseClipboard(); }).join();
    EXPECT_TRUE(closed) << "another thread opens the clipboard after ClipPut";
    ASSERT_TRUE(OpenClipboard(holder));
    check({{__LINE__, "r = ClipGet()", "error 1401"}, {__LINE__, "r = ClipPut(\"x\")", "error 1401"}});
    CloseClipboard();
    DestroyWindow(holder);
}

// SnapShot's bitmap on the clipboard: the whole screen at the screen's size,
// the active window and its client area at theirs, the window (over the
// screen's centre) in its own colour.
TEST_F(Periphery, SnapShotOfScreenWindowAndClientAreaAtTheirSizes) {
    int cx = GetSystemMetrics(SM_CXSCREEN), cy = GetSystemMetrics(SM_CYSCREEN);
    HWND w = test_window("TslSnapProbe", plain_proc, "Snap probe", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 320, 240);
    SetClassLongPtrA(w, GCLP_HBRBACKGROUND, (LONG_PTR)CreateSolidBrush(kProbeColour));
    SetWindowPos(w, NULL, cx / 2 - 150, cy / 2 - 100, 320, 240, SWP_NOZORDER);
    SetForegroundWindow(w);
    for (int i = 0; i < 200 && GetForegroundWindow() != w; i++) Sleep(10);
    ASSERT_EQ(w, GetForegroundWindow());
    RedrawWindow(w, NULL, NULL, RDW_ERASE | RDW_INVALIDATE | RDW_UPDATENOW);
    RECT win, client;
    GetWindowRect(w, &win);
    GetClientRect(w, &client);
    put_wide(nullptr);
    check({
        {__LINE__, "r = SnapShot(0)", "1  /  / " + size_of(cx, cy) + " in its colour", clipboard},
        {__LINE__, "r = SnapShot(1)", "1  /  / " + size_of(win.right - win.left, win.bottom - win.top) + " in its colour", clipboard},
        {__LINE__, "r = SnapShot(2)", "1  /  / " + size_of(client.right, client.bottom) + " in its colour", clipboard},
        {__LINE__, "r = SnapShot(3)", "error 2431"},
    });
    DestroyWindow(w);
}

// The Reg* functions under a test key of HKEY_CURRENT_USER: what scripts write
// Win32 reads and the other way round, other types read as text, subkeys by
// index ("" past the last); missing keys and values are minor errors, numbers
// of no open key fatal (of another context: Periphery.ShutdownGivesBack...).
TEST_F(Periphery, RegistryScriptsAndWin32SeeTheSameKeysAndValues) {
    std::string base = "Software\\TSLTest-" + std::to_string(GetCurrentProcessId());
    auto value = [&](std::string sub, const char* name) { return [=] { return reg_text(base + sub, name); }; };
    std::string types = base + "\\types";
    DWORD number = 4000000000u;
    RegSetKeyValueA(HKEY_CURRENT_USER, types.c_str(), "dword", REG_DWORD, &number, 4);
    RegSetKeyValueA(HKEY_CURRENT_USER, types.c_str(), "multi", REG_MULTI_SZ, "one\0two\0\0", 9);
    RegSetKeyValueA(HKEY_CURRENT_USER, types.c_str(), "binary", REG_BINARY, "\x01\xAB\x00", 3);
    RegSetKeyValueA(HKEY_CURRENT_USER, types.c_str(), "expand", REG_EXPAND_SZ, "%PATH%", 7);
    host.run("base = \"" + base + "\"\r\n");
    check({
        {__LINE__, "r = RegSetValue(2, StrCat(base, \"\\a\\b[colour]\"), \"blue\")", "1 blue", value("\\a\\b", "colour")},
        {__LINE__, "r = RegSetValue(2, StrCat(base, \"\\a\"), \"default\")", "1 default", value("\\a", nullptr)},
        {__LINE__, "RegSetValue(2, StrCat(base, \"\\a[x]\"), \"1\")\r\nr = RegQueryValue(2, StrCat(base, \"\\a[x]\"))", "1 1", value("\\a", "x")},
        {__LINE__, "k = RegCreateKey(@regroot + 1, StrCat(base, \"\\c\"))\r\nRegSetValue(k, \"[n]\", \"v\")\r\nr = RegCloseKey(k)",
         "1 v", value("\\c", "n")},
        {__LINE__, "RegSetValue(2, StrCat(base, \"\\d[n]\"), \"v\")\r\nr = RegDeleteKey(2, StrCat(base, \"\\d[n]\"))", "1 <none>", value("\\d", "n")},
        {__LINE__, "RegSetValue(2, StrCat(base, \"\\e\\f\\g\"), \"v\")\r\nr = RegDeleteKey(2, StrCat(base, \"\\e\"))", "1 <none>", value("\\e\\f\\g", nullptr)},
        {__LINE__, "RegSetValue(-2147483647, StrCat(base, \"\\h\"), \"w\")\r\nk = RegOpenKey(2, base)\r\nr = RegQueryValue(k, \"h\")", "w w", value("\\h", nullptr)},
        {__LINE__, "t = StrCat(base, \"\\types\")\r\nr = StrCat(RegQueryValue(2, StrCat(t, \"[dword]\")) + 1, \"|\", RegQueryValue(2, StrCat(t, \"[dword]\")), "
                   "\"|\", RegQueryValue(2, StrCat(t, \"[multi]\")), \"|\", RegQueryValue(2, StrCat(t, \"[binary]\")), \"|\", RegQueryValue(2, StrCat(t, \"[expand]\")))",
         "-294967295|-294967296|one\ttwo|01 AB 00|%PATH%"},   // a DWORD is a number
        {__LINE__, "k = RegOpenKey(2, StrCat(base, \"\\a\"))\r\nr = StrCat(RegQueryKey(k, 0), \",\", RegQueryKey(k, 1), \",\", RegQueryKey(k, -1))", "b,,"},
        {__LINE__, "r = RegOpenKey(2, StrCat(base, \"\\missing\"))", "error 1411"},
        {__LINE__, "r = RegQueryValue(2, StrCat(base, \"\\missing\"))", "error 1414"},
        {__LINE__, "r = RegQueryValue(2, \"Software[no such value]\")", "error 1414"},
        {__LINE__, "r = RegDeleteKey(2, StrCat(base, \"\\missing\"))", "error 1413"},
        {__LINE__, "r = RegDeleteKey(2, \"\")", "error 1413"},
        {__LINE__, "r = RegCloseKey(12345)", "error 3401"},
        {__LINE__, "r = RegQueryKey(0, 0)", "error 3401"},
        {__LINE__, "r = RegQueryKey(1064, 0)", "error 3401"},
        {__LINE__, "k = RegOpenKey(2, \"Software\")\r\nRegCloseKey(k)\r\nr = RegCloseKey(k)", "error 3401"},
    });
    RegDeleteTreeA(HKEY_CURRENT_USER, base.c_str());
}

// Object and key numbers are good only in the context that got them; a
// context that ends with 64 of them open (the process-wide tables are full)
// gives them back at its shutdown: the next context opens 64 again.
TEST_F(Periphery, ShutdownGivesBackTheTablesOf64) {
    struct { int line; std::string open, full, close, foreign; } rows[] = {
        {__LINE__, "d = ObjectOpen(\"Scripting.Dictionary\")", "error 3412", "r = ObjectClose(d)", "error 3411"},
        {__LINE__, "d = RegOpenKey(2, \"Software\")", "error 3402", "r = RegCloseKey(d)", "error 3401"},
    };
    for (auto& r : rows) {
        std::string open64 = "Exclusive(@on)\r\nn = 0\r\n:more\r\n" + r.open + "\r\nn = n + 1\r\nif n < 64 then goto more\r\n";
        {
            HostContext first, other;
            EXPECT_EQ(r.full, call(open64 + r.open, &first)) << "row at line " << r.line;
            other.run("d = " + first.get("d") + "\r\n");
            EXPECT_EQ(r.foreign, call(r.close, &other)) << "row at line " << r.line;
        }
        EXPECT_EQ("1", call(open64 + r.close)) << "row at line " << r.line;
    }
}

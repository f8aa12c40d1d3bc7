// ClipGet, ClipPut and ClipAppend against the real clipboard: what a script
// puts there is read back by Win32 in both text formats, and what another
// program puts there (either format) is what the script reads.
#include "host_harness.h"

namespace {

void set_clipboard_wide(const wchar_t* text) {
    size_t bytes = (wcslen(text) + 1) * sizeof(wchar_t);
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, bytes);
    memcpy(GlobalLock(h), text, bytes);
    GlobalUnlock(h);
    HWND w = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
    ASSERT_TRUE(OpenClipboard(w));
    EmptyClipboard();
    SetClipboardData(CF_UNICODETEXT, h);
    CloseClipboard();
    DestroyWindow(w);
}

std::string clipboard_ansi() {
    std::string s;
    if (!OpenClipboard(NULL)) return "<busy>";
    HANDLE h = GetClipboardData(CF_TEXT);
    if (h) { s = (const char*)GlobalLock(h); GlobalUnlock(h); }
    CloseClipboard();
    return s;
}

std::wstring clipboard_wide() {
    std::wstring s;
    if (!OpenClipboard(NULL)) return L"<busy>";
    HANDLE h = GetClipboardData(CF_UNICODETEXT);
    if (h) { s = (const wchar_t*)GlobalLock(h); GlobalUnlock(h); }
    CloseClipboard();
    return s;
}

} // namespace

class Clipboard : public DllTest {
protected:
    HostContext host;
};

// ClipPut and ClipAppend leave the same text in the ANSI and the Unicode
// format, line ends and code-page characters as they were.
TEST_F(Clipboard, PutAndAppendWriteBothFormats) {
    struct { int line; const char* script; const char* ansi; const wchar_t* wide; } rows[] = {
        {__LINE__, "r = ClipPut(\"hello\")", "hello", L"hello"},
        {__LINE__, "r = ClipPut(\"\")", "", L""},
        {__LINE__, "r = ClipPut(StrCat(\"a\", Num2Char(13), Num2Char(10), \"b\", Num2Char(10)))", "a\r\nb\n", L"a\r\nb\n"},
        {__LINE__, "r = ClipPut(StrCat(\"caf\", Num2Char(233)))", "caf\xe9", L"caf\u00e9"},
        {__LINE__, "ClipPut(\"one\")\r\nr = ClipAppend(\" two\")", "one two", L"one two"},
    };
    for (auto& r : rows) {
        host.run(std::string(r.script) + "\r\n");
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ("1", host.get("r")) << "row at line " << r.line;
        EXPECT_EQ(r.ansi, clipboard_ansi()) << "row at line " << r.line;
        EXPECT_TRUE(r.wide == clipboard_wide()) << "row at line " << r.line;
    }
}

// Text that another program put in the Unicode format only is read as ANSI;
// ClipAppend extends it; an empty clipboard reads as "".
TEST_F(Clipboard, GetReadsWhatOthersPut) {
    struct { int line; const wchar_t* put; const char* script; const char* got; } rows[] = {
        {__LINE__, L"from outside", "r = ClipGet()", "from outside"},
        {__LINE__, L"x\u00e9\r\ny", "r = ClipGet()", "x\xe9\r\ny"},
        {__LINE__, L"base", "ClipAppend(\"+more\")\r\nr = ClipGet()", "base+more"},
        {__LINE__, nullptr, "r = StrCat(\"[\", ClipGet(), \"]\")", "[]"},
    };
    for (auto& r : rows) {
        if (r.put) {
            set_clipboard_wide(r.put);
        } else {
            ASSERT_TRUE(OpenClipboard(NULL));
            EmptyClipboard();
            CloseClipboard();
        }
        host.run(std::string(r.script) + "\r\n");
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ(r.got, host.get("r")) << "row at line " << r.line;
    }
}

// A clipboard held open by another window fails with 1401 after its bounded wait.
TEST_F(Clipboard, BusyClipboardFailsWith1401) {
    std::atomic<bool> release{false}, held{false};
    std::thread other([&] {
        HWND w = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
        held = OpenClipboard(w) != 0;
        while (!release) Sleep(10);
        CloseClipboard();
        DestroyWindow(w);
    });
    while (!held) Sleep(10);
    host.run("ErrorMode(@off)\r\nClipGet()\r\nEcho(LastError())\r\nClipPut(\"x\")\r\nEcho(LastError())\r\n");
    release = true;
    other.join();
    EXPECT_EQ("1401\n1401\n", host.out);
}

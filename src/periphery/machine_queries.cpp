// DosVersion, ExeTypeInfo, KeyToggleGet, KeyToggleSet, MouseInfo, MsgTextGet:
// questions about the system, its programs, keyboard, mouse and boxes.
// Nothing here changes anything but KeyToggleSet, which presses the key
// only when its light is not already as asked.
#include "../core/bounded.h"
#include "../functions/families.h"
#include <cstdio>
#include <cstring>
#include <windows.h>

namespace tsl {

namespace {

// DosVersion(@major | @minor) -> the system's version number, major or minor part
void fn_dos_version(Context*, Value* result, Value* args) {
    OSVERSIONINFOA v = {};
    v.dwOSVersionInfoSize = sizeof v;
    GetVersionExA(&v);
    result->integer = (int32_t)(args[1].integer ? v.dwMajorVersion : v.dwMinorVersion);
}

enum ExeType { EXE_NONE = 0, EXE_DOS = 1, EXE_WIN16 = 2, EXE_WIN32_GUI = 3, EXE_WIN32_CONSOLE = 4 };

// Reads `size` bytes at `offset`; false when the file is shorter.
bool read_at(HANDLE f, DWORD offset, void* buf, DWORD size) {
    DWORD got = 0;
    return SetFilePointer(f, (LONG)offset, nullptr, FILE_BEGIN) == offset && ReadFile(f, buf, size, &got, nullptr) &&
           got == size;
}

// The program type from the file's headers: "MZ" alone is a DOS program; a
// new header "NE" a 16-bit Windows one; "PE" a 32- or 64-bit one, GUI or console.
int exe_type(const char* name) {
    HANDLE f = CreateFileA(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (f == INVALID_HANDLE_VALUE) return EXE_NONE;
    int type = EXE_NONE;
    IMAGE_DOS_HEADER dos;
    if (read_at(f, 0, &dos, sizeof dos) && dos.e_magic == IMAGE_DOS_SIGNATURE) {
        type = EXE_DOS;
        char sig[4];
        DWORD at = (DWORD)dos.e_lfanew;
        if (dos.e_lfarlc >= 0x40 && at >= sizeof dos && read_at(f, at, sig, sizeof sig)) {
            if (sig[0] == 'N' && sig[1] == 'E') type = EXE_WIN16;
            if (memcmp(sig, "PE\0\0", 4) == 0) {
                // The subsystem lies at the same place in both optional headers.
                WORD subsystem = 0;
                DWORD place = at + 4 + sizeof(IMAGE_FILE_HEADER) + offsetof(IMAGE_OPTIONAL_HEADER32, Subsystem);
                if (read_at(f, place, &subsystem, sizeof subsystem))
                    type = subsystem == IMAGE_SUBSYSTEM_WINDOWS_CUI ? EXE_WIN32_CONSOLE : EXE_WIN32_GUI;
            }
        }
    }
    CloseHandle(f);
    return type;
}

// ExeTypeInfo(file) -> 0 no program (or no file), 1 DOS, 2 16-bit Windows,
// 3 Windows GUI, 4 Windows console
void fn_exe_type_info(Context* ctx, Value* result, Value* args) {
    result->integer = exe_type(value_text(ctx, args[1]));
}

// The toggle keys: @capslock (20), @numlock (144), @scrolllock (145).
bool toggle_key(Context* ctx, int32_t key) {
    if (key == VK_CAPITAL || key == VK_NUMLOCK || key == VK_SCROLL) return true;
    return fail(ctx, 2401);
}

int toggle_state(int32_t key) { return (GetKeyState(key) & 1) != 0; }

// KeyToggleGet(key) -> 1 when the key's light is on
void fn_key_toggle_get(Context* ctx, Value* result, Value* args) {
    if (toggle_key(ctx, args[1].integer)) result->integer = toggle_state(args[1].integer);
}

// Waits (bounded) until the thread's key state shows the toggle, pumping
// the messages that carry it.
bool wait_toggle(int32_t key, int want) {
    for (int i = 0; i < 50; i++) {
        MSG m;
        while (PeekMessageA(&m, NULL, 0, 0, PM_REMOVE)) { TranslateMessage(&m); DispatchMessageA(&m); }
        if (toggle_state(key) == want) return true;
        Sleep(10);
    }
    return false;
}

// KeyToggleSet(key, state) -> the previous state; presses the key once when
// its state differs.
void fn_key_toggle_set(Context* ctx, Value* result, Value* args) {
    int32_t key = args[1].integer;
    if (!toggle_key(ctx, key)) return;
    int was = toggle_state(key), want = args[2].integer != 0;
    result->integer = was;
    if (was == want) return;
    BYTE vk = (BYTE)key;
    DWORD ext = key == VK_NUMLOCK ? KEYEVENTF_EXTENDEDKEY : 0;
    keybd_event(vk, (BYTE)MapVirtualKeyA(vk, 0), ext, 0);
    keybd_event(vk, (BYTE)MapVirtualKeyA(vk, 0), ext | KEYEVENTF_KEYUP, 0);
    if (!wait_toggle(key, want)) fail(ctx, 1432);
}

void window_title(HWND w, char* buf, int size) {
    buf[0] = 0;
    if (w) GetWindowTextA(w, buf, size);
}

// MouseInfo(request): 0 the title of the top-level window under the mouse,
// 1 the title of the (child) window under it, 2 the position "x y" on the
// screen, 3 the position in the top-level window's client area, 4 the
// buttons down (1 left, 2 right, 4 middle).
void fn_mouse_info(Context* ctx, Value* result, Value* args) {
    POINT p;
    GetCursorPos(&p);
    HWND under = WindowFromPoint(p);
    HWND top = under ? GetAncestor(under, GA_ROOT) : NULL;
    char buf[PATH_BUF];
    switch (args[1].integer) {
    case 0: window_title(top, buf, sizeof buf); break;
    case 1: window_title(under, buf, sizeof buf); break;
    case 2: snprintf(buf, sizeof buf, "%ld %ld", (long)p.x, (long)p.y); break;
    case 3:
        if (top) ScreenToClient(top, &p);
        snprintf(buf, sizeof buf, "%ld %ld", (long)p.x, (long)p.y);
        break;
    case 4: {
        bool swapped = GetSystemMetrics(SM_SWAPBUTTON) != 0;
        int left = GetAsyncKeyState(swapped ? VK_RBUTTON : VK_LBUTTON) < 0;
        int right = GetAsyncKeyState(swapped ? VK_LBUTTON : VK_RBUTTON) < 0;
        result->integer = left | right << 1 | (GetAsyncKeyState(VK_MBUTTON) < 0) << 2;
        return;
    }
    default: fail(ctx, 2402); return;
    }
    value_set_text(ctx, result, buf);
}

struct BoxSearch {
    const char* title;
    size_t title_len;
    HWND found;
};

// A visible dialog box (class "#32770") whose title starts with the text.
BOOL CALLBACK find_box(HWND w, LPARAM lp) {
    BoxSearch* s = (BoxSearch*)lp;
    char cls[16], title[PATH_BUF];
    if (!IsWindowVisible(w) || !GetClassNameA(w, cls, sizeof cls) || strcmp(cls, "#32770") != 0) return TRUE;
    GetWindowTextA(w, title, sizeof title);
    if (strncmp(title, s->title, s->title_len) != 0) return TRUE;
    s->found = w;
    return FALSE;
}

// The first static control that shows a text (not an icon).
BOOL CALLBACK find_text(HWND w, LPARAM lp) {
    char cls[16];
    if (!GetClassNameA(w, cls, sizeof cls) || lstrcmpiA(cls, "Static") != 0) return TRUE;
    if ((GetWindowLongA(w, GWL_STYLE) & SS_TYPEMASK) == SS_ICON || GetWindowTextLengthA(w) == 0) return TRUE;
    *(HWND*)lp = w;
    return FALSE;
}

// MsgTextGet(title) -> the text of the message box whose title starts with
// `title` (matched case-sensitively), "" when no such box is up
void fn_msg_text_get(Context* ctx, Value* result, Value* args) {
    BoxSearch s = {value_text(ctx, args[1]), strlen(value_text(ctx, args[1])), NULL};
    EnumWindows(find_box, (LPARAM)&s);
    HWND text = NULL;
    if (s.found) EnumChildWindows(s.found, find_text, (LPARAM)&text);
    char buf[1024] = "";
    if (text) GetWindowTextA(text, buf, sizeof buf);
    value_set_text(ctx, result, buf);
}

const FunctionEntry kTable[] = {
    {101, fn_dos_version},      // DosVersion
    {111, fn_exe_type_info},    // ExeTypeInfo
    {165, fn_key_toggle_get},   // KeyToggleGet
    {166, fn_key_toggle_set},   // KeyToggleSet
    {173, fn_mouse_info},       // MouseInfo
    {174, fn_msg_text_get},     // MsgTextGet
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyMachineQueries, kTable)

} // namespace tsl

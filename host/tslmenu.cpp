// tslmenu: the menu host. Builds a window's menu bar from menu files with
// TSLPR32I.dll and runs the chosen items' scripts, through the DLL's
// exports only, as any host program would.
//
//   tslmenu [--console] MENUFILE [MENUFILE...]
//   tslmenu --help
//
// Each file is a menu set (0, 1, ...): the first file's entries start the
// bar, later files append theirs. Every set's initialisation lines run once
// at start. The status bar shows the highlighted entry's description; key
// messages go to HotKeyCheck first; a chosen item's script runs with
// ProcessDaBatBuffer, and a menu file changed since loading reloads every
// set. Closing the window shuts the interpreter down (mode 99). Host
// commands: Echo(text) writes a line to standard output, TslMenuQuit()
// closes the window. --console writes every box to standard error and
// answers it with its default button. Exit status: 0, or 2 when no menu
// file could be loaded or the DLL cannot be started.
#include <windows.h>
#include <commctrl.h>
#include <cstdio>
#include <cstring>
#include <vector>
#include "../include/tslpr32i.h"
#include "host_output.h"

namespace {

const int VAR_SLOTS = 2000;
const LPARAM HEAP_SIZE = 65536;
const WORD FIRST_ID = 1000;
const WORD LAST_ALLOWED_ID = 0xEFFF;   // below the system menu's commands
const char CAPTION[] = "TSL Menu";
const char RUNNING_CAPTION[] = "TSL Menu - running";
const char READY_TEXT[] = "Choose an entry from the menu, or press its hot key.";
const int STATUS_ID = 1;

void error_line(const char* a, const char* b = "", const char* c = "") { host_error_line("tslmenu", a, b, c); }

struct MenuSet {
    TslMenuRecord record;
    WORD first_id;
};

// Everything the host holds: the DLL's entries, the context, the sets.
struct Host {
    TslDoDaDllInitProc init = nullptr;
    TslProcessDaBatBufferProc run = nullptr;
    TslDLLServicesProc services = nullptr;
    TslLoadStandardMenuProc load = nullptr;
    TslParseStandardMenuProc parse = nullptr;
    TslHotKeyCheckProc check = nullptr;
    TslMenuSelectProcessingProc select = nullptr;
    HGLOBAL ctx = NULL, vars = NULL, heap = NULL;
    HWND window = NULL, status = NULL;
    std::vector<MenuSet> sets;
    TslHotKeyTable keys;
    int loaded = 0;       // sets that loaded whole
    bool busy = false;    // a script is running
    bool quit = false;    // close once the running script has ended
};
Host g_host;

enum { CMD_ECHO = 0, CMD_QUIT = 1 };
const TslKeywordRecord kCommands[] = {
    {0, TSL_KIND_FUNCTION, 1, 1, 4, "echo"},
    {1, TSL_KIND_FUNCTION, 0, 0, 11, "tslmenuquit"},
    {0, 0, 0, 0, 0, ""},
};

long WINAPI host_command(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1,
                         LPCSTR, LPCSTR, LPCSTR, LPCSTR) {
    switch (command) {
    case CMD_ECHO:
        write_handle(STD_OUTPUT_HANDLE, t1 ? t1 : "");
        write_handle(STD_OUTPUT_HANDLE, "\r\n");
        return answer(0, 0, record, 0, 0, NULL);
    case CMD_QUIT:
        g_host.quit = true;
        return answer(0, 0, record, 0, 0, NULL);
    default: return 0;  // idle call (-1), shutdown (-3)
    }
}

void set_status(const char* text) {
    if (g_host.status) SendMessageA(g_host.status, SB_SETTEXTA, 0, (LPARAM)text);
}

// Runs a script block and frees it; one script at a time. The caption
// says when a script runs: hot keys and menu commands wait for its end.
void run_block(HGLOBAL block) {
    g_host.busy = true;
    SetWindowTextA(g_host.window, RUNNING_CAPTION);
    set_status("Running...");
    g_host.run(g_host.window, g_host.ctx, block, host_command, kCommands);
    GlobalFree(block);
    set_status(READY_TEXT);
    SetWindowTextA(g_host.window, CAPTION);
    g_host.busy = false;
    if (g_host.quit) DestroyWindow(g_host.window);
}

// Builds the bar from every set, in order; each set's ids follow the last
// set's. A set that fails has shown its message; what it built stays.
void load_menus() {
    HMENU bar = CreateMenu();
    g_host.loaded = 0;
    WORD first = FIRST_ID;
    for (MenuSet& set : g_host.sets) {
        set.first_id = first;
        set.record.last_id = (WORD)(first - 1);
        if (g_host.load(g_host.ctx, g_host.window, first, LAST_ALLOWED_ID, &set.record, CAPTION, &g_host.keys, bar))
            ++g_host.loaded;
        first = (WORD)(set.record.last_id + 1);
    }
    HMENU old = GetMenu(g_host.window);
    SetMenu(g_host.window, bar);
    if (old) DestroyMenu(old);
    DrawMenuBar(g_host.window);
}

void run_initialisation_lines() {
    for (MenuSet& set : g_host.sets) {
        HGLOBAL block = g_host.parse(g_host.ctx, g_host.window, 0, TRUE, set.first_id, 0, &set.record, CAPTION);
        if (block && block != TSL_MENU_RELOAD) run_block(block);
    }
}

MenuSet* set_of(UINT id) {
    for (MenuSet& set : g_host.sets)
        if (id >= set.first_id && id <= set.record.last_id) return &set;
    return nullptr;
}

void choose(UINT id) {
    MenuSet* set = set_of(id);
    if (!set) return;
    if (g_host.busy) { MessageBeep(MB_OK); return; }
    HGLOBAL block = g_host.parse(g_host.ctx, g_host.window, (WORD)id, FALSE, set->first_id, 0, &set->record, CAPTION);
    if (block == TSL_MENU_RELOAD) load_menus();
    else if (block) run_block(block);
}

// The status text of a highlighted entry: an item asks its own set; a
// popup asks each set until one knows its description.
void menu_select(WPARAM packed, HMENU menu) {
    char text[300] = "";
    if (HIWORD(packed) == 0xFFFF && !menu) { set_status(READY_TEXT); return; }
    bool popup = (HIWORD(packed) & MF_POPUP) != 0;
    MenuSet* own = popup ? nullptr : set_of(LOWORD(packed));
    for (MenuSet& set : g_host.sets) {
        if (own && &set != own) continue;
        char buf[300];
        LONG code = g_host.select(g_host.ctx, g_host.window, packed, menu, set.first_id, set.record.last_id, buf,
                                  sizeof buf, &set.record);
        if (code == 1 || code == 2) { lstrcpynA(text, buf, sizeof text); break; }
        if (!text[0] && code > 0 && code < 5) lstrcpynA(text, buf, sizeof text);
        if (!popup) break;
    }
    set_status(text);
}

LRESULT CALLBACK window_proc(HWND w, UINT message, WPARAM wp, LPARAM lp) {
    switch (message) {
    case WM_SIZE:
        if (g_host.status) SendMessageA(g_host.status, WM_SIZE, 0, 0);
        return 0;
    case WM_COMMAND:
        if (lp == 0) choose(LOWORD(wp));
        return 0;
    case WM_MENUSELECT:
        menu_select(wp, (HMENU)lp);
        return 0;
    case WM_PAINT: {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(w, &ps);
        RECT r;
        GetClientRect(w, &r);
        r.left += 12;
        r.top += 12;
        SetBkMode(dc, TRANSPARENT);
        SelectObject(dc, GetStockObject(DEFAULT_GUI_FONT));
        DrawTextA(dc, READY_TEXT, -1, &r, DT_LEFT | DT_WORDBREAK);
        EndPaint(w, &ps);
        return 0;
    }
    case WM_CLOSE:
        if (g_host.busy) { g_host.quit = true; return 0; }   // the run ends first
        DestroyWindow(w);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcA(w, message, wp, lp);
}

HWND create_window(HINSTANCE inst) {
    WNDCLASSA wc;
    memset(&wc, 0, sizeof wc);
    wc.lpfnWndProc = window_proc;
    wc.hInstance = inst;
    wc.hCursor = LoadCursor(NULL, IDC_ARROW);
    wc.hbrBackground = (HBRUSH)(COLOR_WINDOW + 1);
    wc.lpszClassName = "tslmenu_host";
    RegisterClassA(&wc);
    return CreateWindowA("tslmenu_host", CAPTION, WS_OVERLAPPEDWINDOW, 40, 40, 520, 320, NULL, NULL, inst, NULL);
}

// Key messages of the window go to HotKeyCheck before anything else.
bool hot_key(const MSG& msg) {
    if (msg.hwnd != g_host.window && !IsChild(g_host.window, msg.hwnd)) return false;
    switch (msg.message) {
    case WM_KEYDOWN: case WM_SYSKEYDOWN:
        return g_host.check(g_host.ctx, g_host.window, TSL_HOTKEY_PRESS, msg.wParam, &g_host.keys) != 0;
    case WM_CHAR: case WM_SYSCHAR:
        return g_host.check(g_host.ctx, g_host.window, msg.message, msg.wParam, &g_host.keys) != 0;
    default: return false;
    }
}

bool start_dll(HINSTANCE inst, bool console) {
    HMODULE dll = LoadLibraryA("TSLPR32I.dll");
    if (!dll) { error_line("cannot load TSLPR32I.dll"); return false; }
    Host& h = g_host;
    h.init = (TslDoDaDllInitProc)(void*)GetProcAddress(dll, "DoDaDllInit");
    h.run = (TslProcessDaBatBufferProc)(void*)GetProcAddress(dll, "ProcessDaBatBuffer");
    h.services = (TslDLLServicesProc)(void*)GetProcAddress(dll, "DLLServices");
    h.load = (TslLoadStandardMenuProc)(void*)GetProcAddress(dll, "LoadStandardMenu");
    h.parse = (TslParseStandardMenuProc)(void*)GetProcAddress(dll, "ParseStandardMenu");
    h.check = (TslHotKeyCheckProc)(void*)GetProcAddress(dll, "HotKeyCheck");
    h.select = (TslMenuSelectProcessingProc)(void*)GetProcAddress(dll, "MenuSelectProcessing");
    if (!h.init || !h.run || !h.services || !h.load || !h.parse || !h.check || !h.select) {
        error_line("TSLPR32I.dll lacks its entries");
        return false;
    }
    if (console) h.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    WORD size = h.init(inst, NULL, TSL_INTERFACE_VERSION, TSL_INIT_INTERFACE, 0, NULL, NULL);
    if (!size) { error_line("interface version refused"); return false; }
    h.ctx = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    h.vars = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, VAR_SLOTS * TSL_VARSLOT_SIZE);
    h.heap = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, HEAP_SIZE);
    if (!h.ctx || !h.vars || !h.heap) { error_line("out of memory"); return false; }
    if (h.init(inst, h.ctx, 0, TSL_INIT_CONTEXT, 0, "tslmenu", "1.0") != 44 ||
        h.init(inst, h.ctx, (WPARAM)h.vars, TSL_INIT_VARIABLES, 0, "tslmenu", "tslmenu") != 1 ||
        h.init(inst, h.ctx, (WPARAM)h.heap, TSL_INIT_HEAP, HEAP_SIZE, "tslmenu 1.0 menu host", NULL) != 1) {
        error_line("the interpreter could not be started");
        return false;
    }
    h.services(h.ctx, TSL_SERVICE_IDENT, (LPARAM) "tslmenu 1.0 menu host", 0, 0);
    return true;
}

const char HELP_TEXT[] =
    "usage: tslmenu [--console] MENUFILE [MENUFILE...]\r\n"
    "Builds a window's menu bar from the menu files (the first file's entries,\r\n"
    "then each later file's) and runs the chosen item's script with TSLPR32I.dll.\r\n"
    "The status bar shows the highlighted entry's description; an item's hot key\r\n"
    "runs it as the menu does. Scripts may call Echo(text) and TslMenuQuit().\r\n"
    "  --console  write every box to standard error, answered with its default button\r\n"
    "  --help     this text\r\n"
    "Exit status: 0, or 2 when no menu file could be loaded or the DLL cannot start.\r\n";

} // namespace

int main(int argc, char** argv) {
    int first = 1;
    bool console = false;
    for (; first < argc && strncmp(argv[first], "--", 2) == 0; ++first) {
        if (strcmp(argv[first], "--console") == 0) console = true;
        else if (strcmp(argv[first], "--help") == 0) { write_handle(STD_OUTPUT_HANDLE, HELP_TEXT); return 0; }
        else break;
    }
    if (first >= argc || strncmp(argv[first], "--", 2) == 0) {
        error_line("usage: tslmenu [--console] MENUFILE [MENUFILE...]");
        return 2;
    }
    HINSTANCE inst = GetModuleHandleA(NULL);
    if (!start_dll(inst, console)) return 2;
    for (int i = first; i < argc; ++i) {
        MenuSet set;
        memset(&set, 0, sizeof set);
        lstrcpynA(set.record.path, argv[i], sizeof set.record.path);
        set.record.set_number = (WORD)(i - first);
        g_host.sets.push_back(set);
    }
    memset(&g_host.keys, 0, sizeof g_host.keys);

    INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    g_host.window = create_window(inst);
    g_host.status = CreateWindowExA(0, STATUSCLASSNAMEA, READY_TEXT, WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0,
                                    0, 0, g_host.window, (HMENU)(INT_PTR)STATUS_ID, inst, NULL);
    load_menus();
    int status = 0;
    if (g_host.loaded == 0 && GetMenuItemCount(GetMenu(g_host.window)) <= 0) {
        error_line("no menu file could be loaded");
        DestroyWindow(g_host.window);
        status = 2;
    } else {
        ShowWindow(g_host.window, SW_SHOWNORMAL);
        UpdateWindow(g_host.window);
        run_initialisation_lines();
        MSG msg;
        while (GetMessageA(&msg, NULL, 0, 0) > 0) {
            if (hot_key(msg)) continue;
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
    }
    g_host.init(inst, g_host.ctx, 0, TSL_INIT_SHUTDOWN, 0, NULL, NULL);
    GlobalFree(g_host.heap);
    GlobalFree(g_host.vars);
    GlobalFree(g_host.ctx);
    return status;
}

// tslrun: the command-line host. Runs one script file with TSLPR32I.dll,
// through the DLL's exports only, as any host program would.
//
//   tslrun [--console] [--time] SCRIPT [ARG...]
//   tslrun --help
//
// Param0 holds the number of arguments, Param1... the arguments. Exit
// status: 0 when the run ended at its end, by Exit or by Return; 1 when an
// error, a cancel or a user break stopped it; 2 when the script cannot be
// read or the DLL cannot be started. --console writes every box to
// standard error and answers it with its default button. --time writes
// the run's own time, without the start of the process and the DLL, to
// standard error as "run time: SECONDS s".
#include <windows.h>
#include <cstdio>
#include <cstring>
#include "../include/tslpr32i.h"

namespace {

const int VAR_SLOTS = 2000;
const LPARAM HEAP_SIZE = 65536;
const char VERSION_TEXT[] = "tslrun 1.0";
const char HELP_TEXT[] =
    "usage: tslrun [--console] [--time] SCRIPT [ARG...]\r\n"
    "Runs a TSL script with TSLPR32I.dll; Param0 holds the number of ARGs, Param1... the ARGs.\r\n"
    "  --console  unattended: no box is shown and none waits. Each box is written to\r\n"
    "             standard error as \"BOX(caption): text\" and answered by its default\r\n"
    "             button: Message and Pause 1, AskYesNo 1 (Yes), AskLine its default\r\n"
    "             answer, AskPassword \"\", Display 1 at once; ItemSelect, TextSelect,\r\n"
    "             TextBox and TextBoxSort write their list and answer \"\"; DialogBox\r\n"
    "             builds its dialog unseen and presses OK (1, every control stores\r\n"
    "             its state). Error reports are written the same way.\r\n"
    "  --time     writes the run's own time to standard error (\"run time: SECONDS s\").\r\n"
    "Exit status: 0 the run ended; 1 an error, a cancel or a user break stopped it;\r\n"
    "2 the script cannot be read or the DLL cannot be started.\r\n";

void write_handle(DWORD which, const char* text) {
    HANDLE h = GetStdHandle(which);
    if (h == NULL || h == INVALID_HANDLE_VALUE) return;
    DWORD written;
    WriteFile(h, text, (DWORD)strlen(text), &written, NULL);
}

void error_line(const char* a, const char* b = "", const char* c = "") {
    write_handle(STD_ERROR_HANDLE, "tslrun: ");
    write_handle(STD_ERROR_HANDLE, a);
    write_handle(STD_ERROR_HANDLE, b);
    write_handle(STD_ERROR_HANDLE, c);
    write_handle(STD_ERROR_HANDLE, "\r\n");
}

// The host's commands: record i is command 900 + i of the language.
enum { CMD_QUIT = 0, CMD_VERSION = 1, CMD_ECHO = 2, CMD_ITEMIZE_NULL = 3 };
const TslKeywordRecord kCommands[] = {
    {0, TSL_KIND_FUNCTION, 0, 0, 10, "tslrunquit"},
    {1, TSL_KIND_FUNCTION, 0, 0, 13, "tslrunversion"},
    {2, TSL_KIND_FUNCTION, 1, 1, 4, "echo"},
    {3, TSL_KIND_FUNCTION, 1, 1, 11, "itemizenull"},
    {0, 0, 0, 0, 0, ""},
};

long WINAPI host_command(HWND, LPARAM, long, long command, TslAnswerProc answer, void* record, LPCSTR t1,
                         LPCSTR, LPCSTR, LPCSTR, LPCSTR) {
    switch (command) {
    case CMD_QUIT: return answer(0, 0, record, 0, 0, NULL);  // IntControl 8 asks; nothing to do here
    case CMD_VERSION: return answer(0, 0, record, 1, 0, VERSION_TEXT);
    case CMD_ECHO:
        write_handle(STD_OUTPUT_HANDLE, t1 ? t1 : "");
        write_handle(STD_OUTPUT_HANDLE, "\r\n");
        return answer(0, 0, record, 0, 0, NULL);
    case CMD_ITEMIZE_NULL: return answer(0, 0, record, 1, 0, "");
    default: return 0;  // idle call (-1), shutdown (-3)
    }
}

// The whole file in a movable block, NUL-terminated; NULL when unreadable.
HGLOBAL read_script(const char* name) {
    HANDLE f = CreateFileA(name, GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                           NULL);
    if (f == INVALID_HANDLE_VALUE) return NULL;
    DWORD high = 0, size = GetFileSize(f, &high);
    HGLOBAL block = NULL;
    if (size != INVALID_FILE_SIZE && !high && size < 0x7fffffff)
        block = GlobalAlloc(GMEM_MOVEABLE, size + 1);
    char* text = block ? (char*)GlobalLock(block) : NULL;
    DWORD got = 0;
    bool ok = text && ReadFile(f, text, size, &got, NULL) && got == size;
    if (text) { text[ok ? size : 0] = 0; GlobalUnlock(block); }
    CloseHandle(f);
    if (!ok && block) { GlobalFree(block); block = NULL; }
    return block;
}

HWND create_host_window(HINSTANCE inst) {
    WNDCLASSA wc;
    memset(&wc, 0, sizeof wc);
    wc.lpfnWndProc = DefWindowProcA;
    wc.hInstance = inst;
    wc.lpszClassName = "tslrun_host";
    RegisterClassA(&wc);
    return CreateWindowA("tslrun_host", "tslrun", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 200, 100,
                         NULL, NULL, inst, NULL);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        write_handle(STD_OUTPUT_HANDLE, HELP_TEXT);
        return 0;
    }
    int first = 1;
    bool console = false, timed = false;
    for (; first < argc && strncmp(argv[first], "--", 2) == 0; ++first) {
        if (strcmp(argv[first], "--console") == 0) console = true;
        else if (strcmp(argv[first], "--time") == 0) timed = true;
        else break;
    }
    if (first >= argc || strncmp(argv[first], "--", 2) == 0) {
        error_line("usage: tslrun [--console] [--time] SCRIPT [ARG...]");
        return 2;
    }
    const char* script_name = argv[first];
    HGLOBAL script = read_script(script_name);
    if (!script) {
        error_line("cannot read the script file \"", script_name, "\"");
        return 2;
    }

    HMODULE dll = LoadLibraryA("TSLPR32I.dll");
    if (!dll) { error_line("cannot load TSLPR32I.dll"); return 2; }
    auto init = (TslDoDaDllInitProc)(void*)GetProcAddress(dll, "DoDaDllInit");
    auto run = (TslProcessDaBatBufferProc)(void*)GetProcAddress(dll, "ProcessDaBatBuffer");
    auto services = (TslDLLServicesProc)(void*)GetProcAddress(dll, "DLLServices");
    if (!init || !run || !services) { error_line("TSLPR32I.dll lacks its entries"); return 2; }

    HINSTANCE inst = GetModuleHandleA(NULL);
    if (console) services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    WORD size = init(inst, NULL, TSL_INTERFACE_VERSION, TSL_INIT_INTERFACE, 0, NULL, NULL);
    if (!size) { error_line("interface version refused"); return 2; }
    HGLOBAL ctx = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    HGLOBAL vars = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, VAR_SLOTS * TSL_VARSLOT_SIZE);
    HGLOBAL heap = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, HEAP_SIZE);
    if (!ctx || !vars || !heap) { error_line("out of memory"); return 2; }
    if (init(inst, ctx, 0, TSL_INIT_CONTEXT, 0, "tslrun", "1.0") != 44 ||
        init(inst, ctx, (WPARAM)vars, TSL_INIT_VARIABLES, 0, "tslrun", "tslrun") != 1 ||
        init(inst, ctx, (WPARAM)heap, TSL_INIT_HEAP, HEAP_SIZE, "tslrun 1.0 command-line host", NULL) != 1) {
        error_line("the interpreter could not be started");
        return 2;
    }
    services(ctx, TSL_SERVICE_SCRIPT_NAME, (LPARAM)script_name, 0, 0);
    char number[16];
    snprintf(number, sizeof number, "%d", argc - first - 1);
    services(ctx, TSL_SERVICE_SET_VAR, (LPARAM) "param0", (LPARAM)number, 0);
    for (int i = first + 1; i < argc; ++i) {
        char name[16];
        snprintf(name, sizeof name, "param%d", i - first);
        services(ctx, TSL_SERVICE_SET_VAR, (LPARAM)name, (LPARAM)argv[i], 0);
    }

    HWND owner = create_host_window(inst);
    LARGE_INTEGER frequency, started, ended;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&started);
    run(owner, ctx, script, host_command, kCommands);
    QueryPerformanceCounter(&ended);
    if (timed)
        fprintf(stderr, "run time: %.6f s\n", (double)(ended.QuadPart - started.QuadPart) / (double)frequency.QuadPart);
    LRESULT error = services(ctx, TSL_SERVICE_RUN_ERROR, 0, 0, 0);
    LRESULT stopped_by_break = services(ctx, TSL_SERVICE_RUN_BREAK, 0, 0, 0);
    int status = (error != 0 || stopped_by_break) ? 1 : 0;

    init(inst, ctx, 0, TSL_INIT_SHUTDOWN, 0, NULL, NULL);
    if (owner) DestroyWindow(owner);
    GlobalFree(script);
    GlobalFree(heap);
    GlobalFree(vars);
    GlobalFree(ctx);
    FreeLibrary(dll);
    return status;
}

// tslrun: the command-line host. Runs one script file with TSLPR32I.dll,
// through the DLL's exports only, as any host program would.
//
//   tslrun [--console] [--time] [--encoded-only] SCRIPT [ARG...]
//   tslrun --help | --version
//
// Param0 holds the number of arguments, Param1... the arguments. Exit
// status: 0 when the run ended at its end, by Exit or by Return; 1 when an
// error, a cancel or a user break stopped it; 2 when the script cannot be
// read or the DLL cannot be started. --console writes every box to
// standard error and answers it with its default button. --time writes
// the run's own time, without the start of the process and the DLL, to
// standard error as "run time: SECONDS s". An encoded script file is
// checked and decoded as Call does; --encoded-only (or the DLL's
// encoded-scripts mode from TSLPROCS.INI) refuses plain script files.
#include <windows.h>
#include <cstdio>
#include <cstring>
#include "../include/tslpr32i.h"
#include "host_output.h"
#include "../src/core/encoded_script.h"

namespace {

const int VAR_SLOTS = 2000;
const LPARAM HEAP_SIZE = 65536;
const char VERSION_TEXT[] = "tslrun 1.0";
const char USAGE[] = "usage: tslrun [--console] [--time] [--encoded-only] SCRIPT [ARG...]";
const char HELP[] =
    "Runs a TSL script file with TSLPR32I.dll.\r\n"
    "  --console       unattended: no box is shown and none waits. Each box is written\r\n"
    "                  to standard error as BOX(caption): text and answered by its\r\n"
    "                  default button: Message and Pause 1, AskYesNo 1 (Yes), AskLine\r\n"
    "                  its default answer, AskPassword \"\", Display 1 at once;\r\n"
    "                  ItemSelect, TextSelect, TextBox and TextBoxSort write their list\r\n"
    "                  and answer \"\"; DialogBox builds its dialog unseen and presses\r\n"
    "                  OK (1, every control stores its state)\r\n"
    "  --time          write the run's own time to standard error\r\n"
    "  --encoded-only  load only encoded script files (made by tslenc), here and in Call\r\n"
    "  --help          this text;  --version  the versions of tslrun and the DLL\r\n"
    "Param0 holds the number of ARGs, Param1... the ARGs. Exit status: 0 the script ran\r\n"
    "to its end, 1 an error, cancel or break stopped it, 2 it could not be read or started.\r\n";

void error_line(const char* a, const char* b = "", const char* c = "") { host_error_line("tslrun", a, b, c); }

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
HGLOBAL read_script(const char* name, DWORD* length) {
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
    *length = ok ? size : 0;
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

// Decodes an encoded script in its block, or refuses a plain one when only
// encoded scripts may run. Returns 0 or the DLL's message number.
unsigned accept_script(HGLOBAL script, DWORD length, bool encoded_only) {
    char* text = (char*)GlobalLock(script);
    if (!text) return 204;
    uint32_t size = length;
    unsigned failure = tsl::accept_script_file(text, &size, encoded_only);
    GlobalUnlock(script);
    return failure;
}

// The DLL's version text (its message 99), or "?" without the DLL.
void dll_version(char* buf, int size) {
    HMODULE dll = LoadLibraryA("TSLPR32I.dll");
    if (!dll || !LoadStringA(dll, 99, buf, size)) lstrcpynA(buf, "?", size);
    if (dll) FreeLibrary(dll);
}

} // namespace

int main(int argc, char** argv) {
    int first = 1;
    bool console = false, timed = false, encoded_only = false;
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        write_handle(STD_OUTPUT_HANDLE, USAGE);
        write_handle(STD_OUTPUT_HANDLE, "\r\n       tslrun --help | --version\r\n");
        write_handle(STD_OUTPUT_HANDLE, HELP);
        return 0;
    }
    if (argc == 2 && strcmp(argv[1], "--version") == 0) {
        char version[64];
        dll_version(version, sizeof version);
        write_handle(STD_OUTPUT_HANDLE, VERSION_TEXT);
        write_handle(STD_OUTPUT_HANDLE, ", TSLPR32I.dll ");
        write_handle(STD_OUTPUT_HANDLE, version);
        write_handle(STD_OUTPUT_HANDLE, "\r\n");
        return 0;
    }
    for (; first < argc && strncmp(argv[first], "--", 2) == 0; ++first) {
        if (strcmp(argv[first], "--console") == 0) console = true;
        else if (strcmp(argv[first], "--time") == 0) timed = true;
        else if (strcmp(argv[first], "--encoded-only") == 0) encoded_only = true;
        else break;
    }
    if (first >= argc || strncmp(argv[first], "--", 2) == 0) {
        error_line(USAGE);
        return 2;
    }
    const char* script_name = argv[first];
    DWORD script_length = 0;
    HGLOBAL script = read_script(script_name, &script_length);
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
    if (encoded_only) services(ctx, TSL_SERVICE_ENCODED_ONLY, 1, 0, 0);
    if (unsigned refused = accept_script(script, script_length, services(ctx, TSL_SERVICE_ENCODED_ONLY, -1, 0, 0) != 0)) {
        char text[256] = "", line[300];
        LoadStringA(dll, refused, text, sizeof text);
        snprintf(line, sizeof line, ": error %u: %s", refused, text);
        error_line(script_name, line);
        // Opened from the desktop there is no console to read: say it in a box too.
        if (!console) MessageBoxA(NULL, line + 2, script_name, MB_OK | MB_ICONSTOP);
        return 2;
    }
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

// WinVersion, WinConfig, WinMetrics, WinResources, WinParmGet, WinParmSet,
// WinHelp: questions about the system and its settings.
#include <windows.h>
#include <cstring>
#include "../core/startup_win32.h"
#include "../functions/families.h"

namespace tsl {

namespace {

const int32_t CONFIG_FLAGS = 45;   // what WinConfig has always answered

// WinVersion(@minor) or WinVersion(@major), from the version word read at start-up.
void fn_win_version(Context*, Value* r, Value* a) {
    DWORD v = g_windows_version ? g_windows_version : GetVersion();
    r->integer = a[1].integer == 0 ? HIBYTE(LOWORD(v)) : LOBYTE(LOWORD(v));
}

void fn_win_config(Context*, Value* r, Value*) { r->integer = CONFIG_FLAGS; }

// WinMetrics(code): GetSystemMetrics for the codes 0 .. SM_CMETRICS - 1.
void fn_win_metrics(Context* ctx, Value* r, Value* a) {
    int code = a[1].integer;
    if (code < 0 || code >= SM_CMETRICS) { fail(ctx, 3124); return; }
    r->integer = GetSystemMetrics(code);
}

// WinResources(request): 0 the percentage of memory free, 1 and 2 the
// percentage of this process's graphics and window objects still free,
// 3 the free and 4 the total physical memory in kilobytes.
const int32_t GUI_OBJECTS_QUOTA = 10000;   // the system's default per-process quota

int32_t kilobytes(DWORDLONG bytes) {
    DWORDLONG k = bytes / 1024;
    return k > 0x7FFFFFFF ? 0x7FFFFFFF : (int32_t)k;
}

void fn_win_resources(Context* ctx, Value* r, Value* a) {
    MEMORYSTATUSEX m;
    m.dwLength = sizeof m;
    GlobalMemoryStatusEx(&m);
    switch (a[1].integer) {
    case 0: r->integer = 100 - (int32_t)m.dwMemoryLoad; break;
    case 1: case 2: {
        DWORD used = GetGuiResources(GetCurrentProcess(), a[1].integer == 1 ? GR_GDIOBJECTS : GR_USEROBJECTS);
        r->integer = 100 - (int32_t)(used * 100 / GUI_OBJECTS_QUOTA);
        break;
    }
    case 3: r->integer = kilobytes(m.ullAvailPhys); break;
    case 4: r->integer = kilobytes(m.ullTotalPhys); break;
    default: fail(ctx, 3197);
    }
}

// WinParmGet(request) and WinParmSet(request, value, how): system settings
// through SystemParametersInfo. `how` is 0 for this session only, 1 to keep
// the setting, 2 to keep it and tell every window. WinParmSet gives the
// previous value.
enum ParmKind { PARM_FLAG, PARM_NUMBER, PARM_DOUBLE_CLICK, PARM_TEXT };
struct Parm { UINT get, set; ParmKind kind; };
const Parm kParms[] = {
    {0, 0, PARM_FLAG},                                              // (no request 0)
    {SPI_GETBEEP, SPI_SETBEEP, PARM_FLAG},                          // 1 warning beeps
    {SPI_GETBORDER, SPI_SETBORDER, PARM_NUMBER},                    // 2 sizing border
    {SPI_GETKEYBOARDSPEED, SPI_SETKEYBOARDSPEED, PARM_NUMBER},      // 3 key repeat speed
    {SPI_GETKEYBOARDDELAY, SPI_SETKEYBOARDDELAY, PARM_NUMBER},      // 4 key repeat delay
    {SPI_GETSCREENSAVETIMEOUT, SPI_SETSCREENSAVETIMEOUT, PARM_NUMBER},  // 5 screen saver seconds
    {SPI_GETSCREENSAVEACTIVE, SPI_SETSCREENSAVEACTIVE, PARM_FLAG},  // 6 screen saver on
    {SPI_GETICONTITLEWRAP, SPI_SETICONTITLEWRAP, PARM_FLAG},        // 7 icon titles wrap
    {0, SPI_SETDOUBLECLICKTIME, PARM_DOUBLE_CLICK},                 // 8 double-click milliseconds
    {SPI_GETDESKWALLPAPER, SPI_SETDESKWALLPAPER, PARM_TEXT},        // 9 wallpaper file
};
const int PARM_COUNT = (int)(sizeof kParms / sizeof kParms[0]);

void parm_get(Context* ctx, const Parm& p, Value* r) {
    if (p.kind == PARM_TEXT) {
        char text[MAX_PATH] = "";
        if (!SystemParametersInfoA(p.get, sizeof text, text, 0)) text[0] = 0;
        value_set_text(ctx, r, text);
        return;
    }
    if (p.kind == PARM_DOUBLE_CLICK) { r->integer = (int32_t)GetDoubleClickTime(); return; }
    int n = 0;   // BOOL, int and DWORD answers are all 32 bits
    SystemParametersInfoA(p.get, 0, &n, 0);
    r->integer = n;
}

void fn_win_parm_get(Context* ctx, Value* r, Value* a) {
    int request = a[1].integer;
    if (request < 1 || request >= PARM_COUNT) { fail(ctx, 3198); return; }
    parm_get(ctx, kParms[request], r);
}

void fn_win_parm_set(Context* ctx, Value* r, Value* a) {
    int request = a[1].integer;
    if (request < 1 || request >= PARM_COUNT) { fail(ctx, 3198); return; }
    const Parm& p = kParms[request];
    parm_get(ctx, p, r);
    if (ctx->error) return;
    int how = a[3].integer;
    UINT flags = how == 1 ? SPIF_UPDATEINIFILE : how == 2 ? SPIF_UPDATEINIFILE | SPIF_SENDCHANGE : 0;
    const char* value = value_text(ctx, a[2]);
    char text[MAX_PATH];
    if (p.kind == PARM_TEXT) {
        lstrcpynA(text, value, sizeof text);
        SystemParametersInfoA(p.set, 0, text, flags);
    } else {
        SystemParametersInfoA(p.set, (UINT)text_to_integer(value), nullptr, flags);
    }
}

// WinHelp(file, subcommand, keyword): opens a help file. Subcommands (any
// case): "CONTENTS", "INDEX", "KEY" and "PARTIALKEY" (keyword is a topic
// keyword), "CONTEXT" (keyword is a topic number), "HELPONHELP", "QUIT".
// 1 when the help program took the request, else 0.
struct HelpCommand { const char* name; UINT command; };
const HelpCommand kHelpCommands[] = {
    {"CONTENTS", HELP_CONTENTS}, {"INDEX", HELP_INDEX},           {"KEY", HELP_KEY},   {"PARTIALKEY", HELP_PARTIALKEY},
    {"CONTEXT", HELP_CONTEXT},   {"HELPONHELP", HELP_HELPONHELP}, {"QUIT", HELP_QUIT},
};

void fn_win_help(Context* ctx, Value* r, Value* a) {
    const char* sub = value_text(ctx, a[2]);
    const char* keyword = value_text(ctx, a[3]);
    for (const HelpCommand& h : kHelpCommands) {
        if (lstrcmpiA(sub, h.name) != 0) continue;
        ULONG_PTR data = h.command == HELP_KEY || h.command == HELP_PARTIALKEY ? (ULONG_PTR)keyword
                       : h.command == HELP_CONTEXT ? (ULONG_PTR)(uint32_t)text_to_integer(keyword) : 0;
        HWND owner = ctx->owner ? (HWND)ctx->owner : GetDesktopWindow();
        r->integer = WinHelpA(owner, value_text(ctx, a[1]), h.command, data) ? 1 : 0;
        return;
    }
    fail(ctx, 1217);
}

const FunctionEntry kTable[] = {
    {244, fn_win_config},   {248, fn_win_help},     {253, fn_win_metrics}, {255, fn_win_parm_get},
    {256, fn_win_parm_set}, {261, fn_win_resources}, {265, fn_win_version},
};

} // namespace

TSL_FAMILY_DEFINE(kFamilySystemInfo, kTable)

} // namespace tsl

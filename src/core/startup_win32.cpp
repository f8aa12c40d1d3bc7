// Library start-up and shut-down: DoDaDllInit in its modes, the settings of
// TSLPROCS.INI, the window classes, LibMain and the DLL entry.
#include <windows.h>
#include <cstdlib>
#include <cstring>
#include "../../include/tslpr32i.h"
#include "startup_win32.h"
#include "../files/file_handles.h"
#include "../interapp/dde_client.h"
#include "../interapp/extender_loader.h"
#include "../periphery/shutdown.h"
#include "context.h"
#include "bounded.h"
#include "command_call.h"
#include "heap.h"
#include "messages.h"

namespace tsl {

HINSTANCE g_module = NULL;
HBRUSH g_texture_brush = NULL;
int g_attached = 0;
DWORD g_windows_version = 0;
char g_popup_menu_text[201];
char g_menu_item_text[201];

const char kClassNotify[] = "ts8wcmmn";
const char kClassDialog[] = "ts9wcdlg";
const char kClassDialog2[] = "ts0wcdl2";

static const char kSettingsFile[] = "TSLPROCS.INI";  // a bare name: the Windows directory
static bool g_process_ready = false;                  // process-wide state and classes done

// Plain, not atomic: DoDaDllInit calls wait for each other by polling.
static volatile int g_busy = 0;

} // namespace tsl

using namespace tsl;

// Media notifications of the multimedia functions arrive here.
LRESULT CALLBACK MyMMNotifyProc(HWND wnd, UINT msg, WPARAM wp, LPARAM lp) {
    return DefWindowProcA(wnd, msg, wp, lp);
}

// The window procedure of the older dialog format's class (not built on yet).
// The format-2 class's procedure, MyDialogWndProc2, is in ui/dialog_window.cpp.
LRESULT CALLBACK MyDialogWndProc(HWND wnd, UINT msg, WPARAM wp, LPARAM lp) {
    return DefWindowProcA(wnd, msg, wp, lp);
}
extern "C" LRESULT CALLBACK MyDialogWndProc2(HWND wnd, UINT msg, WPARAM wp, LPARAM lp);

namespace tsl {

static int setting_int(const char* key, const char* def) {
    char buf[32];
    plat_profile_string(kSettingsFile, "MAIN", key, def, buf, sizeof buf);
    return atoi(buf);
}

// The three classes, in this order; a failure leaves the later ones unregistered.
static bool register_classes() {
    WNDCLASSA wc;
    memset(&wc, 0, sizeof wc);
    wc.lpfnWndProc = MyMMNotifyProc;
    wc.cbWndExtra = 8;
    wc.hInstance = g_module;
    wc.lpszClassName = kClassNotify;
    if (!RegisterClassA(&wc)) return false;

    wc.style = CS_HREDRAW | CS_VREDRAW;
    wc.cbWndExtra = 38;
    wc.hCursor = LoadCursorA(NULL, (LPCSTR)IDC_ARROW);
    wc.hbrBackground = g_texture_brush ? g_texture_brush : (HBRUSH)(COLOR_WINDOW + 1);
    wc.lpfnWndProc = MyDialogWndProc;
    wc.lpszClassName = kClassDialog;
    if (!RegisterClassA(&wc)) return false;
    wc.lpfnWndProc = MyDialogWndProc2;
    wc.lpszClassName = kClassDialog2;
    return RegisterClassA(&wc) != 0;
}

static void unregister_classes() {
    UnregisterClassA(kClassNotify, g_module);
    UnregisterClassA(kClassDialog, g_module);
    UnregisterClassA(kClassDialog2, g_module);
}

// First mode 1 in the process: version, double-byte flag, menu texts,
// the texture brush (PrettyDialogs only) and the window classes.
static bool process_startup(bool pretty) {
    g_windows_version = GetVersion();
    plat_dbcs_enabled();
    plat_load_message(730, g_popup_menu_text, sizeof g_popup_menu_text);
    plat_load_message(731, g_menu_item_text, sizeof g_menu_item_text);
    if (pretty && !g_texture_brush) {
        HBITMAP bmp = LoadBitmapA(g_module, "BackTexture");
        if (bmp) {
            g_texture_brush = CreatePatternBrush(bmp);
            DeleteObject(bmp);  // the brush keeps its own copy
        }
    }
    return register_classes();
}

// Text metrics of the system fixed font on a display information context.
static void measure_fixed_font(Context* ctx) {
    HDC ic = CreateICA("DISPLAY", NULL, NULL, NULL);
    if (!ic) return;
    HGDIOBJ old = SelectObject(ic, GetStockObject(SYSTEM_FIXED_FONT));
    TEXTMETRICA tm;
    if (GetTextMetricsA(ic, &tm)) {
        ctx->font_width = tm.tmAveCharWidth;
        ctx->font_height = tm.tmHeight + tm.tmExternalLeading;
    }
    SelectObject(ic, old);
    DeleteDC(ic);
}

static WORD mode_interface(WPARAM version) {
    if (((version & 0xFFFF) >> 8) == (TSL_INTERFACE_VERSION >> 8)) return (WORD)CONTEXT_SIZE;
    plat_message_box(NULL, "Version Interface Incompatible", "DLL mismatch", MB_OK | MB_ICONSTOP);
    return 0;
}

static WORD mode_context(HINSTANCE host, HGLOBAL block, LPARAM host_value, const char* t1, const char* t2) {
    Context* ctx = (Context*)GlobalLock(block);
    if (!ctx) return 0;
    memset(ctx, 0, sizeof *ctx);
    bounded_copy(ctx, ctx->host_name1, t1 ? t1 : "", sizeof ctx->host_name1);
    bounded_copy(ctx, ctx->host_name2, t2 ? t2 : "", sizeof ctx->host_name2);
    ctx->sounds = setting_int("Sounds", "1") != 0;
    ctx->pretty_dialogs = setting_int("PrettyDialogs", "0") != 0;
    ctx->encoded_only = setting_int("EncodedScriptsOnly", "0") != 0;
    ctx->dde_timeout = 3000;
    bounded_copy(ctx, ctx->delim1, "\t", sizeof ctx->delim1);
    bounded_copy(ctx, ctx->delim2, "\t", sizeof ctx->delim2);
    ctx->wait_cursor = LoadCursorA(NULL, (LPCSTR)IDC_WAIT);
    ctx->arrow_cursor = LoadCursorA(NULL, (LPCSTR)IDC_ARROW);
    ctx->current_cursor = ctx->arrow_cursor;
    ctx->host_instance = host;
    ctx->host_value = host_value;
    ctx->error_mode = EM_CANCEL;
    ctx->break_report = 1;
    measure_fixed_font(ctx);
    plat_pump_messages(ctx);
    if (!g_process_ready) {
        if (!process_startup(ctx->pretty_dialogs)) { GlobalUnlock(block); return 0; }
        g_process_ready = true;
    }
    GlobalUnlock(block);
    return 44;
}

static WORD mode_variables(HINSTANCE host, HGLOBAL block, HGLOBAL vars, LPARAM host_value, const char* t1,
                           const char* t2) {
    Context* ctx = (Context*)GlobalLock(block);
    if (!ctx) return 1;
    bounded_copy(ctx, ctx->host_name3, t1 ? t1 : "", sizeof ctx->host_name3);
    bounded_copy(ctx, ctx->host_name4, t2 ? t2 : "", sizeof ctx->host_name4);
    ctx->var_block = vars;
    SIZE_T slots = vars ? GlobalSize(vars) / sizeof(VarSlot) : 0;
    ctx->var_capacity = (uint16_t)(slots < NO_VARIABLE ? slots : NO_VARIABLE - 1);
    ctx->var_count = 0;
    ctx->vars = nullptr;
    if (host_value) ctx->host_value = host_value;
    if (!ctx->host_instance) ctx->host_instance = host;
    ctx->self_block = block;
    // The rest of the per-context state starts empty.
    ctx->error = 0;
    ctx->last_reported = 0;
    ctx->result = value_int(0);
    ctx->result.flags = 0;
    memset(ctx->files, 0, sizeof ctx->files);
    ctx->main_window = NULL;
    ctx->language_state = LANG_UNKNOWN;
    // A throw-away window of the notification class (its default rectangle).
    HWND probe = CreateWindowA(kClassNotify, "", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                               CW_USEDEFAULT, CW_USEDEFAULT, NULL, NULL, g_module, NULL);
    if (probe) {
        RECT r;
        GetWindowRect(probe, &r);
        DestroyWindow(probe);
    }
    plat_pump_messages(ctx);
    GlobalUnlock(block);
    return 1;
}

// [DllUsage] <first host name of mode 2> = text, written only when it differs.
static void record_usage(Context* ctx, const char* text) {
    if (!ctx->host_name3[0] || !text) return;
    char now[LINE_BUF];
    plat_profile_string(kSettingsFile, "DllUsage", ctx->host_name3, "", now, sizeof now);
    if (lstrcmpiA(now, text) != 0)
        WritePrivateProfileStringA("DllUsage", ctx->host_name3, text, kSettingsFile);
}

static WORD mode_heap(HGLOBAL block, HGLOBAL heap_block, LPARAM heap_size, const char* t1) {
    Context* ctx = (Context*)GlobalLock(block);
    if (!ctx) return 0;
    record_usage(ctx, t1);
    uint8_t* heap = heap_block ? (uint8_t*)GlobalLock(heap_block) : nullptr;
    if (!heap) { GlobalUnlock(block); return 0; }
    uint32_t size = heap_size > 0 && (uint32_t)heap_size < HEAP_MAX_SIZE ? (uint32_t)heap_size : HEAP_MAX_SIZE;
    SIZE_T have = GlobalSize(heap_block);
    if (have < size) size = (uint32_t)have;
    heap_init(heap, size);
    GlobalUnlock(heap_block);
    ctx->heap_block = heap_block;
    ctx->heap_size = size;
    ctx->heap = nullptr;  // locked afresh by every run and service
    if (g_attached == 0) extender_load(ctx);
    if (!ctx->attached) { ctx->attached = 1; ++g_attached; }
    ctx->initialised = 1;
    plat_pump_messages(ctx);
    GlobalUnlock(block);
    return 1;
}

static WORD mode_shutdown(HGLOBAL block) {
    Context* ctx = (Context*)GlobalLock(block);
    if (!ctx) return 1;
    // The host's shutdown command may answer with a text: heap and
    // variables are locked for it as during a run.
    ctx->vars = ctx->var_block ? (VarSlot*)GlobalLock(ctx->var_block) : nullptr;
    ctx->heap = ctx->heap_block ? (uint8_t*)GlobalLock(ctx->heap_block) : nullptr;
    if (ctx->host_proc && ctx->heap) {
        Value scratch = value_int(0);
        command_call(ctx, CMD_SHUTDOWN, &scratch);
        value_free(ctx, &scratch);
        ctx->error = 0;
    }
    files_close_all(ctx);
    periphery_shutdown(ctx);
    dde_shutdown(ctx);
    if (ctx->attached) {
        ctx->attached = 0;
        if (--g_attached == 0) extender_unload();
        if (g_attached == 0 && g_texture_brush) {
            // The dialog classes keep the brush as their background: after
            // the last shutdown they paint with the window colour instead.
            SetLastError(0);
            DeleteObject(g_texture_brush);
            g_texture_brush = NULL;
        }
    }
    if (ctx->extra_block) { GlobalFree(ctx->extra_block); ctx->extra_block = NULL; }
    if (ctx->heap) GlobalUnlock(ctx->heap_block);
    if (ctx->vars) GlobalUnlock(ctx->var_block);
    ctx->heap = nullptr;
    ctx->vars = nullptr;
    GlobalUnlock(block);
    return 1;
}

} // namespace tsl

extern "C" WORD WINAPI DoDaDllInit(HINSTANCE host, HGLOBAL context, WPARAM handle_or_value, int mode,
                                   LPARAM host_value, LPCSTR text1, LPCSTR text2) {
    while (g_busy) Sleep(50);
    g_busy = 1;
    WORD r = 0;
    switch (mode) {
    case TSL_INIT_INTERFACE: r = mode_interface(handle_or_value); break;
    case TSL_INIT_CONTEXT: r = mode_context(host, context, host_value, text1, text2); break;
    case TSL_INIT_VARIABLES:
        r = mode_variables(host, context, (HGLOBAL)handle_or_value, host_value, text1, text2);
        break;
    case TSL_INIT_HEAP: r = mode_heap(context, (HGLOBAL)handle_or_value, host_value, text1); break;
    case TSL_INIT_SHUTDOWN: r = mode_shutdown(context); break;
    default: break;  // an unknown mode does nothing
    }
    g_busy = 0;
    return r;
}

extern "C" BOOL WINAPI LibMain(HINSTANCE module, DWORD, LPVOID) {
    g_module = module;
    return TRUE;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_DETACH && !reserved && g_process_ready) {
        // Classes a DLL registers outlive it; a later load would find them
        // taken. (At process exit, reserved != NULL, nothing needs undoing.)
        unregister_classes();
        if (g_texture_brush) DeleteObject(g_texture_brush);
        g_texture_brush = NULL;
        g_process_ready = false;
    }
    return LibMain(module, reason, reserved);
}

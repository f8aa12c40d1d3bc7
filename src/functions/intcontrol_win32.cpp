// IntControl, the interpreter's grab-bag of internal requests, and
// IconArrange. DLL only: most requests talk to windows.
#include <windows.h>
#include <cstdio>
#include <cstring>
#include "../core/bounded.h"
#include "../core/command_call.h"
#include "../core/messages.h"
#include "families.h"
#include "../system/window_find.h"

namespace tsl {

struct ClassCount { const char* pattern[3]; int count[3]; };

static BOOL CALLBACK count_children(HWND w, LPARAM lp) {
    ClassCount* c = reinterpret_cast<ClassCount*>(lp);
    char cls[257];
    if (!GetClassNameA(w, cls, sizeof cls)) return TRUE;
    for (int i = 0; i < 3; ++i) {
        size_t n = strlen(c->pattern[i]);
        if (n && strncmp(cls, c->pattern[i], n) == 0) ++c->count[i];
    }
    return TRUE;
}

static HWND window_arg(const char* text) {
    LONG_PTR v = (LONG_PTR)text_to_integer(text);
    HWND w = (HWND)v;
    return (v == -1 || IsWindow(w)) ? w : nullptr;
}

static void set_flag_result(char* out, unsigned size, int previous) {
    snprintf(out, size, "%d", previous ? 1 : 0);
}

static void fn_int_control(Context* ctx, Value* r, Value* a) {
    int request = a[1].integer;
    const char* p1 = value_text(ctx, a[2]);
    const char* p2 = value_text(ctx, a[3]);
    const char* p3 = value_text(ctx, a[4]);
    const char* p4 = value_text(ctx, a[5]);
    char n1[19];
    bounded_copy(ctx, n1, p1, sizeof n1);
    int32_t p1num = text_to_integer(n1);
    char out[300] = "1";
    switch (request) {
    case 1:
        plat_message_box(ctx->owner, p2, p1, MB_OK);
        plat_message_box(ctx->owner, p4, p3, MB_OK);
        break;
    case 4: case 5: case 12: case 28: {
        int k = request == 4 ? 0 : request == 5 ? 1 : request == 12 ? 2 : 3;
        set_flag_result(out, sizeof out, ctx->host_switches[k]);
        ctx->host_switches[k] = p1num != 0;
        break;
    }
    case 7:
        set_flag_result(out, sizeof out, ctx->debug_output);
        ctx->debug_output = p1num != 0;
        break;
    case 40:   // the list boxes in the fixed-pitch font
        set_flag_result(out, sizeof out, ctx->box.fixed_pitch_list);
        ctx->box.fixed_pitch_list = p1num != 0;
        break;
    case 41:   // a DialogBox file list must have a file chosen before it ends
        set_flag_result(out, sizeof out, ctx->box.file_required);
        ctx->box.file_required = p1num != 0;
        break;
    case 8:
        command_call(ctx, HOST_COMMAND_BASE + 0, r);
        if (!ctx->error) fail(ctx, 9015);
        return;
    case 10:
        if (p1num == 0) snprintf(out, sizeof out, "%d", g_extender_proc ? 1 : 0);
        else if (p1num == 1) snprintf(out, sizeof out, "%d", (int)g_extender_init_value);
        else if (p1num == 2) snprintf(out, sizeof out, "%d", (int)INTERFACE_MAGIC);
        else if (p1num == 3)
            GetPrivateProfileStringA("MAIN", "CMDEXTDLL", "TSXDNETX.DLL", out, sizeof out, "TSLPROCS.INI");
        else bounded_copy(ctx, out, "0", sizeof out);
        break;
    case 20: snprintf(out, sizeof out, "%lld", (long long)(INT_PTR)ctx->main_window); break;
    case 21: {
        HWND w = (HWND)ctx->main_window;
        if (*p1) w = window_find(ctx, p1);
        snprintf(out, sizeof out, "%lld", (long long)(INT_PTR)w);
        break;
    }
    case 22: {
        HWND w = window_arg(p1);
        if (!w) break;
        size_t len = strlen(p4) + 1;
        HGLOBAL g = GlobalAlloc(GMEM_MOVEABLE, len);
        char* copy = g ? (char*)GlobalLock(g) : nullptr;
        if (copy) {
            memcpy(copy, p4, len);
            SendMessageA(w, (UINT)text_to_integer(p2), (WPARAM)text_to_integer(p3), (LPARAM)copy);
            GlobalUnlock(g);
        }
        if (g) GlobalFree(g);
        break;
    }
    case 23: {
        HWND w = window_arg(p1);
        if (w) PostMessageA(w, (UINT)text_to_integer(p2), (WPARAM)text_to_integer(p3), (LPARAM)text_to_integer(p4));
        break;
    }
    case 25: {
        HWND top = FindWindowA(p1, nullptr);
        if (!top) { bounded_copy(ctx, out, "0 0 0", sizeof out); break; }
        ClassCount c{{p2, p3, p4}, {0, 0, 0}};
        EnumChildWindows(top, count_children, (LPARAM)&c);
        snprintf(out, sizeof out, "%d %d %d", c.count[0], c.count[1], c.count[2]);
        break;
    }
    case 26: load_message(ctx, 0, out, sizeof out); bounded_copy(ctx, out, "1", sizeof out); break;
    case 30: case 31: {
        int show = text_to_integer(p4);
        if (!(show == 1 || show == 2 || show == 3 || show == 5 || show == 6 || show == 7 || show == 9)) show = 1;
        HINSTANCE h = ShellExecuteA((HWND)ctx->owner, request == 30 ? "open" : "print", p1, *p2 ? p2 : nullptr,
                                    *p3 ? p3 : nullptr, show);
        bounded_copy(ctx, out, (INT_PTR)h > 32 ? "1" : "0", sizeof out);
        break;
    }
    case 66: case 67: case 68: case 69: {
        static const UINT flags[] = {EWX_LOGOFF, EWX_REBOOT, EWX_SHUTDOWN, EWX_FORCE};
        ExitWindowsEx(flags[request - 66], 0);
        bounded_copy(ctx, out, "0", sizeof out);
        break;
    }
    default: {
        // Unlisted requests go to a host command named "intcontrol", when the host has one.
        int idx = host_command_index(ctx, "intcontrol");
        if (idx < 0) { value_set_text(ctx, r, ""); fail(ctx, 3171); return; }
        char req[16];
        snprintf(req, sizeof req, "%d", request);
        command_call(ctx, HOST_COMMAND_BASE + idx, r, req, p1, p2, p3, p4);
        return;
    }
    }
    value_set_text(ctx, r, out);
}

static void fn_icon_arrange(Context*, Value* r, Value*) {
    r->integer = (int32_t)ArrangeIconicWindows(GetDesktopWindow());
}

static const FunctionEntry kTable[] = {
    {141, fn_icon_arrange},
    {153, fn_int_control},
};
TSL_FAMILY_DEFINE(kFamilyControl, kTable)

} // namespace tsl

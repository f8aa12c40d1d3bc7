// DLLServices: what hosts and extenders may ask of an interpreter context
// outside the language.
#include <windows.h>
#include "../../include/tslpr32i.h"
#include "context.h"
#include "bounded.h"
#include "vars.h"
#include "../interapp/dde_debug_window.h"
#include "../menus/menu_fault.h"

using namespace tsl;

namespace {

// Services that touch variables or the heap outside a run lock the
// context's blocks for the call; during a run they are locked already.
struct RunBlocks {
    Context* ctx;
    bool locked_vars = false, locked_heap = false;
    explicit RunBlocks(Context* c) : ctx(c) {
        if (!ctx->vars && ctx->var_block) {
            ctx->vars = (VarSlot*)GlobalLock(ctx->var_block);
            locked_vars = ctx->vars != nullptr;
        }
        if (!ctx->heap && ctx->heap_block) {
            ctx->heap = (uint8_t*)GlobalLock(ctx->heap_block);
            locked_heap = ctx->heap != nullptr;
        }
    }
    bool ready() const { return ctx->vars && ctx->heap; }
    ~RunBlocks() {
        if (locked_heap) { GlobalUnlock(ctx->heap_block); ctx->heap = nullptr; }
        if (locked_vars) { GlobalUnlock(ctx->var_block); ctx->vars = nullptr; }
    }
};

LRESULT service(Context* ctx, int code, LPARAM p1, LPARAM p2, LPARAM p3) {
    switch (code) {
    case TSL_SERVICE_IDENT:
        bounded_copy(ctx, ctx->ident, p1 ? (const char*)p1 : "", sizeof ctx->ident);
        return 1;
    case TSL_SERVICE_SET_VAR: {
        if (!p1) return 0;
        RunBlocks blocks(ctx);
        if (!blocks.ready()) return 0;
        uint16_t saved = ctx->error;
        ctx->error = 0;
        var_set_text(ctx, (const char*)p1, p2 ? (const char*)p2 : "");
        LRESULT ok = ctx->error == 0;
        ctx->error = saved;
        return ok;
    }
    case TSL_SERVICE_GET_VAR: {
        if (!p1 || !p2 || p3 <= 0) return 0;
        RunBlocks blocks(ctx);
        if (!blocks.ready()) return 0;
        uint16_t saved = ctx->error;
        int ok = var_get_text(ctx, (const char*)p1, (char*)p2, (unsigned)p3);
        ctx->error = saved;
        return ok;
    }
    case TSL_SERVICE_SCRIPT_NAME:
        bounded_copy(ctx, ctx->top_script_name, p1 ? (const char*)p1 : "", sizeof ctx->top_script_name);
        return 1;
    case TSL_SERVICE_IDLE_CALLS: ctx->idle_calls = p1 != 0; return 1;
    case TSL_SERVICE_BREAK_REPORT: ctx->break_report = p1 != 0; return 1;
    case TSL_SERVICE_ENCODED_ONLY: {
        LRESULT before = ctx->encoded_only;
        if (p1 != -1) ctx->encoded_only = p1 != 0;
        return before;
    }
    case TSL_SERVICE_RUN_ERROR: return ctx->run_error;
    case TSL_SERVICE_RUN_RESULT: return ctx->run_result;
    case TSL_SERVICE_RUN_BREAK: return ctx->break_flag != 0;
    case TSL_SERVICE_DDE_DEBUG:
        if (p1) return (LRESULT)dde_debug_window_open();
        dde_debug_window_close((PHandle)p2);
        return 1;
    default: return 0;
    }
}

} // namespace

extern "C" LRESULT WINAPI DLLServices(HGLOBAL context, int code, LPARAM p1, LPARAM p2, LPARAM p3) {
    if (code == TSL_SERVICE_CONSOLE) {  // process-wide: no context needed
        plat_set_console_mode(p1 != 0);
        return 1;
    }
    if (code == TSL_SERVICE_MENU_FAULT)  // process-wide too
        return p1 >= 0 && p1 < 1000 && menu_fault_request((unsigned)p1);
    Context* ctx = context ? (Context*)GlobalLock(context) : nullptr;
    if (!ctx) return 0;
    LRESULT r = service(ctx, code, p1, p2, p3);
    GlobalUnlock(context);
    return r;
}

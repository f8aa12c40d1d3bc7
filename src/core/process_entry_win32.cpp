// The run entry ProcessDaBatBuffer: locks the host's blocks, stores the
// run's windows and host command hooks, and runs the script.
#include <windows.h>
#include "../../include/tslpr32i.h"
#include "context.h"
#include "runloop.h"

using namespace tsl;

extern "C" long WINAPI ProcessDaBatBuffer(HWND owner, HGLOBAL context, HGLOBAL script,
                                          TslCommandProc host_proc, const TslKeywordRecord* host_table) {
    Context* ctx = (Context*)GlobalLock(context);
    if (!ctx) return 0;
    char* text = script ? (char*)GlobalLock(script) : nullptr;
    if (!text) { GlobalUnlock(context); return 0; }
    // The variable table and the heap may have moved since the last run.
    VarSlot* vars = ctx->var_block ? (VarSlot*)GlobalLock(ctx->var_block) : nullptr;
    uint8_t* heap = ctx->heap_block ? (uint8_t*)GlobalLock(ctx->heap_block) : nullptr;
    if (!vars || !heap) {
        if (heap) GlobalUnlock(ctx->heap_block);
        if (vars) GlobalUnlock(ctx->var_block);
        GlobalUnlock(script);
        GlobalUnlock(context);
        return 0;
    }
    ctx->vars = vars;
    ctx->heap = heap;
    ctx->owner = owner;
    ctx->owner_parent = owner ? GetParent(owner) : NULL;
    if (!ctx->main_window) ctx->main_window = owner;
    ctx->host_proc = (CommandProc)host_proc;
    ctx->host_table = (const KeywordRecord*)host_table;

    // The script stays locked for the whole run: the run loop reads it in
    // place and GoTo writes its cached jumps into it.
    run_script(ctx, text);

    // The host procedure stays known: DoDaDllInit mode 99 sends it the
    // shutdown command.
    ctx->heap = nullptr;
    ctx->vars = nullptr;
    GlobalUnlock(ctx->heap_block);
    GlobalUnlock(ctx->var_block);
    GlobalUnlock(script);
    GlobalUnlock(context);
    return 1;
}

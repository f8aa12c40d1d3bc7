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
    // A run started from within a run (a host command that runs another
    // script on the same context) gives the outer run its pointers back.
    VarSlot* outer_vars = ctx->vars;
    uint8_t* outer_heap = ctx->heap;
    CommandProc outer_proc = ctx->host_proc;
    const KeywordRecord* outer_table = ctx->host_table;
    ctx->vars = vars;
    ctx->heap = heap;
    ctx->owner = owner;
    ctx->owner_parent = owner ? GetParent(owner) : NULL;
    if (!ctx->main_window) ctx->main_window = owner;
    ctx->host_proc = (CommandProc)host_proc;
    ctx->host_table = (const KeywordRecord*)host_table;
    ctx->box.names_pending = 0;   // ButtonNames never reach into a later run

    // The script stays locked for the whole run: the run loop reads it in
    // place and GoTo writes its cached jumps into it.
    run_script(ctx, text);

    // After the outermost run the host procedure stays known: DoDaDllInit
    // mode 99 sends it the shutdown command.
    if (outer_heap) {
        ctx->host_proc = outer_proc;
        ctx->host_table = outer_table;
    }
    ctx->heap = outer_heap;
    ctx->vars = outer_vars;
    GlobalUnlock(ctx->heap_block);
    GlobalUnlock(ctx->var_block);
    GlobalUnlock(script);
    GlobalUnlock(context);
    return 1;
}

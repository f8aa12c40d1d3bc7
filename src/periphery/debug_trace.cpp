// The debug trace's dialog: before each statement while Debug is on, the
// line about to run and the last statement's result (with its error number
// when it failed). Step runs the line, Run runs on with the trace off,
// Cancel (or closing the dialog) stops the run before the line.
#include "debug_trace.h"
#include "../core/plat.h"
#include "../ui/dialog_contexts.h"
#include "../resources/dialogs/debugtrace_ids.h"
#include <cstdio>
#include <cstring>
#include <windows.h>

extern "C" INT_PTR CALLBACK DebugProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp);

namespace tsl {

namespace {

struct TraceView {
    Context* ctx;
    const char* line;
};

HMODULE own_module() {
    HMODULE m = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       (LPCSTR)&own_module, &m);
    return m;
}

// "5", "text", or "(none)" before the first statement; "error N" after a failure.
void result_text(Context* ctx, char* out, unsigned size) {
    const Value& r = ctx->result;
    if (r.flags & VF_STR) snprintf(out, size, "%s", value_text(ctx, r));
    else if (r.flags & VF_INT) snprintf(out, size, "%ld", (long)r.integer);
    else snprintf(out, size, "(none)");
    if (ctx->last_error) {
        size_t n = strlen(out);
        snprintf(out + n, size - n, "   (error %u)", (unsigned)ctx->last_error);
    }
}

} // namespace

int debug_trace_dialog(Context* ctx, const char* line) {
    TraceView view{ctx, line};
    INT_PTR r = DialogBoxParamA(own_module(), "DEBUGTRC", (HWND)ctx->owner, DebugProc, (LPARAM)&view);
    SetCursor((HCURSOR)ctx->current_cursor);
    if (r == DT_RUN) return TRACE_RUN;
    if (r == IDOK || r <= 0) return TRACE_STEP;   // a dialog that cannot be shown does not stop the run
    return TRACE_STOP;
}

} // namespace tsl

using namespace tsl;

extern "C" INT_PTR CALLBACK DebugProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
    switch (msg) {
    case WM_INITDIALOG: {
        const TraceView* v = (const TraceView*)lp;
        dialog_context_add(dlg, v->ctx);
        char text[LINE_BUF + 32];
        SetDlgItemTextA(dlg, DT_LINE, v->line);
        result_text(v->ctx, text, sizeof text);
        SetDlgItemTextA(dlg, DT_RESULT, text);
        return TRUE;
    }
    case WM_COMMAND: {
        int id = LOWORD(wp);
        if (id != IDOK && id != DT_RUN && id != IDCANCEL) return FALSE;
        dialog_context_remove(dlg);
        EndDialog(dlg, id);
        return TRUE;
    }
    }
    return FALSE;
}

// The debug-trace dialog (DEBUGTRC, procedure DebugProc).
#pragma once
#include "../core/context.h"

namespace tsl {
// Shows the line about to run and the last statement's result; returns
// TRACE_STEP, TRACE_RUN (go on with the trace off) or TRACE_STOP.
int debug_trace_dialog(Context* ctx, const char* line);
}

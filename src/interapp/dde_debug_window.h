// The diagnostic DDE server window. The interpreter serves no DDE; this
// window only shows, box by box, which raw DDE messages reach it, for
// checking what a DDE client program sends (DLLServices 120).
#pragma once
#include "../core/context.h"

namespace tsl {

// Shows "DDE SERVER MODE" and makes the hidden diagnostic window; nullptr
// when it cannot be made.
PHandle dde_debug_window_open();
void dde_debug_window_close(PHandle window);

} // namespace tsl

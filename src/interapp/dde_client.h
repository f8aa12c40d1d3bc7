// The DDE client: numbered conversations of a context with other programs
// through DDEML (DDEInitiate .. DDETimeout, family kFamilyDde), and their end
// at library shutdown.
#pragma once
#include "../core/context.h"

namespace tsl {

// Terminates every open channel of the context and uninitialises its DDEML
// instance (DoDaDllInit mode 99).
void dde_shutdown(Context* ctx);

} // namespace tsl

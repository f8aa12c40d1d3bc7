// The registry functions' open keys, closed when their context shuts down.
#pragma once
#include "../core/context.h"

namespace tsl {
// Closes every key that the context opened and left open.
void registry_close_all(Context* ctx);
}

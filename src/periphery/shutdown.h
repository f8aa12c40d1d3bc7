// What the periphery gives back when a context shuts down (DoDaDllInit
// mode 99): open registry keys and automation objects.
#pragma once
#include "../core/context.h"

namespace tsl {
void periphery_shutdown(Context* ctx);
}

// Closes what the context's scripts left open in the periphery.
#include "shutdown.h"
#include "objects.h"
#include "registry.h"

namespace tsl {

void periphery_shutdown(Context* ctx) {
    registry_close_all(ctx);
    objects_release_all(ctx);
}

} // namespace tsl

// The command extender's life: loaded at the first attach (DoDaDllInit
// mode 3), its commands appended to the keyword table as records 272..291,
// unloaded at the last shutdown (mode 99).
#pragma once
#include "../core/context.h"

namespace tsl {

// Reads CMDEXTDLL, loads the library and takes its commands.
void extender_load(Context* ctx);
// COMEXT_DONE (when the extender was accepted), FreeLibrary, and the
// keyword table back to its built-in records.
void extender_unload();

} // namespace tsl

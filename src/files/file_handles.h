// Sequential text files: FileOpen, FileRead, FileWrite, FileClose.
#pragma once
#include "../core/context.h"

namespace tsl {

// Mode-word bits of a file slot.
enum : uint32_t {
    FM_READ = 1, FM_EOF_MET = 2, FM_WRITE = 4, FM_PIPE = FM_READ | FM_WRITE, FM_EOF_GIVEN = 8,
};

// Closes every file the context still holds open (with its read-ahead
// buffer) and clears the slots. Called when a context shuts down.
void files_close_all(Context* ctx);

} // namespace tsl

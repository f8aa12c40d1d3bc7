// Script runs: the line reader, the run loop and the portable half of the run entry.
#pragma once
#include "context.h"

namespace tsl {

// Reads the next line (at most SCRIPT_LINE_MAX bytes; CR or Ctrl+Z ends it, LF is
// dropped, leading blanks skipped). Returns 0 at the end of the text.
int read_line(const char* script, uint32_t length, uint16_t* pos, uint16_t* line_start, char* line);

// Runs lines from *pos until the end (1), exit/error/break (0) or return (-1).
int run_loop(Context* ctx, char* script, uint32_t length, uint16_t* pos, uint16_t* line_start);

// Resets the per-run fields of the context (error mode, break flag, ...).
void run_reset(Context* ctx);

// One whole run of a NUL-terminated script held in a locked buffer: reset,
// loop from position 0, results stored. The Win32 entry ProcessDaBatBuffer
// locks the host's blocks, stores the windows and calls this.
void run_script(Context* ctx, char* script);

} // namespace tsl

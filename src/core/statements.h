// The statement executor: one line's statement, if/then/else, goto with its
// cache in the script buffer, execute, exit, return, and Call.
#pragma once
#include "context.h"

namespace tsl {

// Where a statement stands: the script it came from and the reading positions.
struct ScriptPlace {
    char* script;          // the script buffer (goto writes its cache bytes here)
    uint32_t length;
    uint16_t* pos;         // reading position, writable
    uint16_t* line_start;  // start of the current line, writable
};

// Runs one statement. `stmt` points into `line`; from_outside is set for
// substituted lines and execute. Returns 1 go on, 0 stop, -1 return.
int execute_statement(Context* ctx, char* line, char* stmt, ScriptPlace* place, bool from_outside);

// Substitutes %name% in place: 1 nothing substituted, 2 substituted, 0 error.
int substitute_variables(Context* ctx, char* line);

// Call(file, parameters): runs another script file with Param variables.
void call_script(Context* ctx, const char* file, const char* params);

// Sets Param0.. from a parameter text (split at blanks, quotes kept together).
void set_call_parameters(Context* ctx, const char* params);

} // namespace tsl

// The command call: host commands (ids 900 and up), command-extender
// functions (ids 272..899) and the special commands (-1 idle, -3 shutdown),
// all with one calling convention, answering through ViperAnswer.
#pragma once
#include "context.h"

namespace tsl {

const int32_t INTERFACE_MAGIC = 100010205;
const int CMD_IDLE = -1;
const int CMD_SHUTDOWN = -3;

// Calls command `id` with up to five argument texts (nullptr = ""); the
// answer lands in *result. A negative answer raises the extender errors.
void command_call(Context* ctx, int id, Value* result, const char* t1 = nullptr, const char* t2 = nullptr,
                  const char* t3 = nullptr, const char* t4 = nullptr, const char* t5 = nullptr);

// The callback through which commands answer (exported as ViperAnswer).
int32_t viper_answer(int32_t code, int32_t reserved, void* answer_record, int32_t kind, int32_t integer,
                     const char* text);

// The command extender's entry for its commands, when one is loaded (ids 272..).
extern CommandProc g_extender_proc;
// What the extender's initialisation returned (IntControl 10, request 1).
extern int32_t g_extender_init_value;

// Index of the host command with that name in ctx->host_table, or -1.
int host_command_index(const Context* ctx, const char* name);

} // namespace tsl

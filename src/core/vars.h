// The variable table: fixed-capacity slots in a host block, searched linearly.
#pragma once
#include <cstdint>
#include "context.h"

namespace tsl {

// Slot of a used variable with that name (case-insensitive), or NO_VARIABLE.
uint16_t var_find_slot(Context* ctx, const char* name);
// Whether a used slot holds that name (case-insensitively).
bool var_slot_holds(Context* ctx, uint16_t slot, const char* name);
// Slot of a defined variable, or NO_VARIABLE with error 3051 or 3052.
uint16_t find_var(Context* ctx, const char* name);
// The lexer's registration of a name it has read (flags 8); 3097 when full.
// Returns the name's slot (NO_VARIABLE when the table is full).
uint16_t var_register(Context* ctx, const char* name);
// Stores a value into a slot (the assignment rule): old text freed, new text copied.
void var_assign(Context* ctx, uint16_t slot, const Value& v);
// Drop by name as written (case-sensitive); unknown names are no error.
void var_drop(Context* ctx, const char* name);
// Folds a name of any length into a 30-character key.
void var_fold_key(const char* name, char key[32]);
// Get text by name: 1 with the text in buf, 0 when undefined (errors cleared).
int var_get_text(Context* ctx, const char* name, char* buf, unsigned size);
// Set by name: mode 1 integer, 2 text; other modes do nothing.
void var_set(Context* ctx, const char* name, int32_t integer, const char* text, int mode);
// Convenience for integer and text variables set by the interpreter itself.
inline void var_set_int(Context* ctx, const char* name, int32_t n) { var_set(ctx, name, n, nullptr, 1); }
inline void var_set_text(Context* ctx, const char* name, const char* t) { var_set(ctx, name, 0, t, 2); }

} // namespace tsl

// The function dispatcher: converts arguments by the string mask and routes
// each call by its keyword id to the family that implements it.
#pragma once
#include "../core/context.h"

namespace tsl {

const int MAX_ARGS = 5;

// A function of the language. args[1..n] hold the converted arguments (args[0]
// is unused); result starts as integer 0 with no text. On failure set
// ctx->error (use fail()); a text result goes through value_set_text.
// Variadic functions (StrCat, Average, Max, Min, WinCloseNot) read their own
// arguments with eval_next_argument; their args are empty.
typedef void (*FunctionImpl)(Context* ctx, Value* result, Value* args);

struct FunctionEntry {
    int16_t id;           // the keyword id (see the KwId names and keyword_table.cpp)
    FunctionImpl fn;
};

struct FunctionFamily {
    const FunctionEntry* entries;
    unsigned count;
};

// Calls function `id`. `pass_through` skips the argument conversion.
void dispatch(Context* ctx, int id, Value* result, Value* args, int argc, uint16_t str_mask,
              bool pass_through);

// The families linked into this build (family_list_*.cpp).
extern const FunctionFamily* const kFamilies[];
extern const unsigned kFamilyCount;

} // namespace tsl

// Declares and defines a family's table: FAMILY(name) { {id, fn}, ... };
#define TSL_FAMILY_DECL(name) extern const ::tsl::FunctionFamily name;
#define TSL_FAMILY_DEFINE(name, table) \
    const ::tsl::FunctionFamily name = {table, sizeof(table) / sizeof(table[0])};

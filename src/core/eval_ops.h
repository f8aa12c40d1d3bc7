// The evaluator's operations on values, shared with the statement plans
// (plan.cpp), which run a statement's expression without reading tokens and
// must do exactly what the evaluator does, in the same order.
#pragma once
#include "context.h"

namespace tsl {

// Binary operator levels, lowest first; 0 = not a binary operator.
enum Level : uint8_t { L_NONE = 0, L_LOGICAL = 1, L_BITWISE, L_COMPARE, L_SHIFT, L_ADDITIVE, L_TERM };
uint8_t level_of(int id);

// The integer operators (logical, bitwise, shift, arithmetic) and the
// comparisons: the result replaces `left`; `right` is left for the caller to free.
void apply_binary(Context* ctx, int op, Value* left, Value* right);
void apply_compare(Context* ctx, int op, Value* left, Value* right);
// The same on plain integers: 0 with the result in *r, or the error
// number; the comparison from the order c (below 0, 0, above 0).
uint16_t integer_binary(int op, int32_t a, int32_t b, int32_t* r);
uint16_t compare_outcome(int op, int c, int32_t* r);
// "!", "+", "-" and "~" on a value already evaluated.
void apply_unary(Context* ctx, int op, Value* v);
// A variable's value by its slot (NO_VARIABLE or an undefined slot: by name).
void load_variable(Context* ctx, uint16_t slot, const char* name, Value* v);
// A string literal's value.
void load_literal(Context* ctx, const char* text, Value* v);
// Frees a value's text; frees the texts of args[1..n].
void free_text(Context* ctx, Value* v);
void free_args(Context* ctx, Value* args, int n);

} // namespace tsl

// The expression evaluator: recursive descent over the lexer's tokens, one
// function per precedence level, evaluating as it parses.
#pragma once
#include "context.h"

namespace tsl {

// Evaluates the expression starting at the current token (assigning when it
// starts with `name =`). Leaves the first token after it current.
void eval_expression(Context* ctx, Value* v);

// Reads the argument list of a variadic function, one expression at a time:
// call it after the "(" (the current token); it reads the next token,
// evaluates one argument into *v and reports in *last whether the argument
// was closed by ")". Returns 0 with ctx->error set on failure, or with
// `syntax_error` set when the argument was not followed by "," or ")".
int eval_next_argument(Context* ctx, Value* v, bool* last, uint16_t syntax_error);

// An assignment to a dotted reference (obj.member = value) goes here once
// the object functions have set it: true when the reference named an
// object's property (with ctx->error set if putting the value failed),
// false to refuse it with 2253. Unset, every such assignment is 2253.
typedef bool (*DottedAssignFn)(Context* ctx, const char* reference, const Value* value);
extern DottedAssignFn g_dotted_assign;

} // namespace tsl

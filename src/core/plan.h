// Statement plans. A statement that runs again (a loop's body) is not
// parsed again: from the tokens its earlier run recorded, the common forms
// (an expression or assignment, "if ... then") are turned once into a small
// tree of operands, operators and function calls, and each later run walks
// the tree. The walk does what the evaluator does, in the same order and
// through the same operations (eval_ops.h): a name is registered again
// when its slot no longer holds it, texts are allocated and freed at the
// same points, and errors arise where they would. What a plan cannot hold
// (statements other than "if", Drop, IsDefined, dotted references,
// functions that read their own arguments) runs as before.
#pragma once
#include "context.h"

namespace tsl {

enum PlanKind : uint8_t {
    N_NUMBER,     // a number or an @constant: value
    N_NAME,       // a variable: text = its name as written, slot = where it was last found
    N_LITERAL,    // a string literal: text
    N_UNARY,      // id = operator, a = operand
    N_BINARY,     // id = operator, count = its level, a and b = operands
    N_CALL,       // id = function, count = arguments listed from arg[a], value = string mask
    N_ASSIGN,     // a = the target's N_NAME, b = the value
    N_IF,         // a = the condition, value = where the text after "then" starts
};

struct PlanNode {
    uint8_t kind;
    uint8_t count;
    int16_t id;
    uint16_t slot;
    uint16_t a, b;
    uint16_t text;
    int32_t value;
    uint64_t key, mask;   // N_NAME of up to 7 ASCII characters: its lower-case bytes with the NUL
};

const unsigned PLAN_NODES = 4096;     // nodes of all plans of a run
const unsigned PLAN_TEXT = 16384;     // bytes of their names and literals
const unsigned PLAN_ARGS = 2048;      // function arguments

// Every plan of a run (kept with the line records, never overwritten: a
// statement may start a nested run that reuses the line records).
struct PlanPool {
    uint16_t nodes, text, args;
    PlanNode node[PLAN_NODES];
    char texts[PLAN_TEXT];
    uint16_t arg[PLAN_ARGS];
};

// The plan of the statement at `stmt` of the current line, made on the
// first run after the statement's tokens were all recorded; null when the
// statement has none.
const PlanNode* plan_find(Context* ctx, const char* stmt);
// Evaluates a plan's expression (an assignment included) into v, as
// eval_expression does at the statement's first token.
void plan_eval(Context* ctx, const PlanNode* n, Value* v);
// The condition of an N_IF plan.
const PlanNode* plan_condition(Context* ctx, const PlanNode* n);

} // namespace tsl

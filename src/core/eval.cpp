// The expression evaluator: recursive descent over the lexer's tokens with
// no syntax tree; each level evaluates as it parses.
//
//   expression  -> name "=" logical | logical
//   logical     -> bitwise { ("&&" | "||") bitwise }
//   bitwise     -> compare { ("^" | "&" | "|") compare }
//   compare     -> shift { ("==" | "!=" | "<>" | "<" | "<=" | ">" | ">=") shift }
//   shift       -> additive { ("<<" | ">>") additive }
//   additive    -> term { ("+" | "-") term }
//   term        -> prefix { ("*" | "/" | "mod") prefix }
//   prefix      -> ("!" | "+" | "-" | "~") prefix | call | Drop(...) | IsDefined(...) | primary
//   primary     -> "(" expression ")" | @constant | name | number | string
#include "eval.h"
#include "eval_ops.h"
#include <cstring>
#include "../functions/dispatch.h"
#include "heap.h"
#include "lexer.h"
#include "vars.h"

namespace tsl {

static void prefix(Context* ctx, Value* v);

static inline bool is_op(const Context* ctx, int id) { return ctx->tok_kind == T_KEYWORD && ctx->tok_id == id; }

void free_text(Context* ctx, Value* v) {
    if (v->string) { heap_free(ctx->heap, v->string); v->string = 0; }
}

// An operator's result: integer only, no text, from no variable.
static inline void set_int_result(Context* ctx, Value* v, int32_t n) {
    free_text(ctx, v);
    *v = Value{n, 0, NO_VARIABLE, VF_INT};
}

static inline int32_t wrap_add(int32_t a, int32_t b) { return (int32_t)((uint32_t)a + (uint32_t)b); }
static inline int32_t wrap_sub(int32_t a, int32_t b) { return (int32_t)((uint32_t)a - (uint32_t)b); }
static inline int32_t wrap_mul(int32_t a, int32_t b) { return (int32_t)((uint32_t)a * (uint32_t)b); }

// The most negative integer divided by -1 wraps: quotient itself, remainder 0.
static int32_t divide(int32_t a, int32_t b) { return (b == -1) ? (int32_t)(0u - (uint32_t)a) : a / b; }
static int32_t modulo(int32_t a, int32_t b) { return (b == -1) ? 0 : a % b; }

uint16_t integer_binary(int op, int32_t a, int32_t b, int32_t* r) {
    switch (op) {
    case K_AND: *r = (a && b) ? 1 : 0; return 0;
    case K_OR: *r = (a || b) ? 1 : 0; return 0;
    case K_BITAND: *r = a & b; return 0;
    case K_BITOR: *r = a | b; return 0;
    case K_XOR: *r = a ^ b; return 0;
    case K_SHL: *r = (int32_t)((uint32_t)a << (b & 31)); return 0;
    case K_SHR: *r = a >> (b & 31); return 0;
    case K_PLUS: *r = wrap_add(a, b); return 0;
    case K_MINUS: *r = wrap_sub(a, b); return 0;
    case K_MUL: *r = wrap_mul(a, b); return 0;
    case K_DIV: if (!b) return 3062; *r = divide(a, b); return 0;
    case K_MOD: if (!b) return 3062; *r = modulo(a, b); return 0;
    default: return 3063;
    }
}

uint16_t compare_outcome(int op, int c, int32_t* r) {
    switch (op) {
    case K_EQ: *r = c == 0; return 0;
    case K_NE: case K_LTGT: *r = c != 0; return 0;
    case K_LT: *r = c < 0; return 0;
    case K_LE: *r = c <= 0; return 0;
    case K_GT: *r = c > 0; return 0;
    case K_GE: *r = c >= 0; return 0;
    default: return 3063;
    }
}

void apply_binary(Context* ctx, int op, Value* left, Value* right) {
    if (!value_to_integer(ctx, left) || !value_to_integer(ctx, right)) { fail(ctx, 3057); return; }
    int32_t r;
    uint16_t error = integer_binary(op, left->integer, right->integer, &r);
    if (error) { fail(ctx, error); return; }
    set_int_result(ctx, left, r);
}

// Comparisons are numeric when both sides read as integers, otherwise by
// the platform's locale collation of the texts (case-sensitive).
void apply_compare(Context* ctx, int op, Value* left, Value* right) {
    int c;
    if (value_to_integer(ctx, left) && value_to_integer(ctx, right)) {
        c = left->integer < right->integer ? -1 : left->integer > right->integer ? 1 : 0;
    } else {
        if (!value_to_string(ctx, left) || !value_to_string(ctx, right)) {
            if (!ctx->error) fail(ctx, 3095);
            return;
        }
        // Equality needs no order, which the platform finds dearly.
        const char* a = value_text(ctx, *left);
        const char* b = value_text(ctx, *right);
        bool equality = op == K_EQ || op == K_NE || op == K_LTGT;
        c = equality ? (plat_texts_equal(a, b) ? 0 : 1) : plat_compare(a, b);
    }
    int32_t r;
    uint16_t error = compare_outcome(op, c, &r);
    if (error) { fail(ctx, error); return; }
    set_int_result(ctx, left, r);
}

uint8_t level_of(int id) {
    switch (id) {
    case K_AND: case K_OR: return L_LOGICAL;
    case K_XOR: case K_BITAND: case K_BITOR: return L_BITWISE;
    case K_EQ: case K_NE: case K_LTGT: case K_LT: case K_LE: case K_GT: case K_GE: return L_COMPARE;
    case K_SHL: case K_SHR: return L_SHIFT;
    case K_PLUS: case K_MINUS: return L_ADDITIVE;
    case K_MUL: case K_DIV: case K_MOD: return L_TERM;
    default: return L_NONE;
    }
}

// The six binary levels as one loop (precedence climbing): an operand, then
// operators of at least min_level, each right operand parsed one level
// tighter, so every level associates to the left. "=" where a comparison
// could stand is error 3069.
static void binary(Context* ctx, Value* v, uint8_t min_level) {
    prefix(ctx, v);
    while (!ctx->error && ctx->tok_kind == T_KEYWORD) {
        int op = ctx->tok_id;
        uint8_t level = level_of(op);
        if (level == L_NONE) {
            if (op == K_ASSIGN && min_level <= L_COMPARE) fail(ctx, 3069);
            return;
        }
        if (level < min_level) return;
        get_token(ctx);
        if (ctx->error) return;
        Value right{0, 0, NO_VARIABLE, 0};
        binary(ctx, &right, (uint8_t)(level + 1));
        if (!ctx->error) {
            if (level == L_COMPARE) apply_compare(ctx, op, v, &right);
            else apply_binary(ctx, op, v, &right);
        }
        free_text(ctx, &right);
    }
}

static void logical(Context* ctx, Value* v) { binary(ctx, v, L_LOGICAL); }

// A variable's value: a copy of its text, and the slot it came from.
void load_variable(Context* ctx, uint16_t slot, const char* name, Value* v) {
    if (slot == NO_VARIABLE || !(ctx->vars[slot].value.flags & 3)) slot = find_var(ctx, name);
    if (ctx->error) return;
    const Value& s = ctx->vars[slot].value;
    *v = Value{s.integer, 0, slot, s.flags};
    if (s.string) v->string = value_copy_text(ctx, s.string);
}

// A string literal: its text, and the literal mark as its integer half.
void load_literal(Context* ctx, const char* text, Value* v) {
    *v = Value{STRING_LITERAL_MARK, 0, NO_VARIABLE, 0};
    if (!value_set_text(ctx, v, text)) return;
    v->integer = STRING_LITERAL_MARK;
}

// primary -> "(" expression ")" | @constant | name | number | string
static void primary(Context* ctx, Value* v) {
    switch (ctx->tok_kind) {
    case T_KEYWORD: {
        if (ctx->tok_id == K_LPAREN) {
            get_token(ctx);
            if (ctx->error) return;
            eval_expression(ctx, v);
            if (ctx->error) return;
            if (!is_op(ctx, K_RPAREN)) { fail(ctx, 3065); return; }
            break;
        }
        const KeywordRecord* r = keyword_record(ctx, ctx->tok_id);
        if (!r || r->kind != KW_CONSTANT) { fail(ctx, 3061); return; }
        *v = Value{keyword_constant(*r), 0, NO_VARIABLE, VF_INT};
        break;
    }
    case T_NAME:
        load_variable(ctx, ctx->tok_slot, ctx->tok_text, v);
        if (ctx->error) return;
        break;
    case T_NUMBER:
        *v = Value{text_to_integer(ctx->tok_text), 0, NO_VARIABLE, VF_INT};
        break;
    case T_STRING:
        load_literal(ctx, ctx->tok_text, v);
        if (ctx->error) return;
        break;
    default: fail(ctx, 3061); return;
    }
    get_token(ctx);
}

void free_args(Context* ctx, Value* args, int n) {
    for (int i = 1; i <= n; ++i) free_text(ctx, &args[i]);
}

// call -> function "(" [ expression { "," expression } ] ")"
static void function_call(Context* ctx, Value* v, const KeywordRecord* r) {
    int id = ctx->tok_id;
    int n = r->arg_count;
    bool variadic = n == VARIADIC;
    if (variadic) n = 0;
    if (n > MAX_ARGS) { fail(ctx, 3070); return; }
    bool no_paren = false;
    // A dotted reference hands its own text (obj.member...) to the object
    // functions in args[0]: the tokens after it overwrite the token text.
    char dotted[TOKEN_BUF];
    if (id == K_DOTTED) memcpy(dotted, ctx->tok_text, sizeof dotted);
    get_token(ctx);
    if (ctx->error) return;
    if (!is_op(ctx, K_LPAREN)) {
        if (id != K_DOTTED) { fail(ctx, 3067); return; }
        // A dotted reference may stand without parentheses.
        no_paren = true;
        unget_token(ctx);
    }
    Value args[MAX_ARGS + 1];
    for (auto& a : args) a = Value{0, 0, NO_VARIABLE, 0};
    if (id == K_DOTTED && !value_set_text(ctx, &args[0], dotted)) return;
    if (!variadic && !no_paren) {
        get_token(ctx);
        if (ctx->error) return;
        for (int i = 1; i <= n; ++i) {
            if (i > 1) {
                get_token(ctx);
                if (ctx->error) { free_args(ctx, args, i - 1); return; }
            }
            eval_expression(ctx, &args[i]);
            if (ctx->error) { free_args(ctx, args, i); return; }
            if (i < n && !is_op(ctx, K_COMMA)) { free_args(ctx, args, i); fail(ctx, 3068); return; }
        }
        if (!is_op(ctx, K_RPAREN)) { free_args(ctx, args, n); fail(ctx, 3066); return; }
    }
    dispatch(ctx, id, v, args, n, r->str_mask, false);
    free_args(ctx, args, n);
    if (id == K_DOTTED) free_text(ctx, &args[0]);
    if (!ctx->error) get_token(ctx);
}

// Drop(name, ...) and IsDefined(name).
static void variable_op(Context* ctx, Value* v, bool drop) {
    get_token(ctx);
    if (ctx->error) return;
    if (!is_op(ctx, K_LPAREN)) { fail(ctx, 3067); return; }
    for (;;) {
        get_token(ctx);
        if (ctx->error) return;
        if (ctx->tok_kind != T_NAME) { fail(ctx, drop ? 3102 : 3103); return; }
        if (drop) {
            var_drop(ctx, ctx->tok_text);
        } else {
            find_var(ctx, ctx->tok_text);
            int defined = ctx->error == 0;
            ctx->error = 0;
            set_int_result(ctx, v, defined);
        }
        if (ctx->error) return;
        get_token(ctx);
        if (ctx->error) return;
        if (drop && is_op(ctx, K_COMMA)) continue;
        if (!is_op(ctx, K_RPAREN)) { fail(ctx, 3066); return; }
        break;
    }
    get_token(ctx);
}

void apply_unary(Context* ctx, int op, Value* v) {
    if (!value_to_integer(ctx, v)) { fail(ctx, 3057); return; }
    int32_t a = v->integer, r;
    switch (op) {
    case K_NOT: r = a == 0; break;
    case K_PLUS: r = a; break;
    case K_MINUS: r = (int32_t)(0u - (uint32_t)a); break;
    case K_TILDE: r = ~a; break;
    default: fail(ctx, 3064); return;
    }
    set_int_result(ctx, v, r);
}

// prefix -> ("!" | "+" | "-" | "~") prefix | call | variable op | primary
static void prefix(Context* ctx, Value* v) {
    if (ctx->tok_kind == T_KEYWORD) {
        int id = ctx->tok_id;
        if (id == K_NOT || id == K_PLUS || id == K_MINUS || id == K_TILDE) {
            get_token(ctx);
            if (ctx->error) return;
            prefix(ctx, v);
            if (ctx->error) return;
            apply_unary(ctx, id, v);
            return;
        }
        if (id == K_DROP || id == K_ISDEFINED) { variable_op(ctx, v, id == K_DROP); return; }
        const KeywordRecord* r = keyword_record(ctx, id);
        if (r && r->kind == KW_FUNCTION) { function_call(ctx, v, r); return; }
    }
    primary(ctx, v);
}

// The assignment rule runs even when the right side failed, so a failed
// assignment leaves the variable holding the integer 0.
static void assign(Context* ctx, uint16_t slot, Value* v) {
    var_assign(ctx, slot, *v);
    if (!ctx->error && ctx->tok_kind != T_END) fail(ctx, 3074);
    if (v->flags == VF_SPECIAL) v->flags = VF_INT;
}

DottedAssignFn g_dotted_assign = nullptr;

void eval_expression(Context* ctx, Value* v) {
    if (ctx->tok_kind == T_NAME || (ctx->tok_kind == T_KEYWORD && ctx->tok_id == K_DOTTED)) {
        bool dotted = ctx->tok_kind == T_KEYWORD;
        uint16_t slot = dotted ? NO_VARIABLE : ctx->tok_slot;
        if (!dotted && slot == NO_VARIABLE) slot = var_find_slot(ctx, ctx->tok_text);
        // Keep the name token: the look-ahead overwrites the token fields.
        const char* name_cursor = ctx->cursor;
        uint16_t kind = ctx->tok_kind;
        int16_t id = ctx->tok_id;
        char name[TOKEN_BUF];
        size_t name_len = strlen(ctx->tok_text);
        memcpy(name, ctx->tok_text, name_len + 1);
        get_token(ctx);
        if (ctx->error) return;
        if (is_op(ctx, K_ASSIGN)) {
            get_token(ctx);
            if (ctx->error) return;
            logical(ctx, v);
            if (dotted) {
                // A property of an automation object takes the value; any
                // other dotted assignment is refused with 2253.
                if (ctx->error) return;
                if (ctx->tok_kind != T_END) fail(ctx, 3074);
                else if (!g_dotted_assign || !g_dotted_assign(ctx, name, v)) fail(ctx, 2253);
                return;
            }
            assign(ctx, slot, v);
            return;
        }
        // Push the look-ahead back. A string literal steps back by its text
        // alone, short of its quotes and of any collapsed doubled quote, so
        // the name is followed by what stands from inside the literal on
        // (x "1+ 2 + "3" reads x + 2 + "3"). Any other token steps back to
        // where the name ended and is read again as it was.
        if (ctx->tok_kind == T_STRING) unget_token(ctx);
        else ctx->cursor = name_cursor;
        ctx->tok_kind = kind;
        ctx->tok_id = id;
        ctx->tok_slot = slot;
        memcpy(ctx->tok_text, name, name_len + 1);
    }
    logical(ctx, v);
}

int eval_next_argument(Context* ctx, Value* v, bool* last, uint16_t syntax_error) {
    get_token(ctx);
    if (ctx->error) return 0;
    eval_expression(ctx, v);
    if (ctx->error) { free_text(ctx, v); return 0; }
    if (is_op(ctx, K_RPAREN)) *last = true;
    else if (is_op(ctx, K_COMMA)) *last = false;
    else { free_text(ctx, v); return fail(ctx, syntax_error); }
    return 1;
}

} // namespace tsl

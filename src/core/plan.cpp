// Statement plans (see plan.h): made from a statement's recorded tokens by
// a parser that follows the evaluator's grammar, and walked in its order.
#include "plan.h"
#include <cstring>
#include "../functions/dispatch.h"
#include "eval_ops.h"
#include "lexer.h"
#include "line_tokens.h"
#include "vars.h"

namespace tsl {

namespace {

// ---------------------------------------------------------------- making

struct Parser {
    Context* ctx;
    PlanPool* pool;
    const char* line;
    unsigned pos;          // the cursor: where the next token is read
    RecordedToken t;       // the current token
    uint16_t literal;      // its text in the pool, for a string literal
    bool ok;               // no reason yet to give up
    bool unread;           // gave up on a token the statement has not read yet
};

inline bool blank(char c) { return c == ' ' || c == '\t'; }
inline bool is_op(const Parser& p, int id) { return p.t.kind == T_KEYWORD && p.t.id == id; }
inline uint16_t give_up(Parser& p) { p.ok = false; return 0; }

uint16_t store_text(Parser& p, const char* s, unsigned len) {
    PlanPool* pool = p.pool;
    if (pool->text + len + 1 > PLAN_TEXT) return give_up(p);
    uint16_t at = pool->text;
    memcpy(pool->texts + at, s, len);
    pool->texts[at + len] = 0;
    pool->text = (uint16_t)(at + len + 1);
    return at;
}

PlanNode node(uint8_t kind, unsigned count, int16_t id, uint16_t a, uint16_t b, int32_t value, uint16_t text) {
    PlanNode n{};
    n.kind = kind;
    n.count = (uint8_t)count;
    n.id = id;
    n.a = a;
    n.b = b;
    n.value = value;
    n.text = text;
    return n;
}

uint16_t add(Parser& p, PlanNode n) {
    PlanPool* pool = p.pool;
    if (!p.ok) return 0;
    if (!pool->nodes) pool->nodes = 1;   // node 0 stands for none
    if (pool->nodes >= PLAN_NODES) return give_up(p);
    pool->node[pool->nodes] = n;
    return pool->nodes++;
}

// Whether the lexer would read a string literal at `s`: a quote that no
// operator or extender command claims first.
bool literal_at(Context* ctx, const char* s) {
    if (*s != '"' && *s != '`' && *s != '\'') return false;
    const char* cursor = ctx->cursor;
    int16_t id = ctx->tok_id;
    ctx->cursor = s;
    bool keyword = keyword_lookup(ctx, false) != 0;
    ctx->cursor = cursor;
    ctx->tok_id = id;
    return !keyword;
}

// Moves to the next token: the one recorded at the cursor, or else the
// string literal there (the records leave literals out).
void advance(Parser& p) {
    if (!p.ok) return;
    const RecordedToken* r = line_tokens_at(p.ctx, p.pos);
    if (r) {
        p.t = *r;
        p.pos = r->end;
        return;
    }
    unsigned s = p.pos;
    while (blank(p.line[s])) ++s;
    if (!literal_at(p.ctx, p.line + s)) { p.unread = true; give_up(p); return; }
    char text[TOKEN_BUF];
    const char* end = scan_literal(p.line + s, text);
    p.literal = store_text(p, text, (unsigned)strlen(text));
    p.t = RecordedToken{(uint16_t)s, (uint16_t)(end - p.line), T_STRING, -1, NO_VARIABLE};
    p.pos = p.t.end;
}

uint16_t expression(Parser& p, bool may_assign);

uint16_t name_node(Parser& p, const RecordedToken& t) {
    unsigned len = (unsigned)(t.end - t.start);
    PlanNode n = node(N_NAME, 0, -1, 0, 0, 0, store_text(p, p.line + t.start, len));
    n.slot = t.slot;
    // A short ASCII name is checked against its slot by one comparison.
    unsigned char low[8] = {0}, ones[8] = {0};
    bool ascii = len < 8;
    for (unsigned k = 0; ascii && k < len; ++k) {
        unsigned char c = (unsigned char)p.line[t.start + k];
        ascii = c < 0x80;
        low[k] = (c >= 'A' && c <= 'Z') ? (unsigned char)(c + 32) : c;
    }
    if (ascii) {
        memset(ones, 0xFF, len + 1);
        memcpy(&n.key, low, 8);
        memcpy(&n.mask, ones, 8);
    }
    return add(p, n);
}

// call -> function "(" [ expression { "," expression } ] ")"
uint16_t call(Parser& p, const KeywordRecord* r) {
    if (!p.ok) return 0;
    int16_t id = p.t.id;
    unsigned n = r->arg_count;
    // Extender and host commands may read on in the statement through the
    // exported lexer (get_token, ProcessSubExpression): they run unplanned.
    if (n == VARIADIC || n > (unsigned)MAX_ARGS || id == K_DOTTED || id >= EXTENDER_BASE) return give_up(p);
    advance(p);
    if (!is_op(p, K_LPAREN)) return give_up(p);
    advance(p);
    uint16_t args[MAX_ARGS];
    for (unsigned i = 0; i < n && p.ok; ++i) {
        if (i > 0) advance(p);
        args[i] = expression(p, false);
        if (i + 1 < n && !is_op(p, K_COMMA)) give_up(p);
    }
    if (!p.ok || !is_op(p, K_RPAREN)) return give_up(p);
    advance(p);
    if (p.pool->args + n > PLAN_ARGS) return give_up(p);
    uint16_t first = p.pool->args;
    for (unsigned i = 0; i < n; ++i) p.pool->arg[first + i] = args[i];
    p.pool->args = (uint16_t)(first + n);
    return add(p, node(N_CALL, (uint8_t)n, id, first, 0, r->str_mask, 0));
}

// primary -> "(" expression ")" | @constant | name | number | string
uint16_t primary(Parser& p) {
    if (!p.ok) return 0;
    uint16_t n = 0;
    switch (p.t.kind) {
    case T_KEYWORD: {
        if (p.t.id == K_LPAREN) {
            advance(p);
            n = expression(p, false);
            if (!is_op(p, K_RPAREN)) return give_up(p);
            break;
        }
        const KeywordRecord* r = keyword_record(p.ctx, p.t.id);
        if (!r || r->kind != KW_CONSTANT) return give_up(p);
        n = add(p, node(N_NUMBER, 0, -1, 0, 0, keyword_constant(*r), 0));
        break;
    }
    case T_NAME: n = name_node(p, p.t); break;
    case T_NUMBER: {
        char digits[TOKEN_BUF];
        unsigned len = (unsigned)(p.t.end - p.t.start);
        memcpy(digits, p.line + p.t.start, len);
        digits[len] = 0;
        n = add(p, node(N_NUMBER, 0, -1, 0, 0, text_to_integer(digits), 0));
        break;
    }
    case T_STRING: n = add(p, node(N_LITERAL, 0, -1, 0, 0, 0, p.literal)); break;
    default: return give_up(p);
    }
    advance(p);
    return n;
}

// prefix -> ("!" | "+" | "-" | "~") prefix | call | primary
uint16_t prefix(Parser& p) {
    if (!p.ok) return 0;
    if (p.t.kind == T_KEYWORD) {
        int16_t id = p.t.id;
        if (id == K_NOT || id == K_PLUS || id == K_MINUS || id == K_TILDE) {
            advance(p);
            uint16_t a = prefix(p);
            return add(p, node(N_UNARY, 0, id, a, 0, 0, 0));
        }
        if (id == K_DROP || id == K_ISDEFINED) return give_up(p);
        const KeywordRecord* r = keyword_record(p.ctx, id);
        if (r && r->kind == KW_FUNCTION) return call(p, r);
    }
    return primary(p);
}

// The evaluator's precedence climbing over the same level table.
uint16_t binary(Parser& p, uint8_t min_level) {
    if (!p.ok) return 0;
    uint16_t left = prefix(p);
    while (p.ok && p.t.kind == T_KEYWORD) {
        int16_t op = p.t.id;
        uint8_t level = level_of(op);
        if (level == L_NONE) {
            if (op == K_ASSIGN && min_level <= L_COMPARE) give_up(p);
            break;
        }
        if (level < min_level) break;
        advance(p);
        uint16_t right = binary(p, (uint8_t)(level + 1));
        left = add(p, node(N_BINARY, level, op, left, right, 0, 0));
    }
    return left;
}

// expression -> name "=" logical | logical
uint16_t expression(Parser& p, bool may_assign) {
    if (!p.ok) return 0;
    if (is_op(p, K_DOTTED)) return give_up(p);
    if (p.t.kind == T_NAME) {
        // A look at the token after the name, as the evaluator takes one.
        Parser at_name = p;
        uint16_t text = p.pool->text;
        advance(p);
        if (is_op(p, K_ASSIGN)) {
            if (!may_assign) return give_up(p);
            uint16_t target = name_node(p, at_name.t);
            advance(p);
            uint16_t value = binary(p, L_LOGICAL);
            return add(p, node(N_ASSIGN, 0, -1, target, value, 0, 0));
        }
        // Pushed back as the evaluator does: a string literal by its text
        // alone, so the next read starts inside it.
        unsigned resume = at_name.pos;
        if (p.ok && p.t.kind == T_STRING) resume = p.t.end - (unsigned)strlen(p.pool->texts + p.literal);
        p = at_name;
        p.pos = resume;
        p.pool->text = text;
    }
    return binary(p, L_LOGICAL);
}

// A statement: "if" condition "then" ..., or an expression to the end.
uint16_t statement(Parser& p) {
    advance(p);
    if (p.t.kind == T_END) return give_up(p);
    if (p.t.kind == T_KEYWORD) {
        const KeywordRecord* r = keyword_record(p.ctx, p.t.id);
        if (r && r->kind == KW_STATEMENT) {
            if (p.t.id != K_IF) return give_up(p);
            advance(p);
            uint16_t condition = expression(p, false);
            if (!is_op(p, K_THEN)) return give_up(p);
            return add(p, node(N_IF, 0, -1, condition, 0, (int32_t)p.t.end, 0));
        }
    }
    uint16_t root = expression(p, true);
    if (p.t.kind != T_END) return give_up(p);
    return root;
}

const int16_t GIVEN_UP = -100;   // a statement no plan can hold
const int16_t TRIES = 3;         // runs that may find its tokens still unread

// ---------------------------------------------------------------- walking

// The name's slot: where it was last found while the slot still holds it
// (the lexer's registration otherwise). The stored names are lower case.
uint16_t name_slot_slow(Context* ctx, PlanNode& n, const char* name) {
    if (!var_slot_holds(ctx, n.slot, name)) n.slot = var_register(ctx, name);
    return n.slot;
}

[[gnu::always_inline]] inline uint16_t name_slot(Context* ctx, PlanNode& n, const char* name) {
    if (n.mask && n.slot < ctx->var_count) {
        const VarSlot& v = ctx->vars[n.slot];
        uint64_t stored;
        memcpy(&stored, v.name, 8);
        if (v.value.flags && ((stored ^ n.key) & n.mask) == 0) return n.slot;
    }
    return name_slot_slow(ctx, n, name);
}

// An operand that is a number, or a variable holding an integer alone
// (no text), needs no value record. A name is registered on the way,
// which later steps repeat without effect.
enum Plain { PLAIN, NOT_PLAIN, PLAIN_FAILED };

[[gnu::always_inline]] inline Plain plain_operand(Context* ctx, PlanPool* pool, PlanNode& n, int32_t* x, Value* as_value) {
    if (n.kind == N_NUMBER) {
        *x = n.value;
        *as_value = Value{n.value, 0, NO_VARIABLE, VF_INT};
        return PLAIN;
    }
    if (n.kind != N_NAME) return NOT_PLAIN;
    uint16_t slot = name_slot(ctx, n, pool->texts + n.text);
    if (ctx->error) return PLAIN_FAILED;
    const Value& s = ctx->vars[slot].value;
    if (s.flags != VF_INT || s.string) return NOT_PLAIN;
    *x = s.integer;
    *as_value = Value{s.integer, 0, slot, VF_INT};
    return PLAIN;
}

// A binary operator on two plain operands, as the general walk would do
// it; false (leaving the general walk to do it) for anything else,
// division by zero included.
bool plain_binary(Context* ctx, PlanPool* pool, PlanNode& n, Value* v) {
    int32_t x, y, r;
    Value left, right;
    Plain k = plain_operand(ctx, pool, pool->node[n.a], &x, &left);
    if (k == PLAIN_FAILED) return true;
    if (k == NOT_PLAIN) return false;
    k = plain_operand(ctx, pool, pool->node[n.b], &y, &right);
    if (k == PLAIN_FAILED) { *v = left; return true; }
    if (k == NOT_PLAIN) return false;
    uint16_t error = n.count == L_COMPARE ? compare_outcome(n.id, x < y ? -1 : x > y ? 1 : 0, &r)
                                          : integer_binary(n.id, x, y, &r);
    if (error) return false;
    *v = Value{r, 0, NO_VARIABLE, VF_INT};
    return true;
}

void walk(Context* ctx, PlanPool* pool, uint16_t at, Value* v) {
    PlanNode& n = pool->node[at];
    switch (n.kind) {
    case N_NUMBER: *v = Value{n.value, 0, NO_VARIABLE, VF_INT}; return;
    case N_NAME: {
        const char* name = pool->texts + n.text;
        uint16_t slot = name_slot(ctx, n, name);
        if (ctx->error) return;
        load_variable(ctx, slot, name, v);
        return;
    }
    case N_LITERAL: load_literal(ctx, pool->texts + n.text, v); return;
    case N_UNARY:
        walk(ctx, pool, n.a, v);
        if (!ctx->error) apply_unary(ctx, n.id, v);
        return;
    case N_BINARY: {
        if (plain_binary(ctx, pool, n, v)) return;
        walk(ctx, pool, n.a, v);
        if (ctx->error) return;
        Value right{0, 0, NO_VARIABLE, 0};
        walk(ctx, pool, n.b, &right);
        if (!ctx->error) {
            if (n.count == L_COMPARE) apply_compare(ctx, n.id, v, &right);
            else apply_binary(ctx, n.id, v, &right);
        }
        free_text(ctx, &right);
        return;
    }
    case N_CALL: {
        Value args[MAX_ARGS + 1];
        for (auto& a : args) a = Value{0, 0, NO_VARIABLE, 0};
        int count = n.count;
        for (int i = 1; i <= count; ++i) {
            walk(ctx, pool, pool->arg[n.a + i - 1], &args[i]);
            if (ctx->error) { free_args(ctx, args, i); return; }
        }
        dispatch(ctx, n.id, v, args, count, (uint16_t)n.value, false);
        free_args(ctx, args, count);
        return;
    }
    case N_ASSIGN: {
        // As in the evaluator, the assignment is carried out even when the
        // value failed: the variable is then left holding 0.
        PlanNode& target = pool->node[n.a];
        const char* name = pool->texts + target.text;
        uint16_t slot = name_slot(ctx, target, name);
        if (ctx->error) return;
        walk(ctx, pool, n.b, v);
        var_assign(ctx, slot, *v);
        if (v->flags == VF_SPECIAL) v->flags = VF_INT;
        return;
    }
    default: fail(ctx, 3061); return;
    }
}

} // namespace

const PlanNode* plan_find(Context* ctx, const char* stmt) {
    PlanPool* pool = line_tokens_plan_pool(ctx);
    if (!pool || stmt < ctx->lex_line) return nullptr;
    int16_t* ref = line_tokens_plan_ref(ctx, (unsigned)(stmt - ctx->lex_line));
    if (!ref) return nullptr;
    if (*ref > 0) return &pool->node[*ref];
    if (*ref <= -TRIES) return nullptr;
    Parser p{ctx, pool, ctx->lex_line, (unsigned)(stmt - ctx->lex_line), RecordedToken{0, 0, T_END, -1, 0}, 0, true,
             false};
    uint16_t nodes = pool->nodes, text = pool->text, args = pool->args;
    uint16_t root = statement(p);
    if (p.ok && root) {
        *ref = (int16_t)root;
        return &pool->node[root];
    }
    pool->nodes = nodes;
    pool->text = text;
    pool->args = args;
    *ref = p.unread ? (int16_t)(*ref - 1) : GIVEN_UP;
    return nullptr;
}

void plan_eval(Context* ctx, const PlanNode* n, Value* v) {
    PlanPool* pool = line_tokens_plan_pool(ctx);
    walk(ctx, pool, (uint16_t)(n - pool->node), v);
}

const PlanNode* plan_condition(Context* ctx, const PlanNode* n) { return &line_tokens_plan_pool(ctx)->node[n->a]; }

} // namespace tsl

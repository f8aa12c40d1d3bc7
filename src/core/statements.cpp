// The statement executor: the per-statement frame (trace, result, error
// report, the CANCEL label) and the statements themselves.
#include "statements.h"
#include <cstring>
#include "bounded.h"
#include "eval.h"
#include "heap.h"
#include "lexer.h"
#include "line_tokens.h"
#include "messages.h"
#include "plan.h"
#include "report.h"
#include "runloop.h"

namespace tsl {

const unsigned char GOTO_CACHED = 159;   // first byte of a cached goto

static inline bool blank(char c) { return c == ' ' || c == '\t'; }

// Upper-cases ASCII and code-page letters alike, through the platform.
static void upper_copy(char* dst, const char* src, unsigned cap) {
    unsigned n = 0;
    for (; src[n] && n + 1 < cap; ++n) dst[n] = src[n];
    dst[n] = 0;
    plat_upper(dst);
}

// Finds the line ":label" (case-insensitively, the label followed by a
// blank, a tab, ";" or the end). Sets the reading position to that line and,
// for a goto read from the script itself, writes the cache bytes over the
// "goto" keyword in the host's buffer so that the next pass jumps at once.
static void label_search(Context* ctx, const char* label, ScriptPlace* place, long stmt_at, bool from_outside) {
    char want[LINE_BUF];
    upper_copy(want, label, sizeof want);
    size_t wlen = strlen(want);
    char line[LINE_BUF];
    uint16_t pos = 0, start = 0;
    for (;;) {
        uint16_t line_pos = pos;
        if (!read_line(place->script, place->length, &pos, &start, line)) { fail(ctx, 3033); return; }
        if (line[0] != ':') continue;
        char text[LINE_BUF];
        upper_copy(text, line + 1, sizeof text);
        char after = text[wlen];
        if (strncmp(text, want, wlen) != 0 || !(after == 0 || blank(after) || after == ';')) continue;
        *place->pos = line_pos;
        if (from_outside || stmt_at < 0) return;
        unsigned char* g = (unsigned char*)place->script + stmt_at;
        if (*g != 'G' && *g != 'g') { plat_message_beep(0); return; }
        g[0] = GOTO_CACHED;
        for (int k = 0; k < 4; ++k) g[1 + k] = (unsigned char)(0x40 | ((line_pos >> (12 - 4 * k)) & 15));
        line_tokens_script_changed(ctx);
        return;
    }
}

static int carry_out(Context* ctx, char* line, char* stmt, ScriptPlace* place, bool from_outside);

// The rest of a line after then/else/execute runs as a statement of its own.
static int carry_out_rest(Context* ctx, char* line, ScriptPlace* place, bool from_outside) {
    char* rest = (char*)ctx->cursor;
    while (blank(*rest)) ++rest;
    if (*rest == ';') return 1;
    if (!*rest) { fail(ctx, 3071); return 0; }
    return carry_out(ctx, line, rest, place, from_outside);
}

// After the condition: its value decides, and the rest of the line runs
// when it is true.
static int if_decided(Context* ctx, Value* v, char* line, ScriptPlace* place, bool from_outside) {
    if (!ctx->error && !value_to_integer(ctx, v)) fail(ctx, 3057);
    value_free(ctx, v);
    if (ctx->error) return 0;
    ctx->last_if = v->integer != 0;
    if (!ctx->last_if) return 1;
    return carry_out_rest(ctx, line, place, from_outside);
}

static int stmt_if(Context* ctx, char* line, ScriptPlace* place, bool from_outside) {
    get_token(ctx);
    if (ctx->error) return 0;
    Value v{0, 0, NO_VARIABLE, 0};
    eval_expression(ctx, &v);
    if (!ctx->error && !(ctx->tok_kind == T_KEYWORD && ctx->tok_id == K_THEN)) fail(ctx, 3072);
    return if_decided(ctx, &v, line, place, from_outside);
}

// A statement with a plan: the same steps without reading its tokens.
static int run_plan(Context* ctx, const PlanNode* plan, char* line, ScriptPlace* place, bool from_outside) {
    if (plan->kind != N_IF) {
        plan_eval(ctx, plan, &ctx->result);
        return ctx->error ? 0 : 1;
    }
    Value v{0, 0, NO_VARIABLE, 0};
    plan_eval(ctx, plan_condition(ctx, plan), &v);
    ctx->cursor = ctx->lex_line + plan->value;
    return if_decided(ctx, &v, line, place, from_outside);
}

static int stmt_goto(Context* ctx, char* line, char* stmt, ScriptPlace* place, bool from_outside) {
    read_word(ctx);
    if (ctx->error) return 0;
    if (ctx->tok_kind == T_END) { fail(ctx, 3071); return 0; }
    if (ctx->tok_kind != T_STRING) { fail(ctx, 3073); return 0; }
    long at = from_outside ? -1 : (long)*place->line_start + (stmt - line);
    label_search(ctx, ctx->tok_text, place, at, from_outside);
    return ctx->error ? 0 : 1;
}

// execute: runs the rest of the line as if it came from outside; a failure
// asks whether to go on ("EXECUTE::" box).
static int stmt_execute(Context* ctx, char* line, ScriptPlace* place) {
    int r = carry_out_rest(ctx, line, place, true);
    if (r != 0 || !ctx->error || (ctx->error >= 9000 && ctx->error != 9013)) return r;
    ctx->error_text_of = 0;   // the box shows the line
    char caption[LINE_BUF] = "EXECUTE::";
    char text[LINE_BUF];
    load_message(ctx, ctx->error, text, sizeof text);
    bounded_append(ctx, caption, text, sizeof caption);
    if (ctx->sounds) plat_play_sound("SystemHand");
    int answer = plat_message_box(ctx->owner, line, caption, BOX_OKCANCEL | BOX_ICONEXCLAMATION);
    if (answer == ANSWER_OK) { ctx->error = 0; return 1; }
    fail(ctx, 9013);
    return 0;
}

static int carry_out(Context* ctx, char* line, char* stmt, ScriptPlace* place, bool from_outside) {
    // A cached goto is the byte 159 and four position bytes (each 0x40 | a
    // nibble, never NUL); a 159 without them (a script may hold the byte, and
    // it may stand at the end of the line buffer) is no jump.
    if ((unsigned char)*stmt == GOTO_CACHED && stmt[1] && stmt[2] && stmt[3] && stmt[4]) {
        uint16_t p = 0;
        for (int k = 1; k <= 4; ++k) p = (uint16_t)(p << 4 | ((unsigned char)stmt[k] & 15));
        *place->pos = p;
        return 1;
    }
    if (ctx->lex_entry) {
        const PlanNode* plan = plan_find(ctx, stmt);
        if (plan) return run_plan(ctx, plan, line, place, from_outside);
    }
    ctx->cursor = stmt;
    get_token(ctx);
    if (ctx->error) return 0;
    if (ctx->tok_kind == T_END) { fail(ctx, 3071); return 0; }
    const KeywordRecord* r = ctx->tok_kind == T_KEYWORD ? keyword_record(ctx, ctx->tok_id) : nullptr;
    if (!r || r->kind != KW_STATEMENT) {
        eval_expression(ctx, &ctx->result);
        if (!ctx->error && ctx->tok_kind != T_END) fail(ctx, 3074);
        return ctx->error ? 0 : 1;
    }
    switch (ctx->tok_id) {
    case K_GOTO: return stmt_goto(ctx, line, stmt, place, from_outside);
    case K_BEEP: plat_message_beep(0); return 1;
    case K_BOOP: return 1;
    case K_EXIT: return 0;
    case K_RETURN: return -1;
    case K_YIELD: plat_pump_messages(ctx); return 1;
    case K_IF: return stmt_if(ctx, line, place, from_outside);
    case K_THEN: return ctx->last_if ? carry_out_rest(ctx, line, place, from_outside) : 1;
    case K_ELSE: return !ctx->last_if ? carry_out_rest(ctx, line, place, from_outside) : 1;
    case K_EXECUTE: return stmt_execute(ctx, line, place);
    default: fail(ctx, 3061); return 0;
    }
}

// Shows the trace before a statement: the debug-trace dialog (Step runs
// the line, Run runs on with the trace off, Cancel stops), or a line on
// standard error in console mode.
static int trace(Context* ctx, const char* line) {
    bounded_copy(ctx, ctx->trace_line, line, sizeof ctx->trace_line);
    if (plat_console_mode()) {
        char buf[LINE_BUF + 16] = "trace: ";
        bounded_append(ctx, buf, line, sizeof buf);
        bounded_append(ctx, buf, "\n", sizeof buf);
        plat_write_stderr(buf);
        return 1;
    }
    int answer = plat_debug_trace(ctx, line);
    if (answer == TRACE_RUN) ctx->debug_trace = 0;
    return answer != TRACE_STOP;
}

// Reports a statement's error with the failing line as the text, unless
// the error came with a text of its own (Call's file name). Kept out of
// the statement frame, which every line runs through.
[[gnu::noinline, gnu::cold]] static int report_failure(Context* ctx, const char* line) {
    if (ctx->error_text_of != ctx->error) bounded_copy(ctx, ctx->error_text, line, sizeof ctx->error_text);
    ctx->error_text_of = 0;
    return report(ctx, ctx->owner, 0, ctx->error, severity_of(ctx->error));
}

int execute_statement(Context* ctx, char* line, char* stmt, ScriptPlace* place, bool from_outside) {
    if (ctx->debug_trace && !trace(ctx, line)) return 0;
    if (ctx->result.string) { heap_free(ctx->heap, ctx->result.string); ctx->result.string = 0; }
    ctx->result = Value{0, 0, NO_VARIABLE, 0};
    ctx->error = 0;
    int r = carry_out(ctx, line, stmt, place, from_outside);
    ctx->last_error = ctx->error;
    if (!ctx->error) return r;
    if (ctx->error == 9999) {
        ctx->error = 0;
        ScriptPlace p = *place;
        label_search(ctx, "CANCEL", &p, -1, true);
        if (!ctx->error) return 1;
        ctx->error = 9999;
        return 0;
    }
    if (ctx->error >= 9000) return 0;
    return report_failure(ctx, line);
}

} // namespace tsl

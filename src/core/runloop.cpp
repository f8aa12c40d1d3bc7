// The line reader and the run loop.
#include "runloop.h"
#include <cstring>
#include "bounded.h"
#include "heap.h"
#include "lexer.h"
#include "line_tokens.h"
#include "report.h"
#include "statements.h"

namespace tsl {

// CR and Ctrl+Z end a line, LF is dropped wherever it stands (so a file
// with bare LF line ends reads as one long line), blanks before the first
// other byte are skipped, and a line stops after 256 bytes: the 257th byte
// starts the next line.
int read_line(const char* script, uint32_t length, uint16_t* pos, uint16_t* line_start, char* line) {
    const char* p = script + *pos;
    const char* end = script + length;
    if (p >= end) return 0;
    // Leading blanks and line feeds.
    while (p < end && (*p == ' ' || *p == '\t' || *p == '\n')) ++p;
    if (p < end && *p != '\r' && *p != 26) *line_start = (uint16_t)(p - script);
    char* out = line;
    char* out_end = line + SCRIPT_LINE_MAX;
    bool ended = false;
    while (p < end && out < out_end) {
        unsigned char c = (unsigned char)*p++;
        if (c > 26) { *out++ = (char)c; continue; }
        if (c == '\n') continue;
        if (c == '\r' || c == 26) { ended = true; break; }
        *out++ = (char)c;
    }
    *pos = (uint16_t)(p - script);
    // Only line feeds and blanks after the last line end: no further line.
    if (out == line && !ended) return 0;
    *out = 0;
    return 1;
}

void run_reset(Context* ctx) {
    ctx->break_flag = 0;
    ctx->break_report = 1;
    ctx->debug_trace = 0;
    ctx->error_mode = EM_CANCEL;
    ctx->last_if = 0;
    ctx->call_depth = 0;
    ctx->last_reported = 0;
    ctx->error = 0;
}

int run_loop(Context* ctx, char* script, uint32_t length, uint16_t* pos, uint16_t* line_start) {
    ScriptPlace place{script, length, pos, line_start};
    char line[LINE_BUF];
    int result = 1;
    for (;;) {
        uint16_t line_pos = *pos;
        int got = line_tokens_read(ctx, script, length, pos, line_start, line);
        if (!got) break;
        result = -1;
        plat_break_test(ctx);
        if (!ctx->exclusive) plat_pump_messages(ctx);
        if (ctx->break_flag) {
            result = 0;
            if (ctx->break_report) report(ctx, ctx->owner, 193, 192, SEV_FATAL);
            break;
        }
        ctx->run_line_start = *line_start;
        if (!line[0] || line[0] == ';') { result = 1; continue; }
        int sub = got == 2 ? 1 : substitute_variables(ctx, line);
        if (!sub) {
            bounded_copy(ctx, ctx->error_text, line, sizeof ctx->error_text);
            uint16_t err = ctx->error;
            report(ctx, ctx->owner, 0, err, SEV_FATAL);
            ctx->error = err;
            result = 0;
            break;
        }
        char* stmt = line;
        if (line[0] == ':') {
            while (*stmt && *stmt != ' ' && *stmt != '\t') ++stmt;
            while (*stmt == ' ' || *stmt == '\t') ++stmt;
            if (!*stmt || *stmt == ';') { result = 1; continue; }
        }
        if (ctx->debug_output) {
            char buf[LINE_BUF + 16] = ">>>>>";
            bounded_append(ctx, buf, line, sizeof buf);
            bounded_append(ctx, buf, "<<<<<\r\n", sizeof buf);
            plat_output_debug(buf);
        }
        if (sub == 1) line_tokens_begin(ctx, script, line_pos, line);
        result = execute_statement(ctx, line, stmt, &place, sub == 2);
        line_tokens_end(ctx);
        if (result != 1) break;
    }
    return result;
}

// A run started while another runs on the same context (a host command
// that runs a script, a host window procedure during a box) gives the outer
// statement back as it found it: its place in its line, its token, the
// value it may be evaluating into, its error, and the settings that the
// start of a run resets. The results of the inner run (services 110-112)
// and a user break stay.
struct OuterStatement {
    const char* cursor;
    uint16_t tok_kind, tok_slot;
    int16_t tok_id;
    char tok_text[TOKEN_BUF];
    const char* lex_line;
    void* lex_entry;
    uint32_t lex_serial;
    Value result;
    uint16_t error, last_reported;
    uint8_t error_mode, last_if, call_depth, debug_trace, break_report;
    const char* script;
    const char* script_name;
};

static void keep_outer(Context* ctx, OuterStatement* o) {
    o->cursor = ctx->cursor;
    o->tok_kind = ctx->tok_kind;
    o->tok_slot = ctx->tok_slot;
    o->tok_id = ctx->tok_id;
    memcpy(o->tok_text, ctx->tok_text, sizeof o->tok_text);
    o->lex_line = ctx->lex_line;
    o->lex_entry = ctx->lex_entry;
    o->lex_serial = ctx->lex_serial;
    o->result = ctx->result;
    ctx->result = Value{0, 0, NO_VARIABLE, 0};
    o->error = ctx->error;
    o->last_reported = ctx->last_reported;
    o->error_mode = ctx->error_mode;
    o->last_if = ctx->last_if;
    o->call_depth = ctx->call_depth;
    o->debug_trace = ctx->debug_trace;
    o->break_report = ctx->break_report;
    o->script = ctx->script;
    o->script_name = ctx->script_name;
}

static void give_back_outer(Context* ctx, const OuterStatement* o) {
    ctx->cursor = o->cursor;
    ctx->tok_kind = o->tok_kind;
    ctx->tok_slot = o->tok_slot;
    ctx->tok_id = o->tok_id;
    memcpy(ctx->tok_text, o->tok_text, sizeof ctx->tok_text);
    ctx->lex_line = o->lex_line;
    ctx->lex_entry = o->lex_entry;
    ctx->lex_serial = o->lex_serial;
    ctx->result = o->result;
    ctx->error = o->error;
    ctx->last_reported = o->last_reported;
    ctx->error_mode = o->error_mode;
    ctx->last_if = o->last_if;
    ctx->call_depth = o->call_depth;
    ctx->debug_trace = o->debug_trace;
    ctx->break_report = o->break_report;
    ctx->script = o->script;
    ctx->script_name = o->script_name;
}

void run_script(Context* ctx, char* script) {
    bool nested = ctx->run_depth++ > 0;
    OuterStatement outer;
    if (nested) keep_outer(ctx, &outer);
    run_reset(ctx);
    ctx->host_first_for = nullptr;
    keyword_cache_new_generation(ctx);
    ctx->script = script;
    ctx->script_name = ctx->top_script_name[0] ? ctx->top_script_name : nullptr;
    plat_set_cursor(ctx, true);
    plat_sleep(20);
    plat_pump_messages(ctx);
    uint32_t length = (uint32_t)strlen(script);
    uint16_t pos = 0, start = 0;
    bool own_records = line_tokens_open(ctx);
    line_tokens_script_changed(ctx);
    int r = run_loop(ctx, script, length, &pos, &start);
    if (own_records) line_tokens_free(ctx);
    ctx->run_error = ctx->error;
    ctx->run_result = (int16_t)r;
    ctx->run_line_start = start;
    if (ctx->result.string) { heap_free(ctx->heap, ctx->result.string); ctx->result.string = 0; }
    ctx->result.flags = 0;
    plat_set_cursor(ctx, false);
    plat_sleep(20);
    plat_pump_messages(ctx);
    if (nested) give_back_outer(ctx, &outer);
    --ctx->run_depth;
}

} // namespace tsl

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
#define TSL_OUTER_FIELDS(X)                                                                         \
    X(cursor) X(tok_kind) X(tok_slot) X(tok_id) X(lex_line) X(lex_entry) X(lex_serial) X(result)        \
    X(error) X(last_reported) X(error_mode) X(last_if) X(call_depth) X(debug_trace) X(break_report)    \
    X(script) X(script_name)

struct OuterStatement {
#define TSL_FIELD(f) decltype(Context::f) f;
    TSL_OUTER_FIELDS(TSL_FIELD)
#undef TSL_FIELD
    char tok_text[TOKEN_BUF];
};

static void keep_outer(Context* ctx, OuterStatement* o) {
#define TSL_KEEP(f) o->f = ctx->f;
    TSL_OUTER_FIELDS(TSL_KEEP)
#undef TSL_KEEP
    memcpy(o->tok_text, ctx->tok_text, sizeof o->tok_text);
    ctx->result = Value{0, 0, NO_VARIABLE, 0};   // the inner run's statements free their values
}

static void give_back_outer(Context* ctx, const OuterStatement* o) {
#define TSL_GIVE_BACK(f) ctx->f = o->f;
    TSL_OUTER_FIELDS(TSL_GIVE_BACK)
#undef TSL_GIVE_BACK
    memcpy(ctx->tok_text, o->tok_text, sizeof ctx->tok_text);
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

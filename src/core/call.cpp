// Call(file, parameters): runs another script file with the Param variables.
#include <cstring>
#include "bounded.h"
#include "encoded_script.h"
#include "lexer.h"
#include "line_tokens.h"
#include "runloop.h"
#include "statements.h"
#include "vars.h"

namespace tsl {

// Param0 with its last character replaced by "0" + n: the tenth parameter is
// "Param:" and further ones take the characters after it.
static void param_name(char* buf, unsigned n) {
    memcpy(buf, "Param0", 7);
    buf[5] = (char)('0' + n);
}

// Splits at blanks and tabs; parts quoted by ", ' or ` lose their quotes and
// keep their blanks; a doubled quote inside a quoted part stands for one.
void set_call_parameters(Context* ctx, const char* p) {
    var_set_int(ctx, "Param0", 0);
    unsigned count = 0;
    char word[LINE_BUF];
    while (*p) {
        while (*p == ' ' || *p == '\t') ++p;
        if (!*p) break;
        unsigned n = 0;
        while (*p && *p != ' ' && *p != '\t') {
            if (*p == '"' || *p == '\'' || *p == '`') {
                char q = *p++;
                while (*p) {
                    if (*p == q) {
                        if (p[1] == q) { if (n < SCRIPT_LINE_MAX) word[n++] = q; p += 2; continue; }
                        ++p;
                        break;
                    }
                    if (n < SCRIPT_LINE_MAX) word[n++] = *p;
                    ++p;
                }
            } else {
                if (n < SCRIPT_LINE_MAX) word[n++] = *p;
                ++p;
            }
        }
        word[n] = 0;
        char name[8];
        param_name(name, ++count);
        var_set_text(ctx, name, word);
        if (ctx->error) return;
    }
    var_set_int(ctx, "Param0", (int32_t)count);
}

// A file that cannot be loaded is an error of the Call statement under its
// own number (102, 203-206), reported by the statement like any other, so
// that the error mode and execute decide whether the run goes on; the
// report shows the file's name instead of the line.
static void loader_failure(Context* ctx, unsigned number, const char* name) {
    bounded_copy(ctx, ctx->error_text, name, sizeof ctx->error_text);
    ctx->error_text_of = (uint16_t)number;
    fail(ctx, (uint16_t)number);
}

void call_script(Context* ctx, const char* file, const char* params) {
    if (++ctx->call_depth > CALL_DEPTH_MAX) { ctx->call_depth--; fail(ctx, 3211); return; }
    // The caller's statement state: the rest of its line and its script.
    const char* cursor = ctx->cursor;
    const char* script = ctx->script;
    const char* script_name = ctx->script_name;
    uint16_t line_start = ctx->run_line_start;
    const char* lex_line = ctx->lex_line;
    void* lex_entry = ctx->lex_entry;
    uint32_t lex_serial = ctx->lex_serial;
    char name[PATH_BUF];
    bounded_copy(ctx, name, file, sizeof name);

    set_call_parameters(ctx, params);
    char full[PATH_BUF];
    char* text = nullptr;
    uint32_t size = 0;
    unsigned failure = 0;
    if (!ctx->error) {
        if (!plat_search_file(name, full, sizeof full)) failure = 102;
        else failure = plat_load_script_file(full, &text, &size);
        // An encoded file is checked and decoded here; a refused one loads nothing.
        if (!failure && (failure = accept_script_file(text, &size, ctx->encoded_only)) != 0) {
            plat_free_script_file(text);
            text = nullptr;
        }
    }
    if (failure) {
        loader_failure(ctx, failure, name);
    } else if (!ctx->error) {
        ctx->script = text;
        ctx->script_name = name;
        // The callee's statements keep their values in the statement-result
        // field, which the caller's statement may be evaluating into
        // (x = Call(...), "0" == Call(...)): keep the caller's value aside.
        Value caller_result = ctx->result;
        ctx->result = Value{0, 0, NO_VARIABLE, 0};
        uint16_t pos = 0, start = 0;
        line_tokens_script_changed(ctx);
        int r = run_loop(ctx, text, size, &pos, &start);
        plat_free_script_file(text);
        line_tokens_script_changed(ctx);
        value_free(ctx, &ctx->result);
        ctx->result = caller_result;
        // The callee's stop (exit, error, break) stops the caller too, unless it has a CANCEL label.
        if (r == 0) {
            if (!ctx->error || ctx->error < 9000) ctx->error = 0;
            fail(ctx, 9999);
        }
    }
    ctx->cursor = cursor;
    ctx->script = script;
    ctx->script_name = script_name;
    ctx->run_line_start = line_start;
    // The caller's line record, unless the callee's lines have reused it.
    ctx->lex_line = lex_line;
    ctx->lex_entry = lex_entry;
    ctx->lex_serial = lex_serial;
    ctx->call_depth--;
}

} // namespace tsl

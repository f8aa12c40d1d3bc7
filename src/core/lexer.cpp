// The lexer. get_token reads one token at the cursor:
//   kind 0 end of statement (end of line or ";"), 1 keyword/operator/
//   function/@constant, 2 variable name, 3 number, 4 string literal or word.
#include "lexer.h"
#include <cstring>
#include "chars.h"
#include "line_tokens.h"
#include "vars.h"

namespace tsl {

static inline bool blank(char c) { return c == ' ' || c == '\t'; }
static inline bool word_char(unsigned char c) { return ch_word(c); }

static inline void copy_token(Context* ctx, const char* from, unsigned len) {
    if (len >= TOKEN_BUF) len = TOKEN_BUF - 1;
    char* out = ctx->tok_text;
    if (len <= 8) {
        for (unsigned k = 0; k < len; ++k) out[k] = from[k];
    } else {
        memcpy(out, from, len);
    }
    out[len] = 0;
}

// A quoted literal: the opening quote decides the closing one. A doubled
// quote stands for one quote only within the first four characters; at
// most 256 characters are copied; the end of the line also ends it.
const char* scan_literal(const char* s, char* out) {
    char quote = *s++;
    unsigned n = 0;
    while (*s && n < SCRIPT_LINE_MAX) {
        if (*s == quote) {
            ++s;
            if (*s == quote && n < 4) { out[n++] = *s++; continue; }
            break;
        }
        if (plat_is_lead_byte((unsigned char)*s) && s[1]) out[n++] = *s++;
        out[n++] = *s++;
    }
    out[n] = 0;
    return s;
}

static void read_literal(Context* ctx) {
    ctx->cursor = scan_literal(ctx->cursor, ctx->tok_text);
    ctx->tok_kind = T_STRING;
}

// A name: letters, digits, "@" and "."; the 31st character is error 3055.
static void read_name(Context* ctx) {
    const char* s = ctx->cursor;
    unsigned n = 0;
    while (word_char((unsigned char)*s) || *s == '.') {
        if (n == VAR_NAME_MAX) { fail(ctx, 3055); return; }
        ctx->tok_text[n++] = *s++;
    }
    ctx->tok_text[n] = 0;
    ctx->cursor = s;
    ctx->tok_kind = T_NAME;
    ctx->tok_slot = var_register(ctx, ctx->tok_text);
}

// Skips blanks to the next token; false at the end of the statement (the
// end of the line or a ";" comment), with the kind set to 0 either way.
static inline bool at_token(Context* ctx) {
    if (!g_chars_ready) chars_init();
    ctx->tok_kind = T_END;
    const char* s = ctx->cursor;
    while (blank(*s)) ++s;
    ctx->cursor = s;
    return *s && *s != ';';
}

static void lex_token(Context* ctx) {
    if (!at_token(ctx)) return;
    const char* s = ctx->cursor;
    unsigned char c = (unsigned char)*s;
    if (ch_digit(c)) {
        const char* e = s;
        while (ch_digit((unsigned char)*e)) ++e;
        copy_token(ctx, s, (unsigned)(e - s));
        ctx->cursor = e;
        ctx->tok_kind = T_NUMBER;
        return;
    }
    if (!ch_alpha(c) && c != '@') {
        if (keyword_lookup(ctx, false)) {
            unsigned len = g_keywords[ctx->tok_id].name_len;
            copy_token(ctx, s, len);
            ctx->cursor = s + len;
            ctx->tok_kind = T_KEYWORD;
        } else if (c == '"' || c == '`' || c == '\'') {
            read_literal(ctx);
        } else {
            fail(ctx, 3054);
        }
        return;
    }
    if (!keyword_lookup(ctx, true)) { read_name(ctx); return; }
    ctx->tok_kind = T_KEYWORD;
    if (ctx->tok_id == K_DOTTED) {
        // The whole dotted reference: letters and digits, ".", "@" first only.
        const char* e = s;
        while (ch_alnum(ch_lower((unsigned char)*e)) || *e == '.' || (*e == '@' && e == s)) ++e;
        copy_token(ctx, s, (unsigned)(e - s));
        ctx->cursor = e;
        return;
    }
    unsigned len = keyword_record(ctx, ctx->tok_id)->name_len;
    copy_token(ctx, s, len);
    ctx->cursor = s + len;
}

void get_token(Context* ctx) {
    if (ctx->lex_entry && line_tokens_replay(ctx)) return;
    const char* from = ctx->cursor;
    lex_token(ctx);
    if (ctx->lex_entry && !ctx->error && ctx->tok_kind != T_STRING) line_tokens_record(ctx, from);
}

// One step back over the token just read. For a literal the step is short
// by its quotes (and any collapsed doubled quote), as it always has been.
void unget_token(Context* ctx) {
    switch (ctx->tok_kind) {
    case T_END: return;
    case T_KEYWORD:
        if (ctx->tok_id == K_DOTTED) ctx->cursor -= strlen(ctx->tok_text);
        else ctx->cursor -= keyword_record(ctx, ctx->tok_id)->name_len;
        return;
    default: ctx->cursor -= strlen(ctx->tok_text); return;
    }
}

void read_word(Context* ctx) {
    if (!at_token(ctx)) return;
    const char* s = ctx->cursor;
    if (!word_char((unsigned char)*s)) { fail(ctx, 3054); return; }
    unsigned n = 0;
    while (word_char((unsigned char)*s) || (plat_is_lead_byte((unsigned char)*s) && s[1])) {
        if (n >= SCRIPT_LINE_MAX + 1) { fail(ctx, 3053); return; }
        if (plat_is_lead_byte((unsigned char)*s) && n + 1 < TOKEN_BUF - 1) ctx->tok_text[n++] = *s++;
        ctx->tok_text[n++] = *s++;
    }
    ctx->tok_text[n] = 0;
    ctx->cursor = s;
    ctx->tok_kind = T_STRING;
    ctx->tok_id = -1;
}

} // namespace tsl

// Remembered tokens of script lines (see line_tokens.h).
#include "line_tokens.h"
#include <cstdlib>
#include <cstring>
#include "bytes.h"
#include "lexer.h"
#include "plan.h"
#include "runloop.h"
#include "vars.h"

namespace tsl {

namespace {

const unsigned LINES = 64;        // lines remembered per context (direct-mapped)
const unsigned TOKENS = 48;       // tokens remembered per line
const unsigned RAW_MAX = 320;     // script bytes of a line remembered for reading it again

typedef RecordedToken Token;
const unsigned PLANS = 2;         // statements of a line with a plan (the line's and one after "then")

struct Line {
    const char* script;           // the script and reading position it was read at
    const KeywordRecord* host;    // the host table and keyword count it was lexed with
    uint32_t generation;
    uint32_t serial;              // changes whenever the record starts afresh
    uint16_t pos, len, count;
    uint16_t raw_len;             // script bytes the line was read from (0: not remembered)
    uint32_t epoch;               // the cache's epoch when those bytes were last compared
    int16_t start_off;            // where its text starts, from pos (-1: no text)
    uint8_t ntok;
    uint8_t plain;                // the text holds no "%": substitution leaves it as it is
    uint16_t plan_off[PLANS];     // where each planned statement starts (0xFFFF: none)
    int16_t plan_ref[PLANS];
    char raw[RAW_MAX];
    char text[LINE_BUF];
    uint8_t at[LINE_BUF];         // at[offset]: 1 + the token read with the cursor there
    Token tok[TOKENS];
};

struct Cache {
    uint32_t next_serial;
    uint32_t epoch;               // changes whenever script bytes may have changed
    Line* known;                  // the record the last line was read from, unless
    uint32_t known_serial;        //   it has started afresh since
    Line line[LINES];
    PlanPool plans;
};

inline Line* entry(Context* ctx) { return static_cast<Line*>(ctx->lex_entry); }

inline Line* slot_for(Cache* c, const char* script, uint16_t pos) {
    uintptr_t h = ((uintptr_t)script >> 4) * 31 + pos;
    return &c->line[(h ^ (h >> 7)) % LINES];
}

// Starts a record afresh: nothing recorded, a new serial.
void reset(Cache* c, Line* e, const Context* ctx, const char* script, uint16_t pos, const char* line, size_t len) {
    e->script = script;
    e->pos = pos;
    e->generation = ctx->word_generation;
    e->count = g_keyword_count;
    e->host = ctx->host_table;
    e->len = (uint16_t)len;
    memcpy(e->text, line, len + 1);
    e->plain = memchr(line, '%', len) == nullptr;
    memset(e->at, 0, len + 1);
    e->ntok = 0;
    for (unsigned k = 0; k < PLANS; ++k) { e->plan_off[k] = 0xFFFF; e->plan_ref[k] = 0; }
    e->serial = ++c->next_serial;
}

// The cursor's offset in the current line, or -1 when it points elsewhere.
inline long offset_of(const Context* ctx, const char* p, unsigned len) {
    uintptr_t a = (uintptr_t)p, b = (uintptr_t)ctx->lex_line;
    return (a >= b && a <= b + len) ? (long)(a - b) : -1;
}

} // namespace

void line_tokens_begin(Context* ctx, const char* script, uint16_t line_pos, const char* line) {
    ctx->lex_entry = nullptr;
    Cache* c = static_cast<Cache*>(ctx->line_cache);
    if (!c) return;
    Line* e = slot_for(c, script, line_pos);
    bool same = e->script == script && e->pos == line_pos && e->generation == ctx->word_generation &&
                e->count == g_keyword_count && e->host == ctx->host_table;
    // A line just read from this record, and left as it was, is its text.
    size_t len = 0;
    if (same && !(c->known == e && c->known_serial == e->serial && e->plain)) {
        len = strlen(line);
        same = e->len == len && bytes_equal(e->text, line, len);
    }
    if (!same) {
        len = strlen(line);
        reset(c, e, ctx, script, line_pos, line, len);
        e->raw_len = 0;
    }
    ctx->lex_line = line;
    ctx->lex_entry = e;
    ctx->lex_serial = e->serial;
}

int line_tokens_read(Context* ctx, const char* script, uint32_t length, uint16_t* pos, uint16_t* line_start,
                     char* line) {
    Cache* c = static_cast<Cache*>(ctx->line_cache);
    if (!c) return read_line(script, length, pos, line_start, line);
    uint16_t p0 = *pos;
    Line* e = slot_for(c, script, p0);
    c->known = nullptr;
    // The script's bytes are compared again only after something may have
    // written them (a goto's cache) or brought a new script to the same place.
    if (e->raw_len && e->script == script && e->pos == p0 && (uint32_t)p0 + e->raw_len <= length &&
        (e->epoch == c->epoch || bytes_equal(script + p0, e->raw, e->raw_len))) {
        e->epoch = c->epoch;
        bytes_copy(line, e->text, (size_t)e->len + 1);
        if (e->start_off >= 0) *line_start = (uint16_t)(p0 + e->start_off);
        *pos = (uint16_t)(p0 + e->raw_len);
        c->known = e;
        c->known_serial = e->serial;
        return e->plain ? 2 : 1;
    }
    if (!read_line(script, length, pos, line_start, line)) return 0;
    // Remember the bytes of a line that ended at CR, Ctrl+Z or the length
    // limit; one that ended with the text could read on if the text grew.
    size_t raw = (size_t)(*pos - p0), len = strlen(line);
    char last = raw ? script[*pos - 1] : 0;
    if (raw && raw <= RAW_MAX && (last == '\r' || last == 26 || len == SCRIPT_LINE_MAX)) {
        reset(c, e, ctx, script, p0, line, len);
        memcpy(e->raw, script + p0, raw);
        e->raw_len = (uint16_t)raw;
        e->epoch = c->epoch;
        e->start_off = len ? (int16_t)(*line_start - p0) : -1;   // the reader sets the start only for text
    }
    return 1;
}

int line_tokens_replay(Context* ctx) {
    Line* e = entry(ctx);
    if (e->serial != ctx->lex_serial) { ctx->lex_entry = nullptr; return 0; }
    long off = offset_of(ctx, ctx->cursor, e->len);
    if (off < 0 || !e->at[off]) return 0;
    Token& t = e->tok[e->at[off] - 1];
    ctx->tok_kind = t.kind;
    if (t.kind != T_END) {
        const char* from = e->text + t.start;
        unsigned n = t.end - t.start;
        for (unsigned k = 0; k < n; ++k) ctx->tok_text[k] = from[k];
        ctx->tok_text[n] = 0;
    }
    if (t.kind == T_KEYWORD) ctx->tok_id = t.id;
    ctx->cursor = ctx->lex_line + t.end;
    if (t.kind == T_NAME) {
        if (!var_slot_holds(ctx, t.slot, ctx->tok_text)) t.slot = var_register(ctx, ctx->tok_text);
        ctx->tok_slot = t.slot;
    }
    return 1;
}

void line_tokens_record(Context* ctx, const char* from) {
    Line* e = entry(ctx);
    if (e->serial != ctx->lex_serial) { ctx->lex_entry = nullptr; return; }
    long off = offset_of(ctx, from, e->len), end = offset_of(ctx, ctx->cursor, e->len);
    if (off < 0 || end < 0 || e->at[off] || e->ntok == TOKENS) return;
    Token t{(uint16_t)end, (uint16_t)end, ctx->tok_kind, ctx->tok_id, ctx->tok_slot};
    if (t.kind != T_END) {
        size_t n = strlen(ctx->tok_text);
        // Only tokens whose text is the source text they were read from.
        if ((long)n > end || memcmp(e->text + end - n, ctx->tok_text, n) != 0) return;
        t.start = (uint16_t)(end - (long)n);
    }
    e->tok[e->ntok++] = t;
    e->at[off] = e->ntok;
}

// The current line's record while it is still the one begun.
static inline Line* valid_entry(Context* ctx) {
    Line* e = entry(ctx);
    if (e && e->serial != ctx->lex_serial) { ctx->lex_entry = nullptr; return nullptr; }
    return e;
}

const RecordedToken* line_tokens_at(Context* ctx, unsigned offset) {
    Line* e = valid_entry(ctx);
    if (!e || offset > e->len || !e->at[offset]) return nullptr;
    return &e->tok[e->at[offset] - 1];
}

int16_t* line_tokens_plan_ref(Context* ctx, unsigned offset) {
    Line* e = valid_entry(ctx);
    if (!e || offset > e->len) return nullptr;
    for (unsigned k = 0; k < PLANS; ++k)
        if (e->plan_off[k] == offset) return &e->plan_ref[k];
    for (unsigned k = 0; k < PLANS; ++k)
        if (e->plan_off[k] == 0xFFFF) { e->plan_off[k] = (uint16_t)offset; return &e->plan_ref[k]; }
    return nullptr;
}

void line_tokens_script_changed(Context* ctx) {
    if (Cache* c = static_cast<Cache*>(ctx->line_cache)) ++c->epoch;
}

PlanPool* line_tokens_plan_pool(Context* ctx) {
    Cache* c = static_cast<Cache*>(ctx->line_cache);
    return c ? &c->plans : nullptr;
}

static bool g_enabled = true;
void line_tokens_set_enabled(bool on) { g_enabled = on; }

bool line_tokens_open(Context* ctx) {
    if (!g_enabled || ctx->line_cache) return false;
    ctx->line_cache = calloc(1, sizeof(Cache));
    return ctx->line_cache != nullptr;
}

void line_tokens_free(Context* ctx) {
    free(ctx->line_cache);
    ctx->line_cache = nullptr;
    ctx->lex_entry = nullptr;
}

} // namespace tsl

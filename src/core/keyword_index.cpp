// The first-character index over the keyword table and the keyword matcher.
#include <cstring>
#include "context.h"
#include "chars.h"
#include "lexer.h"

namespace tsl {

static uint16_t g_index[129];
static bool g_index_built = false;

// Built once per process. The table checks itself on the way: a record out
// of first-character order or with an id that is not its position shows a
// box; neither stops the interpreter.
void keyword_index_build() {
    if (g_index_built) return;
    g_index_built = true;
    if (!g_chars_ready) chars_init();
    for (unsigned i = 1; i < KEYWORD_BUILTIN_COUNT; ++i) {
        if ((unsigned char)g_keywords[i].name[0] < (unsigned char)g_keywords[i - 1].name[0])
            plat_message_box(nullptr, g_keywords[i].name, "FSOP782", BOX_OK);
        if (g_keywords[i].id != i) plat_message_box(nullptr, g_keywords[i].name, "FNP983", BOX_OK);
    }
    unsigned r = 0;
    for (unsigned c = 0; c <= 128; ++c) {
        while (r < KEYWORD_BUILTIN_COUNT && (unsigned char)g_keywords[r].name[0] < c) ++r;
        g_index[c] = (uint16_t)r;
    }
}

// Whether the record's name matches the source (lower-cased) at s.
static inline bool name_matches(const KeywordRecord& r, const char* s) {
    for (unsigned k = 0; k < r.name_len; ++k) {
        unsigned char c = (unsigned char)s[k];
        if (!c || (unsigned char)r.name[k] != ch_lower(c)) return false;
    }
    return true;
}

// Longest match over records [from, to); in name mode whole words only.
static int match_range(const KeywordRecord* recs, unsigned from, unsigned to, const char* s,
                       bool whole_word, unsigned* best_len) {
    int best = -1;
    for (unsigned i = from; i < to; ++i) {
        const KeywordRecord& r = recs[i];
        if (r.name_len <= *best_len || !name_matches(r, s)) continue;
        if (whole_word && ch_word((unsigned char)s[r.name_len])) continue;
        best = (int)i;
        *best_len = r.name_len;
    }
    return best;
}

// Whole-word matching over records [from, to): since every name-mode record
// is made of word characters, only a record as long as the word can match.
static int match_word(unsigned from, unsigned to, const char* s, unsigned word_len) {
    for (unsigned i = from; i < to; ++i) {
        const KeywordRecord& r = g_keywords[i];
        if (r.name_len == word_len && name_matches(r, s)) return (int)i;
    }
    return -1;
}

// Results of whole-word lookups in the built-in and extender records, by
// the lower-cased word. The records never change after start-up but for
// the extender's, so an entry also remembers the record count it saw.
struct WordCacheEntry {
    char word[32];
    uint8_t len;
    int16_t id;        // -1: no built-in or extender record
    uint16_t count;
};
static WordCacheEntry g_word_cache[256];

static int lookup_word(const char* s, unsigned word_len) {
    if (word_len > 30) {
        int best = match_word(g_index[ch_lower((unsigned char)*s)], g_index[ch_lower((unsigned char)*s) + 1], s, word_len);
        return best;
    }
    char low[32];
    unsigned h = 0;
    for (unsigned k = 0; k < word_len; ++k) {
        low[k] = (char)ch_lower((unsigned char)s[k]);
        h = h * 31 + (unsigned char)low[k];
    }
    WordCacheEntry& e = g_word_cache[(h ^ (h >> 8)) & 255];
    if (e.len == word_len && e.count == g_keyword_count && memcmp(e.word, low, word_len) == 0) return e.id;
    int best = -1;
    unsigned char first = (unsigned char)low[0];
    if (first < 128) best = match_word(g_index[first], g_index[first + 1], s, word_len);
    if (best < 0 && g_keyword_count > KEYWORD_BUILTIN_COUNT) {
        unsigned best_len = 0;
        best = match_range(g_keywords, KEYWORD_BUILTIN_COUNT, g_keyword_count, s, true, &best_len);
    }
    memcpy(e.word, low, word_len);
    e.len = (uint8_t)word_len;
    e.id = (int16_t)best;
    e.count = g_keyword_count;
    return best;
}

int keyword_lookup(Context* ctx, bool name_mode) {
    keyword_index_build();
    const char* s = ctx->cursor;
    unsigned word_len = 0;
    if (name_mode) {
        // A "." within the next 31 name characters makes a dotted object reference.
        for (unsigned k = 0; k < 31; ++k) {
            unsigned char c = (unsigned char)s[k];
            if (c == '.') { ctx->tok_id = K_DOTTED; return 1; }
            if (!(ch_alnum(c) || (c == '@' && k == 0))) break;
        }
        while (ch_word((unsigned char)s[word_len])) ++word_len;
    }
    unsigned best_len = 0;
    int best = -1;
    if (name_mode) {
        best = lookup_word(s, word_len);
    } else {
        unsigned char first = ch_lower((unsigned char)*s);
        if (first < 128) best = match_range(g_keywords, g_index[first], g_index[first + 1], s, false, &best_len);
        if (best < 0 && g_keyword_count > KEYWORD_BUILTIN_COUNT)
            best = match_range(g_keywords, KEYWORD_BUILTIN_COUNT, g_keyword_count, s, false, &best_len);
    }
    if (best >= 0) { ctx->tok_id = (int16_t)best; return 1; }
    best_len = 0;
    if (name_mode && ctx->host_table) {
        const KeywordRecord* t = ctx->host_table;
        unsigned n = 0;
        while (t[n].name_len) ++n;
        best = match_range(t, 0, n, s, false, &best_len);
        if (best >= 0) { ctx->tok_id = (int16_t)(t[best].id + HOST_COMMAND_BASE); return 1; }
    }
    return 0;
}

const KeywordRecord* keyword_record(const Context* ctx, int id) {
    if (id >= HOST_COMMAND_BASE) {
        const KeywordRecord* t = ctx->host_table;
        if (!t) return nullptr;
        for (unsigned n = 0; t[n].name_len; ++n)
            if (t[n].id + HOST_COMMAND_BASE == id) return &t[n];
        return nullptr;
    }
    if (id < 0 || id >= g_keyword_count) return nullptr;
    return &g_keywords[id];
}

} // namespace tsl

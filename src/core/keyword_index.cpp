// The first-character index over the keyword table and the keyword matcher.
#include <cstring>
#include "context.h"
#include "chars.h"
#include "lexer.h"

namespace tsl {

static uint16_t g_index[129];
static bool g_short_range[128];   // every record of that first character has at most 2 characters
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
    for (unsigned c = 0; c < 128; ++c) {
        g_short_range[c] = true;
        for (unsigned i = g_index[c]; i < g_index[c + 1]; ++i)
            if (g_keywords[i].name_len > 2) g_short_range[c] = false;
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

// Operator mode: the longest record matching at s. Ranges of one- and
// two-character operators (all but "?") take a direct path.

static int match_operator(const char* s) {
    unsigned char first = (unsigned char)*s;
    if (first >= 128) return -1;
    unsigned from = g_index[first], to = g_index[first + 1];
    if (!g_short_range[first]) {
        unsigned best_len = 0;
        return match_range(g_keywords, from, to, s, false, &best_len);
    }
    int one = -1;
    for (unsigned i = from; i < to; ++i) {
        const KeywordRecord& r = g_keywords[i];
        if (r.name_len == 2 && (unsigned char)r.name[1] == ch_lower((unsigned char)s[1])) return (int)i;
        if (r.name_len == 1 && one < 0) one = (int)i;
    }
    return one;
}

// The host command table, scanned in order without the whole-word test.
static int match_host(Context* ctx, const char* s) {
    const KeywordRecord* t = ctx->host_table;
    unsigned char c = ch_lower((unsigned char)*s);
    if (!(ctx->host_first[c >> 3] & (1u << (c & 7)))) return -1;
    unsigned n = 0;
    while (t[n].name_len) ++n;
    unsigned best_len = 0;
    int best = match_range(t, 0, n, s, false, &best_len);
    return best < 0 ? -1 : t[best].id + HOST_COMMAND_BASE;
}

// Notes which characters start a host command and whether every host name
// is made of word characters only; then a lookup depends on the word alone.
static void scan_host_table(Context* ctx) {
    const KeywordRecord* t = ctx->host_table;
    memset(ctx->host_first, 0, sizeof ctx->host_first);
    ctx->host_word_only = 1;
    for (unsigned k = 0; t && t[k].name_len; ++k) {
        unsigned char c = (unsigned char)t[k].name[0];
        ctx->host_first[c >> 3] |= (uint8_t)(1u << (c & 7));
        for (unsigned j = 0; j < t[k].name_len && j < sizeof t[k].name; ++j)
            if (!ch_word((unsigned char)t[k].name[j])) ctx->host_word_only = 0;
    }
    ctx->host_first_for = t;
}

// Name-mode lookups are remembered per context by the lower-cased word:
// the built-in and extender records (whole words) and, when its names are
// plain words, the host table. An entry remembers the record count and host
// table it saw; every run starts a new generation, since a host may change
// its table between runs. Being in the context, the cache needs no lock.
void keyword_cache_new_generation(Context* ctx) { ++ctx->word_generation; }

static int lookup_uncached(Context* ctx, const char* s, unsigned word_len) {
    unsigned char first = ch_lower((unsigned char)*s);
    int best = first < 128 ? match_word(g_index[first], g_index[first + 1], s, word_len) : -1;
    if (best < 0 && g_keyword_count > KEYWORD_BUILTIN_COUNT) {
        unsigned best_len = 0;
        best = match_range(g_keywords, KEYWORD_BUILTIN_COUNT, g_keyword_count, s, true, &best_len);
    }
    if (best < 0 && ctx->host_table) best = match_host(ctx, s);
    return best;
}

int keyword_lookup(Context* ctx, bool name_mode) {
    keyword_index_build();
    const char* s = ctx->cursor;
    int id;
    if (!name_mode) {
        id = match_operator(s);
        if (id < 0 && g_keyword_count > KEYWORD_BUILTIN_COUNT) {
            unsigned best_len = 0;
            id = match_range(g_keywords, KEYWORD_BUILTIN_COUNT, g_keyword_count, s, false, &best_len);
        }
        if (id < 0) return 0;
        ctx->tok_id = (int16_t)id;
        return 1;
    }
    // One pass over the word: its length, lower-cased copy and hash, and the
    // dotted-reference test (a "." after the name's letters and digits,
    // "@" first only, within 31 characters).
    uint64_t low_words[3] = {0, 0, 0};
    char* low = reinterpret_cast<char*>(low_words);
    unsigned h = 0, len = 0, stop = 0;
    bool stopped = false;
    for (;; ++len) {
        unsigned char c = (unsigned char)s[len];
        if (!stopped && !(ch_alnum(c) || (c == '@' && len == 0))) { stopped = true; stop = len; }
        if (!ch_word(c)) break;
        unsigned char l = ch_lower(c);
        if (len < WORD_CACHE_MAX_LEN) low[len] = (char)l;
        h = h * 31 + l;
    }
    if (stop < 31 && s[stop] == '.') { ctx->tok_id = K_DOTTED; return 1; }
    if (ctx->host_table && ctx->host_first_for != ctx->host_table) scan_host_table(ctx);
    bool cacheable = len <= WORD_CACHE_MAX_LEN && (!ctx->host_table || ctx->host_word_only);
    if (!cacheable) {
        id = lookup_uncached(ctx, s, len);
    } else {
        WordCacheEntry& e = ctx->word_cache[(h ^ (h >> 5)) % WORD_CACHE_SIZE];
        if (e.len == len && e.generation == ctx->word_generation && e.count == g_keyword_count &&
            e.host == ctx->host_table && e.word[0] == low_words[0] && e.word[1] == low_words[1] &&
            e.word[2] == low_words[2]) {
            id = e.id;
        } else {
            id = lookup_uncached(ctx, s, len);
            memcpy(e.word, low_words, sizeof e.word);
            e.len = (uint8_t)len;
            e.id = (int16_t)id;
            e.count = g_keyword_count;
            e.host = ctx->host_table;
            e.generation = ctx->word_generation;
        }
    }
    if (id < 0) return 0;
    ctx->tok_id = (int16_t)id;
    return 1;
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

// The lexer: cuts the current statement into tokens on demand, one step of push-back.
#pragma once
#include "context.h"

namespace tsl {

enum TokenKind : uint16_t { T_END = 0, T_KEYWORD = 1, T_NAME = 2, T_NUMBER = 3, T_STRING = 4 };

// Reads the next token into ctx->tok_kind / tok_id / tok_text.
void get_token(Context* ctx);
// Steps the cursor back over the token just read.
void unget_token(Context* ctx);
// Reads the quoted literal at s (its first byte is the quote) into out
// (TOKEN_BUF bytes) and returns where it ends.
const char* scan_literal(const char* s, char* out);
// Reads one bare word (letters, digits, "@") as a kind-4 token with id -1.
void read_word(Context* ctx);
// Keyword lookup at the cursor; name_mode selects whole-word matching,
// the dotted-reference look-ahead and the host command table.
int keyword_lookup(Context* ctx, bool name_mode);
// Starts a new generation of the lexer's word cache (at every run, since a
// host may change its command table between runs).
void keyword_cache_new_generation(Context* ctx);
// Builds the first-character index (with its self-check boxes) once.
void keyword_index_build();
// The record for a token id: built-in, extender (272..) or host command (900..).
const KeywordRecord* keyword_record(const Context* ctx, int id);

} // namespace tsl

// Remembered tokens of script lines. A line that runs again (a loop's body)
// is not lexed again: each token is replayed from the record made the first
// time, exactly as the lexer produced it. A name's one side effect, its
// registration in the variable table, is kept: the remembered slot is used
// only while it still holds that name, otherwise the name is registered
// afresh. Substituted lines, string literals and anything that failed are
// never recorded.
#pragma once
#include "context.h"

namespace tsl {

// Reads the next line like read_line, from the record of a line read
// before at the same place when the script's bytes there are unchanged.
int line_tokens_read(Context* ctx, const char* script, uint32_t length, uint16_t* pos, uint16_t* line_start,
                     char* line);
// Before a line's statement runs: finds or starts the record of the line
// read at `line_pos` of `script` (the text now in `line`).
void line_tokens_begin(Context* ctx, const char* script, uint16_t line_pos, const char* line);
// After the statement: no more replay until the next line begins.
inline void line_tokens_end(Context* ctx) { ctx->lex_entry = nullptr; }
// Replays the token at the cursor; 1 when it did.
int line_tokens_replay(Context* ctx);
// Records the token the lexer has just read from `from` (the cursor before it).
void line_tokens_record(Context* ctx, const char* from);
// Makes room for the records of a run (without room nothing is recorded),
// and frees it when the run ends: records do not outlive a run, whose
// start may bring another host table. Returns whether it made the room: a
// run started while another runs on the same context (from a window
// procedure during the message pump) must leave the outer run's room alone.
bool line_tokens_open(Context* ctx);
void line_tokens_free(Context* ctx);
// Replay on (the default) or off, for every context: tests compare both.
void line_tokens_set_enabled(bool on);

} // namespace tsl

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
// Returns 2 for a line from a record whose text holds no "%" (nothing to
// substitute), 1 for any other line, 0 at the end.
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
// Script bytes may have changed: a goto wrote its cache into a script, or
// a script was loaded or freed (a new one may take the same place). Lines
// are then read again from their bytes instead of trusted to their records.
// A host must not change a script's bytes while it runs.
void line_tokens_script_changed(Context* ctx);
// Makes room for the records of a run (without room nothing is recorded),
// and frees it when the run ends: records do not outlive a run, whose
// start may bring another host table. Returns whether it made the room: a
// run started while another runs on the same context (from a window
// procedure during the message pump) must leave the outer run's room alone.
bool line_tokens_open(Context* ctx);
void line_tokens_free(Context* ctx);
// Replay on (the default) or off, for every context: tests compare both.
// Off also turns off the statement plans, which are built on the records.
void line_tokens_set_enabled(bool on);

// What the statement plans (plan.cpp) read of the current line's record.
struct RecordedToken {
    uint16_t start, end;          // the token's text and the cursor after it, as line offsets
    uint16_t kind;
    int16_t id;
    uint16_t slot;                // a name's variable slot when it was last read
};
// The token recorded for a read with the cursor at `offset` of the current
// line, or null (not read yet, a string literal, or no valid record).
const RecordedToken* line_tokens_at(Context* ctx, unsigned offset);
// The plan reference of the statement at `offset` of the current line: 0
// none yet, above 0 the plan, below 0 attempts that came to nothing. Null
// when the line has no valid record or no room for another statement.
int16_t* line_tokens_plan_ref(Context* ctx, unsigned offset);
// The run's store of plans, or null when the run keeps no records.
struct PlanPool* line_tokens_plan_pool(Context* ctx);

} // namespace tsl

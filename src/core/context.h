// The interpreter context: one record per interpreter instance, kept in a
// host memory block of CONTEXT_SIZE bytes and handed to every operation.
// Pointers held here (heap, variables, script) are valid during a run only:
// the run entry locks the host's blocks and stores them afresh each time.
#pragma once
#include <cstdint>
#include "plat.h"
#include "value.h"
#include "keywords.h"

namespace tsl {

const unsigned CONTEXT_SIZE = 8016;   // what DoDaDllInit mode 0 reports
const unsigned SCRIPT_LINE_MAX = 256;        // characters of a script line
const unsigned LINE_BUF = SCRIPT_LINE_MAX + 1;
const unsigned VAR_NAME_MAX = 30;         // characters of a name
const unsigned TOKEN_BUF = 260;       // a 256-character literal, a DBCS half, the NUL
const unsigned FILE_SLOTS = 5;
const unsigned FILE_LINE_MAX = 1258;  // bytes of a line read by FileRead
const unsigned PATH_BUF = 260;
const unsigned CALL_DEPTH_MAX = 6;
const unsigned DDE_CHANNELS = 10;     // DDE conversations of one context, numbered 1..10

struct VarSlot {
    char name[32];
    Value value;
};
static_assert(sizeof(VarSlot) == 44, "variable slots are fixed-size");

struct FileSlot {
    PHandle handle;       // 0 = slot free
    uint32_t mode;        // 1 read, 4 write, 5 pipe, 2 end met, 8 "*EOF*" returned
    uint32_t pad;
};

enum ErrorModeKind : uint8_t { EM_OFF = 0, EM_CANCEL = 1, EM_NOTIFY = 2 };
enum Severity : int { SEV_MODERATE = 0, SEV_MINOR = 1, SEV_FATAL = 13 };
enum LanguageState : uint8_t { LANG_UNKNOWN = 0, LANG_TABLE = 1, LANG_FILE = 2 };

// A DDE channel: the conversation (none = free) and its two string handles.
struct DdeChannel {
    PHandle conversation;
    PHandle service;
    PHandle topic;
};

// The host command procedure and extender entry: eleven arguments.
typedef int32_t(TSL_CALL* AnswerFn)(int32_t code, int32_t reserved, void* answer,
                                                      int32_t kind, int32_t integer, const char* text);
typedef int32_t(TSL_CALL* CommandProc)(PHandle main_window, intptr_t host_value,
                                                         int32_t magic, int32_t command, AnswerFn answer,
                                                         void* answer_record, const char* t1, const char* t2,
                                                         const char* t3, const char* t4, const char* t5);

// What the boxes keep between calls (src/ui). The texts of an open box
// live in its own call record, which `call` points at while it is up.
const unsigned BUTTON_NAME_MAX = 24;
struct BoxState {
    char ok_name[BUTTON_NAME_MAX + 1];      // ButtonNames
    char cancel_name[BUTTON_NAME_MAX + 1];
    uint8_t names_pending;      // for the next OK/Cancel box only; cleared by every run
    uint8_t fixed_pitch_list;   // IntControl 40: list boxes in the fixed-pitch font
    uint8_t file_required;      // IntControl 41: a DialogBox file list must have a file chosen
    int32_t display_left;       // Display: milliseconds left
    void* call;                 // the open box's call record
};

// The answer record handed to a command call and back to ViperAnswer.
struct AnswerRecord {
    struct Context* ctx;
    Value* result;
};

struct Context {
    // --- errors ---
    uint16_t error;                 // current error number, 0 = none
    uint16_t last_reported;         // LastError
    uint16_t run_error;             // run results: error at the end of the loop,
    int16_t run_result;             //   the loop's result (1, 0, -1),
    uint16_t run_line_start;        //   offset of the last line started
    uint8_t error_mode;             // ErrorModeKind
    uint8_t break_flag;             // set by Ctrl+Break
    uint8_t break_report;           // report a user break with a box
    uint8_t exclusive;              // no message pump between lines
    uint8_t debug_trace;            // Debug(@on)
    uint8_t debug_output;           // IntControl 7: lines to OutputDebugString
    uint8_t last_if;                // last IF result
    uint8_t call_depth;
    uint8_t sounds;                 // TSLPROCS.INI [MAIN] Sounds
    uint8_t pretty_dialogs;         // TSLPROCS.INI [MAIN] PrettyDialogs
    uint8_t language_state;         // LanguageState
    uint8_t idle_calls;             // host asked for idle calls (-1) in the break test
    uint8_t host_switches[4];       // IntControl 4, 5, 12, 28
    uint8_t initialised;            // modes 1..3 passed
    uint8_t attached;               // counted as attached (mode 3)
    uint8_t run_depth;              // runs in progress on this context (more than 1: nested)
    uint8_t encoded_only;           // only encoded script and menu files load (encoded-scripts mode)

    // --- string heap ---
    uint8_t* heap;                  // locked base of the heap block
    PHandle heap_block;
    uint32_t heap_size;

    // --- lexer ---
    const char* cursor;             // source cursor in the current statement
    uint16_t tok_kind;
    int16_t tok_id;
    char tok_text[TOKEN_BUF];
    uint16_t tok_slot;              // variable slot of a name token (found or registered)
    const KeywordRecord* host_first_for;  // the host table host_first describes
    uint8_t host_first[32];         // bit set: some host command starts with that character
    uint8_t host_word_only;         // every host command name is made of word characters
    uint32_t word_generation;       // a new generation at every run
    void* line_cache;               // remembered tokens of lines (line_tokens.cpp), or none yet
    const char* lex_line;           // the line whose tokens may be replayed now
    void* lex_entry;                //   and its record, or none
    uint32_t lex_serial;
    WordCacheEntry word_cache[WORD_CACHE_SIZE];
    char scratch[40];               // integer-to-text and name reading

    // --- variables ---
    VarSlot* vars;                  // locked slot array
    PHandle var_block;
    uint16_t var_capacity;
    uint16_t var_count;             // high-water mark

    // --- host commands (searched by the lexer as the extender keyword table) ---
    const KeywordRecord* host_table;
    CommandProc host_proc;

    // --- files ---
    FileSlot files[FILE_SLOTS];

    // --- windows and host ---
    PHandle owner;                  // owner window of the run's boxes
    PHandle owner_parent;
    PHandle main_window;
    PHandle self_block;             // the context's own block handle
    PHandle extra_block;            // freed by mode 99
    PHandle host_instance;
    intptr_t host_value;            // passed to every command call
    char win_pattern[LINE_BUF];     // the window functions' title search: the pattern
    PHandle win_found;              //   and the window found (none before each search)
    PHandle wait_cursor, arrow_cursor, current_cursor;
    int32_t font_width, font_height;   // system fixed font metrics
    uint32_t dde_timeout;           // DDE transaction time-out, ms
    uint32_t dde_instance;          // DDEML instance, 0 until the first DDEInitiate
    uint8_t dde_ready;              // DdeInitialize done for this context
    DdeChannel dde_channels[DDE_CHANNELS];
    uint32_t random_seed;
    char host_name1[21], host_name2[8], host_name3[21], host_name4[21];
    char delim1[2], delim2[2];

    // --- statements and run ---
    Value result;                   // last statement's value
    uint16_t last_error;            // last statement's error
    uint16_t error_text_of;         // the error whose report shows error_text as it stands
                                    //   (Call's file name), 0 none
    const char* script;             // the script being run (host buffer or Call file)
    const char* script_name;        // for console reports: the file the line stands in
    char error_text[LINE_BUF];      // error-context text shown by a report
    char caption[LINE_BUF];
    char ident[LINE_BUF];           // identification line (DLLServices 0)
    char trace_line[LINE_BUF];      // the debug trace's current line
    char language[32];              // language section of TSLDLANG.DLL
    char language_file[PATH_BUF];
    char top_script_name[PATH_BUF]; // host-set name of the top-level script
    char path[PATH_BUF];            // file functions' path buffer
    char file_line[FILE_LINE_MAX + 2];
    char extender_error[LINE_BUF];  // text of the last extender error

    // --- keys ---
    uint16_t wait_keys[5];          // WaitForKey's parsed key codes
    uint8_t wait_key_count;
    // --- boxes ---
    BoxState box;
};
static_assert(sizeof(Context) <= CONTEXT_SIZE, "the context fits the block mode 0 asks for");

// Sets the error number (the one place errors are raised). Returns 0 so
// that callers can write `return fail(ctx, 3057);`.
inline int fail(Context* ctx, uint16_t number) { ctx->error = number; return 0; }

} // namespace tsl

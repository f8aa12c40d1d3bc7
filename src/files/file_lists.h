// The one file-list engine of the file functions, the name splitter, the
// full-name rule and the target-mask mapping (FileMapName).
#pragma once
#include "../core/context.h"

namespace tsl {

const unsigned LIST_NAME_MAX = 280;   // a listed name must be shorter than this
const unsigned PART_MAX = 255;        // bytes of each part cut by the splitter
const unsigned FULL_NAME_MAX = 600;   // room for a full name; the system decides what it accepts

// Name parts as the splitter cuts a path (bytes, each part at most 255).
struct NameParts {
    char drive[PART_MAX + 1];   // "C:" or ""
    char dir[PART_MAX + 1];     // up to and including the last \ or /
    char root[PART_MAX + 1];    // up to the last . after the directory
    char ext[PART_MAX + 1];     // after that ., without it
};
void name_split(const char* path, NameParts* parts);

// The current drive letter (upper case), 0 when the current directory has none.
char current_drive();
// The current directory of a drive, ending in "\": the "=X:" environment
// variable, else what the system says for that drive. False when unknown.
bool drive_current_dir(char letter, char* out, unsigned cap);
// The full-name rule: drive, the name's directory (else the drive's
// current directory), root, "." and extension. False when it does not fit.
bool full_name(const char* name, char* out, unsigned cap);
// Maps a source name through a target mask. False when no name can be formed.
bool map_name(const char* source, const char* mask, char* out, unsigned cap);

// Engine flags.
enum : unsigned {
    FL_NO_WILDCARDS = 1,        // a "*" or "?" is error 3322
    FL_LITERAL_WILDCARDS = 2,   // wildcard characters are taken as they stand
};
// Per-file action: `full` is the full path, `item` the name as listed (for a
// wildcard match, the directory part and the match). 1 goes on, 0 stops.
typedef int (*FileAction)(Context* ctx, const char* full, const char* item, void* user);
// Runs `action` for every file of the list. 1 when the whole list was done,
// 0 when an action stopped it or the engine failed (1002, 3054, 3322 set).
int file_list_each(Context* ctx, const char* list, unsigned flags, FileAction action, void* user);
// Cuts the next name of a list (quotes " ` ' with the quote doubled inside).
// Returns the position after it, nullptr at the end of the list or on error
// (3054 set). `name` holds LIST_NAME_MAX bytes.
const char* list_next_name(Context* ctx, const char* p, char* name);

} // namespace tsl

namespace tsl {
const unsigned FILE_TIME_TEXT = 18;   // FileTimeGet's 17 characters and the NUL
// A file time (UTC, as the system keeps it) in FileTimeGet's layout, read
// with the INTL profile settings of the moment.
void file_time_text(uint32_t low, uint32_t high, char* out);
} // namespace tsl

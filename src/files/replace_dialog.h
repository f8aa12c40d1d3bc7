// The replace decision of FileCopy and FileMove (and FileNameEval2), with
// the "Confirm File Replace" dialog (template FILEWARN, OverwriteProc).
#pragma once
#include "../core/context.h"

namespace tsl {

// Replace modes. 1..4 answer one question, 101..104 all the rest of the call.
enum ReplaceMode : int {
    RM_ASK = 0,
    RM_OVERWRITE = 1,
    RM_NEWER = 2,      // replace only when the TARGET is newer (deliberately)
    RM_OLDER = 3,      // replace only when the source is newer or the same age
    RM_SKIP = 4,
    RM_OVERWRITE_ALL = 101,
    RM_NEWER_ALL = 102,
    RM_OLDER_ALL = 103,
    RM_SKIP_ALL = 104,   // "&Cancel", or the dialog could not be shown
};

// Age of a source against its target, by DOS date and time words of the
// local last-write times (two-second steps).
enum Age : int { AGE_SOURCE_NEWER_OR_SAME = 0, AGE_TARGET_NEWER = 1, AGE_TARGET_MISSING = 2 };
Age age_compare(const char* source, const char* target);

// The mode of one copy or move call: set at its start, changed by the dialog.
struct ReplaceCall { int mode; };
inline void replace_begin(ReplaceCall* call, int warning) { call->mode = warning ? RM_ASK : RM_OVERWRITE_ALL; }
// True when the target is to be replaced (asks when the mode says so).
bool replace_decide(Context* ctx, ReplaceCall* call, const char* source, const char* target);
// Shows the dialog (or, in console mode, writes the question to standard
// error and takes the default button). Returns the mode of the pressed button.
int replace_ask(Context* ctx, const char* source, const char* target);

} // namespace tsl

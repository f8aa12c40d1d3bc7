// The title search shared by the window and keystroke functions.
//
// A pattern names a top-level window by the beginning of its title, compared
// case-sensitively; a pattern longer than one character that ends in "~" must
// equal the whole title instead. Windows with an empty title and the title
// "WinOldAp" are never found. The first match in z-order wins.
#pragma once
#include <windows.h>
#include "../core/context.h"

namespace tsl {

const unsigned TITLE_BUF = 257;   // a title is read up to 256 characters

// The first top-level window whose title matches `pattern`, or NULL. The
// pattern (at most 256 characters) is kept in ctx->win_pattern and the
// window in ctx->win_found.
HWND window_find(Context* ctx, const char* pattern);

// The window a function of the family means by `title`: the host window
// (the run's owner) for an empty title, else the result of window_find.
HWND window_target(Context* ctx, const char* title);

// Reads a window's title (up to 256 characters) into buf (TITLE_BUF bytes).
void window_title(HWND window, char* buf);

// One pause of a waiting function (WinWaitClose, AppWaitClose), as between
// two script lines: the user-break test, then 20 ms and the message pump, or
// only the 20 ms while Exclusive is on.
void wait_pause(Context* ctx);

// Whether `title` matches `pattern` by the rule above (an empty title and
// "WinOldAp" included: callers skip those themselves).
bool window_title_matches(const char* title, const char* pattern);

// Whether a top-level window with this title is one the searches look at.
bool window_title_listed(const char* title);

} // namespace tsl

// The enumeration callback of the search: lp is the context.
extern "C" BOOL CALLBACK WinEnumFuncx(HWND window, LPARAM lp);

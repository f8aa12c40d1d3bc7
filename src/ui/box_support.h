// What every box of the interpreter shares: the library's module for its
// templates, the OK and Cancel captions (ButtonNames), centring, the opening
// sound, the watch for Ctrl+Break while a box is up, and the tidying after
// a box (one message pump, the interpreter's cursor).
#pragma once
#include <windows.h>
#include "../core/context.h"

namespace tsl {

HINSTANCE box_module();

// Sets the captions of buttons 1 and 2: a pending non-empty name, else
// message 120 ("&Ok") or 121 ("&Cancel") in the current language. Then no
// names are pending any more.
void box_button_names(Context* ctx, HWND dlg);
// The caption that box_button_names gives button `id` (IDOK or IDCANCEL),
// without clearing the pending names.
void box_button_caption(Context* ctx, int id, char* caption, unsigned size);

void box_centre(HWND w);

// A system sound alias, asynchronous, never the default sound instead;
// only when the Sounds setting is on.
void box_sound(Context* ctx, const char* alias);

// Opening of a dialog procedure: enters the window in the window-to-context
// table and starts the break watch. False when the table is full: the
// dialog has then been ended with `failed` and must do nothing more.
bool box_enter(HWND dlg, Context* ctx, INT_PTR failed);
// Leaving: stops the break watch, removes the window from the table and
// ends the dialog with `result`.
void box_leave(HWND dlg, INT_PTR result);

// The break watch's timer. box_break_tick answers true when Ctrl+Break has
// been pressed (the context's break flag is set).
const UINT_PTR BOX_BREAK_TIMER = 0x7B;
bool box_break_tick(Context* ctx);
// A command that ends a box: the dialog manager turns Ctrl+Break into
// Cancel, so the keys are looked at as the box ends, and a break that
// closed it is kept as a break (the run stops after the box).
void box_note_break(Context* ctx);

// After every box: pump pending messages once, restore the cursor.
void box_after(Context* ctx);

// Console mode: a box line "BOX(caption): text" on standard error.
void box_console(const char* caption, const char* text);

// The context of a dialog window (the "DlgPointLookup Failure" box when
// the window is not in the table).
Context* box_context(HWND dlg);

} // namespace tsl

// The window-to-context table: every dialog procedure finds its interpreter
// context here. A dialog enters its window when it opens (WM_INITDIALOG,
// with the context passed at creation) and removes it just before it ends.
#pragma once
#include "../core/context.h"

namespace tsl {

const unsigned DIALOG_CONTEXTS_MAX = 100;

// Enters the pair; false when all 100 places are taken.
bool dialog_context_add(PHandle window, Context* ctx);
// The context of a window. A window that is not in the table shows the box
// "DlgPointLookup Failure" (caption "Internal Error") and gives nullptr.
Context* dialog_context_find(PHandle window);
// As dialog_context_find, without the box (messages that arrive before
// the dialog has entered itself).
Context* dialog_context_peek(PHandle window);
void dialog_context_remove(PHandle window);

} // namespace tsl

// Message texts by number: from the interpreter's string table, or from the
// language file TSLDLANG.DLL when a language is selected.
#pragma once
#include "context.h"

namespace tsl {
// Loads text `number` into buf; number 0 detects the language again.
// Returns the length loaded. "~" becomes a line feed and "|" a tab.
unsigned load_message(Context* ctx, unsigned number, char* buf, unsigned size);
// The built-in text of a number ("" when there is none); native table or string table.
const char* builtin_message(unsigned number);
}

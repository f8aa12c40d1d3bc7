// Filling a list box: from an item list (ItemSelect, TextSelect) and from
// a text file (TextBox, TextBoxSort). Both keep lines to 254 bytes.
#pragma once
#include <windows.h>
#include "../core/context.h"

namespace tsl {

const unsigned LIST_LINE_MAX = 254;

// The delimiter of an item list: the first character of the argument (two
// bytes for a double-byte character), or a tab when the argument is empty.
void list_delimiter(const char* arg, char out[3]);

// Items are added at each delimiter, even when empty; an item that grows
// past 254 bytes is added cut and ends the list (the rest is ignored);
// the last item is added only when it is not empty. Sorted: in sort
// order; otherwise each at the end.
void list_fill_items(HWND list, const char* items, const char* delim, bool sorted);

// Lines end at carriage returns (line feeds are ignored) and are cut at
// 254 bytes. A file that cannot be opened shows "Error opening/finding
// file:" and its name.
void list_fill_file(HWND list, const char* file, bool sorted);

} // namespace tsl

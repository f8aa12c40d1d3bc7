// Filling the list boxes; see list_fill.h.
#include "list_fill.h"
#include <cstring>

namespace tsl {

namespace {

const unsigned FILE_BLOCK = 257;
const WPARAM LAST_LINE_POSITION = 65535;

void add(HWND list, const char* text, bool sorted) {
    if (sorted) SendMessageA(list, LB_ADDSTRING, 0, (LPARAM)text);
    else SendMessageA(list, LB_INSERTSTRING, (WPARAM)-1, (LPARAM)text);
}

unsigned char_length(const char* p) { return plat_is_lead_byte((unsigned char)*p) && p[1] ? 2 : 1; }

} // namespace

void list_delimiter(const char* arg, char out[3]) {
    out[0] = '\t'; out[1] = 0; out[2] = 0;
    if (!arg[0]) return;
    unsigned n = char_length(arg);
    memcpy(out, arg, n);
    out[n] = 0;
}

void list_fill_items(HWND list, const char* items, const char* delim, bool sorted) {
    char item[LIST_LINE_MAX + 1];
    unsigned n = 0;
    size_t delim_len = strlen(delim);
    for (const char* p = items; *p;) {
        if (strncmp(p, delim, delim_len) == 0) {
            item[n] = 0;
            add(list, item, sorted);
            n = 0;
            p += delim_len;
            continue;
        }
        unsigned len = char_length(p);
        if (n + len > LIST_LINE_MAX) {
            // An over-long item is the last one: the rest of the list is
            // ignored, deliberately.
            item[n] = 0;
            add(list, item, sorted);
            return;
        }
        memcpy(item + n, p, len);
        n += len;
        p += len;
    }
    item[n] = 0;
    if (n) add(list, item, sorted);
}

void list_fill_file(HWND list, const char* file, bool sorted) {
    HANDLE f = CreateFileA(file, GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, NULL);
    if (f == INVALID_HANDLE_VALUE) {
        SendMessageA(list, LB_ADDSTRING, 0, (LPARAM) "Error opening/finding file:");
        SendMessageA(list, LB_INSERTSTRING, (WPARAM)-1, (LPARAM)file);
        return;
    }
    char block[FILE_BLOCK], line[LIST_LINE_MAX + 1];
    unsigned n = 0;
    DWORD got;
    while (ReadFile(f, block, sizeof block, &got, NULL) && got) {
        for (DWORD i = 0; i < got; i++) {
            char c = block[i];
            if (c == '\n') continue;
            if (c == '\r') { line[n] = 0; add(list, line, sorted); n = 0; continue; }
            if (n < LIST_LINE_MAX) line[n++] = c;   // past 254 bytes the line is cut
        }
    }
    line[n] = 0;
    if (n) {
        // The unsorted box inserts its last line at position 65535, which the
        // list refuses unless it is that long: a last line without a carriage
        // return does not show in TextBox. Kept so, deliberately.
        if (sorted) SendMessageA(list, LB_ADDSTRING, 0, (LPARAM)line);
        else SendMessageA(list, LB_INSERTSTRING, LAST_LINE_POSITION, (LPARAM)line);
    }
    CloseHandle(f);
}

} // namespace tsl

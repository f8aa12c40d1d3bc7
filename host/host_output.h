// Standard output and error of the Windows hosts, written with WriteFile so
// that nothing is buffered when a run ends by a box or a break.
#pragma once
#include <windows.h>
#include <cstring>

// Writes text to STD_OUTPUT_HANDLE or STD_ERROR_HANDLE; nothing without a console.
inline void write_handle(DWORD which, const char* text) {
    HANDLE h = GetStdHandle(which);
    if (h == NULL || h == INVALID_HANDLE_VALUE) return;
    DWORD written;
    WriteFile(h, text, (DWORD)strlen(text), &written, NULL);
}

// "PROGRAM: a b c" and a line end on standard error.
inline void host_error_line(const char* program, const char* a, const char* b = "", const char* c = "") {
    const char* pieces[] = {program, ": ", a, b, c, "\r\n"};
    for (const char* p : pieces) write_handle(STD_ERROR_HANDLE, p);
}

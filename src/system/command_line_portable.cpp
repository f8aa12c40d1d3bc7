// Command lines of the Run family (see command_line_portable.h).
#include "command_line_portable.h"
#include <cstring>
#include "../core/bounded.h"

namespace tsl {

namespace {

bool ends_with_nocase(const char* tail, const char* suffix) {
    for (; *suffix; ++tail, ++suffix) {
        char a = *tail, b = *suffix;
        if (a >= 'a' && a <= 'z') a = (char)(a - 32);
        if (a != b) return false;
    }
    return true;
}

void append_parameters(Context* ctx, char* command, const char* parameters) {
    if (!*parameters) return;
    bounded_append(ctx, command, " ", RUN_COMMAND_SIZE);
    bounded_append(ctx, command, parameters, RUN_COMMAND_SIZE);
}

} // namespace

RunTarget run_command_line(Context* ctx, const char* program, const char* parameters, char* command) {
    unsigned out = 0;
    bool dotted = false, name_done = false;
    for (unsigned in = 0; in < RUN_PROGRAM_MAX; ++in) {
        char c = program[in];
        if (!name_done && (c == ' ' || c == '\t' || c == 0)) {
            name_done = true;
            if (!dotted) { memcpy(command + out, ".EXE", 4); out += 4; }
        }
        if (c == 0) break;
        if (c == '.' || c == '*') dotted = true;
        command[out++] = c;
    }
    if (!name_done && !dotted) { memcpy(command + out, ".EXE", 4); out += 4; }   // a name cut at 247
    command[out] = 0;

    if (out < 5) return RUN_DOCUMENT;
    char* last3 = command + out - 3;
    bool starred = last3[-1] == '*';
    if (!starred && !ends_with_nocase(last3, "EXE") && !ends_with_nocase(last3, "COM") &&
        !ends_with_nocase(last3, "PIF") && !ends_with_nocase(last3, "BAT"))
        return RUN_DOCUMENT;
    if (starred) last3[-1] = '.';   // "name*ext" runs as a program whatever the extension
    // A blank follows the program even without parameters.
    bounded_append(ctx, command, " ", RUN_COMMAND_SIZE);
    bounded_append(ctx, command, parameters, RUN_COMMAND_SIZE);
    return RUN_PROGRAM;
}

const char* document_extension(const char* document) {
    const char* dot = nullptr;
    for (const char* p = document; *p; ++p) {
        if (*p == '\\' || *p == '/' || *p == ':') dot = nullptr;
        else if (*p == '.') dot = p;
    }
    return dot ? dot + 1 : "";
}

void document_command_line(Context* ctx, const char* entry, const char* document, const char* parameters,
                           char* command) {
    command[0] = 0;
    const char* ext = document_extension(document);
    char base[RUN_COMMAND_SIZE];
    bounded_copy(ctx, base, document, sizeof base);
    if (*ext) {
        size_t n = (size_t)(ext - 1 - document);
        if (n < sizeof base) base[n] = 0;
    }
    if (!strchr(entry, '^')) {
        bounded_copy(ctx, command, entry, RUN_COMMAND_SIZE);
        bounded_append(ctx, command, " ", RUN_COMMAND_SIZE);
        bounded_append(ctx, command, document, RUN_COMMAND_SIZE);
    } else {
        char piece[2] = {0, 0};
        for (const char* p = entry; *p; ++p) {
            if (*p == '^') { bounded_append(ctx, command, base, RUN_COMMAND_SIZE); continue; }
            piece[0] = *p;
            bounded_append(ctx, command, piece, RUN_COMMAND_SIZE);
        }
    }
    append_parameters(ctx, command, parameters);
}

} // namespace tsl

// The command lines of the Run family, built in the 257-byte command buffer.
// Portable: the DLL starts what these build, the native tests check them.
#pragma once

namespace tsl {

struct Context;

const unsigned RUN_COMMAND_SIZE = 257;   // the command buffer, with its NUL
const unsigned RUN_PROGRAM_MAX = 247;    // characters of the program text copied

enum RunTarget { RUN_PROGRAM, RUN_DOCUMENT };

// Copies the program text into `command` (RUN_COMMAND_SIZE bytes), with
// ".EXE" where its name ends when the name had no "." or "*". A text ending
// in EXE, COM, PIF or BAT, or with "*" before its last three characters, is a
// program: that "*" becomes ".", and a blank and the parameters follow.
// Anything else is a document: `command` holds its name alone.
RunTarget run_command_line(Context* ctx, const char* program, const char* parameters, char* command);

// The extension of a document's name (after its last "." in the last part
// of the path), or "" when there is none.
const char* document_extension(const char* document);

// Builds the command that opens a document from its Extensions entry
// ("notepad.exe ^.txt"): each "^" stands for the document's name without its
// extension; an entry without "^" gets a blank and the document's name
// appended. The parameters follow after a blank when there are any.
void document_command_line(Context* ctx, const char* entry, const char* document, const char* parameters,
                           char* command);

} // namespace tsl

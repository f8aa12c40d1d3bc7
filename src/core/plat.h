// The platform seam: everything the language core needs from the operating
// system, declared without <windows.h>. plat_win32.cpp implements it with
// real Win32 calls inside the DLL; plat_native.cpp implements it for the
// native build (unit tests, fuzzing, benchmarks) with plain C++.
#pragma once
#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define TSL_CALL __stdcall
#else
#define TSL_CALL
#endif

namespace tsl {

// Opaque system handles (HWND, HGLOBAL, HINSTANCE, HANDLE) as seen by the core.
typedef void* PHandle;

// Message-box styles and answers, the values MessageBox uses.
enum : unsigned {
    BOX_OK = 0, BOX_OKCANCEL = 1, BOX_YESNO = 4, BOX_ICONSTOP = 16, BOX_ICONQUESTION = 32,
    BOX_ICONEXCLAMATION = 48, BOX_ICONINFO = 64, BOX_DEFBUTTON2 = 0x100,
};
enum : int { ANSWER_OK = 1, ANSWER_CANCEL = 2, ANSWER_YES = 6, ANSWER_NO = 7 };

// --- characters of the current code page ---
bool plat_is_alpha(unsigned char c);          // IsCharAlphaA
bool plat_is_alnum(unsigned char c);          // IsCharAlphaNumericA
bool plat_is_digit(unsigned char c);          // the run-time library's digit class
unsigned char plat_lower_char(unsigned char c);  // CharLowerA on one character
bool plat_dbcs_enabled();                     // SM_DBCSENABLED, read once
bool plat_is_lead_byte(unsigned char c);      // IsDBCSLeadByte (false without DBCS)
const char* plat_char_next(const char* p);    // CharNextA: steps one character
int plat_compare(const char* a, const char* b);      // lstrcmpA
// Whether plat_compare(a, b) would be 0, often without asking the system.
bool plat_texts_equal(const char* a, const char* b);
int plat_compare_nocase(const char* a, const char* b);  // lstrcmpiA
void plat_upper(char* s);                     // CharUpperA in place
void plat_lower(char* s);                     // CharLowerA in place

// --- boxes, sounds, tracing ---
// Shows a message box; in console mode (plat_console_mode) writes it to the
// console instead and answers with the box's default button.
int plat_message_box(PHandle owner, const char* text, const char* caption, unsigned style);
PHandle plat_focus_window();                  // GetFocus, owner of the heap's boxes
void plat_play_sound(const char* alias);      // PlaySound of a system alias
void plat_message_beep(unsigned type);        // MessageBeep
void plat_output_debug(const char* text);     // OutputDebugStringA
void plat_write_stderr(const char* text);     // the console's error stream
bool plat_console_mode();
void plat_set_console_mode(bool on);

// --- time and waiting ---
void plat_sleep(unsigned ms);
uint32_t plat_tick_count();
struct LocalTime { int year, month, day, weekday, hour, minute, second, millis; };
void plat_local_time(LocalTime* t);

// --- the message pump and the user break ---
// Sleeps 20 ms, then removes and dispatches waiting messages until the
// queue is empty or *break_flag is set; test_break runs before each one.
struct Context;
void plat_pump_messages(Context* ctx);
// Sets ctx->break_flag when Ctrl+Break is down; makes the host's idle call.
void plat_break_test(Context* ctx);
// Selects the wait cursor (during a run) or the arrow cursor (after it).
void plat_set_cursor(Context* ctx, bool wait);

// --- the debug trace ---
enum : int { TRACE_STOP = 0, TRACE_STEP = 1, TRACE_RUN = 2 };
// Asks before a traced statement, showing the line and the last result (the
// debug-trace dialog; natively a box): TRACE_STEP runs the line, TRACE_RUN
// runs it and turns the trace off, TRACE_STOP stops the run.
int plat_debug_trace(Context* ctx, const char* line);

// --- profiles and files ---
// GetProfileString / GetPrivateProfileString (file == nullptr: the user profile).
unsigned plat_profile_string(const char* file, const char* section, const char* key,
                             const char* def, char* buf, unsigned size);
// Loads a message text by number from the interpreter's own string table.
unsigned plat_load_message(unsigned number, char* buf, unsigned size);
// The directory of the interpreter's module, with its trailing backslash.
bool plat_module_dir(char* buf, unsigned size);
// Searches a script or language file: the name as given, then the current
// directory and the directories of PATH. Writes the full name.
bool plat_search_file(const char* name, char* full, unsigned size);
// Reads a whole file into a fresh block of size + 1 bytes (NUL-terminated).
// Returns 0 on success, else the loader's message number (102, 203, 205, 206).
unsigned plat_load_script_file(const char* path, char** text, uint32_t* size);
void plat_free_script_file(char* text);

} // namespace tsl

// Run, RunWait, RunIcon, RunIconWait, RunZoom, RunZoomWait, RunHide,
// RunHideWait, RunEnviron, ShellExecute, ShellPrint and RunExit: programs
// started from a script. A started program is never stopped by the
// interpreter; a waiting form blocks the run's thread, and with it the
// message pump and the break test, until the program ends.
// Every failure is a numbered error and the result 0.
#include "command_line_portable.h"
#include "../core/bounded.h"
#include "../core/messages.h"
#include "../functions/families.h"
#include <windows.h>
#include <shellapi.h>

namespace tsl {

namespace {

// Show argument of RunEnviron, ShellExecute and ShellPrint: @icon 1,
// @zoomed 3, @hidden -1; anything else (@normal 2 too) shows normally.
int show_of(int32_t argument) {
    switch (argument) {
    case 1: return SW_MINIMIZE;
    case 3: return SW_MAXIMIZE;
    case -1: return SW_HIDE;
    default: return SW_SHOWNORMAL;
    }
}

// Waits for the process without a limit. Deliberately no pumping: the
// waiting forms hold the run's thread until the started program has ended.
void wait_for(HANDLE process) { WaitForSingleObject(process, INFINITE); }

// Starts a command line with the start-up request of the Run family.
int start_process(Context* ctx, char* command, const char* directory, int show, bool wait) {
    if (ctx->sounds && show != SW_HIDE) plat_play_sound("StartProgram");
    STARTUPINFOA si = {};
    si.cb = sizeof si;   // 68 bytes in the 32-bit DLL
    si.dwXSize = 100;
    si.dwYSize = 100;
    si.dwFlags = STARTF_USESHOWWINDOW | STARTF_FORCEONFEEDBACK;
    si.wShowWindow = (WORD)show;
    PROCESS_INFORMATION pi = {};
    if (!CreateProcessA(nullptr, command, nullptr, nullptr, FALSE, NORMAL_PRIORITY_CLASS, nullptr,
                        directory && *directory ? directory : nullptr, &si, &pi))
        return fail(ctx, 1932);
    Sleep(50);
    if (wait) wait_for(pi.hProcess);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    return 1;
}

// The Run family: a program (".EXE" added to a bare name, "*" in place of
// its dot) or a document opened by the program of its extension in the
// Extensions section of WIN.INI.
int run_program(Context* ctx, const char* program, const char* parameters, int show, bool wait) {
    if (wait) {
        DWORD v = GetVersion();
        if ((v & 0xFF) == 3 && ((v >> 8) & 0xFF) < 9 && GetSystemMetrics(SM_DEBUG)) return fail(ctx, 1216);
    }
    char command[RUN_COMMAND_SIZE];
    if (run_command_line(ctx, program, parameters, command) == RUN_DOCUMENT) {
        char entry[RUN_COMMAND_SIZE] = "";
        const char* ext = document_extension(command);
        if (*ext) GetProfileStringA("Extensions", ext, "", entry, sizeof entry);
        if (!entry[0]) return fail(ctx, 1933);
        char document[RUN_COMMAND_SIZE];
        bounded_copy(ctx, document, command, sizeof document);
        document_command_line(ctx, entry, document, parameters, command);
    }
    return start_process(ctx, command, nullptr, show, wait);
}

// Program and parameters unchanged, joined by a blank.
int run_unchanged(Context* ctx, Value* a, const char* directory, int32_t show, int32_t wait) {
    char command[RUN_COMMAND_SIZE];
    bounded_copy(ctx, command, value_text(ctx, a[1]), sizeof command);
    const char* parameters = value_text(ctx, a[2]);
    if (*parameters) {
        bounded_append(ctx, command, " ", sizeof command);
        bounded_append(ctx, command, parameters, sizeof command);
    }
    return start_process(ctx, command, directory, show_of(show), wait != 0);
}

void fn_run(Context* c, Value* r, Value* a) { r->integer = run_program(c, value_text(c, a[1]), value_text(c, a[2]), SW_SHOWNORMAL, false); }
void fn_run_wait(Context* c, Value* r, Value* a) { r->integer = run_program(c, value_text(c, a[1]), value_text(c, a[2]), SW_SHOWNORMAL, true); }
void fn_run_icon(Context* c, Value* r, Value* a) { r->integer = run_program(c, value_text(c, a[1]), value_text(c, a[2]), SW_SHOWMINNOACTIVE, false); }
void fn_run_icon_wait(Context* c, Value* r, Value* a) { r->integer = run_program(c, value_text(c, a[1]), value_text(c, a[2]), SW_SHOWMINNOACTIVE, true); }
void fn_run_zoom(Context* c, Value* r, Value* a) { r->integer = run_program(c, value_text(c, a[1]), value_text(c, a[2]), SW_MAXIMIZE, false); }
void fn_run_zoom_wait(Context* c, Value* r, Value* a) { r->integer = run_program(c, value_text(c, a[1]), value_text(c, a[2]), SW_MAXIMIZE, true); }
void fn_run_hide(Context* c, Value* r, Value* a) { r->integer = run_program(c, value_text(c, a[1]), value_text(c, a[2]), SW_HIDE, false); }
void fn_run_hide_wait(Context* c, Value* r, Value* a) { r->integer = run_program(c, value_text(c, a[1]), value_text(c, a[2]), SW_HIDE, true); }

// RunEnviron(program, parameters, show, wait)
void fn_run_environ(Context* c, Value* r, Value* a) { r->integer = run_unchanged(c, a, nullptr, a[3].integer, a[4].integer); }
// ShellExecute(program, parameters, directory, show, wait): the directory is the program's working directory.
void fn_shell_execute(Context* c, Value* r, Value* a) {
    r->integer = run_unchanged(c, a, value_text(c, a[3]), a[4].integer, a[5].integer);
}

// ShellPrint(document, parameters, directory, show, wait): the platform's
// "print" verb; never waits. A refusal k is error 1900 + k when there is a
// message for that number, else 1932.
void fn_shell_print(Context* c, Value* r, Value* a) {
    const char* parameters = value_text(c, a[2]);
    const char* directory = value_text(c, a[3]);
    INT_PTR k = (INT_PTR)ShellExecuteA((HWND)c->owner, "print", value_text(c, a[1]), *parameters ? parameters : nullptr,
                                       *directory ? directory : nullptr, show_of(a[4].integer));
    if (k > 32) { r->integer = 1; return; }
    unsigned number = 1900 + (unsigned)k;
    fail(c, builtin_message(number)[0] ? (uint16_t)number : 1932);
}

// RunExit(program, parameters): there is no DOS to leave to.
void fn_run_exit(Context* c, Value*, Value*) { fail(c, 3252); }

const FunctionEntry kTable[] = {
    {199, fn_run},        {200, fn_run_environ},    {201, fn_run_exit},      {202, fn_run_hide},
    {203, fn_run_hide_wait}, {204, fn_run_icon},    {205, fn_run_icon_wait}, {206, fn_run_wait},
    {207, fn_run_zoom},   {208, fn_run_zoom_wait},  {212, fn_shell_execute}, {213, fn_shell_print},
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyLaunch, kTable)

} // namespace tsl

// ParseData, Terminate, EndSession: functions that shape or end the run,
// or the user's whole session. EndSession always asks the user first (its
// default answer is No, so an unattended console run never ends a session).
#include "../core/messages.h"
#include "../core/statements.h"
#include "../core/vars.h"
#include "../functions/families.h"
#include <windows.h>

namespace tsl {

namespace {

// ParseData(text) -> the number of parts: the text split into Param1,
// Param2, ... and Param0 exactly as Call splits its parameters
void fn_parse_data(Context* ctx, Value* result, Value* args) {
    set_call_parameters(ctx, value_text(ctx, args[1]));
    if (ctx->error) return;
    uint16_t slot = find_var(ctx, "param0");
    if (!ctx->error) result->integer = ctx->vars[slot].value.integer;
}

// Terminate(condition, title, message) -> 0 when the condition is 0;
// otherwise shows the message (when there is one) and ends the run silently.
void fn_terminate(Context* ctx, Value*, Value* args) {
    if (args[1].integer == 0) return;
    const char* message = value_text(ctx, args[3]);
    if (*message) plat_message_box(ctx->owner, message, value_text(ctx, args[2]), BOX_OK | BOX_ICONSTOP);
    fail(ctx, 9015);
}

// EndSession() -> 0 when the user says No; on Yes the session is logged
// off (1), or 1431 when the system refuses.
void fn_end_session(Context* ctx, Value* result, Value*) {
    char text[LINE_BUF], caption[64];
    load_message(ctx, 760, text, sizeof text);
    load_message(ctx, 761, caption, sizeof caption);
    if (plat_message_box(ctx->owner, text, caption, BOX_YESNO | BOX_ICONQUESTION | BOX_DEFBUTTON2) != ANSWER_YES)
        return;
    if (!ExitWindowsEx(EWX_LOGOFF, 0)) { fail(ctx, 1431); return; }
    result->integer = 1;
}

const FunctionEntry kTable[] = {
    {104, fn_end_session},   // EndSession
    {185, fn_parse_data},    // ParseData
    {231, fn_terminate},     // Terminate
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyScriptControl, kTable)

} // namespace tsl

// The standard boxes: Message, Pause and AskYesNo (the platform's message
// box), AskLine and AskPassword (templates LINEASK and PSWDASK, procedure
// GetVarBoxProc) and ButtonNames. Every box is modal on the host window;
// Cancel stops the script with 9999. In console mode no box is shown: each
// writes its line to standard error and takes its default button.
#include "box_support.h"
#include "../core/bounded.h"
#include "../functions/families.h"
#include "../resources/dialogs/box_ids.h"

extern "C" INT_PTR CALLBACK GetVarBoxProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp);

namespace tsl {

namespace {

const unsigned BOX_TEXT_MAX = 256;   // title, prompt, default and typed answer
const uint16_t ERR_CANCEL = 9999;

// The texts of one AskLine or AskPassword box.
struct AskCall {
    char title[BOX_TEXT_MAX + 1];
    char prompt[BOX_TEXT_MAX + 1];
    char answer[BOX_TEXT_MAX + 1];   // the default going in, the typed answer coming out
    bool password;
};

int message_box(Context* ctx, Value* args, unsigned style, const char* sound) {
    box_sound(ctx, sound);
    int answer = plat_message_box(ctx->owner, value_text(ctx, args[2]), value_text(ctx, args[1]), style);
    box_after(ctx);
    return answer;
}

// Message(title, text) -> 1, or 0 when the box could not be shown
void fn_message(Context* ctx, Value* r, Value* a) {
    r->integer = message_box(ctx, a, MB_OK, "SystemAsterisk") != 0;
}

// Pause(title, text) -> 1; Cancel stops the script
void fn_pause(Context* ctx, Value* r, Value* a) {
    if (message_box(ctx, a, MB_OKCANCEL | MB_ICONEXCLAMATION, "SystemQuestion") == IDCANCEL) {
        fail(ctx, ERR_CANCEL);
        return;
    }
    r->integer = 1;
}

// AskYesNo(title, question) -> 1 Yes, 0 No; Cancel stops the script (result 0)
void fn_ask_yes_no(Context* ctx, Value* r, Value* a) {
    int answer = message_box(ctx, a, MB_YESNOCANCEL | MB_ICONQUESTION, "SystemQuestion");
    if (answer == IDCANCEL) { fail(ctx, ERR_CANCEL); return; }
    r->integer = answer != IDNO;
}

void ask(Context* ctx, Value* r, const char* title, const char* prompt, const char* answer, bool password) {
    AskCall call;
    bounded_copy(ctx, call.title, title, sizeof call.title);
    bounded_copy(ctx, call.prompt, prompt, sizeof call.prompt);
    bounded_copy(ctx, call.answer, answer, sizeof call.answer);
    call.password = password;
    INT_PTR ended;
    if (plat_console_mode()) {
        box_console(call.title, call.prompt);
        ended = 1;   // OK, with the default answer
    } else {
        void* outer = ctx->box.call;
        ctx->box.call = &call;
        ended = DialogBoxParamA(box_module(), password ? "PSWDASK" : "LINEASK", (HWND)ctx->owner, GetVarBoxProc,
                                (LPARAM)ctx);
        ctx->box.call = outer;
        box_after(ctx);
    }
    if (ended != 1) { fail(ctx, ERR_CANCEL); return; }   // Cancel, or no dialog at all
    value_set_text(ctx, r, call.answer);                 // 3096 when the heap is full
}

// AskLine(title, prompt, default) -> the typed answer
void fn_ask_line(Context* ctx, Value* r, Value* a) {
    ask(ctx, r, value_text(ctx, a[1]), value_text(ctx, a[2]), value_text(ctx, a[3]), false);
}

// AskPassword(title, prompt) -> the typed answer; never shows a default
void fn_ask_password(Context* ctx, Value* r, Value* a) {
    ask(ctx, r, value_text(ctx, a[1]), value_text(ctx, a[2]), "", true);
}

// ButtonNames(ok, cancel) -> 1: the captions of the next OK/Cancel box
void fn_button_names(Context* ctx, Value* r, Value* a) {
    bounded_copy(ctx, ctx->box.ok_name, value_text(ctx, a[1]), sizeof ctx->box.ok_name);
    bounded_copy(ctx, ctx->box.cancel_name, value_text(ctx, a[2]), sizeof ctx->box.cancel_name);
    ctx->box.names_pending = 1;
    r->integer = 1;
}

const FunctionEntry kTable[] = {
    {64, fn_ask_line},       // AskLine
    {65, fn_ask_password},   // AskPassword
    {66, fn_ask_yes_no},     // AskYesNo
    {70, fn_button_names},   // ButtonNames
    {170, fn_message},       // Message
    {186, fn_pause},         // Pause
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyStandardBoxes, kTable)

} // namespace tsl

using namespace tsl;

// The procedure of LINEASK and PSWDASK (exported). The context comes with
// WM_INITDIALOG; the box's texts are its call record.
extern "C" INT_PTR CALLBACK GetVarBoxProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
    switch (msg) {
    case WM_INITDIALOG: {
        Context* ctx = (Context*)lp;
        if (!box_enter(dlg, ctx, 0)) return TRUE;
        const AskCall* call = (const AskCall*)ctx->box.call;
        box_button_names(ctx, dlg);
        SetWindowTextA(dlg, call->title);
        box_centre(dlg);
        SetDlgItemTextA(dlg, BOX_PROMPT, call->prompt);
        SetDlgItemTextA(dlg, BOX_ANSWER, call->answer);
        SendDlgItemMessageA(dlg, BOX_ANSWER, EM_LIMITTEXT, BOX_TEXT_MAX, 0);
        box_sound(ctx, "SystemQuestion");
        return TRUE;
    }
    case WM_TIMER: {
        Context* ctx = wp == BOX_BREAK_TIMER ? box_context(dlg) : nullptr;
        if (ctx && box_break_tick(ctx)) box_leave(dlg, 0);
        return TRUE;
    }
    case WM_COMMAND: {
        int id = LOWORD(wp);
        if (id != IDOK && id != IDCANCEL) return FALSE;
        Context* ctx = box_context(dlg);
        if (!ctx) { EndDialog(dlg, 0); return TRUE; }
        box_note_break(ctx);
        if (id == IDOK) {
            AskCall* call = (AskCall*)ctx->box.call;
            GetDlgItemTextA(dlg, BOX_ANSWER, call->answer, sizeof call->answer);
        }
        box_leave(dlg, id == IDOK ? 1 : 0);
        return TRUE;
    }
    }
    return FALSE;
}

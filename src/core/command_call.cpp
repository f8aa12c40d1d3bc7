// The command call and the answer callback.
#include "command_call.h"
#include <cstring>
#include "bounded.h"
#include "messages.h"
#include "report.h"

namespace tsl {

CommandProc g_extender_proc = nullptr;
int32_t g_extender_init_value = 0;

static int32_t TSL_CALL answer_entry(int32_t code, int32_t reserved, void* record, int32_t kind,
                                     int32_t integer, const char* text) {
    return viper_answer(code, reserved, record, kind, integer, text);
}

int32_t viper_answer(int32_t code, int32_t, void* answer_record, int32_t kind, int32_t integer,
                     const char* text) {
    AnswerRecord* rec = static_cast<AnswerRecord*>(answer_record);
    if (!rec || !rec->ctx) return code;
    Context* ctx = rec->ctx;
    if (kind == 0) {
        if (code >= 0) {
            if (rec->result) { value_free(ctx, rec->result); *rec->result = value_int(integer); }
        } else {
            bounded_copy(ctx, ctx->extender_error, "Command Extender Error.  No ErrorString reported.",
                         sizeof ctx->extender_error);
        }
        return code;
    }
    if (code >= 0) {
        if (rec->result) {
            uint16_t saved = ctx->error;
            if (!value_set_text(ctx, rec->result, text ? text : "")) { ctx->error = saved; return -4; }
        }
    } else {
        bounded_copy(ctx, ctx->extender_error, text ? text : "", sizeof ctx->extender_error);
    }
    return code;
}

int host_command_index(const Context* ctx, const char* name) {
    const KeywordRecord* t = ctx->host_table;
    if (!t) return -1;
    for (int i = 0; t[i].name_len; ++i)
        if (strcmp(t[i].name, name) == 0) return i;
    return -1;
}

// A negative answer: 3210 first, then the number for -1, -2 or -3; unless
// the error mode is @off, the extender's text is shown and the run stops
// silently (9013), or goes on when the user chose OK under @notify.
static void negative_answer(Context* ctx, int32_t code) {
    fail(ctx, 3210);
    if (code == -1) fail(ctx, 1213);
    else if (code == -2) fail(ctx, 2214);
    else if (code == -3) fail(ctx, 3215);
    if (code == -4 || ctx->error_mode == EM_OFF) return;
    if (!ctx->extender_error[0])
        bounded_copy(ctx, ctx->extender_error, "Command Extender Error.  No ErrorString reported.",
                     sizeof ctx->extender_error);
    if (ctx->sounds) plat_play_sound("SystemHand");
    unsigned style = ctx->error_mode == EM_NOTIFY ? BOX_OKCANCEL | BOX_ICONEXCLAMATION : BOX_OK | BOX_ICONSTOP;
    int answer = plat_message_box(ctx->owner, ctx->extender_error, "Command Extender Error", style);
    fail(ctx, 9013);
    if (ctx->error_mode == EM_NOTIFY && answer == ANSWER_OK) ctx->error = 0;
}

void command_call(Context* ctx, int id, Value* result, const char* t1, const char* t2, const char* t3,
                  const char* t4, const char* t5) {
    CommandProc proc;
    int command;
    if (id >= HOST_COMMAND_BASE) { proc = ctx->host_proc; command = id - HOST_COMMAND_BASE; }
    else if (id < 1) { proc = ctx->host_proc; command = id; }
    else { proc = g_extender_proc; command = id - EXTENDER_BASE; }
    if (!proc) { if (id >= 1) fail(ctx, 3046); return; }
    AnswerRecord rec{ctx, result};
    ctx->extender_error[0] = 0;
    int32_t r = proc(ctx->main_window, ctx->host_value, INTERFACE_MAGIC, command, answer_entry, &rec,
                     t1 ? t1 : "", t2 ? t2 : "", t3 ? t3 : "", t4 ? t4 : "", t5 ? t5 : "");
    if (r < 0) negative_answer(ctx, r);
}

} // namespace tsl

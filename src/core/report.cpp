// Error reports: severity by number, the error mode, the numbered box with
// its caption and footer, and the console form of the same report.
#include "report.h"
#include <cstdio>
#include <cstring>
#include "bounded.h"
#include "messages.h"

namespace tsl {

// 2000 still counts as minor and 3000 as moderate.
int severity_of(unsigned error) {
    if (error > 3000) return SEV_FATAL;
    if (error > 2000) return SEV_MODERATE;
    return SEV_MINOR;
}

// The line number of the current line in the script it stands in: CR, LF
// and CR LF each end a line for the person reading the file.
static unsigned line_number(const Context* ctx) {
    if (!ctx->script) return 0;
    unsigned n = 1;
    for (unsigned i = 0; i < ctx->run_line_start && ctx->script[i]; ++i) {
        char c = ctx->script[i];
        if (c == '\r' || (c == '\n' && (i == 0 || ctx->script[i - 1] != '\r'))) ++n;
    }
    return n;
}

// SCRIPT(LINE): error NNNN: message text, then the failing line indented.
static void console_report(Context* ctx, unsigned error, const char* message) {
    char head[PATH_BUF + 64];
    snprintf(head, sizeof head, "%s(%u): error %u: ", ctx->script_name ? ctx->script_name : "script",
             line_number(ctx), error);
    char buf[PATH_BUF + 3 * LINE_BUF];
    bounded_copy(ctx, buf, head, sizeof buf);
    bounded_append(ctx, buf, message, sizeof buf);
    bounded_append(ctx, buf, "\n    ", sizeof buf);
    bounded_append(ctx, buf, ctx->error_text, sizeof buf);
    bounded_append(ctx, buf, "\n", sizeof buf);
    plat_write_stderr(buf);
}

int report(Context* ctx, PHandle owner, unsigned text_number, unsigned error, int severity) {
    ctx->last_reported = (uint16_t)error;
    if (ctx->error_mode == EM_OFF && severity == SEV_MINOR) { ctx->error = 0; return 1; }
    unsigned style = ctx->error_mode == EM_CANCEL ? BOX_OK | BOX_ICONSTOP : BOX_OKCANCEL | BOX_ICONEXCLAMATION;
    if (severity == SEV_FATAL) style = BOX_OK | BOX_ICONSTOP;
    if (text_number > 99) load_message(ctx, text_number, ctx->error_text, sizeof ctx->error_text);
    char message[LINE_BUF] = "";
    char text[3 * LINE_BUF + 64];
    bounded_copy(ctx, text, ctx->error_text, sizeof text);
    if (error > 99) {
        char num[40];
        load_message(ctx, error, message, sizeof message);
        bounded_copy(ctx, ctx->caption, integer_to_text((int32_t)error, num, 10), sizeof ctx->caption);
        bounded_append(ctx, ctx->caption, ":  ", sizeof ctx->caption);
        bounded_append(ctx, ctx->caption, message, sizeof ctx->caption);
        char version[32];
        load_message(ctx, 99, version, sizeof version);
        bounded_append(ctx, text, "\n\n", sizeof text);
        bounded_append(ctx, text, ctx->ident, sizeof text);
        bounded_append(ctx, text, "\nTSL Version: ", sizeof text);
        bounded_append(ctx, text, version, sizeof text);
    }
    if (ctx->sounds) plat_play_sound("SystemHand");
    int answer;
    if (plat_console_mode()) {
        console_report(ctx, error, message);
        answer = ANSWER_OK;   // the default button of either style
    } else {
        answer = plat_message_box(owner, text, ctx->caption, style);
    }
    if (ctx->error_mode == EM_CANCEL || severity == SEV_FATAL || answer == ANSWER_CANCEL) return 0;
    ctx->error = 0;
    return 1;
}

} // namespace tsl

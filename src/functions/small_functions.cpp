// The small functions that belong to no family: Debug, DebugData, Delay,
// ErrorMode, Exclusive, GetTickCount, IgnoreInput, LastError, Version,
// VersionDll and Call.
#include <cstring>
#include "../core/bounded.h"
#include "../core/command_call.h"
#include "../core/messages.h"
#include "../core/statements.h"
#include "families.h"

namespace tsl {

static void fn_debug(Context* ctx, Value* r, Value* a) {
    r->integer = ctx->debug_trace;
    ctx->debug_trace = a[1].integer != 0;
}

// The two closing bytes are LF then CR, in that order.
static void fn_debug_data(Context* ctx, Value*, Value* a) {
    char buf[600] = "DebugData:";
    bounded_append(ctx, buf, value_text(ctx, a[1]), sizeof buf - 3);
    bounded_append(ctx, buf, " ", sizeof buf - 3);
    bounded_append(ctx, buf, value_text(ctx, a[2]), sizeof buf - 3);
    bounded_append(ctx, buf, "\n\r", sizeof buf);
    plat_output_debug(buf);
}

// Below 1 sleeps two seconds (not one), above 3600 one hour; no pumping.
static void fn_delay(Context*, Value* r, Value* a) {
    int32_t s = a[1].integer;
    if (s < 1) s = 2;
    if (s > 3600) s = 3600;
    plat_sleep((unsigned)s * 1000u);
    r->integer = 1;
}

static void fn_error_mode(Context* ctx, Value* r, Value* a) {
    r->integer = ctx->error_mode;
    int32_t m = a[1].integer;
    ctx->error_mode = m == 0 ? EM_OFF : m == 1 ? EM_CANCEL : EM_NOTIFY;
}

static void fn_exclusive(Context* ctx, Value* r, Value* a) {
    r->integer = ctx->exclusive;
    ctx->exclusive = a[1].integer != 0;
}

static void fn_get_tick_count(Context*, Value* r, Value*) { r->integer = (int32_t)plat_tick_count(); }
static void fn_ignore_input(Context*, Value* r, Value*) { r->integer = 0; }

static void fn_last_error(Context* ctx, Value* r, Value*) {
    r->integer = ctx->last_reported;
    ctx->last_reported = 0;
}

// The host's version: host command 1.
static void fn_version(Context* ctx, Value* r, Value*) { command_call(ctx, HOST_COMMAND_BASE + 1, r); }

static void fn_version_dll(Context* ctx, Value* r, Value*) {
    char buf[64];
    load_message(ctx, 99, buf, sizeof buf);
    value_set_text(ctx, r, buf);
}

static void fn_call(Context* ctx, Value*, Value* a) {
    call_script(ctx, value_text(ctx, a[1]), value_text(ctx, a[2]));
}

static const FunctionEntry kTable[] = {
    {71, fn_call},          {83, fn_debug},     {84, fn_debug_data},   {85, fn_delay},
    {108, fn_error_mode},   {109, fn_exclusive}, {139, fn_get_tick_count}, {144, fn_ignore_input},
    {167, fn_last_error},   {236, fn_version},  {237, fn_version_dll},
};
TSL_FAMILY_DEFINE(kFamilyCore, kTable)

} // namespace tsl

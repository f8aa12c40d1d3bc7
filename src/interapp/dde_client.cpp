// DDE client functions. A context opens up to ten conversations, numbered
// 1..10 and taken lowest-free first; every transaction is synchronous and
// bounded by the context's time-out (DDETimeout, 3000 ms at start).
//
// Contract: a failed connect, execute or poke is no error (the result 0
// says it); a refused or timed-out request answers "***NACK***". Channel
// numbers outside 1..10 are 3152, a free channel 3139. String handles
// are made in CP_WINANSI and freed on every path. A conversation is
// entered in the process-wide handle-to-context table (shared with the
// dialogs, ui/dialog_contexts) so that ClientCallback can free the channel
// when the server ends the conversation; when that table is full the
// conversation is not kept (see docs/dde.md).
#include <windows.h>
#include <ddeml.h>
#include <cstring>
#include "dde_client.h"
#include "../functions/families.h"
#include "../ui/dialog_contexts.h"

extern "C" HDDEDATA CALLBACK ClientCallback(UINT type, UINT, HCONV conv, HSZ, HSZ, HDDEDATA, ULONG_PTR,
                                            ULONG_PTR);

namespace tsl {

static const char kNack[] = "***NACK***";

static void free_string(Context* ctx, PHandle* hsz) {
    if (*hsz) DdeFreeStringHandle(ctx->dde_instance, (HSZ)*hsz);
    *hsz = nullptr;
}

// Clears a channel: its string handles freed, its conversation forgotten.
static void clear_channel(Context* ctx, DdeChannel* ch) {
    if (ch->conversation) dialog_context_remove(ch->conversation);
    ch->conversation = nullptr;
    free_string(ctx, &ch->service);
    free_string(ctx, &ch->topic);
}

// Whether DDEML still counts the conversation as connected.
static bool still_connected(PHandle conv) {
    CONVINFO ci;
    memset(&ci, 0, sizeof ci);
    ci.cb = sizeof ci;
    return DdeQueryConvInfo((HCONV)conv, QID_SYNC, &ci) && (ci.wStatus & ST_CONNECTED);
}

// A conversation that the server has ended frees its channel even when
// the callback was not told (Wine does not tell it); DDEML lets go of it.
static void free_if_ended(Context* ctx, DdeChannel* ch) {
    if (!ch->conversation || still_connected(ch->conversation)) return;
    DdeDisconnect((HCONV)ch->conversation);
    clear_channel(ctx, ch);
}

// The open channel of a channel number, or nullptr with 3152 (outside
// 1..10) or 3139 (not open).
static DdeChannel* open_channel(Context* ctx, int32_t number) {
    if (number < 1 || number > (int32_t)DDE_CHANNELS) { fail(ctx, 3152); return nullptr; }
    DdeChannel* ch = &ctx->dde_channels[number - 1];
    free_if_ended(ctx, ch);
    if (!ch->conversation) { fail(ctx, 3139); return nullptr; }
    return ch;
}

static HSZ make_string(Context* ctx, const char* text) {
    return DdeCreateStringHandleA(ctx->dde_instance, text, CP_WINANSI);
}

// A synchronous transaction; the data (if any) is sent with its NUL.
static HDDEDATA transact(Context* ctx, DdeChannel* ch, const char* data, HSZ item, UINT type) {
    DWORD result = 0;
    return DdeClientTransaction((LPBYTE)data, data ? (DWORD)lstrlenA(data) + 1 : 0, (HCONV)ch->conversation,
                                item, CF_TEXT, type, ctx->dde_timeout, &result);
}

// DDEInitiate(application, topic): channel number 1..10, or 0.
static void fn_dde_initiate(Context* ctx, Value* r, Value* a) {
    r->integer = 0;
    if (!ctx->dde_ready) {
        DWORD inst = 0;
        if (DdeInitializeA(&inst, (PFNCALLBACK)ClientCallback, APPCMD_CLIENTONLY, 0) != DMLERR_NO_ERROR) {
            fail(ctx, 3153);
            return;
        }
        ctx->dde_instance = inst;
        ctx->dde_ready = 1;
    }
    for (DdeChannel& ch : ctx->dde_channels) free_if_ended(ctx, &ch);
    unsigned n = 0;
    while (n < DDE_CHANNELS && ctx->dde_channels[n].conversation) ++n;
    if (n == DDE_CHANNELS) { fail(ctx, 3138); return; }
    DdeChannel* ch = &ctx->dde_channels[n];
    HSZ service = make_string(ctx, value_text(ctx, a[1]));
    if (!service) { fail(ctx, 3140); return; }
    HSZ topic = make_string(ctx, value_text(ctx, a[2]));
    if (!topic) { DdeFreeStringHandle(ctx->dde_instance, service); fail(ctx, 3140); return; }
    HCONV conv = DdeConnect(ctx->dde_instance, service, topic, nullptr);
    if (conv && !dialog_context_add(conv, ctx)) {
        // No room to find this context again when the server hangs up.
        DdeDisconnect(conv);
        conv = nullptr;
        fail(ctx, 3138);
    }
    if (!conv) {
        DdeFreeStringHandle(ctx->dde_instance, service);
        DdeFreeStringHandle(ctx->dde_instance, topic);
        return;
    }
    ch->conversation = conv;
    ch->service = service;
    ch->topic = topic;
    r->integer = (int32_t)n + 1;
}

// DDEExecute(channel, command): 1 when the server took it, else 0.
static void fn_dde_execute(Context* ctx, Value* r, Value* a) {
    DdeChannel* ch = open_channel(ctx, a[1].integer);
    if (!ch) return;
    HDDEDATA d = transact(ctx, ch, value_text(ctx, a[2]), nullptr, XTYP_EXECUTE);
    r->integer = d ? 1 : 0;
}

// DDEPoke(channel, item, data): 1 or 0.
static void fn_dde_poke(Context* ctx, Value* r, Value* a) {
    DdeChannel* ch = open_channel(ctx, a[1].integer);
    if (!ch) return;
    HSZ item = make_string(ctx, value_text(ctx, a[2]));
    if (!item) { fail(ctx, 3154); return; }
    HDDEDATA d = transact(ctx, ch, value_text(ctx, a[3]), item, XTYP_POKE);
    DdeFreeStringHandle(ctx->dde_instance, item);
    r->integer = d ? 1 : 0;
}

// The answer of a request as a heap text, up to its first NUL.
static void take_data(Context* ctx, Value* r, HDDEDATA d) {
    DWORD size = 0;
    const char* p = (const char*)DdeAccessData(d, &size);
    if (!p) { fail(ctx, 3156); return; }
    unsigned len = 0;
    while (len < size && p[len]) ++len;
    value_set_text_n(ctx, r, p, len);
    DdeUnaccessData(d);
}

// DDERequest(channel, item): the server's text, or "***NACK***".
static void fn_dde_request(Context* ctx, Value* r, Value* a) {
    DdeChannel* ch = open_channel(ctx, a[1].integer);
    if (!ch) return;
    HSZ item = make_string(ctx, value_text(ctx, a[2]));
    if (!item) { fail(ctx, 3154); return; }
    HDDEDATA d = transact(ctx, ch, nullptr, item, XTYP_REQUEST);
    DdeFreeStringHandle(ctx->dde_instance, item);
    if (d) {
        take_data(ctx, r, d);
        DdeFreeDataHandle(d);
    } else {
        value_set_text(ctx, r, kNack);
    }
    if (!ctx->error) r->flags = VF_STR;
}

// DDETerminate(channel): 1; 0 for a channel that is not open.
static void fn_dde_terminate(Context* ctx, Value* r, Value* a) {
    int32_t number = a[1].integer;
    r->integer = 1;
    DdeChannel* ch = open_channel(ctx, number);
    if (!ch) { if (ctx->error == 3139) r->integer = 0; return; }
    DdeDisconnect((HCONV)ch->conversation);
    clear_channel(ctx, ch);
}

// DDETimeout(milliseconds): the previous time-out; no range check.
static void fn_dde_timeout(Context* ctx, Value* r, Value* a) {
    r->integer = (int32_t)ctx->dde_timeout;
    ctx->dde_timeout = (uint32_t)a[1].integer;
}

void dde_shutdown(Context* ctx) {
    if (!ctx->dde_ready) return;
    for (DdeChannel& ch : ctx->dde_channels) {
        if (!ch.conversation) continue;
        DdeDisconnect((HCONV)ch.conversation);
        clear_channel(ctx, &ch);
    }
    DdeUninitialize(ctx->dde_instance);
    ctx->dde_instance = 0;
    ctx->dde_ready = 0;
}

// The server ended a conversation: its channel becomes free.
static void dde_server_disconnected(PHandle conv) {
    Context* ctx = dialog_context_peek(conv);
    if (!ctx) return;
    for (DdeChannel& ch : ctx->dde_channels)
        if (ch.conversation == conv) clear_channel(ctx, &ch);
}

static const FunctionEntry kTable[] = {
    {77, fn_dde_execute}, {78, fn_dde_initiate}, {79, fn_dde_poke},
    {80, fn_dde_request}, {81, fn_dde_terminate}, {82, fn_dde_timeout},
};
TSL_FAMILY_DEFINE(kFamilyDde, kTable)

} // namespace tsl

// The DDEML callback of every context's instance. All transactions are
// synchronous, so a completion never arrives; a disconnect frees the channel.
extern "C" HDDEDATA CALLBACK ClientCallback(UINT type, UINT, HCONV conv, HSZ, HSZ, HDDEDATA, ULONG_PTR,
                                            ULONG_PTR) {
    if (type == XTYP_DISCONNECT) {
        tsl::dde_server_disconnected(conv);
    } else if (type == XTYP_XACT_COMPLETE) {
        tsl::plat_message_box(nullptr, "XTYP_XACT_COMPLETE we shoudnt be here", "DEBUG", tsl::BOX_OK);
    }
    return 0;
}

// The function dispatcher: argument conversion by the string mask, routing
// by keyword id, and tidying of the result.
#include "dispatch.h"
#include "../core/command_call.h"
#include "../core/heap.h"
#include "families.h"

namespace tsl {

static FunctionImpl g_by_id[KEYWORD_BUILTIN_COUNT];
static bool g_index_ready = false;

static void build_index() {
    for (unsigned f = 0; f < kFamilyCount; ++f)
        for (unsigned i = 0; i < kFamilies[f]->count; ++i) {
            const FunctionEntry& e = kFamilies[f]->entries[i];
            if (e.id >= 0 && e.id < (int)KEYWORD_BUILTIN_COUNT) g_by_id[e.id] = e.fn;
        }
    g_index_ready = true;
}

static void call_command(Context* ctx, int id, Value* result, Value* args, int argc) {
    const char* t[MAX_ARGS] = {"", "", "", "", ""};
    for (int i = 1; i <= argc && i <= MAX_ARGS; ++i)
        if (args[i].flags & VF_STR) t[i - 1] = value_text(ctx, args[i]);
    command_call(ctx, id, result, t[0], t[1], t[2], t[3], t[4]);
}

void dispatch(Context* ctx, int id, Value* result, Value* args, int argc, uint16_t str_mask, bool pass_through) {
    *result = Value{0, 0, NO_VARIABLE, VF_INT};
    if (!pass_through) {
        for (int i = 1; i <= argc; ++i) {
            if (str_mask & (1u << (i - 1))) {
                if (!value_to_string(ctx, &args[i])) { if (!ctx->error) fail(ctx, 3056); return; }
            } else if (!value_to_integer(ctx, &args[i])) {
                fail(ctx, 3057);
                return;
            }
        }
    }
    if (id >= HOST_COMMAND_BASE) {
        call_command(ctx, id, result, args, argc);
    } else if (id >= EXTENDER_BASE) {
        if (!g_extender_proc || id >= g_keyword_count) fail(ctx, 3046);
        else call_command(ctx, id, result, args, argc);
    } else {
        if (!g_index_ready) build_index();
        FunctionImpl fn = id >= 0 ? g_by_id[id] : nullptr;
        if (!fn) { fail(ctx, 3046); return; }
        fn(ctx, result, args);
    }
    if ((result->flags & VF_INT) && !(result->flags & VF_STR) && result->string) {
        heap_free(ctx->heap, result->string);
        result->string = 0;
    }
}

} // namespace tsl

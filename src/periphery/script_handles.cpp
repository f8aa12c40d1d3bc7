// The script-handle tables (see script_handles.h). Everything runs on the host's
// thread, but two hosts may run contexts on two threads: one lock guards
// the tables.
#include "script_handles.h"
#include <windows.h>

namespace tsl {

namespace {

CRITICAL_SECTION* table_lock() {
    static CRITICAL_SECTION cs;
    static LONG ready = 0;   // 0 none, 1 being made, 2 made
    if (InterlockedCompareExchange(&ready, 1, 0) == 0) {
        InitializeCriticalSection(&cs);
        InterlockedExchange(&ready, 2);
    }
    while (ready != 2) Sleep(0);
    return &cs;
}

struct Locked {
    Locked() { EnterCriticalSection(table_lock()); }
    ~Locked() { LeaveCriticalSection(table_lock()); }
};

int index_of(const HandleTable* t, const Context* ctx, int32_t number) {
    int64_t i = (int64_t)number - t->base - 1;
    if (i < 0 || i >= (int64_t)t->size) return -1;
    if (!t->owner[i] || t->owner[i] != ctx->self_block) return -1;
    return (int)i;
}

} // namespace

int32_t handle_add(HandleTable* t, Context* ctx, void* object) {
    Locked lock;
    for (unsigned i = 0; i < t->size; i++) {
        if (t->owner[i]) continue;
        t->owner[i] = ctx->self_block;
        t->object[i] = object;
        return t->base + 1 + (int32_t)i;
    }
    return 0;
}

void* handle_get(const HandleTable* t, const Context* ctx, int32_t number) {
    Locked lock;
    int i = index_of(t, ctx, number);
    return i < 0 ? nullptr : t->object[i];
}

void* handle_remove(HandleTable* t, const Context* ctx, int32_t number) {
    Locked lock;
    int i = index_of(t, ctx, number);
    if (i < 0) return nullptr;
    void* o = t->object[i];
    t->owner[i] = nullptr;
    t->object[i] = nullptr;
    return o;
}

void handle_release_all(HandleTable* t, const Context* ctx, void (*release)(void* object)) {
    for (unsigned i = 0; i < t->size; i++) {
        void* o = nullptr;
        {
            Locked lock;
            if (!t->owner[i] || t->owner[i] != ctx->self_block) continue;
            o = t->object[i];
            t->owner[i] = nullptr;
            t->object[i] = nullptr;
        }
        release(o);   // outside the lock: releasing an object may call back
    }
}

} // namespace tsl

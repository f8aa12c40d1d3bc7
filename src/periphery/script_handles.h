// Handles that a script holds for system objects (open registry keys,
// automation objects): small numbers that index a process-wide table, each
// entry stamped with the context that made it. A number that is not in the
// table, or that another context made, is refused instead of being handed
// to the system, so a script can never pass a stale or forged pointer.
#pragma once
#include "../core/context.h"

namespace tsl {

struct HandleTable {
    int32_t base;             // the first number handed out is base + 1
    unsigned size;
    PHandle* owner;           // the owning context's block; nullptr = free
    void** object;
};

// Enters the object for the context; returns its number, or 0 when full.
int32_t handle_add(HandleTable* t, Context* ctx, void* object);
// The object behind a number of this context, or nullptr.
void* handle_get(const HandleTable* t, const Context* ctx, int32_t number);
// Removes the entry; returns its object (nullptr when not found).
void* handle_remove(HandleTable* t, const Context* ctx, int32_t number);
// Removes every entry of the context, calling release on each object.
void handle_release_all(HandleTable* t, const Context* ctx, void (*release)(void* object));

} // namespace tsl

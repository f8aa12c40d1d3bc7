// The window-to-context table (100 pairs, process-wide). Dialogs of several
// hosts may run on several threads, so the table takes a slim lock.
#include "dialog_contexts.h"
#include <windows.h>

namespace tsl {

namespace {
struct Pair { PHandle window; Context* ctx; };
Pair g_pairs[DIALOG_CONTEXTS_MAX];
SRWLOCK g_lock = SRWLOCK_INIT;

Context* lookup(PHandle window) {
    Context* found = nullptr;
    AcquireSRWLockShared(&g_lock);
    for (const Pair& p : g_pairs)
        if (p.window && p.window == window) { found = p.ctx; break; }
    ReleaseSRWLockShared(&g_lock);
    return found;
}
} // namespace

bool dialog_context_add(PHandle window, Context* ctx) {
    bool added = false;
    AcquireSRWLockExclusive(&g_lock);
    for (Pair& p : g_pairs)
        if (!p.window) { p.window = window; p.ctx = ctx; added = true; break; }
    ReleaseSRWLockExclusive(&g_lock);
    return added;
}

Context* dialog_context_peek(PHandle window) { return window ? lookup(window) : nullptr; }

Context* dialog_context_find(PHandle window) {
    Context* ctx = dialog_context_peek(window);
    if (!ctx) MessageBoxA(GetFocus(), "DlgPointLookup Failure", "Internal Error", MB_OK);
    return ctx;
}

void dialog_context_remove(PHandle window) {
    AcquireSRWLockExclusive(&g_lock);
    for (Pair& p : g_pairs)
        if (p.window == window) { p.window = nullptr; p.ctx = nullptr; }
    ReleaseSRWLockExclusive(&g_lock);
}

} // namespace tsl

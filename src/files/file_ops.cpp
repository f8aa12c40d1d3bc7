// FileCopy, FileMove, FileAppend, FileRename, FileDelete: a file list with
// wildcards, each source mapped through the target mask, one file at a time.
// A failing file stops the rest of the list; files already done stay done,
// and a failing file's source is left as it was.
#include "file_lists.h"
#include "replace_dialog.h"
#include "../functions/families.h"
#include <windows.h>

namespace tsl {

namespace {

const unsigned APPEND_BLOCK = 32768;

enum OpKind { OP_COPY, OP_MOVE, OP_APPEND, OP_RENAME };

struct OpCall {
    OpKind kind;
    const char* mask;
    ReplaceCall replace;
};

// Appends the source's bytes to the end of the target, in 32,768-byte
// blocks of a movable global buffer (the context's line buffer when that
// buffer cannot be had).
int append_file(Context* ctx, const char* source, const char* target) {
    HANDLE from = CreateFileA(source, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (from == INVALID_HANDLE_VALUE) return fail(ctx, 1012);
    HANDLE to = CreateFileA(target, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (to == INVALID_HANDLE_VALUE) { CloseHandle(from); return fail(ctx, 1013); }
    SetFilePointer(to, 0, nullptr, FILE_END);
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, APPEND_BLOCK);
    char* buf = block ? (char*)GlobalLock(block) : nullptr;
    DWORD size = APPEND_BLOCK;
    if (!buf) { buf = ctx->file_line; size = sizeof ctx->file_line; }
    int ok = 1;
    for (;;) {
        DWORD got = 0, put = 0;
        if (!ReadFile(from, buf, size, &got, nullptr)) { ok = fail(ctx, 1014); break; }
        if (got == 0) break;
        if (!WriteFile(to, buf, got, &put, nullptr) || put != got) { ok = fail(ctx, 1014); break; }
    }
    if (block) { if (buf != ctx->file_line) GlobalUnlock(block); GlobalFree(block); }
    CloseHandle(to);
    CloseHandle(from);
    return ok;
}

// Per-file action of copy, move, append and rename.
int op_file(Context* ctx, const char* source, const char*, void* user) {
    OpCall* call = (OpCall*)user;
    char target[FULL_NAME_MAX];
    if (!map_name(source, call->mask, target, sizeof target)) return 0;   // result 0, no number
    switch (call->kind) {
    case OP_COPY:
        if (!replace_decide(ctx, &call->replace, source, target)) return !ctx->error;   // skipped: done
        if (!CopyFileA(source, target, FALSE)) return fail(ctx, 1008);
        return 1;
    case OP_MOVE:
        if (!replace_decide(ctx, &call->replace, source, target)) return !ctx->error;
        if (!MoveFileExA(source, target, MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)) return fail(ctx, 1003);
        return 1;
    case OP_APPEND:
        return append_file(ctx, source, target);
    case OP_RENAME:
        if (!MoveFileA(source, target)) return fail(ctx, 1015);
        return 1;
    }
    return 0;
}

void run_op(Context* ctx, Value* result, Value* args, OpKind kind, int warning) {
    OpCall call{kind, value_text(ctx, args[2]), {0}};
    replace_begin(&call.replace, warning);   // the mode starts afresh with every call
    result->integer = file_list_each(ctx, value_text(ctx, args[1]), 0, op_file, &call);
}

// FileCopy(sources, target mask, warning) -> 1 done, 0 a target could not be named
void fn_file_copy(Context* ctx, Value* result, Value* args) { run_op(ctx, result, args, OP_COPY, args[3].integer); }
// FileMove(sources, target mask, warning)
void fn_file_move(Context* ctx, Value* result, Value* args) { run_op(ctx, result, args, OP_MOVE, args[3].integer); }
// FileAppend(sources, target mask): never asks
void fn_file_append(Context* ctx, Value* result, Value* args) { run_op(ctx, result, args, OP_APPEND, 0); }
// FileRename(sources, target mask)
void fn_file_rename(Context* ctx, Value* result, Value* args) { run_op(ctx, result, args, OP_RENAME, 0); }

// Deleting opens the file for writing, exclusively, with delete-on-close:
// a read-only or open file is not deleted (1016).
int delete_file(Context* ctx, const char* full, const char*, void*) {
    HANDLE h = CreateFileA(full, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (h == INVALID_HANDLE_VALUE) return fail(ctx, 1016);
    CloseHandle(h);
    return 1;
}

// FileDelete(list) -> 1, or 0 when a file was not found
void fn_file_delete(Context* ctx, Value* result, Value* args) {
    result->integer = file_list_each(ctx, value_text(ctx, args[1]), 0, delete_file, nullptr);
}

const FunctionEntry kTable[] = {
    {113, fn_file_append},   // FileAppend
    {117, fn_file_copy},     // FileCopy
    {118, fn_file_delete},   // FileDelete
    {125, fn_file_move},     // FileMove
    {131, fn_file_rename},   // FileRename
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyFileOps, kTable)

} // namespace tsl

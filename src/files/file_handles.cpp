// FileOpen, FileRead, FileWrite, FileClose: five slots per context, lines
// ended by CR alone (LF is dropped wherever it stands), Ctrl+Z ends a file.
//
// Reading is buffered: each open handle gets a read-ahead buffer in a small
// process-wide table keyed by the system handle, so that a line costs no
// system call of its own. What a script sees is the same as reading one
// byte per system read: nothing after a Ctrl+Z is used, and a pipe that has
// no data now is read again on the next call.
#include "file_handles.h"
#include "../core/bounded.h"
#include "../functions/families.h"
#include <windows.h>
#include <cstdint>
#include <cstring>

namespace tsl {

namespace {

const unsigned READ_AHEAD_BYTES = 16384;
const unsigned READ_AHEAD_SLOTS = 64;

struct ReadAhead {
    HANDLE handle;      // nullptr: free
    DWORD pos, len;
    char* buf;
};
ReadAhead g_ahead[READ_AHEAD_SLOTS];
SRWLOCK g_ahead_lock = SRWLOCK_INIT;

// Drops any buffer kept for the handle (a stale one left by a context that
// was shut down without files_close_all, or the file's own on close).
void ahead_drop(HANDLE h) {
    AcquireSRWLockExclusive(&g_ahead_lock);
    for (ReadAhead& r : g_ahead)
        if (r.handle == h) {
            if (r.buf) HeapFree(GetProcessHeap(), 0, r.buf);
            r = ReadAhead{nullptr, 0, 0, nullptr};
        }
    ReleaseSRWLockExclusive(&g_ahead_lock);
}

// A fresh buffer for a newly opened handle; nullptr when the table is full
// (the file is then read one byte per system read).
void ahead_attach(HANDLE h) {
    ahead_drop(h);
    char* buf = (char*)HeapAlloc(GetProcessHeap(), 0, READ_AHEAD_BYTES);
    if (!buf) return;
    AcquireSRWLockExclusive(&g_ahead_lock);
    for (ReadAhead& r : g_ahead)
        if (!r.handle) { r = ReadAhead{h, 0, 0, buf}; buf = nullptr; break; }
    ReleaseSRWLockExclusive(&g_ahead_lock);
    if (buf) HeapFree(GetProcessHeap(), 0, buf);
}

ReadAhead* ahead_find(HANDLE h) {
    ReadAhead* found = nullptr;
    AcquireSRWLockShared(&g_ahead_lock);
    for (ReadAhead& r : g_ahead) if (r.handle == h) { found = &r; break; }
    ReleaseSRWLockShared(&g_ahead_lock);
    return found;
}

// Whether a pipe has nothing to read now (so that a read would wait).
bool pipe_empty(HANDLE h) {
    DWORD avail = 0;
    return PeekNamedPipe(h, nullptr, 0, nullptr, &avail, nullptr) && avail == 0;
}

// The next byte of the handle: 1 with *c set, 0 when none is available.
// A failing system read counts as no byte (the end of a file); a pipe with
// no data now gives no byte instead of waiting for one.
int next_byte(HANDLE h, ReadAhead* ra, bool pipe, char* c) {
    DWORD got = 0;
    if (pipe && (!ra || ra->pos == ra->len) && pipe_empty(h)) return 0;
    if (!ra) return ReadFile(h, c, 1, &got, nullptr) && got == 1;
    if (ra->pos == ra->len) {
        ra->pos = ra->len = 0;
        if (!ReadFile(h, ra->buf, READ_AHEAD_BYTES, &got, nullptr) || got == 0) return 0;
        ra->len = got;
    }
    *c = ra->buf[ra->pos++];
    return 1;
}

// The slot holding the handle of a file-handle value, or -1.
int slot_of(Context* ctx, int32_t handle) {
    for (unsigned i = 0; i < FILE_SLOTS; i++)
        if (ctx->files[i].handle && (int32_t)(intptr_t)ctx->files[i].handle == handle) return (int)i;
    return -1;
}

bool is_handle_value(const Value& v) { return v.flags == (VF_INT | VF_HANDLE); }

struct OpenMode { const char* name; DWORD access, share, creation; uint32_t word; };
const OpenMode kModes[] = {
    {"READ", GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FM_READ},
    {"WRITE", GENERIC_WRITE, 0, CREATE_ALWAYS, FM_WRITE},
    {"APPEND", GENERIC_WRITE, 0, OPEN_ALWAYS, FM_WRITE},
    {"PIPE", GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, FM_PIPE},
};

// FileOpen(filename, mode) -> file-handle value
void fn_file_open(Context* ctx, Value* result, Value* args) {
    int slot = -1;
    for (unsigned i = 0; i < FILE_SLOTS; i++) if (!ctx->files[i].handle) { slot = (int)i; break; }
    if (slot < 0) { fail(ctx, 3078); return; }
    char mode[16];
    bounded_copy(ctx, mode, value_text(ctx, args[2]), sizeof mode);
    if (ctx->error) return;
    for (char* p = mode; *p; p++) if (*p >= 'a' && *p <= 'z') *p = (char)(*p - 32);
    const OpenMode* m = nullptr;
    for (const OpenMode& k : kModes) if (lstrcmpiA(mode, k.name) == 0) { m = &k; break; }
    if (!m) { fail(ctx, 3076); return; }
    bounded_copy(ctx, ctx->path, value_text(ctx, args[1]), LINE_BUF);
    if (ctx->error) return;
    UINT old = SetErrorMode(SEM_FAILCRITICALERRORS);
    HANDLE h = CreateFileA(ctx->path, m->access, m->share, nullptr, m->creation, FILE_ATTRIBUTE_NORMAL, nullptr);
    SetErrorMode(old);
    if (h == INVALID_HANDLE_VALUE) { fail(ctx, 1077); return; }
    if (m->creation == OPEN_ALWAYS) SetFilePointer(h, 0, nullptr, FILE_END);
    if (m->word & FM_READ) ahead_attach(h);
    ctx->files[slot].handle = h;
    ctx->files[slot].mode = m->word;
    result->integer = (int32_t)(intptr_t)h;
    result->flags = VF_INT | VF_HANDLE;
}

// FileRead(handle) -> the next line, or "*EOF*"
void fn_file_read(Context* ctx, Value* result, Value* args) {
    if (!is_handle_value(args[1])) { fail(ctx, 3081); return; }
    int slot = slot_of(ctx, args[1].integer);
    if (slot < 0) { fail(ctx, 3082); return; }
    FileSlot& f = ctx->files[slot];
    if (!(f.mode & FM_READ)) { fail(ctx, 3087); return; }
    if (f.mode & FM_EOF_GIVEN) { fail(ctx, 3088); return; }
    if (f.mode & FM_EOF_MET) { f.mode |= FM_EOF_GIVEN; value_set_text(ctx, result, "*EOF*"); return; }
    HANDLE h = (HANDLE)f.handle;
    bool pipe = (f.mode & FM_PIPE) == FM_PIPE;
    ReadAhead* ra = ahead_find(h);
    char* line = ctx->file_line;
    unsigned n = 0;
    bool ended = false;   // a CR or the line limit ended the line
    char c;
    while (n < FILE_LINE_MAX) {
        // Ctrl+Z ends the data; in a pipe it ends only what is there now.
        if (!next_byte(h, ra, pipe, &c) || c == 26) break;
        if (c == 13) { ended = true; break; }
        if (c == 10) continue;    // LF never ends a line
        line[n++] = c;
    }
    if (n == FILE_LINE_MAX) ended = true;
    line[n] = 0;
    if (!ended) {
        if (pipe) {
            if (n == 0) { value_set_text(ctx, result, "*EOF*"); return; }
        } else {
            f.mode |= FM_EOF_MET;
            if (n == 0) { f.mode |= FM_EOF_GIVEN; value_set_text(ctx, result, "*EOF*"); return; }
        }
    }
    value_set_text_n(ctx, result, line, n);
}

// FileWrite(handle, text): the text, and CR LF after it for a file
void fn_file_write(Context* ctx, Value*, Value* args) {
    if (!is_handle_value(args[1])) { fail(ctx, 3084); return; }
    int slot = slot_of(ctx, args[1].integer);
    if (slot < 0) { fail(ctx, 3085); return; }
    FileSlot& f = ctx->files[slot];
    if (!(f.mode & FM_WRITE)) { fail(ctx, 3089); return; }
    const char* text = value_text(ctx, args[2]);
    DWORD done;
    WriteFile((HANDLE)f.handle, text, (DWORD)strlen(text), &done, nullptr);   // failures unreported
    if ((f.mode & FM_PIPE) != FM_PIPE) WriteFile((HANDLE)f.handle, "\r\n", 2, &done, nullptr);
}

// FileClose(handle)
void fn_file_close(Context* ctx, Value*, Value* args) {
    if (!is_handle_value(args[1])) { fail(ctx, 3079); return; }
    int slot = slot_of(ctx, args[1].integer);
    if (slot < 0) { fail(ctx, 3080); return; }
    HANDLE h = (HANDLE)ctx->files[slot].handle;
    ahead_drop(h);
    CloseHandle(h);
    ctx->files[slot].handle = nullptr;
    ctx->files[slot].mode = 0;
}

const FunctionEntry kTable[] = {
    {116, fn_file_close},   // FileClose
    {128, fn_file_open},    // FileOpen
    {130, fn_file_read},    // FileRead
    {136, fn_file_write},   // FileWrite
};

} // namespace

void files_close_all(Context* ctx) {
    for (FileSlot& f : ctx->files) {
        if (!f.handle) continue;
        ahead_drop((HANDLE)f.handle);
        CloseHandle((HANDLE)f.handle);
        f.handle = nullptr;
        f.mode = 0;
    }
}

TSL_FAMILY_DEFINE(kFamilyFileHandles, kTable)

} // namespace tsl

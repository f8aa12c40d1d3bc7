// ClipGet, ClipPut, ClipAppend: the clipboard's text. Text goes in as both
// CF_TEXT and CF_UNICODETEXT, so programs that read either format see the
// same text; it comes out as CF_TEXT (the system converts from the Unicode
// format when only that one is there). Line ends stay as the clipboard has
// them. A clipboard that another program holds is tried again for a short,
// bounded time before the call fails; the clipboard is closed on every path.
#include "clipboard.h"
#include "../functions/families.h"
#include <cstring>
#include <windows.h>

namespace tsl {

namespace {

const unsigned OPEN_TRIES = 25;          // 25 tries, 20 ms apart: half a second

// A window to own what we put on the clipboard (emptying the clipboard
// without an owner would make SetClipboardData fail): the run's owner window
// when it has one, else a message-only window made for the call.
struct ClipOwner {
    HWND window = NULL;
    bool made = false;
    explicit ClipOwner(Context* ctx) {
        if (ctx->owner && IsWindow((HWND)ctx->owner)) { window = (HWND)ctx->owner; return; }
        window = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
        made = window != NULL;
    }
    ~ClipOwner() { if (made) DestroyWindow(window); }
};

bool open_clipboard(HWND owner) {
    for (unsigned i = 0; i < OPEN_TRIES; i++) {
        if (OpenClipboard(owner)) return true;
        Sleep(20);
    }
    return false;
}

HGLOBAL global_copy(const void* data, size_t bytes) {
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, bytes);
    void* p = h ? GlobalLock(h) : nullptr;
    if (!p) { if (h) GlobalFree(h); return NULL; }
    memcpy(p, data, bytes);
    GlobalUnlock(h);
    return h;
}

// Empties the clipboard and puts `text` (length len) in both text formats.
int put_text(Context* ctx, const char* text, unsigned len) {
    int wide_len = MultiByteToWideChar(CP_ACP, 0, text, (int)len, nullptr, 0);
    HGLOBAL ansi = global_copy(text, len + 1);   // text[len] is the NUL
    HGLOBAL wide = GlobalAlloc(GMEM_MOVEABLE, ((size_t)wide_len + 1) * sizeof(WCHAR));
    WCHAR* w = wide ? (WCHAR*)GlobalLock(wide) : nullptr;
    if (!ansi || !w) {
        if (ansi) GlobalFree(ansi);
        if (wide) GlobalFree(wide);
        return fail(ctx, 1402);
    }
    MultiByteToWideChar(CP_ACP, 0, text, (int)len, w, wide_len);
    w[wide_len] = 0;
    GlobalUnlock(wide);
    ClipOwner owner(ctx);
    if (!open_clipboard(owner.window)) { GlobalFree(ansi); GlobalFree(wide); return fail(ctx, 1401); }
    EmptyClipboard();
    bool ok = SetClipboardData(CF_TEXT, ansi) != NULL;
    if (!ok) GlobalFree(ansi);
    if (SetClipboardData(CF_UNICODETEXT, wide) == NULL) GlobalFree(wide);  // the ANSI text still stands
    CloseClipboard();
    return ok ? 1 : fail(ctx, 1402);
}

} // namespace

unsigned clipboard_get_text(Context* ctx, char* buf, unsigned size) {
    buf[0] = 0;
    if (!open_clipboard(NULL)) { fail(ctx, 1401); return 0; }
    unsigned len = 0;
    HANDLE h = GetClipboardData(CF_TEXT);
    const char* p = h ? (const char*)GlobalLock(h) : nullptr;
    if (p) {
        SIZE_T cap = GlobalSize(h);   // a text without its NUL stops at the block's end
        while (len + 1 < size && len < cap && p[len]) { buf[len] = p[len]; len++; }
        buf[len] = 0;
        GlobalUnlock(h);
    }
    CloseClipboard();
    return len;
}

int clipboard_put_bitmap(Context* ctx, void* bitmap) {
    ClipOwner owner(ctx);
    if (!open_clipboard(owner.window)) { DeleteObject((HBITMAP)bitmap); return fail(ctx, 1401); }
    EmptyClipboard();
    bool ok = SetClipboardData(CF_BITMAP, (HBITMAP)bitmap) != NULL;
    CloseClipboard();
    if (!ok) { DeleteObject((HBITMAP)bitmap); return fail(ctx, 1402); }
    return 1;
}

int clipboard_put_text(Context* ctx, const char* text) {
    return put_text(ctx, text, (unsigned)strlen(text));
}

namespace {

// A scratch block for CLIP_TEXT_MAX bytes, freed by its destructor.
struct Scratch {
    HGLOBAL block = GlobalAlloc(GMEM_FIXED, CLIP_TEXT_MAX + 1);
    char* p() { return (char*)block; }
    ~Scratch() { if (block) GlobalFree(block); }
};

// ClipGet() -> the clipboard's text, "" when it holds none
void fn_clip_get(Context* ctx, Value* result, Value*) {
    Scratch s;
    if (!s.block) { fail(ctx, 3096); return; }
    unsigned len = clipboard_get_text(ctx, s.p(), CLIP_TEXT_MAX + 1);
    if (ctx->error) return;
    value_set_text_n(ctx, result, s.p(), len);
}

// ClipPut(text) -> 1
void fn_clip_put(Context* ctx, Value* result, Value* args) {
    result->integer = clipboard_put_text(ctx, value_text(ctx, args[1]));
}

// ClipAppend(text) -> 1: the clipboard's text followed by `text`, both cut
// together at CLIP_TEXT_MAX bytes.
void fn_clip_append(Context* ctx, Value* result, Value* args) {
    Scratch s;
    if (!s.block) { fail(ctx, 3096); return; }
    unsigned len = clipboard_get_text(ctx, s.p(), CLIP_TEXT_MAX + 1);
    if (ctx->error) return;
    const char* more = value_text(ctx, args[1]);
    while (*more && len < CLIP_TEXT_MAX) s.p()[len++] = *more++;
    s.p()[len] = 0;
    result->integer = put_text(ctx, s.p(), len);
}

const FunctionEntry kTable[] = {
    {73, fn_clip_append},   // ClipAppend
    {74, fn_clip_get},      // ClipGet
    {75, fn_clip_put},      // ClipPut
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyClipboard, kTable)

} // namespace tsl

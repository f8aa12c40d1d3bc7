// The menu entries' shared parts: context hold, message boxes, description
// names, the whole-file read and the requested failures.
#include "menu_file_win32.h"
#include <atomic>
#include <cstdio>
#include "menu_fault.h"
#include "core/bounded.h"
#include "core/messages.h"

namespace tsl {

namespace {
const DWORD READ_STEP = 32767;   // bytes of one read
std::atomic<unsigned> g_fault{0};   // the message of the armed step, or 0
}

bool menu_fault_request(unsigned number) {
    static const unsigned steps[] = {0, 505, 506, 507, 513, 516, 517, 518, 523, 524, 525};
    for (unsigned step : steps)
        if (step == number) { g_fault.store(number); return true; }
    return false;
}

bool menu_fault(unsigned number) {
    unsigned armed = number;
    return g_fault.load(std::memory_order_relaxed) == number && g_fault.compare_exchange_strong(armed, 0);
}

MenuCall::MenuCall(HGLOBAL block) : block_(block) {
    ctx = block ? (Context*)GlobalLock(block) : nullptr;
    if (!ctx) return;
    if (!ctx->vars && ctx->var_block) {
        ctx->vars = (VarSlot*)GlobalLock(ctx->var_block);
        vars_ = ctx->vars != nullptr;
    }
    if (!ctx->heap && ctx->heap_block) {
        ctx->heap = (uint8_t*)GlobalLock(ctx->heap_block);
        heap_ = ctx->heap != nullptr;
    }
}

MenuCall::~MenuCall() {
    if (!ctx) return;
    if (heap_) { GlobalUnlock(ctx->heap_block); ctx->heap = nullptr; }
    if (vars_) { GlobalUnlock(ctx->var_block); ctx->vars = nullptr; }
    GlobalUnlock(block_);
}

void menu_box(Context* ctx, HWND owner, const char* caption, unsigned number, const char* detail) {
    char text[LINE_BUF + PATH_BUF + 2];
    if (!load_message(ctx, number, text, sizeof text))
        snprintf(text, sizeof text, "Undefined error code -> %03u", number);
    if (detail) {
        bounded_append(ctx, text, "\n", sizeof text);
        bounded_append(ctx, text, detail, sizeof text);
    }
    plat_message_box(owner, text, caption ? caption : "", BOX_OK | BOX_ICONSTOP);
}

void menu_description_name(char kind, unsigned set, uintptr_t id, char* name, unsigned size) {
    snprintf(name, size, "%%%c%c%llu", kind, (char)('A' + set), (unsigned long long)id);
}

MenuText::~MenuText() {
    if (text) GlobalUnlock(block);
    if (block) GlobalFree(block);
}

HANDLE menu_open(const char* path) {
    return CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, NULL);
}

void menu_file_time(HANDLE file, WORD* date, WORD* time) {
    FILETIME written, local;
    *date = *time = 0;
    if (GetFileTime(file, NULL, NULL, &written) && FileTimeToLocalFileTime(&written, &local))
        FileTimeToDosDateTime(&local, date, time);
}

unsigned menu_read(HANDLE file, const MenuReadErrors& errors, bool encoded_only, MenuText* out) {
    DWORD high = 0, size = GetFileSize(file, &high);
    unsigned error = 0;
    if (size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) error = errors.io;
    else if (high || size >= MENU_FILE_LIMIT) error = MENU_TOO_BIG;
    else if (menu_fault(errors.alloc) || !(out->block = GlobalAlloc(GMEM_MOVEABLE, size + 1))) error = errors.alloc;
    else if (menu_fault(errors.lock) || !(out->text = (char*)GlobalLock(out->block))) error = errors.lock;
    else if (menu_fault(errors.io)) error = errors.io;
    for (DWORD done = 0; !error && done < size;) {
        DWORD got = 0, step = size - done < READ_STEP ? size - done : READ_STEP;
        if (!ReadFile(file, out->text + done, step, &got, NULL) || got == 0) error = errors.io;
        done += got;
    }
    CloseHandle(file);
    if (error) return error;
    out->text[size] = 0;
    out->size = size;
    return accept_script_file(out->text, &out->size, encoded_only);
}

} // namespace tsl

// "Confirm File Replace": the replace decision per existing target and the
// dialog procedure OverwriteProc. The title and every label are loaded by
// message number so that a language module can replace them.
#include "replace_dialog.h"
#include "file_lists.h"
#include "../core/bounded.h"
#include "../core/messages.h"
#include "../ui/dialog_contexts.h"
#include "../resources/dialogs/filewarn_ids.h"
#include <windows.h>
#include <cstdio>
#include <cstring>

extern "C" INT_PTR CALLBACK OverwriteProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp);

namespace tsl {

namespace {

// Label texts by control id, loaded by message number. ORDER: any.
struct Label { int control; unsigned message; };
const Label kLabels[] = {
    {FW_LABEL_REPLACE, 122}, {FW_LABEL_WITH, 135},  {FW_OVERWRITE, 123}, {FW_CANCEL, 121},
    {FW_OVERWRITE_ALL, 124}, {FW_SKIP, 125},        {FW_NEWER, 136},     {FW_NEWER_ALL, 137},
    {FW_OLDER, 138},         {FW_OLDER_ALL, 139},
};
const unsigned TITLE_MESSAGE = 134;

// The mode each button leaves.
struct ButtonMode { int control; int mode; };
const ButtonMode kButtons[] = {
    {FW_OVERWRITE, RM_OVERWRITE}, {FW_OVERWRITE_ALL, RM_OVERWRITE_ALL}, {FW_SKIP, RM_SKIP},
    {FW_CANCEL, RM_SKIP_ALL},     {FW_NEWER, RM_NEWER},                 {FW_NEWER_ALL, RM_NEWER_ALL},
    {FW_OLDER, RM_OLDER},         {FW_OLDER_ALL, RM_OLDER_ALL},
};
const int DEFAULT_BUTTON_MODE = RM_OVERWRITE;   // the template's default button

// What the dialog shows, handed over at creation.
struct Question {
    Context* ctx;
    const char* source;
    const char* target;
};

void load_label(Context* ctx, unsigned number, char* buf, unsigned size) {
    if (!load_message(ctx, number, buf, size)) buf[0] = 0;
}

HMODULE own_module() {
    HMODULE m = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       (LPCSTR)&own_module, &m);
    return m;
}

// The information line about a file: its time as FileTimeGet writes it,
// three spaces, its size in decimal and " bytes"; empty when it is missing.
void file_info(const char* path, char* out, unsigned cap) {
    WIN32_FILE_ATTRIBUTE_DATA fa;
    out[0] = 0;
    if (!GetFileAttributesExA(path, GetFileExInfoStandard, &fa)) return;
    char when[FILE_TIME_TEXT];
    file_time_text(fa.ftLastWriteTime.dwLowDateTime, fa.ftLastWriteTime.dwHighDateTime, when);
    unsigned long long size = ((unsigned long long)fa.nFileSizeHigh << 32) | fa.nFileSizeLow;
    snprintf(out, cap, "%s   %llu bytes", when, size);
}

bool dos_time(const char* path, WORD* date, WORD* time) {
    WIN32_FILE_ATTRIBUTE_DATA fa;
    FILETIME local;
    if (!GetFileAttributesExA(path, GetFileExInfoStandard, &fa)) return false;
    return FileTimeToLocalFileTime(&fa.ftLastWriteTime, &local) && FileTimeToDosDateTime(&local, date, time);
}

bool decide_by_age(int mode, Age age) {
    if (mode == RM_NEWER || mode == RM_NEWER_ALL) return age == AGE_TARGET_NEWER;
    return age != AGE_TARGET_NEWER;   // RM_OLDER, RM_OLDER_ALL
}

} // namespace

Age age_compare(const char* source, const char* target) {
    WORD td, tt, sd, st;
    if (GetFileAttributesA(target) == INVALID_FILE_ATTRIBUTES) return AGE_TARGET_MISSING;
    if (!dos_time(target, &td, &tt)) return AGE_TARGET_NEWER;
    if (!dos_time(source, &sd, &st)) return AGE_TARGET_NEWER;
    if (sd != td) return sd > td ? AGE_SOURCE_NEWER_OR_SAME : AGE_TARGET_NEWER;
    return st >= tt ? AGE_SOURCE_NEWER_OR_SAME : AGE_TARGET_NEWER;
}

bool replace_decide(Context* ctx, ReplaceCall* call, const char* source, const char* target) {
    if (call->mode == RM_OVERWRITE_ALL) return true;
    if (call->mode == RM_SKIP_ALL) return false;
    Age age = age_compare(source, target);
    if (age == AGE_TARGET_MISSING) return true;
    if (call->mode == RM_NEWER_ALL || call->mode == RM_OLDER_ALL) return decide_by_age(call->mode, age);
    call->mode = replace_ask(ctx, source, target);
    if (call->mode == RM_OVERWRITE || call->mode == RM_OVERWRITE_ALL) return true;
    if (call->mode == RM_SKIP || call->mode == RM_SKIP_ALL) return false;
    return decide_by_age(call->mode, age);
}

int replace_ask(Context* ctx, const char* source, const char* target) {
    if (plat_console_mode()) {
        char title[128], with[128], replace[128];
        load_label(ctx, TITLE_MESSAGE, title, sizeof title);
        load_label(ctx, 122, replace, sizeof replace);
        load_label(ctx, 135, with, sizeof with);
        char line[1200];
        snprintf(line, sizeof line, "BOX(%s): %s %s / %s %s\r\n", title, replace, target, with, source);
        plat_write_stderr(line);
        return DEFAULT_BUTTON_MODE;
    }
    Question q{ctx, source, target};
    INT_PTR r = DialogBoxParamA(own_module(), "FILEWARN", (HWND)ctx->owner, OverwriteProc, (LPARAM)&q);
    SetCursor((HCURSOR)ctx->current_cursor);
    if (r <= 0) return RM_SKIP_ALL;   // the dialog could not be shown
    return (int)r;
}

} // namespace tsl

using namespace tsl;

// The dialog procedure of FILEWARN (exported). Opening fills the names, the
// information lines and the labels; each of the eight buttons ends the
// dialog with its replace mode.
extern "C" INT_PTR CALLBACK OverwriteProc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
    switch (msg) {
    case WM_INITDIALOG: {
        const Question* q = (const Question*)lp;
        dialog_context_add(dlg, q->ctx);
        char text[300];
        load_label(q->ctx, TITLE_MESSAGE, text, sizeof text);
        SetWindowTextA(dlg, text);
        for (const Label& l : kLabels) {
            load_label(q->ctx, l.message, text, sizeof text);
            SetDlgItemTextA(dlg, l.control, text);
        }
        SetDlgItemTextA(dlg, FW_TARGET_NAME, q->target);
        SetDlgItemTextA(dlg, FW_SOURCE_NAME, q->source);
        file_info(q->target, text, sizeof text);
        SetDlgItemTextA(dlg, FW_TARGET_INFO, text);
        file_info(q->source, text, sizeof text);
        SetDlgItemTextA(dlg, FW_SOURCE_INFO, text);
        if (q->ctx->sounds) plat_play_sound("SystemExclamation");
        return TRUE;
    }
    case WM_COMMAND: {
        int id = LOWORD(wp);
        for (const ButtonMode& b : kButtons) {
            if (b.control != id) continue;
            dialog_context_find(dlg);   // the context table must know this dialog
            dialog_context_remove(dlg);
            EndDialog(dlg, b.mode);
            return TRUE;
        }
        return FALSE;
    }
    case WM_CLOSE:   // the caption's close box answers like "&Cancel"
        dialog_context_remove(dlg);
        EndDialog(dlg, RM_SKIP_ALL);
        return TRUE;
    }
    return FALSE;
}

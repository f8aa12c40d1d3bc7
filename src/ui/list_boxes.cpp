// The list boxes: ItemSelect (sorted) and TextSelect (in list order) show
// an item list, TextBox (as in the file) and TextBoxSort (sorted) a text
// file; each returns the chosen line, "" when OK is pressed with nothing
// chosen. Procedures ItemSelectDlg and TextBoxDlg; templates BOXITEM and
// BOXTEXT. In console mode the list is written to standard error and the
// answer is "" (OK with nothing chosen).
#include "box_support.h"
#include "list_fill.h"
#include "../core/bounded.h"
#include "../functions/families.h"
#include "../resources/dialogs/box_ids.h"

extern "C" INT_PTR CALLBACK ItemSelectDlg(HWND dlg, UINT msg, WPARAM wp, LPARAM lp);
extern "C" INT_PTR CALLBACK TextBoxDlg(HWND dlg, UINT msg, WPARAM wp, LPARAM lp);

namespace tsl {

namespace {

const unsigned TITLE_MAX = 256;
const unsigned ANSWER_MAX = 1280;
const unsigned CONSOLE_LIST_MAX = 2000;
const uint16_t ERR_CANCEL = 9999;

struct ListCall {
    char title[TITLE_MAX + 1];
    char file[TITLE_MAX + 1];   // TextBox, TextBoxSort
    const char* items;          // ItemSelect, TextSelect: the list, read in place
    char delim[3];
    bool sorted;
    char answer[ANSWER_MAX + 1];
};

void fill(HWND list, const ListCall* call) {
    if (call->items) list_fill_items(list, call->items, call->delim, call->sorted);
    else list_fill_file(list, call->file, call->sorted);
}

// Console mode: the list a box would have shown, one line each on
// standard error after the caption ("BOX(title): a / b / c").
void console_list(const ListCall* call) {
    HWND list = CreateWindowA("LISTBOX", "", call->sorted ? LBS_SORT : 0, 0, 0, 0, 0, NULL, NULL, NULL, NULL);
    char text[CONSOLE_LIST_MAX + 1] = "";
    if (list) {
        fill(list, call);
        int count = (int)SendMessageA(list, LB_GETCOUNT, 0, 0);
        for (int i = 0; i < count; i++) {
            char line[LIST_LINE_MAX + 1];
            if (SendMessageA(list, LB_GETTEXTLEN, i, 0) > (LRESULT)LIST_LINE_MAX) continue;
            SendMessageA(list, LB_GETTEXT, i, (LPARAM)line);
            if (i) bounded_append(nullptr, text, "\n", sizeof text);
            bounded_append(nullptr, text, line, sizeof text);
        }
        DestroyWindow(list);
    }
    box_console(call->title, text);
}

void run_box(Context* ctx, Value* r, ListCall* call, const char* templ, DLGPROC proc) {
    call->answer[0] = 0;
    INT_PTR ended = 1;   // console: OK with nothing chosen
    if (plat_console_mode()) {
        console_list(call);
    } else {
        void* outer = ctx->box.call;
        ctx->box.call = call;
        ended = DialogBoxParamA(box_module(), templ, (HWND)ctx->owner, proc, (LPARAM)ctx);
        ctx->box.call = outer;
        box_after(ctx);
    }
    if (ended != 1) { fail(ctx, ERR_CANCEL); return; }
    value_set_text(ctx, r, call->answer);   // 3096 when the heap is full
}

void select_items(Context* ctx, Value* r, Value* a, bool sorted) {
    ListCall call;
    bounded_copy(ctx, call.title, value_text(ctx, a[1]), sizeof call.title);
    call.file[0] = 0;
    call.items = value_text(ctx, a[2]);
    list_delimiter(value_text(ctx, a[3]), call.delim);
    call.sorted = sorted;
    run_box(ctx, r, &call, sorted ? "BOXITEM" : "BOXTEXT", ItemSelectDlg);
}

void show_file(Context* ctx, Value* r, Value* a, bool sorted) {
    ListCall call;
    bounded_copy(ctx, call.title, value_text(ctx, a[1]), sizeof call.title);
    bounded_copy(ctx, call.file, value_text(ctx, a[2]), sizeof call.file);
    call.items = nullptr;
    call.sorted = sorted;
    run_box(ctx, r, &call, "BOXTEXT", TextBoxDlg);
}

// ItemSelect(title, list, delimiter) -> the chosen item; the list sorted
void fn_item_select(Context* ctx, Value* r, Value* a) { select_items(ctx, r, a, true); }
// TextSelect(title, list, delimiter) -> the chosen item; the list in its order
void fn_text_select(Context* ctx, Value* r, Value* a) { select_items(ctx, r, a, false); }
// TextBox(title, file) -> the chosen line; the lines as in the file
void fn_text_box(Context* ctx, Value* r, Value* a) { show_file(ctx, r, a, false); }
// TextBoxSort(title, file) -> the chosen line; the lines sorted
void fn_text_box_sort(Context* ctx, Value* r, Value* a) { show_file(ctx, r, a, true); }

const FunctionEntry kTable[] = {
    {163, fn_item_select},     // ItemSelect
    {232, fn_text_box},        // TextBox
    {233, fn_text_box_sort},   // TextBoxSort
    {234, fn_text_select},     // TextSelect
};

// The drop shadow of the list: a bar under it, from half a character right
// of its left edge, a third of a character high; a bar right of it, from a
// third of a character below its top, half a character wide.
void place_shadow(Context* ctx, HWND dlg) {
    RECT r;
    GetWindowRect(GetDlgItem(dlg, BOX_LIST), &r);
    MapWindowPoints(NULL, dlg, (POINT*)&r, 2);
    int half_w = ctx->font_width / 2, third_h = ctx->font_height / 3;
    MoveWindow(GetDlgItem(dlg, BOX_SHADOW_LOW), r.left + half_w, r.bottom, r.right - r.left, third_h, FALSE);
    MoveWindow(GetDlgItem(dlg, BOX_SHADOW_SIDE), r.right, r.top + third_h, half_w, r.bottom - r.top, FALSE);
}

void open_box(HWND dlg, Context* ctx, const char* sound) {
    ListCall* call = (ListCall*)ctx->box.call;
    HWND list = GetDlgItem(dlg, BOX_LIST);
    if (ctx->box.fixed_pitch_list) SendMessageA(list, WM_SETFONT, (WPARAM)GetStockObject(SYSTEM_FIXED_FONT), FALSE);
    box_sound(ctx, sound);
    fill(list, call);
    call->answer[0] = 0;
    box_button_names(ctx, dlg);
    SetWindowTextA(dlg, call->title);
    box_centre(dlg);
    place_shadow(ctx, dlg);
}

// OK or a double click: the selected line (if any) is the answer.
void choose(HWND dlg, Context* ctx) {
    ListCall* call = (ListCall*)ctx->box.call;
    HWND list = GetDlgItem(dlg, BOX_LIST);
    LRESULT sel = SendMessageA(list, LB_GETCURSEL, 0, 0);
    if (sel != LB_ERR && SendMessageA(list, LB_GETTEXTLEN, sel, 0) <= (LRESULT)ANSWER_MAX)
        SendMessageA(list, LB_GETTEXT, sel, (LPARAM)call->answer);
    box_leave(dlg, 1);
}

INT_PTR list_proc(HWND dlg, UINT msg, WPARAM wp, LPARAM lp, const char* sound) {
    switch (msg) {
    case WM_INITDIALOG: {
        Context* ctx = (Context*)lp;
        if (box_enter(dlg, ctx, 0)) open_box(dlg, ctx, sound);
        return TRUE;
    }
    case WM_TIMER: {
        Context* ctx = wp == BOX_BREAK_TIMER ? box_context(dlg) : nullptr;
        if (ctx && box_break_tick(ctx)) box_leave(dlg, 0);
        return TRUE;
    }
    case WM_COMMAND: {
        int id = LOWORD(wp);
        bool double_click = id == BOX_LIST && HIWORD(wp) == LBN_DBLCLK;
        if (id != IDOK && id != IDCANCEL && !double_click) return FALSE;
        Context* ctx = box_context(dlg);
        if (!ctx) { EndDialog(dlg, 0); return TRUE; }
        box_note_break(ctx);
        if (id == IDCANCEL) box_leave(dlg, 0);
        else choose(dlg, ctx);
        return TRUE;
    }
    }
    return FALSE;
}

} // namespace

TSL_FAMILY_DEFINE(kFamilyListBoxes, kTable)

} // namespace tsl

using namespace tsl;

// The procedure of ItemSelect and TextSelect (exported), whichever template.
extern "C" INT_PTR CALLBACK ItemSelectDlg(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
    return list_proc(dlg, msg, wp, lp, "SystemQuestion");
}

// The procedure of TextBox and TextBoxSort (exported).
extern "C" INT_PTR CALLBACK TextBoxDlg(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
    return list_proc(dlg, msg, wp, lp, "SystemAsterisk");
}

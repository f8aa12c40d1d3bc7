// The window of a DialogBox (class ts0wcdl2, procedure MyDialogWndProc2):
// its controls built from their definitions, focus, commands, file lists
// with directory and drive navigation, and the ending that stores every
// control's state. A definition error makes the creation fail (the caller
// then reports 3104).
#include "dialog_box.h"
#include "box_support.h"
#include "dialog_contexts.h"
#include "../core/bounded.h"
#include "../core/startup_win32.h"
#include "../core/vars.h"
#include <cstdio>
#include <cstring>

extern "C" LRESULT CALLBACK MyDialogWndProc2(HWND wnd, UINT msg, WPARAM wp, LPARAM lp);

namespace tsl {

namespace {

const char kNoFile[] = "NOFILESELECTED";
const char kAnyFile[] = "*.*";
const UINT DIR_LIST_FLAGS = DDL_DIRECTORY | DDL_DRIVES;

DialogCall* call_of(Context* ctx) { return (DialogCall*)ctx->box.call; }

bool same_variable(const DialogControl& a, const DialogControl& b) {
    return lstrcmpiA(a.def.variable, b.def.variable) == 0;
}

// The variable's text ("" when undefined).
void variable_text(Context* ctx, const char* name, char* buf, unsigned size) {
    if (!name[0] || !var_get_text(ctx, name, buf, size)) buf[0] = 0;
}

int variable_int(Context* ctx, const char* name) {
    char buf[64];
    variable_text(ctx, name, buf, sizeof buf);
    return text_to_integer(buf);
}

// A radio button is checked when its variable equals its value: as numbers
// when the variable holds one, else as texts.
bool radio_matches(Context* ctx, const ControlDef& def) {
    char buf[DIALOG_TEXT_MAX + 1];
    variable_text(ctx, def.variable, buf, sizeof buf);
    if (text_is_number(buf)) return text_to_integer(buf) == def.value;
    return lstrcmpiA(buf, def.value_text) == 0;
}

bool has_wildcards(const char* s) { return strchr(s, '*') || strchr(s, '?'); }

// Reads definitions name01 .. nameNN. 0 or the definition's error number.
uint16_t read_definitions(Context* ctx, DialogCall* call) {
    for (unsigned i = 0; i < call->count; i++) {
        char var[DIALOG_NAME_MAX + 8], text[DIALOG_TEXT_MAX * 4 + 1];
        snprintf(var, sizeof var, "%s%02u", call->name, i + 1);
        if (!var_get_text(ctx, var, text, sizeof text)) return 3222;
        uint16_t error = dialog_parse_control(text, &call->controls[i].def);
        if (error) return error;
        DialogControl& c = call->controls[i];
        c.id = DIALOG_FIRST_ID + (int)i;
        if (c.def.type == DC_PUSHBUTTON && c.def.value == 1) c.id = IDOK;
        if (c.def.type == DC_PUSHBUTTON && c.def.value == 0) c.id = IDCANCEL;
        c.window = NULL;
        c.group_list = -1;
        c.mask[0] = 0;
    }
    // File-selection groups: a varying text and an edit box naming a file list's variable.
    for (unsigned l = 0; l < call->count; l++) {
        if (call->controls[l].def.type != DC_FILELISTBOX) continue;
        for (unsigned i = 0; i < call->count; i++) {
            DialogControl& c = call->controls[i];
            if ((c.def.type == DC_VARYTEXT || c.def.type == DC_EDITBOX) && c.group_list < 0 &&
                same_variable(c, call->controls[l]))
                c.group_list = (int)l;
        }
    }
    return 0;
}

DialogControl* group_member(DialogCall* call, int list, DialogControlType type) {
    for (unsigned i = 0; i < call->count; i++)
        if (call->controls[i].group_list == list && call->controls[i].def.type == type) return &call->controls[i];
    return nullptr;
}

// Lists the directory of `pattern` (a path, a mask or both) in file list `list`:
// the directory becomes current, the group's varying text shows it and its
// edit box the mask.
void list_directory(HWND dlg, DialogCall* call, int list, const char* pattern) {
    DialogControl& l = call->controls[list];
    DialogControl* vary = group_member(call, list, DC_VARYTEXT);
    DialogControl* edit = group_member(call, list, DC_EDITBOX);
    char path[MAX_PATH];
    bounded_copy(nullptr, path, pattern[0] ? pattern : kAnyFile, sizeof path);
    if (!DlgDirListA(dlg, path, l.id, vary ? vary->id : 0, DIR_LIST_FLAGS)) {
        bounded_copy(nullptr, path, kAnyFile, sizeof path);
        DlgDirListA(dlg, path, l.id, vary ? vary->id : 0, DIR_LIST_FLAGS);
    }
    bounded_copy(nullptr, l.mask, path, sizeof l.mask);
    if (edit) SetWindowTextA(edit->window, l.mask);
}

// Changes into the chosen directory or drive entry, keeping the mask.
void enter_directory(HWND dlg, DialogCall* call, int list, const char* entry) {
    char pattern[MAX_PATH];
    bounded_copy(nullptr, pattern, entry, sizeof pattern);
    bounded_append(nullptr, pattern, call->controls[list].mask, sizeof pattern);
    list_directory(dlg, call, list, pattern);
}

struct ControlClass { const char* cls; DWORD style; };

ControlClass control_class(const DialogControl& c) {
    switch (c.def.type) {
    case DC_STATICTEXT: case DC_VARYTEXT: return {"STATIC", SS_LEFT | SS_NOPREFIX};
    case DC_EDITBOX: return {"EDIT", WS_BORDER | ES_AUTOHSCROLL | WS_TABSTOP};
    case DC_RADIOBUTTON: return {"BUTTON", BS_RADIOBUTTON | WS_TABSTOP};
    case DC_CHECKBOX: return {"BUTTON", BS_CHECKBOX | WS_TABSTOP};
    case DC_PUSHBUTTON: return {"BUTTON", (DWORD)((c.id == IDOK ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON) | WS_TABSTOP)};
    case DC_FILELISTBOX: break;
    }
    return {"LISTBOX", LBS_NOTIFY | LBS_SORT | LBS_NOINTEGRALHEIGHT | WS_VSCROLL | WS_BORDER | WS_TABSTOP};
}

// The text a control starts with.
void initial_text(Context* ctx, const DialogControl& c, char* text, unsigned size) {
    text[0] = 0;
    switch (c.def.type) {
    case DC_VARYTEXT: case DC_EDITBOX: variable_text(ctx, c.def.variable, text, size); return;
    case DC_PUSHBUTTON:
        if ((c.id == IDOK || c.id == IDCANCEL) && lstrcmpiA(c.def.text, "DEFAULT") == 0) {
            box_button_caption(ctx, c.id, text, size);
            return;
        }
        bounded_copy(ctx, text, c.def.text, size);
        return;
    case DC_FILELISTBOX: return;
    default: bounded_copy(ctx, text, c.def.text, size); return;
    }
}

bool create_controls(HWND dlg, Context* ctx, DialogCall* call) {
    LONG base = GetDialogBaseUnits();
    int bw = LOWORD(base), bh = HIWORD(base);
    for (unsigned i = 0; i < call->count; i++) {
        DialogControl& c = call->controls[i];
        ControlClass k = control_class(c);
        char text[DIALOG_TEXT_MAX + 1];
        initial_text(ctx, c, text, sizeof text);
        // Only the file list takes its height; every other control is 1.5 base heights high.
        int height = c.def.type == DC_FILELISTBOX ? c.def.height * bh / 8 : bh * 3 / 2;
        c.window = CreateWindowA(k.cls, text, WS_CHILD | WS_VISIBLE | k.style, c.def.x * bw / 4, c.def.y * bh / 8,
                                 c.def.width * bw / 4, height, dlg, (HMENU)(INT_PTR)c.id, box_module(), NULL);
        if (!c.window) return false;
        if (c.def.type == DC_EDITBOX) SendMessageA(c.window, EM_LIMITTEXT, DIALOG_TEXT_MAX, 0);
        if (c.def.type == DC_CHECKBOX) {
            char have[4];
            if (!var_get_text(ctx, c.def.variable, have, sizeof have)) var_set_text(ctx, c.def.variable, "");
            if (variable_int(ctx, c.def.variable) & c.def.value) SendMessageA(c.window, BM_SETCHECK, BST_CHECKED, 0);
        }
        if (c.def.type == DC_RADIOBUTTON && radio_matches(ctx, c.def)) SendMessageA(c.window, BM_SETCHECK, BST_CHECKED, 0);
    }
    for (unsigned i = 0; i < call->count; i++) {
        if (call->controls[i].def.type != DC_FILELISTBOX) continue;
        char mask[MAX_PATH];
        variable_text(ctx, call->controls[i].def.variable, mask, sizeof mask);
        list_directory(dlg, call, (int)i, mask);
    }
    return true;
}

// The first edit box, check box, push button or file list in definition
// order, or the checked button of a radio group; else the OK button.
void set_focus(HWND dlg, DialogCall* call) {
    for (unsigned i = 0; i < call->count; i++) {
        DialogControl& c = call->controls[i];
        bool takes = c.def.type == DC_EDITBOX || c.def.type == DC_CHECKBOX || c.def.type == DC_PUSHBUTTON ||
                     c.def.type == DC_FILELISTBOX ||
                     (c.def.type == DC_RADIOBUTTON && SendMessageA(c.window, BM_GETCHECK, 0, 0) == BST_CHECKED);
        if (!takes) continue;
        SetFocus(c.window);
        if (c.def.type == DC_EDITBOX) SendMessageA(c.window, EM_SETSEL, 0, -1);
        return;
    }
    HWND ok = GetDlgItem(dlg, IDOK);
    if (ok) SetFocus(ok);
}

DialogControl* control_by_id(DialogCall* call, int id) {
    for (unsigned i = 0; i < call->count; i++)
        if (call->controls[i].id == id) return &call->controls[i];
    return nullptr;
}

// A selection in a file list: a directory or drive is entered, a file
// shown in the group's edit box.
void file_list_choice(HWND dlg, DialogCall* call, int list) {
    char entry[MAX_PATH];
    if (SendMessageA(call->controls[list].window, LB_GETCURSEL, 0, 0) == LB_ERR) return;
    if (DlgDirSelectExA(dlg, entry, sizeof entry, call->controls[list].id)) {
        enter_directory(dlg, call, list, entry);
        return;
    }
    DialogControl* edit = group_member(call, list, DC_EDITBOX);
    if (edit) SetWindowTextA(edit->window, entry);
}

// The end of a file list: true when a value was stored, false when the
// dialog stays open.
bool store_file_list(HWND dlg, Context* ctx, DialogCall* call, int list) {
    DialogControl& l = call->controls[list];
    DialogControl* edit = group_member(call, list, DC_EDITBOX);
    char name[MAX_PATH] = "";
    if (edit) GetWindowTextA(edit->window, name, sizeof name);
    if (name[0]) {
        if (has_wildcards(name)) { list_directory(dlg, call, list, name); return false; }
        var_set_text(ctx, l.def.variable, name);
        return true;
    }
    if (SendMessageA(l.window, LB_GETCURSEL, 0, 0) == LB_ERR) {
        if (ctx->box.file_required) return false;
        var_set_text(ctx, l.def.variable, kNoFile);
        return true;
    }
    if (DlgDirSelectExA(dlg, name, sizeof name, l.id)) { enter_directory(dlg, call, list, name); return false; }
    var_set_text(ctx, l.def.variable, name);
    return true;
}

LRESULT colour(HWND, Context* ctx, HDC dc) {
    if (ctx->pretty_dialogs && g_texture_brush) {
        SetBkMode(dc, TRANSPARENT);
        return (LRESULT)g_texture_brush;
    }
    SetBkColor(dc, GetSysColor(COLOR_WINDOW));
    return (LRESULT)GetSysColorBrush(COLOR_WINDOW);
}

void end_with(HWND dlg, Context* ctx, DialogCall* call, INT_PTR result) {
    call->result = result;
    if (result == 0 || dialog_store(dlg, ctx, call)) DestroyWindow(dlg);
}

void command(HWND dlg, Context* ctx, DialogCall* call, int id, int code) {
    if (id == IDCANCEL) { box_note_break(ctx); end_with(dlg, ctx, call, 0); return; }
    DialogControl* c = control_by_id(call, id);
    if (id == IDOK && (!c || c->def.type == DC_PUSHBUTTON)) { end_with(dlg, ctx, call, 1); return; }
    if (!c) return;
    if (c->def.type != DC_FILELISTBOX && code != BN_CLICKED) return;
    switch (c->def.type) {
    case DC_PUSHBUTTON: end_with(dlg, ctx, call, c->def.value); return;
    case DC_RADIOBUTTON:
        for (unsigned i = 0; i < call->count; i++) {
            DialogControl& o = call->controls[i];
            if (o.def.type == DC_RADIOBUTTON && same_variable(o, *c))
                SendMessageA(o.window, BM_SETCHECK, &o == c ? BST_CHECKED : BST_UNCHECKED, 0);
        }
        return;
    case DC_CHECKBOX:
        SendMessageA(c->window, BM_SETCHECK, SendMessageA(c->window, BM_GETCHECK, 0, 0) == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED, 0);
        return;
    case DC_FILELISTBOX:
        if (code == LBN_SELCHANGE || code == LBN_DBLCLK) file_list_choice(dlg, call, (int)(c - call->controls));
        return;
    default: return;
    }
}

LRESULT on_create(HWND wnd, Context* ctx) {
    DialogCall* call = call_of(ctx);
    if (!dialog_context_add(wnd, ctx)) { call->definition_error = 0; return -1; }
    call->definition_error = read_definitions(ctx, call);
    if (call->definition_error || !create_controls(wnd, ctx, call)) {
        dialog_context_remove(wnd);
        return -1;
    }
    SetTimer(wnd, BOX_BREAK_TIMER, 100, NULL);
    box_sound(ctx, "SystemQuestion");
    set_focus(wnd, call);
    return 0;
}

} // namespace

bool dialog_store(HWND dlg, Context* ctx, DialogCall* call) {
    bool close = true;
    for (unsigned i = 0; i < call->count; i++) {
        DialogControl& c = call->controls[i];
        bool checked = c.def.type != DC_FILELISTBOX && SendMessageA(c.window, BM_GETCHECK, 0, 0) == BST_CHECKED;
        switch (c.def.type) {
        case DC_EDITBOX:
            if (c.group_list < 0) {
                char text[DIALOG_TEXT_MAX + 1];
                GetWindowTextA(c.window, text, sizeof text);
                var_set_text(ctx, c.def.variable, text);
            }
            break;
        case DC_RADIOBUTTON:
            if (checked) var_set_int(ctx, c.def.variable, c.def.value);
            break;
        case DC_CHECKBOX:
            // Checked: the variable's value with this box's bits; unchecked: 0,
            // even when another box on the same variable set bits before. Kept so.
            var_set_int(ctx, c.def.variable, checked ? (variable_int(ctx, c.def.variable) | c.def.value) : 0);
            break;
        case DC_FILELISTBOX:
            if (!store_file_list(dlg, ctx, call, (int)i)) close = false;
            break;
        default: break;
        }
    }
    return close;
}

} // namespace tsl

using namespace tsl;

// The window procedure of the class ts0wcdl2 (exported).
extern "C" LRESULT CALLBACK MyDialogWndProc2(HWND wnd, UINT msg, WPARAM wp, LPARAM lp) {
    if (msg == WM_CREATE) return on_create(wnd, (Context*)((CREATESTRUCTA*)lp)->lpCreateParams);
    Context* ctx = dialog_context_peek(wnd);   // nothing before creation or after the end
    if (!ctx) return DefWindowProcA(wnd, msg, wp, lp);
    DialogCall* call = call_of(ctx);
    switch (msg) {
    case WM_COMMAND: command(wnd, ctx, call, LOWORD(wp), HIWORD(wp)); return 0;
    case WM_ACTIVATE:
        if (LOWORD(wp) != WA_INACTIVE) set_focus(wnd, call);
        return 0;
    case WM_CLOSE: end_with(wnd, ctx, call, 0); return 0;
    case WM_TIMER:
        if (wp == BOX_BREAK_TIMER && box_break_tick(ctx)) end_with(wnd, ctx, call, 0);
        return 0;
    case WM_CTLCOLORSTATIC: case WM_CTLCOLORBTN: return colour(wnd, ctx, (HDC)wp);
    case WM_DESTROY:
        KillTimer(wnd, BOX_BREAK_TIMER);
        dialog_context_remove(wnd);
        return 0;
    }
    return DefWindowProcA(wnd, msg, wp, lp);
}

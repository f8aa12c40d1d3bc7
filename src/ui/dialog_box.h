// DialogBox: a dialog described in variables (format "TSLDLGED,4.0"). The
// function (dialog_box.cpp) reads the window's variables and runs the
// message loop; the window procedure MyDialogWndProc2 (dialog_window.cpp)
// builds the controls from their definitions and stores their states when
// the dialog ends.
#pragma once
#include <windows.h>
#include "dialog_fields.h"
#include "../core/context.h"

namespace tsl {

const unsigned DIALOG_NAME_MAX = 16;
const unsigned DIALOG_CONTROLS_MAX = 50;
const int DIALOG_FIRST_ID = 100;   // control i (from 0) has id 100 + i, OK and Cancel excepted

struct DialogControl {
    ControlDef def;
    int id;
    HWND window;
    int group_list;   // VARYTEXT and EDITBOX: the file list of their group (index), or -1
    char mask[MAX_PATH];   // FILELISTBOX: the current file mask
};

// One open DialogBox, handed to the window through the context.
struct DialogCall {
    char name[DIALOG_NAME_MAX + 1];
    unsigned count;
    DialogControl controls[DIALOG_CONTROLS_MAX];
    INT_PTR result;          // the value of the button that ended it (0: Cancel)
    uint16_t definition_error;   // 3222..3225 found while the window was created
    bool console;            // created hidden and pressed OK at once
};

// The ending: stores every control's state into its variable. False when a
// file list keeps the dialog open (a new mask, a directory, no file chosen).
bool dialog_store(HWND dlg, Context* ctx, DialogCall* call);

} // namespace tsl

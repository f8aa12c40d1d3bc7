// Process-wide state of the DLL (Win32 side): the module handle, the
// attachment count, the dialog texture brush, the window-class names.
#pragma once
#include <windows.h>

namespace tsl {
extern HINSTANCE g_module;          // set by LibMain (DllMain)
extern HBRUSH g_texture_brush;      // "BackTexture" brush when PrettyDialogs is on, else 0
extern int g_attached;              // contexts that passed mode 3
extern DWORD g_windows_version;     // GetVersion() at the first mode 1
extern char g_popup_menu_text[201];  // string 730 " popup menu"
extern char g_menu_item_text[201];   // string 731 " menu item"

// The window classes registered by the first mode 1.
extern const char kClassNotify[];   // "ts8wcmmn"
extern const char kClassDialog[];   // "ts9wcdlg"
extern const char kClassDialog2[];  // "ts0wcdl2"
} // namespace tsl

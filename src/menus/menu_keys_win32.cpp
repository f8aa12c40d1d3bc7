// HotKeyCheck: matches a key message of the host against its hot-key
// table; a match posts the item's menu command to the host window, as if
// the item had been chosen, when that window is enabled.
#include "menu_file_win32.h"

extern "C" BOOL WINAPI HotKeyCheck(HGLOBAL context, HWND host, UINT message, WPARAM key, TslHotKeyTable* hotkeys) {
    tsl::MenuCall call(context);
    if (!call.ctx || !hotkeys) return FALSE;
    bool shift = GetKeyState(VK_SHIFT) < 0, ctrl = GetKeyState(VK_CONTROL) < 0, alt = GetKeyState(VK_MENU) < 0;
    uint16_t code = tsl::hotkey_of_keystroke(message == TSL_HOTKEY_PRESS, (unsigned)key, shift, ctrl, alt);
    if (!code) return FALSE;
    const tsl::HotKeyEntry* entry = tsl::hotkey_find((const tsl::HotKeyTable*)hotkeys, code);
    if (!entry) return FALSE;
    if (IsWindowEnabled(host)) PostMessageA(host, WM_COMMAND, MAKEWPARAM(entry->id, 0), 0);
    return TRUE;
}

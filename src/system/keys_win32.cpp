// SendKey, SendKeysTo, WaitForKey and IsKeyDown: keystrokes typed into the
// window that has the focus, through keybd_event, one pump pass after each
// key event so that the interpreter's own windows stay alive and a user
// break is seen between keys. Keys already sent stay sent when a later part
// of the text is wrong (error 2001, result -1); every modifier that was
// pressed is released. Caps Lock is left as the user set it: with it on,
// letters arrive in the other case.
#include "keystrokes_portable.h"
#include "window_find.h"
#include "../functions/families.h"

namespace tsl {

namespace {

const int ACTIVATE_TRIES = 10;       // SendKeysTo: searches, one second apart
const unsigned TRY_PAUSE_MS = 1000;
const unsigned FOCUS_WAIT_MS = 1000;   // for a window found while its program is still starting
const unsigned FOCUS_SETTLE_MS = 200;  // for a window just brought to the front

int scan_key(void*, unsigned char c) { return VkKeyScanA((CHAR)c); }

void key_event(void* user, unsigned vk, bool down) {
    keybd_event((BYTE)vk, (BYTE)MapVirtualKeyA(vk, 0), down ? 0 : KEYEVENTF_KEYUP, 0);
    plat_pump_messages((Context*)user);
}

bool user_break(void* user) {
    Context* ctx = (Context*)user;
    plat_break_test(ctx);
    return ctx->break_flag != 0;
}

int send_keys(Context* ctx, const char* text) {
    KeySink sink{ctx, scan_key, key_event, user_break};
    if (keys_send(text, sink) == 0) return 0;
    fail(ctx, 2001);
    return -1;
}

// Pumps messages for `ms`, or less when the user breaks in.
void pause_pumping(Context* ctx, unsigned ms) {
    DWORD start = GetTickCount();
    while (GetTickCount() - start < ms && !user_break(ctx)) plat_pump_messages(ctx);
}

// A window found just after its program started may not be shown, may not
// have given the focus to its control yet, or may still be setting up what
// it shows: keys sent then would be lost. Waits until its program is idle
// waiting for input, then, pumping, until the window is the active one of
// its thread with something in it focused (one second at most in all),
// asking again for it to come to the front.
void wait_for_focus(Context* ctx, HWND w) {
    DWORD start = GetTickCount(), pid = 0;
    GetWindowThreadProcessId(w, &pid);
    // Not for a window of this process, whose thread running the script is never idle.
    HANDLE process =
        pid == GetCurrentProcessId() ? nullptr : OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, pid);
    if (process) {
        WaitForInputIdle(process, FOCUS_WAIT_MS);   // a starting program may still clear what it shows
        CloseHandle(process);
    }
    for (;;) {
        GUITHREADINFO gi = {};
        gi.cbSize = sizeof gi;
        if (GetGUIThreadInfo(GetWindowThreadProcessId(w, nullptr), &gi) && gi.hwndActive == w && gi.hwndFocus &&
            IsWindowVisible(w) && GetForegroundWindow() == w)
            return;
        if (GetTickCount() - start >= FOCUS_WAIT_MS || user_break(ctx)) return;
        plat_pump_messages(ctx);
        SetForegroundWindow(w);
    }
}

// Brings the first window whose title matches to the front, searching up to
// ten times one second apart; 1045 when none appears.
int activate(Context* ctx, const char* title) {
    for (int i = 0; i < ACTIVATE_TRIES; ++i) {
        if (i) pause_pumping(ctx, TRY_PAUSE_MS);
        if (ctx->break_flag) return 0;
        HWND w = window_find(ctx, title);
        if (!w) continue;
        bool was_front = GetForegroundWindow() == w;
        if (IsIconic(w)) ShowWindow(w, SW_RESTORE);
        SetForegroundWindow(w);
        wait_for_focus(ctx, w);
        // A window that has just come to the front reads the keyboard's
        // state afresh once its program sees the change, which would drop a
        // Shift already sent: give it that moment.
        if (!was_front) pause_pumping(ctx, FOCUS_SETTLE_MS);
        return 1;
    }
    return fail(ctx, 1045);
}

// SendKey(keys) -> 0, or -1 with error 2001
void fn_send_key(Context* ctx, Value* r, Value* a) { r->integer = send_keys(ctx, value_text(ctx, a[1])); }

// SendKeysTo(title, keys): the keys go to the window found; an empty title
// sends them to whatever has the focus.
void fn_send_keys_to(Context* ctx, Value* r, Value* a) {
    const char* title = value_text(ctx, a[1]);
    if (*title && !activate(ctx, title)) return;
    r->integer = send_keys(ctx, value_text(ctx, a[2]));
}

bool key_held(void*, unsigned vk) { return (GetKeyState((int)vk) & 0x8000) != 0; }

uint16_t modifier_state() {
    uint16_t state = 0;
    if (GetKeyState(VK_SHIFT) & 0x8000) state |= WAIT_SHIFT;
    if (GetKeyState(VK_CONTROL) & 0x8000) state |= WAIT_CTRL;
    if (GetKeyState(VK_MENU) & 0x8000) state |= WAIT_ALT;
    return state;
}

// WaitForKey(k1, k2, k3, k4, k5) -> the position of the key pressed, 0 after
// a user break. The keys are read up to the first empty argument; a text
// that names no key, or no key at all, is error 3123.
void fn_wait_for_key(Context* ctx, Value* r, Value* a) {
    ctx->wait_key_count = 0;
    for (unsigned i = 1; i <= WAIT_KEYS_MAX; ++i) {
        int32_t code = wait_key_parse(value_text(ctx, a[i]));
        if (code == 0) break;
        if (code < 0) { fail(ctx, 3123); return; }
        ctx->wait_keys[ctx->wait_key_count++] = (uint16_t)code;
    }
    if (!ctx->wait_key_count) { fail(ctx, 3123); return; }
    for (;;) {
        int found = wait_keys_poll(ctx->wait_keys, ctx->wait_key_count, modifier_state(), key_held, nullptr);
        if (found) { r->integer = found; return; }
        if (user_break(ctx)) return;
        plat_pump_messages(ctx);
    }
}

// IsKeyDown(keys) -> 1 when every key named is held down now: @shift (2),
// @ctrl (1), or both added; 0 otherwise, and for a value naming neither.
void fn_is_key_down(Context*, Value* r, Value* a) {
    int32_t keys = a[1].integer & 3;
    bool held = keys != 0;
    if (keys & 1) held = held && (GetAsyncKeyState(VK_CONTROL) & 0x8000);
    if (keys & 2) held = held && (GetAsyncKeyState(VK_SHIFT) & 0x8000);
    r->integer = held ? 1 : 0;
}

const FunctionEntry kTable[] = {
    {155, fn_is_key_down},  // IsKeyDown
    {209, fn_send_key},     // SendKey
    {210, fn_send_keys_to}, // SendKeysTo
    {238, fn_wait_for_key}, // WaitForKey
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyKeys, kTable)

} // namespace tsl

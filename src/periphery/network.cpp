// NetAddCon, NetCancelCon, NetGetCon, NetGetUser, NetGetCaps, NetBrowse,
// NetDialog: network connections through the system's connection functions
// (MPR). Each failure is a numbered error, and the system's own reason is
// kept in the variable NetErrorText, so a machine without a network
// answers at once with the documented number. The two dialogs are never
// shown in console mode: there they are written to standard error and
// answered with Cancel.
#include "../core/vars.h"
#include "../functions/families.h"
#include <cstdio>
#include <cstring>
#include <windows.h>
#include <winnetwk.h>

namespace tsl {

namespace {

// Keeps the system's reason for the last failure in NetErrorText; returns 0
// with the error set.
int net_fail(Context* ctx, DWORD code, uint16_t error) {
    char text[LINE_BUF] = "";
    if (code == ERROR_EXTENDED_ERROR) {
        DWORD extended;
        char provider[64];
        WNetGetLastErrorA(&extended, text, sizeof text, provider, sizeof provider);
    } else if (!FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text,
                               sizeof text - 1, nullptr)) {
        snprintf(text, sizeof text, "system error %lu", (unsigned long)code);
    }
    size_t n = strlen(text);
    while (n && (text[n - 1] == '\r' || text[n - 1] == '\n' || text[n - 1] == ' ')) text[--n] = 0;
    var_set_text(ctx, "NetErrorText", text);
    return fail(ctx, error);
}

// NetAddCon(network name, password, local name) -> 1; an empty local name
// connects without a drive letter, an empty password uses the default one.
void fn_net_add_con(Context* ctx, Value* result, Value* args) {
    char remote[PATH_BUF], local[PATH_BUF];
    lstrcpynA(remote, value_text(ctx, args[1]), sizeof remote);
    lstrcpynA(local, value_text(ctx, args[3]), sizeof local);
    const char* password = value_text(ctx, args[2]);
    NETRESOURCEA r = {};
    r.dwType = RESOURCETYPE_ANY;
    r.lpRemoteName = remote;
    r.lpLocalName = local[0] ? local : nullptr;
    DWORD e = WNetAddConnection2A(&r, password[0] ? password : nullptr, nullptr, 0);
    if (e != NO_ERROR) { net_fail(ctx, e, 1471); return; }
    result->integer = 1;
}

// NetCancelCon(name, force) -> 1: the local name ("K:") or network name;
// force nonzero closes it even with files open.
void fn_net_cancel_con(Context* ctx, Value* result, Value* args) {
    DWORD e = WNetCancelConnection2A(value_text(ctx, args[1]), 0, args[2].integer != 0);
    if (e != NO_ERROR) { net_fail(ctx, e, 1472); return; }
    result->integer = 1;
}

// NetGetCon(local name) -> the network name connected to it
void fn_net_get_con(Context* ctx, Value* result, Value* args) {
    char remote[PATH_BUF] = "";
    DWORD size = sizeof remote;
    DWORD e = WNetGetConnectionA(value_text(ctx, args[1]), remote, &size);
    if (e != NO_ERROR) { net_fail(ctx, e, 1473); return; }
    value_set_text(ctx, result, remote);
}

// NetGetUser() -> the user name the network knows
void fn_net_get_user(Context* ctx, Value* result, Value*) {
    char user[PATH_BUF] = "";
    DWORD size = sizeof user;
    DWORD e = WNetGetUserA(nullptr, user, &size);
    if (e != NO_ERROR) { net_fail(ctx, e, 1474); return; }
    value_set_text(ctx, result, user);
}

// NetGetCaps(request) -> 0: 1 when the system reports a network, else 0;
// 1: the number of network providers installed; other requests 2441.
void fn_net_get_caps(Context* ctx, Value* result, Value* args) {
    switch (args[1].integer) {
    case 0: result->integer = (GetSystemMetrics(SM_NETWORK) & 1) != 0; return;
    case 1: {
        HKEY k;
        char order[1024] = "";
        DWORD size = sizeof order - 1;
        if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SYSTEM\\CurrentControlSet\\Control\\NetworkProvider\\Order", 0,
                          KEY_QUERY_VALUE, &k) == ERROR_SUCCESS) {
            RegQueryValueExA(k, "ProviderOrder", nullptr, nullptr, (BYTE*)order, &size);
            RegCloseKey(k);
        }
        int n = order[0] ? 1 : 0;
        for (const char* p = order; *p; ++p) n += *p == ',';
        result->integer = n;
        return;
    }
    default: fail(ctx, 2441);
    }
}

// The system's connect (NetDialog) and disconnect (NetBrowse(1)) dialogs:
// 1 when the user connected or disconnected, 0 when cancelled.
void net_dialog(Context* ctx, Value* result, bool connect) {
    if (plat_console_mode()) {
        plat_write_stderr(connect ? "BOX(Map Network Drive): Cancel\r\n" : "BOX(Disconnect Network Drive): Cancel\r\n");
        return;
    }
    HWND owner = (HWND)ctx->owner;
    DWORD e = connect ? WNetConnectionDialog(owner, RESOURCETYPE_DISK) : WNetDisconnectDialog(owner, RESOURCETYPE_DISK);
    if (e == NO_ERROR) { result->integer = 1; return; }
    if (e != (DWORD)-1) net_fail(ctx, e, 1475);   // -1: the user cancelled
}

// NetBrowse(request): 0 the connect dialog, 1 the disconnect dialog
void fn_net_browse(Context* ctx, Value* result, Value* args) {
    if (args[1].integer != 0 && args[1].integer != 1) { fail(ctx, 2441); return; }
    net_dialog(ctx, result, args[1].integer == 0);
}

// NetDialog(): the connect dialog
void fn_net_dialog(Context* ctx, Value* result, Value*) { net_dialog(ctx, result, true); }

const FunctionEntry kTable[] = {
    {175, fn_net_add_con},      // NetAddCon
    {176, fn_net_browse},       // NetBrowse
    {177, fn_net_cancel_con},   // NetCancelCon
    {178, fn_net_dialog},       // NetDialog
    {179, fn_net_get_caps},     // NetGetCaps
    {180, fn_net_get_con},      // NetGetCon
    {181, fn_net_get_user},     // NetGetUser
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyNetwork, kTable)

} // namespace tsl

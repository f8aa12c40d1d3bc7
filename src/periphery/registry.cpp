// RegOpenKey, RegCreateKey, RegCloseKey, RegDeleteKey, RegQueryKey,
// RegQueryValue, RegSetValue: the real registry through key numbers.
// The root keys have fixed numbers (1 = @regroot = HKEY_CLASSES_ROOT, 2 to 5
// the others; the system's own values 0x80000000.. are taken as well); an
// opened key gets a number above REG_HANDLE_BASE that is good only in the
// context that opened it. Any other number is refused (3401) before the
// system sees it. Every key a context leaves open is closed at its shutdown.
// A "subkey[name]" argument names the value `name` of that subkey; without
// brackets a value function works on the subkey's default value.
#include "registry.h"
#include "script_handles.h"
#include "../core/bounded.h"
#include "../functions/families.h"
#include <cstdio>
#include <cstring>
#include <windows.h>

namespace tsl {

namespace {

const int32_t REG_HANDLE_BASE = 1000;
const unsigned REG_KEYS_MAX = 64;          // open keys of all contexts together
const unsigned REG_DATA_MAX = 4096;        // bytes of value data read

PHandle g_owner[REG_KEYS_MAX];
void* g_object[REG_KEYS_MAX];
HandleTable g_keys = {REG_HANDLE_BASE, REG_KEYS_MAX, g_owner, g_object};

const HKEY kRoots[] = {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS, NULL,
                       HKEY_CURRENT_CONFIG};

// The key behind a script's number, or NULL with 3401.
HKEY key_of(Context* ctx, int32_t number) {
    if (number >= 1 && number <= 5) return kRoots[number == 5 ? 5 : number - 1];
    uint32_t u = (uint32_t)number;
    if (u >= 0x80000000u && u <= 0x80000005u && u != 0x80000004u) return (HKEY)(uintptr_t)u;
    HKEY k = (HKEY)handle_get(&g_keys, ctx, number);
    if (!k) fail(ctx, 3401);
    return k;
}

// Splits "sub\key[name]" into the subkey and the value name (nullptr when
// there are no brackets). The buffers hold PATH_BUF bytes.
const char* split_value(Context* ctx, const char* arg, char* sub, char* name) {
    bounded_copy(ctx, sub, arg, PATH_BUF);
    size_t n = strlen(sub);
    if (n == 0 || sub[n - 1] != ']') return nullptr;
    char* open = strrchr(sub, '[');
    if (!open) return nullptr;
    sub[n - 1] = 0;
    bounded_copy(ctx, name, open + 1, PATH_BUF);
    *open = 0;
    return name;
}

// Returns the new key's number as the result (3402 when the table is full).
void hand_out(Context* ctx, Value* result, HKEY k) {
    int32_t n = handle_add(&g_keys, ctx, k);
    if (!n) { RegCloseKey(k); fail(ctx, 3402); return; }
    result->integer = n;
}

// RegOpenKey(key, subkey) -> number of the opened key
void fn_reg_open(Context* ctx, Value* result, Value* args) {
    HKEY parent = key_of(ctx, args[1].integer), k;
    if (!parent) return;
    if (RegOpenKeyExA(parent, value_text(ctx, args[2]), 0, KEY_ALL_ACCESS, &k) != ERROR_SUCCESS &&
        RegOpenKeyExA(parent, value_text(ctx, args[2]), 0, KEY_READ, &k) != ERROR_SUCCESS) {
        fail(ctx, 1411);
        return;
    }
    hand_out(ctx, result, k);
}

// RegCreateKey(key, subkey) -> number of the key, made when missing
void fn_reg_create(Context* ctx, Value* result, Value* args) {
    HKEY parent = key_of(ctx, args[1].integer), k;
    if (!parent) return;
    if (RegCreateKeyExA(parent, value_text(ctx, args[2]), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr) !=
        ERROR_SUCCESS) {
        fail(ctx, 1412);
        return;
    }
    hand_out(ctx, result, k);
}

// RegCloseKey(key) -> 1; a root key stays open.
void fn_reg_close(Context* ctx, Value* result, Value* args) {
    int32_t n = args[1].integer;
    if (n > REG_HANDLE_BASE) {
        HKEY k = (HKEY)handle_remove(&g_keys, ctx, n);
        if (!k) { fail(ctx, 3401); return; }
        RegCloseKey(k);
    } else if (!key_of(ctx, n)) {
        return;
    }
    result->integer = 1;
}

// Deletes a key with everything below it.
LONG delete_tree(HKEY parent, const char* sub) {
    HKEY k;
    LONG r = RegOpenKeyExA(parent, sub, 0, KEY_ALL_ACCESS, &k);
    if (r != ERROR_SUCCESS) return r;
    char child[256];
    for (;;) {
        DWORD len = sizeof child;
        if (RegEnumKeyExA(k, 0, child, &len, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        if (delete_tree(k, child) != ERROR_SUCCESS) break;
    }
    RegCloseKey(k);
    return RegDeleteKeyA(parent, sub);
}

// RegDeleteKey(key, subkey) -> 1: the subkey and all below it;
// RegDeleteKey(key, "subkey[name]") deletes that one value.
void fn_reg_delete(Context* ctx, Value* result, Value* args) {
    HKEY parent = key_of(ctx, args[1].integer);
    if (!parent) return;
    char sub[PATH_BUF], name[PATH_BUF];
    const char* value = split_value(ctx, value_text(ctx, args[2]), sub, name);
    LONG r;
    if (value) {
        HKEY k;
        r = RegOpenKeyExA(parent, sub, 0, KEY_SET_VALUE, &k);
        if (r == ERROR_SUCCESS) { r = RegDeleteValueA(k, value); RegCloseKey(k); }
    } else {
        // An empty subkey would delete the key the number stands for: refused.
        r = sub[0] ? delete_tree(parent, sub) : ERROR_INVALID_PARAMETER;
    }
    if (r != ERROR_SUCCESS) { fail(ctx, 1413); return; }
    result->integer = 1;
}

// RegQueryKey(key, index) -> the name of subkey number index (from 0), "" past the last
void fn_reg_query_key(Context* ctx, Value* result, Value* args) {
    HKEY k = key_of(ctx, args[1].integer);
    if (!k) return;
    char name[256] = "";
    DWORD len = sizeof name;
    if (args[2].integer < 0 ||
        RegEnumKeyExA(k, (DWORD)args[2].integer, name, &len, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
        name[0] = 0;
    value_set_text(ctx, result, name);
}

// Writes value data as the language's text: strings as they are, numbers
// in decimal, lists with a tab between items, other data as hex bytes.
void data_text(DWORD type, const BYTE* data, DWORD size, char* out) {
    char* o = out;
    switch (type) {
    case REG_SZ: case REG_EXPAND_SZ:
        memcpy(out, data, size);
        out[size] = 0;
        return;
    case REG_DWORD:
        snprintf(out, 16, "%ld", size >= 4 ? (long)*(const int32_t*)data : 0L);
        return;
    case REG_MULTI_SZ:
        for (DWORD i = 0; i < size; i++) *o++ = data[i] ? (char)data[i] : '\t';
        while (o > out && o[-1] == '\t') --o;   // the list's closing NULs
        *o = 0;
        return;
    default:
        for (DWORD i = 0; i < size; i++) o += snprintf(o, 4, i ? " %02X" : "%02X", data[i]);
        *o = 0;
    }
}

// RegQueryValue(key, "subkey[name]") -> the value's data as text (a number
// for REG_DWORD)
void fn_reg_query_value(Context* ctx, Value* result, Value* args) {
    HKEY parent = key_of(ctx, args[1].integer);
    if (!parent) return;
    char sub[PATH_BUF], name[PATH_BUF];
    const char* value = split_value(ctx, value_text(ctx, args[2]), sub, name);
    HKEY k;
    if (RegOpenKeyExA(parent, sub, 0, KEY_QUERY_VALUE, &k) != ERROR_SUCCESS) { fail(ctx, 1414); return; }
    BYTE data[REG_DATA_MAX + 2];
    DWORD type = 0, size = REG_DATA_MAX;
    LONG r = RegQueryValueExA(k, value ? value : "", nullptr, &type, data, &size);
    RegCloseKey(k);
    if (r != ERROR_SUCCESS) { fail(ctx, r == ERROR_MORE_DATA ? 1416 : 1414); return; }
    data[size] = data[size + 1] = 0;
    char* text = value_alloc_text(ctx, result, 3 * size + 16);   // room for the longest form, hex
    if (!text) return;
    data_text(type, data, size, text);
    if (type == REG_DWORD) { result->integer = size >= 4 ? *(const int32_t*)data : 0; result->flags |= VF_INT; }
}

// RegSetValue(key, "subkey[name]", text) -> 1; the subkey is made when missing.
void fn_reg_set_value(Context* ctx, Value* result, Value* args) {
    HKEY parent = key_of(ctx, args[1].integer);
    if (!parent) return;
    char sub[PATH_BUF], name[PATH_BUF];
    const char* value = split_value(ctx, value_text(ctx, args[2]), sub, name);
    HKEY k;
    if (RegCreateKeyExA(parent, sub, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &k, nullptr) != ERROR_SUCCESS) {
        fail(ctx, 1415);
        return;
    }
    const char* text = value_text(ctx, args[3]);
    LONG r = RegSetValueExA(k, value ? value : "", 0, REG_SZ, (const BYTE*)text, (DWORD)strlen(text) + 1);
    RegCloseKey(k);
    if (r != ERROR_SUCCESS) { fail(ctx, 1415); return; }
    result->integer = 1;
}

void close_key(void* k) { RegCloseKey((HKEY)k); }

const FunctionEntry kTable[] = {
    {191, fn_reg_close},        // RegCloseKey
    {192, fn_reg_create},       // RegCreateKey
    {193, fn_reg_delete},       // RegDeleteKey
    {194, fn_reg_open},         // RegOpenKey
    {195, fn_reg_query_key},    // RegQueryKey
    {196, fn_reg_query_value},  // RegQueryValue
    {197, fn_reg_set_value},    // RegSetValue
};

} // namespace

void registry_close_all(Context* ctx) { handle_release_all(&g_keys, ctx, close_key); }

TSL_FAMILY_DEFINE(kFamilyRegistry, kTable)

} // namespace tsl

// INI files (the user's profile and private files, through the system's
// profile functions) and the process environment.
#include "../core/bounded.h"
#include "../functions/families.h"
#include <windows.h>
#include <cstring>
#include <string>

namespace tsl {

namespace {

const unsigned INI_VALUE_BUF = 257;     // a value is cut at 256 characters
const unsigned ITEMIZE_BUF = 32000;
const unsigned SECTION_NAME_MAX = 254;
const char* const WHOLE_SECTION = "692837";   // the text of @wholesection

// IniRead(section, key, default) and IniReadPvt(section, key, default, file)
void read_value(Context* ctx, Value* result, Value* args, const char* file) {
    char buf[INI_VALUE_BUF];
    const char* section = value_text(ctx, args[1]);
    const char* key = value_text(ctx, args[2]);
    const char* def = value_text(ctx, args[3]);
    if (file) GetPrivateProfileStringA(section, key, def, buf, sizeof buf, file);
    else GetProfileStringA(section, key, def, buf, sizeof buf);
    value_set_text(ctx, result, buf);
}
void fn_ini_read(Context* ctx, Value* result, Value* args) { read_value(ctx, result, args, nullptr); }
void fn_ini_read_pvt(Context* ctx, Value* result, Value* args) {
    read_value(ctx, result, args, value_text(ctx, args[4]));
}

// IniWrite(section, key, value) -> 1; announces the changed section to
// every top-level window (message 26 with the section in a shared block).
// The block holds the section in UTF-16 and goes out through the wide send:
// the system hands each window its own form of the text. (Under Wine an
// ANSI broadcast reaches ANSI windows with the text garbled.)
void fn_ini_write(Context* ctx, Value* result, Value* args) {
    const char* section = value_text(ctx, args[1]);
    WriteProfileStringA(section, value_text(ctx, args[2]), value_text(ctx, args[3]));
    int n = MultiByteToWideChar(CP_ACP, 0, section, -1, nullptr, 0);
    HGLOBAL block = n > 0 ? GlobalAlloc(GMEM_MOVEABLE | GMEM_SHARE, (SIZE_T)n * sizeof(WCHAR)) : nullptr;
    WCHAR* copy = block ? (WCHAR*)GlobalLock(block) : nullptr;
    if (!copy) { if (block) GlobalFree(block); fail(ctx, 3096); return; }
    MultiByteToWideChar(CP_ACP, 0, section, -1, copy, n);
    DWORD_PTR answer;
    // A hung window must not hang the script: give up on it after 5 s.
    SendMessageTimeoutW(HWND_BROADCAST, WM_WININICHANGE, 0, (LPARAM)copy, SMTO_ABORTIFHUNG, 5000, &answer);
    GlobalUnlock(block);
    GlobalFree(block);
    result->integer = 1;
}
// IniWritePvt(section, key, value, file) -> 1; announces nothing
void fn_ini_write_pvt(Context* ctx, Value* result, Value* args) {
    WritePrivateProfileStringA(value_text(ctx, args[1]), value_text(ctx, args[2]), value_text(ctx, args[3]),
                               value_text(ctx, args[4]));
    result->integer = 1;
}

// IniDelete(section, key) and IniDeletePvt(section, key, file): the key, or
// with @wholesection ("692837") the whole section.
void delete_key(Context* ctx, Value* args, const char* file) {
    const char* section = value_text(ctx, args[1]);
    const char* key = value_text(ctx, args[2]);
    if (strcmp(key, WHOLE_SECTION) == 0) key = nullptr;
    if (file) WritePrivateProfileStringA(section, key, nullptr, file);
    else WriteProfileStringA(section, key, nullptr);
}
void fn_ini_delete(Context* ctx, Value*, Value* args) { delete_key(ctx, args, nullptr); }
void fn_ini_delete_pvt(Context* ctx, Value*, Value* args) { delete_key(ctx, args, value_text(ctx, args[3])); }

// The section names of an INI file, read from the file itself, tab-separated.
// A line whose first non-blank is "[" names a section up to "]"; a line end
// before the "]" drops the name.
bool section_names(const char* file, std::string* out) {
    HANDLE h = CreateFileA(file, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    enum { LINE_START, IN_NAME, REST } state = LINE_START;
    std::string name;
    char block[257];
    DWORD got;
    while (ReadFile(h, block, sizeof block, &got, nullptr) && got > 0) {
        for (DWORD i = 0; i < got; i++) {
            char c = block[i];
            if (c == '\r' || c == '\n') { state = LINE_START; name.clear(); continue; }
            if (state == LINE_START) {
                if (c == ' ' || c == '\t') continue;
                state = c == '[' ? IN_NAME : REST;
            } else if (state == IN_NAME) {
                if (c == ']') {
                    if (!out->empty()) *out += '\t';
                    *out += name;
                    name.clear();
                    state = REST;
                } else if (name.size() < SECTION_NAME_MAX) {
                    name += c;
                }
            }
        }
    }
    CloseHandle(h);
    return true;
}

// IniItemize(section) and IniItemizePvt(section, file): the section's keys
// separated by tabs ("(NONE)" for none), or for an empty section the
// file's section names ("WIN.INI" relative to the current directory for
// the profile, deliberately).
void itemize(Context* ctx, Value* result, const char* section, const char* file) {
    if (!*section) {
        const char* name = file ? file : "WIN.INI";
        std::string out;
        if (!section_names(name, &out)) out = std::string("(File not found)\t") + name;
        value_set_text(ctx, result, out.c_str());
        return;
    }
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, ITEMIZE_BUF);
    char* buf = block ? (char*)GlobalLock(block) : nullptr;
    if (!buf) { if (block) GlobalFree(block); fail(ctx, 3096); return; }
    DWORD n = file ? GetPrivateProfileStringA(section, nullptr, "(NONE)", buf, ITEMIZE_BUF, file)
                   : GetProfileStringA(section, nullptr, "(NONE)", buf, ITEMIZE_BUF);
    if (n == 0) bounded_copy(ctx, buf, "(NONE)", ITEMIZE_BUF);
    // Key names are NUL-separated up to a double NUL: the NULs become tabs.
    for (DWORD i = 0; i + 1 < n; i++) if (buf[i] == 0) buf[i] = '\t';
    value_set_text(ctx, result, buf);
    GlobalUnlock(block);
    GlobalFree(block);
}
void fn_ini_itemize(Context* ctx, Value* result, Value* args) {
    itemize(ctx, result, value_text(ctx, args[1]), nullptr);
}
void fn_ini_itemize_pvt(Context* ctx, Value* result, Value* args) {
    itemize(ctx, result, value_text(ctx, args[1]), value_text(ctx, args[2]));
}

// A variable's value cut at 256 characters; false when it does not exist.
bool env_value(const char* name, char* out) {
    char small[INI_VALUE_BUF];
    DWORD n = GetEnvironmentVariableA(name, small, sizeof small);
    if (n == 0) return false;
    if (n < sizeof small) { bounded_copy(nullptr, out, small, INI_VALUE_BUF); return true; }
    std::string big(n, '\0');
    n = GetEnvironmentVariableA(name, &big[0], n);
    if (n == 0) return false;
    big.resize(n > INI_VALUE_BUF - 1 ? INI_VALUE_BUF - 1 : n);
    bounded_copy(nullptr, out, big.c_str(), INI_VALUE_BUF);
    return true;
}

// Environment(name) -> the value, "" when unknown; tried again in upper case
void fn_environment(Context* ctx, Value* result, Value* args) {
    char name[LINE_BUF], value[INI_VALUE_BUF] = "";
    bounded_copy(ctx, name, value_text(ctx, args[1]), sizeof name);
    if (ctx->error) return;
    if (!env_value(name, value)) {
        CharUpperA(name);
        if (!env_value(name, value)) value[0] = 0;
    }
    value_set_text(ctx, result, value);
}

// EnvironSet(name, value) -> non-zero on success; an empty value removes it
void fn_environ_set(Context* ctx, Value* result, Value* args) {
    const char* value = value_text(ctx, args[2]);
    result->integer = SetEnvironmentVariableA(value_text(ctx, args[1]), *value ? value : nullptr) ? 1 : 0;
}

// EnvItemize() -> "name=value\n" for every entry of the environment block
void fn_env_itemize(Context* ctx, Value* result, Value*) {
    char* env = GetEnvironmentStringsA();
    if (!env) { value_set_text(ctx, result, ""); return; }
    std::string out;
    for (const char* p = env; *p; p += strlen(p) + 1) { out += p; out += '\n'; }
    FreeEnvironmentStringsA(env);
    value_set_text_n(ctx, result, out.data(), (unsigned)out.size());
}

const FunctionEntry kTable[] = {
    {105, fn_environment},       // Environment
    {106, fn_environ_set},       // EnvironSet
    {107, fn_env_itemize},       // EnvItemize
    {145, fn_ini_delete},        // IniDelete
    {146, fn_ini_delete_pvt},    // IniDeletePvt
    {147, fn_ini_itemize},       // IniItemize
    {148, fn_ini_itemize_pvt},   // IniItemizePvt
    {149, fn_ini_read},          // IniRead
    {150, fn_ini_read_pvt},      // IniReadPvt
    {151, fn_ini_write},         // IniWrite
    {152, fn_ini_write_pvt},     // IniWritePvt
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyIniEnv, kTable)

} // namespace tsl

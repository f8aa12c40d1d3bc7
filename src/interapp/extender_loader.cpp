// Loading a command extender. The library named by CMDEXTDLL ([MAIN] of
// TSLPROCS.INI, default TSXDNETX.DLL, "(NONE)" for none) is searched like
// a program's DLL; a missing or unloadable file is noted in the settings
// as CmdExtDllError = "Dll Not Found", and the key goes again after a good
// load. All four entries must exist and COMEXT_INIT must answer neither 0
// nor -1, or the library stays loaded but is never called. Command i that
// COMEXT_GETNEWCOMMAND delivers becomes keyword record 272 + i; a refused
// definition shows "COMDLL Definition Error" and leaves its record empty,
// so the commands after it keep their ids.
#include <windows.h>
#include <cstring>
#include "../../include/tslpr32i.h"
#include "extender_loader.h"
#include "../core/bounded.h"
#include "../core/command_call.h"
#include "../core/startup_win32.h"

namespace tsl {

namespace {

const char kSettings[] = "TSLPROCS.INI";
const char kErrorKey[] = "CmdExtDllError";
const char kErrorDefault[] = "-";  // what reading the absent key gives

struct Extender {
    HMODULE module;
    HINSTANCE host;                  // host instance of the first attach
    TslExtInitProc init;
    TslExtGetCommandProc get_command;
    TslCommandProc process;
    TslExtDoneProc done;
    bool accepted;
};
Extender g_ext;

// An entry by its plain name, or by the decorated __stdcall names that a
// 32-bit compiler gives it without a .def file (NAME@N, _NAME@N).
FARPROC entry(HMODULE m, const char* name, int arg_bytes) {
    FARPROC p = GetProcAddress(m, name);
    if (p || sizeof(void*) != 4) return p;
    char size[32], decorated[48];
    integer_to_text(arg_bytes, size, 10);
    decorated[0] = '_';
    bounded_copy(nullptr, decorated + 1, name, sizeof decorated - 1);
    bounded_append(nullptr, decorated, "@", sizeof decorated);
    bounded_append(nullptr, decorated, size, sizeof decorated);
    if ((p = GetProcAddress(m, decorated + 1)) != nullptr) return p;  // NAME@N
    return GetProcAddress(m, decorated);                              // _NAME@N
}

// CmdExtDllError = "Dll Not Found", written only when it says something
// else: every host start without an extender would rewrite the file.
void note_missing() {
    char note[64];
    GetPrivateProfileStringA("MAIN", kErrorKey, kErrorDefault, note, sizeof note, kSettings);
    if (strcmp(note, "Dll Not Found") != 0) WritePrivateProfileStringA("MAIN", kErrorKey, "Dll Not Found", kSettings);
}

// The library by the file name of the setting: the path as given, else
// the program's directory, the current directory, the system directories
// and PATH. nullptr (and the note in the settings) when it is not there.
HMODULE load_library(const char* name) {
    char full[MAX_PATH];
    HMODULE m = nullptr;
    if (SearchPathA(nullptr, name, nullptr, sizeof full, full, nullptr)) m = LoadLibraryA(full);
    if (!m) note_missing();
    return m;
}

void clear_error_note() {
    char note[64];
    GetPrivateProfileStringA("MAIN", kErrorKey, kErrorDefault, note, sizeof note, kSettings);
    if (strcmp(note, kErrorDefault) != 0) WritePrivateProfileStringA("MAIN", kErrorKey, nullptr, kSettings);
}

// A definition the table can take: a name of 1..13 characters, and a
// function of at most five arguments or a constant.
bool acceptable(long kind, long value, const char* name, unsigned len) {
    if (len == 0 || len >= TSL_EXTENDER_NAME_SIZE || !name[0]) return false;
    if (kind == KW_FUNCTION) return value >= 0 && value <= TSL_EXTENDER_MAX_ARGS;
    return kind == KW_CONSTANT;
}

void store_record(unsigned index, long kind, long value, const char* name, unsigned len) {
    KeywordRecord& r = g_keywords[EXTENDER_BASE + index];
    memset(&r, 0, sizeof r);
    r.id = (uint16_t)(EXTENDER_BASE + index);
    r.kind = (uint16_t)kind;
    if (kind == KW_FUNCTION) {
        r.arg_count = (uint16_t)value;
        r.str_mask = 0x1f;  // every argument reaches the extender as text
    } else {
        r.arg_count = (uint16_t)((uint32_t)value & 0xFFFF);
        r.str_mask = (uint16_t)((uint32_t)value >> 16);
    }
    r.name_len = (uint16_t)len;
    for (unsigned k = 0; k < len; ++k) r.name[k] = (char)plat_lower_char((unsigned char)name[k]);
    if (g_keyword_count < EXTENDER_BASE + index + 1) g_keyword_count = (uint16_t)(EXTENDER_BASE + index + 1);
}

void take_commands() {
    for (unsigned i = 0; i < EXTENDER_MAX_COMMANDS; ++i) {
        long kind = 0, value = 0;
        char name[TSL_EXTENDER_NAME_SIZE + 1];
        memset(name, 0, sizeof name);
        if (g_ext.get_command(g_ext.host, g_module, TSL_INTERFACE_MAGIC, (long)i, (long)(EXTENDER_MAX_COMMANDS - i),
                              &kind, &value, name, TSL_EXTENDER_NAME_SIZE) != 1)
            break;
        unsigned len = (unsigned)strnlen(name, TSL_EXTENDER_NAME_SIZE);
        if (acceptable(kind, value, name, len)) store_record(i, kind, value, name, len);
        else plat_message_box(nullptr, name, "COMDLL Definition Error", BOX_OK | BOX_ICONSTOP);
    }
}

} // namespace

void extender_load(Context* ctx) {
    char file[PATH_BUF];
    plat_profile_string(kSettings, "MAIN", "CMDEXTDLL", "TSXDNETX.DLL", file, sizeof file);
    if (lstrcmpiA(file, "(NONE)") == 0 || !file[0]) return;
    g_ext.module = load_library(file);
    if (!g_ext.module) return;
    clear_error_note();
    g_ext.host = (HINSTANCE)ctx->host_instance;
    g_ext.init = (TslExtInitProc)(void*)entry(g_ext.module, "COMEXT_INIT", 16);
    g_ext.get_command = (TslExtGetCommandProc)(void*)entry(g_ext.module, "COMEXT_GETNEWCOMMAND", 36);
    g_ext.process = (TslCommandProc)(void*)entry(g_ext.module, "COMEXT_PROCESSCOMMAND", 44);
    g_ext.done = (TslExtDoneProc)(void*)entry(g_ext.module, "COMEXT_DONE", 12);
    if (!g_ext.init || !g_ext.get_command || !g_ext.process || !g_ext.done) return;
    g_extender_init_value = (int32_t)g_ext.init(g_ext.host, g_module, TSL_INTERFACE_MAGIC, 0);
    if (g_extender_init_value == 0 || g_extender_init_value == -1) return;
    g_ext.accepted = true;
    g_extender_proc = (CommandProc)g_ext.process;
    take_commands();
}

void extender_unload() {
    if (g_ext.accepted) g_ext.done(g_ext.host, g_module, TSL_INTERFACE_MAGIC);
    if (g_ext.module) FreeLibrary(g_ext.module);
    memset(&g_ext, 0, sizeof g_ext);
    memset(&g_keywords[EXTENDER_BASE], 0, sizeof(KeywordRecord) * EXTENDER_MAX_COMMANDS);
    g_keyword_count = KEYWORD_BUILTIN_COUNT;
    g_extender_proc = nullptr;
    g_extender_init_value = 0;
}

} // namespace tsl

// File lists and names: FileItemize, DirItemize, the name splitter's
// functions, FileFullName, FileMapName, FileLocate, FileExist, FileSize,
// attributes, FileTimeGet, FileTimeTouch and the two engine try-outs.
#include "file_lists.h"
#include "replace_dialog.h"
#include "../core/bounded.h"
#include "../core/command_call.h"
#include "../functions/families.h"
#include <windows.h>
#include <cstring>
#include <string>

namespace tsl {

namespace {

const unsigned PATTERN_MAX = 256;

// FileItemize and DirItemize. An empty list asks the host's "itemizenull"
// command ("0" files, "1" directories) when the host has one. Otherwise
// the list is cut at spaces, commas and semicolons; each pattern's matches
// are listed bare, each followed by a space, in the system's order; a
// pattern without matches is passed over. The result goes OEM to ANSI.
void itemize(Context* ctx, Value* result, const char* list, bool dirs) {
    if (!*list) {
        int index = host_command_index(ctx, "itemizenull");
        if (index >= 0) command_call(ctx, HOST_COMMAND_BASE + index, result, dirs ? "1" : "0");
        else value_set_text(ctx, result, "");
        return;
    }
    std::string out;
    const char* p = list;
    while (*p) {
        while (*p == ' ' || *p == ',' || *p == ';') p++;
        const char* start = p;
        while (*p && *p != ' ' && *p != ',' && *p != ';') p++;
        if (p == start) break;
        char pattern[PATTERN_MAX + 1];
        bounded_copy(ctx, pattern, std::string(start, (size_t)(p - start)).c_str(), sizeof pattern);
        WIN32_FIND_DATAA fd;
        HANDLE h = FindFirstFileA(pattern, &fd);
        if (h == INVALID_HANDLE_VALUE) continue;
        do {
            bool is_dir = (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
            if (dirs ? (is_dir && fd.cFileName[0] != '.') : !is_dir) { out += fd.cFileName; out += ' '; }
        } while (FindNextFileA(h, &fd));
        FindClose(h);
    }
    char* text = value_alloc_text(ctx, result, (unsigned)out.size() + 1);
    if (!text) return;
    memcpy(text, out.c_str(), out.size() + 1);
    OemToCharBuffA(text, text, (DWORD)out.size());
}

// FileItemize(list) -> "name name ... "
void fn_file_itemize(Context* ctx, Value* result, Value* args) { itemize(ctx, result, value_text(ctx, args[1]), false); }
// DirItemize(list) -> "dir dir ... " (never "." or "..")
void fn_dir_itemize(Context* ctx, Value* result, Value* args) { itemize(ctx, result, value_text(ctx, args[1]), true); }

// FileExtension(name), FilePath(name), FileRoot(name)
void fn_file_extension(Context* ctx, Value* result, Value* args) {
    NameParts np;
    name_split(value_text(ctx, args[1]), &np);
    value_set_text(ctx, result, np.ext);
}
void fn_file_path(Context* ctx, Value* result, Value* args) {
    NameParts np;
    name_split(value_text(ctx, args[1]), &np);
    std::string path = std::string(np.drive) + np.dir;
    value_set_text(ctx, result, path.c_str());
}
void fn_file_root(Context* ctx, Value* result, Value* args) {
    NameParts np;
    name_split(value_text(ctx, args[1]), &np);
    value_set_text(ctx, result, np.root);
}

// FileFullName(name) -> drive, directory, root and extension
void fn_file_full_name(Context* ctx, Value* result, Value* args) {
    char full[FULL_NAME_MAX];
    if (!full_name(value_text(ctx, args[1]), full, sizeof full)) { fail(ctx, 1323); return; }
    value_set_text(ctx, result, full);
}

// FileMapName(name, mask) -> the name mapped through the mask
void fn_file_map_name(Context* ctx, Value* result, Value* args) {
    char mapped[FULL_NAME_MAX];
    if (!map_name(value_text(ctx, args[1]), value_text(ctx, args[2]), mapped, sizeof mapped)) {
        fail(ctx, 1324);
        return;
    }
    value_set_text(ctx, result, mapped);
}

// The name as given (relative to the current directory), then in each
// directory of PATH, as the runtime's environment search does. PATH is read
// from the process environment at each call, so EnvironSet takes effect.
bool search_path(const char* name, char* found) {
    found[0] = 0;
    if (!*name) return false;
    auto try_name = [&](const char* candidate) {
        if (GetFileAttributesA(candidate) == INVALID_FILE_ATTRIBUTES) return false;
        DWORD n = GetFullPathNameA(candidate, MAX_PATH + 1, found, nullptr);
        if (n == 0 || n > MAX_PATH) { found[0] = 0; return false; }
        return true;
    };
    if (try_name(name)) return true;
    DWORD n = GetEnvironmentVariableA("PATH", nullptr, 0);
    if (n == 0) return false;
    std::string path(n, '\0');
    path.resize(GetEnvironmentVariableA("PATH", &path[0], n));
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find(';', start);
        if (end == std::string::npos) end = path.size();
        std::string dir = path.substr(start, end - start);
        if (!dir.empty()) {
            if (dir.back() != '\\' && dir.back() != '/') dir += '\\';
            if (try_name((dir + name).c_str())) return true;
        }
        start = end + 1;
    }
    return false;
}

// FileLocate(name) -> the full name found, "" when none
void fn_file_locate(Context* ctx, Value* result, Value* args) {
    char found[MAX_PATH + 1];
    search_path(value_text(ctx, args[1]), found);
    value_set_text(ctx, result, found);
}

// FileExist(name) -> 1 found, 0 not
void fn_file_exist(Context* ctx, Value* result, Value* args) {
    char found[MAX_PATH + 1];
    result->integer = search_path(value_text(ctx, args[1]), found) ? 1 : 0;
}

// FileSize(list) -> the 32-bit sum of the files' sizes (0 for one that cannot be opened)
int size_file(Context*, const char* full, const char*, void* user) {
    HANDLE h = CreateFileA(full, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return 1;
    *(uint32_t*)user += SetFilePointer(h, 0, nullptr, FILE_END);
    CloseHandle(h);
    return 1;
}
void fn_file_size(Context* ctx, Value* result, Value* args) {
    uint32_t total = 0;
    file_list_each(ctx, value_text(ctx, args[1]), 0, size_file, &total);
    result->integer = (int32_t)total;
}

// FileAttrGet(name) -> "SUBDIR", or "RASH" with "-" for each attribute absent
void fn_file_attr_get(Context* ctx, Value* result, Value* args) {
    DWORD a = GetFileAttributesA(value_text(ctx, args[1]));
    if (a == INVALID_FILE_ATTRIBUTES) { fail(ctx, 1083); return; }
    if (a & FILE_ATTRIBUTE_DIRECTORY) { value_set_text(ctx, result, "SUBDIR"); return; }
    char text[5] = "----";
    if (a & FILE_ATTRIBUTE_READONLY) text[0] = 'R';
    if (a & FILE_ATTRIBUTE_ARCHIVE) text[1] = 'A';
    if (a & FILE_ATTRIBUTE_SYSTEM) text[2] = 'S';
    if (a & FILE_ATTRIBUTE_HIDDEN) text[3] = 'H';
    value_set_text(ctx, result, text);
}

// FileAttrSet(list, letters): capitals R A S H set, small letters clear, in order
int attr_file(Context* ctx, const char* full, const char*, void* user) {
    DWORD a = GetFileAttributesA(full);
    if (a == INVALID_FILE_ATTRIBUTES) return fail(ctx, 1086);
    static const struct { char letter; DWORD bit; } kLetters[] = {
        {'R', FILE_ATTRIBUTE_READONLY}, {'A', FILE_ATTRIBUTE_ARCHIVE},
        {'S', FILE_ATTRIBUTE_SYSTEM},   {'H', FILE_ATTRIBUTE_HIDDEN},
    };
    for (const char* p = (const char*)user; *p; p++)
        for (const auto& l : kLetters) {
            if (*p == l.letter) a |= l.bit;
            else if (*p == (char)(l.letter | 0x20)) a &= ~l.bit;
        }
    // Keep what SetFileAttributes accepts; directory and similar bits are not settable.
    a &= FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_HIDDEN |
         FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_OFFLINE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    if (!SetFileAttributesA(full, a ? a : FILE_ATTRIBUTE_NORMAL)) return fail(ctx, 1086);
    return 1;
}
void fn_file_attr_set(Context* ctx, Value* result, Value* args) {
    result->integer = file_list_each(ctx, value_text(ctx, args[1]), 0, attr_file, (void*)value_text(ctx, args[2]));
}

// FileTimeGet(name) -> the last-write time in the INTL layout (17 characters)
void fn_file_time_get(Context* ctx, Value* result, Value* args) {
    WIN32_FILE_ATTRIBUTE_DATA fa;
    if (!GetFileAttributesExA(value_text(ctx, args[1]), GetFileExInfoStandard, &fa)) { fail(ctx, 1125); return; }
    char text[FILE_TIME_TEXT];
    file_time_text(fa.ftLastWriteTime.dwLowDateTime, fa.ftLastWriteTime.dwHighDateTime, text);
    value_set_text(ctx, result, text);
}

// FileTimeTouch(list): the last-write time becomes now
int touch_file(Context* ctx, const char* full, const char*, void*) {
    HANDLE h = CreateFileA(full, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return fail(ctx, 1128);
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    SetFileTime(h, nullptr, nullptr, &now);
    CloseHandle(h);
    return 1;
}
void fn_file_time_touch(Context* ctx, Value* result, Value* args) {
    result->integer = file_list_each(ctx, value_text(ctx, args[1]), 0, touch_file, nullptr);
}

// FileNameEval1(list): a box for each full name the engine produces
int eval1_file(Context* ctx, const char* full, const char*, void*) {
    plat_message_box(ctx->owner, full, "FileNameEval1", BOX_OK);
    return 1;
}
void fn_file_name_eval1(Context* ctx, Value* result, Value* args) {
    result->integer = file_list_each(ctx, value_text(ctx, args[1]), 0, eval1_file, nullptr);
}

// FileNameEval2(list, mask): maps each file, asks as a copy would, shows
// the outcome; nothing is copied.
struct Eval2 { const char* mask; ReplaceCall replace; };
int eval2_file(Context* ctx, const char* full, const char*, void* user) {
    Eval2* e = (Eval2*)user;
    char mapped[FULL_NAME_MAX];
    if (!map_name(full, e->mask, mapped, sizeof mapped)) return 0;
    bool replace = replace_decide(ctx, &e->replace, full, mapped);
    if (ctx->error) return 0;
    plat_message_box(ctx->owner, mapped, replace ? "FileNameEval2 File OverWritten" : "FileNameEval2 File Untouched",
                     BOX_OK);
    return 1;
}
void fn_file_name_eval2(Context* ctx, Value* result, Value* args) {
    Eval2 e{value_text(ctx, args[2]), {0}};
    replace_begin(&e.replace, 1);
    result->integer = file_list_each(ctx, value_text(ctx, args[1]), 0, eval2_file, &e);
}

const FunctionEntry kTable[] = {
    {92, fn_dir_itemize},       // DirItemize
    {114, fn_file_attr_get},    // FileAttrGet
    {115, fn_file_attr_set},    // FileAttrSet
    {119, fn_file_exist},       // FileExist
    {120, fn_file_extension},   // FileExtension
    {121, fn_file_full_name},   // FileFullName
    {122, fn_file_itemize},     // FileItemize
    {123, fn_file_locate},      // FileLocate
    {124, fn_file_map_name},    // FileMapName
    {126, fn_file_name_eval1},  // FileNameEval1
    {127, fn_file_name_eval2},  // FileNameEval2
    {129, fn_file_path},        // FilePath
    {132, fn_file_root},        // FileRoot
    {133, fn_file_size},        // FileSize
    {134, fn_file_time_get},    // FileTimeGet
    {135, fn_file_time_touch},  // FileTimeTouch
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyFileNames, kTable)

} // namespace tsl

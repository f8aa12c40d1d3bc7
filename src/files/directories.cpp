// Directories and disks: LogDisk, DirChange, DirMake, DirRemove, DirRename,
// DirExist, DirGet, DirHome, DirWindows, DiskFree, DiskScan. Each drive's
// current directory is kept in the environment as "=X:" (X the drive).
#include "file_lists.h"
#include "../core/bounded.h"
#include "../functions/families.h"
#include <windows.h>
#include <cstring>

namespace tsl {

namespace {

// Path preparation: at most 256 characters, upper-cased with the system's
// case mapping, then converted to the OEM character set in place.
void prepare_path(Context* ctx, const char* from, char* path) {
    bounded_copy(ctx, path, from, LINE_BUF);
    CharUpperA(path);
    CharToOemA(path, path);
}

bool has_drive(const char* p) { return p[0] && p[1] == ':'; }
bool is_sep(char c) { return c == '\\' || c == '/'; }

// Selects a drive (and with it the system's current directory there).
// The letter must be A..Z (ASCII upper-casing), else 3026.
int log_disk(Context* ctx, char letter) {
    letter = (char)(letter & ~0x20);
    if (letter < 'A' || letter > 'Z') return fail(ctx, 3026);
    char drive[3] = {letter, ':', 0};
    SetCurrentDirectoryA(drive);   // the outcome is deliberately not checked
    return 1;
}

void relog(char letter) {
    if (!letter) return;
    char drive[3] = {letter, ':', 0};
    SetCurrentDirectoryA(drive);
}

// Stores the system's current directory in its drive's "=X:" variable.
void remember_current_dir() {
    char cur[MAX_PATH + 1];
    DWORD n = GetCurrentDirectoryA(sizeof cur, cur);
    if (n < 2 || n >= sizeof cur || cur[1] != ':') return;
    char var[4] = {'=', (char)(cur[0] & ~0x20), ':', 0};
    SetEnvironmentVariableA(var, cur);
}

// LogDisk(drive) -> 1, or 0 with 3026 for a character that is no drive letter
void fn_log_disk(Context* ctx, Value* result, Value* args) {
    result->integer = log_disk(ctx, value_text(ctx, args[1])[0]);
}

// DirChange(path) -> 1 changed, 0 failed (1031)
void fn_dir_change(Context* ctx, Value* result, Value* args) {
    char path[LINE_BUF];
    prepare_path(ctx, value_text(ctx, args[1]), path);
    if (ctx->error) return;
    const char* target = path;
    char cur[MAX_PATH + 1];
    if (has_drive(path)) {
        if (!log_disk(ctx, path[0])) return;
        target = path + 2;
        size_t n = strlen(target);
        if (n == 0) {
            if (!drive_current_dir(path[0], cur, sizeof cur)) { fail(ctx, 1031); return; }
            size_t m = strlen(cur);
            if (m > 3) cur[m - 1] = 0;   // "C:\TEMP\" -> "C:\TEMP"; a root keeps its "\"
            target = cur;
        } else if (n > 2 && target[n - 1] == '\\') {
            path[2 + n - 1] = 0;
        }
    } else {
        size_t n = strlen(path);
        if (n > 2 && path[n - 1] == '\\') path[n - 1] = 0;
    }
    if (!SetCurrentDirectoryA(target)) { fail(ctx, 1031); return; }
    remember_current_dir();
    result->integer = 1;
}

// DirMake(list) and DirRemove(list): wildcards forbidden (3322).
struct DirOp { bool make; };
int dir_op(Context* ctx, const char*, const char* item, void* user) {
    bool make = ((DirOp*)user)->make;
    char start = current_drive();
    char path[LINE_BUF];
    prepare_path(ctx, item, path);
    if (ctx->error) return 0;
    char* name = path;
    if (has_drive(path)) {
        if (!log_disk(ctx, path[0])) { relog(start); return 0; }
        name = path + 2;
    }
    size_t n = strlen(name);
    if (n && name[n - 1] == '\\') {
        // DirRemove keeps a sole "\" and the second "\" of a name that begins with one.
        bool keep = !make && (n == 1 || (n == 2 && name[0] == '\\'));
        if (!keep) name[n - 1] = 0;
    }
    BOOL ok = make ? CreateDirectoryA(name, nullptr) : RemoveDirectoryA(name);
    relog(start);
    if (!ok) return fail(ctx, make ? 1029 : 1030);
    return 1;
}
void fn_dir_make(Context* ctx, Value* result, Value* args) {
    DirOp op{true};
    result->integer = file_list_each(ctx, value_text(ctx, args[1]), FL_NO_WILDCARDS, dir_op, &op);
}
void fn_dir_remove(Context* ctx, Value* result, Value* args) {
    DirOp op{false};
    result->integer = file_list_each(ctx, value_text(ctx, args[1]), FL_NO_WILDCARDS, dir_op, &op);
}

// DirRename(from, to) -> 1, or 0 (1025, 2203, 2204)
void fn_dir_rename(Context* ctx, Value* result, Value* args) {
    char from[LINE_BUF], to[LINE_BUF];
    prepare_path(ctx, value_text(ctx, args[1]), from);
    prepare_path(ctx, value_text(ctx, args[2]), to);
    if (ctx->error) return;
    if (has_drive(from) && has_drive(to) && from[0] != to[0]) { fail(ctx, 1025); return; }
    if (!has_drive(from) && has_drive(to)) { fail(ctx, 2204); return; }
    if (strpbrk(from, " ,\t")) { fail(ctx, 2203); return; }
    if (strpbrk(to, " ,\t")) { fail(ctx, 2204); return; }
    char start = current_drive();
    const char* src = from;
    const char* dst = to;
    if (has_drive(from)) {
        if (!log_disk(ctx, from[0])) { relog(start); return; }
        src = from + 2;
        // Kept quirk: the target's drive goes only when the shortened
        // source has a ":" as its third character.
        if (strlen(src) >= 3 && src[2] == ':' && has_drive(to)) dst = to + 2;
    }
    BOOL ok = MoveFileA(src, dst);
    relog(start);
    if (!ok) { fail(ctx, 1025); return; }
    result->integer = 1;
}

// DirExist(path) -> 1 an existing directory, else 0. A root ("C:\" or "\",
// "/" in place of "\" too) is asked for its attributes instead of searched: a search finds no entry
// for a bare root on Windows, so an existing drive would answer 0.
void fn_dir_exist(Context* ctx, Value* result, Value* args) {
    char path[LINE_BUF];
    bounded_copy(ctx, path, value_text(ctx, args[1]), sizeof path);
    if (ctx->error) return;
    size_t n = strlen(path);
    bool root = (n == 3 && path[1] == ':' && is_sep(path[2])) || (n == 1 && is_sep(path[0]));
    if (root) {
        DWORD a = GetFileAttributesA(path);
        result->integer = (a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY)) ? 1 : 0;
        return;
    }
    if (n && path[n - 1] == '\\') path[n - 1] = 0;
    WIN32_FIND_DATAA fd;
    HANDLE h = FindFirstFileA(path, &fd);
    if (h == INVALID_HANDLE_VALUE) return;
    FindClose(h);
    result->integer = (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) ? 1 : 0;
}

// Appends "\" to a directory name longer than three characters.
void end_in_backslash(char* dir, unsigned cap) {
    size_t n = strlen(dir);
    if (n > 3 && dir[n - 1] != '\\' && n + 1 < cap) { dir[n] = '\\'; dir[n + 1] = 0; }
}

// DirGet() -> the current directory ("C:\" or "C:\TEMP\")
void fn_dir_get(Context* ctx, Value* result, Value*) {
    char dir[MAX_PATH + 2];
    DWORD n = GetCurrentDirectoryA(MAX_PATH + 1, dir);
    if (n == 0 || n > MAX_PATH) dir[0] = 0;
    end_in_backslash(dir, sizeof dir);
    OemToCharA(dir, dir);
    value_set_text(ctx, result, dir);
}

// DirHome() -> the directory of the module that registered the main window's class
void fn_dir_home(Context* ctx, Value* result, Value*) {
    HMODULE module = nullptr;
    if (ctx->main_window && IsWindow((HWND)ctx->main_window))
        module = (HMODULE)GetClassLongPtrA((HWND)ctx->main_window, GCLP_HMODULE);
    char name[MAX_PATH + 1];
    DWORD n = GetModuleFileNameA(module, name, MAX_PATH);
    name[n < MAX_PATH ? n : MAX_PATH] = 0;
    char* last = strrchr(name, '\\');
    if (last) last[1] = 0;
    OemToCharA(name, name);
    value_set_text(ctx, result, name);
}

// DirWindows(which) -> the Windows (0) or system directory, upper case
void fn_dir_windows(Context* ctx, Value* result, Value* args) {
    char dir[MAX_PATH + 2];
    UINT n = args[1].integer ? GetSystemDirectoryA(dir, MAX_PATH + 1) : GetWindowsDirectoryA(dir, MAX_PATH + 1);
    if (n == 0 || n > MAX_PATH) dir[0] = 0;
    CharUpperA(dir);
    end_in_backslash(dir, sizeof dir);
    value_set_text(ctx, result, dir);
}

// DiskFree(list) -> free bytes of the listed drives, summed. Wildcard
// characters are taken literally; each item's first character names the
// drive. The sum stops at the largest positive 32-bit number instead of
// wrapping (a drive may hold more than 4 GiB).
int free_drive(Context*, const char*, const char* item, void* user) {
    char root[4] = {(char)(item[0] & ~0x20), ':', '\\', 0};
    DWORD spc = 0, bps = 0, free_clusters = 0, clusters = 0;
    uint64_t* total = (uint64_t*)user;
    if (GetDiskFreeSpaceA(root, &spc, &bps, &free_clusters, &clusters))
        *total += (uint64_t)free_clusters * spc * bps;
    return 1;
}
void fn_disk_free(Context* ctx, Value* result, Value* args) {
    uint64_t total = 0;
    file_list_each(ctx, value_text(ctx, args[1]), FL_LITERAL_WILDCARDS, free_drive, &total);
    result->integer = total > 0x7FFFFFFFu ? 0x7FFFFFFF : (int32_t)total;
}

// DiskScan(flags) -> "C: D: " for the drive types whose flags are set;
// flags 0 lists the unused letters from C on.
void fn_disk_scan(Context* ctx, Value* result, Value* args) {
    static const struct { UINT type; int flag; } kTypes[] = {
        {DRIVE_REMOVABLE, 1}, {DRIVE_FIXED, 2}, {DRIVE_REMOTE, 4}, {DRIVE_CDROM, 8}, {DRIVE_RAMDISK, 16},
    };
    int flags = args[1].integer;
    char out[26 * 3 + 1];
    unsigned n = 0;
    for (char letter = 'A'; letter <= 'Z'; letter++) {
        char root[4] = {letter, ':', '\\', 0};
        UINT type = GetDriveTypeA(root);
        bool take = false;
        if (flags == 0) take = letter >= 'C' && (type == DRIVE_UNKNOWN || type == DRIVE_NO_ROOT_DIR);
        else for (const auto& t : kTypes) if (t.type == type && (flags & t.flag)) take = true;
        if (take) { out[n++] = letter; out[n++] = ':'; out[n++] = ' '; }
    }
    out[n] = 0;
    value_set_text(ctx, result, out);
}

const FunctionEntry kTable[] = {
    {88, fn_dir_change},    // DirChange
    {89, fn_dir_exist},     // DirExist
    {90, fn_dir_get},       // DirGet
    {91, fn_dir_home},      // DirHome
    {93, fn_dir_make},      // DirMake
    {94, fn_dir_remove},    // DirRemove
    {95, fn_dir_rename},    // DirRename
    {96, fn_dir_windows},   // DirWindows
    {97, fn_disk_free},     // DiskFree
    {98, fn_disk_scan},     // DiskScan
    {168, fn_log_disk},     // LogDisk
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyDirs, kTable)

} // namespace tsl

// The file-list engine, the name splitter, the full-name rule and the
// target-mask mapping shared by every file function.
#include "file_lists.h"
#include "../core/bounded.h"
#include <windows.h>
#include <cstring>
#include <string>
#include <vector>

namespace tsl {

namespace {
bool is_blank(char c) { return c == ' ' || c == '\t'; }
bool is_sep(char c) { return c == '\\' || c == '/'; }

// Copies [from, to) into a part buffer, cut at PART_MAX bytes.
void put_part(char* part, const char* from, const char* to) {
    bounded_copy(nullptr, part, std::string(from, (size_t)(to - from)).c_str(), PART_MAX + 1);
}

// Appends text to out (capacity cap); false when it does not fit.
bool add(char* out, const char* text, unsigned cap) {
    if (strlen(out) + strlen(text) >= cap) return false;
    bounded_append(nullptr, out, text, cap);
    return true;
}

// Walks a mask part over a source part: "*" copies the rest of the source,
// "?" copies the next source character if one is left, any other character
// is copied and the source moves on by one character.
void walk_mask(const char* mask, const char* src, std::string* out) {
    const char* s = src;
    for (const char* m = mask; *m; m = CharNextA(m)) {
        if (*m == '*') {
            out->append(s);
            s += strlen(s);
        } else if (*m == '?') {
            if (*s) { const char* n = CharNextA(s); out->append(s, (size_t)(n - s)); s = n; }
        } else {
            out->append(m, (size_t)(CharNextA(m) - m));
            if (*s) s = CharNextA(s);
        }
    }
}
} // namespace

// name -> [drive][dir\][root][.ext], each cut at 255 bytes; works on bytes.
void name_split(const char* path, NameParts* p) {
    const char* s = path;
    p->drive[0] = p->dir[0] = p->root[0] = p->ext[0] = 0;
    if (s[0] && s[1] == ':') { put_part(p->drive, s, s + 2); s += 2; }
    const char* last_sep = nullptr;
    for (const char* q = s; *q; q++) if (is_sep(*q)) last_sep = q;
    if (last_sep) { put_part(p->dir, s, last_sep + 1); s = last_sep + 1; }
    const char* dot = strrchr(s, '.');
    if (dot) { put_part(p->root, s, dot); put_part(p->ext, dot + 1, dot + strlen(dot)); }
    else put_part(p->root, s, s + strlen(s));
}

char current_drive() {
    char cur[MAX_PATH + 1];
    DWORD n = GetCurrentDirectoryA(sizeof cur, cur);
    if (n < 2 || n >= sizeof cur || cur[1] != ':') return 0;
    return (char)(cur[0] & ~0x20);
}

bool drive_current_dir(char letter, char* out, unsigned cap) {
    letter = (char)(letter & ~0x20);
    char var[4] = {'=', letter, ':', 0};
    char dir[MAX_PATH + 1];
    DWORD n = GetEnvironmentVariableA(var, dir, sizeof dir);
    if (n == 0 || n >= sizeof dir || dir[1] != ':') {
        // No "=X:" variable (the process was not started by a shell that
        // keeps them): ask the system for the drive's current directory.
        if (letter == current_drive()) n = GetCurrentDirectoryA(sizeof dir, dir);
        else { char root[3] = {letter, ':', 0}; n = GetFullPathNameA(root, sizeof dir, dir, nullptr); }
        if (n == 0 || n >= sizeof dir) return false;
    }
    if (!is_sep(dir[n - 1])) { if (n + 1 >= sizeof dir) return false; dir[n] = '\\'; dir[n + 1] = 0; }
    if (strlen(dir) >= cap) return false;
    bounded_copy(nullptr, out, dir, cap);
    return true;
}

// Relative directories are kept as written: "sub\a.txt" becomes "C:sub\a.txt",
// which the system resolves against drive C's current directory.
bool full_name(const char* name, char* out, unsigned cap) {
    if (is_sep(name[0]) && is_sep(name[1])) {   // a network name stands as it is
        if (strlen(name) >= cap) return false;
        bounded_copy(nullptr, out, name, cap);
        return true;
    }
    NameParts np;
    name_split(name, &np);
    char drive[3] = {0, ':', 0};
    drive[0] = np.drive[0] ? np.drive[0] : current_drive();   // the name's drive as written
    char letter = (char)(drive[0] & ~0x20);
    if (letter < 'A' || letter > 'Z') return false;
    char dir[FULL_NAME_MAX];
    if (np.dir[0]) bounded_copy(nullptr, dir, np.dir, sizeof dir);
    else {
        char cur[MAX_PATH + 1];
        if (!drive_current_dir(letter, cur, sizeof cur)) return false;
        bounded_copy(nullptr, dir, cur + 2, sizeof dir);
    }
    out[0] = 0;
    return add(out, drive, cap) && add(out, dir, cap) && add(out, np.root, cap) &&
           (!np.ext[0] || (add(out, ".", cap) && add(out, np.ext, cap)));
}

// Drive: the mask's, the source's, the current one. Directory: the mask's,
// the source's, the drive's current one. Name and extension: the mask walked
// over the source's. A mask that names only a directory maps as "*.*".
bool map_name(const char* source, const char* mask, char* out, unsigned cap) {
    NameParts s, m;
    name_split(source, &s);
    name_split(mask, &m);
    char drive[3] = {0, ':', 0};
    drive[0] = m.drive[0] ? m.drive[0] : s.drive[0] ? s.drive[0] : current_drive();
    if (!drive[0]) return false;
    std::string dir = m.dir[0] ? m.dir : s.dir;
    if (dir.empty()) {
        char cur[MAX_PATH + 1];
        if (!drive_current_dir(drive[0], cur, sizeof cur)) return false;
        dir = cur + 2;
    }
    const char* mroot = m.root;
    const char* mext = m.ext;
    if (!m.root[0] && !m.ext[0] && !strchr(mask + strlen(m.drive) + strlen(m.dir), '.')) mroot = mext = "*";
    std::string root, ext;
    walk_mask(mroot, s.root, &root);
    walk_mask(mext, s.ext, &ext);
    if (root.empty() && ext.empty()) return false;
    std::string full = std::string(drive) + dir + root;
    if (!ext.empty()) full += "." + ext;
    if (full.size() >= cap) return false;
    bounded_copy(nullptr, out, full.c_str(), cap);
    return true;
}

// name -> unquoted-text | quote { text | quote quote } quote   (quote: " ` ')
const char* list_next_name(Context* ctx, const char* p, char* name) {
    while (is_blank(*p)) p++;
    if (!*p) return nullptr;
    unsigned n = 0;
    if (*p == '"' || *p == '`' || *p == '\'') {
        char q = *p++;
        for (;;) {
            if (!*p) { fail(ctx, 3054); return nullptr; }
            if (*p == q) {
                if (p[1] != q) { p++; break; }
                p++;
            }
            if (n + 1 >= LIST_NAME_MAX) { fail(ctx, 3054); return nullptr; }
            name[n++] = *p++;
        }
    } else {
        while (*p && !is_blank(*p)) {
            if (n + 1 >= LIST_NAME_MAX) { fail(ctx, 3054); return nullptr; }
            name[n++] = *p++;
        }
    }
    name[n] = 0;
    return p;
}

int file_list_each(Context* ctx, const char* list, unsigned flags, FileAction action, void* user) {
    char name[LIST_NAME_MAX];
    char full[FULL_NAME_MAX];
    const char* p = list;
    while ((p = list_next_name(ctx, p, name)) != nullptr) {
        bool wild = strpbrk(name, "*?") != nullptr;
        if (wild && !(flags & FL_LITERAL_WILDCARDS)) {
            if (flags & FL_NO_WILDCARDS) return fail(ctx, 3322);
            NameParts np;
            name_split(name, &np);
            std::string base = std::string(np.drive) + np.dir;
            if (!np.dir[0] && !np.drive[0]) base.clear();
            // The matches are gathered before the first action, so that
            // files the action makes (a copy into the same directory) are
            // never met again by the same search.
            std::vector<std::string> matches;
            WIN32_FIND_DATAA fd;
            HANDLE h = FindFirstFileA(name, &fd);
            if (h == INVALID_HANDLE_VALUE) return fail(ctx, 1002);
            do {
                if (!(fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) matches.push_back(base + fd.cFileName);
            } while (FindNextFileA(h, &fd));
            FindClose(h);
            for (const std::string& item : matches) {
                if (!full_name(item.c_str(), full, sizeof full)) return fail(ctx, 1323);
                if (!action(ctx, full, item.c_str(), user)) return 0;
                if (ctx->error) return 0;
            }
        } else {
            if (!full_name(name, full, sizeof full)) return fail(ctx, 1323);
            if (!action(ctx, full, name, user)) return 0;
            if (ctx->error) return 0;
        }
    }
    return ctx->error ? 0 : 1;
}

} // namespace tsl

namespace tsl {

// Two characters of a DOS-time field. The year field is the DOS year plus
// 80, tens as value / 10 added to '0': from 2000 on the tens character runs
// past '9' (":" for 2000..2009, ";" for 2010..2019, ...). Kept deliberately.
static void two_digits(char* out, unsigned v) {
    out[0] = (char)('0' + v / 10);
    out[1] = (char)('0' + v % 10);
}

void file_time_text(uint32_t low, uint32_t high, char* out) {
    FILETIME utc{low, high}, local;
    WORD date = 0, time = 0;
    FileTimeToLocalFileTime(&utc, &local);
    FileTimeToDosDateTime(&local, &date, &time);
    int idate = (int)GetProfileIntA("INTL", "IDATE", 0);
    int itime = (int)GetProfileIntA("INTL", "ITIME", 0);
    char sdate[8], stime[8], s1159[8], s2359[8];
    GetProfileStringA("INTL", "SDATE", "/", sdate, 2);
    GetProfileStringA("INTL", "STIME", ":", stime, 2);
    GetProfileStringA("INTL", "S1159", "AM", s1159, 5);
    GetProfileStringA("INTL", "S2359", "PM", s2359, 5);
    if (!sdate[0]) bounded_copy(nullptr, sdate, "/", sizeof sdate);
    if (!stime[0]) bounded_copy(nullptr, stime, ":", sizeof stime);
    unsigned year = (date >> 9) + 80u, month = (date >> 5) & 15u, day = date & 31u;
    unsigned hour = time >> 11, minute = (time >> 5) & 63u;
    unsigned f[3];
    if (idate == 0) { f[0] = month; f[1] = day; f[2] = year; }
    else if (idate == 1) { f[0] = day; f[1] = month; f[2] = year; }
    else { f[0] = year; f[1] = month; f[2] = day; }
    char* p = out;
    two_digits(p, f[0]); if (p[0] == '0') p[0] = ' ';
    p[2] = sdate[0]; two_digits(p + 3, f[1]);
    p[5] = sdate[0]; two_digits(p + 6, f[2]);
    p[8] = p[9] = ' ';
    unsigned h = itime == 0 ? (hour % 12 == 0 ? 12 : hour % 12) : hour;
    two_digits(p + 10, h); if (p[10] == '0') p[10] = ' ';
    p[12] = stime[0]; two_digits(p + 13, minute);
    const char* ampm = itime == 0 ? (hour < 12 ? s1159 : s2359) : "  ";
    p[15] = ampm[0] ? ampm[0] : ' ';
    p[16] = ampm[0] && ampm[1] ? ampm[1] : ' ';
    p[17] = 0;
}

} // namespace tsl

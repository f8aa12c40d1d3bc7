// Wallpaper and IconReplace: the desktop's picture and a program's icon.
// Wallpaper changes the user's setting for good (as the desktop settings
// would). IconReplace rewrites the icon resources of a program file with
// the system's resource updater; a file in use, or a file that is no
// program, is left as it was.
#include "../functions/families.h"
#include <cstring>
#include <vector>
#include <windows.h>

namespace tsl {

namespace {

// Wallpaper(bitmap file, tile) -> 1; "" removes the wallpaper; tile nonzero
// repeats the picture, 0 centres it.
void fn_wallpaper(Context* ctx, Value* result, Value* args) {
    HKEY k;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, "Control Panel\\Desktop", 0, KEY_SET_VALUE, &k) == ERROR_SUCCESS) {
        const char* tile = args[2].integer ? "1" : "0";
        RegSetValueExA(k, "TileWallpaper", 0, REG_SZ, (const BYTE*)tile, 2);
        RegSetValueExA(k, "WallpaperStyle", 0, REG_SZ, (const BYTE*)"0", 2);
        RegCloseKey(k);
    }
    char file[PATH_BUF];
    lstrcpynA(file, value_text(ctx, args[1]), sizeof file);
    if (file[0] && GetFileAttributesA(file) == INVALID_FILE_ATTRIBUTES) { fail(ctx, 1463); return; }
    if (!SystemParametersInfoA(SPI_SETDESKWALLPAPER, 0, file, SPIF_UPDATEINIFILE | SPIF_SENDCHANGE)) {
        fail(ctx, 1463);
        return;
    }
    result->integer = 1;
}

#pragma pack(push, 2)
struct IconDirEntry {   // an entry of an .ico file
    BYTE width, height, colours, reserved;
    WORD planes, bits;
    DWORD bytes, offset;
};
struct GroupEntry {     // the same entry in an RT_GROUP_ICON resource
    BYTE width, height, colours, reserved;
    WORD planes, bits;
    DWORD bytes;
    WORD id;
};
#pragma pack(pop)

const DWORD ICON_FILE_MAX = 1024 * 1024;
const WORD ICON_IMAGES_MAX = 64;

bool read_file(const char* name, std::vector<BYTE>* data) {
    HANDLE f = CreateFileA(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (f == INVALID_HANDLE_VALUE) return false;
    DWORD size = GetFileSize(f, nullptr), got = 0;
    bool ok = size != INVALID_FILE_SIZE && size <= ICON_FILE_MAX;
    if (ok) {
        data->resize(size);
        ok = ReadFile(f, data->data(), size, &got, nullptr) && got == size;
    }
    CloseHandle(f);
    return ok;
}

// The name of the program's first icon group (the one the shell shows).
BOOL CALLBACK first_group(HMODULE, LPCSTR, LPSTR name, LONG_PTR out) {
    *(WORD*)out = IS_INTRESOURCE(name) ? LOWORD((ULONG_PTR)name) : 0;
    return FALSE;
}

BOOL CALLBACK first_language(HMODULE, LPCSTR, LPCSTR, WORD language, LONG_PTR out) {
    *(WORD*)out = language;
    return FALSE;
}

// IconReplace(program, icon file) -> 1: the program's first icon group now
// holds the images of the .ico file (its images take the ids from 1 up),
// in the group's own language.
void fn_icon_replace(Context* ctx, Value* result, Value* args) {
    std::vector<BYTE> ico;
    if (!read_file(value_text(ctx, args[2]), &ico) || ico.size() < 6) { fail(ctx, 1464); return; }
    WORD type = *(WORD*)&ico[2], count = *(WORD*)&ico[4];
    if (type != 1 || count == 0 || count > ICON_IMAGES_MAX || ico.size() < 6 + count * sizeof(IconDirEntry)) {
        fail(ctx, 1464);
        return;
    }
    const IconDirEntry* in = (const IconDirEntry*)&ico[6];
    for (WORD i = 0; i < count; i++)
        if (in[i].offset > ico.size() || in[i].bytes > ico.size() - in[i].offset) { fail(ctx, 1464); return; }
    const char* program = value_text(ctx, args[1]);
    WORD group = 0;
    HMODULE m = LoadLibraryExA(program, nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (!m) { fail(ctx, 1465); return; }
    WORD language = MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL);
    EnumResourceNamesA(m, (LPCSTR)RT_GROUP_ICON, first_group, (LONG_PTR)&group);
    if (group) EnumResourceLanguagesA(m, (LPCSTR)RT_GROUP_ICON, MAKEINTRESOURCEA(group), first_language, (LONG_PTR)&language);
    FreeLibrary(m);
    if (!group) group = 1;   // a program without icons gets group 1
    std::vector<BYTE> dir(6 + count * sizeof(GroupEntry));
    memcpy(dir.data(), ico.data(), 6);
    GroupEntry* out = (GroupEntry*)&dir[6];
    HANDLE h = BeginUpdateResourceA(program, FALSE);
    if (!h) { fail(ctx, 1465); return; }
    bool ok = true;
    for (WORD i = 0; i < count && ok; i++) {
        memcpy(&out[i], &in[i], 12);   // everything up to the size
        out[i].id = (WORD)(i + 1);
        ok = UpdateResourceA(h, (LPCSTR)RT_ICON, MAKEINTRESOURCEA(i + 1), language, &ico[in[i].offset], in[i].bytes) != 0;
    }
    ok = ok && UpdateResourceA(h, (LPCSTR)RT_GROUP_ICON, MAKEINTRESOURCEA(group), language, dir.data(),
                               (DWORD)dir.size());
    if (!EndUpdateResourceA(h, !ok) || !ok) { fail(ctx, 1465); return; }
    result->integer = 1;
}

const FunctionEntry kTable[] = {
    {142, fn_icon_replace},   // IconReplace
    {239, fn_wallpaper},      // Wallpaper
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyDesktop, kTable)

} // namespace tsl

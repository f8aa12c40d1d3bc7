// Wallpaper set to a real bitmap file and read back from the system (the
// user's wallpaper and tiling are restored afterwards); IconReplace on a copy
// of Wine's notepad.exe, read back from the copy's resources.
#include "host_harness.h"
#include <vector>

namespace {

// A 2x2 24-bit bitmap file.
std::string bitmap_file() {
    std::string s(54 + 16, '\0');
    auto put32 = [&](size_t at, uint32_t v) { memcpy(&s[at], &v, 4); };
    s[0] = 'B'; s[1] = 'M';
    put32(2, (uint32_t)s.size()); put32(10, 54); put32(14, 40); put32(18, 2); put32(22, 2);
    s[26] = 1; s[28] = 24;
    for (size_t i = 54; i < s.size(); i++) s[i] = (char)0x80;
    return s;
}

// An .ico file with one 16x16 32-bit image whose pixels are `fill`.
std::string icon_file(char fill) {
    const uint32_t image = 40 + 16 * 16 * 4 + 16 * 4;
    std::string s(6 + 16 + image, '\0');
    s[2] = 1; s[4] = 1;                                    // type 1 (icon), one image
    s[6] = 16; s[7] = 16; s[10] = 1; s[12] = 32;           // 16x16, one plane, 32 bits
    memcpy(&s[14], &image, 4);
    uint32_t offset = 22;
    memcpy(&s[18], &offset, 4);
    uint32_t header[10] = {40, 16, 32, 0x00200001, 0, 0, 0, 0, 0, 0};   // height counts the mask too
    memcpy(&s[22], header, 40);
    for (uint32_t i = 0; i < 16 * 16 * 4; i++) s[62 + i] = fill;
    return s;
}

std::string wallpaper_now() {
    char buf[MAX_PATH] = "";
    SystemParametersInfoA(SPI_GETDESKWALLPAPER, sizeof buf, buf, 0);
    return buf;
}

std::string tile_now() {
    char buf[8] = "";
    DWORD size = sizeof buf;
    RegGetValueA(HKEY_CURRENT_USER, "Control Panel\\Desktop", "TileWallpaper", RRF_RT_REG_SZ, NULL, buf, &size);
    return buf;
}

BOOL CALLBACK first_group(HMODULE, LPCSTR, LPSTR name, LONG_PTR out) {
    *(WORD*)out = LOWORD((ULONG_PTR)name);
    return FALSE;
}

// The bytes of the first image of the program's first icon group.
std::string first_icon(const std::string& program) {
    HMODULE m = LoadLibraryExA(program.c_str(), NULL, LOAD_LIBRARY_AS_DATAFILE);
    if (!m) return "<no program>";
    std::string bytes;
    WORD group = 0;
    EnumResourceNamesA(m, (LPCSTR)RT_GROUP_ICON, first_group, (LONG_PTR)&group);
    HRSRC g = FindResourceA(m, MAKEINTRESOURCEA(group), (LPCSTR)RT_GROUP_ICON);
    const BYTE* dir = g ? (const BYTE*)LockResource(LoadResource(m, g)) : nullptr;
    if (dir) {
        WORD id = *(const WORD*)(dir + 6 + 12);   // the first entry's image id
        HRSRC i = FindResourceA(m, MAKEINTRESOURCEA(id), (LPCSTR)RT_ICON);
        if (i) bytes.assign((const char*)LockResource(LoadResource(m, i)), SizeofResource(m, i));
    }
    FreeLibrary(m);
    return bytes;
}

} // namespace

class Desktop : public DllTest {
protected:
    TempDir dir{"tsldesktop"};
    HostContext host;
    std::string call(const std::string& line) {
        g_dll.console(1);   // a moderate error's report is written, not shown, and the run goes on
        StderrCapture err;
        host.run("ErrorMode(@off)\r\nr = " + line + "\r\ne = LastError()\r\n");
        g_dll.console(0);
        std::string e = host.get("e");
        return e == "0" ? host.get("r") : "error " + e;
    }
};

TEST_F(Desktop, WallpaperSetsTheSystemsWallpaperAndTiling) {
    std::string old_file = wallpaper_now(), old_tile = tile_now();
    std::string bmp = dir.at("paper.bmp");
    write_file(bmp, bitmap_file());
    struct { int line; std::string script, want, file, tile; } rows[] = {
        {__LINE__, "Wallpaper(\"" + bmp + "\", 1)", "1", bmp, "1"},
        {__LINE__, "Wallpaper(\"" + bmp + "\", 0)", "1", bmp, "0"},
        {__LINE__, "Wallpaper(\"" + dir.at("missing.bmp") + "\", 0)", "error 1463", bmp, "0"},
    };
    for (auto& r : rows) {
        EXPECT_EQ(r.want, call(r.script)) << "row at line " << r.line;
        EXPECT_EQ(r.file, wallpaper_now()) << "row at line " << r.line;
        EXPECT_EQ(r.tile, tile_now()) << "row at line " << r.line;
    }
    SystemParametersInfoA(SPI_SETDESKWALLPAPER, 0, (void*)old_file.c_str(), SPIF_UPDATEINIFILE);
    RegSetKeyValueA(HKEY_CURRENT_USER, "Control Panel\\Desktop", "TileWallpaper", REG_SZ, old_tile.c_str(),
                    (DWORD)old_tile.size() + 1);
}

TEST_F(Desktop, IconReplaceRewritesTheProgramsFirstIcon) {
    char windows[MAX_PATH];
    GetWindowsDirectoryA(windows, sizeof windows);
    std::string program = dir.at("probe.exe"), icon = dir.at("red.ico"), bad = dir.at("bad.ico");
    ASSERT_TRUE(CopyFileA((std::string(windows) + "\\notepad.exe").c_str(), program.c_str(), FALSE));
    std::string ico = icon_file((char)0x7F);
    write_file(icon, ico);
    write_file(bad, "not an icon");
    std::string before = first_icon(program);
    ASSERT_NE("", before);
    struct { int line; std::string script, want, image; } rows[] = {
        {__LINE__, "IconReplace(\"" + program + "\", \"" + bad + "\")", "error 1464", before},
        {__LINE__, "IconReplace(\"" + dir.at("none.exe") + "\", \"" + icon + "\")", "error 1465", before},
        {__LINE__, "IconReplace(\"" + program + "\", \"" + icon + "\")", "1", ico.substr(22)},
    };
    for (auto& r : rows) {
        EXPECT_EQ(r.want, call(r.script)) << "row at line " << r.line;
        EXPECT_TRUE(r.image == first_icon(program)) << "row at line " << r.line;
    }
}

// The setup program of this build under Wine, the way a user meets it: a
// silent install into the prefix, a script opened through the .tsl
// association (ShellExecute "open") that leaves its mark, and a silent
// uninstall that removes every file it installed and nothing else.
// One test: installer runs are slow. Every wait is for a state.
#include "host_harness.h"
#include <shellapi.h>
#include <shlobj.h>
#include <sstream>

namespace {

bool exists(const std::string& path) { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// Every file and folder under `dir`, relative to it.
void walk(const std::string& dir, const std::string& rel, std::vector<std::string>* out) {
    WIN32_FIND_DATAA fd;
    HANDLE h = FindFirstFileA((dir + "\\*").c_str(), &fd);
    if (h == INVALID_HANDLE_VALUE) return;
    do {
        std::string name = fd.cFileName;
        if (name == "." || name == "..") continue;
        out->push_back(rel + name);
        if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) walk(dir + "\\" + name, rel + name + "\\", out);
    } while (FindNextFileA(h, &fd));
    FindClose(h);
}

std::string reg_text(HKEY root, const char* key, const char* value) {
    char buf[MAX_PATH] = "";
    DWORD size = sizeof buf;
    if (RegGetValueA(root, key, value, RRF_RT_REG_SZ, NULL, buf, &size) != ERROR_SUCCESS) return "<none>";
    return buf;
}

const char kUninstallKey[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\TSL";

// The files the installer carries, from the uninstall list the build made.
std::vector<std::string> installed_files(const std::string& install_dir) {
    std::ifstream list(build_dir() + "\\installer\\files.nsh");
    std::vector<std::string> files = {install_dir + "\\uninstall.exe"};
    for (std::string line; std::getline(list, line);) {
        size_t at = line.find("Delete \"$INSTDIR");
        if (at != std::string::npos) files.push_back(install_dir + line.substr(at + 16, line.find('"', at + 16) - at - 16));
    }
    return files;
}

TEST(Installer, SilentInstallAssociationAndCleanUninstall) {
    WIN32_FIND_DATAA fd;
    HANDLE found = FindFirstFileA((build_dir() + "\\TSL-*-setup.exe").c_str(), &fd);
    ASSERT_NE(INVALID_HANDLE_VALUE, found) << "no setup program in " << build_dir();
    FindClose(found);
    ASSERT_EQ(0u, run_and_wait("\"" + build_dir() + "\\" + fd.cFileName + "\" /S"));

    std::string dir = reg_text(HKEY_LOCAL_MACHINE, kUninstallKey, "InstallLocation");
    ASSERT_NE("<none>", dir);
    EXPECT_NE(std::string::npos, dir.find("Program Files")) << dir;
    std::vector<std::string> files = installed_files(dir);
    ASSERT_GT(files.size(), 10u);
    for (auto& f : files) EXPECT_TRUE(exists(f)) << f << " installed";
    char programs[MAX_PATH];
    ASSERT_EQ(S_OK, SHGetFolderPathA(NULL, CSIDL_COMMON_PROGRAMS, NULL, 0, programs));
    EXPECT_TRUE(exists(std::string(programs) + "\\TSL\\TSL tour.lnk"));
    EXPECT_EQ("TSL.Script", reg_text(HKEY_CLASSES_ROOT, ".tsl", NULL));
    EXPECT_NE(std::string::npos, reg_text(HKEY_CLASSES_ROOT, "TSL.Script\\shell\\edit\\command", NULL).find("notepad.exe"));

    // A script opened as the shell opens it: the installed tslrun runs it.
    TempDir work("tslsetup");
    std::string mark = work.at("mark.ini");
    write_file(work.at("mark.tsl"), crlf({"IniWritePvt(\"mark\", \"ran\", \"yes\", \"" + mark + "\")"}));
    HINSTANCE opened = ShellExecuteA(NULL, "open", work.at("mark.tsl").c_str(), NULL, work.dir.c_str(), SW_SHOWNORMAL);
    EXPECT_GT((INT_PTR)opened, 32);
    char v[8] = "";
    EXPECT_TRUE(wait_until([&] { return GetPrivateProfileStringA("mark", "ran", "", v, sizeof v, mark.c_str()) && !strcmp(v, "yes"); }, 60000))
        << "the script opened through .tsl left no mark";

    // A file of the user's own in the installation stays, with its folder.
    std::string mine = dir + "\\examples\\mine.tsl";
    write_file(mine, "Exit\r\n");
    EXPECT_EQ(0u, run_and_wait("\"" + dir + "\\uninstall.exe\" /S"));
    // The uninstaller goes on from a copy of itself; its last step removes its key.
    EXPECT_TRUE(wait_until([] { return reg_text(HKEY_LOCAL_MACHINE, kUninstallKey, "InstallLocation") == "<none>"; }, 120000));
    for (auto& f : files) EXPECT_FALSE(exists(f)) << f << " left behind";
    std::vector<std::string> left;
    walk(dir, "", &left);
    EXPECT_EQ((std::vector<std::string>{"examples", "examples\\mine.tsl"}), left)
        << "only the user's file stays, and the folder that holds it";
    EXPECT_FALSE(exists(std::string(programs) + "\\TSL")) << "the Start-menu folder is removed";
    EXPECT_EQ("<none>", reg_text(HKEY_CLASSES_ROOT, ".tsl", NULL));
    EXPECT_EQ("<none>", reg_text(HKEY_CLASSES_ROOT, "TSL.Script\\shell\\open\\command", NULL));
    DeleteFileA(mine.c_str());
    RemoveDirectoryA((dir + "\\examples").c_str());
    RemoveDirectoryA(dir.c_str());
}

} // namespace

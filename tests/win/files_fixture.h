// Shared pieces of the file tests: a unique temporary directory per test,
// small file helpers, and a user thread that answers the "Confirm File
// Replace" dialog with the buttons it is given.
#pragma once
#include <windows.h>
#include <atomic>
#include <string>
#include <vector>

namespace files_test {

inline std::string make_temp_dir() {
    static int counter = 0;
    char base[MAX_PATH];
    GetTempPathA(sizeof base, base);
    std::string dir = std::string(base) + "tslfiles-" + std::to_string(GetCurrentProcessId()) + "-" +
                      std::to_string(++counter);
    CreateDirectoryA(dir.c_str(), NULL);
    return dir;
}

// Removes a directory with its files and subdirectories.
inline void remove_tree(const std::string& dir) {
    WIN32_FIND_DATAA fd;
    HANDLE h = FindFirstFileA((dir + "\\*").c_str(), &fd);
    if (h != INVALID_HANDLE_VALUE) {
        do {
            std::string name = fd.cFileName;
            if (name == "." || name == "..") continue;
            std::string path = dir + "\\" + name;
            if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) remove_tree(path);
            else { SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL); DeleteFileA(path.c_str()); }
        } while (FindNextFileA(h, &fd));
        FindClose(h);
    }
    RemoveDirectoryA(dir.c_str());
}

inline void write_file(const std::string& path, const std::string& data) {
    HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
    DWORD put = 0;
    WriteFile(h, data.data(), (DWORD)data.size(), &put, NULL);
    CloseHandle(h);
}

inline std::string read_file(const std::string& path) {
    HANDLE h = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL);
    if (h == INVALID_HANDLE_VALUE) return "<missing>";
    std::string s;
    char buf[4096];
    DWORD got;
    while (ReadFile(h, buf, sizeof buf, &got, NULL) && got) s.append(buf, got);
    CloseHandle(h);
    return s;
}

inline bool exists(const std::string& path) { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// Sets a file's last-write time from a local time.
inline void set_local_time(const std::string& path, int year, int month, int day, int hour, int minute) {
    SYSTEMTIME st = {};
    st.wYear = (WORD)year; st.wMonth = (WORD)month; st.wDay = (WORD)day;
    st.wHour = (WORD)hour; st.wMinute = (WORD)minute;
    FILETIME local, utc;
    SystemTimeToFileTime(&st, &local);
    LocalFileTimeToFileTime(&local, &utc);
    HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL);
    SetFileTime(h, NULL, NULL, &utc);
    CloseHandle(h);
}

// The user: waits for each "Confirm File Replace" dialog of this process,
// notes what it shows, and presses the next of its buttons (the last one
// again when the list runs out).
struct DialogUser {
    struct Seen { std::string title, target, source, target_info, source_info; std::vector<std::string> labels; };
    std::vector<int> buttons;
    std::vector<int> label_ids;
    std::vector<Seen> seen;
    std::atomic<bool> stop{false};
    HANDLE thread = NULL;

    explicit DialogUser(std::vector<int> b, std::vector<int> labels = {}) : buttons(std::move(b)), label_ids(std::move(labels)) {
        thread = CreateThread(NULL, 0, main, this, 0, NULL);
    }
    ~DialogUser() { finish(); }
    void finish() {
        if (!thread) return;
        stop = true;
        WaitForSingleObject(thread, 10000);
        CloseHandle(thread);
        thread = NULL;
    }
    static std::string text_of(HWND dlg, int id) {
        char buf[600] = "";
        GetDlgItemTextA(dlg, id, buf, sizeof buf);
        return buf;
    }
    static HWND find_dialog() {
        HWND w = NULL;
        while ((w = FindWindowExA(NULL, w, "#32770", NULL)) != NULL) {
            DWORD pid = 0;
            GetWindowThreadProcessId(w, &pid);
            char title[100] = "";
            GetWindowTextA(w, title, sizeof title);
            if (pid == GetCurrentProcessId() && IsWindowVisible(w) && strcmp(title, "Confirm File Replace") == 0)
                return w;
        }
        return NULL;
    }
    static DWORD WINAPI main(void* p) {
        DialogUser* u = (DialogUser*)p;
        while (!u->stop) {
            HWND dlg = find_dialog();
            if (!dlg) { Sleep(20); continue; }
            Seen s;
            char title[100] = "";
            GetWindowTextA(dlg, title, sizeof title);
            s.title = title;
            s.target = text_of(dlg, 102);
            s.target_info = text_of(dlg, 103);
            s.source = text_of(dlg, 105);
            s.source_info = text_of(dlg, 106);
            for (int id : u->label_ids) s.labels.push_back(text_of(dlg, id));
            size_t i = u->seen.size();
            int id = u->buttons.empty() ? IDCANCEL : u->buttons[i < u->buttons.size() ? i : u->buttons.size() - 1];
            u->seen.push_back(s);
            PostMessageA(dlg, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), (LPARAM)GetDlgItem(dlg, id));
            for (int n = 0; n < 250 && IsWindow(dlg); n++) Sleep(20);
        }
        return 0;
    }
};

} // namespace files_test

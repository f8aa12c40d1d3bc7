// A test host: loads TSLPR32I.dll by its exports and drives it like a host
// program. The contexts can also be looked into (white-box) through the
// interpreter's own context layout.
#pragma once
#include <windows.h>
#include <string>
#include "../../include/tslpr32i.h"
#include "core/context.h"

struct Dll {
    HMODULE module = NULL;
    TslDoDaDllInitProc init = nullptr;
    TslProcessDaBatBufferProc run = nullptr;
    TslDLLServicesProc services = nullptr;

    bool load() {
        module = LoadLibraryA("TSLPR32I.dll");
        if (!module) return false;
        init = (TslDoDaDllInitProc)(void*)GetProcAddress(module, "DoDaDllInit");
        run = (TslProcessDaBatBufferProc)(void*)GetProcAddress(module, "ProcessDaBatBuffer");
        services = (TslDLLServicesProc)(void*)GetProcAddress(module, "DLLServices");
        return init && run && services;
    }
    void unload() {
        if (module) FreeLibrary(module);
        module = NULL;
    }
};

// One interpreter context with its variable table and heap, started in modes 0..3.
struct HostContext {
    Dll* dll;
    HGLOBAL ctx = NULL, vars = NULL, heap = NULL;
    WORD results[4] = {0, 0, 0, 0};

    HostContext(Dll* d, const char* host_name = "tslhosttest", const char* usage = "test host",
                unsigned slots = 2000, LPARAM heap_size = 65536) : dll(d) {
        HINSTANCE inst = GetModuleHandleA(NULL);
        results[0] = dll->init(inst, NULL, TSL_INTERFACE_VERSION, TSL_INIT_INTERFACE, 0, NULL, NULL);
        ctx = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, results[0] ? results[0] : TSL_CONTEXT_SIZE);
        vars = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, slots * TSL_VARSLOT_SIZE);
        heap = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 65536);
        results[1] = dll->init(inst, ctx, 0, TSL_INIT_CONTEXT, 7, "tslhost", "1.0");
        results[2] = dll->init(inst, ctx, (WPARAM)vars, TSL_INIT_VARIABLES, 0, host_name, "second name");
        results[3] = dll->init(inst, ctx, (WPARAM)heap, TSL_INIT_HEAP, heap_size, usage, NULL);
    }
    ~HostContext() {
        dll->init(GetModuleHandleA(NULL), ctx, 0, TSL_INIT_SHUTDOWN, 0, NULL, NULL);
        GlobalFree(heap);
        GlobalFree(vars);
        GlobalFree(ctx);
    }

    // Runs a script text with an optional host command procedure and table.
    long run(const std::string& text, TslCommandProc proc = nullptr, const TslKeywordRecord* table = nullptr,
             HWND owner = NULL) {
        HGLOBAL script = GlobalAlloc(GMEM_MOVEABLE, text.size() + 1);
        char* p = (char*)GlobalLock(script);
        memcpy(p, text.c_str(), text.size() + 1);
        GlobalUnlock(script);
        long r = dll->run(owner, ctx, script, proc, table);
        GlobalFree(script);
        return r;
    }
    LRESULT service(int code, LPARAM p1 = 0, LPARAM p2 = 0, LPARAM p3 = 0) {
        return dll->services(ctx, code, p1, p2, p3);
    }
    std::string get(const char* name) {
        char buf[300] = "";
        if (!service(TSL_SERVICE_GET_VAR, (LPARAM)name, (LPARAM)buf, sizeof buf)) return "<undefined>";
        return buf;
    }

    // White-box view of the context (valid until unlock()).
    tsl::Context* lock() { return (tsl::Context*)GlobalLock(ctx); }
    void unlock() { GlobalUnlock(ctx); }
};

// Standard error of this process redirected into a file while alive.
struct StderrCapture {
    char path[MAX_PATH];
    HANDLE file, saved;
    StderrCapture() {
        char dir[MAX_PATH];
        GetTempPathA(sizeof dir, dir);
        GetTempFileNameA(dir, "tsl", 0, path);
        file = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL,
                           CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, NULL);
        saved = GetStdHandle(STD_ERROR_HANDLE);
        SetStdHandle(STD_ERROR_HANDLE, file);
    }
    std::string text() {
        std::string s;
        char buf[4096];
        DWORD got;
        SetFilePointer(file, 0, NULL, FILE_BEGIN);
        while (ReadFile(file, buf, sizeof buf, &got, NULL) && got) s.append(buf, got);
        return s;
    }
    ~StderrCapture() {
        SetStdHandle(STD_ERROR_HANDLE, saved);
        CloseHandle(file);
        DeleteFileA(path);
    }
};

// Settings in TSLPROCS.INI (the Windows directory), restored when the test ends.
struct SettingOverride {
    std::string section, key, old;
    bool had;
    SettingOverride(const char* s, const char* k, const char* value) : section(s), key(k) {
        char buf[300];
        GetPrivateProfileStringA(s, k, "\x01", buf, sizeof buf, "TSLPROCS.INI");
        had = strcmp(buf, "\x01") != 0;
        old = buf;
        WritePrivateProfileStringA(s, k, value, "TSLPROCS.INI");
    }
    ~SettingOverride() {
        WritePrivateProfileStringA(section.c_str(), key.c_str(), had ? old.c_str() : NULL, "TSLPROCS.INI");
    }
};

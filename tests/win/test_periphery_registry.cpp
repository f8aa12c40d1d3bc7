// The Reg* functions on the real registry, under a test key of
// HKEY_CURRENT_USER that each test makes and removes; key numbers that a
// script cannot misuse; open keys given back at shutdown.
#include "host_harness.h"

class Registry : public DllTest {
protected:
    std::string base = "Software\\TSLTest-" + std::to_string(GetCurrentProcessId());
    HostContext host;
    void TearDown() override { RegDeleteTreeA(HKEY_CURRENT_USER, base.c_str()); }
    // Runs lines with `base` bound to the test key's path; `r` is read back.
    std::string run(const std::string& lines) {
        host.run("base = \"" + base + "\"\r\n" + lines);
        return host.get("r");
    }
    std::string win32_value(const std::string& sub, const char* name) {
        char buf[300] = "";
        DWORD size = sizeof buf;
        if (RegGetValueA(HKEY_CURRENT_USER, (base + sub).c_str(), name, RRF_RT_REG_SZ, NULL, buf, &size)) return "<none>";
        return buf;
    }
};

// What scripts write, Win32 reads, and the other way round.
TEST_F(Registry, ScriptsAndWin32SeeTheSameKeysAndValues) {
    struct { int line; const char* script; const char* result; const char* sub; const char* name; const char* win32; } rows[] = {
        {__LINE__, "r = RegSetValue(2, StrCat(base, \"\\a\\b[colour]\"), \"blue\")", "1", "\\a\\b", "colour", "blue"},
        {__LINE__, "r = RegSetValue(2, StrCat(base, \"\\a\"), \"default\")", "1", "\\a", nullptr, "default"},
        {__LINE__, "RegSetValue(2, StrCat(base, \"\\a[x]\"), \"1\")\r\nr = RegQueryValue(2, StrCat(base, \"\\a[x]\"))", "1", "\\a", "x", "1"},
        {__LINE__, "k = RegCreateKey(@regroot + 1, StrCat(base, \"\\c\"))\r\nRegSetValue(k, \"[n]\", \"v\")\r\nr = RegCloseKey(k)",
         "1", "\\c", "n", "v"},
        {__LINE__, "RegSetValue(2, StrCat(base, \"\\d[n]\"), \"v\")\r\nr = RegDeleteKey(2, StrCat(base, \"\\d[n]\"))", "1", "\\d", "n", "<none>"},
        {__LINE__, "RegSetValue(2, StrCat(base, \"\\e\\f\\g\"), \"v\")\r\nr = RegDeleteKey(2, StrCat(base, \"\\e\"))", "1", "\\e\\f\\g", nullptr, "<none>"},
        {__LINE__, "RegSetValue(-2147483647, StrCat(base, \"\\h\"), \"w\")\r\nk = RegOpenKey(2, base)\r\nr = RegQueryValue(k, \"h\")", "w", "\\h", nullptr, "w"},
    };
    for (auto& r : rows) {
        EXPECT_EQ(r.result, run(std::string(r.script) + "\r\n")) << "row at line " << r.line;
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ(r.win32, win32_value(r.sub, r.name)) << "row at line " << r.line;
    }
}

// Values of other types written by Win32 read as the language's text.
TEST_F(Registry, ValueTypesReadAsText) {
    HKEY k;
    ASSERT_EQ(0, RegCreateKeyExA(HKEY_CURRENT_USER, base.c_str(), 0, NULL, 0, KEY_ALL_ACCESS, NULL, &k, NULL));
    DWORD number = 4000000000u;
    RegSetValueExA(k, "dword", 0, REG_DWORD, (BYTE*)&number, 4);
    RegSetValueExA(k, "multi", 0, REG_MULTI_SZ, (const BYTE*)"one\0two\0\0", 9);
    RegSetValueExA(k, "binary", 0, REG_BINARY, (const BYTE*)"\x01\xAB\x00", 3);
    RegSetValueExA(k, "expand", 0, REG_EXPAND_SZ, (const BYTE*)"%PATH%", 7);
    RegCloseKey(k);
    struct { int line; const char* name; const char* text; } rows[] = {
        {__LINE__, "dword", "-294967296"}, {__LINE__, "multi", "one\ttwo"},
        {__LINE__, "binary", "01 AB 00"},   {__LINE__, "expand", "%PATH%"},
    };
    for (auto& r : rows) {
        EXPECT_EQ(r.text, run(std::string("r = RegQueryValue(2, StrCat(base, \"[") + r.name + "]\"))\r\n")) << "row at line " << r.line;
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
    }
    EXPECT_EQ("-294967295", run("r = RegQueryValue(2, StrCat(base, \"[dword]\")) + 1\r\n"));  // a number
}

// Subkeys listed by index, "" past the last.
TEST_F(Registry, QueryKeyListsSubkeys) {
    EXPECT_EQ("alpha,beta,,", run("RegSetValue(2, StrCat(base, \"\\alpha\"), \"\")\r\nRegSetValue(2, StrCat(base, \"\\beta\"), \"\")\r\n"
                                  "k = RegOpenKey(2, base)\r\n"
                                  "r = StrCat(RegQueryKey(k, 0), \",\", RegQueryKey(k, 1), \",\", RegQueryKey(k, 2), \",\", RegQueryKey(k, -1))\r\n"));
    EXPECT_EQ(0, host.error());
}

// Missing keys and values are minor errors; numbers that are no open key of
// this context are refused as fatal before the system sees them.
TEST_F(Registry, ErrorsAndRefusedNumbers) {
    HostContext other;
    other.run("k = RegOpenKey(2, \"Software\")\r\n");
    std::string foreign = other.get("k");
    struct { int line; std::string script; long error; } rows[] = {
        {__LINE__, "r = RegOpenKey(2, StrCat(base, \"\\missing\"))", 1411},
        {__LINE__, "r = RegQueryValue(2, StrCat(base, \"\\missing\"))", 1414},
        {__LINE__, "r = RegQueryValue(2, \"Software[no such value]\")", 1414},
        {__LINE__, "r = RegDeleteKey(2, StrCat(base, \"\\missing\"))", 1413},
        {__LINE__, "r = RegDeleteKey(2, \"\")", 1413},
        {__LINE__, "r = RegCloseKey(12345)", 3401},
        {__LINE__, "r = RegQueryKey(0, 0)", 3401},
        {__LINE__, "r = RegQueryKey(1001, 0)", 3401},
        {__LINE__, "r = RegQueryValue(" + foreign + ", \"\")", 3401},
        {__LINE__, "k = RegOpenKey(2, \"Software\")\r\nRegCloseKey(k)\r\nr = RegCloseKey(k)", 3401},
    };
    g_dll.console(1);
    StderrCapture err;
    for (auto& r : rows) {
        if (r.error > 3000) {   // fatal: the run stops there
            run(r.script + "\r\n");
            EXPECT_EQ(r.error, host.error()) << "row at line " << r.line;
        } else {
            EXPECT_EQ(std::to_string(r.error), run("ErrorMode(@off)\r\n" + r.script + "\r\nr = LastError()\r\n"))
                << "row at line " << r.line;
        }
    }
    g_dll.console(0);
}

// A context that ends with keys open gives them back: the table of 64 is free again.
TEST_F(Registry, ShutdownClosesOpenKeys) {
    std::string open64 = "Exclusive(@on)\r\nn = 0\r\n:more\r\nRegOpenKey(2, \"Software\")\r\nn = n + 1\r\nif n < 64 then goto more\r\n";
    g_dll.console(1);
    StderrCapture err;
    {
        HostContext first;
        first.run(open64 + "RegOpenKey(2, \"Software\")\r\n");
        EXPECT_EQ(3402, first.error());
    }
    HostContext second;
    second.run(open64);
    EXPECT_EQ(0, second.error());
    g_dll.console(0);
}

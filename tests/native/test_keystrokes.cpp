// Keystrokes, the WaitForKey notation and Run's command lines, with a recording key sink and a US key scan.
#include <gtest/gtest.h>
#include <string>
#include "system/command_line_portable.h"
#include "system/keystrokes_portable.h"

namespace tsl {
namespace {

// The key events received, as "+Shift +A -A -Shift" (+ down, - up).
struct Recorder {
    std::string events;
    int budget = -1;   // events until the user break, -1 for never
    static int scan(void*, unsigned char c) {   // a US layout, "(" and ")" unmappable
        if (c >= 'a' && c <= 'z') return c - 32;
        if ((c >= 'A' && c <= 'Z')) return 0x100 | c;
        if (c >= '0' && c <= '9') return c;
        switch (c) {
        case ' ': return 0x20;
        case '+': return 0x1BB;
        case '{': return 0x1DB;
        case '}': return 0x1DD;
        case '~': return 0x1C0;
        case '!': return 0x131;
        case '^': return 0x136;
        case 1: return 0x241;    // Ctrl+A
        default: return -1;
        }
    }
    static void event(void* user, unsigned vk, bool down) {
        Recorder* r = (Recorder*)user;
        if (r->budget > 0) --r->budget;
        char name[8];
        if ((vk >= 'A' && vk <= 'Z') || (vk >= '0' && vk <= '9')) snprintf(name, sizeof name, "%c", vk);
        else snprintf(name, sizeof name, "x%02X", vk);
        const char* known = vk == 0x10 ? "Shift" : vk == 0x11 ? "Ctrl" : vk == 0x12 ? "Alt" : vk == 0x0D ? "Enter" : name;
        r->events += std::string(r->events.empty() ? "" : " ") + (down ? "+" : "-") + known;
    }
    static bool stopped(void* user) { return ((Recorder*)user)->budget == 0; }
    int send(const char* text) { return keys_send(text, KeySink{this, scan, event, stopped}); }
};

std::string times(int n, const std::string& s) {
    std::string out;
    for (int i = 0; i < n; ++i) out += (i ? " " : "") + s;
    return out;
}

TEST(Keystrokes, EventsOfEachForm) {
    const std::string enter = "+Enter -Enter", a = "+A -A", tab = "+x09 -x09";
    struct { int line; const char* keys; int result; std::string events; } rows[] = {
        {__LINE__, "abc~", 0, "+A -A +B -B +C -C +Enter -Enter"},
        {__LINE__, "{ENTER 3}", 0, times(3, enter)},
        {__LINE__, "{enter}", 0, enter},
        {__LINE__, "{eNtEr 2x}", 0, times(2, enter)},          // the count stops at its first non-digit
        {__LINE__, "{F16}", 0, "+x7F -x7F"},
        {__LINE__, "{F1}{f12}", 0, "+x70 -x70 +x7B -x7B"},
        {__LINE__, "{xyz}{XYZ}", 0, "+xFF -xFF +xFF -xFF"},      // the placeholder row, any case
        {__LINE__, "{BS}{Del}{ins}{sp}{PgDn}{numlock}{Menu}", 0,
         "+x08 -x08 +x2E -x2E +x2D -x2D +x20 -x20 +x22 -x22 +x90 -x90 +Alt -Alt"},
        {__LINE__, "A", 0, "+Shift +A -A -Shift"},             // Shift implied by the key scan
        {__LINE__, "\x01", 0, "+Ctrl +A -A -Ctrl"},             // Ctrl implied
        {__LINE__, "!{F4}", 0, "+Alt +x73 -x73 -Alt"},
        {__LINE__, "{a 5}", 0, times(5, a)},
        {__LINE__, "{A 2}", 0, "+Shift " + times(2, a) + " -Shift"},   // implied modifiers held over the repeats
        {__LINE__, "{a 0}{a -3}", 0, ""},
        {__LINE__, "+^a", 0, "+Shift +Ctrl +A -A -Ctrl -Shift"},
        {__LINE__, "+{TAB 3}", 0, "+Shift " + times(3, tab) + " -Shift"},
        {__LINE__, "^+A", 0, "+Ctrl +Shift +Shift +A -A -Shift -Shift -Ctrl"},
        {__LINE__, "{+}{~}", 0, "+Shift +xBB -xBB -Shift +Shift +xC0 -xC0 -Shift"},
        {__LINE__, "{{}{}}", 0, "+Shift +xDB -xDB -Shift +Shift +xDD -xDD -Shift"},
        {__LINE__, "{!}{^}", 0, "+Shift +1 -1 -Shift +Shift +6 -6 -Shift"},
        {__LINE__, "{ }", 0, "+x20 -x20"},
        {__LINE__, "(x)", 0, "+X -X"},                          // no key types "(" or ")": skipped
        {__LINE__, "+", 0, "+Shift -Shift"},
        {__LINE__, "", 0, ""},
        {__LINE__, "a{F17}b", -1, a},                           // keys before the error stay sent
        {__LINE__, "+{NOTAKEY}", -1, "+Shift -Shift"},          // the modifier is released
        {__LINE__, "!+{ENTER", -1, "+Alt +Shift -Shift -Alt"},  // "{" without "}"
        {__LINE__, "ab{", -1, "+A -A +B -B"},
        {__LINE__, "{ENTER3}", -1, ""},
        {__LINE__, "{}", -1, ""},                               // braces naming no key
        {__LINE__, "{ 3}", -1, ""},
    };
    for (auto& r : rows) {
        Recorder rec;
        EXPECT_EQ(r.result, rec.send(r.keys)) << "row at line " << r.line;
        EXPECT_EQ(r.events, rec.events) << "row at line " << r.line;
    }
}

// The user break stops a long repeat between two key strokes; a run of
// prefixes as long as the text is released in reverse without recursion.
TEST(Keystrokes, BreakAndLongPrefixRuns) {
    Recorder rec;
    rec.budget = 7;
    EXPECT_EQ(0, rec.send("+{a 2000000000}b"));
    EXPECT_EQ("+Shift " + times(3, "+A -A") + " -Shift", rec.events);

    std::string prefixes(200000, '^');
    Recorder deep;
    EXPECT_EQ(0, deep.send((prefixes + "a").c_str()));
    EXPECT_EQ(times(200000, "+Ctrl") + " +A -A " + times(200000, "-Ctrl"), deep.events);
}

TEST(Keystrokes, WaitForKeyNotation) {
    struct { int line; const char* text; int32_t code; } rows[] = {
        {__LINE__, "{F1}", 0x1070},        {__LINE__, "^{HOME}", 0x5024},
        {__LINE__, "{NOTAKEY}", 0x4E},     {__LINE__, "+", -1},
        {__LINE__, "", 0},                 {__LINE__, "a", 0x41},
        {__LINE__, "+a", 0x8041},          {__LINE__, "!^+{enter}", 0xE00D},
        {__LINE__, "{x}", 0x58},           {__LINE__, "{}", -1},
        {__LINE__, "{}x", 0x58},           {__LINE__, "{xyz}", 0x58},   // "XYZ" is not the lower-case row
        {__LINE__, "{INS}", 0x49},         {__LINE__, "{insert}", 0x102D},
        {__LINE__, "{ESC", 0x001B},        {__LINE__, "}", 0x7D},
        {__LINE__, "++a", 0x41},           // modifiers add up in sixteen bits
        {__LINE__, "ab", 0x41},            {__LINE__, "!!", -1},
    };
    for (auto& r : rows) EXPECT_EQ(r.code, wait_key_parse(r.text)) << "row at line " << r.line;
}

bool held_keys(void* user, unsigned vk) { return std::string((const char*)user).find((char)vk) != std::string::npos; }

TEST(Keystrokes, WaitForKeyPoll) {
    const uint16_t codes[] = {0x41, 0x8041, 0x1070, 0x4042};
    struct { int line; uint16_t state; const char* held; int found; } rows[] = {
        {__LINE__, 0, "A", 1},
        {__LINE__, WAIT_SHIFT, "A", 2},           // modifiers must match exactly
        {__LINE__, WAIT_SHIFT | WAIT_CTRL, "A", 0},
        {__LINE__, 0, "p", 3},                    // F1: virtual key 0x70
        {__LINE__, WAIT_CTRL, "AB", 4},
        {__LINE__, 0, "B", 0},
        {__LINE__, 0, "pA", 1},                   // the first in argument order wins
    };
    for (auto& r : rows)
        EXPECT_EQ(r.found, wait_keys_poll(codes, 4, r.state, held_keys, (void*)r.held)) << "row at line " << r.line;
}

TEST(Keystrokes, RunCommandLines) {
    std::string long_name(300, 'x'), long_params(300, 'p'), cut = std::string(RUN_PROGRAM_MAX, 'x') + ".EXE ";
    cut += std::string(RUN_COMMAND_SIZE - 1 - cut.size(), 'p');   // the name and the parameters cut to the buffer
    struct { int line; std::string program, parameters; RunTarget target; std::string command; } rows[] = {
        {__LINE__, "notepad", "", RUN_PROGRAM, "notepad.EXE "},
        {__LINE__, "notepad.exe", "a.txt", RUN_PROGRAM, "notepad.exe a.txt"},
        {__LINE__, "C:\\bin\\tool", "-q", RUN_PROGRAM, "C:\\bin\\tool.EXE -q"},
        {__LINE__, "tool /x", "", RUN_DOCUMENT, "tool.EXE /x"},   // the whole text's end decides
        {__LINE__, "go.BaT", "1", RUN_PROGRAM, "go.BaT 1"},
        {__LINE__, "a.com", "", RUN_PROGRAM, "a.com "},
        {__LINE__, "a.pif", "", RUN_PROGRAM, "a.pif "},
        {__LINE__, "readme.txt", "x", RUN_DOCUMENT, "readme.txt"},
        {__LINE__, "prog*bin", "x", RUN_PROGRAM, "prog.bin x"},
        {__LINE__, "a*b", "", RUN_DOCUMENT, "a*b"},             // shorter than five characters
        {__LINE__, "C:\\my.dir\\tool", "", RUN_DOCUMENT, "C:\\my.dir\\tool"},   // a "." anywhere in the name
        {__LINE__, long_name, long_params, RUN_PROGRAM, cut},
    };
    for (auto& r : rows) {
        char command[RUN_COMMAND_SIZE];
        EXPECT_EQ(r.target, run_command_line(nullptr, r.program.c_str(), r.parameters.c_str(), command)) << "row at line " << r.line;
        EXPECT_EQ(r.command, command) << "row at line " << r.line;
    }
}

TEST(Keystrokes, DocumentCommandLines) {
    struct { int line; const char* entry; const char* document; const char* parameters; const char* command; } rows[] = {
        {__LINE__, "notepad.exe ^.txt", "C:\\d\\readme.txt", "", "notepad.exe C:\\d\\readme.txt"},
        {__LINE__, "viewer.exe", "readme.txt", "-r", "viewer.exe readme.txt -r"},
        {__LINE__, "v.exe ^.bak ^", "x.y.txt", "", "v.exe x.y.bak x.y"},
    };
    for (auto& r : rows) {
        char command[RUN_COMMAND_SIZE];
        document_command_line(nullptr, r.entry, r.document, r.parameters, command);
        EXPECT_STREQ(r.command, command) << "row at line " << r.line;
    }
    EXPECT_STREQ("gz", document_extension("x.tar.gz"));
    EXPECT_STREQ("", document_extension("C:\\a.b\\readme"));
}

} // namespace
} // namespace tsl

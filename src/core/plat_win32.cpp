// The platform seam with real Win32 calls: the DLL's implementation of plat.h.
#include <windows.h>
#include <mmsystem.h>
#include <cctype>
#include "plat.h"
#include "context.h"
#include "bounded.h"
#include "command_call.h"
#include "startup_win32.h"
#include "../periphery/debug_trace.h"

namespace tsl {

// --- characters of the current code page ---

bool plat_is_alpha(unsigned char c) { return IsCharAlphaA((CHAR)c) != 0; }
bool plat_is_alnum(unsigned char c) { return IsCharAlphaNumericA((CHAR)c) != 0; }
bool plat_is_digit(unsigned char c) { return c >= '0' && c <= '9'; }

unsigned char plat_lower_char(unsigned char c) {
    // CharLowerA takes a single character in the low word of the pointer.
    return (unsigned char)(UINT_PTR)CharLowerA((LPSTR)(UINT_PTR)c);
}

bool plat_dbcs_enabled() {
    static int enabled = -1;  // read once: the code page does not change under a running process
    if (enabled < 0) enabled = GetSystemMetrics(SM_DBCSENABLED) ? 1 : 0;
    return enabled != 0;
}

// The lead bytes of the code page, read once: string functions step by
// characters through every text, and a system call per character (under
// Wine above all) would cost more than the rest of their work. The steps
// are those of CharNextA: a lead byte and the byte after it are one
// character, unless the text ends there.
static bool g_lead[256];
static bool lead_table_ready() {
    static bool ready = [] {
        if (plat_dbcs_enabled())
            for (unsigned c = 0; c < 256; ++c) g_lead[c] = IsDBCSLeadByte((BYTE)c) != 0;
        return true;
    }();
    return ready;
}

bool plat_is_lead_byte(unsigned char c) { return lead_table_ready() && g_lead[c]; }

const char* plat_char_next(const char* p) {
    if (!*p) return p;
    lead_table_ready();
    return (g_lead[(unsigned char)*p] && p[1]) ? p + 2 : p + 1;
}

// Comparisons. Under Wine every lstrcmpA converts both texts to UTF-16
// and builds their collation keys, far more work than the rest of a text
// comparison in a script. Two shortcuts give the same answer without it:
// byte-identical texts always compare equal, and two different texts made
// only of printable ASCII (0x20..0x7E) never do: each of these characters
// has a weight of its own, none is ignored, and none joins another into a
// sorting unit that equals some other spelling (tests/win/
// test_text_fast_paths.cpp checks this against lstrcmpA for every pair of
// such texts up to two characters and for longer ones built from letters
// that sort as units in some languages, in many locales and in code pages
// 1252 and 932). Any other byte (control characters are ignored by the
// collation, high bytes depend on the code page) goes to lstrcmpA.
static inline bool printable(unsigned char c) { return (unsigned)(c - 0x20) < 0x5F; }
static bool all_printable(const unsigned char* p) {
    while (printable(*p)) ++p;
    return *p == 0;
}

bool plat_texts_equal(const char* a, const char* b) {
    const unsigned char* p = (const unsigned char*)a;
    const unsigned char* q = (const unsigned char*)b;
    bool plain = true;  // the common prefix is printable ASCII
    for (; *p == *q; ++p, ++q) {
        if (!*p) return true;
        plain = plain && printable(*p);
    }
    if (plain && all_printable(p) && all_printable(q)) return false;
    return lstrcmpA(a, b) == 0;
}

int plat_compare(const char* a, const char* b) {
    const char* p = a;
    const char* q = b;
    while (*p == *q) {
        if (!*p) return 0;  // byte-identical
        ++p, ++q;
    }
    return lstrcmpA(a, b);
}
int plat_compare_nocase(const char* a, const char* b) { return lstrcmpiA(a, b); }

// Case mapping through tables of CharUpperA / CharLowerA on each byte, read
// once. On a single-byte code page a text maps byte by byte (each byte is
// one character), so the tables give the system's answer for any text. On a
// double-byte code page the byte after a lead byte is not a character of
// its own: there only texts entirely below 0x80 (which hold no lead byte)
// take the tables, every other text goes to the system.
struct CaseTables { unsigned char upper[256], lower[256]; };
static const CaseTables& case_tables() {
    static const CaseTables t = [] {
        CaseTables m;
        for (unsigned c = 0; c < 256; ++c) {
            m.upper[c] = (unsigned char)(UINT_PTR)CharUpperA((LPSTR)(UINT_PTR)c);
            m.lower[c] = (unsigned char)(UINT_PTR)CharLowerA((LPSTR)(UINT_PTR)c);
        }
        m.upper[0] = m.lower[0] = 0;
        return m;
    }();
    return t;
}

static void map_case(char* s, const unsigned char* map, LPSTR (WINAPI* system)(LPSTR)) {
    unsigned char* p = (unsigned char*)s;
    if (plat_dbcs_enabled()) {
        unsigned char any = 0;
        for (const unsigned char* q = p; *q; ++q) any |= *q;
        if (any & 0x80) { system(s); return; }
    }
    for (; *p; ++p) *p = map[*p];
}
void plat_upper(char* s) { map_case(s, case_tables().upper, CharUpperA); }
void plat_lower(char* s) { map_case(s, case_tables().lower, CharLowerA); }

// --- boxes, sounds, tracing ---

static bool g_console = false;  // process-wide: set through DLLServices 100

bool plat_console_mode() { return g_console; }
void plat_set_console_mode(bool on) { g_console = on; }

void plat_write_stderr(const char* text) {
    HANDLE h = GetStdHandle(STD_ERROR_HANDLE);
    if (h == NULL || h == INVALID_HANDLE_VALUE) return;
    DWORD written;
    WriteFile(h, text, (DWORD)lstrlenA(text), &written, NULL);
}

// The buttons of each MessageBox button set (MB_OK .. MB_CANCELTRYCONTINUE).
static const int kButtons[7][3] = {
    {IDOK, 0, 0}, {IDOK, IDCANCEL, 0}, {IDABORT, IDRETRY, IDIGNORE}, {IDYES, IDNO, IDCANCEL},
    {IDYES, IDNO, 0}, {IDRETRY, IDCANCEL, 0}, {IDCANCEL, IDTRYAGAIN, IDCONTINUE},
};

// The answer of the box's default button (MB_DEFBUTTONn; a default beyond
// the last button falls back to the first, as MessageBox does).
static int default_answer(unsigned style) {
    unsigned set = style & MB_TYPEMASK;
    if (set > 6) set = 0;
    unsigned def = (style & MB_DEFMASK) >> 8;
    if (def > 2 || kButtons[set][def] == 0) def = 0;
    return kButtons[set][def];
}

// Console mode: "BOX(<caption>): <text>" on one line of standard error,
// every line break of the text (CR LF, CR or LF) shown as " / ".
static void console_box(const char* text, const char* caption) {
    char line[2048];
    line[0] = 0;
    bounded_append(nullptr, line, "BOX(", sizeof line);
    bounded_append(nullptr, line, caption ? caption : "", sizeof line);
    bounded_append(nullptr, line, "): ", sizeof line);
    size_t n = (size_t)lstrlenA(line);
    for (const char* p = text ? text : ""; *p && n + 4 < sizeof line; ++p) {
        if (*p == '\r' || *p == '\n') {
            if (*p == '\r' && p[1] == '\n') ++p;
            line[n++] = ' '; line[n++] = '/'; line[n++] = ' ';
        } else {
            line[n++] = *p;
        }
    }
    line[n] = 0;
    bounded_append(nullptr, line, "\r\n", sizeof line);
    plat_write_stderr(line);
}

int plat_message_box(PHandle owner, const char* text, const char* caption, unsigned style) {
    if (g_console) {
        console_box(text, caption);
        return default_answer(style);
    }
    return MessageBoxA((HWND)owner, text, caption, style);
}

int plat_debug_trace(Context* ctx, const char* line) { return debug_trace_dialog(ctx, line); }

PHandle plat_focus_window() { return GetFocus(); }

void plat_play_sound(const char* alias) { PlaySoundA(alias, NULL, SND_ALIAS | SND_ASYNC); }
void plat_message_beep(unsigned type) { MessageBeep(type); }
void plat_output_debug(const char* text) { OutputDebugStringA(text); }

// --- time and waiting ---

void plat_sleep(unsigned ms) { Sleep(ms); }
uint32_t plat_tick_count() { return GetTickCount(); }

void plat_local_time(LocalTime* t) {
    SYSTEMTIME st;
    GetLocalTime(&st);
    t->year = st.wYear; t->month = st.wMonth; t->day = st.wDay; t->weekday = st.wDayOfWeek;
    t->hour = st.wHour; t->minute = st.wMinute; t->second = st.wSecond; t->millis = st.wMilliseconds;
}

// --- the message pump and the user break ---

// The keys are read at most once every 10 ms: each GetKeyState is a round
// trip to the window server, and a user's Ctrl+Break is held far longer.
// Without the message pump (Exclusive) the thread's key state does not
// change between lines anyway.
void plat_break_test(Context* ctx) {
    static DWORD last_check;
    static bool checked;
    DWORD now = GetTickCount();
    if (!checked || now - last_check >= 10) {
        checked = true;
        last_check = now;
        if ((GetKeyState(VK_CONTROL) & 0x8000) && (GetKeyState(VK_CANCEL) & 0x8000)) ctx->break_flag = 1;
    }
    if (ctx->idle_calls && ctx->host_proc) {
        // The idle call answers into a scratch value; it must not disturb the
        // error number of the statement in progress.
        uint16_t saved = ctx->error;
        Value scratch = value_int(0);
        command_call(ctx, CMD_IDLE, &scratch);
        value_free(ctx, &scratch);
        ctx->error = saved;
    }
}

void plat_pump_messages(Context* ctx) {
    Sleep(20);
    MSG msg;
    while (!ctx->break_flag && PeekMessageA(&msg, NULL, 0, 0, PM_REMOVE)) {
        if (msg.message == WM_QUIT) {
            // Not ours to take: put it back for the host's own loop and stop.
            PostQuitMessage((int)msg.wParam);
            break;
        }
        plat_break_test(ctx);
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}

void plat_set_cursor(Context* ctx, bool wait) {
    ctx->current_cursor = wait ? ctx->wait_cursor : ctx->arrow_cursor;
    if (ctx->current_cursor) SetCursor((HCURSOR)ctx->current_cursor);
}

// --- profiles and files ---

unsigned plat_profile_string(const char* file, const char* section, const char* key, const char* def,
                             char* buf, unsigned size) {
    if (!size) return 0;
    if (!file) return GetProfileStringA(section, key, def, buf, size);
    return GetPrivateProfileStringA(section, key, def, buf, size, file);
}

unsigned plat_load_message(unsigned number, char* buf, unsigned size) {
    if (!size) return 0;
    char text[2048];
    int n = LoadStringA(g_module, number, text, sizeof text);
    if (n <= 0) text[0] = 0;
    bounded_copy(nullptr, buf, text, size);
    return (unsigned)lstrlenA(buf);
}

bool plat_module_dir(char* buf, unsigned size) {
    char path[MAX_PATH];
    DWORD n = GetModuleFileNameA(g_module, path, sizeof path);
    if (n == 0 || n >= sizeof path) return false;
    char* cut = path;
    for (char* p = path; *p; p = CharNextA(p))
        if (*p == '\\') cut = p + 1;
    *cut = 0;
    if ((unsigned)lstrlenA(path) >= size) return false;
    bounded_copy(nullptr, buf, path, size);
    return true;
}

static bool is_file(const char* path) {
    DWORD a = GetFileAttributesA(path);
    return a != INVALID_FILE_ATTRIBUTES && !(a & FILE_ATTRIBUTE_DIRECTORY);
}

static bool full_name(const char* path, char* full, unsigned size) {
    char buf[MAX_PATH];
    DWORD n = GetFullPathNameA(path, sizeof buf, buf, NULL);
    if (n == 0 || n >= sizeof buf || n >= size) return false;
    bounded_copy(nullptr, full, buf, size);
    return true;
}

// The run-time library's environment search: the name as given (relative
// to the current directory), then each directory of PATH in order.
bool plat_search_file(const char* name, char* full, unsigned size) {
    if (!name || !*name || !size) return false;
    if (is_file(name)) return full_name(name, full, size);
    char path[8192];
    DWORD n = GetEnvironmentVariableA("PATH", path, sizeof path);
    if (n == 0 || n >= sizeof path) return false;
    char candidate[MAX_PATH];
    for (char* dir = path; *dir;) {
        char* end = dir;
        while (*end && *end != ';') ++end;
        char saved = *end;
        *end = 0;
        if (*dir && lstrlenA(dir) + lstrlenA(name) + 2 < (int)sizeof candidate) {
            candidate[0] = 0;
            bounded_append(nullptr, candidate, dir, sizeof candidate);
            size_t len = (size_t)lstrlenA(candidate);
            if (candidate[len - 1] != '\\' && candidate[len - 1] != '/')
                bounded_append(nullptr, candidate, "\\", sizeof candidate);
            bounded_append(nullptr, candidate, name, sizeof candidate);
            if (is_file(candidate)) return full_name(candidate, full, size);
        }
        if (!saved) break;
        dir = end + 1;
    }
    return false;
}

const uint32_t SCRIPT_FILE_LIMIT = 65521;  // positions in a script are 16-bit offsets

unsigned plat_load_script_file(const char* path, char** text, uint32_t* size) {
    *text = nullptr;
    *size = 0;
    HANDLE h = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, NULL);
    if (h == INVALID_HANDLE_VALUE) return 102;
    DWORD high = 0;
    DWORD length = GetFileSize(h, &high);
    if (high || length >= SCRIPT_FILE_LIMIT) { CloseHandle(h); return 205; }
    char* buf = (char*)HeapAlloc(GetProcessHeap(), 0, length + 1);
    if (!buf) { CloseHandle(h); return 203; }
    DWORD got = 0;
    BOOL ok = ReadFile(h, buf, length, &got, NULL);
    CloseHandle(h);
    if (!ok || got != length) { HeapFree(GetProcessHeap(), 0, buf); return 206; }
    buf[length] = 0;
    *text = buf;
    *size = length;
    return 0;
}

void plat_free_script_file(char* text) {
    if (text) HeapFree(GetProcessHeap(), 0, text);
}

} // namespace tsl

// --- the C library's scans of texts ---
// The DLL's own strlen, strchr, memcmp and memcpy, linked in place of the
// system run-time library's: Wine's msvcrt steps through the first three
// one byte at a time and reaches its copy through several calls, and the
// interpreter runs them on every line it reads (its length, the search for
// "%", the comparison with the line's record, the copy) and on texts,
// about a quarter of workload B's time under Wine. These work on 16 bytes
// at a time. strlen and strchr read aligned blocks: a block never crosses a
// page, so no read reaches a page the text does not touch. The loops are
// kept as written: the compiler must not turn them back into library calls.
#if defined(__SSE2__)
#include <emmintrin.h>

#define TSL_OWN_SCAN extern "C" __attribute__((optimize("no-tree-loop-distribute-patterns")))

// Bit i set where byte i of the aligned block at p is zero or equals c.
static inline unsigned block_hits(const char* p, __m128i zero, __m128i c) {
    __m128i b = _mm_load_si128((const __m128i*)p);
    return (unsigned)_mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(b, zero), _mm_cmpeq_epi8(b, c)));
}

// The first byte from s on that is zero or equals c, found block by block.
static inline const char* first_hit(const char* s, char ch) {
    const __m128i zero = _mm_setzero_si128(), c = _mm_set1_epi8(ch);
    unsigned skip = (unsigned)((uintptr_t)s & 15);
    const char* p = s - skip;
    unsigned hits = block_hits(p, zero, c) >> skip << skip;
    while (!hits) {
        p += 16;
        hits = block_hits(p, zero, c);
    }
    return p + __builtin_ctz(hits);
}

TSL_OWN_SCAN size_t strlen(const char* s) { return (size_t)(first_hit(s, 0) - s); }

TSL_OWN_SCAN char* strchr(const char* s, int ch) {
    const char* p = first_hit(s, (char)ch);
    return *p == (char)ch ? (char*)p : nullptr;
}

TSL_OWN_SCAN int memcmp(const void* a, const void* b, size_t n) {
    const unsigned char* p = (const unsigned char*)a;
    const unsigned char* q = (const unsigned char*)b;
    for (; n >= 16; n -= 16, p += 16, q += 16) {
        __m128i x = _mm_loadu_si128((const __m128i*)p), y = _mm_loadu_si128((const __m128i*)q);
        unsigned differ = (unsigned)_mm_movemask_epi8(_mm_cmpeq_epi8(x, y)) ^ 0xFFFFu;
        if (differ) {
            unsigned i = (unsigned)__builtin_ctz(differ);
            return p[i] - q[i];
        }
    }
    for (; n; --n, ++p, ++q)
        if (*p != *q) return *p - *q;
    return 0;
}

// Blocks of 16 bytes, the last one ending at the last byte (it may overlap
// the one before); below 16 bytes two overlapping moves of 8, 4 or 1 and 2.
TSL_OWN_SCAN void* memcpy(void* dst, const void* src, size_t n) {
    unsigned char* d = (unsigned char*)dst;
    const unsigned char* s = (const unsigned char*)src;
    if (n >= 16) {
        __m128i last = _mm_loadu_si128((const __m128i*)(s + n - 16));
        for (size_t i = 0; i + 16 < n; i += 16)
            _mm_storeu_si128((__m128i*)(d + i), _mm_loadu_si128((const __m128i*)(s + i)));
        _mm_storeu_si128((__m128i*)(d + n - 16), last);
    } else if (n >= 8) {
        uint64_t a, b;
        __builtin_memcpy(&a, s, 8);
        __builtin_memcpy(&b, s + n - 8, 8);
        __builtin_memcpy(d, &a, 8);
        __builtin_memcpy(d + n - 8, &b, 8);
    } else if (n >= 4) {
        uint32_t a, b;
        __builtin_memcpy(&a, s, 4);
        __builtin_memcpy(&b, s + n - 4, 4);
        __builtin_memcpy(d, &a, 4);
        __builtin_memcpy(d + n - 4, &b, 4);
    } else if (n) {
        unsigned char first = s[0], middle = s[n / 2], end = s[n - 1];
        d[0] = first;
        d[n / 2] = middle;
        d[n - 1] = end;
    }
    return dst;
}
#endif

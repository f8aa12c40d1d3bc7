// The platform seam for the native build: ASCII character classes, a
// code-page-932-like double-byte mode for tests, boxes answered on the
// console, profile values held in memory, files through the C library.
#include <sys/stat.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <string>
#include <thread>
#include "context.h"
#include "messages.h"
#include "plat.h"
#include "plat_native_control.h"

namespace tsl {

static bool g_dbcs = false;
static bool g_console = true;
static bool g_break_pressed = false;
static int g_box_answer = 0;
static std::string g_boxes;
static std::map<std::string, std::string> g_profiles;
static bool g_no_sleep = false;
static unsigned g_break_countdown = 0;

void plat_native_set_dbcs(bool on) { g_dbcs = on; }
void plat_native_press_break() { g_break_pressed = true; }
void plat_native_break_after(unsigned n) { g_break_countdown = n; }
void plat_native_set_box_answer(int answer) { g_box_answer = answer; }
std::string plat_native_take_boxes() { std::string s; s.swap(g_boxes); return s; }

static std::string lower(std::string s) {
    for (auto& c : s) c = (char)tolower((unsigned char)c);
    return s;
}
static std::string profile_key(const char* file, const char* section, const char* key) {
    return lower(file ? file : "") + "|" + lower(section) + "|" + lower(key);
}
void plat_native_set_profile(const char* file, const char* section, const char* key, const char* value) {
    g_profiles[profile_key(file, section, key)] = value;
}
void plat_native_clear_profiles() { g_profiles.clear(); }
void plat_native_set_no_sleep(bool on) { g_no_sleep = on; }

bool plat_is_alpha(unsigned char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool plat_is_alnum(unsigned char c) { return plat_is_alpha(c) || (c >= '0' && c <= '9'); }
bool plat_is_digit(unsigned char c) { return c >= '0' && c <= '9'; }
unsigned char plat_lower_char(unsigned char c) { return (c >= 'A' && c <= 'Z') ? (unsigned char)(c + 32) : c; }
bool plat_dbcs_enabled() { return g_dbcs; }
bool plat_is_lead_byte(unsigned char c) { return g_dbcs && ((c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC)); }
const char* plat_char_next(const char* p) {
    if (!*p) return p;
    if (plat_is_lead_byte((unsigned char)*p) && p[1]) return p + 2;
    return p + 1;
}
int plat_compare(const char* a, const char* b) { return strcmp(a, b); }
bool plat_texts_equal(const char* a, const char* b) { return strcmp(a, b) == 0; }
int plat_compare_nocase(const char* a, const char* b) { return strcasecmp(a, b); }
void plat_upper(char* s) {
    for (; *s; s = (char*)plat_char_next(s))
        if (*s >= 'a' && *s <= 'z') *s = (char)(*s - 32);
}
void plat_lower(char* s) {
    for (; *s; s = (char*)plat_char_next(s))
        if (*s >= 'A' && *s <= 'Z') *s = (char)(*s + 32);
}

int plat_message_box(PHandle, const char* text, const char* caption, unsigned style) {
    g_boxes += std::string(caption ? caption : "") + "|" + (text ? text : "") + "\n";
    if (g_console) {
        std::string t = text ? text : "";
        for (size_t i; (i = t.find_first_of("\r\n")) != std::string::npos;)
            t.replace(i, t[i] == '\r' && t[i + 1] == '\n' ? 2 : 1, " / ");
        fprintf(stderr, "BOX(%s): %s\n", caption ? caption : "", t.c_str());
    }
    if (g_box_answer) return g_box_answer;
    bool second = style & BOX_DEFBUTTON2;
    switch (style & 15) {
    case BOX_OKCANCEL: return second ? ANSWER_CANCEL : ANSWER_OK;
    case BOX_YESNO: return second ? ANSWER_NO : ANSWER_YES;
    default: return ANSWER_OK;
    }
}
PHandle plat_focus_window() { return nullptr; }
void plat_play_sound(const char*) {}
void plat_message_beep(unsigned) {}
void plat_output_debug(const char*) {}
void plat_write_stderr(const char* text) { fputs(text, stderr); }
int plat_debug_trace(Context* ctx, const char* line) {
    int answer = plat_message_box(ctx->owner, line, "Debug: run this line?", BOX_OKCANCEL | BOX_ICONQUESTION);
    return answer == ANSWER_OK ? TRACE_STEP : TRACE_STOP;
}

bool plat_console_mode() { return g_console; }
void plat_set_console_mode(bool on) { g_console = on; }

void plat_sleep(unsigned ms) {
    if (g_no_sleep) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}
uint32_t plat_tick_count() {
    using namespace std::chrono;
    return (uint32_t)duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}
void plat_local_time(LocalTime* t) {
    using namespace std::chrono;
    auto now = system_clock::now();
    time_t secs = system_clock::to_time_t(now);
    struct tm tm;
    localtime_r(&secs, &tm);
    t->year = tm.tm_year + 1900; t->month = tm.tm_mon + 1; t->day = tm.tm_mday; t->weekday = tm.tm_wday;
    t->hour = tm.tm_hour; t->minute = tm.tm_min; t->second = tm.tm_sec;
    t->millis = (int)(duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000);
}

// The native build has no message queue; the pump only sleeps.
void plat_pump_messages(Context* ctx) {
    plat_sleep(20);
    plat_break_test(ctx);
}
void plat_break_test(Context* ctx) {
    if (g_break_countdown && --g_break_countdown == 0) g_break_pressed = true;
    if (g_break_pressed) { ctx->break_flag = 1; g_break_pressed = false; }
}
void plat_set_cursor(Context*, bool) {}

unsigned plat_profile_string(const char* file, const char* section, const char* key, const char* def,
                             char* buf, unsigned size) {
    if (!size) return 0;
    auto it = g_profiles.find(profile_key(file, section, key));
    const char* v = it == g_profiles.end() ? def : it->second.c_str();
    size_t n = strlen(v);
    if (n > size - 1) n = size - 1;
    memcpy(buf, v, n);
    buf[n] = 0;
    return (unsigned)n;
}

unsigned plat_load_message(unsigned number, char* buf, unsigned size) {
    if (!size) return 0;
    const char* t = builtin_message(number);
    size_t n = strlen(t);
    if (n > size - 1) n = size - 1;
    memcpy(buf, t, n);
    buf[n] = 0;
    return (unsigned)n;
}

bool plat_module_dir(char* buf, unsigned size) {
    if (size < 3) return false;
    strcpy(buf, "./");
    return true;
}

static bool is_file(const std::string& p) {
    struct stat st;
    return stat(p.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool plat_search_file(const char* name, char* full, unsigned size) {
    std::string found;
    if (is_file(name)) {
        found = name;
    } else if (!strchr(name, '/')) {
        const char* path = getenv("PATH");
        std::string dirs = path ? path : "";
        size_t start = 0;
        while (start <= dirs.size()) {
            size_t end = dirs.find(':', start);
            if (end == std::string::npos) end = dirs.size();
            std::string cand = dirs.substr(start, end - start) + "/" + name;
            if (end > start && is_file(cand)) { found = cand; break; }
            start = end + 1;
        }
    }
    if (found.empty() || found.size() >= size) return false;
    memcpy(full, found.c_str(), found.size() + 1);
    return true;
}

unsigned plat_load_script_file(const char* path, char** text, uint32_t* size) {
    FILE* f = fopen(path, "rb");
    if (!f) return 102;
    fseek(f, 0, SEEK_END);
    long n = ftell(f);
    fseek(f, 0, SEEK_SET);
    if (n < 0 || n >= 65521) { fclose(f); return 205; }
    char* buf = (char*)malloc((size_t)n + 1);
    if (!buf) { fclose(f); return 203; }
    size_t got = fread(buf, 1, (size_t)n, f);
    fclose(f);
    if (got != (size_t)n) { free(buf); return 206; }
    buf[n] = 0;
    *text = buf;
    *size = (uint32_t)n;
    return 0;
}
void plat_free_script_file(char* text) { free(text); }

} // namespace tsl

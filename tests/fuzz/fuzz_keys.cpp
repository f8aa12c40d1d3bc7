// libFuzzer target: arbitrary text through the keystroke language, the
// WaitForKey notation and the Run family's command lines, with the key
// events recorded instead of sent. Every text must give events or -1 (error
// 2001), leave no key held, and end even with a huge repeat count (a user
// break after 100,000 events); a WaitForKey text gives a code, 0 only when
// empty, or -1 (error 3123). A finding aborts, so libFuzzer keeps the input.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include "system/command_line_portable.h"
#include "system/keystrokes_portable.h"

namespace {

const long EVENT_BUDGET = 100000;

struct Held {
    long down[256] = {};
    long events = 0;
    bool broken = false;
};

void check(bool ok, const char* what) {
    if (ok) return;
    fprintf(stderr, "fuzz_keys: %s\n", what);
    abort();
}

// Some characters have no key, others imply any mix of Shift, Ctrl and Alt.
int scan(void*, unsigned char c) { return c % 7 == 3 ? -1 : ((c >> 5) & 7) << 8 | c; }

void event(void* user, unsigned vk, bool down) {
    Held* h = (Held*)user;
    check(vk < 256, "a virtual key above 255");
    h->down[vk] += down ? 1 : -1;
    check(h->down[vk] >= 0 && h->down[vk] <= 1 + (long)(vk >= 0x10 && vk <= 0x12) * 1000000,
          "a key released that was not down, or pressed twice");
    ++h->events;
}

bool stopped(void* user) { return ((Held*)user)->events >= EVENT_BUDGET; }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 4096) return 0;
    std::string text((const char*)data, size);
    text = text.c_str();   // a script's text ends at its first NUL

    Held held;
    int r = tsl::keys_send(text.c_str(), tsl::KeySink{&held, scan, event, stopped});
    check(r == 0 || r == -1, "keys_send gave neither 0 nor -1");
    for (int vk = 0; vk < 256; ++vk) check(held.down[vk] == 0, "a key left held down");
    check(held.events <= EVENT_BUDGET + 3 + 2 * (long)text.size(), "events after the user break");

    // The first five lines as WaitForKey's arguments.
    size_t start = 0;
    for (int i = 0; i < 5 && start <= text.size(); ++i) {
        size_t end = text.find('\n', start);
        std::string arg = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
        int32_t code = tsl::wait_key_parse(arg.c_str());
        check(arg.empty() ? code == 0 : (code == -1 || (code > 0 && code <= 0xFFFF)), "a WaitForKey code out of range");
        if (end == std::string::npos) break;
        start = end + 1;
    }

    char command[tsl::RUN_COMMAND_SIZE];
    size_t half = text.size() / 2;
    std::string program = text.substr(0, half), parameters = text.substr(half);
    tsl::run_command_line(nullptr, program.c_str(), parameters.c_str(), command);
    check(strlen(command) < tsl::RUN_COMMAND_SIZE, "a command line past its buffer");
    char document[tsl::RUN_COMMAND_SIZE];
    tsl::document_command_line(nullptr, parameters.c_str(), command, program.c_str(), document);
    check(strlen(document) < tsl::RUN_COMMAND_SIZE, "a document command past its buffer");
    return 0;
}

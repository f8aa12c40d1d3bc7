// One fuzzing run of a script, shared by the libFuzzer target and the unit
// test that replays tests/fuzz/regressions: run_script on a small heap
// (2,000 bytes) and a small variable table (40 slots), or, when bit 2 of the
// input's length is set, on 30,000 bytes and 400 slots so that longer
// scripts get past their first strings; Exclusive on, every
// sleep of the native platform returning at once, and the user break at
// the 3,000th break test (a script may loop for ever, as scripts may).
// Console mode is on for inputs of even length and off for odd ones, so
// both the console report and the box report are exercised; the double-byte
// mode (code page 932's lead bytes) is on when the length's second bit is. The host
// table has one command, echo, whose output is kept for the comparison; Call of arbitrary
// names only reads regular files below 65,521 bytes. The input itself is
// written to /tmp/tsl-fuzz-self-<process id>.tsl first, the one file the
// harness writes, and the variable self holds that name, so that an input
// can Call(self, ...) itself (nesting, Param, CANCEL, exit); each process
// has its own file, so that fuzzers and test runs side by side do not
// change each other's callee.
//
// Each input runs twice, with the token replay of repeated lines and
// without it (unless it reads the clock or the random generator): echo
// output, boxes, the run's error and result and the variables must agree.
//
// After each run the heap is walked (tags, sizes, free-list links both
// ways, no two free neighbours); then every variable's text is freed and
// the heap must be one free block again, or the run leaked (unless the
// variable table overflowed: set-by-name then loses a text by design).
// Returns "" or what is wrong.
#pragma once
#include <cstdint>
#include <cstdio>
#include <cctype>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>
#include "core/context.h"
#include "core/heap.h"
#include "core/line_tokens.h"
#include "core/plat_native_control.h"
#include "core/runloop.h"
#include "core/vars.h"
#include "../heap_walk.h"

namespace fuzz {

using namespace tsl;

const uint32_t HEAP_SMALL = 2000, HEAP_LARGE = 30000;
const uint16_t SLOTS_SMALL = 40, SLOTS_LARGE = 400;
const unsigned BREAK_AFTER = 3000;
// The file an input is stored in for Call(self, ...).
inline const std::string& self_path() {
    static const std::string path = "/tmp/tsl-fuzz-self-" + std::to_string((long)getpid()) + ".tsl";
    return path;
}

// echo(text): the text and a line feed go to the run's output string.
inline int32_t echo_host(PHandle, intptr_t host_value, int32_t, int32_t, AnswerFn, void*, const char* t1,
                         const char*, const char*, const char*, const char*) {
    std::string* out = reinterpret_cast<std::string*>(host_value);
    if (out->size() < 100000) { *out += t1; *out += "\n"; }
    return 0;
}

// One run with token replay on or off. `sig` receives what the run did:
// echo output, boxes, the run's error and result, and the variables.
inline std::string run_once(const uint8_t* data, size_t size, bool replay, std::string* sig) {
    static Context ctx;
    static uint8_t heap[HEAP_LARGE];
    static VarSlot vars[SLOTS_LARGE];
    static KeywordRecord table[2];
    static std::string out;
    const bool large = (size & 4) != 0;
    const uint32_t heap_size = large ? HEAP_LARGE : HEAP_SMALL;
    const uint16_t slots = large ? SLOTS_LARGE : SLOTS_SMALL;
    memset(&ctx, 0, sizeof ctx);
    memset(vars, 0, sizeof vars);
    // Different garbage in the two runs' heaps: a read of bytes that no
    // one wrote makes the runs differ.
    memset(heap, replay ? 0xA5 : 0x5A, sizeof heap);
    heap_init(heap, heap_size);
    ctx.heap = heap;
    ctx.heap_size = heap_size;
    ctx.vars = vars;
    ctx.var_capacity = slots;
    ctx.exclusive = 1;
    table[0] = KeywordRecord{0, KW_FUNCTION, 1, 1, 4, "echo"};
    table[1] = KeywordRecord{};
    ctx.host_table = table;
    ctx.host_proc = echo_host;
    out.clear();
    ctx.host_value = (intptr_t)&out;
    var_set_text(&ctx, "self", self_path().c_str());
    line_tokens_set_enabled(replay);
    plat_native_set_no_sleep(true);
    plat_set_console_mode(size % 2 == 0);
    plat_native_set_dbcs((size & 2) != 0);
    plat_native_set_box_answer(0);
    plat_native_break_after(BREAK_AFTER);

    std::vector<char> script(data, data + size);
    script.push_back(0);
    run_script(&ctx, script.data());
    *sig = out + "\n--boxes--\n" + plat_native_take_boxes() + "--run-- " + std::to_string(ctx.run_error) + " " +
           std::to_string(ctx.run_result) + "\n" + heap_layout(heap, heap_size);
    for (unsigned i = 0; i < slots; ++i)
        if (vars[i].value.flags) {
            const Value& v = vars[i].value;
            *sig += std::string(vars[i].name) + " " + std::to_string(v.flags) + " " + std::to_string(v.integer) + " " +
                    (v.string ? heap_ptr(heap, v.string) : "") + "\n";
        }
    plat_native_break_after(0);
    plat_native_set_dbcs(false);
    line_tokens_set_enabled(true);

    std::string bad = heap_check(heap, heap_size);
    if (!bad.empty()) return "heap damaged: " + bad;
    for (unsigned i = 0; i < slots; ++i)
        if (vars[i].value.flags && vars[i].value.string) heap_free(heap, vars[i].value.string);
    bad = heap_check(heap, heap_size);
    if (!bad.empty()) return "heap damaged after freeing the variables: " + bad;
    // The count reaches the capacity only through error 3097.
    if (ctx.var_count < slots && heap_free_bytes(heap) != heap_size - 52)
        return "heap leak: " + std::to_string(heap_size - 52 - heap_free_bytes(heap)) + " bytes";
    return "";
}

// Whether the script reads the clock or the random generator, whose values
// differ from one run to the next.
inline bool varies(const uint8_t* data, size_t size) {
    std::string low(data, data + size);
    for (auto& c : low) c = (char)tolower((unsigned char)c);
    for (const char* w : {"time", "tick", "random"})
        if (low.find(w) != std::string::npos) return true;
    return false;
}

// Runs the input with token replay, then (unless it reads the clock) without,
// and the two runs must do the same.
inline std::string run_one(const uint8_t* data, size_t size) {
    if (FILE* f = fopen(self_path().c_str(), "wb")) {
        fwrite(data, 1, size, f);
        fclose(f);
    }
    std::string with, without;
    std::string bad = run_once(data, size, true, &with);
    if (!bad.empty() || varies(data, size)) return bad;
    bad = run_once(data, size, false, &without);
    if (!bad.empty()) return bad + " (without replay)";
    if (with != without) return "replay changes the run:\n" + with + "=== without replay:\n" + without;
    return "";
}

} // namespace fuzz

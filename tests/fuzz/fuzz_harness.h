// One run of a script (the fuzz target, the replay of tests/fuzz/regressions, the replay of the
// portable script tests), with tslrun's host commands; Call(self, ...) calls the input itself.
// A fuzzing run's setup comes from the input's length: heap and table (2,000 bytes and 40 slots,
// or 30,000 and 400), console and double-byte mode, a user break at the 3,000th break test.
// Each input runs with and without token replay (unless it reads the clock) and both runs must
// do the same; the heap is walked after each, and with the variables' texts freed it must be one
// free block again (unless the table overflowed). Returns "" or what is wrong.
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
#include "core/keywords.h"
#include "core/line_tokens.h"
#include "core/plat_native_control.h"
#include "core/runloop.h"
#include "core/vars.h"
#include "../heap_walk.h"

namespace fuzz {

using namespace tsl;

// Where a run happens: the heap's and the table's sizes, console and
// double-byte mode, the user break (0: none).
struct Setup { uint32_t heap_size; uint16_t slots; bool console, dbcs; unsigned break_after; };
const uint16_t MAX_SLOTS = 2000;

inline Setup fuzz_setup(size_t size) {
    bool large = (size & 4) != 0;
    return Setup{large ? 30000u : 2000u, (uint16_t)(large ? 400 : 40), size % 2 == 0, (size & 2) != 0, 3000};
}

inline const std::string& self_path() {
    static const std::string path = "/tmp/tsl-fuzz-self-" + std::to_string((long)getpid()) + ".tsl";
    return path;
}

// tslrun's commands: 0 quit, 1 version, 2 echo (to the run's output), 3 itemizenull.
inline int32_t script_host(PHandle, intptr_t host_value, int32_t, int32_t command, AnswerFn answer, void* record,
                           const char* t1, const char*, const char*, const char*, const char*) {
    std::string* out = reinterpret_cast<std::string*>(host_value);
    if (command == 1) return answer(0, 0, record, 1, 0, "tslrun 1.0");
    if (command == 2 && out->size() < 100000) { *out += t1; *out += "\n"; }
    if (command == 3) return answer(0, 0, record, 1, 0, "");
    return 0;
}

// One run with token replay on or off; `sig` receives what the run did.
inline std::string run_once(const std::string& text, bool replay, const Setup& set, std::string* sig) {
    static Context ctx;
    static uint8_t heap[HEAP_MAX_SIZE];
    static VarSlot vars[MAX_SLOTS];
    static KeywordRecord table[5];
    static std::string out;
    memset(&ctx, 0, sizeof ctx);
    memset(vars, 0, sizeof vars);
    // Different garbage in the two runs' heaps: a read of bytes that no
    // one wrote makes the runs differ.
    memset(heap, replay ? 0xA5 : 0x5A, sizeof heap);
    heap_init(heap, set.heap_size);
    ctx.heap = heap;
    ctx.heap_size = set.heap_size;
    ctx.vars = vars;
    ctx.var_capacity = set.slots;
    ctx.exclusive = 1;
    table[0] = function_record(0, "tslrunquit", 0, 0);
    table[1] = function_record(1, "tslrunversion", 0, 0);
    table[2] = function_record(2, "echo", 1, 1);
    table[3] = function_record(3, "itemizenull", 1, 1);
    ctx.host_table = table;
    ctx.host_proc = script_host;
    out.clear();
    ctx.host_value = (intptr_t)&out;
    var_set_text(&ctx, "self", self_path().c_str());
    var_set_int(&ctx, "Param0", 0);
    line_tokens_set_enabled(replay);
    plat_native_set_no_sleep(true);
    plat_set_console_mode(set.console);
    plat_native_set_dbcs(set.dbcs);
    plat_native_set_box_answer(0);
    plat_native_break_after(set.break_after);

    std::vector<char> script(text.begin(), text.end());
    script.push_back(0);
    run_script(&ctx, script.data());
    *sig = out + "\n--boxes--\n" + plat_native_take_boxes() + "--run-- " + std::to_string(ctx.run_error) + " " +
           std::to_string(ctx.run_result) + "\n" + heap_layout(heap, set.heap_size);
    for (unsigned i = 0; i < set.slots; ++i)
        if (vars[i].value.flags) {
            const Value& v = vars[i].value;
            *sig += std::string(vars[i].name) + " " + std::to_string(v.flags) + " " + std::to_string(v.integer) + " " +
                    (v.string ? heap_ptr(heap, v.string) : "") + "\n";
        }
    plat_native_break_after(0);
    plat_native_set_dbcs(false);
    plat_set_console_mode(true);
    line_tokens_set_enabled(true);

    std::string bad = heap_check(heap, set.heap_size);
    if (!bad.empty()) return "heap damaged: " + bad;
    for (unsigned i = 0; i < set.slots; ++i)
        if (vars[i].value.flags && vars[i].value.string) heap_free(heap, vars[i].value.string);
    bad = heap_check(heap, set.heap_size);
    if (!bad.empty()) return "heap damaged after freeing the variables: " + bad;
    // The count reaches the capacity only through error 3097.
    if (ctx.var_count < set.slots && heap_free_bytes(heap) != set.heap_size - 52)
        return "heap leak: " + std::to_string(set.heap_size - 52 - heap_free_bytes(heap)) + " bytes";
    return "";
}

// Whether the script reads the clock or the random generator.
inline bool varies(const std::string& text) {
    std::string low = text;
    for (auto& c : low) c = (char)tolower((unsigned char)c);
    for (const char* w : {"random", "tick", "datetime", "exacttime"})
        if (low.find(w) != std::string::npos) return true;
    return false;
}

inline std::string run_one(const std::string& text, const Setup& set) {
    if (FILE* f = fopen(self_path().c_str(), "wb")) {
        fwrite(text.data(), 1, text.size(), f);
        fclose(f);
    }
    std::string with, without;
    std::string bad = run_once(text, true, set, &with);
    if (!bad.empty() || varies(text)) return bad;
    bad = run_once(text, false, set, &without);
    if (!bad.empty()) return bad + " (without replay)";
    if (with != without) return "replay changes the run:\n" + with + "=== without replay:\n" + without;
    return "";
}

} // namespace fuzz

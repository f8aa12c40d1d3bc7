// tslrun-native: the command-line host built over the portable core for
// Linux, for fast script tests under the sanitizers and the native
// benchmark. Same usage, host commands and exit statuses as tslrun:
//   tslrun-native [--console] [--time] [--encoded-only] SCRIPT [ARG...]
// Boxes are always answered on the console in this build. An encoded
// script is decoded as Call does; --encoded-only refuses plain ones.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>
#include "../src/core/command_call.h"
#include "../src/core/encoded_script.h"
#include "../src/core/heap.h"
#include "../src/core/messages.h"
#include "../src/core/runloop.h"
#include "../src/core/vars.h"

using namespace tsl;

namespace {

// Host commands: 0 quit (IntControl 8), 1 version, 2 echo, 3 itemizenull.
int32_t host_command(PHandle, intptr_t, int32_t, int32_t command, AnswerFn answer, void* record,
                     const char* t1, const char*, const char*, const char*, const char*) {
    switch (command) {
    case 1: return answer(0, 0, record, 1, 0, "tslrun 1.0");
    case 2:
        fputs(t1, stdout);
        fputc('\n', stdout);
        fflush(stdout);
        return 0;
    case 3: return answer(0, 0, record, 1, 0, "");
    default: return 0;
    }
}

} // namespace

int main(int argc, char** argv) {
    int a = 1;
    bool timed = false, encoded_only = false;
    for (; a < argc && strncmp(argv[a], "--", 2) == 0; ++a) {
        if (strcmp(argv[a], "--time") == 0) timed = true;
        else if (strcmp(argv[a], "--encoded-only") == 0) encoded_only = true;
        else if (strcmp(argv[a], "--console") != 0) break;
    }
    if (a >= argc || strncmp(argv[a], "--", 2) == 0) {
        fprintf(stderr, "usage: tslrun-native [--console] [--time] [--encoded-only] SCRIPT [ARG...]\n");
        return 2;
    }
    const char* name = argv[a++];
    FILE* f = fopen(name, "rb");
    if (!f) {
        fprintf(stderr, "tslrun: cannot read script %s\n", name);
        return 2;
    }
    std::string text;
    char chunk[4096];
    for (size_t n; (n = fread(chunk, 1, sizeof chunk, f)) > 0;) text.append(chunk, n);
    fclose(f);
    std::vector<char> script(text.begin(), text.end());
    script.push_back(0);
    uint32_t size = (uint32_t)text.size();
    if (unsigned refused = accept_script_file(script.data(), &size, encoded_only)) {
        fprintf(stderr, "tslrun: %s: error %u: %s\n", name, refused, builtin_message(refused));
        return 2;
    }

    static Context ctx;   // zeroed, like a fresh context block
    std::vector<uint8_t> heap(HEAP_MAX_SIZE);
    std::vector<VarSlot> vars(2000);
    heap_init(heap.data(), (uint32_t)heap.size());
    ctx.heap = heap.data();
    ctx.heap_size = (uint32_t)heap.size();
    ctx.vars = vars.data();
    ctx.var_capacity = (uint16_t)vars.size();
    ctx.sounds = 1;
    ctx.dde_timeout = 3000;
    ctx.encoded_only = encoded_only;
    plat_set_console_mode(true);
    snprintf(ctx.top_script_name, sizeof ctx.top_script_name, "%s", name);

    KeywordRecord table[5] = {function_record(0, "tslrunquit", 0, 0), function_record(1, "tslrunversion", 0, 0),
                              function_record(2, "echo", 1, 1), function_record(3, "itemizenull", 1, 1), KeywordRecord{}};
    ctx.host_proc = host_command;
    ctx.host_table = table;

    var_set_int(&ctx, "Param0", argc - a);
    for (int i = a; i < argc; ++i) {
        char pname[8] = "Param0";
        pname[5] = (char)('0' + (i - a + 1));
        var_set_text(&ctx, pname, argv[i]);
    }
    auto started = std::chrono::steady_clock::now();
    run_script(&ctx, script.data());
    std::chrono::duration<double> took = std::chrono::steady_clock::now() - started;
    if (timed) fprintf(stderr, "run time: %.6f s\n", took.count());
    return (ctx.run_error || ctx.break_flag) ? 1 : 0;
}

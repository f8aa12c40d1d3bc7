// libFuzzer target: any text as a script (fuzz_harness.h). A finding aborts; keep it in
// tests/fuzz/regressions, which tsl_native_tests replays.
#include <cstdio>
#include <cstdlib>
#include "fuzz_harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 8192) return 0;
    std::string bad = fuzz::run_one(std::string((const char*)data, size), fuzz::fuzz_setup(size));
    if (!bad.empty()) {
        fprintf(stderr, "%s\n", bad.c_str());
        abort();
    }
    return 0;
}

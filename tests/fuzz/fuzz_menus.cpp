// libFuzzer target: any bytes as a menu file (menu_check.h). A finding aborts; keep it in
// tests/fuzz/menu_regressions, which tsl_native_tests replays.
#include <cstdio>
#include <cstdlib>
#include "menu_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string bad = fuzz::check_menu(data, size);
    if (!bad.empty()) {
        fprintf(stderr, "%s\n", bad.c_str());
        abort();
    }
    return 0;
}

// libFuzzer target: arbitrary bytes as a menu file through the line
// reader, the structure walk, the item search and the hot-key parser
// (menu_check.h). A finding prints what is wrong and aborts, so libFuzzer
// keeps the input; put it in tests/fuzz/menu_regressions, where
// tsl_native_tests replays it.
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

// The fuzz targets' checks on the kept inputs of tests/fuzz, the example menus and malformed menus.
#include "core_fixture.h"
#include "../fuzz/fuzz_harness.h"
#include "../fuzz/menu_check.h"

using namespace tsl;

TEST(FuzzRegressions, EveryKeptInputRunsCleanly) {
    std::vector<std::string> names = files_in(source_dir() + "/tests/fuzz/regressions", "");
    EXPECT_GE(names.size(), 3u) << "the kept inputs are there";
    for (const std::string& n : names) {
        std::string text = read_file(n);
        testing::internal::CaptureStderr();
        std::string bad = fuzz::run_one(text, fuzz::fuzz_setup(text.size()));
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(bad, "") << n;
    }
    unlink(fuzz::self_path().c_str());
}

TEST(MenuFuzzChecks, ExamplesKeptFindingsAndMalformedFiles) {
    std::vector<std::string> names = files_in(source_dir() + "/examples/menus", ".mnu");
    EXPECT_GE(names.size(), 2u) << "the example menus are there";
    for (const std::string& n : names) {   // the example menus load whole
        std::string text = read_file(n);
        fuzz::Searcher none(0);
        MenuWalkResult r;
        menu_walk(text.data(), (uint32_t)text.size(), 1, none, &r);
        EXPECT_EQ(0u, r.error) << n << ": " << r.bad_line.text;
    }
    for (const std::string& n : files_in(source_dir() + "/tests/fuzz/menu_regressions", "")) names.push_back(n);
    std::vector<std::string> inputs;
    for (const std::string& n : names) inputs.push_back(read_file(n));
    std::string deep = "A\r\n B\r\n  C\r\n   D\r\n", many;
    while (many.size() < 65000) many += deep + "\tx\r\n";                  // thousands of items, ids past 0xFFFF
    const char zeros[] = "A\0\x1a\r\n\t\x1a B\\\\{}\\^\r";
    for (const std::string& made : {std::string(70000, 'x'), std::string(65533, '\r'),   // past the limit; only line ends
                                    std::string(4000, ' ') + "\\^{" + std::string(3000, 'F') + "}",
                                    std::string(zeros, sizeof zeros - 1), many})
        inputs.push_back(made);
    for (size_t i = 0; i < inputs.size(); ++i)
        EXPECT_EQ("", fuzz::check_menu((const uint8_t*)inputs[i].data(), inputs[i].size()))
            << (i < names.size() ? names[i] : "made input " + std::to_string(i - names.size()));
}

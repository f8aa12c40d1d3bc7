// Replays the inputs kept in tests/fuzz/regressions (each one once made the
// fuzz target fail) through the fuzz target's own run and checks.
#include <dirent.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <fstream>
#include <sstream>
#include "../fuzz/fuzz_harness.h"

namespace {

std::string regressions_dir() {
    std::string here = __FILE__;
    return here.substr(0, here.rfind('/')) + "/../fuzz/regressions";
}

TEST(FuzzRegressions, EveryKeptInputRunsCleanly) {
    std::string dir = regressions_dir();
    DIR* d = opendir(dir.c_str());
    ASSERT_NE(d, nullptr) << dir;
    std::vector<std::string> names;
    while (dirent* e = readdir(d))
        if (e->d_name[0] != '.') names.push_back(e->d_name);
    closedir(d);
    std::sort(names.begin(), names.end());
    EXPECT_GE(names.size(), 3u) << "the kept inputs are there";
    for (const std::string& n : names) {
        std::ifstream f(dir + "/" + n, std::ios::binary);
        std::stringstream ss;
        ss << f.rdbuf();
        std::string text = ss.str();
        testing::internal::CaptureStderr();
        std::string bad = fuzz::run_one((const uint8_t*)text.data(), text.size());
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(bad, "") << n;
    }
    tsl::plat_set_console_mode(true);
    unlink(fuzz::self_path().c_str());
}

} // namespace

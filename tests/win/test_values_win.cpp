// The value functions against the Win32 calls they stand for, in the
// process's own code page: case mapping (CharUpperA, CharLowerA) and the
// locale comparison (lstrcmpA, lstrcmpiA), run through the DLL like a host.
#include <gtest/gtest.h>
#include "host_harness.h"

static Dll g_dll;

namespace {

class ValuesWin : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
};

// Bytes 32..255 of the code page, built by the script with Num2Char.
const char* const kAllBytes =
    "Exclusive(@on)\r\n"
    "s = \"\"\r\n"
    "c = 32\r\n"
    ":next\r\n"
    "s = StrCat(s, Num2Char(c))\r\n"
    "c = c + 1\r\n"
    "if c < 256 then goto next\r\n";

TEST_F(ValuesWin, CaseMappingIsTheSystemsOnEveryByte) {
    HostContext host(&g_dll);
    std::string script = std::string(kAllBytes) + "u = StrUpper(s)\r\nl = StrLower(s)\r\nn = StrLen(s)\r\n";
    ASSERT_EQ(1, host.run(script));
    ASSERT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR));
    std::string all;
    for (int c = 32; c < 256; c++) all += (char)c;
    EXPECT_EQ(host.get("n"), "224");
    std::string upper = all, lower = all;
    CharUpperA(&upper[0]);
    CharLowerA(&lower[0]);
    std::string got_u = host.get("u"), got_l = host.get("l");
    ASSERT_EQ(got_u.size(), upper.size());
    ASSERT_EQ(got_l.size(), lower.size());
    for (size_t i = 0; i < all.size(); i++) {
        EXPECT_EQ((unsigned char)upper[i], (unsigned char)got_u[i]) << "upper of byte " << (int)(unsigned char)all[i];
        EXPECT_EQ((unsigned char)lower[i], (unsigned char)got_l[i]) << "lower of byte " << (int)(unsigned char)all[i];
    }
}

TEST_F(ValuesWin, ComparisonsAreTheLocales) {
    struct { int line; const char *a, *b; } rows[] = {
        {__LINE__, "abc", "abd"}, {__LINE__, "abc", "ABC"}, {__LINE__, "a", "B"},
        {__LINE__, "co-op", "coop"}, {__LINE__, "", "x"},  {__LINE__, "same", "same"},
        {__LINE__, "Z", "a"},
    };
    HostContext host(&g_dll);
    for (auto& r : rows) {
        std::string script = std::string("c = StrCmp(\"") + r.a + "\", \"" + r.b + "\")\r\ni = StrICmp(\"" + r.a +
                             "\", \"" + r.b + "\")\r\n";
        ASSERT_EQ(1, host.run(script)) << "row at line " << r.line;
        int c = atoi(host.get("c").c_str()), i = atoi(host.get("i").c_str());
        int want_c = lstrcmpA(r.a, r.b), want_i = lstrcmpiA(r.a, r.b);
        EXPECT_EQ((want_c > 0) - (want_c < 0), (c > 0) - (c < 0)) << "StrCmp, row at line " << r.line;
        EXPECT_EQ((want_i > 0) - (want_i < 0), (i > 0) - (i < 0)) << "StrICmp, row at line " << r.line;
    }
    // The locale's order is not byte order: "a" sorts before "B" although 'a' > 'B'.
    ASSERT_EQ(1, host.run("c = StrCmp(\"a\", \"B\")\r\n"));
    EXPECT_LT(atoi(host.get("c").c_str()), 0);
}

} // namespace

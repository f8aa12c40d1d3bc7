// The value functions against the Win32 calls they stand for, in the
// process's own code page: case mapping (CharUpperA, CharLowerA) on every
// byte and StrCmp / StrICmp (lstrcmpA, lstrcmpiA) where the locale's order is not the bytes'.
#include "host_harness.h"

class ValuesWin : public DllTest {};

TEST_F(ValuesWin, CaseMappingIsTheSystemsOnEveryByte) {
    HostContext host;
    // Bytes 32..255 of the code page, built by the script with Num2Char.
    ASSERT_EQ(1, host.run(crlf({"Exclusive(@on)", "s = \"\"", "c = 32", ":next", "s = StrCat(s, Num2Char(c))",
                                "c = c + 1", "if c < 256 then goto next", "u = StrUpper(s)", "l = StrLower(s)"})));
    ASSERT_EQ(0, host.error());
    std::string all;
    for (int c = 32; c < 256; c++) all += (char)c;
    std::string upper = all, lower = all, got_u = host.get("u"), got_l = host.get("l");
    CharUpperA(&upper[0]);
    CharLowerA(&lower[0]);
    ASSERT_EQ(upper.size(), got_u.size());
    ASSERT_EQ(lower.size(), got_l.size());
    for (size_t i = 0; i < all.size(); i++) {
        EXPECT_EQ((unsigned char)upper[i], (unsigned char)got_u[i]) << "upper of byte " << (int)(unsigned char)all[i];
        EXPECT_EQ((unsigned char)lower[i], (unsigned char)got_l[i]) << "lower of byte " << (int)(unsigned char)all[i];
    }
}

TEST_F(ValuesWin, ComparisonsAreTheLocales) {
    const char* rows[][2] = {{"abc", "abd"}, {"abc", "ABC"}, {"a", "B"}, {"co-op", "coop"}, {"", "x"}, {"Z", "a"}};
    HostContext host;
    auto sign = [](int v) { return (v > 0) - (v < 0); };
    for (auto& r : rows) {
        std::string args = std::string("(\"") + r[0] + "\", \"" + r[1] + "\")";
        ASSERT_EQ(1, host.run("Echo(StrCmp" + args + ")\r\nEcho(StrICmp" + args + ")\r\n"));
        std::string want = std::to_string(sign(lstrcmpA(r[0], r[1]))) + std::to_string(sign(lstrcmpiA(r[0], r[1])));
        EXPECT_EQ(want, std::to_string(sign(atoi(host.out.c_str()))) +
                            std::to_string(sign(atoi(host.out.substr(host.out.find('\n') + 1).c_str()))))
            << "StrCmp and StrICmp of " << r[0] << ", " << r[1];
        host.out.clear();
    }
}

// The DLL's shortcuts around lstrcmpA, lstrcmpiA, CharUpperA and CharLowerA, against those
// calls in the process's code page: 1252 by default, 932 in the run that sets TSL_EXPECT_ACP=932.
//
// The equality shortcut rests on one property of the system's collation: two different texts
// of printable ASCII (0x20..0x7E) never compare equal. Sorted by the comparison itself, texts
// that compare equal end up next to each other, so if no two neighbours do, no two texts do.
#include "host_harness.h"
#include <algorithm>
#include <cstdlib>

typedef std::vector<std::pair<std::string, std::string>> Pairs;

// Different neighbours that compare 0 after a stable sort by `compare`.
template <class Compare> static Pairs equal_neighbours(std::vector<std::string> texts, Compare compare) {
    std::stable_sort(texts.begin(), texts.end(),
                     [&](const std::string& a, const std::string& b) { return compare(a, b) < 0; });
    Pairs found;
    for (size_t i = 1; i < texts.size(); i++)
        if (texts[i] != texts[i - 1] && compare(texts[i - 1], texts[i]) == 0) found.push_back({texts[i - 1], texts[i]});
    return found;
}

static std::string shown(const std::string& s) {
    std::string out;
    char hex[8];
    for (unsigned char c : s) out += c >= 0x20 && c < 0x7F ? std::string(1, (char)c) : (snprintf(hex, 8, "\\x%02x", c), hex);
    return out;
}

// Every printable text of one and two characters; texts of three and four characters over
// letters that sort as one unit in some languages (cs, dzs, gy, ll, ch, aa, ij, ...), the
// hyphen and apostrophe (which sort apart from the letters), the blank, a point and digits.
static std::vector<std::string> printable_texts() {
    std::vector<std::string> t;
    for (int a = 0x20; a < 0x7F; a++) {
        t.push_back(std::string(1, (char)a));
        for (int b = 0x20; b < 0x7F; b++) t.push_back(std::string{(char)a, (char)b});
    }
    const std::string units = "acdgjlnstyzhoAZ-'09 .", tails = "cdszyAa-";
    for (char a : units)
        for (char b : units)
            for (char c : units) {
                std::string s{a, b, c};
                t.push_back(s);
                for (char d : tails) t.push_back(s + d);
            }
    return t;
}

static int lstrcmp_of(const std::string& a, const std::string& b) { return lstrcmpA(a.c_str(), b.c_str()); }

TEST(TextFastPaths, DifferentPrintableTextsNeverCompareEqual) {
    const char* want = getenv("TSL_EXPECT_ACP");
    unsigned acp = want ? (unsigned)atoi(want) : 1252;
    ASSERT_EQ(joined(acp, acp == 932), joined(GetACP(), GetSystemMetrics(SM_DBCSENABLED))) << "the expected code page";
    std::vector<std::string> texts = printable_texts();
    // The process's locale, then those whose alphabets have letters of two or three characters
    // or that sort doubled letters specially: Hungarian, Czech, Spanish (traditional), Danish,
    // Welsh, Croatian, Vietnamese, German (phone book), Slovak, Turkish, Japanese, English.
    const LCID locales[] = {GetThreadLocale(), 0x040e, 0x0405, 0x040a, 0x0406, 0x0452, 0x041a, 0x042a, 0x10407,
                            0x041b, 0x041f, 0x0411, 0x0409};
    for (LCID id : locales) {
        ASSERT_TRUE(SetThreadLocale(id));
        for (auto& p : equal_neighbours(texts, lstrcmp_of))
            ADD_FAILURE() << "locale " << std::hex << id << ": \"" << p.first << "\" == \"" << p.second << "\"";
    }
    SetThreadLocale(locales[0]);
    // Among other bytes different texts can compare equal, and the same check finds them
    // (1252: "^" and 0x88, the modifier circumflex; 0xAD, the soft hyphen, is ignored. 932: lone lead bytes).
    texts = {"a"};
    for (int c = 1; c < 256; c++) texts.push_back({'a', (char)c});
    Pairs found = equal_neighbours(texts, lstrcmp_of);
    ASSERT_FALSE(found.empty());
    for (auto& p : found) {
        bool plain = true;
        for (unsigned char c : p.first + p.second) plain = plain && c >= 0x20 && c < 0x7F;
        EXPECT_FALSE(plain) << "\"" << p.first << "\" == \"" << p.second << "\"";
    }
}

class TextFastPathsDll : public DllTest {};

// Runs `line(k)` for items 0..count-1 in scripts of 600 lines; `set(host, i, k)` gives
// item i its variables under the suffix k first. Returns each line's variable rk.
template <class Set, class Line>
static std::vector<std::string> run_batched(size_t count, Set set, Line line) {
    std::vector<std::string> answers;
    HostContext host(&g_dll, "tslhosttest", "test host", 2500, 65536);
    for (size_t first = 0; first < count; first += 600) {
        size_t n = std::min<size_t>(600, count - first);
        std::string script = "Exclusive(@on)\r\n";
        for (size_t k = 0; k < n; k++) {
            set(host, first + k, std::to_string(k));
            script += "r" + std::to_string(k) + " = " + line(std::to_string(k)) + "\r\n";
        }
        EXPECT_EQ(1, host.run(script));
        EXPECT_EQ(0, host.error());
        for (size_t k = 0; k < n; k++) answers.push_back(host.get(("r" + std::to_string(k)).c_str()));
    }
    return answers;
}

// ==, !=, <>, StrCmp and StrICmp in scripts against lstrcmpA and lstrcmpiA for pairs of texts of
// printable characters, control characters, high bytes (among them those that compare equal
// to others), lead and trail bytes of code page 932.
TEST_F(TextFastPathsDll, ComparisonsAreTheSystems) {
    const std::string pieces[] = {"", "a", "A", "b", "^", "-", "'", " ", "\x01", "\t", "\x7f", "\x88", "\xad",
                                  "\xe9", "\xc9", "\x82\xa0", "\x82", "\x81\x40", "\\", "~", "ab", "a-b", "ccs"};
    std::vector<std::string> texts = {"", "^", "\x88"};
    for (auto& x : pieces)
        for (auto& y : pieces) texts.push_back("k" + x + y);  // never a number
    std::vector<std::pair<size_t, size_t>> pairs;
    for (size_t i = 0; i < texts.size(); i += 5)
        for (size_t j = i % 2; j < texts.size(); j += 2) pairs.push_back({i, j});
    auto answers = run_batched(
        pairs.size(),
        [&](HostContext& host, size_t i, const std::string& k) {
            host.service(TSL_SERVICE_SET_VAR, (LPARAM)("a" + k).c_str(), (LPARAM)texts[pairs[i].first].c_str());
            host.service(TSL_SERVICE_SET_VAR, (LPARAM)("b" + k).c_str(), (LPARAM)texts[pairs[i].second].c_str());
        },
        [](const std::string& k) {
            std::string a = "a" + k, b = "b" + k;
            return "StrCat(" + a + " == " + b + ", " + a + " != " + b + ", " + a + " <> " + b + ", StrCmp(" + a + ", " + b +
                   "), \" \", StrICmp(" + a + ", " + b + "))";
        });
    ASSERT_EQ(pairs.size(), answers.size());
    for (size_t i = 0; i < pairs.size(); i++) {
        const std::string& a = texts[pairs[i].first];
        const std::string& b = texts[pairs[i].second];
        auto sign = [](int v) { return std::to_string((v > 0) - (v < 0)); };
        int c = lstrcmpA(a.c_str(), b.c_str());
        std::string want = (c == 0 ? "100" : "011") + sign(c) + " " + sign(lstrcmpiA(a.c_str(), b.c_str()));
        const char* got = answers[i].c_str();
        const char* blank = strchr(got, ' ');
        std::string seen = answers[i].substr(0, 3) + sign(atoi(got + std::min<size_t>(3, answers[i].size()))) + " " +
                           sign(blank ? atoi(blank + 1) : 99);
        EXPECT_EQ(want, seen) << "==, !=, <>, StrCmp, StrICmp of \"" << shown(a) << "\", \"" << shown(b) << "\"";
    }
    EXPECT_GT(pairs.size(), 25000u);
}

// StrUpper and StrLower against CharUpperA and CharLowerA: every byte alone and inside ASCII,
// lead bytes followed by ASCII trail bytes (which keep their case in code page 932), ASCII texts.
TEST_F(TextFastPathsDll, CaseMappingIsTheSystemsForAnyText) {
    std::vector<std::string> texts = {"", "the quick brown fox", "MiXeD cAsE 123 @_[]{}", "\\~`^"};
    for (int c = 1; c < 256; c++) {
        texts.push_back(std::string(1, (char)c));
        texts.push_back(std::string("ab") + (char)c + "yz");
    }
    for (int lead = 0x81; lead < 0x100; lead += 3)
        for (int trail = 0x40; trail < 0x7F; trail += 5) texts.push_back(std::string("q") + (char)lead + (char)trail + "q");
    auto answers = run_batched(
        texts.size(),
        [&](HostContext& host, size_t i, const std::string& k) {
            host.service(TSL_SERVICE_SET_VAR, (LPARAM)("s" + k).c_str(), (LPARAM)texts[i].c_str());
        },
        [](const std::string& k) { return "StrCat(StrUpper(s" + k + "), \"|\", StrLower(s" + k + "))"; });
    ASSERT_EQ(texts.size(), answers.size());
    for (size_t i = 0; i < texts.size(); i++) {
        std::string upper = texts[i], lower = texts[i];
        CharUpperA(&upper[0]);
        CharLowerA(&lower[0]);
        EXPECT_EQ(shown(upper.c_str()) + "|" + shown(lower.c_str()), shown(answers[i]))
            << "StrUpper and StrLower of \"" << shown(texts[i]) << "\"";
    }
}

// The DLL's strlen, strchr, memcmp and memcpy through the functions that use them: StrLen and
// StrSub of texts of every length up to 100 (at heap places shifted by a pad for StrLen),
// ItemLocate among items that differ from the wanted one in one byte at each place, "%" found
// at every column of a line.
TEST_F(TextFastPathsDll, TextScansOfEveryLengthAndPlace) {
    std::string t;
    for (int i = 0; i < 130; i++) t += (char)(i % 3 ? 'a' + i % 26 : 0xA1 + i % 60);
    HostContext host;
    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "t", (LPARAM)t.c_str());
    ASSERT_EQ(1, host.run(crlf({"Exclusive(@on)", "bad = \"\"", "k = 0", ":start", "pad = StrSub(t, 1, k)", "n = 0", ":len",
                                "s = StrSub(t, 2, n)", "if StrLen(s) != n then bad = StrCat(bad, k, \"/\", n, \" \")",
                                "n = n + 1", "if n <= 100 then goto len", "k = k + 1", "if k < 16 then goto start"})));
    EXPECT_EQ("", host.get("bad"));
    std::string copies;
    for (int n = 0; n <= 100; n++) copies += "s" + std::to_string(n) + " = StrSub(t, 2, " + std::to_string(n) + ")\r\n";
    ASSERT_EQ(1, host.run(copies));
    for (int n = 0; n <= 100; n++) EXPECT_EQ(shown(t.substr(1, n)), shown(host.get(("s" + std::to_string(n)).c_str())));

    for (size_t len : {1, 7, 15, 16, 17, 31, 32, 33, 47}) {
        std::string want = t.substr(3, len), list;
        for (size_t j = 0; j < len; j++) {
            std::string other = want;
            other[j] = other[j] == 'q' ? (char)0xC0 : 'q';
            list += other + ",";
        }
        list += want.substr(0, len - 1) + "," + want + "x," + want;
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "w", (LPARAM)want.c_str());
        host.service(TSL_SERVICE_SET_VAR, (LPARAM) "list", (LPARAM)list.c_str());
        host.out.clear();
        ASSERT_EQ(1, host.run("Echo(ItemLocate(w, list, \",\"))\r\n"));
        EXPECT_EQ(std::to_string(len + 3) + "\n", host.out) << "item of " << len << " bytes";
    }

    host.service(TSL_SERVICE_SET_VAR, (LPARAM) "v", (LPARAM) "XY");
    std::string script;
    for (int k = 0; k < 40; k++) script += "r" + std::to_string(k) + " = \"" + t.substr(0, k) + "%v%\"\r\n";
    ASSERT_EQ(1, host.run(script + "p = \"" + t.substr(0, 33) + "%%\"\r\n"));
    for (int k = 0; k < 40; k++) EXPECT_EQ(t.substr(0, k) + "XY", host.get(("r" + std::to_string(k)).c_str())) << k;
    EXPECT_EQ(t.substr(0, 33) + "%", host.get("p"));
}

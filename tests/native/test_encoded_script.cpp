// Encoded script files: every changed, missing or added byte is refused; Call and encoded-scripts mode.
#include "core_fixture.h"
#include "core/encoded_script.h"

namespace tsl {
namespace {

const char kText[] = "; a called script\r\necho(strcat('called ', param1))\r\nreturn\r\n";

std::vector<char> encoded(const std::string& text, uint8_t salt_seed = 7) {
    uint8_t salt[ENCODED_SALT];
    for (unsigned i = 0; i < ENCODED_SALT; ++i) salt[i] = (uint8_t)(salt_seed * 31 + i);
    std::vector<char> out(encoded_size((uint32_t)text.size()) + 1, 0);  // + the loader's NUL
    encode_script(text.data(), (uint32_t)text.size(), salt, (uint8_t*)out.data());
    return out;
}

// What the loader's step makes of the bytes (without their NUL).
unsigned accept(std::vector<char> bytes, std::string* text = nullptr, bool encoded_only = false) {
    uint32_t size = (uint32_t)bytes.size() - 1;
    unsigned failure = accept_script_file(bytes.data(), &size, encoded_only);
    if (text) text->assign(bytes.data(), size);
    if (failure) {
        EXPECT_EQ(std::string(bytes.size(), '\0'), std::string(bytes.data(), bytes.size())) << "nothing is left";
    }
    return failure;
}

TEST(EncodedScript, EncodedTextIsHiddenAndComesBackWhole) {
    auto bytes = encoded(kText);
    EXPECT_EQ(1, bytes[0]);
    EXPECT_EQ(std::string::npos, std::string(bytes.begin(), bytes.end()).find("echo")) << "not readable";
    EXPECT_NE(encoded(kText, 1), encoded(kText, 2)) << "a new stream per salt";
    std::vector<char> plain(kText, kText + sizeof kText);
    struct { int line; std::vector<char> bytes; bool encoded_only; unsigned failure; std::string text; } rows[] = {
        {__LINE__, bytes, false, 0, kText},
        {__LINE__, encoded(""), false, 0, ""},   // an empty script encodes too
        {__LINE__, bytes, true, 0, kText},
        {__LINE__, plain, false, 0, kText},
        {__LINE__, plain, true, MSG_ENCODED_REQUIRED, ""},
        {__LINE__, {'\x04', 'x', '\0'}, false, 0, "\x04x"},   // the forms end at 3: byte 4 begins a plain text
    };
    for (auto& r : rows) {
        std::string text;
        EXPECT_EQ(r.failure, accept(r.bytes, &text, r.encoded_only)) << AT_ROW(r);
        if (!r.failure) { EXPECT_EQ(r.text, text) << AT_ROW(r); }
    }
}

// Every byte of every region, changed in two ways, is refused.
TEST(EncodedScript, AChangedByteInAnyRegionIsRefused) {
    const uint32_t n = (uint32_t)strlen(kText);
    struct { int line; const char* region; uint32_t first, last; uint8_t flip; unsigned want; } rows[] = {
        {__LINE__, "form byte to plain", 0, 0, 0x5A, MSG_ENCODED_DAMAGED},
        {__LINE__, "form byte to a later form", 0, 0, 0x02, MSG_ENCODED_FORM},
        {__LINE__, "length", 1, 4, 0x01, MSG_ENCODED_DAMAGED},
        {__LINE__, "length", 1, 4, 0x80, MSG_ENCODED_DAMAGED},
        {__LINE__, "salt", 5, 12, 0x01, MSG_ENCODED_DAMAGED},
        {__LINE__, "text", ENCODED_HEADER, ENCODED_HEADER + n - 1, 0x01, MSG_ENCODED_DAMAGED},
        {__LINE__, "text", ENCODED_HEADER, ENCODED_HEADER + n - 1, 0xFF, MSG_ENCODED_DAMAGED},
        {__LINE__, "check", ENCODED_HEADER + n, ENCODED_HEADER + n + ENCODED_CHECK - 1, 0x10, MSG_ENCODED_DAMAGED},
    };
    for (auto& r : rows) {
        for (uint32_t at = r.first; at <= r.last; ++at) {
            auto bytes = encoded(kText);
            bytes[at] = (char)(bytes[at] ^ r.flip);
            EXPECT_EQ(r.want, accept(bytes)) << AT_ROW(r) << r.region << " byte " << at;
        }
    }
}

TEST(EncodedScript, AMissingOrAddedByteIsRefused) {
    const auto whole = encoded(kText);
    for (size_t cut = 1; cut < whole.size() - 1; ++cut) {  // every shorter file, down to the form byte
        std::vector<char> bytes(whole.begin(), whole.begin() + (long)(whole.size() - 1 - cut));
        bytes.push_back(0);
        EXPECT_EQ(MSG_ENCODED_DAMAGED, accept(bytes)) << cut << " bytes cut";
    }
    for (size_t at : {size_t(1), size_t(ENCODED_HEADER), whole.size() - 1}) {
        auto bytes = whole;
        bytes.insert(bytes.begin() + (long)at, 'x');
        EXPECT_EQ(MSG_ENCODED_DAMAGED, accept(bytes)) << "a byte added at " << at;
    }
}

class EncodedCall : public CoreTest {
protected:
    // The first line of the report box of the last run ("N:  text").
    std::string reported() {
        std::string b = plat_native_take_boxes();
        return b.substr(0, b.find('|'));
    }
};

TEST_F(EncodedCall, CallRunsEncodedFilesAndRefusesDamagedOrPlainOnes) {
    auto damaged = encoded(kText);
    damaged[ENCODED_HEADER + 3] ^= 0x20;
    std::vector<char> plain(kText, kText + sizeof kText);
    struct { int line; std::vector<char> bytes; bool encoded_only; const char* out; const char* report; } rows[] = {
        {__LINE__, encoded(kText), true, "called x\nback\n", ""},
        {__LINE__, plain, true, "", "3233:  Only encoded menu/batch files may be loaded (encoded-scripts mode is on)"},
        {__LINE__, damaged, false, "", "3231:  Encoded menu/batch file damaged or changed: its length or check does not match"},
    };
    for (auto& r : rows) {
        std::string name = file("s.tsl", std::string(r.bytes.data(), r.bytes.size() - 1));
        ctx->encoded_only = r.encoded_only;
        run("Call('" + name + "', 'x')\r\necho('back')\r\n");
        EXPECT_EQ(r.out, out) << AT_ROW(r);
        EXPECT_EQ(r.report, reported()) << AT_ROW(r);
        EXPECT_EQ("", check()) << AT_ROW(r);
    }
}

} // namespace
} // namespace tsl

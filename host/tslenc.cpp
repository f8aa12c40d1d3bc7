// tslenc: writes the encoded form of a script or menu file, or checks one.
// Built natively and for Windows from the same source and the DLL's own
// encoder (src/core/encoded_script.cpp).
//
//   tslenc INPUT OUTPUT   encode INPUT (plain text) into OUTPUT
//   tslenc --check FILE   check an encoded file: exit 0 when it would load
//
// Exit status: 0 done, 1 the check failed or the input cannot be encoded,
// 2 a usage or file error.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>
#include "../src/core/encoded_script.h"
#include "../src/resources/version.h"

namespace {

const char USAGE[] =
    "usage: tslenc INPUT OUTPUT     encode a script or menu file\n"
    "       tslenc --check FILE     check an encoded file (exit 0 when it loads)\n"
    "       tslenc --help | --version\n";

bool read_whole(const char* name, std::vector<char>* out) {
    FILE* f = fopen(name, "rb");
    if (!f) return false;
    char buf[8192];
    size_t got;
    while ((got = fread(buf, 1, sizeof buf, f)) > 0) out->insert(out->end(), buf, buf + got);
    bool ok = !ferror(f);
    fclose(f);
    return ok;
}

// Eight bytes that differ from one encoding to the next, so that two
// encodings of the same text share no bytes of their key streams.
void new_salt(uint8_t* salt) {
    std::random_device device;
    uint64_t mixed = ((uint64_t)device() << 32) ^ device() ^
                     (uint64_t)std::chrono::high_resolution_clock::now().time_since_epoch().count();
    for (unsigned i = 0; i < tsl::ENCODED_SALT; ++i, mixed >>= 8) salt[i] = (uint8_t)mixed;
}

const char* refusal_text(unsigned number) {
    switch (number) {
    case tsl::MSG_ENCODED_DAMAGED: return "damaged or changed: its length or check does not match";
    case tsl::MSG_ENCODED_FORM: return "of an unknown encoded form";
    default: return "not encoded";
    }
}

int check(const char* name) {
    std::vector<char> bytes;
    if (!read_whole(name, &bytes)) { fprintf(stderr, "tslenc: cannot read \"%s\"\n", name); return 2; }
    uint32_t size = (uint32_t)bytes.size();
    bytes.push_back(0);
    unsigned failure = tsl::accept_script_file(bytes.data(), &size, true);
    if (failure) { fprintf(stderr, "tslenc: %s: %s (error %u)\n", name, refusal_text(failure), failure); return 1; }
    printf("%s: encoded, %u bytes of text, check correct\n", name, size);
    return 0;
}

int encode(const char* input, const char* output) {
    std::vector<char> text;
    if (!read_whole(input, &text)) { fprintf(stderr, "tslenc: cannot read \"%s\"\n", input); return 2; }
    if (tsl::encoded_form(text.data(), (uint32_t)text.size())) {
        fprintf(stderr, "tslenc: \"%s\" is encoded already (its first byte is 1, 2 or 3)\n", input);
        return 1;
    }
    if (text.size() > tsl::ENCODED_TEXT_MAX) {
        fprintf(stderr, "tslenc: \"%s\" is too large: at most %u bytes can be encoded\n", input,
                (unsigned)tsl::ENCODED_TEXT_MAX);
        return 1;
    }
    uint32_t size = (uint32_t)text.size();
    std::vector<uint8_t> out(tsl::encoded_size(size));
    uint8_t salt[tsl::ENCODED_SALT];
    new_salt(salt);
    tsl::encode_script(text.data(), size, salt, out.data());
    FILE* f = fopen(output, "wb");
    bool ok = f && fwrite(out.data(), 1, out.size(), f) == out.size();
    if (f && fclose(f) != 0) ok = false;
    if (!ok) { fprintf(stderr, "tslenc: cannot write \"%s\"\n", output); remove(output); return 2; }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[1], "--help") == 0) { fputs(USAGE, stdout); return 0; }
    if (argc == 2 && strcmp(argv[1], "--version") == 0) { printf("tslenc %s (encoded form 1)\n", TSL_VERSION_TEXT); return 0; }
    if (argc == 3 && strcmp(argv[1], "--check") == 0) return check(argv[2]);
    if (argc == 3 && strncmp(argv[1], "--", 2) != 0) return encode(argv[1], argv[2]);
    fputs(USAGE, stderr);
    return 2;
}

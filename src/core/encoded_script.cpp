// Encoding, checking and decoding of encoded script and menu files.
// The form is laid out in encoded_script.h and described for users in
// docs/encoded-scripts.md. It hides a script from a reader and refuses any
// change to it; it is no protection against someone who holds this code.
#include "encoded_script.h"
#include <cstring>

namespace tsl {

namespace {

const uint64_t kKey = 0x7453'4c65'6e63'6f64ull;        // the stream's fixed key
const uint64_t kCheckBasis = 0xcbf2'9ce4'8422'2325ull ^ 0x5453'4c20'6368'6b31ull;
const uint64_t kFnvPrime = 0x0000'0100'0000'01b3ull;

// splitmix64: one step of the key stream.
uint64_t next_word(uint64_t* state) {
    uint64_t z = (*state += 0x9e37'79b9'7f4a'7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58'476d'1ce4'e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d0'49bb'1331'11ebull;
    return z ^ (z >> 31);
}

uint64_t read_le(const uint8_t* p, unsigned n) {
    uint64_t v = 0;
    for (unsigned i = n; i-- > 0;) v = (v << 8) | p[i];
    return v;
}

void write_le(uint8_t* p, uint64_t v, unsigned n) {
    for (unsigned i = 0; i < n; ++i, v >>= 8) p[i] = (uint8_t)v;
}

// XORs n bytes with the key stream of the salt (the same call encodes and decodes).
void apply_stream(uint8_t* p, uint32_t n, const uint8_t* salt) {
    uint64_t state = kKey ^ read_le(salt, ENCODED_SALT);
    uint64_t word = 0;
    for (uint32_t i = 0; i < n; ++i) {
        if (i % 8 == 0) word = next_word(&state);
        p[i] ^= (uint8_t)(word >> (8 * (i % 8)));
    }
}

// FNV-1a over n bytes from a keyed basis. Each step is a bijection of the
// state for a given byte, so two inputs that differ in one byte always
// end in different checks.
// `form` stands in for the first byte.
uint64_t check_of(uint8_t form, const uint8_t* p, uint32_t n) {
    uint64_t h = (kCheckBasis ^ form) * kFnvPrime;
    for (uint32_t i = 1; i < n; ++i) h = (h ^ p[i]) * kFnvPrime;
    return h;
}

// Whether the bytes hold a form-1 file whose length and check are right.
bool intact(uint8_t form, const uint8_t* p, uint32_t n) {
    return n >= ENCODED_OVERHEAD && read_le(p + 1, 4) == n - ENCODED_OVERHEAD &&
           read_le(p + n - ENCODED_CHECK, ENCODED_CHECK) == check_of(form, p, n - ENCODED_CHECK);
}

// Leaves nothing of a refused file behind.
unsigned refuse(char* bytes, uint32_t* size, unsigned number) {
    memset(bytes, 0, *size);
    *size = 0;
    return number;
}

} // namespace

bool encoded_form(const char* bytes, uint32_t size) {
    return size > 0 && (uint8_t)bytes[0] >= 1 && (uint8_t)bytes[0] <= 3;
}

void encode_script(const char* text, uint32_t size, const uint8_t salt[ENCODED_SALT], uint8_t* out) {
    out[0] = ENCODED_FORM;
    write_le(out + 1, size, 4);
    memcpy(out + 5, salt, ENCODED_SALT);
    memcpy(out + ENCODED_HEADER, text, size);
    apply_stream(out + ENCODED_HEADER, size, salt);
    write_le(out + ENCODED_HEADER + size, check_of(ENCODED_FORM, out, ENCODED_HEADER + size), ENCODED_CHECK);
}

unsigned decode_script(char* bytes, uint32_t* size) {
    uint8_t* p = (uint8_t*)bytes;
    uint32_t n = *size;
    if (n == 0 || p[0] != ENCODED_FORM || !intact(ENCODED_FORM, p, n))
        return refuse(bytes, size, n && p[0] != ENCODED_FORM ? MSG_ENCODED_FORM : MSG_ENCODED_DAMAGED);
    uint32_t text = n - ENCODED_OVERHEAD;
    uint8_t salt[ENCODED_SALT];
    memcpy(salt, p + 5, ENCODED_SALT);
    memmove(p, p + ENCODED_HEADER, text);
    apply_stream(p, text, salt);
    memset(p + text, 0, n - text);
    *size = text;
    return 0;
}

unsigned accept_script_file(char* bytes, uint32_t* size, bool encoded_only) {
    if (encoded_form(bytes, *size)) return decode_script(bytes, size);
    // A form-1 file whose first byte alone was changed would otherwise pass
    // as plain text. Its length field matching the file's size is already
    // next to impossible for text, so the check only runs for such files.
    if (intact(ENCODED_FORM, (const uint8_t*)bytes, *size)) return refuse(bytes, size, MSG_ENCODED_DAMAGED);
    if (encoded_only) return refuse(bytes, size, MSG_ENCODED_REQUIRED);
    return 0;
}

} // namespace tsl

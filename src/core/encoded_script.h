// The encoded form of script and menu files: what tslenc writes and what
// Call and the menu loader accept. Portable: no system calls, so the native
// build and its sanitizers test it with the DLL's own code.
//
// Layout of form 1 (all numbers little-endian):
//   offset 0       the form byte, 1
//   offset 1..4    the length N of the plain text
//   offset 5..12   eight salt bytes, new for every encoding
//   offset 13      N bytes: the text, each byte XORed with a key stream
//                  drawn from the salt
//   last 8 bytes   the check: a keyed 64-bit FNV-1a hash of every byte
//                  before it
// A file is N + 21 bytes long. Any changed byte changes the check; a
// missing or added byte breaks the length. First bytes 2 and 3 are kept
// for later forms and are refused by this version.
#pragma once
#include <cstdint>

namespace tsl {

const unsigned ENCODED_HEADER = 13;
const unsigned ENCODED_CHECK = 8;
const unsigned ENCODED_OVERHEAD = ENCODED_HEADER + ENCODED_CHECK;
const unsigned ENCODED_SALT = 8;
const uint8_t ENCODED_FORM = 1;
// The largest text tslenc encodes: the encoded script file must stay
// below the 64K limit of script files (65,521 bytes).
const uint32_t ENCODED_TEXT_MAX = 65520 - ENCODED_OVERHEAD;

// Message numbers of a refused file.
const unsigned MSG_ENCODED_DAMAGED = 3231;   // length or check does not match
const unsigned MSG_ENCODED_FORM = 3232;      // first byte 2 or 3
const unsigned MSG_ENCODED_REQUIRED = 3233;  // a plain file in encoded-scripts mode

// Whether a file's bytes are in an encoded form (first byte 1, 2 or 3).
bool encoded_form(const char* bytes, uint32_t size);

// The size of the encoded form of a text of `text_size` bytes.
inline uint32_t encoded_size(uint32_t text_size) { return text_size + ENCODED_OVERHEAD; }

// Writes the encoded form of text[0..size) to out (encoded_size(size) bytes).
void encode_script(const char* text, uint32_t size, const uint8_t salt[ENCODED_SALT], uint8_t* out);

// Checks and decodes in place: on success returns 0, the plain text stands
// at bytes[0..*size) followed by a NUL. On failure returns the message
// number and leaves nothing of the file behind (the bytes are cleared).
unsigned decode_script(char* bytes, uint32_t* size);

// The loaders' step for a file read whole into bytes[0..*size] (NUL-ended):
// an encoded file is decoded in place; a plain file passes unless
// `encoded_only` is set. Returns 0 or the message number of the refusal.
unsigned accept_script_file(char* bytes, uint32_t* size, bool encoded_only);

} // namespace tsl

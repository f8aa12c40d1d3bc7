// Script and menu files in the interpreter's encoded form begin with the
// byte 1, 2 or 3. This version has no decoder: such a file fails the check
// with message ENCODED_FILE_ERROR and nothing of it is loaded or run.
#pragma once
#include <cstdint>

namespace tsl {

const unsigned ENCODED_FILE_ERROR = 531;

inline bool encoded_form(const char* text, uint32_t size) {
    unsigned char first = size ? (unsigned char)text[0] : 0;
    return first >= 1 && first <= 3;
}

} // namespace tsl

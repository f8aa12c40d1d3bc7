// Values: a 32-bit integer and a text in the string heap, either or both valid.
#pragma once
#include <cstdint>

namespace tsl {

struct Context;

enum : uint32_t {
    VF_INT = 1,         // integer valid
    VF_STR = 2,         // text valid
    VF_HANDLE = 4,      // the integer is an open file handle (flags 5)
    VF_REGISTERED = 8,  // variable slot only: name known, no value yet
    VF_SPECIAL = 17,    // a special value kind: cannot be assigned or dropped
};
const uint16_t NO_VARIABLE = 0xFFFF;
const int32_t STRING_LITERAL_MARK = -777777;  // integer half of a string literal

struct Value {
    int32_t integer;
    uint16_t string;    // heap offset of the text, 0 = none
    uint16_t source;    // variable index, NO_VARIABLE when from elsewhere
    uint32_t flags;
};
static_assert(sizeof(Value) == 12, "a value is four fields in 12 bytes");

inline Value value_int(int32_t i) { return Value{i, 0, NO_VARIABLE, VF_INT}; }
inline bool value_defined(const Value& v) { return (v.flags & 3) != 0; }

// Makes the text half valid (error 3096 when the heap is full). 1 or 0.
int value_to_string(Context* ctx, Value* v);
// Makes the integer half valid; 0 when the text is not a number (no error).
int value_to_integer(Context* ctx, Value* v);
// Whether a text passes the number test of value_to_integer.
bool text_is_number(const char* s);
// Leading blanks, one sign, decimal digits; wraps silently on overflow.
int32_t text_to_integer(const char* s);
// Writes the integer's text in the radix into buf (at least 31 bytes).
char* integer_to_text(int32_t n, char* buf, int radix);
// Frees the value's text (if any) and clears the text half.
void value_free(Context* ctx, Value* v);
// The value's text, or "" when it has none.
const char* value_text(const Context* ctx, const Value& v);
// Allocates a copy of text in the heap and makes v a text result (3096 on failure).
int value_set_text(Context* ctx, Value* v, const char* text);
int value_set_text_n(Context* ctx, Value* v, const char* text, unsigned len);
// A copy of the heap text at `text` in a block of its own (0 with 3096).
uint16_t value_copy_text(Context* ctx, uint16_t text);
// Allocates `bytes` bytes of text for v (which becomes a text value) and
// returns the writable text, or nullptr with error 3096.
char* value_alloc_text(Context* ctx, Value* v, unsigned bytes);

} // namespace tsl

// The keyword table and its record layout (24 bytes, shared with hosts and
// command extenders through the public header).
#pragma once
#include <cstdint>

namespace tsl {

#pragma pack(push, 1)
struct KeywordRecord {
    uint16_t id;
    uint16_t kind;
    uint16_t arg_count;   // function: argument count (100 = any); constant: low half
    uint16_t str_mask;    // function: bit i = argument i+1 is a string; constant: high half
    uint16_t name_len;
    char name[14];        // lower case, NUL-padded
};
#pragma pack(pop)
static_assert(sizeof(KeywordRecord) == 24, "keyword records are 24 bytes");

enum KeywordKind : uint16_t {
    KW_BINARY = 0, KW_UNARY = 1, KW_FUNCTION = 2, KW_CONSTANT = 3,
    KW_STATEMENT = 4, KW_COMPARE = 5, KW_VARIABLE_OP = 6,
};

const uint16_t KEYWORD_BUILTIN_COUNT = 272;
const uint16_t EXTENDER_MAX_COMMANDS = 20;
const uint16_t KEYWORD_CAPACITY = KEYWORD_BUILTIN_COUNT + EXTENDER_MAX_COMMANDS;
const uint16_t VARIADIC = 100;         // argument count of a variadic function
const int HOST_COMMAND_BASE = 900;     // ids of host commands (host table record + 900)
const int EXTENDER_BASE = 272;         // ids of command-extender functions

// A remembered name-mode lookup (the lexer's word cache, one per context):
// the lower-cased word, NUL-padded, and the token id it gave (-1: a name).
struct WordCacheEntry {
    uint64_t word[3];
    const KeywordRecord* host;  // the host table it was looked up with
    uint32_t generation;
    uint16_t count;             // keyword records in use then
    int16_t id;
    uint8_t len;
};
const unsigned WORD_CACHE_SIZE = 32;
const unsigned WORD_CACHE_MAX_LEN = 23;

extern KeywordRecord g_keywords[KEYWORD_CAPACITY];
extern uint16_t g_keyword_count;

// Ids the interpreter refers to by name. ORDER KEYWORDS: positions in keyword_table.cpp.
enum KwId : int16_t {
    K_NOT = 0, K_NE = 1, K_BITAND = 2, K_AND = 3, K_LPAREN = 4, K_RPAREN = 5,
    K_MUL = 6, K_PLUS = 7, K_COMMA = 8, K_MINUS = 9, K_DIV = 10, K_LT = 11,
    K_SHL = 12, K_LE = 13, K_LTGT = 14, K_ASSIGN = 15, K_EQ = 16, K_GT = 17,
    K_GE = 18, K_SHR = 19, K_DESERVER = 20, K_DOTTED = 21,
    K_XOR = 59, K_ABOUT = 60, K_ABS = 61, K_AVERAGE = 67, K_BEEP = 68, K_BOOP = 69,
    K_CALL = 71, K_DROP = 102, K_ELSE = 103, K_EXECUTE = 110, K_EXIT = 112,
    K_GOTO = 140, K_IF = 143, K_ISDEFINED = 154, K_MAX = 169, K_MIN = 171,
    K_MOD = 172, K_RETURN = 198, K_STRCAT = 216, K_THEN = 235, K_WINCLOSENOT = 243,
    K_YIELD = 268, K_BITOR = 269, K_OR = 270, K_TILDE = 271,
};

// A function record (hosts build their command tables of these).
inline KeywordRecord function_record(uint16_t id, const char* name, uint16_t args, uint16_t mask) {
    KeywordRecord r{};
    r.id = id;
    r.kind = KW_FUNCTION;
    r.arg_count = args;
    r.str_mask = mask;
    while (r.name_len < sizeof r.name - 1 && name[r.name_len]) {
        r.name[r.name_len] = name[r.name_len];
        ++r.name_len;
    }
    return r;
}

// The signed 32-bit value of an @constant record.
inline int32_t keyword_constant(const KeywordRecord& r) {
    return (int32_t)((uint32_t)r.arg_count | ((uint32_t)r.str_mask << 16));
}

} // namespace tsl

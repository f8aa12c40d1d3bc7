// Reading a menu file line by line and telling what each line is.
//
// A line ends at a carriage return, a zero byte or a Ctrl+Z; the next line
// begins two bytes after a carriage return (CR LF is expected) and one byte
// after the other two. At most 257 characters of a line are taken: of a
// longer line the two characters after those are skipped and the rest is
// read as a line of its own.
#pragma once
#include <cstdint>

namespace tsl {

const unsigned MENU_LINE_MAX = 257;     // characters taken of one line
const unsigned MENU_FILE_LIMIT = 65534; // a menu file is smaller than this

struct MenuLine {
    uint32_t start;                   // offset of the line's first byte in the file
    char text[MENU_LINE_MAX + 1];
};

// Reads the line at *pos into `line` and moves *pos past it; false at the
// end of the text.
bool menu_next_line(const char* text, uint32_t size, uint32_t* pos, MenuLine* line);

// What a line is, by its first four characters.
enum MenuLineKind {
    MENU_COMMENT = 0,   // empty, blank, or ";" or "'" first
    MENU_TITLE_1 = 1,   // no indentation
    MENU_TITLE_2 = 2,   // one space
    MENU_TITLE_3 = 3,   // two spaces
    MENU_TITLE_4 = 4,   // three spaces
    MENU_SCRIPT = 5,    // a tab within the first four characters, or four spaces
};
MenuLineKind menu_line_kind(const char* line);

} // namespace tsl

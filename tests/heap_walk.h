// Walks of the string heap's blocks, for the native tests and the fuzz
// target alike: a whole-heap check and a description of its layout.
#pragma once
#include <cstdint>
#include <string>

namespace tsl {

inline uint32_t heap_word(const uint8_t* h, uint32_t at) {
    return (uint32_t)h[at] | (uint32_t)h[at + 1] << 8 | (uint32_t)h[at + 2] << 16 | (uint32_t)h[at + 3] << 24;
}
inline std::string heap_tag(const uint8_t* h, uint32_t at) { return std::string((const char*)h + at, 4); }

// Walks a heap of `size` bytes block by block and along its free list.
// Returns "" when whole, else what is wrong and where.
inline std::string heap_check(const uint8_t* h, uint32_t size) {
    uint32_t b = 40, free_blocks = 0, total = 0;
    bool prev_free = false;
    while (b < size - 12) {
        uint32_t n = heap_word(h, b + 4);
        if (n < 28 || n % 4 || b + n > size - 12) return "block size " + std::to_string(n) + " at " + std::to_string(b);
        std::string t = heap_tag(h, b);
        bool is_free = t == "QRST";
        if (!is_free && t != "5678") return "header tag at " + std::to_string(b);
        if (heap_tag(h, b + n - 4) != t) return "footer tag at " + std::to_string(b);
        if (is_free) {
            if (heap_word(h, b + n - 8) != n) return "footer size at " + std::to_string(b);
            if (prev_free) return "two free neighbours at " + std::to_string(b);
            ++free_blocks;
        }
        prev_free = is_free;
        total += n;
        b += n;
    }
    if (b != size - 12 || heap_tag(h, b) != "5678") return "end marker at " + std::to_string(b);
    if (total != size - 52) return "sizes do not add up";
    // The rover, where the next search starts, is 0 or a block of the free list.
    uint32_t count = 0, prev = 0, rover = heap_word(h, 28);
    bool rover_found = rover == 0;
    for (uint32_t f = heap_word(h, 8); f != 0; prev = f, f = heap_word(h, f + 8)) {
        if (++count > free_blocks || heap_tag(h, f) != "QRST") return "free list at " + std::to_string(f);
        if (heap_word(h, f + 12) != prev) return "free list back link at " + std::to_string(f);
        rover_found |= f == rover;
    }
    if (count != free_blocks) return "free list misses blocks";
    if (!rover_found) return "rover off the free list at " + std::to_string(rover);
    if (heap_word(h, 12) != prev) return "head's back link";
    return "";
}

// The heap's layout: the rover, and each block's place, size and state.
// Two runs that allocate and free alike leave the same layout.
inline std::string heap_layout(const uint8_t* h, uint32_t size) {
    std::string s = "heap rover " + std::to_string(heap_word(h, 28)) + ":";
    for (uint32_t b = 40; b < size - 12;) {
        uint32_t n = heap_word(h, b + 4);
        if (n < 28) break;
        s += " " + std::to_string(b) + (heap_tag(h, b) == "QRST" ? "f" : "u") + std::to_string(n);
        b += n;
    }
    return s + "\n";
}

} // namespace tsl

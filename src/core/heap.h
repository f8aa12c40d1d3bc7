// The string heap: one block of at most 65,536 bytes, addressed by 16-bit
// offsets, with boundary-tagged blocks, a circular free list and a rover.
#pragma once
#include <cstdint>

namespace tsl {

const uint32_t HEAP_MAX_SIZE = 65536;
const uint32_t HEAP_MIN_BLOCK = 28;   // the smallest block that holds a free block's fields
const uint32_t HEAP_OVERHEAD = 12;    // tag, size, footer tag of an allocated block

// Formats the block as an empty heap of `size` bytes (at most HEAP_MAX_SIZE).
void heap_init(uint8_t* heap, uint32_t size);
// Next fit from the rover; 0 when no block is large enough.
uint16_t heap_alloc(uint8_t* heap, uint32_t size);
// Returns a block, merging with free neighbours; shows "Tag Overwrite" boxes.
void heap_free(uint8_t* heap, uint16_t offset);
// Pointer to the data at an offset.
inline char* heap_ptr(uint8_t* heap, uint16_t offset) { return reinterpret_cast<char*>(heap + offset); }
// Bytes in free blocks (for tests and benchmarks).
uint32_t heap_free_bytes(const uint8_t* heap);

} // namespace tsl

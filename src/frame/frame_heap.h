// The library's private heap.  It serves thread blocks only, so that blocks
// of threads still alive at unload go away with the heap as a whole.
#pragma once

#include <cstddef>

namespace qlm::frame {

// Creates the heap if it does not exist yet; false if that failed.
bool frame_heap_create();
void* frame_heap_allocate(std::size_t bytes);
void frame_heap_free(void* block);
// Releases every block still held and the heap itself.
void frame_heap_destroy();
// Blocks currently held; for tests.
std::size_t frame_heap_live_blocks();

}  // namespace qlm::frame

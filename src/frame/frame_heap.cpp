// The private heap: a serialised list of blocks taken from the C runtime.
// Every block carries a link header, so that destroying the heap can give
// back the blocks of threads that never detached.
#include "frame/frame_heap.h"

#include <cstdlib>
#include <mutex>

namespace qlm::frame {
namespace {

struct alignas(16) block_header {
    block_header* prev;
    block_header* next;
};

std::mutex heap_lock;
bool heap_exists = false;
block_header* heap_blocks = nullptr;
std::size_t heap_count = 0;

}  // namespace

bool frame_heap_create() {
    std::lock_guard<std::mutex> guard(heap_lock);
    heap_exists = true;
    return true;
}

void* frame_heap_allocate(std::size_t bytes) {
    std::lock_guard<std::mutex> guard(heap_lock);
    if (!heap_exists) return nullptr;
    auto* h = static_cast<block_header*>(std::malloc(sizeof(block_header) + bytes));
    if (h == nullptr) return nullptr;
    h->prev = nullptr;
    h->next = heap_blocks;
    if (heap_blocks != nullptr) heap_blocks->prev = h;
    heap_blocks = h;
    ++heap_count;
    return h + 1;
}

void frame_heap_free(void* block) {
    if (block == nullptr) return;
    std::lock_guard<std::mutex> guard(heap_lock);
    auto* h = static_cast<block_header*>(block) - 1;
    if (h->prev != nullptr) h->prev->next = h->next; else heap_blocks = h->next;
    if (h->next != nullptr) h->next->prev = h->prev;
    --heap_count;
    std::free(h);
}

void frame_heap_destroy() {
    std::lock_guard<std::mutex> guard(heap_lock);
    while (heap_blocks != nullptr) {
        block_header* next = heap_blocks->next;
        std::free(heap_blocks);
        heap_blocks = next;
    }
    heap_count = 0;
    heap_exists = false;
}

std::size_t frame_heap_live_blocks() {
    std::lock_guard<std::mutex> guard(heap_lock);
    return heap_count;
}

}  // namespace qlm::frame

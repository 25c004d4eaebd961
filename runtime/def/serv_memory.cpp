// The core library's allocator: aligned blocks with a count of the blocks
// still live, so that a test can check that every allocation made through
// the bridge was given back.
//
// An alignment that is not a power of two, or is below the size of a
// pointer, is raised to the next power of two that is at least that size;
// a request of zero bytes gets a block of its own, as malloc(0) may.
#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "runtime_export.h"

namespace {

std::atomic<int64_t> live_blocks{0};

std::size_t usable_alignment(int alignment) {
    std::size_t a = sizeof(void*);
    while (alignment > 0 && a < static_cast<std::size_t>(alignment)) a <<= 1;
    return a;
}

void* allocate(std::size_t bytes, int alignment) {
    void* block = nullptr;
    if (posix_memalign(&block, usable_alignment(alignment), bytes == 0 ? 1 : bytes) != 0)
        return nullptr;
    live_blocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void deallocate(void* block) {
    if (block == nullptr) return;
    live_blocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(block);
}

}  // namespace

QLM_RUNTIME_EXPORT void* qlm_serv_allocate(std::size_t bytes, int alignment) {
    return allocate(bytes, alignment);
}
QLM_RUNTIME_EXPORT void qlm_serv_deallocate(void* block) { deallocate(block); }
QLM_RUNTIME_EXPORT void* qlm_serv_qlm_malloc(std::size_t bytes, int alignment) {
    return allocate(bytes, alignment);
}
QLM_RUNTIME_EXPORT void qlm_serv_qlm_free(void* block) { deallocate(block); }

// Blocks handed out by either pair and not yet given back.
QLM_RUNTIME_EXPORT int64_t qlm_serv_live_blocks() { return live_blocks.load(); }

// The type number of this library: the baseline tier.
QLM_RUNTIME_EXPORT int dll_cpu_version() { return 0; }

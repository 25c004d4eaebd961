// The calling thread's vector-math state: mode word, last status, error
// callback and the input vector base used to translate element indices.
#pragma once

#include <cstdint>

#include "qlm/qlm_vxm.h"

namespace qlm::frame {

struct thread_block {
    uint32_t mode;                     // 0 means not yet set
    int32_t status;                    // last status stored
    qlm_vxm_error_callback callback;   // or null
    uint32_t reserved[2];              // never read or written after creation
    const void* input_base;            // base for index translation, or null
};

// Never returns null: a thread whose block cannot be made ends the process
// with exit code 1 after message 760.
thread_block* get_thread_block();

thread_block* create_thread_block();

// Frees `block`, or the caller's own block when `block` is null.
void free_thread_block(thread_block* block);

// The environment default of the mode word: the low half is the parsed
// word, the high half the parsed high word; all ones means no default.
uint64_t read_default_mode();

// Parses one value of the default-mode variable; split out of
// read_default_mode so that the grammar can be exercised directly.
uint64_t parse_default_mode(const char* value);

inline constexpr const char* kDefaultModeVariable = "QLM_VXM_MODE";
inline constexpr uint64_t kNoDefaultMode = ~uint64_t{0};

}  // namespace qlm::frame

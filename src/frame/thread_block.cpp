// Per-thread state and the mode word.
//
// A thread's block lives in the private heap and is reached through one
// pthread key.  Library load creates the key and the loading thread's block;
// other threads get theirs at their first vector call, and the key's
// destructor gives a block back when its thread ends.  Unload frees the
// caller's block, deletes the key and destroys the heap with whatever
// blocks other threads still hold.
#include "frame/thread_block.h"

#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "frame/export.h"
#include "frame/frame_heap.h"
#include "frame/messages.h"

namespace qlm::frame {
namespace {

pthread_key_t slot;
bool slot_valid = false;  // false is the no-slot value

// The calling thread's block as the key holds it, so that the error path,
// which runs once per reported element, reads it without a call.  Every
// place that sets or clears the thread's key value sets or clears it too.
thread_local thread_block* own_block = nullptr;

void thread_detach(void* block) {
    // The key's value is already cleared when the destructor runs, which
    // happens on the ending thread itself.
    own_block = nullptr;
    frame_heap_free(block);
}

bool allocate_slot() {
    if (pthread_key_create(&slot, thread_detach) != 0) return false;
    slot_valid = true;
    return true;
}

__attribute__((constructor)) void process_attach() {
    if (!allocate_slot()) {
        emit_message(1, msg_allocation_failed, 0);
        return;
    }
    create_thread_block();
}

__attribute__((destructor)) void process_detach() {
    free_thread_block(nullptr);
    if (slot_valid) {
        pthread_key_delete(slot);
        slot_valid = false;
    }
    frame_heap_destroy();
}

// Tokens of the default-mode grammar, tried in this order; the first that
// matches wins.  The lengths are stored, not computed: DOUBLE_CONSISTEN is
// sixteen characters and that is the accepted spelling.
struct mode_token {
    const char* text;
    int length;
    uint32_t low;
    uint32_t high;
};

constexpr mode_token mode_tokens[13] = {
    {"LA", 2, 0x1, 0},
    {"HA", 2, 0x2, 0},
    {"EP", 2, 0x3, 0},
    {"DEFAULT_PRECISION", 17, 0x0, 0},
    {"FLOAT_CONSISTENT", 16, 0x10, 0},
    {"DOUBLE_CONSISTEN", 16, 0x20, 0},
    {"RESTORE", 7, 0x30, 0},
    {"ERRMODE_IGNORE", 14, 0x100, 0},
    {"ERRMODE_ERRNO", 13, 0x200, 0},
    {"ERRMODE_STDERR", 14, 0x400, 0},
    {"ERRMODE_EXCEPT", 14, 0x800, 0},
    {"ERRMODE_CALLBACK", 16, 0x1000, 0},
    {"ERRMODE_DEFAULT", 15, 0x1A00, 0},
};

constexpr int kModeBuffer = 256;

}  // namespace

thread_block* create_thread_block() {
    if (!frame_heap_create()) {
        emit_message(1, msg_allocation_failed, 0);
        return nullptr;
    }
    auto* block = static_cast<thread_block*>(frame_heap_allocate(sizeof(thread_block)));
    if (block == nullptr || pthread_setspecific(slot, block) != 0) {
        frame_heap_free(block);
        emit_message(1, msg_allocation_failed, 0);
        return nullptr;
    }
    // The input vector base is cleared too: a caller that never set one then
    // gets no index translation, which is what a correct caller sees anyway.
    std::memset(block, 0, sizeof(thread_block));
    own_block = block;
    return block;
}

thread_block* get_thread_block() {
    if (own_block != nullptr) return own_block;
    if (!slot_valid) {
        // Repairs a missing slot as load would; load is relied on to have run.
        if (allocate_slot()) create_thread_block();
    }
    if (slot_valid) {
        if (auto* block = static_cast<thread_block*>(pthread_getspecific(slot))) return own_block = block;
        if (thread_block* block = create_thread_block()) return block;
    }
    _exit(1);
}

void free_thread_block(thread_block* block) {
    if (!slot_valid) return;
    thread_block* own = static_cast<thread_block*>(pthread_getspecific(slot));
    if (block == nullptr) block = own;
    if (block == nullptr) return;
    if (block == own) {
        pthread_setspecific(slot, nullptr);
        own_block = nullptr;
    }
    frame_heap_free(block);
}

uint64_t parse_default_mode(const char* value) {
    // Values of the buffer's size or more are malformed: their terminator
    // would lie outside the buffer.
    const std::size_t length = std::strlen(value);
    if (length == 0 || length >= kModeBuffer) return kNoDefaultMode;
    uint32_t low = 0, high = 0;
    std::size_t p = 0;
    if (value[0] != 'V') return kNoDefaultMode;
    for (;;) {
        if (value[p + 1] != 'X' || value[p + 2] != 'M' || value[p + 3] != '_') return kNoDefaultMode;
        const mode_token* match = nullptr;
        for (const mode_token& token : mode_tokens) {
            if (p + 4 + token.length < kModeBuffer &&
                std::strncmp(value + p + 4, token.text, token.length) == 0) {
                match = &token;
                break;
            }
        }
        if (match == nullptr) return kNoDefaultMode;
        const char c = value[p + 4 + match->length];
        if (c != ',' && c != '\0') return kNoDefaultMode;
        low |= match->low;
        high |= match->high;
        if (c == '\0') return (uint64_t{high} << 32) | low;
        p += 4 + match->length + 1;
        if (value[p] != 'V') return kNoDefaultMode;
    }
}

uint64_t read_default_mode() {
    const char* value = std::getenv(kDefaultModeVariable);
    if (value == nullptr) return kNoDefaultMode;
    char buffer[kModeBuffer];
    const std::size_t length = std::strlen(value);
    if (length >= kModeBuffer) return kNoDefaultMode;
    std::memcpy(buffer, value, length);
    buffer[length] = '\0';
    return parse_default_mode(buffer);
}

}  // namespace qlm::frame

using qlm::frame::get_thread_block;

QLM_EXPORT uint32_t qlm_vxm_kernel_GetMode(void) {
    auto* block = get_thread_block();
    if (block->mode != 0) return block->mode;
    const uint64_t parsed = qlm::frame::read_default_mode();
    // A parse of 0 is stored as it is and so reads as unset again: the
    // environment is consulted on every later call until a mode is set.
    block->mode = parsed == qlm::frame::kNoDefaultMode ? VXM_BUILTIN_DEFAULT_MODE
                                                       : static_cast<uint32_t>(parsed);
    return block->mode;
}

QLM_EXPORT uint32_t qlm_vxm_kernel_SetMode(uint32_t mode) {
    const uint32_t old = qlm_vxm_kernel_GetMode();
    uint32_t merged = old;
    // Field by field; a field absent from `mode` keeps its value, so the
    // error field is replaced whole, never OR-ed, and other bits are dropped.
    for (uint32_t mask : {VXM_ACCURACY_MASK, VXM_ERRMODE_MASK, VXM_DENORMAL_MASK})
        if ((mode & mask) != 0) merged = (merged & ~mask) | (mode & mask);
    get_thread_block()->mode = merged;
    return old;
}

QLM_EXPORT int32_t qlm_vxm_kernel_GetErrStatus(void) { return get_thread_block()->status; }

QLM_EXPORT int32_t qlm_vxm_kernel_SetErrStatus(int32_t status) {
    auto* block = get_thread_block();
    const int32_t old = block->status;
    block->status = status;
    return old;
}

QLM_EXPORT int32_t qlm_vxm_kernel_ClearErrStatus(void) { return qlm_vxm_kernel_SetErrStatus(0); }

QLM_EXPORT qlm_vxm_error_callback qlm_vxm_kernel_GetErrorCallBack(void) {
    return get_thread_block()->callback;
}

QLM_EXPORT qlm_vxm_error_callback qlm_vxm_kernel_SetErrorCallBack(qlm_vxm_error_callback callback) {
    auto* block = get_thread_block();
    const qlm_vxm_error_callback old = block->callback;
    uint32_t mode = qlm_vxm_kernel_GetMode();
    block->callback = callback;
    // Clearing goes through the merge, so it cannot empty an error field
    // that holds the callback bit alone; the error path tests the pointer too.
    mode = callback != nullptr ? (mode | VXM_ERRMODE_CALLBACK) : (mode & ~VXM_ERRMODE_CALLBACK);
    qlm_vxm_kernel_SetMode(mode);
    return old;
}

QLM_EXPORT qlm_vxm_error_callback qlm_vxm_kernel_ClearErrorCallBack(void) {
    return qlm_vxm_kernel_SetErrorCallBack(nullptr);
}

QLM_EXPORT const void* qlm_vxm_kernel_SetInterfInputVectorPointer(const void* base) {
    get_thread_block()->input_base = base;
    return base;
}

QLM_EXPORT int32_t qlm_vxm_kernel_GetTTableIndex(void) {
    return static_cast<int32_t>(qlm_vxm_kernel_GetMode() & VXM_ACCURACY_MASK) - 1;
}

QLM_EXPORT int32_t qlm_vxm_kernel_GetTTableIndexM(uint32_t /*ignored*/, uint32_t mode) {
    return static_cast<int32_t>(mode & VXM_ACCURACY_MASK) - 1;
}

// The plain twins.
QLM_EXPORT uint32_t _vxmGetMode(void) { return qlm_vxm_kernel_GetMode(); }
QLM_EXPORT uint32_t _vxmSetMode(uint32_t mode) { return qlm_vxm_kernel_SetMode(mode); }
QLM_EXPORT int32_t _vxmGetErrStatus(void) { return qlm_vxm_kernel_GetErrStatus(); }
QLM_EXPORT int32_t _vxmSetErrStatus(int32_t status) { return qlm_vxm_kernel_SetErrStatus(status); }
QLM_EXPORT int32_t _vxmClearErrStatus(void) { return qlm_vxm_kernel_ClearErrStatus(); }
QLM_EXPORT qlm_vxm_error_callback _vxmGetErrorCallBack(void) { return qlm_vxm_kernel_GetErrorCallBack(); }
QLM_EXPORT qlm_vxm_error_callback _vxmSetErrorCallBack(qlm_vxm_error_callback callback) {
    return qlm_vxm_kernel_SetErrorCallBack(callback);
}
QLM_EXPORT qlm_vxm_error_callback _vxmClearErrorCallBack(void) {
    return qlm_vxm_kernel_ClearErrorCallBack();
}
QLM_EXPORT const void* _vxmSetInterfInputVectorPointer(const void* base) {
    return qlm_vxm_kernel_SetInterfInputVectorPointer(base);
}

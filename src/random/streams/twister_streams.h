// Stream layouts of the twister generators, from byte 16 of the stream
// block, and the statuses their init routines give.  These layouts are
// saved to stream images as they stand.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qlm::random::twister {

inline constexpr int32_t kNoLeapfrog = -1002;
inline constexpr int32_t kNoSkipAhead = -1003;
inline constexpr int32_t kBadInitMethod = -2;

inline constexpr std::size_t kStateOffset = 16;

// The init routine's answer to methods other than seeding.
inline int32_t refuse_method(int32_t method) {
    if (method == 1) return kNoLeapfrog;
    if (method == 2) return kNoSkipAhead;
    return kBadInitMethod;
}

struct mt19937_state {
    uint32_t mt[624];  // untempered
    int32_t index;     // next word to deliver; 624 when the block is spent
};

struct mt2203_state {
    uint32_t mt[69];
    int32_t index;     // 69 when the block is spent
    uint32_t a, b, c;  // matrix and tempering words of this member
};

struct sfmt19937_state {
    uint32_t w[624];      // 156 words of 128 bits, least significant first
    int32_t index;        // in 32-bit words; 624 when the block is spent
    uint32_t rest[3];     // unused words of the last element given to a float form
    int32_t rest_position;
    int32_t rest_count;
};

static_assert(offsetof(mt19937_state, index) + kStateOffset == 2512);
static_assert(offsetof(mt2203_state, index) + kStateOffset == 292);
static_assert(offsetof(mt2203_state, a) + kStateOffset == 296);
static_assert(offsetof(mt2203_state, c) + kStateOffset == 304);
static_assert(offsetof(sfmt19937_state, index) + kStateOffset == 2512);
static_assert(offsetof(sfmt19937_state, rest) + kStateOffset == 2516);
static_assert(offsetof(sfmt19937_state, rest_position) + kStateOffset == 2528);
static_assert(offsetof(sfmt19937_state, rest_count) + kStateOffset == 2532);

template <typename State>
inline State* state_of(void* stream) {
    return reinterpret_cast<State*>(static_cast<unsigned char*>(stream) + kStateOffset);
}

inline int32_t generator_number_of(const void* stream) {
    int32_t number;
    __builtin_memcpy(&number, stream, sizeof number);
    return number;
}

}  // namespace qlm::random::twister

// The stream block, the generator record and the chunk node, shared by the
// generators (streams/) and the distributions (distributions/).
//
// A stream is one block of `state_bytes`, aligned to 64.  Its first 16 bytes
// are the header; the generator state starts at byte 16 and is saved to
// images as it stands, so every generator's layout is fixed by offset.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/export.h"
#include "qlm/qlm_vxs.h"

namespace qlm::random {

enum status : int32_t {
    ok = 0,
    bad_init_method = -2,
    bad_abstract_argument = -3,
    out_of_memory = -4,
    missing_function = -5,
    bad_generator_number = -1000,
    no_leapfrog = -1002,
    no_skip_ahead = -1003,
    bad_state_size = -1008,
    bad_word_size = -1009,
    bad_seed_count = -1010,
    bad_bit_count = -1011,
    quasi_sequence_exhausted = -1012,
    bad_leapfrog_count = -1013,
    not_bit_generator = -1014,
    no_hardware_source = -1130,
    table_entry_not_found = -3000,
    table_full = -3001,
};

enum init_method : int32_t { init_seed = 0, init_leapfrog = 1, init_skip_ahead = 2 };

using brng_record = vxs_brng_record;

struct chunk;

// Bytes 0 to 15 of every stream.  On this 64-bit target the chunk list head
// is the whole 8-byte slot; a null pointer is the empty list.
struct stream_header {
    int32_t brng;            // generator number exactly as the caller gave it
    uint8_t constructed;     // set to 1 at creation; nothing reads it
    uint8_t unset[3];
    chunk* chunks;
};
static_assert(sizeof(stream_header) == 16);
inline constexpr std::size_t state_offset = 16;
inline constexpr int stream_alignment = 64;

// A chunk node: key, size, data, next, then the 128-bit table id (all zero
// for a private chunk).
struct chunk {
    uint32_t key;
    uint32_t size;
    void* data;
    chunk* next;
    uint32_t id[4];
};

enum chunk_key : uint32_t {
    chunk_bits32_carry = 11,
    chunk_bits64_carry = 12,
};

inline stream_header* header_of(void* stream) { return static_cast<stream_header*>(stream); }
inline const stream_header* header_of(const void* stream) { return static_cast<const stream_header*>(stream); }

// The generator state of a stream, typed by the generator's own layout.
template <typename State>
inline State* state_of(void* stream) {
    return reinterpret_cast<State*>(static_cast<unsigned char*>(stream) + state_offset);
}

// Row counts of the two registries.
inline constexpr int32_t registry_rows = 512;
inline constexpr int32_t first_generation_rows = 279;
inline constexpr int32_t new_brng_base = 0x100000;

// Resolves a generator number to its registry, row and sub-generator.  Never
// fails; validity is a separate test.
brng_record* resolve_brng(int32_t brng, int32_t* row, int32_t* sub);

// The record of a stream's generator.
inline brng_record& record_of(const void* stream) {
    int32_t row, sub;
    brng_record* registry = resolve_brng(header_of(stream)->brng, &row, &sub);
    return registry[row];
}

// The sub-generator number of a stream (WH and MT2203 members).
inline int32_t sub_of(const void* stream) {
    int32_t row, sub;
    resolve_brng(header_of(stream)->brng, &row, &sub);
    return sub;
}

// 64-bit parameter words arrive low word first.
inline uint64_t read_u64(const uint32_t* words) { return words[0] | (uint64_t{words[1]} << 32); }

}  // namespace qlm::random

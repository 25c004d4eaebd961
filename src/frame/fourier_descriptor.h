// The Fourier descriptor as the tier and the core library share it.
//
// The core library creates and owns the descriptor; the tier's front end
// reads only the tag, the rank, the method slots and the count of buffers, and writes
// the integer parameters into `values` of the descriptor and of every
// descriptor chained behind it.  Everything from `core` on belongs to the
// core library.
//
// Lengths and stride arrays reach the core library in row-major order: the
// first dimension is the slowest, the last one contiguous.  The front end's
// callers give them the other way round and the front end reverses them.
#pragma once

#include <cstdint>

extern "C" {

struct qlm_dft_descriptor;

using qlm_dft_commit_fn = int32_t (*)(qlm_dft_descriptor*);
// Buffers after the first are passed as the count of buffers says, the rest null.
using qlm_dft_compute_fn = int32_t (*)(qlm_dft_descriptor*, void*, void*, void*, void*);
using qlm_dft_free_fn = int32_t (*)(qlm_dft_descriptor*);
using qlm_dft_set_string_fn = int32_t (*)(qlm_dft_descriptor*, int32_t, const char*, int32_t);
// Parameters 12 and 13: rank + 1 words, the offset first, then the strides.
using qlm_dft_set_array_fn = int32_t (*)(qlm_dft_descriptor*, int32_t, const int64_t*);
using qlm_dft_set_real_fn = int32_t (*)(qlm_dft_descriptor*, int32_t, double);
using qlm_dft_set_integer_fn = int32_t (*)(qlm_dft_descriptor*, int32_t, int64_t);

inline constexpr uint32_t qlm_dft_tag = 0x544644;
inline constexpr int qlm_dft_parameter_count = 27;  // numbers 0 to 26

struct qlm_dft_descriptor {
    uint32_t tag;              // qlm_dft_tag while valid
    int32_t buffer_count;      // buffers a compute call takes, set by commit
    int32_t rank;              // number of lengths, set at creation
    qlm_dft_commit_fn commit;
    qlm_dft_compute_fn forward;
    qlm_dft_compute_fn backward;
    qlm_dft_free_fn free;
    qlm_dft_set_string_fn set_string;    // parameter 20
    qlm_dft_set_array_fn set_array;      // parameters 12 and 13
    qlm_dft_set_real_fn set_real;        // parameters 4 and 5
    qlm_dft_set_integer_fn set_integer;  // parameters 7, 14 and 15
    qlm_dft_descriptor* next;            // chained descriptor, or null
    int32_t committed;                   // cleared by every integer parameter
    int32_t threads;                     // set by the threading layer's blessing
    int64_t values[qlm_dft_parameter_count];  // integer parameters by number
    void* core;                          // the core library's own state
};

}  // extern "C"

// Parameter numbers and values of the descriptor.
namespace qlm::dft {

enum parameter : int32_t {
    forward_domain = 2,          // read only
    forward_scale = 4,
    backward_scale = 5,
    number_of_transforms = 7,
    complex_storage = 8,
    real_storage = 9,
    conjugate_even_storage = 10,
    placement = 11,
    input_strides = 12,
    output_strides = 13,
    input_distance = 14,
    output_distance = 15,
    ordering = 17,
    transpose = 18,
    description = 20,
    packed_format = 21,
    commit_status = 23,          // read only
    thread_limit = 26,
};

enum value : int64_t {
    complex_complex = 39,  // interleaved complex elements
    real_packed = 40,      // conjugate-even data in a real array, by packed format
    complex_real = 41,
    real_real = 42,        // real elements, or split real and imaginary arrays
    in_place = 43,
    not_in_place = 44,
    transpose_none = 48,
    transpose_all = 49,
    transpose_some = 50,
    ordered = 51,
    backward_scrambled = 52,
    ccs_format = 54,
    pack_format = 55,
    perm_format = 56,
    cce_format = 57,
};

enum domain : int32_t { complex_domain = 32, real_domain = 33 };

// Statuses of the descriptor operations; the catalogue's texts are at 761 + status.
enum status : int32_t {
    ok = 0,
    memory_error = 1,
    invalid_configuration = 2,
    inconsistent_configuration = 3,
    bad_descriptor = 5,
    not_implemented = 6,
    internal_error = 7,
};

}  // namespace qlm::dft

// The Fourier front end: thin operations over a descriptor that the core
// library creates.  Statuses are those of qlm::dft::status; the catalogue
// holds their texts at 761 + status.
//
// Lengths, and the strides of parameters 12 and 13, are given with the
// contiguous dimension first; the front end reverses them for the core
// library, which reads them slowest first.  A stride array is rank + 1
// words: the offset, which stays in front, then the strides.
#pragma once

#include <cstdint>

#include "frame/fourier_descriptor.h"

namespace qlm::frame {

using fourier_descriptor = qlm_dft_descriptor;

// Domain 32 complex, 33 real; rank 1 to 7.  The one-dimensional forms
// take a rank for the shape of the call and do not read it.
int32_t fourier_create_md_s(fourier_descriptor** out, int32_t domain, int32_t rank,
                            const int64_t* lengths);
int32_t fourier_create_md_d(fourier_descriptor** out, int32_t domain, int32_t rank,
                            const int64_t* lengths);
int32_t fourier_create_1d_s(fourier_descriptor** out, int32_t domain, int32_t rank, int64_t length);
int32_t fourier_create_1d_d(fourier_descriptor** out, int32_t domain, int32_t rank, int64_t length);

// One parameter.  The value's type follows the parameter: a text for 20,
// an array for 12 and 13, a double for 4 and 5 (an integer given there is
// taken as a double), an integer for the others.  A value of the wrong
// kind for its parameter gives 3.
int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, int64_t value);
int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, int32_t value);
int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, double value);
int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, const int64_t* words);
int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, const char* text);

int32_t fourier_commit(fourier_descriptor* d);

// The buffers after the first are passed as the descriptor's count of
// buffers says; the others reach the core library as null.
int32_t fourier_compute_forward(fourier_descriptor* d, void* buffer, void* second = nullptr,
                                void* third = nullptr, void* fourth = nullptr);
int32_t fourier_compute_backward(fourier_descriptor* d, void* buffer, void* second = nullptr,
                                 void* third = nullptr, void* fourth = nullptr);

// Frees the descriptor and nulls the caller's pointer.
int32_t fourier_free(fourier_descriptor** d);

// 1 if `status` equals `error_class`, else 0.
int32_t fourier_error_class(int32_t status, int32_t error_class);

}  // namespace qlm::frame

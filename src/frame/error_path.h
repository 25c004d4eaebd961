// The error and special-value path of the vector kernels.
//
// A kernel that meets an element deserving a report stores its default
// result in the output first, then calls the entry of its element type with
// the whole vectors and the element's index.  The entry stores the status,
// gives the callback a chance, reports as the mode's error field asks and
// writes the record's results back.  One-input kernels pass their input
// twice, one-output kernels their output twice.
#pragma once

#include <cstdint>

#include "qlm/qlm_vxm.h"

namespace qlm::frame {

void raise_status_s(int32_t status, int32_t index, const float* a1, const float* a2, float* r1,
                    float* r2, const char* name);
void raise_status_d(int32_t status, int32_t index, const double* a1, const double* a2, double* r1,
                    double* r2, const char* name);
void raise_status_c(int32_t status, int32_t index, const qlm_complex8* a1, const qlm_complex8* a2,
                    qlm_complex8* r1, qlm_complex8* r2, const char* name);
void raise_status_z(int32_t status, int32_t index, const qlm_complex16* a1,
                    const qlm_complex16* a2, qlm_complex16* r1, qlm_complex16* r2,
                    const char* name);

// Overloads by element type, for kernels written once for float and double.
inline void raise_status(int32_t status, int32_t index, const float* a1, const float* a2,
                         float* r1, float* r2, const char* name) {
    raise_status_s(status, index, a1, a2, r1, r2, name);
}
inline void raise_status(int32_t status, int32_t index, const double* a1, const double* a2,
                         double* r1, double* r2, const char* name) {
    raise_status_d(status, index, a1, a2, r1, r2, name);
}

// Concatenates prefix (at most 8), name (at most 64) and suffix (at most 8)
// into `out` with a terminator and returns the length.
int format_function_name(char* out, const char* prefix, const char* name, const char* suffix);

// errno, message and exception, in that order, as the mode's bits 0x200,
// 0x400 and 0x800 ask.
void report_status(const qlm_vxm_error_record& record);
// The same under a mode word the caller has just read.
void report_status(const qlm_vxm_error_record& record, uint32_t mode);

}  // namespace qlm::frame

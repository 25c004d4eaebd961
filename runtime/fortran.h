// BLAS and LAPACK routines of the system libraries, as the runtime
// libraries call them: every argument by address, and the hidden length of
// each character argument at the end.
#pragma once

#include <cstddef>

extern "C" {

using flen = std::size_t;

void dgemm_(const char*, const char*, const int*, const int*, const int*, const double*,
            const double*, const int*, const double*, const int*, const double*, double*,
            const int*, flen, flen);
void sgemm_(const char*, const char*, const int*, const int*, const int*, const float*,
            const float*, const int*, const float*, const int*, const float*, float*, const int*,
            flen, flen);
void dgemv_(const char*, const int*, const int*, const double*, const double*, const int*,
            const double*, const int*, const double*, double*, const int*, flen);
void sgemv_(const char*, const int*, const int*, const float*, const float*, const int*,
            const float*, const int*, const float*, float*, const int*, flen);
void dsyr_(const char*, const int*, const double*, const double*, const int*, double*,
           const int*, flen);
void ssyr_(const char*, const int*, const float*, const float*, const int*, float*, const int*,
           flen);
void dsyrk_(const char*, const char*, const int*, const int*, const double*, const double*,
            const int*, const double*, double*, const int*, flen, flen);
void ssyrk_(const char*, const char*, const int*, const int*, const float*, const float*,
            const int*, const float*, float*, const int*, flen, flen);
void dtrmm_(const char*, const char*, const char*, const char*, const int*, const int*,
            const double*, const double*, const int*, double*, const int*, flen, flen, flen, flen);
void strmm_(const char*, const char*, const char*, const char*, const int*, const int*,
            const float*, const float*, const int*, float*, const int*, flen, flen, flen, flen);
void dsymm_(const char*, const char*, const int*, const int*, const double*, const double*,
            const int*, const double*, const int*, const double*, double*, const int*, flen, flen);
void ssymm_(const char*, const char*, const int*, const int*, const float*, const float*,
            const int*, const float*, const int*, const float*, float*, const int*, flen, flen);
void dtpmv_(const char*, const char*, const char*, const int*, const double*, double*, const int*,
            flen, flen, flen);
void stpmv_(const char*, const char*, const char*, const int*, const float*, float*, const int*,
            flen, flen, flen);
void dscal_(const int*, const double*, double*, const int*);
void sscal_(const int*, const float*, float*, const int*);

void dpotrf_(const char*, const int*, double*, const int*, int*, flen);
void spotrf_(const char*, const int*, float*, const int*, int*, flen);
void dpotri_(const char*, const int*, double*, const int*, int*, flen);
void spotri_(const char*, const int*, float*, const int*, int*, flen);
void dtrtri_(const char*, const char*, const int*, double*, const int*, int*, flen, flen);
void strtri_(const char*, const char*, const int*, float*, const int*, int*, flen, flen);
void dsyev_(const char*, const char*, const int*, double*, const int*, double*, double*,
            const int*, int*, flen, flen);
void ssyev_(const char*, const char*, const int*, float*, const int*, float*, float*, const int*,
            int*, flen, flen);
void dspevd_(const char*, const char*, const int*, double*, double*, double*, const int*, double*,
             const int*, int*, const int*, int*, flen, flen);
void sspevd_(const char*, const char*, const int*, float*, float*, float*, const int*, float*,
             const int*, int*, const int*, int*, flen, flen);
void dgttrs_(const char*, const int*, const int*, const double*, const double*, const double*,
             const double*, const int*, double*, const int*, int*, flen);
void sgttrs_(const char*, const int*, const int*, const float*, const float*, const float*,
             const float*, const int*, float*, const int*, int*, flen);

}  // extern "C"

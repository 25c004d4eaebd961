// LAPACK operations of the core library, over the system LAPACK.  The
// argument lists are LAPACK's, by address, with the hidden lengths.
#include "fortran.h"
#include "runtime_export.h"

QLM_RUNTIME_EXPORT void qlm_lapack_dtrtri(const char* uplo, const char* diag, const int* n,
                                          double* a, const int* lda, int* info, flen lu, flen ld) {
    dtrtri_(uplo, diag, n, a, lda, info, lu, ld);
}
QLM_RUNTIME_EXPORT void qlm_lapack_strtri(const char* uplo, const char* diag, const int* n,
                                          float* a, const int* lda, int* info, flen lu, flen ld) {
    strtri_(uplo, diag, n, a, lda, info, lu, ld);
}
QLM_RUNTIME_EXPORT void qlm_lapack_dsyev(const char* jobz, const char* uplo, const int* n,
                                         double* a, const int* lda, double* w, double* work,
                                         const int* lwork, int* info, flen lj, flen lu) {
    dsyev_(jobz, uplo, n, a, lda, w, work, lwork, info, lj, lu);
}
QLM_RUNTIME_EXPORT void qlm_lapack_ssyev(const char* jobz, const char* uplo, const int* n,
                                         float* a, const int* lda, float* w, float* work,
                                         const int* lwork, int* info, flen lj, flen lu) {
    ssyev_(jobz, uplo, n, a, lda, w, work, lwork, info, lj, lu);
}
QLM_RUNTIME_EXPORT void qlm_lapack_dpotri(const char* uplo, const int* n, double* a,
                                          const int* lda, int* info, flen lu) {
    dpotri_(uplo, n, a, lda, info, lu);
}
QLM_RUNTIME_EXPORT void qlm_lapack_spotri(const char* uplo, const int* n, float* a,
                                          const int* lda, int* info, flen lu) {
    spotri_(uplo, n, a, lda, info, lu);
}
QLM_RUNTIME_EXPORT void qlm_lapack_dspevd(const char* jobz, const char* uplo, const int* n,
                                          double* ap, double* w, double* z, const int* ldz,
                                          double* work, const int* lwork, int* iwork,
                                          const int* liwork, int* info, flen lj, flen lu) {
    dspevd_(jobz, uplo, n, ap, w, z, ldz, work, lwork, iwork, liwork, info, lj, lu);
}
QLM_RUNTIME_EXPORT void qlm_lapack_sspevd(const char* jobz, const char* uplo, const int* n,
                                          float* ap, float* w, float* z, const int* ldz,
                                          float* work, const int* lwork, int* iwork,
                                          const int* liwork, int* info, flen lj, flen lu) {
    sspevd_(jobz, uplo, n, ap, w, z, ldz, work, lwork, iwork, liwork, info, lj, lu);
}

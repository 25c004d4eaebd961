// BLAS and LAPACK operations of the sequential threading layer, over the
// system BLAS: argument lists by address with the hidden lengths, as the
// tier's stubs forward them.
#include "fortran.h"
#include "runtime_export.h"

QLM_RUNTIME_EXPORT void qlm_blas_dsyr(const char* uplo, const int* n, const double* alpha,
                                      const double* x, const int* incx, double* a, const int* lda,
                                      flen lu) {
    dsyr_(uplo, n, alpha, x, incx, a, lda, lu);
}
QLM_RUNTIME_EXPORT void qlm_blas_ssyr(const char* uplo, const int* n, const float* alpha,
                                      const float* x, const int* incx, float* a, const int* lda,
                                      flen lu) {
    ssyr_(uplo, n, alpha, x, incx, a, lda, lu);
}
QLM_RUNTIME_EXPORT void qlm_blas_dsyrk(const char* uplo, const char* trans, const int* n,
                                       const int* k, const double* alpha, const double* a,
                                       const int* lda, const double* beta, double* c,
                                       const int* ldc, flen lu, flen lt) {
    dsyrk_(uplo, trans, n, k, alpha, a, lda, beta, c, ldc, lu, lt);
}
QLM_RUNTIME_EXPORT void qlm_blas_ssyrk(const char* uplo, const char* trans, const int* n,
                                       const int* k, const float* alpha, const float* a,
                                       const int* lda, const float* beta, float* c,
                                       const int* ldc, flen lu, flen lt) {
    ssyrk_(uplo, trans, n, k, alpha, a, lda, beta, c, ldc, lu, lt);
}
QLM_RUNTIME_EXPORT void qlm_blas_dgemm(const char* ta, const char* tb, const int* m,
                                       const int* n, const int* k, const double* alpha,
                                       const double* a, const int* lda, const double* b,
                                       const int* ldb, const double* beta, double* c,
                                       const int* ldc, flen la, flen lb) {
    dgemm_(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, la, lb);
}
QLM_RUNTIME_EXPORT void qlm_blas_sgemm(const char* ta, const char* tb, const int* m,
                                       const int* n, const int* k, const float* alpha,
                                       const float* a, const int* lda, const float* b,
                                       const int* ldb, const float* beta, float* c,
                                       const int* ldc, flen la, flen lb) {
    sgemm_(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, la, lb);
}
QLM_RUNTIME_EXPORT void qlm_blas_dtrmm(const char* side, const char* uplo, const char* transa,
                                       const char* diag, const int* m, const int* n,
                                       const double* alpha, const double* a, const int* lda,
                                       double* b, const int* ldb, flen l1, flen l2, flen l3,
                                       flen l4) {
    dtrmm_(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, l1, l2, l3, l4);
}
QLM_RUNTIME_EXPORT void qlm_blas_strmm(const char* side, const char* uplo, const char* transa,
                                       const char* diag, const int* m, const int* n,
                                       const float* alpha, const float* a, const int* lda,
                                       float* b, const int* ldb, flen l1, flen l2, flen l3,
                                       flen l4) {
    strmm_(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, l1, l2, l3, l4);
}
QLM_RUNTIME_EXPORT void qlm_blas_dgemv(const char* trans, const int* m, const int* n,
                                       const double* alpha, const double* a, const int* lda,
                                       const double* x, const int* incx, const double* beta,
                                       double* y, const int* incy, flen lt) {
    dgemv_(trans, m, n, alpha, a, lda, x, incx, beta, y, incy, lt);
}
QLM_RUNTIME_EXPORT void qlm_blas_sgemv(const char* trans, const int* m, const int* n,
                                       const float* alpha, const float* a, const int* lda,
                                       const float* x, const int* incx, const float* beta,
                                       float* y, const int* incy, flen lt) {
    sgemv_(trans, m, n, alpha, a, lda, x, incx, beta, y, incy, lt);
}
QLM_RUNTIME_EXPORT void qlm_lapack_dpotrf(const char* uplo, const int* n, double* a,
                                          const int* lda, int* info, flen lu) {
    dpotrf_(uplo, n, a, lda, info, lu);
}
QLM_RUNTIME_EXPORT void qlm_lapack_spotrf(const char* uplo, const int* n, float* a,
                                          const int* lda, int* info, flen lu) {
    spotrf_(uplo, n, a, lda, info, lu);
}

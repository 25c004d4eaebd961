// Triangular and symmetric products of the core library.  The triangular
// form takes no hidden lengths, the symmetric one takes the usual two;
// both forward to the system BLAS.
#include "fortran.h"
#include "runtime_export.h"

QLM_RUNTIME_EXPORT void qlm_blas_xdtrmm(const char* side, const char* uplo, const char* transa,
                                        const char* diag, const int* m, const int* n,
                                        const double* alpha, const double* a, const int* lda,
                                        double* b, const int* ldb) {
    dtrmm_(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, 1, 1, 1, 1);
}
QLM_RUNTIME_EXPORT void qlm_blas_xstrmm(const char* side, const char* uplo, const char* transa,
                                        const char* diag, const int* m, const int* n,
                                        const float* alpha, const float* a, const int* lda,
                                        float* b, const int* ldb) {
    strmm_(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, 1, 1, 1, 1);
}
QLM_RUNTIME_EXPORT void qlm_blas_xdsymm(const char* side, const char* uplo, const int* m,
                                        const int* n, const double* alpha, const double* a,
                                        const int* lda, const double* b, const int* ldb,
                                        const double* beta, double* c, const int* ldc, flen ls,
                                        flen lu) {
    dsymm_(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc, ls, lu);
}
QLM_RUNTIME_EXPORT void qlm_blas_xssymm(const char* side, const char* uplo, const int* m,
                                        const int* n, const float* alpha, const float* a,
                                        const int* lda, const float* b, const int* ldb,
                                        const float* beta, float* c, const int* ldc, flen ls,
                                        flen lu) {
    ssymm_(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc, ls, lu);
}

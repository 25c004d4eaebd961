// Operations of the sequential threading layer that have no standard name.
//
// Packed triangular product, B := alpha op(A) B or alpha B op(A), A a
// triangular matrix packed by columns as BLAS packs it.  It runs as one
// packed matrix-vector product per column of B (left side) or per row of B
// (right side, where x^T op(A) = (op(A)^T x)^T), so it needs no work memory.
//
// Tridiagonal factorisation and solves without pivoting, for the diagonally
// dominant systems of spline construction: A = L U with L unit lower
// bidiagonal (multipliers in dl) and U upper bidiagonal (d and du).  The
// factor is LAPACK's general tridiagonal factor with no row exchanged, so
// the solve is LAPACK's general tridiagonal solve given identity pivots and
// a zero second superdiagonal.  A zero pivot stops the factorisation with
// info set to its 1-based position.
#include <vector>

#include "fortran.h"
#include "frame/fourier_descriptor.h"
#include "runtime_export.h"

namespace {

template <typename Real>
struct blas;
template <>
struct blas<double> {
    static constexpr auto tpmv = dtpmv_;
    static constexpr auto scal = dscal_;
    static constexpr auto gttrs = dgttrs_;
};
template <>
struct blas<float> {
    static constexpr auto tpmv = stpmv_;
    static constexpr auto scal = sscal_;
    static constexpr auto gttrs = sgttrs_;
};

bool is(const char* c, char upper) { return (*c & ~0x20) == upper; }

template <typename Real>
void packed_trmm(const char* side, const char* uplo, const char* transa, const char* diag,
                 const int* m, const int* n, const Real* alpha, const Real* ap, Real* b,
                 const int* ldb) {
    const bool left = is(side, 'L');
    const int vectors = left ? *n : *m;
    const int order = left ? *m : *n;
    const int step = left ? 1 : *ldb;  // along one vector
    const int next = left ? *ldb : 1;  // from one vector to the next
    // On the right, op(A) applies transposed to the rows of B.
    const char flipped = is(transa, 'N') ? 'T' : 'N';
    const char* op = left ? transa : &flipped;
    for (int j = 0; j < vectors; ++j) {
        Real* x = b + static_cast<long>(j) * next;
        blas<Real>::tpmv(uplo, op, diag, &order, ap, x, &step, 1, 1, 1);
        if (*alpha != Real(1)) blas<Real>::scal(&order, alpha, x, &step);
    }
}

template <typename Real>
void factor_tridiagonal(const int* n, Real* dl, Real* d, Real* du, int* info) {
    *info = 0;
    if (*n < 0) {
        *info = -1;
        return;
    }
    for (int i = 0; i + 1 < *n; ++i) {
        if (d[i] == Real(0)) {
            *info = i + 1;
            return;
        }
        dl[i] /= d[i];
        d[i + 1] -= dl[i] * du[i];
    }
    if (*n > 0 && d[*n - 1] == Real(0)) *info = *n;
}

template <typename Real>
void solve_tridiagonal(const char* trans, const int* n, const int* nrhs, const Real* dl,
                       const Real* d, const Real* du, Real* b, const int* ldb, int* info) {
    *info = 0;
    if (*n <= 0 || *nrhs <= 0) return;
    std::vector<Real> du2(*n, Real(0));
    std::vector<int> pivots(*n);
    for (int i = 0; i < *n; ++i) pivots[i] = i + 1;
    blas<Real>::gttrs(trans, n, nrhs, dl, d, du, du2.data(), pivots.data(), b, ldb, info, 1);
}

template <typename Real>
void solve_system(const int* n, const int* nrhs, Real* dl, Real* d, Real* du, Real* b,
                  const int* ldb, int* info) {
    factor_tridiagonal(n, dl, d, du, info);
    if (*info != 0) return;
    solve_tridiagonal("N", n, nrhs, dl, d, du, b, ldb, info);
}

}  // namespace

QLM_RUNTIME_EXPORT void qlm_blas_dptrmm(const char* side, const char* uplo, const char* transa,
                                        const char* diag, const int* m, const int* n,
                                        const double* alpha, const double* ap, double* b,
                                        const int* ldb, flen, flen, flen, flen) {
    packed_trmm(side, uplo, transa, diag, m, n, alpha, ap, b, ldb);
}
QLM_RUNTIME_EXPORT void qlm_blas_sptrmm(const char* side, const char* uplo, const char* transa,
                                        const char* diag, const int* m, const int* n,
                                        const float* alpha, const float* ap, float* b,
                                        const int* ldb, flen, flen, flen, flen) {
    packed_trmm(side, uplo, transa, diag, m, n, alpha, ap, b, ldb);
}
QLM_RUNTIME_EXPORT void qlm_lapack_ps_ddttrfb(const int* n, double* dl, double* d, double* du,
                                              int* info) {
    factor_tridiagonal(n, dl, d, du, info);
}
QLM_RUNTIME_EXPORT void qlm_lapack_ps_sdttrfb(const int* n, float* dl, float* d, float* du,
                                              int* info) {
    factor_tridiagonal(n, dl, d, du, info);
}
QLM_RUNTIME_EXPORT void qlm_lapack_ddttrsb(const char* trans, const int* n, const int* nrhs,
                                           const double* dl, const double* d, const double* du,
                                           double* b, const int* ldb, int* info) {
    solve_tridiagonal(trans, n, nrhs, dl, d, du, b, ldb, info);
}
QLM_RUNTIME_EXPORT void qlm_lapack_sdttrsb(const char* trans, const int* n, const int* nrhs,
                                           const float* dl, const float* d, const float* du,
                                           float* b, const int* ldb, int* info) {
    solve_tridiagonal(trans, n, nrhs, dl, d, du, b, ldb, info);
}
QLM_RUNTIME_EXPORT void qlm_lapack_ps_ddtsvb(const int* n, const int* nrhs, double* dl, double* d,
                                             double* du, double* b, const int* ldb, int* info) {
    solve_system(n, nrhs, dl, d, du, b, ldb, info);
}
QLM_RUNTIME_EXPORT void qlm_lapack_ps_sdtsvb(const int* n, const int* nrhs, float* dl, float* d,
                                             float* du, float* b, const int* ldb, int* info) {
    solve_system(n, nrhs, dl, d, du, b, ldb, info);
}

// A descriptor made under this layer computes on the calling thread alone.
QLM_RUNTIME_EXPORT int32_t qlm_dft_bless_node_omp(qlm_dft_descriptor* descriptor) {
    if (descriptor == nullptr || descriptor->tag != qlm_dft_tag) return 5;
    descriptor->threads = 1;
    return 0;
}

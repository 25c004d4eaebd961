// The bound operations through their stubs, against plain reference
// computations: the stubs must forward every argument, hidden lengths
// included, to the right routine of the right library.  Every block taken
// from the core library's allocator must be back when the tests end.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "frame/bridge.h"
#include "frame/loader.h"
#include "support/runtime_libraries.h"

namespace {

using matrix = std::vector<double>;  // column-major

class runtime_environment : public ::testing::Environment {
public:
    void SetUp() override { ASSERT_TRUE(qlm::test::preload_runtime()) << "QLM_BUILD_DIR not usable"; }
    void TearDown() override {
        const int64_t live = qlm::test::live_blocks();
        if (live >= 0) {
            EXPECT_EQ(live, 0) << "blocks taken through the bridge and not given back";
        }
    }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new runtime_environment);

matrix random_matrix(int rows, int cols, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1, 1);
    matrix m(static_cast<std::size_t>(rows) * cols);
    for (double& x : m) x = u(gen);
    return m;
}

// C = op(A) op(B), all column-major with leading dimension = rows.
matrix multiply(const matrix& a, int ar, int ac, bool ta, const matrix& b, int br, int bc, bool tb) {
    const int m = ta ? ac : ar, k = ta ? ar : ac, n = tb ? br : bc;
    matrix c(static_cast<std::size_t>(m) * n, 0.0);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            for (int p = 0; p < k; ++p)
                c[i + j * m] += (ta ? a[p + i * ar] : a[i + p * ar]) * (tb ? b[j + p * br] : b[p + j * br]);
    return c;
}

// The triangle of a square matrix, the other part zero, diagonal optionally one.
matrix triangle(const matrix& a, int n, bool upper, bool unit) {
    matrix t(a.size(), 0.0);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i)
            if ((upper && i <= j) || (!upper && i >= j)) t[i + j * n] = (unit && i == j) ? 1.0 : a[i + j * n];
    return t;
}

void expect_near_all(const matrix& got, const matrix& want, double tolerance, const char* what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    for (std::size_t i = 0; i < got.size(); ++i)
        EXPECT_NEAR(got[i], want[i], tolerance) << what << " element " << i;
}

TEST(BridgeMemory, AllocationsAreAlignedAndCounted) {
    const int64_t before = qlm::test::live_blocks() < 0 ? 0 : qlm::test::live_blocks();
    std::vector<void*> blocks;
    const struct { std::size_t bytes; int alignment; std::uintptr_t expected; } cases[] = {
        {0, 0, 8}, {1, 1, 8}, {100, 16, 16}, {1000, 64, 64}, {10, 100, 128}, {5000, 4096, 4096}};
    for (const auto& c : cases) {
        void* p = qlm_serv_allocate(c.bytes, c.alignment);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % c.expected, 0u) << c.alignment;
        blocks.push_back(p);
    }
    void* q = qlm_serv_qlm_malloc(256, 32);
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(q) % 32, 0u);
    EXPECT_EQ(qlm::test::live_blocks(), before + 7);
    for (void* p : blocks) qlm_serv_deallocate(p);
    qlm_serv_qlm_free(q);
    qlm_serv_deallocate(nullptr);
    EXPECT_EQ(qlm::test::live_blocks(), before);
}

TEST(BridgeBlas, ProductsMatchTheReference) {
    const int m = 3, n = 4, k = 5;
    const matrix a = random_matrix(m, k, 1), b = random_matrix(n, k, 2);
    const double alpha = 1.5, beta = 0.0;
    matrix c(m * n, 7.0);
    qlm_blas_dgemm("N", "T", &m, &n, &k, &alpha, a.data(), &m, b.data(), &n, &beta, c.data(), &m, 1, 1);
    matrix want = multiply(a, m, k, false, b, n, k, true);
    for (double& x : want) x *= alpha;
    expect_near_all(c, want, 1e-14, "dgemm");

    const matrix x = random_matrix(k, 1, 3);
    matrix y(m, 1.0);
    const int one = 1;
    const double half = 0.5;
    qlm_blas_dgemv("N", &m, &k, &alpha, a.data(), &m, x.data(), &one, &half, y.data(), &one, 1);
    matrix yw = multiply(a, m, k, false, x, k, 1, false);
    for (double& v : yw) v = alpha * v + 0.5;
    expect_near_all(y, yw, 1e-14, "dgemv");

    // syrk and syr update the lower triangle only.
    matrix s(m * m, 0.0);
    qlm_blas_dsyrk("L", "N", &m, &k, &alpha, a.data(), &m, &beta, s.data(), &m, 1, 1);
    qlm_blas_dsyr("L", &m, &alpha, y.data(), &one, s.data(), &m, 1);
    matrix sw = multiply(a, m, k, false, a, m, k, true);
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < m; ++i) sw[i + j * m] = i >= j ? alpha * (sw[i + j * m] + y[i] * y[j]) : 0.0;
    expect_near_all(s, sw, 1e-14, "dsyrk and dsyr");
}

TEST(BridgeBlas, TriangularSymmetricAndPackedProducts) {
    const int n = 4, cols = 3;
    const double alpha = -2.0, beta = 0.0;
    const matrix a = random_matrix(n, n, 4), b = random_matrix(n, cols, 5);
    for (bool upper : {false, true}) {
        for (bool trans : {false, true}) {
            const char* uplo = upper ? "U" : "L";
            const char* op = trans ? "T" : "N";
            const matrix t = triangle(a, n, upper, false);
            matrix want = multiply(t, n, n, trans, b, n, cols, false);
            for (double& v : want) v *= alpha;
            matrix got = b;
            qlm_blas_xdtrmm("L", uplo, op, "N", &n, &cols, &alpha, a.data(), &n, got.data(), &n);
            expect_near_all(got, want, 1e-14, "xdtrmm");
            got = b;
            qlm_blas_dtrmm("L", uplo, op, "N", &n, &cols, &alpha, a.data(), &n, got.data(), &n, 1, 1, 1, 1);
            expect_near_all(got, want, 1e-14, "dtrmm");

            // The same triangle packed by columns, from the left and, on a
            // transposed right-hand side, from the right.
            matrix packed;
            for (int j = 0; j < n; ++j)
                for (int i = upper ? 0 : j; i < (upper ? j + 1 : n); ++i) packed.push_back(a[i + j * n]);
            got = b;
            qlm_blas_dptrmm("L", uplo, op, "N", &n, &cols, &alpha, packed.data(), got.data(), &n, 1, 1, 1, 1);
            expect_near_all(got, want, 1e-14, "dptrmm left");
            matrix bt(cols * n);
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < cols; ++j) bt[j + i * cols] = b[i + j * n];
            matrix right = multiply(bt, cols, n, false, t, n, n, trans);
            for (double& v : right) v *= alpha;
            qlm_blas_dptrmm("R", uplo, op, "N", &cols, &n, &alpha, packed.data(), bt.data(), &cols, 1, 1, 1, 1);
            expect_near_all(bt, right, 1e-14, "dptrmm right");
        }
    }
    // symm with the lower triangle: A symmetric from its lower part.
    matrix sym = triangle(a, n, false, false);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < j; ++i) sym[i + j * n] = sym[j + i * n];
    matrix c(n * cols, 3.0);
    qlm_blas_xdsymm("L", "L", &n, &cols, &alpha, a.data(), &n, b.data(), &n, &beta, c.data(), &n, 1, 1);
    matrix want = multiply(sym, n, n, false, b, n, cols, false);
    for (double& v : want) v *= alpha;
    expect_near_all(c, want, 1e-14, "xdsymm");

    // Single forms go to the single routines.
    std::vector<float> fa(a.begin(), a.end()), fb(b.begin(), b.end());
    const float falpha = -2.0f;
    qlm_blas_xstrmm("L", "U", "N", "N", &n, &cols, &falpha, fa.data(), &n, fb.data(), &n);
    matrix fwant = multiply(triangle(a, n, true, false), n, n, false, b, n, cols, false);
    for (std::size_t i = 0; i < fb.size(); ++i) EXPECT_NEAR(fb[i], -2.0 * fwant[i], 1e-5) << "xstrmm " << i;
}

TEST(BridgeLapack, FactorisationsAndEigenvalues) {
    const int n = 3;
    int info = -1;
    // A = M M^T + n I is symmetric positive definite.
    const matrix m = random_matrix(n, n, 6);
    matrix a = multiply(m, n, n, false, m, n, n, true);
    for (int i = 0; i < n; ++i) a[i + i * n] += n;
    const matrix spd = a;
    qlm_lapack_dpotrf("L", &n, a.data(), &n, &info, 1);
    ASSERT_EQ(info, 0);
    qlm_lapack_dpotri("L", &n, a.data(), &n, &info, 1);
    ASSERT_EQ(info, 0);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < j; ++i) a[i + j * n] = a[j + i * n];
    matrix eye(n * n, 0.0);
    for (int i = 0; i < n; ++i) eye[i + i * n] = 1.0;
    expect_near_all(multiply(spd, n, n, false, a, n, n, false), eye, 1e-12, "dpotrf and dpotri");

    matrix t = triangle(random_matrix(n, n, 7), n, true, false);
    for (int i = 0; i < n; ++i) t[i + i * n] += 2.0;
    matrix inverse = t;
    qlm_lapack_dtrtri("U", "N", &n, inverse.data(), &n, &info, 1, 1);
    ASSERT_EQ(info, 0);
    expect_near_all(multiply(t, n, n, false, inverse, n, n, false), eye, 1e-12, "dtrtri");

    // [[2,1,0],[1,2,0],[0,0,5]] has eigenvalues 1, 3, 5.
    matrix e = {2, 1, 0, 1, 2, 0, 0, 0, 5};
    double w[3], work[64];
    const int lwork = 64;
    qlm_lapack_dsyev("N", "L", &n, e.data(), &n, w, work, &lwork, &info, 1, 1);
    ASSERT_EQ(info, 0);
    expect_near_all(matrix(w, w + 3), {1, 3, 5}, 1e-13, "dsyev");
    double packed[6] = {2, 1, 0, 2, 0, 5}, z[9];
    int iwork[32];
    const int liwork = 32;
    qlm_lapack_dspevd("V", "L", &n, packed, w, z, &n, work, &lwork, iwork, &liwork, &info, 1, 1);
    ASSERT_EQ(info, 0);
    expect_near_all(matrix(w, w + 3), {1, 3, 5}, 1e-13, "dspevd");

    float fe[9] = {2, 1, 0, 1, 2, 0, 0, 0, 5}, fw[3], fwork[64];
    qlm_lapack_ssyev("N", "L", &n, fe, &n, fw, fwork, &lwork, &info, 1, 1);
    ASSERT_EQ(info, 0);
    EXPECT_NEAR(fw[0], 1.0f, 1e-5);
    EXPECT_NEAR(fw[2], 5.0f, 1e-5);
    float fs[4] = {4, 2, 2, 5};
    const int two = 2;
    qlm_lapack_spotrf("L", &two, fs, &two, &info, 1);
    EXPECT_EQ(info, 0);
    EXPECT_FLOAT_EQ(fs[0], 2.0f);  // sqrt(4)
    EXPECT_FLOAT_EQ(fs[1], 1.0f);  // 2 / 2
    EXPECT_FLOAT_EQ(fs[3], 2.0f);  // sqrt(5 - 1)
}

// y = A x for the tridiagonal A, or A^T x.
matrix tridiagonal_times(const matrix& dl, const matrix& d, const matrix& du, const matrix& x,
                         bool transposed) {
    const std::size_t n = d.size();
    matrix y(n, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        y[i] = d[i] * x[i];
        if (i > 0) y[i] += (transposed ? du[i - 1] : dl[i - 1]) * x[i - 1];
        if (i + 1 < n) y[i] += (transposed ? dl[i] : du[i]) * x[i + 1];
    }
    return y;
}

TEST(BridgeLapack, TridiagonalSolvesWithoutPivoting) {
    const int n = 7, nrhs = 1;
    std::mt19937 gen(8);
    std::uniform_real_distribution<double> u(-1, 1);
    matrix dl(n - 1), d(n), du(n - 1), x(n);
    for (double& v : dl) v = u(gen);
    for (double& v : du) v = u(gen);
    for (double& v : d) v = 3.0 + u(gen);  // diagonally dominant
    for (double& v : x) v = u(gen);
    for (bool transposed : {false, true}) {
        matrix b = tridiagonal_times(dl, d, du, x, transposed);
        matrix fl = dl, fd = d, fu = du;
        int info = -1;
        qlm_lapack_ps_ddttrfb(&n, fl.data(), fd.data(), fu.data(), &info);
        ASSERT_EQ(info, 0);
        qlm_lapack_ddttrsb(transposed ? "T" : "N", &n, &nrhs, fl.data(), fd.data(), fu.data(), b.data(), &n, &info);
        ASSERT_EQ(info, 0);
        expect_near_all(b, x, 1e-13, transposed ? "dttrsb T" : "dttrsb N");
    }
    matrix b = tridiagonal_times(dl, d, du, x, false);
    matrix fl = dl, fd = d, fu = du;
    int info = -1;
    qlm_lapack_ps_ddtsvb(&n, &nrhs, fl.data(), fd.data(), fu.data(), b.data(), &n, &info);
    ASSERT_EQ(info, 0);
    expect_near_all(b, x, 1e-13, "dtsvb");

    // Without pivoting a zero leading pivot stops the factorisation there.
    std::vector<float> sl(dl.begin(), dl.end()), sd(d.begin(), d.end()), su(du.begin(), du.end());
    sd[0] = 0.0f;
    qlm_lapack_ps_sdttrfb(&n, sl.data(), sd.data(), su.data(), &info);
    EXPECT_EQ(info, 1);
    std::vector<float> fsl(dl.begin(), dl.end()), fsd(d.begin(), d.end()), fsu(du.begin(), du.end());
    matrix bb = tridiagonal_times(dl, d, du, x, false);
    std::vector<float> fb(bb.begin(), bb.end());
    qlm_lapack_ps_sdtsvb(&n, &nrhs, fsl.data(), fsd.data(), fsu.data(), fb.data(), &n, &info);
    ASSERT_EQ(info, 0);
    for (int i = 0; i < n; ++i) EXPECT_NEAR(fb[i], x[i], 1e-5) << "sdtsvb " << i;
}

TEST(LoaderSelection, DebugCpuTypeGrammar) {
    const struct { const char* value; int tier; } cases[] = {
        {"AVX", 6}, {"AVX2", 6}, {"NHM", 5}, {"NHMx", 5}, {"6", 6}, {"3", 3}, {"2", 2},
        {"1", 0}, {"0", 0}, {"7", -1}, {"x", -1}, {"", -1}, {"00", -1}, {"-1", -1}, {"avx", -1}};
    for (const auto& c : cases) EXPECT_EQ(qlm::frame::parse_debug_cpu_type(c.value), c.tier) << c.value;
}

}  // namespace

// MRG32K3A's bulk path (chains started from jumped states, double lanes)
// against the plain reference model: long blocks in every form, cuts that
// land on and around the pass boundaries, the state left after each call,
// elements of zero, and the path taken under a directed rounding mode.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "qlm/qlm_vxs.h"
#include "random/reference_models.h"
#include "support/fpu.h"

namespace {

using qlm::test::mrg32k3a_model;

constexpr uint64_t m1 = 4294967087u, m2 = 4294944443u;

struct mrg_stream {
    void* s = nullptr;
    explicit mrg_stream(const std::array<uint32_t, 6>& seed) {
        EXPECT_EQ(__vxsNewStreamEx(&s, VXS_BRNG_MRG32K3A, 6, seed.data()), 0);
    }
    ~mrg_stream() { __vxsDeleteStream(&s); }
    std::array<uint32_t, 6> state() const {
        std::array<uint32_t, 6> w;
        std::memcpy(w.data(), static_cast<const char*>(s) + 16, sizeof w);
        return w;
    }
};

std::array<uint32_t, 6> model_state(const mrg32k3a_model& m) {
    return {static_cast<uint32_t>(m.x[0]), static_cast<uint32_t>(m.x[1]), static_cast<uint32_t>(m.x[2]),
            static_cast<uint32_t>(m.y[0]), static_cast<uint32_t>(m.y[1]), static_cast<uint32_t>(m.y[2])};
}

// Draws the pieces one after another in the integer, double and single
// forms from equal streams (double both on [0, 1), where the offset
// drops out, and on a shifted interval), and checks every element against
// the model and every state after a call against the model's.
void check_pieces(const std::array<uint32_t, 6>& seed, const std::vector<int32_t>& pieces) {
    mrg_stream wi(seed), wd(seed), ws(seed), wu(seed);
    mrg32k3a_model m(seed);
    const double lo = -2.5, hi = 7.0, scale = (hi - lo) * 2.328306549837829e-10;
    int64_t at = 0;
    for (int32_t n : pieces) {
        SCOPED_TRACE(testing::Message() << "piece of " << n << " at " << at);
        std::vector<uint32_t> w(n);
        std::vector<double> d(n), u(n);
        std::vector<float> f(n);
        ASSERT_EQ(__vxsiBRngMRG32K3A(wi.s, n, w.data()), 0);
        ASSERT_EQ(__vxsdBRngMRG32K3A(wd.s, n, d.data(), lo, hi), 0);
        ASSERT_EQ(__vxssBRngMRG32K3A(ws.s, n, f.data(), -1.0f, 3.0f), 0);
        ASSERT_EQ(__vxsdBRngMRG32K3A(wu.s, n, u.data(), 0.0, 1.0), 0);
        for (int32_t i = 0; i < n; ++i) {
            const uint32_t z = m.next();
            ASSERT_EQ(w[i], z) << "element " << at + i;
            ASSERT_EQ(d[i], static_cast<double>(z) * scale + lo) << "element " << at + i;
            ASSERT_EQ(u[i], static_cast<double>(z) * 2.328306549837829e-10) << "element " << at + i;
            ASSERT_EQ(f[i], static_cast<float>(static_cast<double>(z) * (4.0 * 2.328306549837829e-10) - 1.0))
                << "element " << at + i;
        }
        const auto want = model_state(m);
        ASSERT_EQ(wi.state(), want);
        ASSERT_EQ(wd.state(), want);
        ASSERT_EQ(ws.state(), want);
        ASSERT_EQ(wu.state(), want);
        at += n;
    }
}

// Passes are 12 chains of 8 to 256 elements, so calls of 96 and more go
// through the lanes: the cuts sit on both sides of 96, of a whole pass of
// 3072 and of two passes, with one-at-a-time remainders of every size.
TEST(Mrg32k3aBlocks, LongCallsAndPassBoundariesMatchModel) {
    check_pieces({12345, 12345, 12345, 12345, 12345, 12345},
                 {1000, 1024, 4097, 95, 96, 97, 107, 108, 3071, 3072, 3073, 6144, 6155, 191, 192, 1, 16, 17});
    check_pieces({1, 2, 3, 4294967086u, 4294944442u, 7}, {100000});
    check_pieces({4294967086u, 0, 4294967086u, 0, 4294944442u, 0}, {250, 250, 1000, 17, 4097});
}

// Chains start from the chain up to six before them, as far as the table of
// jump powers (512 steps) reaches: six back up to chains of 85, five to 102,
// four to 128, three to 170, two beyond.  Calls of 12 L elements on both
// sides of each change, then a remainder of single steps.
TEST(Mrg32k3aBlocks, JumpDepthBoundariesMatchModel) {
    check_pieces({5, 4, 3, 2, 1, 0}, {1020, 1032, 1224, 1236, 1536, 1548, 2040, 2052, 2053, 3072 + 11});
}

// Elements of zero from the lanes, in the first element of a call of 200.
// x = y = 0 tests the zero signs; x = y = 1403580 2000 mod m1, above m1 / 2,
// gives x - y = -m1 in the symmetric lanes, whose floor quotient must be
// exactly -1.
uint64_t pow_mod(uint64_t b, uint64_t e, uint64_t m) {
    uint64_t r = 1;
    for (b %= m; e; e >>= 1, b = static_cast<unsigned __int128>(b) * b % m)
        if (e & 1) r = static_cast<unsigned __int128>(r) * b % m;
    return r;
}

TEST(Mrg32k3aBlocks, ZeroElementsFromTheLanes) {
    const uint64_t x_high = 1403580ull * 2000 % m1;
    ASSERT_GT(x_high, m1 / 2);
    ASSERT_LT(x_high, m2);
    // y(n) = 527612 y(n-1) when y(n-3) = 0: choose y(n-1) for the wanted y.
    const uint32_t y_for_high = static_cast<uint32_t>(static_cast<unsigned __int128>(x_high) * pow_mod(527612, m2 - 2, m2) % m2);
    const std::array<uint32_t, 6> seeds[] = {
        {1403580, 810728, 5, 527612, 9, 1370589},  // x = y = 0
        {0, 2000, 0, 0, 0, y_for_high},             // x = y above m1 / 2
    };
    for (const auto& seed : seeds) {
        mrg_stream s(seed);
        std::vector<uint32_t> w(200);
        ASSERT_EQ(__vxsiBRngMRG32K3A(s.s, 200, w.data()), 0);
        EXPECT_EQ(w[0], 0u);
        mrg32k3a_model m(seed);
        for (int i = 0; i < 200; ++i) ASSERT_EQ(w[i], m.next()) << i;
        mrg_stream d(seed);
        std::vector<double> r(200);
        ASSERT_EQ(__vxsdBRngMRG32K3A(d.s, 200, r.data(), 0.0, 1.0), 0);
        EXPECT_EQ(r[0], 0.0);
        EXPECT_FALSE(std::signbit(r[0]));
    }
}

// Under a directed rounding mode the integers are unchanged; the scaling
// rounds as the caller asked, like the one-at-a-time form.
TEST(Mrg32k3aBlocks, DirectedRoundingGivesTheSameIntegers) {
    const std::array<uint32_t, 6> seed = {11, 22, 33, 44, 55, 66};
    std::vector<uint32_t> want(2000), got(2000);
    {
        mrg_stream s(seed);
        ASSERT_EQ(__vxsiBRngMRG32K3A(s.s, 2000, want.data()), 0);
    }
    for (uint32_t mode : {0x3F80u, 0x5F80u, 0x7F80u}) {
        mrg_stream s(seed);
        {
            qlm::test::mxcsr_scope scope(mode);
            ASSERT_EQ(__vxsiBRngMRG32K3A(s.s, 2000, got.data()), 0);
        }
        EXPECT_EQ(got, want) << std::hex << mode;
    }
}

}  // namespace

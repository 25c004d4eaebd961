// The uniform distributions and the bit operations over the congruential
// generators.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "qlm/qlm_vxs.h"
#include "random/reference_models.h"

namespace {

struct stream_guard {
    void* s = nullptr;
    stream_guard(int32_t brng, std::vector<uint32_t> seed) {
        EXPECT_EQ(__vxsNewStreamEx(&s, brng, static_cast<int32_t>(seed.size()), seed.data()), 0);
    }
    ~stream_guard() { __vxsDeleteStream(&s); }
};

// MCG59 at x = 2^59 - 1 scales to 0.9000000000000001 on [0.3, 0.9): the
// generator's multiply-add rounds above b, and the accurate flag pulls it
// back to b.
TEST(Uniform, AccurateFlagGuardsTheEndpoint) {
    for (int32_t method : {0, VXS_METHOD_ACCURATE}) {
        stream_guard s(VXS_BRNG_MCG59, {0xFFFFFFFFu, 0x7FFFFFFu});
        std::vector<double> r(40);
        ASSERT_EQ(_vxsdRngUniform(method, s.s, 40, r.data(), 0.3, 0.9), 0);
        if (method == 0)
            EXPECT_GT(r[0], 0.9);
        else
            EXPECT_EQ(r[0], 0.9);
        for (int i = 1; i < 40; ++i) {
            EXPECT_GE(r[i], 0.3);
            EXPECT_LE(r[i], 0.9);
        }
    }
    // Unit range: nothing above 1 with the flag, over 2^16 draws.
    stream_guard s(VXS_BRNG_MCG59, {0xFFFFFFFFu, 0x7FFFFFFu});
    std::vector<float> f(1 << 16);
    ASSERT_EQ(_vxssRngUniform(VXS_METHOD_ACCURATE, s.s, static_cast<int32_t>(f.size()), f.data(), 0.0f, 1.0f), 0);
    for (float v : f) ASSERT_LE(v, 1.0f);
}

// n of 0 still reaches the generator: MCG31M1 writes r[0] and advances.
TEST(Uniform, ZeroCountReachesTheGenerator) {
    stream_guard a(VXS_BRNG_MCG31M1, {77}), b(VXS_BRNG_MCG31M1, {77});
    double r0[2] = {-1, -1}, r1[2];
    EXPECT_EQ(_vxsdRngUniform(VXS_METHOD_ACCURATE, a.s, 0, r0, 0.0, 1.0), 0);
    EXPECT_EQ(r0[0], 77 * 4.656612875245797e-10);
    EXPECT_EQ(r0[1], -1);
    ASSERT_EQ(_vxsdRngUniform(0, a.s, 1, r0, 0.0, 1.0), 0);
    ASSERT_EQ(_vxsdRngUniform(0, b.s, 2, r1, 0.0, 1.0), 0);
    EXPECT_EQ(r0[0], r1[1]);
}

// The integer uniform is floor of the double uniform, in blocks of 1024
// that do not show in the sequence.
TEST(Uniform, IntegerIsFloorOfDoubleAcrossBlocks) {
    for (int32_t n : {1, 1023, 1024, 1025, 3000}) {
        stream_guard a(VXS_BRNG_MRG32K3A, {9}), b(VXS_BRNG_MRG32K3A, {9});
        std::vector<int32_t> got(n);
        std::vector<double> d(n);
        ASSERT_EQ(_vxsiRngUniform(VXS_METHOD_ACCURATE, a.s, n, got.data(), -1000, 1000), 0);
        ASSERT_EQ(_vxsdRngUniform(0, b.s, n, d.data(), -1000.0, 1000.0), 0);
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(got[i], static_cast<int32_t>(std::floor(d[i]))) << n << " " << i;
        // Both streams end at the same place.
        double next_a, next_b;
        ASSERT_EQ(_vxsdRngUniform(0, a.s, 1, &next_a, 0.0, 1.0), 0);
        ASSERT_EQ(_vxsdRngUniform(0, b.s, 1, &next_b, 0.0, 1.0), 0);
        EXPECT_EQ(next_a, next_b);
    }
    stream_guard s(VXS_BRNG_MCG31M1, {1});
    std::vector<int32_t> r(5000, 7);
    ASSERT_EQ(_vxsiRngUniform(0, s.s, 5000, r.data(), 0, 1), 0);
    for (int32_t v : r) ASSERT_EQ(v, 0);
    int32_t untouched = 7;
    EXPECT_EQ(_vxsiRngUniform(0, s.s, 0, &untouched, 0, 1), 0);
    EXPECT_EQ(untouched, 7);
}

TEST(UniformBits, RawElementsAreTheGeneratorsWords) {
    stream_guard a(VXS_BRNG_WH + 100, {3, 4}), b(VXS_BRNG_WH + 100, {3, 4});
    std::vector<uint32_t> ra(4 * 50), rb(4 * 50);
    ASSERT_EQ(_vxsiRngUniformBits(0, a.s, 50, ra.data()), 0);
    ASSERT_EQ(__vxsiBRngWH(b.s, 50, rb.data()), 0);
    EXPECT_EQ(ra, rb);
}

TEST(UniformBits, OnlyFullWordGeneratorsServeWords) {
    for (int32_t brng : {VXS_BRNG_MCG31M1, VXS_BRNG_R250, VXS_BRNG_MRG32K3A, VXS_BRNG_WH, 0}) {
        stream_guard s(brng, {5});
        const std::vector<unsigned char> before(static_cast<unsigned char*>(s.s),
                                                static_cast<unsigned char*>(s.s) + 24);
        uint32_t w32[4] = {};
        uint64_t w64[4] = {};
        EXPECT_EQ(_vxsiRngUniformBits32(0, s.s, 4, w32), VXS_ERROR_NOT_BIT_GENERATOR);
        EXPECT_EQ(_vxsiRngUniformBits64(0, s.s, 4, w64), VXS_ERROR_NOT_BIT_GENERATOR);
        EXPECT_EQ(std::memcmp(before.data(), s.s, 24), 0) << "drew numbers";
        EXPECT_EQ(w32[0], 0u);
    }
}

// MCG59 words are the top 32 of the 59 bits, across the 2048-element blocks;
// 64-bit words pair two of them, low first.
TEST(UniformBits, Mcg59WordsAreTopBits) {
    const uint64_t seed = 0x12345678u | (uint64_t{0x1ABCDEF} << 32);
    stream_guard s(VXS_BRNG_MCG59, {0x12345678u, 0x1ABCDEF});
    std::vector<uint32_t> w(5000);
    ASSERT_EQ(_vxsiRngUniformBits32(0, s.s, 2047, w.data()), 0);
    ASSERT_EQ(_vxsiRngUniformBits32(0, s.s, 2953, w.data() + 2047), 0);
    std::vector<uint64_t> w64(1500);
    ASSERT_EQ(_vxsiRngUniformBits64(0, s.s, 1500, w64.data()), 0);
    qlm::test::mcg59_model m(seed);
    for (int i = 0; i < 5000; ++i) ASSERT_EQ(w[i], static_cast<uint32_t>(m.next() >> 27)) << i;
    for (int i = 0; i < 1500; ++i) {
        const uint64_t lo = m.next() >> 27, hi = m.next() >> 27;
        ASSERT_EQ(w64[i], lo | (hi << 32)) << i;
    }
    // Every one of the 32 bits is set about half the time.
    int ones[32] = {};
    for (uint32_t v : w)
        for (int b = 0; b < 32; ++b) ones[b] += (v >> b) & 1;
    for (int b = 0; b < 32; ++b) EXPECT_NEAR(ones[b], 2500, 6 * std::sqrt(1250.0)) << "bit " << b;
}

}  // namespace

// The congruential generators against plain reference models: thousands of
// elements, every block-path boundary, seeding rules, leapfrog and
// skip-ahead.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "qlm/qlm_vxs.h"
#include "random/reference_models.h"

namespace {

using qlm::test::mcg31m1_model;
using qlm::test::mcg59_model;
using qlm::test::mrg32k3a_model;
using qlm::test::r250_model;

struct stream_guard {
    void* s = nullptr;
    stream_guard(int32_t brng, std::vector<uint32_t> seed) {
        EXPECT_EQ(__vxsNewStreamEx(&s, brng, static_cast<int32_t>(seed.size()), seed.data()), 0);
    }
    ~stream_guard() {
        if (s) __vxsDeleteStream(&s);
    }
    template <typename T>
    T word(int offset) const {
        T v;
        std::memcpy(&v, static_cast<const char*>(s) + offset, sizeof v);
        return v;
    }
};

// Block-path boundaries of all generators: MCG31M1 8/16, MCG59 4/8,
// MRG32K3A 16, R250 147/250, WH 4/8.
const int32_t cuts[] = {1, 7, 8, 15, 16, 17, 249, 250, 251, 1000};
constexpr int32_t total = 1 + 7 + 8 + 15 + 16 + 17 + 249 + 250 + 251 + 1000;

struct generator_case {
    const char* name;
    int32_t brng;
    std::vector<uint32_t> seed;
    int32_t word_bytes;
};

const generator_case all_generators[] = {
    {"MCG31M1", VXS_BRNG_MCG31M1, {12345}, 4},
    {"R250", VXS_BRNG_R250, {777}, 4},
    {"MRG32K3A", VXS_BRNG_MRG32K3A, {12345, 12345, 12345, 12345, 12345, 12345}, 4},
    {"MCG59", VXS_BRNG_MCG59, {0x89ABCDEF, 0x0123456}, 8},
    {"WH", VXS_BRNG_WH + 17, {5, 6, 7, 8}, 16},
    {"WH first numbering", 276, {5, 6, 7, 8}, 16},
};

// Drawing in pieces cut at every boundary equals drawing at once, for the
// integer, double and single forms.
TEST(Congruential, PiecesEqualOneCallInEveryForm) {
    for (const generator_case& g : all_generators) {
        SCOPED_TRACE(g.name);
        vxs_brng_record rec;
        ASSERT_EQ(__vxsGetBrngProperties(g.brng, &rec), 0);
        std::vector<unsigned char> whole(static_cast<size_t>(total) * g.word_bytes), cut(whole.size());
        std::vector<double> dwhole(total), dcut(total);
        std::vector<float> swhole(total), scut(total);
        {
            stream_guard a(g.brng, g.seed), b(g.brng, g.seed), c(g.brng, g.seed);
            ASSERT_EQ(rec.gen_integer(a.s, total, whole.data()), 0);
            ASSERT_EQ(rec.gen_double(b.s, total, dwhole.data(), -3.0, 5.0), 0);
            ASSERT_EQ(rec.gen_single(c.s, total, swhole.data(), 0.0f, 1.0f), 0);
        }
        stream_guard a(g.brng, g.seed), b(g.brng, g.seed), c(g.brng, g.seed);
        int32_t at = 0;
        for (int32_t n : cuts) {
            ASSERT_EQ(rec.gen_integer(a.s, n, cut.data() + static_cast<size_t>(at) * g.word_bytes), 0);
            ASSERT_EQ(rec.gen_double(b.s, n, dcut.data() + at, -3.0, 5.0), 0);
            ASSERT_EQ(rec.gen_single(c.s, n, scut.data() + at, 0.0f, 1.0f), 0);
            at += n;
        }
        EXPECT_EQ(whole, cut);
        for (int32_t i = 0; i < total; ++i) {
            ASSERT_EQ(dwhole[i], dcut[i]) << "element " << i;
            ASSERT_EQ(swhole[i], scut[i]) << "element " << i;
        }
    }
}

// The single form is the double form's value rounded once: a and b are
// widened and the scaling is done in double.
TEST(Congruential, SingleIsDoubleRoundedOnce) {
    for (const generator_case& g : all_generators) {
        SCOPED_TRACE(g.name);
        vxs_brng_record rec;
        ASSERT_EQ(__vxsGetBrngProperties(g.brng, &rec), 0);
        stream_guard a(g.brng, g.seed), b(g.brng, g.seed);
        const float lo = -1.3f, hi = 7.9f;
        std::vector<float> f(2000);
        std::vector<double> d(2000);
        ASSERT_EQ(rec.gen_single(a.s, 2000, f.data(), lo, hi), 0);
        ASSERT_EQ(rec.gen_double(b.s, 2000, d.data(), static_cast<double>(lo), static_cast<double>(hi)), 0);
        for (int i = 0; i < 2000; ++i) ASSERT_EQ(f[i], static_cast<float>(d[i])) << i;
    }
}

TEST(Congruential, Mcg31m1MatchesModel) {
    stream_guard s(VXS_BRNG_MCG31M1, {12345});
    std::vector<uint32_t> r(5000);
    std::vector<double> d(5000);
    ASSERT_EQ(__vxsiBRngMCG31M1(s.s, 2500, r.data()), 0);
    ASSERT_EQ(__vxsdBRngMCG31M1(s.s, 2500, d.data() + 2500, 0.0, 1.0), 0);
    mcg31m1_model m(12345);
    for (int i = 0; i < 5000; ++i) {
        const uint32_t want = m.next();
        if (i < 2500)
            ASSERT_EQ(r[i], want) << i;
        else  // within two roundings of x / (2^31 - 1)
            ASSERT_NEAR(d[i], static_cast<long double>(want) / 2147483647.0L, 2.3e-16) << i;
    }
}

TEST(Congruential, Mcg31m1SeedingAndZeroCount) {
    // A seed of 0 or of a multiple of the modulus gives x = 1; no seed too.
    for (std::vector<uint32_t> seed : {std::vector<uint32_t>{0}, {2147483647u}, {}}) {
        stream_guard s(VXS_BRNG_MCG31M1, seed);
        EXPECT_EQ(s.word<uint32_t>(16), 1u);
        EXPECT_EQ(s.word<uint32_t>(20), 1132489760u);
    }
    // n of 0 still writes r[0] and advances by one.
    stream_guard s(VXS_BRNG_MCG31M1, {5});
    uint32_t r[2] = {0, 0};
    EXPECT_EQ(__vxsiBRngMCG31M1(s.s, 0, r), 0);
    EXPECT_EQ(r[0], 5u);
    EXPECT_EQ(r[1], 0u);
    EXPECT_EQ(s.word<uint32_t>(16), 5u * 1132489760ull % 2147483647u);
}

TEST(Congruential, Mcg59MatchesModelAndSeeding) {
    const uint64_t seed = 0x89ABCDEFull | (uint64_t{0x0123456} << 32);
    stream_guard s(VXS_BRNG_MCG59, {0x89ABCDEF, 0x0123456});
    std::vector<uint64_t> r(4000);
    ASSERT_EQ(__vxsiBRngMCG59(s.s, 4000, r.data()), 0);
    mcg59_model m(seed);
    for (int i = 0; i < 4000; ++i) ASSERT_EQ(r[i], m.next()) << i;

    stream_guard zero(VXS_BRNG_MCG59, {0});
    EXPECT_EQ(zero.word<uint64_t>(16), 1u);
    // The second word keeps only its low 27 bits.
    stream_guard top(VXS_BRNG_MCG59, {7, 0xFFFFFFFFu});
    EXPECT_EQ(top.word<uint64_t>(16), 7u | (uint64_t{0x7FFFFFF} << 32));
    // An even seed stays even: the generator does not force x odd.
    stream_guard even(VXS_BRNG_MCG59, {6});
    EXPECT_EQ(even.word<uint64_t>(16), 6u);
}

TEST(Congruential, Mrg32k3aMatchesPublishedDefinition) {
    stream_guard s(VXS_BRNG_MRG32K3A, {12345, 12345, 12345, 12345, 12345, 12345});
    double first;
    ASSERT_EQ(__vxsdBRngMRG32K3A(s.s, 1, &first, 0.0, 1.0), 0);
    // The published first uniform of this seed begins 0.1270111220; the
    // scale 1/m1 instead of 1/(m1 + 1) moves it by 3e-11 only.
    EXPECT_NEAR(first, 0.12701112205, 5e-11);
    std::vector<uint32_t> r(6000);
    ASSERT_EQ(__vxsiBRngMRG32K3A(s.s, 6000, r.data()), 0);
    mrg32k3a_model m({12345, 12345, 12345, 12345, 12345, 12345});
    m.next();
    for (int i = 0; i < 6000; ++i) ASSERT_EQ(r[i], m.next()) << i;
}

TEST(Congruential, Mrg32k3aSeeding) {
    stream_guard zeros(VXS_BRNG_MRG32K3A, {0, 0, 0, 0, 0, 0});
    const uint32_t one_zero_zero[6] = {1, 0, 0, 1, 0, 0};
    EXPECT_EQ(std::memcmp(static_cast<char*>(zeros.s) + 16, one_zero_zero, 24), 0);
    stream_guard none(VXS_BRNG_MRG32K3A, {});
    for (int k = 0; k < 6; ++k) EXPECT_EQ(none.word<uint32_t>(16 + 4 * k), 1u);
    // Words at or above the moduli lose one modulus.
    stream_guard big(VXS_BRNG_MRG32K3A, {4294967087u + 5, 2, 3, 4294944443u + 9});
    EXPECT_EQ(big.word<uint32_t>(16), 5u);
    EXPECT_EQ(big.word<uint32_t>(28), 9u);
    EXPECT_EQ(big.word<uint32_t>(32), 1u);
    // The all-ones state: 1, 15 and 16 elements agree on their prefix.
    std::vector<uint32_t> r1(1), r15(15), r16(16);
    for (auto* v : {&r1, &r15, &r16}) {
        stream_guard s(VXS_BRNG_MRG32K3A, {});
        ASSERT_EQ(__vxsiBRngMRG32K3A(s.s, static_cast<int32_t>(v->size()), v->data()), 0);
    }
    EXPECT_EQ(r1[0], r16[0]);
    EXPECT_TRUE(std::equal(r15.begin(), r15.end(), r16.begin()));
}

TEST(Congruential, R250MatchesModelAndSeeding) {
    stream_guard s(VXS_BRNG_R250, {777});
    std::vector<uint32_t> r(3000);
    ASSERT_EQ(__vxsiBRngR250(s.s, 100, r.data()), 0);  // in the ring
    ASSERT_EQ(__vxsiBRngR250(s.s, 2900, r.data() + 100), 0);  // output as register
    r250_model m(r250_model::seeded(777));
    for (int i = 0; i < 3000; ++i) ASSERT_EQ(r[i], m.next()) << i;
    // After a long call the ring is left in order, by every form alike.
    EXPECT_EQ(s.word<int32_t>(1016), 0);
    EXPECT_EQ(s.word<int32_t>(1020), 103);
    stream_guard f(VXS_BRNG_R250, {777});
    std::vector<double> d(3000);
    ASSERT_EQ(__vxsdBRngR250(f.s, 100, d.data(), 0.0, 1.0), 0);
    ASSERT_EQ(__vxsdBRngR250(f.s, 2900, d.data(), 0.0, 1.0), 0);
    EXPECT_EQ(std::memcmp(static_cast<char*>(f.s) + 16, static_cast<char*>(s.s) + 16, 1008), 0);

    // 249 seed words use only the first; 250 are taken as they stand.
    std::vector<uint32_t> many(250);
    for (int k = 0; k < 250; ++k) many[k] = 1000u + k;
    stream_guard first_only(VXS_BRNG_R250, std::vector<uint32_t>(many.begin(), many.begin() + 249));
    EXPECT_EQ(std::memcmp(static_cast<char*>(first_only.s) + 16, r250_model::seeded(1000).data(), 1000), 0);
    stream_guard all(VXS_BRNG_R250, many);
    EXPECT_EQ(std::memcmp(static_cast<char*>(all.s) + 16, many.data(), 1000), 0);
    stream_guard zero(VXS_BRNG_R250, {0});
    EXPECT_EQ(std::memcmp(static_cast<char*>(zero.s) + 16, r250_model::seeded(1).data(), 1000), 0);
}

// Leapfrog gives every nstreams-th element from k, also through the block
// paths of the double form.
TEST(Congruential, LeapfrogMatchesStepping) {
    struct leap_case {
        int32_t brng;
        std::vector<uint32_t> seed;
    };
    for (const leap_case& c : {leap_case{VXS_BRNG_MCG31M1, {99}}, leap_case{VXS_BRNG_MCG59, {99, 3}},
                               leap_case{VXS_BRNG_WH + 3, {9, 8, 7, 6}}}) {
        SCOPED_TRACE(c.brng);
        for (auto [k, ns] : {std::pair{0, 1}, {0, 2}, {3, 5}, {6, 7}, {1, 1000}}) {
            stream_guard base(c.brng, c.seed), leap(c.brng, c.seed);
            const int32_t n = 300;
            std::vector<double> all(static_cast<size_t>(k) + static_cast<size_t>(ns) * n), got(n);
            ASSERT_EQ(_vxsdRngUniform(0, base.s, static_cast<int32_t>(all.size()), all.data(), 0.0, 1.0), 0);
            ASSERT_EQ(__vxsLeapfrogStream(leap.s, k, ns), 0);
            ASSERT_EQ(_vxsdRngUniform(0, leap.s, n, got.data(), 0.0, 1.0), 0);
            for (int32_t i = 0; i < n; ++i) ASSERT_EQ(got[i], all[k + static_cast<size_t>(i) * ns]) << k << " " << ns;
        }
    }
    // k = 0, nstreams = 2 leaves x alone and squares a.
    stream_guard s(VXS_BRNG_MCG31M1, {42});
    ASSERT_EQ(__vxsLeapfrogStream(s.s, 0, 2), 0);
    EXPECT_EQ(s.word<uint32_t>(16), 42u);
    EXPECT_EQ(s.word<uint32_t>(20), 1132489760ull * 1132489760ull % 2147483647u);
}

TEST(Congruential, SkipAheadMatchesStepping) {
    for (const generator_case& g : all_generators) {
        if (g.brng == VXS_BRNG_R250) continue;
        SCOPED_TRACE(g.name);
        for (int64_t nskip : {0, 1, 2, 15, 16, 17, 1000, 4097}) {
            stream_guard base(g.brng, g.seed), skip(g.brng, g.seed);
            std::vector<double> all(static_cast<size_t>(nskip) + 100), got(100);
            ASSERT_EQ(_vxsdRngUniform(0, base.s, static_cast<int32_t>(all.size()), all.data(), 0.0, 1.0), 0);
            ASSERT_EQ(__vxsSkipAheadStream(skip.s, nskip), 0);
            ASSERT_EQ(_vxsdRngUniform(0, skip.s, 100, got.data(), 0.0, 1.0), 0);
            for (int i = 0; i < 100; ++i) ASSERT_EQ(got[i], all[nskip + i]) << nskip;
        }
        // Large skips compose: a + b equals a then b.
        stream_guard once(g.brng, g.seed), twice(g.brng, g.seed);
        ASSERT_EQ(__vxsSkipAheadStream(once.s, (int64_t{1} << 40) + 12345), 0);
        ASSERT_EQ(__vxsSkipAheadStream(twice.s, int64_t{1} << 40), 0);
        ASSERT_EQ(__vxsSkipAheadStream(twice.s, 12345), 0);
        double a[4], b[4];
        ASSERT_EQ(_vxsdRngUniform(0, once.s, 4, a, 0.0, 1.0), 0);
        ASSERT_EQ(_vxsdRngUniform(0, twice.s, 4, b, 0.0, 1.0), 0);
        EXPECT_EQ(std::memcmp(a, b, sizeof a), 0);
    }
    // A skip of 2^40 on MCG31M1 against an independent power.
    stream_guard s(VXS_BRNG_MCG31M1, {3});
    ASSERT_EQ(__vxsSkipAheadStream(s.s, int64_t{1} << 40), 0);
    unsigned __int128 p = 1, b = 1132489760;
    for (uint64_t e = uint64_t{1} << 40; e; e >>= 1, b = b * b % 2147483647)
        if (e & 1) p = p * b % 2147483647;
    EXPECT_EQ(s.word<uint32_t>(16), static_cast<uint32_t>(p * 3 % 2147483647));
}

TEST(Congruential, UnsupportedRepositioning) {
    stream_guard r250(VXS_BRNG_R250, {1}), mrg(VXS_BRNG_MRG32K3A, {1});
    EXPECT_EQ(__vxsLeapfrogStream(r250.s, 0, 2), VXS_ERROR_NO_LEAPFROG);
    EXPECT_EQ(__vxsSkipAheadStream(r250.s, 5), VXS_ERROR_NO_SKIP_AHEAD);
    EXPECT_EQ(__vxsLeapfrogStream(mrg.s, 0, 2), VXS_ERROR_NO_LEAPFROG);
    for (auto init : {__vxsBRngMCG31M1InitStream, __vxsBRngMCG59InitStream, __vxsBRngMRG32K3AInitStream,
                      __vxsBRngR250InitStream, __vxsBRngWHInitStream})
        EXPECT_EQ(init(3, mrg.s, 0, nullptr), VXS_ERROR_BAD_INIT_METHOD);
}

TEST(Congruential, WhSeedingFillsMissingWithOne) {
    stream_guard s(VXS_BRNG_WH, {16770647u + 4});
    EXPECT_EQ(s.word<uint32_t>(16), 4u);
    for (int c = 1; c < 4; ++c) EXPECT_EQ(s.word<uint32_t>(16 + 4 * c), 1u);
    const uint32_t a[4] = {125, 117, 127, 126};
    EXPECT_EQ(std::memcmp(static_cast<char*>(s.s) + 32, a, 16), 0);
    stream_guard zero(VXS_BRNG_WH, {16770647u, 0, 16770623u});
    for (int c = 0; c < 4; ++c) EXPECT_EQ(zero.word<uint32_t>(16 + 4 * c), 1u);
}

TEST(Congruential, PowModHelpers) {
    EXPECT_EQ(__vxsiPowMod(7, 0, 13), 1u);
    EXPECT_EQ(__vxsiPowMod2P31M1(7, 0), 1u);
    EXPECT_EQ(__vxsiPowMod2P59(7, 0), 1u);
    // Fermat: a^(p-1) = 1 mod p; and a known small power.
    EXPECT_EQ(__vxsiPowMod(125, 16770646, 16770647), 1u);
    EXPECT_EQ(__vxsiPowMod2P31M1(1132489760, 2147483646), 1u);
    EXPECT_EQ(__vxsiPowMod(3, 5, 1000), 243u);
    // 13^13 is the MCG59 multiplier; odd numbers mod 2^59 have order 2^57 at most.
    EXPECT_EQ(__vxsiPowMod2P59(13, 13), 302875106592253ull);
    EXPECT_EQ(__vxsiPowMod2P59(302875106592253ull, uint64_t{1} << 57), 1u);
    // Vector power against stepping the recurrence.
    mrg32k3a_model m({1, 2, 3, 4, 5, 6});
    for (int i = 0; i < 1234; ++i) m.next();
    uint32_t x[3] = {1, 2, 3};
    const uint32_t row[3] = {0, 1403580, 4294967087u - 810728};
    __vxsiVect3PowMod(x, row, 4294967087u, 1234);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(x[k], static_cast<uint32_t>(m.x[k]));
}

// Statistical check of every generator's unit uniforms: chi-square over 64
// bins of 2^16 draws (63 degrees of freedom; the bound is about p = 1e-6),
// and mean and variance within six standard errors.
TEST(Congruential, UniformsPassChiSquare) {
    for (const generator_case& g : all_generators) {
        SCOPED_TRACE(g.name);
        stream_guard s(g.brng, g.seed);
        const int n = 1 << 16;
        std::vector<double> r(n);
        ASSERT_EQ(_vxsdRngUniform(0, s.s, n, r.data(), 0.0, 1.0), 0);
        std::vector<int> bins(64);
        double sum = 0, sq = 0;
        for (double v : r) {
            ASSERT_GE(v, 0.0);
            ASSERT_LT(v, 1.0);
            ++bins[static_cast<int>(v * 64)];
            sum += v;
            sq += v * v;
        }
        double chi = 0;
        const double expected = n / 64.0;
        for (int c : bins) chi += (c - expected) * (c - expected) / expected;
        EXPECT_LT(chi, 120.0);
        const double mean = sum / n, var = sq / n - mean * mean;
        EXPECT_NEAR(mean, 0.5, 6 * std::sqrt(1.0 / 12 / n));
        EXPECT_NEAR(var, 1.0 / 12, 6 * std::sqrt(1.0 / 180 / n));
    }
}

}  // namespace

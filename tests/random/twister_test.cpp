// MT19937, MT2203 and SFMT19937 through their entry points, against known
// answers and against plain reference models of the published recurrences
// written here from their definitions, one word at a time.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cmath>
#include <vector>

#include "qlm/qlm_vxs.h"

namespace {

// A stream block as the stream layer makes it: the number at byte 0, the
// state from byte 16.
struct stream_block {
    explicit stream_block(int32_t number, std::size_t bytes)
        : p(static_cast<unsigned char*>(std::aligned_alloc(64, bytes))) {
        std::memset(p, 0xA5, bytes);
        std::memcpy(p, &number, 4);
    }
    ~stream_block() { std::free(p); }
    uint32_t word(std::size_t byte) const {
        uint32_t v;
        std::memcpy(&v, p + byte, 4);
        return v;
    }
    unsigned char* p;
};

// The textbook twister, one word per call.
struct reference_mt {
    int n, m, shift;
    uint32_t upper, lower, a, b, c;
    std::vector<uint32_t> mt;
    int index;
    reference_mt(int n_, int m_, uint32_t upper_, uint32_t a_, uint32_t b_, uint32_t c_, int shift_)
        : n(n_), m(m_), shift(shift_), upper(upper_), lower(~upper_), a(a_), b(b_), c(c_), mt(n_), index(n_) {}
    void seed(const std::vector<uint32_t>& key) {
        mt[0] = 19650218u;
        for (int i = 1; i < n; ++i) mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + i;
        int i = 1, j = 0, len = static_cast<int>(key.size());
        for (int k = std::max(n, len); k; --k) {
            mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525u)) + key[j] + j;
            ++i, ++j;
            if (i >= n) mt[0] = mt[n - 1], i = 1;
            if (j >= len) j = 0;
        }
        for (int k = n - 1; k; --k) {
            mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941u)) - i;
            if (++i >= n) mt[0] = mt[n - 1], i = 1;
        }
        mt[0] = 0x80000000u;
        index = n;
    }
    uint32_t untempered() {
        if (index >= n) {
            for (int k = 0; k < n; ++k) {
                const uint32_t y = (mt[k] & upper) | (mt[(k + 1) % n] & lower);
                mt[k] = mt[(k + m) % n] ^ (y >> 1) ^ ((y & 1) ? a : 0);
            }
            index = 0;
        }
        return mt[index++];
    }
    uint32_t next() {
        uint32_t y = untempered();
        y ^= y >> shift;
        y ^= (y << 7) & b;
        y ^= (y << 15) & c;
        return y ^ (y >> 18);
    }
};

reference_mt reference_mt19937() { return {624, 397, 0x80000000u, 0x9908B0DFu, 0x9D2C5680u, 0xEFC60000u, 11}; }

std::vector<uint32_t> draw_mt19937(stream_block& s, int n) {
    std::vector<uint32_t> r(n);
    EXPECT_EQ(__vxsiBRngMT19937(s.p, n, r.data()), 0);
    return r;
}

TEST(MT19937, KnownAnswersOfTheArraySeeding) {
    // The tempered words of the array seeding with keys {1} and {0}, as the
    // Python interpreter's random.seed(1) and seed(0) give them.
    stream_block s(0x800000, 2520);
    const uint32_t one = 1, zero = 0;
    ASSERT_EQ(__vxsBRngMT19937InitStream(0, s.p, 1, &one), 0);
    EXPECT_EQ(draw_mt19937(s, 5), (std::vector<uint32_t>{0x2265b1f5, 0x91b7584a, 0xd8f16adf, 0xcd613e30, 0xc386bbc4}));
    ASSERT_EQ(__vxsBRngMT19937InitStream(0, s.p, 1, &zero), 0);
    EXPECT_EQ(draw_mt19937(s, 3), (std::vector<uint32_t>{0xd82c07cd, 0x629f6fbe, 0xc2094cac}));
}

TEST(MT19937, AnyCuttingOfTheCallsGivesTheReferenceSequence) {
    const std::vector<uint32_t> key = {0x123, 0x234, 0x345, 0x456};
    for (const std::vector<int>& cuts : std::vector<std::vector<int>>{
             {623, 2}, {625}, {624, 624}, {1248, 1}, {1, 1247, 5000}, {7, 3000, 623, 624, 1}, {20000}}) {
        stream_block s(0x800000, 2520);
        __vxsBRngMT19937InitStream(0, s.p, 4, key.data());
        auto ref = reference_mt19937();
        ref.seed(key);
        int drawn = 0;
        for (int cut : cuts) {
            const auto got = draw_mt19937(s, cut);
            for (int i = 0; i < cut; ++i) ASSERT_EQ(got[i], ref.next()) << "cut " << cut << " element " << drawn + i;
            drawn += cut;
        }
    }
}

TEST(MT19937, IndexAndRingAfterBlockAndRegisterPaths) {
    const uint32_t key = 5489;
    stream_block s(0x800000, 2520);
    __vxsBRngMT19937InitStream(0, s.p, 1, &key);
    EXPECT_EQ(s.word(2512), 624u) << "seeding leaves the block spent";
    draw_mt19937(s, 624);
    EXPECT_EQ(s.word(2512), 624u);
    draw_mt19937(s, 1248);
    // The ring holds the last 624 words delivered, untempered.
    auto ref = reference_mt19937();
    ref.seed({key});
    for (int i = 0; i < 624 + 624; ++i) ref.untempered();
    for (int i = 0; i < 624; ++i) ASSERT_EQ(s.word(16 + 4 * i), ref.untempered()) << i;
    EXPECT_EQ(s.word(2512), 624u);
}

TEST(MT19937, SeedCountZeroIsTheKeyOne) {
    stream_block a(0x800000, 2520), b(0x800000, 2520);
    const uint32_t one = 1;
    __vxsBRngMT19937InitStream(0, a.p, 0, nullptr);
    __vxsBRngMT19937InitStream(0, b.p, 1, &one);
    EXPECT_EQ(draw_mt19937(a, 700), draw_mt19937(b, 700));
}

TEST(Twisters, RefuseToJump) {
    stream_block s(0x800000, 2536);
    EXPECT_EQ(__vxsBRngMT19937InitStream(1, s.p, 0, nullptr), -1002);
    EXPECT_EQ(__vxsBRngMT19937InitStream(2, s.p, 0, nullptr), -1003);
    EXPECT_EQ(__vxsBRngMT19937InitStream(3, s.p, 0, nullptr), -2);
    EXPECT_EQ(__vxsBRngMT2203InitStream(1, s.p, 0, nullptr), -1002);
    EXPECT_EQ(__vxsBRngSFMT19937InitStream(2, s.p, 0, nullptr), -1003);
    EXPECT_EQ(__vxsBRngSFMT19937InitStream(-1, s.p, 0, nullptr), -2);
}

TEST(MT19937, FloatFormsScaleTheTemperedWord) {
    const uint32_t key = 77;
    stream_block s(0x800000, 2520), t(0x800000, 2520);
    __vxsBRngMT19937InitStream(0, s.p, 1, &key);
    __vxsBRngMT19937InitStream(0, t.p, 1, &key);
    std::vector<double> d(1500);
    __vxsdBRngMT19937(s.p, 1500, d.data(), -2.0, 3.0);
    const auto words = draw_mt19937(t, 1500);
    for (int i = 0; i < 1500; ++i) ASSERT_EQ(d[i], words[i] * (5.0 * 0x1p-32) + -2.0) << i;
    std::vector<float> f(10);
    __vxssBRngMT19937(s.p, 10, f.data(), 0.0f, 1.0f);
    const auto more = draw_mt19937(t, 10);
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(f[i], static_cast<float>(more[i] * 0x1p-32)) << i;
        ASSERT_LT(f[i], 1.0f + 1e-7f);
    }
}

// MT2203 member: the row comes from the generated table, read through the
// state after seeding, so the reference model runs the same member.
TEST(MT2203, MembersFollowTheReferenceRecurrence) {
    for (int member : {0, 1, 2, 3, 1000, 6023}) {
        stream_block s(0x900000 + member, 312);
        const std::vector<uint32_t> key = {static_cast<uint32_t>(member), 99};
        ASSERT_EQ(__vxsBRngMT2203InitStream(0, s.p, 2, key.data()), 0);
        EXPECT_EQ(s.word(292), 69u);
        reference_mt ref(69, 34, 0xFFFFFFE0u, s.word(296), s.word(300), s.word(304), 12);
        ref.seed(key);
        for (int cut : {1, 68, 69, 70, 138, 500, 3}) {
            std::vector<uint32_t> got(cut);
            __vxsiBRngMT2203(s.p, cut, got.data());
            for (int i = 0; i < cut; ++i) ASSERT_EQ(got[i], ref.next()) << "member " << member << " cut " << cut;
        }
    }
}

TEST(MT2203, FixedRowsReachTheirMembers) {
    const uint32_t rows[2][4] = {{0, 0xAF81055Fu, 0xDD7EEF80u, 0xEFD78000u},
                                 {6023, 0xE8761D4Bu, 0x72967680u, 0xEFEB0000u}};
    for (const auto& row : rows) {
        stream_block s(0x900000 + static_cast<int32_t>(row[0]), 312);
        __vxsBRngMT2203InitStream(0, s.p, 0, nullptr);
        EXPECT_EQ(s.word(296), row[1]);
        EXPECT_EQ(s.word(300), row[2]);
        EXPECT_EQ(s.word(304), row[3]);
    }
}

// SFMT19937 written plainly over four 32-bit words, from its definition.
struct reference_sfmt {
    uint32_t w[624];
    int index = 624;
    void seed(const std::vector<uint32_t>& key) {
        const int size = 624, lag = 11, mid = 306, n = static_cast<int>(key.size());
        std::memset(w, 0x8B, sizeof w);
        auto f1 = [](uint32_t x) { return (x ^ (x >> 27)) * 1664525u; };
        auto f2 = [](uint32_t x) { return (x ^ (x >> 27)) * 1566083941u; };
        uint32_t r = f1(w[0] ^ w[mid] ^ w[size - 1]);
        w[mid] += r;
        r += n;
        w[mid + lag] += r;
        w[0] = r;
        const int count = std::max(n + 1, size) - 1;
        int i = 1, j = 0;
        for (; j < count && j < n; ++j) {
            r = f1(w[i] ^ w[(i + mid) % size] ^ w[(i + size - 1) % size]);
            w[(i + mid) % size] += r;
            r += key[j] + i;
            w[(i + mid + lag) % size] += r;
            w[i] = r;
            i = (i + 1) % size;
        }
        for (; j < count; ++j) {
            r = f1(w[i] ^ w[(i + mid) % size] ^ w[(i + size - 1) % size]);
            w[(i + mid) % size] += r;
            r += i;
            w[(i + mid + lag) % size] += r;
            w[i] = r;
            i = (i + 1) % size;
        }
        for (j = 0; j < size; ++j) {
            r = f2(w[i] + w[(i + mid) % size] + w[(i + size - 1) % size]);
            w[(i + mid) % size] ^= r;
            r -= i;
            w[(i + mid + lag) % size] ^= r;
            w[i] = r;
            i = (i + 1) % size;
        }
        const uint32_t parity[4] = {1, 0, 0, 0x13C9E684u};
        uint32_t inner = 0;
        for (int k = 0; k < 4; ++k) inner ^= w[k] & parity[k];
        inner ^= inner >> 16, inner ^= inner >> 8, inner ^= inner >> 4, inner ^= inner >> 2, inner ^= inner >> 1;
        if (!(inner & 1)) w[0] ^= 1;
        index = 624;
    }
    static void shift_left_bytes(const uint32_t* in, uint32_t* out) {  // 128-bit << 8
        const uint64_t hi = (uint64_t{in[3]} << 32) | in[2], lo = (uint64_t{in[1]} << 32) | in[0];
        const uint64_t oh = (hi << 8) | (lo >> 56), ol = lo << 8;
        out[0] = static_cast<uint32_t>(ol), out[1] = static_cast<uint32_t>(ol >> 32);
        out[2] = static_cast<uint32_t>(oh), out[3] = static_cast<uint32_t>(oh >> 32);
    }
    static void shift_right_bytes(const uint32_t* in, uint32_t* out) {  // 128-bit >> 8
        const uint64_t hi = (uint64_t{in[3]} << 32) | in[2], lo = (uint64_t{in[1]} << 32) | in[0];
        const uint64_t ol = (lo >> 8) | (hi << 56), oh = hi >> 8;
        out[0] = static_cast<uint32_t>(ol), out[1] = static_cast<uint32_t>(ol >> 32);
        out[2] = static_cast<uint32_t>(oh), out[3] = static_cast<uint32_t>(oh >> 32);
    }
    void regenerate() {
        const uint32_t mask[4] = {0xDFFFFFEFu, 0xDDFECB7Fu, 0xBFFAFFFFu, 0xBFFFFFF6u};
        for (int i = 0; i < 156; ++i) {
            uint32_t* a = w + 4 * i;
            const uint32_t* b = w + 4 * ((i + 122) % 156);
            const uint32_t* c = w + 4 * ((i + 154) % 156);
            const uint32_t* d = w + 4 * ((i + 155) % 156);
            uint32_t x[4], z[4];
            shift_left_bytes(a, x);
            shift_right_bytes(c, z);
            for (int k = 0; k < 4; ++k) a[k] = a[k] ^ x[k] ^ ((b[k] >> 11) & mask[k]) ^ z[k] ^ (d[k] << 18);
        }
    }
    uint32_t next_word() {
        if (index >= 624) regenerate(), index = 0;
        return w[index++];
    }
};

TEST(SFMT19937, IntegerElementsFollowTheReference) {
    const std::vector<uint32_t> key = {0x1234, 0x5678, 0x9abc, 0xdef0};
    stream_block s(0xD00000, 2536);
    ASSERT_EQ(__vxsBRngSFMT19937InitStream(0, s.p, 4, key.data()), 0);
    reference_sfmt ref;
    ref.seed(key);
    for (int i = 0; i < 624; ++i) ASSERT_EQ(s.word(16 + 4 * i), ref.w[i]) << "seeded word " << i;
    for (int cut : {1, 155, 156, 157, 2, 400, 1000, 156}) {
        std::vector<uint32_t> got(4 * cut);
        __vxsiBRngSFMT19937(s.p, cut, got.data());
        for (int i = 0; i < 4 * cut; ++i) ASSERT_EQ(got[i], ref.next_word()) << "cut " << cut << " word " << i;
    }
}

TEST(SFMT19937, SeedCountZeroIsTheKeyOne) {
    stream_block a(0xD00000, 2536), b(0xD00000, 2536);
    const uint32_t one = 1;
    __vxsBRngSFMT19937InitStream(0, a.p, -5, nullptr);
    __vxsBRngSFMT19937InitStream(0, b.p, 1, &one);
    EXPECT_EQ(std::memcmp(a.p + 16, b.p + 16, 2520), 0);
}

TEST(SFMT19937, FloatFormsKeepTheRestWordsOfAnElement) {
    const uint32_t key = 4357;
    stream_block s(0xD00000, 2536);
    __vxsBRngSFMT19937InitStream(0, s.p, 1, &key);
    reference_sfmt ref;
    ref.seed({key});
    auto expect_double = [](uint32_t w) { return static_cast<int32_t>(w) * (2.0 * 0x1p-32) + 0.0; };
    double d;
    __vxsdBRngSFMT19937(s.p, 1, &d, -1.0, 1.0);
    EXPECT_EQ(s.word(2512), 4u) << "one element taken";
    EXPECT_EQ(s.word(2532), 3u) << "three words left in rest";
    EXPECT_EQ(d, expect_double(ref.next_word()));
    for (int call = 0; call < 3; ++call) {
        __vxsdBRngSFMT19937(s.p, 1, &d, -1.0, 1.0);
        EXPECT_EQ(s.word(2512), 4u) << "rest serves the call without drawing";
        EXPECT_EQ(d, expect_double(ref.next_word()));
    }
    double five[5];
    __vxsdBRngSFMT19937(s.p, 5, five, -1.0, 1.0);
    EXPECT_EQ(s.word(2512), 12u) << "two elements for five values";
    EXPECT_EQ(s.word(2532), 3u);
    for (double v : five) EXPECT_EQ(v, expect_double(ref.next_word()));
    // An integer call skips what the float forms left in rest.
    uint32_t element[4];
    __vxsiBRngSFMT19937(s.p, 1, element);
    uint32_t skipped[3];
    for (uint32_t& w : skipped) w = ref.next_word();
    for (uint32_t w : element) EXPECT_EQ(w, ref.next_word());
    // The integer form neither used nor cleared the rest words, so the next
    // float call delivers them.  Single precision: scale and middle rounded
    // to float, the product and sum in float.
    float f[4];
    __vxssBRngSFMT19937(s.p, 4, f, 2.0f, 3.0f);
    const float scale = static_cast<float>(1.0 * 0x1p-32), middle = 2.5f;
    auto expect_float = [&](uint32_t w) { return static_cast<float>(static_cast<int32_t>(w)) * scale + middle; };
    for (int k = 0; k < 3; ++k) EXPECT_EQ(f[k], expect_float(skipped[k]));
    EXPECT_EQ(f[3], expect_float(ref.next_word()));
    EXPECT_EQ(s.word(2532), 3u);
}

TEST(SFMT19937, LongFloatRequestsMatchTheWordSequence) {
    const uint32_t key = 11;
    stream_block s(0xD00000, 2536);
    __vxsBRngSFMT19937InitStream(0, s.p, 1, &key);
    reference_sfmt ref;
    ref.seed({key});
    for (int n : {3, 2000, 1, 1023, 5}) {
        std::vector<double> d(n);
        __vxsdBRngSFMT19937(s.p, n, d.data(), 0.0, 4.0);
        for (int i = 0; i < n; ++i)
            ASSERT_EQ(d[i], static_cast<int32_t>(ref.next_word()) * (4.0 * 0x1p-32) + 2.0) << n << " " << i;
    }
}

}  // namespace

namespace {

// The twisters as streams: created through the registry, refusing to jump,
// and served by the bit operations' dispatch.
struct stream_handle {
    explicit stream_handle(int32_t brng, std::vector<uint32_t> seed = {7, 8}) {
        EXPECT_EQ(__vxsNewStreamEx(&p, brng, static_cast<int32_t>(seed.size()), seed.data()), 0);
    }
    ~stream_handle() { __vxsDeleteStream(&p); }
    void* p = nullptr;
};

TEST(TwisterStreams, CreatedThroughTheRegistryAndRefuseToJump) {
    for (int32_t brng : {VXS_BRNG_MT19937, VXS_BRNG_MT2203, VXS_BRNG_MT2203 + 6023, VXS_BRNG_SFMT19937}) {
        stream_handle s(brng);
        ASSERT_NE(s.p, nullptr);
        EXPECT_EQ(__vxsLeapfrogStream(s.p, 0, 2), VXS_ERROR_NO_LEAPFROG) << std::hex << brng;
        EXPECT_EQ(__vxsSkipAheadStream(s.p, 10), VXS_ERROR_NO_SKIP_AHEAD) << std::hex << brng;
        std::vector<double> r(3000);
        EXPECT_EQ(_vxsdRngUniform(0, s.p, 3000, r.data(), 0.0, 1.0), 0);
        double sum = 0;
        for (double v : r) {
            ASSERT_GE(v, 0.0);
            ASSERT_LT(v, 1.0);
            sum += v;
        }
        EXPECT_NEAR(sum / 3000, 0.5, 4 * 0.2887 / std::sqrt(3000.0)) << std::hex << brng;
    }
}

TEST(TwisterStreams, MembersOfMT2203AreDistinctSequences) {
    stream_handle a(VXS_BRNG_MT2203 + 0), b(VXS_BRNG_MT2203 + 1);
    std::vector<uint32_t> ra(100), rb(100);
    __vxsiBRngMT2203(a.p, 100, ra.data());
    __vxsiBRngMT2203(b.p, 100, rb.data());
    int equal = 0;
    for (int i = 0; i < 100; ++i) equal += ra[i] == rb[i];
    EXPECT_LT(equal, 3);
}

TEST(TwisterStreams, BitRequests) {
    // MT19937: a 64-bit request of 3 reads six 32-bit outputs, low word first.
    stream_handle m(VXS_BRNG_MT19937), w(VXS_BRNG_MT19937);
    uint64_t wide[3];
    ASSERT_EQ(_vxsiRngUniformBits64(0, m.p, 3, wide), 0);
    uint32_t words[6];
    __vxsiBRngMT19937(w.p, 6, words);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(wide[i], (uint64_t{words[2 * i + 1]} << 32) | words[2 * i]);
    // SFMT19937: two requests of one word equal one of two; five words leave
    // three carried, and three more take them.
    stream_handle s1(VXS_BRNG_SFMT19937), s2(VXS_BRNG_SFMT19937);
    uint32_t one[2], two[2];
    _vxsiRngUniformBits32(0, s1.p, 1, one);
    _vxsiRngUniformBits32(0, s1.p, 1, one + 1);
    _vxsiRngUniformBits32(0, s2.p, 2, two);
    EXPECT_EQ(one[0], two[0]);
    EXPECT_EQ(one[1], two[1]);
    uint32_t five[5], three[3], elements[4 * 3];
    stream_handle s3(VXS_BRNG_SFMT19937), s4(VXS_BRNG_SFMT19937);
    _vxsiRngUniformBits32(0, s3.p, 5, five);
    _vxsiRngUniformBits32(0, s3.p, 3, three);
    __vxsiBRngSFMT19937(s4.p, 2, elements);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(five[i], elements[i]);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(three[i], elements[5 + i]);
    uint32_t next;
    _vxsiRngUniformBits32(0, s3.p, 1, &next);
    __vxsiBRngSFMT19937(s4.p, 1, elements);
    EXPECT_EQ(next, elements[0]) << "the carry was used up";
}

TEST(TwisterStreams, CopyCarriesTheRing) {
    stream_handle s(VXS_BRNG_SFMT19937);
    double d[3];
    __vxsdBRngSFMT19937(s.p, 3, d, 0.0, 1.0);
    void* copy = nullptr;
    ASSERT_EQ(__vxsCopyStream(&copy, s.p), 0);
    double x[700], y[700];
    __vxsdBRngSFMT19937(s.p, 700, x, 0.0, 1.0);
    __vxsdBRngSFMT19937(copy, 700, y, 0.0, 1.0);
    EXPECT_EQ(std::memcmp(x, y, sizeof x), 0);
    __vxsDeleteStream(&copy);
}

}  // namespace

// MCG59: x(n+1) = a x(n) mod 2^59, a = 13^13 = 302875106592253.
//
// The product mod 2^59 is the low 59 bits of the 64-bit product.  Bulk
// output: 4 elements from the plain recurrence, then passes of 4 independent
// lanes multiplied by a^4 (from the stored a), the tail one at a time.
// Floating output splits x into its low 32 and high 27 bits so both halves
// convert exactly: lo s + (hi 2^32) s + a with s = (b - a) 2^-59.
#include <emmintrin.h>

#include "random/streams/output_sinks.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

constexpr uint64_t mask59 = (uint64_t{1} << 59) - 1;
constexpr uint64_t multiplier = 302875106592253u;
constexpr double unit = 1.0 / 576460752303423488.0;  // 2^-59

struct mcg59_state {
    uint64_t x;
    uint64_t a;
};

// Two lanes of the same lo s + hi (2^32 s) + a, in the same order.
inline __m128d scaled(__m128i x, double scale, double a) {
    const __m128i exponent = _mm_set1_epi64x(0x4330000000000000);
    const __m128d two52 = _mm_set1_pd(4503599627370496.0);
    const __m128d lo = _mm_sub_pd(_mm_castsi128_pd(_mm_or_si128(_mm_and_si128(x, _mm_set1_epi64x(0xFFFFFFFF)), exponent)), two52);
    const __m128d hi = _mm_sub_pd(_mm_castsi128_pd(_mm_or_si128(_mm_srli_epi64(x, 32), exponent)), two52);
    return _mm_add_pd(_mm_add_pd(_mm_mul_pd(lo, _mm_set1_pd(scale)), _mm_mul_pd(hi, _mm_set1_pd(scale * 4294967296.0))),
                      _mm_set1_pd(a));
}

// Two lanes of x m mod 2^59: the low 64 bits of the product from three
// 32 x 32 multiplies, masked.
inline __m128i mul_mod_lanes(__m128i x, __m128i m, __m128i m_high) {
    const __m128i low = _mm_mul_epu32(x, m);
    const __m128i cross = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(x, 32), m), _mm_mul_epu32(x, m_high));
    return _mm_and_si128(_mm_add_epi64(low, _mm_slli_epi64(cross, 32)), _mm_set1_epi64x(mask59));
}

struct mcg59_double_sink {
    double* r;
    double scale, a;
    void store(int32_t i, uint64_t x) const {
        // (hi 2^32) s equals hi (2^32 s) exactly: scaling by 2^32 is exact.
        r[i] = exact_double(x & 0xFFFFFFFFu) * scale + exact_double(x >> 32) * (scale * 4294967296.0) + a;
    }
    void store2(int32_t i, __m128i x) const { _mm_storeu_pd(r + i, scaled(x, scale, a)); }
};

struct mcg59_single_sink {
    float* r;
    double scale, a;
    void store(int32_t i, uint64_t x) const {
        r[i] = static_cast<float>(exact_double(x & 0xFFFFFFFFu) * scale +
                                  exact_double(x >> 32) * (scale * 4294967296.0) + a);
    }
    void store2(int32_t i, __m128i x) const {
        _mm_storel_pi(reinterpret_cast<__m64*>(r + i), _mm_cvtpd_ps(scaled(x, scale, a)));
    }
};

struct mcg59_word_sink {
    uint64_t* r;
    void store(int32_t i, uint64_t x) const { r[i] = x; }
    void store2(int32_t i, __m128i x) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(r + i), x); }
};

template <typename Sink>
int32_t generate(void* stream, int32_t n, const Sink& out) {
    mcg59_state& s = *state_of<mcg59_state>(stream);
    uint64_t x = s.x;
    const uint64_t a = s.a;
    int32_t i = 0;
    if (n >= 16) {
        uint64_t first[8];
        for (; i < 8; ++i) {
            first[i] = x;
            out.store(i, x);
            x = (x * a) & mask59;
        }
        uint64_t a8 = (a * a) & mask59;
        a8 = (a8 * a8) & mask59;
        a8 = (a8 * a8) & mask59;
        const __m128i m = _mm_set1_epi64x(static_cast<int64_t>(a8));
        const __m128i m_high = _mm_srli_epi64(m, 32);
        __m128i l0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
        __m128i l1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first + 2));
        __m128i l2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first + 4));
        __m128i l3 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first + 6));
        const int32_t end = n & ~7;
        for (; i < end; i += 8) {
            l0 = mul_mod_lanes(l0, m, m_high);
            l1 = mul_mod_lanes(l1, m, m_high);
            l2 = mul_mod_lanes(l2, m, m_high);
            l3 = mul_mod_lanes(l3, m, m_high);
            out.store2(i, l0);
            out.store2(i + 2, l1);
            out.store2(i + 4, l2);
            out.store2(i + 6, l3);
        }
        x = (static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(l3, l3))) * a) & mask59;
    }
    for (; i < n; ++i) {
        out.store(i, x);
        x = (x * a) & mask59;
    }
    s.x = x;
    return ok;
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsBRngMCG59InitStream(int32_t method, void* stream, int32_t n, const uint32_t* params) {
    mcg59_state& s = *state_of<mcg59_state>(stream);
    switch (method) {
        case init_seed: {
            uint64_t x = 1;
            if (n == 1) x = params[0];
            if (n >= 2) x = params[0] | (uint64_t{params[1] & 0x7FFFFFFu} << 32);
            s.x = x == 0 ? 1 : x;
            s.a = multiplier;
            return ok;
        }
        case init_leapfrog: {
            const uint32_t k = params[0];
            s.x = (s.x * __vxsiPowMod2P59(s.a, k)) & mask59;
            s.a = __vxsiPowMod2P59(s.a, static_cast<uint64_t>(static_cast<int64_t>(n))) & mask59;
            return ok;
        }
        case init_skip_ahead:
            s.x = (s.x * __vxsiPowMod2P59(s.a, read_u64(params))) & mask59;
            return ok;
        default:
            return bad_init_method;
    }
}

QLM_EXPORT int32_t __vxsdBRngMCG59(void* stream, int32_t n, double* r, double a, double b) {
    return generate(stream, n, mcg59_double_sink{r, (b - a) * unit, a});
}

QLM_EXPORT int32_t __vxssBRngMCG59(void* stream, int32_t n, float* r, float a, float b) {
    const double wa = a, wb = b;
    return generate(stream, n, mcg59_single_sink{r, (wb - wa) * unit, wa});
}

QLM_EXPORT int32_t __vxsiBRngMCG59(void* stream, int32_t n, void* r) {
    return generate(stream, n, mcg59_word_sink{static_cast<uint64_t*>(r)});
}

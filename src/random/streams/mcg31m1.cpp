// MCG31M1: x(n+1) = a x(n) mod 2^31 - 1, a = 1132489760.
//
// The state holds the next element x and the current multiplier a (leapfrog
// replaces it).  Products are reduced by folding: 2^31 = 1 mod 2^31 - 1, so
// p = (p and 2^31 - 1) + (p >> 31), less the modulus once if still at or
// above it.
//
// Bulk output: above 15 elements, the first 8 come from the plain recurrence
// and form eight lanes; each pass then multiplies the eight lanes by a^8
// (taken from the stored a, so a leapfrogged stream stays leapfrogged), two
// lanes per 128-bit multiply.  The tail from n and ~7 comes one at a time.
// Output scale: 1 / (2^31 - 1) = 4.656612875245797e-10.
#include <emmintrin.h>

#include "random/streams/output_sinks.h"
#include "random/streams/pow_mod.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

constexpr uint32_t modulus = 0x7FFFFFFF;
constexpr uint32_t multiplier = 1132489760;
constexpr double unit = 4.656612875245797e-10;

struct mcg31m1_state {
    uint32_t x;
    uint32_t a;
};

// Two lanes x (low 32 bits of each 64-bit lane) times m (same shape).
inline __m128i mul_mod_lanes(__m128i x, __m128i m) {
    const __m128i p = _mm_mul_epu32(x, m);
    const __m128i s = _mm_add_epi64(_mm_and_si128(p, _mm_set1_epi64x(modulus)), _mm_srli_epi64(p, 31));
    // s is below 2^32 - 2, so s + 1 has bit 31 set exactly when s >= 2^31 - 1.
    const __m128i over = _mm_srai_epi32(_mm_add_epi32(s, _mm_set1_epi32(1)), 31);
    const __m128i r = _mm_sub_epi32(s, _mm_and_si128(over, _mm_set1_epi32(static_cast<int>(modulus))));
    return _mm_and_si128(r, _mm_set1_epi64x(0xFFFFFFFF));
}

template <typename Sink>
int32_t generate(void* stream, int32_t n, const Sink& out) {
    mcg31m1_state& s = *state_of<mcg31m1_state>(stream);
    uint32_t x = s.x;
    const uint32_t a = s.a;
    // The first element is stored and the state stepped before n is looked
    // at: n of 0 writes r[0] and advances by one.  Kept on purpose.
    out.store(0, x);
    x = mul_mod_2p31m1(x, a);
    int32_t i = 1;
    if (n > 15) {
        alignas(16) uint32_t first[8];
        first[0] = static_cast<uint32_t>(s.x);
        for (; i < 8; ++i) {
            first[i] = x;
            out.store(i, x);
            x = mul_mod_2p31m1(x, a);
        }
        uint32_t a8 = mul_mod_2p31m1(a, a);
        a8 = mul_mod_2p31m1(a8, a8);
        a8 = mul_mod_2p31m1(a8, a8);
        const __m128i m = _mm_set1_epi64x(a8);
        __m128i l0 = _mm_set_epi64x(first[1], first[0]);
        __m128i l1 = _mm_set_epi64x(first[3], first[2]);
        __m128i l2 = _mm_set_epi64x(first[5], first[4]);
        __m128i l3 = _mm_set_epi64x(first[7], first[6]);
        const int32_t end = n & ~7;
        for (; i < end; i += 8) {
            l0 = mul_mod_lanes(l0, m);
            l1 = mul_mod_lanes(l1, m);
            l2 = mul_mod_lanes(l2, m);
            l3 = mul_mod_lanes(l3, m);
            out.store2(i, l0);
            out.store2(i + 2, l1);
            out.store2(i + 4, l2);
            out.store2(i + 6, l3);
        }
        x = mul_mod_2p31m1(static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(l3, 8))), a);
    }
    for (; i < n; ++i) {
        out.store(i, x);
        x = mul_mod_2p31m1(x, a);
    }
    s.x = x;
    return ok;
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsBRngMCG31M1InitStream(int32_t method, void* stream, int32_t n, const uint32_t* params) {
    mcg31m1_state& s = *state_of<mcg31m1_state>(stream);
    switch (method) {
        case init_seed: {
            uint32_t x = n >= 1 ? params[0] % modulus : 1;
            s.x = x == 0 ? 1 : x;
            s.a = multiplier;
            return ok;
        }
        case init_leapfrog: {
            const uint32_t k = params[0];
            s.x = mul_mod_2p31m1(s.x, __vxsiPowMod2P31M1(s.a, k));
            s.a = __vxsiPowMod2P31M1(s.a, static_cast<uint64_t>(static_cast<int64_t>(n)));
            return ok;
        }
        case init_skip_ahead:
            s.x = mul_mod_2p31m1(s.x, __vxsiPowMod2P31M1(s.a, read_u64(params)));
            return ok;
        default:
            return bad_init_method;
    }
}

QLM_EXPORT int32_t __vxsdBRngMCG31M1(void* stream, int32_t n, double* r, double a, double b) {
    return generate(stream, n, double_sink{r, (b - a) * unit, a});
}

QLM_EXPORT int32_t __vxssBRngMCG31M1(void* stream, int32_t n, float* r, float a, float b) {
    const double wa = a, wb = b;
    return generate(stream, n, single_sink{r, (wb - wa) * unit, wa});
}

QLM_EXPORT int32_t __vxsiBRngMCG31M1(void* stream, int32_t n, void* r) {
    return generate(stream, n, word_sink{static_cast<uint32_t*>(r)});
}

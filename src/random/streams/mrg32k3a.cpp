// MRG32K3A: two recurrences of order 3,
//   x(n) = 1403580 x(n-2) - 810728 x(n-3)   mod m1 = 2^32 - 209
//   y(n) = 527612 y(n-1) - 1370589 y(n-3)   mod m2 = 2^32 - 22853
// and the element z = x(n) - y(n), plus m1 when negative (so 0 can occur).
// The state holds the three previous values of each, oldest first; a call
// first steps, then delivers, so the first element after seeding is z of the
// first new step.
//
// Sums are kept non-negative by a bias that is a multiple of the modulus,
// then reduced twice by 2^32 = 209 (or 22853) and once more by a subtract and
// conditional add.  Bulk output keeps the last 16 values of each recurrence
// and jumps 16 steps at once with the first row of the 16th power of the
// companion matrices, so the 16 lanes of a block are independent; they run
// two to a 128-bit register.
// Output scale: 0x3DF000000D10000B = 2.328306549837829e-10, 1/m1 rounded.
#include <tmmintrin.h>

#include <bit>

#include "random/streams/output_sinks.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

constexpr uint64_t m1 = 4294967087u;
constexpr uint64_t m2 = 4294944443u;
constexpr double unit = std::bit_cast<double>(uint64_t{0x3DF000000D10000B});

struct mrg32k3a_state {
    uint32_t x[3];
    uint32_t y[3];
};

// s mod the modulus, with 2^32 = fold mod the modulus: two folds bring s
// below 2^32 + 2^30, and one subtraction with a conditional add finishes.
template <uint64_t modulus, uint64_t fold>
inline uint32_t reduce(uint64_t s) {
    s = (s >> 32) * fold + (s & 0xFFFFFFFFu);
    s = (s >> 32) * fold + (s & 0xFFFFFFFFu);
    int64_t r = static_cast<int64_t>(s) - static_cast<int64_t>(modulus);
    if (r < 0) r += modulus;
    return static_cast<uint32_t>(r);
}

// One step, from the three previous values (oldest first).
inline uint32_t step_x(uint64_t x3, uint64_t x2) { return reduce<m1, 209>(0xC5EE7F5E68498u + 1403580 * x2 - 810728 * x3); }
inline uint32_t step_y(uint64_t y3, uint64_t y1) {
    return reduce<m2, 22853>(0x14E9D5B50F226Fu + 527612 * y1 - 1370589 * y3);
}

// Sixteen steps, from v(n), v(n+1), v(n+2) to v(n+16), for two lanes, each
// value in the low half of a 64-bit lane:
//   x(n+16) = 0x2BE4D11D x(n) - 0x4F76450B x(n+1) + 0x1464380F x(n+2)
//   y(n+16) = 0x30C751B6 y(n) - 0x1E0D0594 y(n+1) - 0x2CDBC50E y(n+2)
// with biases 0x4F7644CA2071A205 and 0x4AE8B082E0CF1056 (multiples of the
// moduli) keeping the sums positive and below 2^64.
template <uint64_t modulus, uint32_t fold, bool negate2>
inline __m128i jump_lanes(const uint64_t* v, __m128i c0, __m128i c1, __m128i c2, __m128i bias) {
    const __m128i v0 = _mm_load_si128(reinterpret_cast<const __m128i*>(v));
    const __m128i v2 = _mm_load_si128(reinterpret_cast<const __m128i*>(v + 2));
    const __m128i v1 = _mm_alignr_epi8(v2, v0, 8);
    __m128i s = _mm_add_epi64(bias, _mm_mul_epu32(v0, c0));
    s = _mm_sub_epi64(s, _mm_mul_epu32(v1, c1));
    s = negate2 ? _mm_sub_epi64(s, _mm_mul_epu32(v2, c2)) : _mm_add_epi64(s, _mm_mul_epu32(v2, c2));
    const __m128i low = _mm_set1_epi64x(0xFFFFFFFF), f = _mm_set1_epi64x(fold);
    s = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(s, 32), f), _mm_and_si128(s, low));
    s = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(s, 32), f), _mm_and_si128(s, low));
    const __m128i m = _mm_set1_epi64x(static_cast<int64_t>(modulus));
    const __m128i r = _mm_sub_epi64(s, m);
    const __m128i negative = _mm_shuffle_epi32(_mm_srai_epi32(r, 31), 0xF5);
    return _mm_add_epi64(r, _mm_and_si128(negative, m));
}

inline __m128i combine_lanes(__m128i x, __m128i y) {
    const __m128i z = _mm_sub_epi64(x, y);
    const __m128i negative = _mm_shuffle_epi32(_mm_srai_epi32(z, 31), 0xF5);
    return _mm_add_epi64(z, _mm_and_si128(negative, _mm_set1_epi64x(static_cast<int64_t>(m1))));
}

inline uint32_t combine(uint32_t x, uint32_t y) {
    const int64_t z = static_cast<int64_t>(x) - static_cast<int64_t>(y);
    return static_cast<uint32_t>(z < 0 ? z + static_cast<int64_t>(m1) : z);
}

template <typename Sink>
int32_t generate(void* stream, int32_t n, const Sink& out) {
    mrg32k3a_state& s = *state_of<mrg32k3a_state>(stream);
    uint32_t x0 = s.x[0], x1 = s.x[1], x2 = s.x[2];
    uint32_t y0 = s.y[0], y1 = s.y[1], y2 = s.y[2];
    int32_t i = 0;
    if (n >= 16) {
        // Values in 64-bit slots, so that a pair of neighbours is one
        // aligned load, and the pair between two loads one byte shift.  A
        // block writes [at, at + 16) from [at - 16, at + 2): its last pair
        // reads its first pair's results.  Blocks move up the buffer and only
        // the last one is moved down when the buffer is full.
        constexpr int32_t capacity = 128;
        alignas(16) uint64_t rx[capacity], ry[capacity];
        for (; i < 16; ++i) {
            const uint32_t nx = step_x(x0, x1), ny = step_y(y0, y2);
            x0 = x1, x1 = x2, x2 = nx;
            y0 = y1, y1 = y2, y2 = ny;
            rx[i] = nx;
            ry[i] = ny;
            out.store(i, combine(nx, ny));
        }
        const __m128i cx0 = _mm_set1_epi64x(0x2BE4D11D), cx1 = _mm_set1_epi64x(0x4F76450B),
                      cx2 = _mm_set1_epi64x(0x1464380F), bx = _mm_set1_epi64x(0x4F7644CA2071A205);
        const __m128i cy0 = _mm_set1_epi64x(0x30C751B6), cy1 = _mm_set1_epi64x(0x1E0D0594),
                      cy2 = _mm_set1_epi64x(0x2CDBC50E), by = _mm_set1_epi64x(0x4AE8B082E0CF1056);
        const int32_t end = n & ~15;
        int32_t at = 16;
        for (; i < end; i += 16, at += 16) {
            if (at == capacity) {
                std::memcpy(rx, rx + capacity - 16, 16 * sizeof(uint64_t));
                std::memcpy(ry, ry + capacity - 16, 16 * sizeof(uint64_t));
                at = 16;
            }
            for (int k = 0; k < 16; k += 2) {
                const __m128i x = jump_lanes<m1, 209, false>(rx + at - 16 + k, cx0, cx1, cx2, bx);
                const __m128i y = jump_lanes<m2, 22853, true>(ry + at - 16 + k, cy0, cy1, cy2, by);
                _mm_store_si128(reinterpret_cast<__m128i*>(rx + at + k), x);
                _mm_store_si128(reinterpret_cast<__m128i*>(ry + at + k), y);
                out.store2(i + k, combine_lanes(x, y));
            }
        }
        x0 = static_cast<uint32_t>(rx[at - 3]), x1 = static_cast<uint32_t>(rx[at - 2]);
        x2 = static_cast<uint32_t>(rx[at - 1]);
        y0 = static_cast<uint32_t>(ry[at - 3]), y1 = static_cast<uint32_t>(ry[at - 2]);
        y2 = static_cast<uint32_t>(ry[at - 1]);
    }
    for (; i < n; ++i) {
        const uint32_t nx = step_x(x0, x1), ny = step_y(y0, y2);
        x0 = x1, x1 = x2, x2 = nx;
        y0 = y1, y1 = y2, y2 = ny;
        out.store(i, combine(nx, ny));
    }
    s.x[0] = x0, s.x[1] = x1, s.x[2] = x2;
    s.y[0] = y0, s.y[1] = y1, s.y[2] = y2;
    return ok;
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsBRngMRG32K3AInitStream(int32_t method, void* stream, int32_t n, const uint32_t* params) {
    mrg32k3a_state& s = *state_of<mrg32k3a_state>(stream);
    switch (method) {
        case init_seed: {
            uint32_t w[6] = {1, 1, 1, 1, 1, 1};
            for (int32_t k = 0; k < n && k < 6; ++k) w[k] = params[k];
            for (int k = 0; k < 3; ++k) {
                s.x[k] = w[k] >= m1 ? static_cast<uint32_t>(w[k] - m1) : w[k];
                s.y[k] = w[k + 3] >= m2 ? static_cast<uint32_t>(w[k + 3] - m2) : w[k + 3];
            }
            if ((s.x[0] | s.x[1] | s.x[2]) == 0) s.x[0] = 1;
            if ((s.y[0] | s.y[1] | s.y[2]) == 0) s.y[0] = 1;
            return ok;
        }
        case init_leapfrog:
            return no_leapfrog;
        case init_skip_ahead: {
            const uint64_t nskip = read_u64(params);
            const uint32_t row_x[3] = {0, 1403580, static_cast<uint32_t>(m1 - 810728)};
            const uint32_t row_y[3] = {527612, 0, static_cast<uint32_t>(m2 - 1370589)};
            __vxsiVect3PowMod(s.x, row_x, static_cast<uint32_t>(m1), nskip);
            __vxsiVect3PowMod(s.y, row_y, static_cast<uint32_t>(m2), nskip);
            return ok;
        }
        default:
            return bad_init_method;
    }
}

QLM_EXPORT int32_t __vxsdBRngMRG32K3A(void* stream, int32_t n, double* r, double a, double b) {
    return generate(stream, n, double_sink{r, (b - a) * unit, a});
}

QLM_EXPORT int32_t __vxssBRngMRG32K3A(void* stream, int32_t n, float* r, float a, float b) {
    const double wa = a, wb = b;
    return generate(stream, n, single_sink{r, (wb - wa) * unit, wa});
}

QLM_EXPORT int32_t __vxsiBRngMRG32K3A(void* stream, int32_t n, void* r) {
    return generate(stream, n, word_sink{static_cast<uint32_t*>(r)});
}

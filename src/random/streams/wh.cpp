// WH: four multiplicative components x(n+1) = a x(n) mod m, one per column
// of the sub-generator's row of the family table; the element is the four x.
//
// Multiplication mod m without division: with 1/m rounded up,
// q = trunc(a x * (1/m)) is the exact quotient for every product below 2^48,
// since m is prime and a x / m is then at least 1/m (about 2^-24) away from
// the next integer, while the rounding error is below 2^-28.  There is no
// correction step, by design.  The reciprocals are computed once per call
// in the round-up mode and the caller's mode restored at once.
//
// Bulk output: lanes hold four consecutive elements of each component, as
// exact doubles two to a register, and a pass multiplies by the component's
// a^4 with the same reciprocal reduction.  The floating element is the
// fractional part of x1/m1 + x2/m2 + x3/m3 + x4/m4 (table reciprocals, added
// in that order), times (b - a), plus a.
#include <smmintrin.h>

#include "frame/kernel_frame.h"
#include "random/streams/pow_mod.h"
#include "random/streams/stream.h"
#include "random/streams/wh_table.h"

namespace qlm::random {
namespace {

struct wh_state {
    uint32_t x[4];
    uint32_t a[4];
};

struct wh_reducer {
    uint32_t m[4];
    double up[4];  // 1/m rounded up

    explicit wh_reducer(const wh_family_row& row) {
        const uint32_t saved = frame::read_mxcsr();
        frame::write_mxcsr((saved & ~frame::kMxcsrControls) | frame::kRoundUp);
        for (int c = 0; c < 4; ++c) {
            m[c] = row.m[c];
            volatile double mc = row.m[c];  // computed under the round-up mode
            up[c] = 1.0 / mc;
        }
        frame::write_mxcsr(saved);
    }
    // a x mod m.  A leapfrogged multiplier and the lanes' a^4 are full
    // 24-bit numbers, so products reach 2^48: still exact in a double, and
    // the quotient's error stays far below the 1/m gap to the next integer.
    uint32_t mul(int c, uint32_t a, uint32_t x) const {
        const uint64_t p = uint64_t{a} * x;
        const uint64_t q = static_cast<uint64_t>(static_cast<double>(p) * up[c]);
        return static_cast<uint32_t>(p - q * m[c]);
    }
};

struct wh_double_sink {
    double* r;
    const double* reciprocal;
    double width, a;
    double value(const uint32_t* x) const {
        double u = static_cast<double>(x[0]) * reciprocal[0];
        u += static_cast<double>(x[1]) * reciprocal[1];
        u += static_cast<double>(x[2]) * reciprocal[2];
        u += static_cast<double>(x[3]) * reciprocal[3];
        u -= static_cast<double>(static_cast<int32_t>(u));
        return u * width + a;
    }
    void store(int32_t i, const uint32_t* x) const { r[i] = value(x); }
    // Two elements from component lanes c[k] = (x_k(i), x_k(i + 1)), with
    // the same order of additions as value().
    __m128d values(const __m128d* c) const {
        __m128d u = _mm_mul_pd(c[0], _mm_set1_pd(reciprocal[0]));
        u = _mm_add_pd(u, _mm_mul_pd(c[1], _mm_set1_pd(reciprocal[1])));
        u = _mm_add_pd(u, _mm_mul_pd(c[2], _mm_set1_pd(reciprocal[2])));
        u = _mm_add_pd(u, _mm_mul_pd(c[3], _mm_set1_pd(reciprocal[3])));
        u = _mm_sub_pd(u, _mm_round_pd(u, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC));
        return _mm_add_pd(_mm_mul_pd(u, _mm_set1_pd(width)), _mm_set1_pd(a));
    }
    void store2(int32_t i, const __m128d* c) const { _mm_storeu_pd(r + i, values(c)); }
};

struct wh_single_sink {
    float* r;
    wh_double_sink d;
    void store(int32_t i, const uint32_t* x) const { r[i] = static_cast<float>(d.value(x)); }
    void store2(int32_t i, const __m128d* c) const {
        _mm_storel_pi(reinterpret_cast<__m64*>(r + i), _mm_cvtpd_ps(d.values(c)));
    }
};

struct wh_word_sink {
    uint32_t* r;
    void store(int32_t i, const uint32_t* x) const { std::memcpy(r + 4 * static_cast<std::size_t>(i), x, 16); }
    // Component lanes back to elements of four words.
    void store2(int32_t i, const __m128d* c) const {
        const __m128i x12 = _mm_unpacklo_epi32(_mm_cvttpd_epi32(c[0]), _mm_cvttpd_epi32(c[1]));
        const __m128i x34 = _mm_unpacklo_epi32(_mm_cvttpd_epi32(c[2]), _mm_cvttpd_epi32(c[3]));
        __m128i* to = reinterpret_cast<__m128i*>(r + 4 * static_cast<std::size_t>(i));
        _mm_storeu_si128(to, _mm_unpacklo_epi64(x12, x34));
        _mm_storeu_si128(to + 1, _mm_unpackhi_epi64(x12, x34));
    }
};

template <typename Sink>
int32_t generate(void* stream, int32_t n, const Sink& out) {
    wh_state& s = *state_of<wh_state>(stream);
    const wh_reducer red(wh_family[sub_of(stream)]);
    uint32_t x[4] = {s.x[0], s.x[1], s.x[2], s.x[3]};
    int32_t i = 0;
    if (n >= 8) {
        // lane[h][c] holds component c of elements 2h and 2h + 1 of the
        // current four, as exact doubles.
        alignas(16) double first[4][4];  // [component][element]
        for (; i < 4; ++i) {
            out.store(i, x);
            for (int c = 0; c < 4; ++c) {
                first[c][i] = x[c];
                x[c] = red.mul(c, s.a[c], x[c]);
            }
        }
        __m128d lane[2][4], a4[4], m[4], up[4];
        for (int c = 0; c < 4; ++c) {
            const uint32_t a2 = red.mul(c, s.a[c], s.a[c]);
            a4[c] = _mm_set1_pd(red.mul(c, a2, a2));
            m[c] = _mm_set1_pd(red.m[c]);
            up[c] = _mm_set1_pd(red.up[c]);
            lane[0][c] = _mm_load_pd(&first[c][0]);
            lane[1][c] = _mm_load_pd(&first[c][2]);
        }
        const int32_t end = n & ~3;
        for (; i < end; i += 4) {
            for (int h = 0; h < 2; ++h) {
                for (int c = 0; c < 4; ++c) {
                    // a^4 x mod m: p below 2^48 and q m exact, as in mul().
                    const __m128d p = _mm_mul_pd(lane[h][c], a4[c]);
                    const __m128d q = _mm_round_pd(_mm_mul_pd(p, up[c]), _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
                    lane[h][c] = _mm_sub_pd(p, _mm_mul_pd(q, m[c]));
                }
                out.store2(i + 2 * h, lane[h]);
            }
        }
        for (int c = 0; c < 4; ++c)
            x[c] = red.mul(c, s.a[c], static_cast<uint32_t>(_mm_cvtsd_f64(_mm_unpackhi_pd(lane[1][c], lane[1][c]))));
    }
    for (; i < n; ++i) {
        out.store(i, x);
        for (int c = 0; c < 4; ++c) x[c] = red.mul(c, s.a[c], x[c]);
    }
    std::memcpy(s.x, x, sizeof x);
    return ok;
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsBRngWHInitStream(int32_t method, void* stream, int32_t n, const uint32_t* params) {
    wh_state& s = *state_of<wh_state>(stream);
    const wh_family_row& row = wh_family[sub_of(stream)];
    switch (method) {
        case init_seed:
            for (int c = 0; c < 4; ++c) {
                const uint32_t x = c < n ? params[c] % row.m[c] : 1;
                s.x[c] = x == 0 ? 1 : x;
                s.a[c] = row.a[c];
            }
            return ok;
        case init_leapfrog:
            for (int c = 0; c < 4; ++c) {
                const uint32_t m = row.m[c];
                s.x[c] = static_cast<uint32_t>(uint64_t{s.x[c]} * __vxsiPowMod(s.a[c], params[0], m) % m);
                s.a[c] = __vxsiPowMod(s.a[c], static_cast<uint64_t>(static_cast<int64_t>(n)), m);
            }
            return ok;
        case init_skip_ahead:
            for (int c = 0; c < 4; ++c) {
                const uint32_t m = row.m[c];
                s.x[c] = static_cast<uint32_t>(uint64_t{s.x[c]} * __vxsiPowMod(s.a[c], read_u64(params), m) % m);
            }
            return ok;
        default:
            return bad_init_method;
    }
}

QLM_EXPORT int32_t __vxsdBRngWH(void* stream, int32_t n, double* r, double a, double b) {
    return generate(stream, n, wh_double_sink{r, wh_family[sub_of(stream)].reciprocal, b - a, a});
}

QLM_EXPORT int32_t __vxssBRngWH(void* stream, int32_t n, float* r, float a, float b) {
    const double wa = a, wb = b;
    return generate(stream, n, wh_single_sink{r, {nullptr, wh_family[sub_of(stream)].reciprocal, wb - wa, wa}});
}

QLM_EXPORT int32_t __vxsiBRngWH(void* stream, int32_t n, void* r) {
    return generate(stream, n, wh_word_sink{static_cast<uint32_t*>(r)});
}

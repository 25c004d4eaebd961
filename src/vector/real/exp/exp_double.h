// Double exponential, the three variants on one plan.
//
// n = round(x K) by adding the shifter S = 1.5 * 2^52, whose sum keeps n in
// its low bits; j = n mod table size picks 2^(j/size) and the rest is the
// exponent m.  r = x - n/K in one or two pieces, e^x = 2^m 2^(j/size) e^r.
//
//            EP                LA                  HA
//   K        128/ln 2          128/ln 2            64/ln 2
//   r        one piece         two pieces          two pieces
//   e^r - 1  r + r^2/2         degree 4            degree 5
//   table    low 52 bits       low 52 bits         64 split pairs
//   finish   T + T p           T + T p             (p (Thi+Tlo) + Tlo + Thi) 2^m
//
// The coefficients of LA and HA lie close to 1/2, 1/6, 1/24 and 1/120 but
// are not those numbers; they are kept bit for bit.  In EP and LA the
// exponent of T is made from the sum's integer bits (+1023*128, shift 45,
// mask), so the finish needs no conversion instruction; HA builds 2^m the
// same way (+1023*64, shift 46) and applies it by the last multiplication.
//
// Screen: |high word| below 0x4086232B on all four lanes, |x| < 708.396.
// Rejected groups are recomputed from each lane's mantissa result (the
// finish with an exponent word of 1.0) and integer bits, by the scalar
// routine, which gives NaN -> all-ones bits, +inf -> +inf, -inf -> +0,
// x <= -745.133 -> +0 and x <= -708.396 -> denormal, both with UNDERFLOW,
// x >= 709.78271289 -> +inf with OVERFLOW, and for the largest finite
// results (x >= 709.7773) the scale applied as 2^(m-1) and then 2.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "frame/error_path.h"
#include "vector/real/exp/exp_tables.h"
#include "vector/real/lane_loops.h"

namespace qlm::vector::exp_double {

inline constexpr uint64_t kShifter = 0x4338000000000000ull;
inline constexpr int32_t kScreen = 0x4086232B;

struct ep {
    static constexpr uint64_t K = 0x40671547652B82FEull;
    static constexpr uint64_t L1 = 0x3F762E42FEFA39EFull;
    static constexpr uint64_t L2 = 0;
    static constexpr bool split_table = false;
    static __m128d poly(__m128d r) {
        return _mm_add_pd(r, _mm_mul_pd(_mm_set1_pd(0.5), _mm_mul_pd(r, r)));
    }
};

struct la {
    static constexpr uint64_t K = 0x40671547652B82FEull;
    static constexpr uint64_t L1 = 0x3F762E42FEE00000ull;
    static constexpr uint64_t L2 = 0x3D7A39EF35793C76ull;
    static constexpr bool split_table = false;
    static __m128d poly(__m128d r) {
        const __m128d c2 = splat_bits(0x3FDFFFFFFFFFFEB0ull), c3 = splat_bits(0x3FC55555B7BAE976ull),
                      c4 = splat_bits(0x3FA55555C2A9C0FAull);
        const __m128d q = _mm_add_pd(c2, _mm_mul_pd(r, _mm_add_pd(c3, _mm_mul_pd(r, c4))));
        return _mm_add_pd(r, _mm_mul_pd(_mm_mul_pd(r, r), q));
    }
};

struct ha {
    static constexpr uint64_t K = 0x40571547652B82FEull;
    static constexpr uint64_t L1 = 0x3F862E42FEF00000ull;
    static constexpr uint64_t L2 = 0x3D7473DE6AF278EDull;
    static constexpr bool split_table = true;
    static __m128d poly(__m128d r) {
        const __m128d c2 = splat_bits(0x3FDFFFFFFFFFD97Cull), c3 = splat_bits(0x3FC55555555542A1ull),
                      c4 = splat_bits(0x3FA555574BC3A1BEull), c5 = splat_bits(0x3F81111276409C2Cull);
        const __m128d q = _mm_add_pd(
            c2, _mm_mul_pd(r, _mm_add_pd(c3, _mm_mul_pd(r, _mm_add_pd(c4, _mm_mul_pd(r, c5))))));
        return _mm_add_pd(r, _mm_mul_pd(_mm_mul_pd(r, r), q));
    }
};

// The reduction shared by every use of a variant: the integer bits of
// x K + S and the polynomial p = e^r - 1.
template <class V>
inline __m128d reduce_pair(__m128d x, __m128i& bits) {
    const __m128d shifter = splat_bits(kShifter);
    const __m128d t = _mm_add_pd(_mm_mul_pd(x, splat_bits(V::K)), shifter);
    bits = _mm_castpd_si128(t);
    const __m128d nd = _mm_sub_pd(t, shifter);
    __m128d r = _mm_sub_pd(x, _mm_mul_pd(nd, splat_bits(V::L1)));
    if constexpr (V::L2 != 0) r = _mm_sub_pd(r, _mm_mul_pd(nd, splat_bits(V::L2)));
    return V::poly(r);
}

// Table entries of the two lanes, indexed with the integer bits moved out
// of the sum.
inline __m128i low_entries(__m128i bits) {
    const auto j0 = static_cast<uint64_t>(_mm_cvtsi128_si64(bits)) & 127;
    const auto j1 = static_cast<uint64_t>(_mm_extract_epi64(bits, 1)) & 127;
    return _mm_set_epi64x(static_cast<int64_t>(exp_tables::low[j1]),
                          static_cast<int64_t>(exp_tables::low[j0]));
}
inline void split_entries(__m128i bits, __m128d& hi, __m128d& lo) {
    const auto j0 = static_cast<uint64_t>(_mm_cvtsi128_si64(bits)) & 63;
    const auto j1 = static_cast<uint64_t>(_mm_extract_epi64(bits, 1)) & 63;
    const double* e0 = reinterpret_cast<const double*>(exp_tables::split[j0]);
    const double* e1 = reinterpret_cast<const double*>(exp_tables::split[j1]);
    hi = _mm_loadh_pd(_mm_load_sd(e0), e1);
    lo = _mm_loadh_pd(_mm_load_sd(e0 + 1), e1 + 1);
}

// 2^m of the HA layout as a double, from the integer bits.
inline __m128d split_scale(__m128i bits) {
    return _mm_castsi128_pd(_mm_and_si128(_mm_slli_epi64(_mm_add_epi64(bits, _mm_set1_epi64x(0xFFC0)), 46),
                                          _mm_set1_epi64x(0x7FF0000000000000ll)));
}

// e^r 2^(j/64) - 2^(j/64) accumulated as in the HA finish, without its
// leading term: p (Thi + Tlo) + Tlo.
inline __m128d split_tail(__m128d p, __m128d hi, __m128d lo) {
    return _mm_add_pd(_mm_mul_pd(p, _mm_add_pd(hi, lo)), lo);
}

template <class V>
struct kernel {
    struct reduced {
        double mantissa;  // the finish with the scale 2^0
        int64_t n;        // round(x K)
    };

    static bool screen(__m128d x0, __m128d x1) {
        return all_magnitudes_below(high_words(x0, x1), kScreen, 0xF);
    }
    static bool screen_one(__m128d x) { return all_magnitudes_below(high_words(x, x), kScreen, 0x1); }

    static __m128d fast(__m128d x) {
        __m128i bits;
        const __m128d p = reduce_pair<V>(x, bits);
        if constexpr (V::split_table) {
            __m128d hi, lo;
            split_entries(bits, hi, lo);
            return _mm_mul_pd(_mm_add_pd(split_tail(p, hi, lo), hi), split_scale(bits));
        } else {
            // T built in the integer unit, whose ports the vector arithmetic
            // leaves idle: exponent word from the sum's bits, ORed with the
            // table's mantissa bits.
            const auto word = [](uint64_t b) {
                return (((b + 0x1FF80) << 45) & 0x7FF0000000000000ull) | exp_tables::low[b & 127];
            };
            const __m128d t = _mm_castsi128_pd(
                _mm_set_epi64x(static_cast<int64_t>(word(static_cast<uint64_t>(_mm_extract_epi64(bits, 1)))),
                               static_cast<int64_t>(word(static_cast<uint64_t>(_mm_cvtsi128_si64(bits))))));
            return _mm_add_pd(t, _mm_mul_pd(t, p));
        }
    }

    static void reduce(__m128d x, reduced& l0, reduced& l1) {
        __m128i bits;
        const __m128d p = reduce_pair<V>(x, bits);
        __m128d m;
        if constexpr (V::split_table) {
            __m128d hi, lo;
            split_entries(bits, hi, lo);
            m = _mm_add_pd(split_tail(p, hi, lo), hi);
        } else {
            const __m128d t = _mm_castsi128_pd(
                _mm_or_si128(_mm_set1_epi64x(0x3FF0000000000000ll), low_entries(bits)));
            m = _mm_add_pd(t, _mm_mul_pd(t, p));
        }
        l0 = {_mm_cvtsd_f64(m), static_cast<int64_t>(static_cast<uint64_t>(_mm_cvtsi128_si64(bits)) - kShifter)};
        l1 = {_mm_cvtsd_f64(_mm_unpackhi_pd(m, m)),
              static_cast<int64_t>(static_cast<uint64_t>(_mm_extract_epi64(bits, 1)) - kShifter)};
    }

    // 2^m as a double for m in the normal range.
    static double pow2(int64_t m) { return bits_to_double(static_cast<uint64_t>(m + 1023) << 52); }

    static int64_t exponent_of(int64_t n) { return V::split_table ? n >> 6 : n >> 7; }

    // The finish for an input the screen let through or that lies in the
    // rows between the screen and the thresholds: the mantissa result
    // times 2^m, split when 2^m is not a double.
    static double scaled(const reduced& s) {
        const int64_t m = exponent_of(s.n);
        if (m > 1023) return s.mantissa * pow2(m - 1) * 2.0;
        return s.mantissa * pow2(m);
    }

    static void scalar(int32_t i, const double* a, double* y, const reduced& s) {
        const double x = a[i];
        int32_t status = VXM_STATUS_OK;
        double result;
        if (x != x) result = bits_to_double(~uint64_t{0});
        else if (x == bits_to_double(0x7FF0000000000000ull)) result = x;
        else if (x == bits_to_double(0xFFF0000000000000ull)) result = 0.0;
        else if (x <= bits_to_double(0xC0874910D52D3052ull)) {
            result = 0.0;
            status = VXM_STATUS_UNDERFLOW;
        } else if (x <= bits_to_double(0xC086232BDD7ABCD3ull)) {
            // The scale 2^m is below the normal range: apply 2^(m+1022)
            // exactly first, then the smallest normal, so the denormal
            // result is rounded once.
            result = s.mantissa * pow2(exponent_of(s.n) + 1022) * bits_to_double(0x0010000000000000ull);
            status = VXM_STATUS_UNDERFLOW;
        } else if (x >= bits_to_double(0x40862E42FEFA39F0ull)) {
            result = bits_to_double(0x7FF0000000000000ull);
            status = VXM_STATUS_OVERFLOW;
        } else if (x >= bits_to_double(0x40862E37E7D8BA72ull)) {
            // The largest finite results: m is 1023 or 1024 here, and the
            // scale is applied as 2^(m-1) and then 2, so that 2^1024 never
            // has to be a double.
            result = s.mantissa * pow2(exponent_of(s.n) - 1) * 2.0;
        } else {
            result = scaled(s);
        }
        y[i] = result;
        if (status != VXM_STATUS_OK) qlm::frame::raise_status(status, i, a, a, y, y, "vdExp");
    }
};

}  // namespace qlm::vector::exp_double

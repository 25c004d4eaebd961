// The logarithm cores, shared by Ln, Log10 and Log1p in both precisions.
//
// Coarse core (257-row table, c = 1 + i/256): k = exponent, m = mantissa
// in [1, 2), the top nine mantissa bits rounded to eight pick the row, m is
// rounded to eight fraction bits the same way (OR 0x000003FF000003FF, add
// and subtract 2^44), r = (m - rounded)/c exactly up to one rounding,
// |r| <= 2^-9, and ln x = k ln2 + ln c + ln(1 + r).  ln(1 + r) is r + c2 r^2
// in the double EP routine (c2 = 0xBFDFFFFFFFFFCAAE, truncation r^3/3, so
// about 20 correct bits next to 1 and 27 away from it), and the Taylor
// polynomial of the degree asked for elsewhere.  The single routines run
// it in double on widened inputs, where float denormals are normal.
//
// Fine core (513-row table, c = 1 + i/512), the double LA and HA Ln: the
// exponent is taken with a bias so that a mantissa above 1.5 counts as
// half of itself; m splits into a 21-bit head m1 and a tail m2, and with
// the 23-bit reciprocal r1 = m1 rcp - 1 is exact.  The terms are summed
// from large to small: k ln2hi + ln hi + r1, k ln2lo + ln lo, r2, and last
// r^2 (c2 + r (c3 + r (c4 + r c5))); how they are added is up to each
// routine (fine_result, fine_head, fine_double_double).
#pragma once

#include <smmintrin.h>

#include <bit>
#include <cstdint>

#include "vector/real/lane_loops.h"
#include "vector/real/log/log_tables.h"

namespace qlm::vector::log_double {

inline constexpr uint64_t kMantissaMask = 0x000FFFFFFFFFFFFFull;
inline constexpr uint64_t kOne = 0x3FF0000000000000ull;

// High words of a pair in lanes 0 and 1.
inline __m128i pair_high_words(__m128d x) {
    return _mm_shuffle_epi32(_mm_castpd_si128(x), _MM_SHUFFLE(3, 1, 3, 1));
}

// Positive, normal and finite: (high word - 0x00100000) unsigned below
// 0x7FE00000.  Zero, denormals, negatives, infinities and NaN fail.
inline bool pair_in_domain(__m128d x0, __m128d x1) {
    return all_unsigned_in_range(high_words(x0, x1), 0x00100000u, 0x7FE00000u, 0xF);
}
inline bool one_in_domain(__m128d x) {
    return all_unsigned_in_range(high_words(x, x), 0x00100000u, 0x7FE00000u, 0x1);
}

struct domain_screen {
    static bool screen(__m128d x0, __m128d x1) { return pair_in_domain(x0, x1); }
    static bool screen_one(__m128d x) { return one_in_domain(x); }
};

inline __m128d mantissa(__m128d x) {
    return _mm_or_pd(_mm_and_pd(x, splat_bits(kMantissaMask)), splat_bits(kOne));
}

// ln x on the coarse table; Degree 2 is the double EP routine bit for bit.
template <int Degree, bool WithLow>
inline __m128d coarse(__m128d x) {
    const __m128i hw = pair_high_words(x);
    const __m128d k = _mm_cvtepi32_pd(_mm_sub_epi32(_mm_srli_epi32(hw, 20), _mm_set1_epi32(1023)));
    // The row in the integer unit, whose ports the vector arithmetic
    // leaves idle: the top nine mantissa bits rounded to eight.
    const auto row = [](uint32_t h) { return ((((h >> 7) & 0x1FF0u) + 0x10u) & 0x3FE0u) >> 5; };
    const auto* row0 = log_tables::coarse[row(static_cast<uint32_t>(_mm_cvtsi128_si32(hw)))];
    const auto* row1 = log_tables::coarse[row(static_cast<uint32_t>(_mm_extract_epi32(hw, 1)))];
    const __m128d a0 = _mm_load_pd(reinterpret_cast<const double*>(row0));      // ln hi, ln lo
    const __m128d a1 = _mm_load_pd(reinterpret_cast<const double*>(row1));
    const __m128d b0 = _mm_load_pd(reinterpret_cast<const double*>(row0) + 2);  // reciprocal, 0
    const __m128d b1 = _mm_load_pd(reinterpret_cast<const double*>(row1) + 2);
    const __m128d ln_hi = _mm_unpacklo_pd(a0, a1), rcp = _mm_unpacklo_pd(b0, b1);

    const __m128d m = mantissa(x);
    const __m128d big = splat_bits(0x42B0000000000000ull);
    const __m128d rounded =
        _mm_sub_pd(_mm_add_pd(_mm_or_pd(m, splat_bits(0x000003FF000003FFull)), big), big);
    const __m128d r = _mm_mul_pd(_mm_sub_pd(m, rounded), rcp);
    const __m128d head = _mm_add_pd(_mm_mul_pd(k, splat_bits(0x3FE62E42FEFA4000ull)), ln_hi);

    __m128d q;  // ln(1 + r) - r = r^2 (c2 + r (c3 + ...))
    if constexpr (Degree == 2) {
        q = _mm_mul_pd(splat_bits(0xBFDFFFFFFFFFCAAEull), _mm_mul_pd(r, r));
    } else {
        static_assert(Degree == 3 || Degree == 4);
        __m128d s = Degree == 4 ? _mm_add_pd(_mm_set1_pd(1.0 / 3), _mm_mul_pd(r, _mm_set1_pd(-0.25)))
                                : _mm_set1_pd(1.0 / 3);
        s = _mm_add_pd(_mm_set1_pd(-0.5), _mm_mul_pd(r, s));
        q = _mm_mul_pd(_mm_mul_pd(r, r), s);
    }
    __m128d tail = _mm_add_pd(r, q);
    if constexpr (WithLow) {
        // ln lo goes with the low part of k ln 2, or rows that cancel
        // against k ln 2 (k = -1 on row 256) would keep it alone.
        const __m128d low = _mm_add_pd(_mm_mul_pd(k, splat_bits(0xBD48432A1B0E2634ull)), _mm_unpackhi_pd(a0, a1));
        tail = _mm_add_pd(low, tail);
    }
    return _mm_add_pd(head, tail);
}

// The pieces of ln x on the fine table: head = k ln2hi + ln hi, r1
// (exact), low = k ln2lo + ln lo, r2, r = r1 + r2 and the polynomial in r.
struct fine_pieces {
    __m128d head, r1, low, r2, r, poly;
};

// What the fine core works in: its table and the constants that go with
// it.  The natural basis is the Ln routine's; the base-10 one takes log10
// of the same reciprocals, log10 2 in two parts (lg2hi = log10 2 rounded
// to 42 bits, so that k lg2hi + lg hi is exact as in the natural basis)
// and the coefficients times log10 e, so that head + r log10 e + low + poly
// is log10 x.
struct fine_basis {
    const uint64_t (*table)[4];
    uint64_t k_hi, k_lo;
    double c2, c3, c4, c5;
};
inline constexpr double kC2 = std::bit_cast<double>(0xBFDFFFFFFFFFFCA9ull);
inline constexpr double kC3 = std::bit_cast<double>(0x3FD555555555512Aull);
inline constexpr double kC4 = std::bit_cast<double>(0xBFD00000D588D052ull);
inline constexpr double kC5 = std::bit_cast<double>(0x3FC9999B39037E04ull);
inline constexpr double kLog10e = std::bit_cast<double>(0x3FDBCB7B1526E50Eull);
inline constexpr fine_basis kNatural{log_tables::fine, 0x3FE62E42FEFA3800ull, 0x3D2EF35793C76730ull,
                                     kC2, kC3, kC4, kC5};
inline constexpr fine_basis kBase10{log_tables::fine10, 0x3FD34413509F7800ull, 0x3D1FEF311F12B358ull,
                                    kC2 * kLog10e, kC3 * kLog10e, kC4 * kLog10e, kC5 * kLog10e};

template <const fine_basis& B = kNatural>
inline fine_pieces fine(__m128d x) {
    const __m128i hw = pair_high_words(x);
    const __m128i k = _mm_srai_epi32(_mm_sub_epi32(hw, _mm_set1_epi32(0x3FE7FC00)), 20);
    // k is a small integer, so the conversion is exact: the same double
    // as k placed in the high word of 1.5 * 2^20 minus that number, in one
    // instruction instead of four.
    const __m128d kd = _mm_cvtepi32_pd(k);

    // The offsets address the rows in bytes: no index arithmetic, and each
    // pair is gathered by half loads rather than loads and shuffles.  They
    // are made from the high words in the integer unit, whose ports the
    // vector arithmetic leaves idle.
    const auto row_offset = [](uint32_t h) { return (((h & 0xFFC00u) + 0x400u) & 0x1FF800u) >> 6; };
    const char* base = reinterpret_cast<const char*>(B.table);
    const double* row0 = reinterpret_cast<const double*>(base + row_offset(static_cast<uint32_t>(_mm_cvtsi128_si32(hw))));
    const double* row1 = reinterpret_cast<const double*>(base + row_offset(static_cast<uint32_t>(_mm_extract_epi32(hw, 1))));
    const __m128d rcp = _mm_loadh_pd(_mm_load_sd(row0), row1);
    const __m128d ln_hi = _mm_loadh_pd(_mm_load_sd(row0 + 2), row1 + 2);
    const __m128d ln_lo = _mm_loadh_pd(_mm_load_sd(row0 + 3), row1 + 3);

    const __m128d m = mantissa(x);
    const __m128d m1 = _mm_and_pd(m, splat_bits(0x7FFFFFFF00000000ull));
    const __m128d m2 = _mm_sub_pd(m, m1);
    fine_pieces p;
    p.r1 = _mm_sub_pd(_mm_mul_pd(m1, rcp), _mm_set1_pd(1.0));
    p.r2 = _mm_mul_pd(m2, rcp);
    const __m128d r = p.r = _mm_add_pd(p.r1, p.r2);
    const __m128d c2 = _mm_set1_pd(B.c2), c3 = _mm_set1_pd(B.c3), c4 = _mm_set1_pd(B.c4), c5 = _mm_set1_pd(B.c5);
    p.poly = _mm_mul_pd(
        _mm_mul_pd(r, r),
        _mm_add_pd(c2, _mm_mul_pd(r, _mm_add_pd(c3, _mm_mul_pd(r, _mm_add_pd(c4, _mm_mul_pd(r, c5)))))));
    p.head = _mm_add_pd(_mm_mul_pd(kd, splat_bits(B.k_hi)), ln_hi);
    p.low = _mm_add_pd(_mm_mul_pd(kd, splat_bits(B.k_lo)), ln_lo);
    return p;
}

// head + r1 is exact: head = k ln2hi + ln hi lies on the grid 2^-42 (ln2hi
// has 42 bits, k at most 11, ln hi 24 fraction bits), r1 = m1 rcp - 1 on
// the grid 2^-43 (20-bit m1 times 23-bit rcp), and the sum is below 2^10,
// so it needs at most 53 bits.
inline __m128d fine_head(const fine_pieces& p) { return _mm_add_pd(p.head, p.r1); }

// The plain sum from large to small: head + r1, then low, then r2, then
// the polynomial, about 1.5 ulp; kept for the callers outside this family
// that were built on it.
inline __m128d fine_sum(const fine_pieces& p) {
    return _mm_add_pd(_mm_add_pd(_mm_add_pd(_mm_add_pd(p.head, p.r1), p.low), p.r2), p.poly);
}

// ln x as an unevaluated hi + lo, good to about 2^-100 relative apart
// from the polynomial's own error: hi = (head + r1) + r2 and lo = its
// rounding error (fast two-sum) + low + polynomial.  The fast two-sum is
// exact because |head + r1| has at least the exponent of r2 or is zero:
// away from rows 0 and 512 with k = 0, |head + r1| = |ln(m1/c ...)| is
// above 2^-11 while r2 < 2^-20; on those rows head is 0 and r1 is a
// nonzero multiple of the largest value r2 stays below (2^-20 rcp) or 0.
// r1 and r2 may cancel there (x just below 1), which is why r2 must not be
// rounded into the tail before it meets r1.
inline void fine_double_double(const fine_pieces& p, __m128d& hi, __m128d& lo) {
    const __m128d a = fine_head(p);
    hi = _mm_add_pd(a, p.r2);
    const __m128d err = _mm_sub_pd(p.r2, _mm_sub_pd(hi, a));
    lo = _mm_add_pd(err, _mm_add_pd(p.low, p.poly));
}

// ln x to within about half an ulp, the double Ln LA and HA routine: hi =
// head + r with r = r1 + r2 rounded, its rounding error carried with low
// and the polynomial into lo, then hi + lo.  The error term is the fast
// two-sum's; that is exact here, and so the same bits as the full two-sum:
// head is zero (rows 0 and 512 with k = 0) or its exponent is at least
// that of r, since |head| >= ln(1 + 1/512) > 2^-10 on the other rows of
// k = 0 (ln(1 - 1/1024) on the rows of c/2) while |r| < 2^-9.9, and
// |head| > 0.28 when k is not 0.
inline __m128d fine_result(const fine_pieces& p) {
    const __m128d r = p.r;
    const __m128d hi = _mm_add_pd(p.head, r);
    const __m128d err = _mm_sub_pd(r, _mm_sub_pd(hi, p.head));
    return _mm_add_pd(hi, _mm_add_pd(_mm_add_pd(err, p.low), p.poly));
}

// ln x by the x87 instruction y log2(x) with y = ln 2, exact enough for
// denormals and giving the IEEE results of the special inputs.
inline double x87_ln(double x) {
    long double v = x;
    long double y;
    asm("fldln2" : "=t"(y));
    asm("fyl2x" : "=t"(v) : "0"(v), "u"(y) : "st(1)");
    return static_cast<double>(v);
}

// log10 x the same way, with y = log10 2.
inline double x87_log10(double x) {
    long double v = x;
    long double y;
    asm("fldlg2" : "=t"(y));
    asm("fyl2x" : "=t"(v) : "0"(v), "u"(y) : "st(1)");
    return static_cast<double>(v);
}

}  // namespace qlm::vector::log_double

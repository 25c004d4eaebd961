// The SSE2 pair core of Erf, Erfc and CdfNorm: two doubles at a time, and
// single precision through the same pairs (four floats widened to two
// pairs), so that one plan serves both types.
//
// Pieces.  Both fits of tools/erf_fits follow the exponent of |x|: piece 0
// is [0, 1/8), then each binade is cut into 8 equal pieces (Erf LA: [0,
// 1/64), then 32 per binade).  The piece
// number is the high word of |x| shifted right by 17 (exponent and three
// mantissa bits; 15 and five for Erf LA) less a constant, clamped to the table, so that a lane of
// any input (NaN and infinities included, which the screens send to the
// scalar routines) reads inside the table.  Each lane loads its own row in
// 16-byte pairs; unpacking two rows gives a coefficient for both lanes.
// On a piece, f(x) = c0 + (lo + t (c1 + t (c2 + ...))), t = x - centre
// exact (x and the centre share a binade), c0 + lo the constant term to 106
// bits; the last addition is the only rounding of size, so the result is
// within about 0.8 ulp of the fit, and about 0.6 when Erf HA forms c0 + t c1
// exactly (Dekker's product; denormal lanes scaled by 2^64 for it).
//
// Erf(x) = sign(x) erf(|x|) from the erf fit, for |x| < 6.  Piece 0 is
// x + x P(x), with no constant term, so tiny x keep their relative accuracy
// and zeros their sign.
//
// Erfc(x) = e^(-x^2) G(|x|) for x >= 0 and 2 - e^(-x^2) G(|x|) below, G =
// erfc e^(x^2) from the second fit, for |x| < 26.5 (results stay normal).
// The square enters the exponential exactly: x = xh + xl with xh holding 26
// bits, xh^2 exact and xl (x + xh) the rest.  e^(-s) = 2^k 2^(j/64) (1 + p):
// n = round(-s 64/ln2) by the shifter, whose low word gives j = n mod 64 and
// k = n >> 6 with no conversion instruction, r = -s - n ln2/64 in two
// pieces (n ln2_hi exact), p = expm1(r) by its Taylor series (|r| < 2^-7.5;
// to r^5 in double, r^3 in the single-precision sets).  2^k is built in the
// exponent field from the same low word.
// CdfNorm(x) = erfc(-x/sqrt 2)/2 by the same steps with s = x^2/2 (exact
// from the same split) and G at |x|/sqrt 2.
//
// Finish.  LA and the single-precision sets: 2^(j/64) c0 rounded once plus
// the small remaining products (measured 1.5 ulp in Erfc, 2.1 in CdfNorm,
// whose argument |x|/sqrt 2 is rounded).  HA: the products in double-double
// (the leading product by Dekker's split), 2 - v as an exact two-sum, and
// for CdfNorm the argument of G corrected to first order (G' = 2aG - 2/sqrt
// pi) for the rounding of |x|/sqrt 2; about 0.6-0.75 ulp.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/lane_loops.h"
#include "vector/real/special/core_tables.h"
#include "vector/real/special/erf_vector_tables.h"
#include "vector/real/special/group_driver.h"

namespace qlm::special::erf_vector {

// The pair steps are inlined into the group loops whatever their size, so
// that the two pairs of a group interleave and no call crosses the PLT.
#define QLM_ERF_INLINE inline __attribute__((always_inline))

// One accuracy set: the rows and degrees of both fits, the degree of the
// exponential's series, whether the square enters exactly, and whether the
// last steps are carried in double-double.
template <const auto& ErfRows, int ErfDegree, const auto& GRows, int GDegree, int ExpDegree, bool ExactSquare,
          bool Exact, int ErfE0 = erf_piece_e0, int ErfLog2S = erf_piece_log2_s>
struct accuracy_set {
    static constexpr int erf_e0 = ErfE0;
    static constexpr int erf_log2_s = ErfLog2S;
    static constexpr const double* erf_rows = &ErfRows[0][0];
    static constexpr int erf_stride = sizeof(ErfRows[0]) / sizeof(double);
    static constexpr int erf_count = sizeof(ErfRows) / sizeof(ErfRows[0]);
    static constexpr int erf_degree = ErfDegree;
    static constexpr const double* g_rows = &GRows[0][0];
    static constexpr int g_stride = sizeof(GRows[0]) / sizeof(double);
    static constexpr int g_count = sizeof(GRows) / sizeof(GRows[0]);
    static constexpr int g_degree = GDegree;
    static constexpr int exp_degree = ExpDegree;
    static constexpr bool exact_square = ExactSquare;
    static constexpr bool exact = Exact;
};

using set_ha = accuracy_set<erf_rows_ha, erf_rows_ha_degree, erfcx_rows_ha, erfcx_rows_ha_degree, 5, true, true>;
// Erf LA has pieces of its own, four times as fine and from 2^-6, for a
// shorter polynomial.
using set_la = accuracy_set<erf_rows_la, erf_rows_la_degree, erfcx_rows_la, erfcx_rows_la_degree, 5, true, false,
                            erf_la_piece_e0, erf_la_piece_log2_s>;
// Double EP and single LA and HA: 2^-30 fits; the square's rounding (below
// 2^-43 of the exponential) no longer matters.
using set_sp = accuracy_set<erf_rows_sp, erf_rows_sp_degree, erfcx_rows_sp, erfcx_rows_sp_degree, 3, false, false>;
using set_ep = accuracy_set<erf_rows_ep, erf_rows_ep_degree, erfcx_rows_ep, erfcx_rows_ep_degree, 2, false, false>;

QLM_ERF_INLINE __m128d splat(double v) { return _mm_set1_pd(v); }
QLM_ERF_INLINE __m128d sign_of(__m128d x) { return _mm_and_pd(x, qlm::vector::splat_bits(0x8000000000000000ull)); }

// Piece numbers of |x| in 32-bit lanes 0 and 2.
template <int E0, int Log2S, int Count>
QLM_ERF_INLINE __m128i piece_index(__m128d ax) {
    const __m128i top = _mm_srli_epi64(_mm_castpd_si128(ax), 52 - Log2S);
    const __m128i i = _mm_sub_epi32(top, _mm_set1_epi32(((1023 - E0) << Log2S) - 1));
    return _mm_min_epi32(_mm_max_epi32(i, _mm_setzero_si128()), _mm_set1_epi32(Count - 1));
}

// c0 and lo + t (c1 + t (...)) of each lane's piece.
struct piece_value {
    __m128d c0, tail, t;
};

// c0, lo + t (c1 + t (...)) and t of each lane's piece; with Split, the tail
// leaves out t c1 and returns c1 in `c1`, so that the caller can form that
// product exactly.
struct piece_split {
    __m128d c1, lo, t2q;
};

template <int Degree, int Stride, bool Split = false>
QLM_ERF_INLINE piece_value eval_rows(const double* rows, __m128i idx, __m128d ax, piece_split* parts = nullptr) {
    const double* r0 = rows + _mm_cvtsi128_si32(idx) * Stride;
    const double* r1 = rows + _mm_extract_epi32(idx, 2) * Stride;
    __m128d c[Stride];
#pragma GCC unroll 32
    for (int k = 0; k < Stride; k += 2) {
        const __m128d a = _mm_load_pd(r0 + k), b = _mm_load_pd(r1 + k);
        c[k] = _mm_unpacklo_pd(a, b);
        c[k + 1] = _mm_unpackhi_pd(a, b);
    }
    const __m128d t = _mm_sub_pd(ax, c[0]);
    __m128d q = c[2 + Degree];
#pragma GCC unroll 32
    for (int k = Degree - 1; k >= 2; --k) q = _mm_add_pd(_mm_mul_pd(q, t), c[2 + k]);
    if constexpr (Split) {
        *parts = {c[3], c[1], _mm_mul_pd(_mm_mul_pd(q, t), t)};
        return {c[2], _mm_setzero_pd(), t};
    }
    q = _mm_add_pd(_mm_mul_pd(q, t), c[3]);
    return {c[2], _mm_add_pd(_mm_mul_pd(q, t), c[1]), t};
}

// erf(|x|) as c0 + tail; on piece 0 the fit is t + t P(t) with c0 = 0, and
// t joins c0 there (exactly: one of the two is zero).
template <class S, bool Split = false>
QLM_ERF_INLINE piece_value erf_piece(__m128d ax, piece_split* parts = nullptr) {
    const __m128i idx = piece_index<S::erf_e0, S::erf_log2_s, S::erf_count>(ax);
    piece_value v = eval_rows<S::erf_degree, S::erf_stride, Split>(S::erf_rows, idx, ax, parts);
    const __m128d first = _mm_castsi128_pd(_mm_shuffle_epi32(_mm_cmpeq_epi32(idx, _mm_setzero_si128()), 0xA0));
    v.c0 = _mm_add_pd(v.c0, _mm_and_pd(first, v.t));
    return v;
}

template <class S>
QLM_ERF_INLINE piece_value g_piece(__m128d ax) {
    return eval_rows<S::g_degree, S::g_stride>(
        S::g_rows, piece_index<erfc_piece_e0, erfc_piece_log2_s, S::g_count>(ax), ax);
}

// Dekker's exact product of two pairs.
QLM_ERF_INLINE void two_prod(__m128d a, __m128d b, __m128d& p, __m128d& e) {
    const __m128d k = splat(134217729.0);  // 2^27 + 1
    const __m128d ca = _mm_mul_pd(a, k), cb = _mm_mul_pd(b, k);
    const __m128d ah = _mm_sub_pd(ca, _mm_sub_pd(ca, a)), bh = _mm_sub_pd(cb, _mm_sub_pd(cb, b));
    const __m128d al = _mm_sub_pd(a, ah), bl = _mm_sub_pd(b, bh);
    p = _mm_mul_pd(a, b);
    e = _mm_add_pd(_mm_add_pd(_mm_add_pd(_mm_sub_pd(_mm_mul_pd(ah, bh), p), _mm_mul_pd(ah, bl)),
                              _mm_mul_pd(al, bh)),
                   _mm_mul_pd(al, bl));
}

template <class S>
QLM_ERF_INLINE __m128d erf_pair(__m128d x) {
    const __m128d sign = sign_of(x);
    const __m128d ax = _mm_xor_pd(x, sign);
    if constexpr (S::exact) {
        // c0 + t c1 as an exact product and sum (|c0| > |t c1| on every
        // piece), the rest below a tenth of it: one rounding of size.
        // Below 2^-960 (denormals) Dekker's split loses bits: those lanes
        // run 2^64 higher, where erf is still exactly linear to 2^-1700,
        // and are scaled back once at the end.
        const __m128d tiny = _mm_cmplt_pd(ax, splat(0x1p-960));
        const __m128d up = _mm_blendv_pd(splat(1.0), splat(0x1p64), tiny);
        const __m128d down = _mm_blendv_pd(splat(1.0), splat(0x1p-64), tiny);
        piece_split parts;
        const piece_value v = erf_piece<S, true>(_mm_mul_pd(ax, up), &parts);
        __m128d ph, pl;
        two_prod(v.t, parts.c1, ph, pl);
        const __m128d s = _mm_add_pd(v.c0, ph);
        const __m128d e = _mm_sub_pd(ph, _mm_sub_pd(s, v.c0));
        const __m128d rest = _mm_add_pd(_mm_add_pd(e, pl), _mm_add_pd(parts.lo, parts.t2q));
        return _mm_or_pd(_mm_mul_pd(_mm_add_pd(s, rest), down), sign);
    } else {
        const piece_value v = erf_piece<S>(ax);
        return _mm_or_pd(_mm_add_pd(v.c0, v.tail), sign);
    }
}

// x with its low 27 mantissa bits cleared: 26 significant bits, so that its
// square and its product with a 26-bit constant are exact.
QLM_ERF_INLINE __m128d high_half(__m128d x) { return _mm_and_pd(x, qlm::vector::splat_bits(0xFFFFFFFFF8000000ull)); }

// e^(-(sh + sl)) G(a) as vh + vl (vl zero unless S::exact), for 0 <= a
// below 28 and sh below 710: every such value is normal.  `la` is the
// rounding of a, zero but for CdfNorm HA.
template <class S>
QLM_ERF_INLINE void erfc_magnitude(__m128d a, __m128d la, __m128d sh, __m128d sl, __m128d& vh, __m128d& vl) {
    constexpr double kInvStep = 0x1.71547652b82fep+6;  // 64/ln2
    constexpr double kStep1 = 0x1.62e42fefa0000p-7;    // ln2/64 to 36 bits: n kStep1 exact for |n| < 2^17
    constexpr double kStep2 = 0x1.cf79abc9e3b3ap-46;
    constexpr double kShifter = 0x1.8p52;
    const __m128d shifted = _mm_add_pd(_mm_mul_pd(sh, splat(-kInvStep)), splat(kShifter));
    const __m128d nd = _mm_sub_pd(shifted, splat(kShifter));
    __m128d r = _mm_sub_pd(_mm_sub_pd(_mm_sub_pd(_mm_setzero_pd(), sh), _mm_mul_pd(nd, splat(kStep1))),
                           _mm_mul_pd(nd, splat(kStep2)));
    if constexpr (S::exact_square) r = _mm_sub_pd(r, sl);
    __m128d p;
    if constexpr (S::exp_degree == 5) {
        p = _mm_add_pd(splat(1.0 / 24), _mm_mul_pd(r, _mm_add_pd(splat(1.0 / 120), _mm_mul_pd(r, splat(1.0 / 720)))));
        p = _mm_add_pd(splat(0.5), _mm_mul_pd(r, _mm_add_pd(splat(1.0 / 6), _mm_mul_pd(r, p))));
    } else if constexpr (S::exp_degree == 3) {
        p = _mm_add_pd(splat(0.5), _mm_mul_pd(r, splat(1.0 / 6)));
    } else {
        p = splat(0.5);
    }
    p = _mm_add_pd(r, _mm_mul_pd(_mm_mul_pd(r, r), p));

    const __m128i n = _mm_castpd_si128(shifted);
    const double* t0 = exp2_table[_mm_cvtsi128_si32(n) & 63];
    const double* t1 = exp2_table[_mm_extract_epi32(n, 2) & 63];
    const __m128d ta = _mm_loadu_pd(t0), tb = _mm_loadu_pd(t1);
    const __m128d th = _mm_unpacklo_pd(ta, tb);
    // 2^k: k + 1023 in the low 12 bits of each lane, shifted into the exponent.
    const __m128d scale = _mm_castsi128_pd(
        _mm_slli_epi64(_mm_add_epi32(_mm_srai_epi32(n, 6), _mm_set1_epi32(1023)), 52));

    const piece_value g = g_piece<S>(a);
    if constexpr (S::exact) {
        const __m128d tl = _mm_add_pd(_mm_unpackhi_pd(ta, tb), _mm_mul_pd(th, p));
        __m128d gl = g.tail;
        // G(a + la) = G(a) + (2 a G - 2/sqrt pi) la to first order.
        // G itself, not c0: 2aG and 2/sqrt pi nearly cancel for large a.
        const __m128d gv = _mm_add_pd(g.c0, gl);
        gl = _mm_add_pd(gl, _mm_mul_pd(_mm_sub_pd(_mm_mul_pd(_mm_add_pd(a, a), gv), splat(0x1.20dd750429b6dp+0)), la));
        __m128d ph, pl;
        two_prod(th, g.c0, ph, pl);
        pl = _mm_add_pd(pl, _mm_add_pd(_mm_mul_pd(th, gl), _mm_mul_pd(tl, _mm_add_pd(g.c0, gl))));
        const __m128d s = _mm_add_pd(ph, pl);
        vl = _mm_mul_pd(_mm_sub_pd(pl, _mm_sub_pd(s, ph)), scale);
        vh = _mm_mul_pd(s, scale);
    } else {
        // th c0 + (th c0 p + tl c0 + th (1 + p) tail): one rounding of size,
        // the bracket being below a tenth of the sum.
        const __m128d tl = _mm_unpackhi_pd(ta, tb);
        const __m128d lead = _mm_mul_pd(th, g.c0);
        const __m128d e = _mm_add_pd(th, _mm_mul_pd(th, p));
        const __m128d rest =
            _mm_add_pd(_mm_add_pd(_mm_mul_pd(lead, p), _mm_mul_pd(tl, g.c0)), _mm_mul_pd(e, g.tail));
        vh = _mm_mul_pd(_mm_add_pd(lead, rest), scale);
        vl = _mm_setzero_pd();
    }
}

// 2 - (vh + vl) where `negative`, vh + vl elsewhere.  2 >= vh, so the
// two-sum needs no ordering test.
template <class S>
QLM_ERF_INLINE __m128d reflect(__m128d vh, __m128d vl, __m128d negative) {
    __m128d m;
    if constexpr (S::exact) {
        const __m128d s = _mm_sub_pd(splat(2.0), vh);
        m = _mm_add_pd(s, _mm_sub_pd(_mm_sub_pd(_mm_sub_pd(splat(2.0), s), vh), vl));
        vh = _mm_add_pd(vh, vl);
    } else {
        m = _mm_sub_pd(splat(2.0), vh);
    }
    return _mm_blendv_pd(vh, m, negative);
}

template <class S>
QLM_ERF_INLINE __m128d erfc_pair(__m128d x) {
    const __m128d sign = sign_of(x);
    const __m128d ax = _mm_xor_pd(x, sign);
    __m128d sh = _mm_mul_pd(ax, ax), sl = _mm_setzero_pd();
    if constexpr (S::exact_square) {
        const __m128d xh = high_half(ax);
        sh = _mm_mul_pd(xh, xh);
        sl = _mm_mul_pd(_mm_sub_pd(ax, xh), _mm_add_pd(ax, xh));
    }
    __m128d vh, vl;
    erfc_magnitude<S>(ax, _mm_setzero_pd(), sh, sl, vh, vl);
    return reflect<S>(vh, vl, sign);
}

template <class S>
QLM_ERF_INLINE __m128d cdfnorm_pair(__m128d x) {
    constexpr double kInvSqrt2 = 0x1.6a09e667f3bcdp-1;
    constexpr double kInvSqrt2High = 0x1.6a09e6p-1;        // 25 bits: its product with xh is exact
    constexpr double kInvSqrt2Low = 0x1.9fcef32422cbfp-27;  // 1/sqrt 2 - kInvSqrt2High
    // CdfNorm(x) = erfc(u)/2 with u = -x/sqrt 2: u >= 0 where x <= 0.
    const __m128d sign = sign_of(x);
    const __m128d ax = _mm_xor_pd(x, sign);
    __m128d a = _mm_mul_pd(ax, splat(kInvSqrt2));
    __m128d sh = _mm_mul_pd(splat(0.5), _mm_mul_pd(ax, ax)), sl = _mm_setzero_pd(), la = _mm_setzero_pd();
    if constexpr (S::exact_square) {
        const __m128d xh = high_half(ax), xl = _mm_sub_pd(ax, xh);
        sh = _mm_mul_pd(_mm_mul_pd(xh, xh), splat(0.5));
        sl = _mm_mul_pd(_mm_mul_pd(xl, _mm_add_pd(ax, xh)), splat(0.5));
    }
    if constexpr (S::exact) {
        const __m128d xh = high_half(ax), xl = _mm_sub_pd(ax, xh);
        // |x|/sqrt 2 = xh c_hi (exact) + rest, rounded once into a, and la
        // the rounding.
        const __m128d lead = _mm_mul_pd(xh, splat(kInvSqrt2High));
        const __m128d rest = _mm_add_pd(_mm_mul_pd(xh, splat(kInvSqrt2Low)), _mm_mul_pd(xl, splat(kInvSqrt2)));
        a = _mm_add_pd(lead, rest);
        la = _mm_add_pd(_mm_sub_pd(lead, a), rest);
    }
    __m128d vh, vl;
    erfc_magnitude<S>(a, la, sh, sl, vh, vl);
    // x > 0 is u < 0: 2 - erfc(|u|).  The sign mask of -0 counts as u >= 0.
    const __m128d positive = _mm_cmpgt_pd(x, _mm_setzero_pd());
    return _mm_mul_pd(reflect<S>(vh, vl, positive), splat(0.5));
}

// ---- plans for the group loops of lane_loops.h ---------------------------

// A double routine: screen |x| below the high word Limit, the fast pair
// Value::pair, and the per-element routine Element (a plan of group_driver.h)
// for every lane the screen rejects, with its result and status.
template <uint32_t Limit, class Value, class Element>
struct double_plan {
    static bool screen(__m128d x0, __m128d x1) {
        return qlm::vector::all_magnitudes_below(qlm::vector::high_words(x0, x1), static_cast<int32_t>(Limit), 0xF);
    }
    QLM_ERF_INLINE static __m128d fast(__m128d x) { return Value::pair(x); }
    static bool lane_ok(double x) { return screen(_mm_set1_pd(x), _mm_set1_pd(x)); }
    static void reject(int32_t i, const double* a, double* y) { scalar_element<Element>(i, a, y); }
};

// The group loop of the double routines: four doubles a turn in two pairs,
// inputs and outputs in 8-byte halves.  A rejected group keeps the fast
// results of its screened lanes and recomputes the rejected lanes, in
// order, through the per-element routine; the elements after the last
// whole group run the same arithmetic on one lane, each screened by itself.
template <class R>
void run_double_groups(int32_t n, const double* a, double* y) {
    using qlm::vector::load_halves;
    using qlm::vector::store_halves;
    int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        const __m128d x0 = load_halves(a + i), x1 = load_halves(a + i + 2);
        const bool ok = R::screen(x0, x1);
        store_halves(y + i, R::fast(x0));
        store_halves(y + i + 2, R::fast(x1));
        if (ok) continue;
        for (int k = 0; k < 4; ++k)
            if (!R::lane_ok(a[i + k])) R::reject(i + k, a, y);
    }
    for (; i < n; ++i) {
        if (R::lane_ok(a[i])) _mm_storel_pd(y + i, R::fast(_mm_set1_pd(a[i])));
        else R::reject(i, a, y);
    }
}

// A single routine: the float bits of |x| below Limit, each four floats
// widened to two pairs for Value::pair and narrowed once at the end.  A
// rejected lane is recomputed, in order, through the per-element routine
// Element.
template <uint32_t Limit, class Value, class Element>
struct single_plan {
    static constexpr bool has_zero_groups = false;
    static bool screen(__m128 x) {
        return qlm::vector::all_magnitudes_below(_mm_castps_si128(x), static_cast<int32_t>(Limit), 0xF);
    }
    QLM_ERF_INLINE static __m128 fast(__m128 x) {
        const __m128d lo = Value::pair(_mm_cvtps_pd(x));
        const __m128d hi = Value::pair(_mm_cvtps_pd(_mm_movehl_ps(x, x)));
        return _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi));
    }
    // Bit k set where lane k of |x| passes.
    static int screen_lanes(__m128 x) { return lanes_below(x, Limit); }
    static int lanes_below(__m128 x, uint32_t limit) {
        const __m128i m = _mm_and_si128(_mm_castps_si128(x), _mm_set1_epi32(0x7FFFFFFF));
        return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(m, _mm_set1_epi32(static_cast<int32_t>(limit)))));
    }
    // The group of eight from a[i], its fast values stored, with the lanes
    // outside the screen in `rejected`.
    static void finish_group(int32_t i, int rejected, __m128, __m128, const float* a, float* y) {
        for (; rejected != 0; rejected &= rejected - 1) scalar_element<Element>(i + __builtin_ctz(rejected), a, y);
    }
    // One element after the last whole group.
    static void one(int32_t i, const float* a, float* y) {
        const __m128 x = _mm_set1_ps(a[i]);
        if (screen(x)) _mm_store_ss(y + i, fast(x));
        else scalar_element<Element>(i, a, y);
    }
};

// A single routine with an underflowing tail (Erfc above 9.19, CdfNorm
// below -12.9): the pairs compute in double, where every result of the tail
// is still normal, so that Value::pair is trusted up to |x| < Trusted (the
// high word limit of the double plan) and its one rounding to float gives
// the denormal or zero itself.  Such a lane keeps the group's value and
// raises UNDERFLOW when that value is below the least normal float: the
// error path runs once per such lane, with no recompute.  A group whose
// eight raw bit patterns all lie in [ZeroLow, ZeroLow + ZeroSpan), where the
// result is +0 (erfc above 10.5, CdfNorm below -15), stores zeros without
// the arithmetic.  Lanes beyond Trusted, NaN and the infinities go to the
// per-element routine as before.
template <uint32_t Limit, uint32_t Trusted, uint32_t ZeroLow, uint32_t ZeroSpan, class Value, class Element>
struct single_tail_plan : single_plan<Limit, Value, Element> {
    using base = single_plan<Limit, Value, Element>;
    static constexpr bool has_zero_groups = true;
    static constexpr const char* name = Element::name;
    static bool all_zero(__m128 x0, __m128 x1) {
        using qlm::vector::all_unsigned_in_range;
        return all_unsigned_in_range(_mm_castps_si128(x0), ZeroLow, ZeroSpan, 0xF) &&
               all_unsigned_in_range(_mm_castps_si128(x1), ZeroLow, ZeroSpan, 0xF);
    }
    // A lane outside the screen whose value y[i] is already stored when it
    // is trusted.
    static void finish(int32_t i, bool trusted, const float* a, float* y) {
        if (!trusted) {
            scalar_element<Element>(i, a, y);
        } else if (y[i] < 0x1p-126f) {
            qlm::frame::raise_status(VXM_STATUS_UNDERFLOW, i, a, a, y, y, name);
        }
    }
    static void finish_group(int32_t i, int rejected, __m128 x0, __m128 x1, const float* a, float* y) {
        const int trusted = base::lanes_below(x0, Trusted) | (base::lanes_below(x1, Trusted) << 4);
        for (; rejected != 0; rejected &= rejected - 1) {
            const int k = __builtin_ctz(rejected);
            finish(i + k, (trusted >> k) & 1, a, y);
        }
    }
    static void one(int32_t i, const float* a, float* y) {
        const __m128 x = _mm_set1_ps(a[i]);
        const bool trusted = base::lanes_below(x, Trusted) & 1;
        if (trusted) _mm_store_ss(y + i, base::fast(x));
        if (!base::screen(x)) finish(i, trusted, a, y);
    }
};

// The group loop of the single routines: eight floats a turn in two fours.
// A rejected group keeps the fast results of its screened lanes, computed
// for the whole group as on the fast lane, and finishes only the rejected
// lanes, in order.  Elements after the last whole group run the same
// arithmetic on one lane, each screened by itself.
template <class R>
void run_single_groups(int32_t n, const float* a, float* y) {
    int32_t i = 0;
    for (; n - i >= 8; i += 8) {
        const __m128 x0 = _mm_loadu_ps(a + i), x1 = _mm_loadu_ps(a + i + 4);
        bool pass;
        if constexpr (requires { R::group_passes(x0, x1); }) pass = R::group_passes(x0, x1);
        else pass = R::screen(x0) && R::screen(x1);
        if constexpr (R::has_zero_groups) {
            if (!pass && R::all_zero(x0, x1)) {
                _mm_storeu_ps(y + i, _mm_setzero_ps());
                _mm_storeu_ps(y + i + 4, _mm_setzero_ps());
                for (int k = 0; k < 8; ++k)
                    qlm::frame::raise_status(VXM_STATUS_UNDERFLOW, i + k, a, a, y, y, R::name);
                continue;
            }
        }
        _mm_storeu_ps(y + i, R::fast(x0));
        _mm_storeu_ps(y + i + 4, R::fast(x1));
        if (pass) continue;
        const int rejected = ~(R::screen_lanes(x0) | (R::screen_lanes(x1) << 4)) & 0xFF;
        R::finish_group(i, rejected, x0, x1, a, y);
    }
    for (; i < n; ++i) R::one(i, a, y);
}

template <class S>
struct erf_value {
    QLM_ERF_INLINE static __m128d pair(__m128d x) { return erf_pair<S>(x); }
};
template <class S>
struct erfc_value {
    QLM_ERF_INLINE static __m128d pair(__m128d x) { return erfc_pair<S>(x); }
};
template <class S>
struct cdfnorm_value {
    QLM_ERF_INLINE static __m128d pair(__m128d x) { return cdfnorm_pair<S>(x); }
};

}  // namespace qlm::special::erf_vector

// Kernel routines under the default frame (round to nearest, no x87).
#define QLM_ERF_DOUBLE_KERNEL(routine, ...)                                                          \
    extern "C" void routine(int32_t n, const double* a, double* y) {                                 \
        qlm::frame::kernel_frame frame;                                                              \
        if (n > 0) qlm::special::erf_vector::run_double_groups<__VA_ARGS__>(n, a, y); \
    }
#define QLM_ERF_SINGLE_KERNEL(routine, ...)                                 \
    extern "C" void routine(int32_t n, const float* a, float* y) {          \
        qlm::frame::kernel_frame frame;                                     \
        if (n > 0) qlm::special::erf_vector::run_single_groups<__VA_ARGS__>(n, a, y); \
    }

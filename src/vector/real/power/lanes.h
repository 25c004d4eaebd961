// Lane types and exact-arithmetic helpers shared by the root, power and
// trigonometric kernels.
//
// The arithmetic of a kernel is written once as a template over its lane
// type: `double` for one element, `v2df` for a pair in one SSE register (GCC
// vector extensions, which compile to packed instructions even though vector
// sources are built without the auto-vectoriser).  The same source thus
// serves the wide groups, the ragged end and the group recompute, and the
// three agree bit for bit.  Table look-ups go lane by lane through `gather`.
#pragma once

#include <bit>
#include <smmintrin.h>

#include <cstdint>

namespace qlm::lanes {

typedef double v2df __attribute__((vector_size(16)));
typedef int64_t v2di __attribute__((vector_size(16)));

inline int64_t bits(double x) { return std::bit_cast<int64_t>(x); }
inline v2di bits(v2df x) { return reinterpret_cast<v2di>(x); }
inline double from_bits(int64_t b) { return std::bit_cast<double>(b); }
inline v2df from_bits(v2di b) { return reinterpret_cast<v2df>(b); }

template <typename V> struct lane;
template <> struct lane<double> {
    using ints = int64_t;
    static constexpr int width = 1;
};
template <> struct lane<v2df> {
    using ints = v2di;
    static constexpr int width = 2;
};
template <typename V> using ints_of = typename lane<V>::ints;

template <typename V> inline V splat(double c) {
    if constexpr (lane<V>::width == 1) return c;
    else return V{c, c};
}

// table[index] of a table of rows, lane by lane: one row per lane.
template <int Column, int Width>
inline double gather(const double (*table)[Width], int64_t index) {
    return table[index][Column];
}
template <int Column, int Width>
inline v2df gather(const double (*table)[Width], v2di index) {
    return v2df{table[index[0]][Column], table[index[1]][Column]};
}

// Lane-wise choice: where mask (all ones or all zeros) is set, a, else b.
template <typename V> inline V select(ints_of<V> mask, V a, V b) {
    return from_bits((mask & bits(a)) | (~mask & bits(b)));
}
template <typename V> inline ints_of<V> less(V a, V b) {
    if constexpr (lane<V>::width == 1) return a < b ? -1 : 0;
    else return a < b;
}

template <typename V> inline V abs(V x) { return from_bits(bits(x) & INT64_MAX); }

// x rounded to the nearest integer, ties to even, by ROUNDSD/ROUNDPD: the
// same integer as the shifter sum (x + 1.5 2^52) - 1.5 2^52, whose shifter
// is even, but not waiting for the sum.
inline double round_even(double x) {
    return _mm_cvtsd_f64(_mm_round_sd(_mm_setzero_pd(), _mm_set_sd(x), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
}
inline v2df round_even(v2df x) {
    return reinterpret_cast<v2df>(_mm_round_pd(reinterpret_cast<__m128d>(x), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
}

typedef uint64_t v2du __attribute__((vector_size(16)));
// Logical shift right of the bits, one instruction in SSE (the arithmetic
// shift of 64-bit lanes takes three).
inline int64_t shift_right(int64_t b, int k) { return static_cast<int64_t>(static_cast<uint64_t>(b) >> k); }
inline v2di shift_right(v2di b, int k) { return reinterpret_cast<v2di>(reinterpret_cast<v2du>(b) >> k); }

// s + e = a + b exactly.
template <typename V> inline void two_sum(V a, V b, V& s, V& e) {
    s = a + b;
    const V bb = s - a;
    e = (a - (s - bb)) + (b - bb);
}
// s + e = a + b exactly, when |a| >= |b| or a is 0.
template <typename V> inline void fast_two_sum(V a, V b, V& s, V& e) {
    s = a + b;
    e = b - (s - a);
}
// hi + lo = a with each half of at most 26 bits (Dekker's split).
template <typename V> inline void split(V a, V& hi, V& lo) {
    const V t = a * 134217729.0;  // 2^27 + 1
    hi = t - (t - a);
    lo = a - hi;
}
// p + e = a * b exactly (barring overflow), without a fused multiply-add.
template <typename V> inline void two_prod(V a, V b, V& p, V& e) {
    p = a * b;
    V ah, al, bh, bl;
    split(a, ah, al);
    split(b, bh, bl);
    e = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}

}  // namespace qlm::lanes

namespace qlm::lanes {

// The sign-cleared high word of a double, as the group screens read it.
inline uint32_t high_word(double x) {
    return static_cast<uint32_t>(std::bit_cast<uint64_t>(x) >> 32) & 0x7FFFFFFF;
}

// The group screen: every high word below `limit`.  The differences are ANDed
// and the group passes when the sign bit of the result is set, one branch
// for the whole group.
template <int Count>
inline bool all_below(const double* p, uint32_t limit) {
    uint32_t acc = 0xFFFFFFFF;
    for (int k = 0; k < Count; ++k) acc &= high_word(p[k]) - limit;
    return (acc >> 31) != 0;
}

inline v2df load2(const double* p) { return v2df{p[0], p[1]}; }
inline void store2(double* p, v2df v) {
    p[0] = v[0];
    p[1] = v[1];
}

// x where x is ±0, else v: keeps the sign of a zero that the arithmetic loses.
inline double keep_zero(double x, double v) { return x == 0.0 ? x : v; }
inline v2df keep_zero(v2df x, v2df v) { return select<v2df>(x == 0.0, x, v); }

}  // namespace qlm::lanes

namespace qlm::lanes {

// Four floats widened to two pairs of doubles, and back.
inline void load_widened(const float* p, v2df& lo, v2df& hi) {
    lo = v2df{p[0], p[1]};
    hi = v2df{p[2], p[3]};
}
inline void store_narrowed(float* p, v2df lo, v2df hi) {
    p[0] = static_cast<float>(lo[0]);
    p[1] = static_cast<float>(lo[1]);
    p[2] = static_cast<float>(hi[0]);
    p[3] = static_cast<float>(hi[1]);
}

// Four elements as two pairs of doubles, and back: single elements are
// widened and narrowed.
inline void load_pairs(const double* p, v2df& lo, v2df& hi) {
    lo = load2(p);
    hi = load2(p + 2);
}
inline void load_pairs(const float* p, v2df& lo, v2df& hi) { load_widened(p, lo, hi); }
inline void store_pairs(double* p, v2df lo, v2df hi) {
    store2(p, lo);
    store2(p + 2, hi);
}
inline void store_pairs(float* p, v2df lo, v2df hi) { store_narrowed(p, lo, hi); }

// The sign-cleared bits of a float, as the single screens read them.
inline uint32_t abs_bits(float x) { return std::bit_cast<uint32_t>(x) & 0x7FFFFFFF; }

}  // namespace qlm::lanes

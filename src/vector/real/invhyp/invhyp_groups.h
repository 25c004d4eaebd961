// The group loop of the vector Asinh, Acosh and Atanh kernels.
//
// Double routines take four elements a turn in two pairs, single routines
// eight in two fours, loaded unaligned.  The screen is an unsigned range
// test on the bits before any arithmetic: the high word of each double
// (the float's bits in single), with the sign cleared where the function
// is odd.  A group whose every lane passes runs the pair arithmetic of
// invhyp_pairs.h; a group with any failing lane is recomputed element by
// element, and so are the elements after the last whole group: a lane that
// passes runs the same pair arithmetic on its own, so that it keeps the
// result it has in a passing group, and every other lane goes to the
// family's per-element routine (group_driver.h's plan), which gives the
// special results and raises the statuses.
//
// A kernel K supplies: using T; using per_element (the per-element plan);
// the screen as static constexpr bool odd and uint32_t low, width (the
// accepted words are low <= word < low + width, unsigned); static v2
// pair(v2) on pairs of doubles (single routines widen to it), and
// optionally four(__m128) for single routines with a four-lane step.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/invhyp/invhyp_pairs.h"
#include "vector/real/lane_loops.h"
#include "vector/real/special/group_driver.h"

namespace qlm::invhyp {

template <class K>
inline bool passes(__m128i words, int lanes_mask) {
    if constexpr (K::odd) words = _mm_and_si128(words, _mm_set1_epi32(0x7FFFFFFF));
    return qlm::vector::all_unsigned_in_range(words, K::low, K::width, lanes_mask);
}

template <class K>
inline void double_element(int32_t i, const double* a, double* y) {
    const v2 x = _mm_load1_pd(a + i);
    if (passes<K>(qlm::vector::high_words(x, x), 0x1)) _mm_store_sd(y + i, K::pair(x));
    else qlm::special::scalar_element<typename K::per_element>(i, a, y);
}

template <class K>
void run_double(int32_t n, const double* a, double* y) {
    int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        const v2 x0 = qlm::vector::load_halves(a + i), x1 = qlm::vector::load_halves(a + i + 2);
        if (passes<K>(qlm::vector::high_words(x0, x1), 0xF)) {
            const v2 y0 = K::pair(x0), y1 = K::pair(x1);
            qlm::vector::store_halves(y + i, y0);
            qlm::vector::store_halves(y + i + 2, y1);
        } else {
            for (int l = 0; l < 4; ++l) double_element<K>(i + l, a, y);
        }
    }
    for (; i < n; ++i) double_element<K>(i, a, y);
}

// Four floats through two pairs of doubles, rounded once to float, or
// through the kernel's own four-lane form.  Inlined whatever GCC's size
// heuristics say: a call per four would keep the group's two fours from
// overlapping.
template <class K>
inline __attribute__((always_inline)) __m128 four(__m128 x) {
    if constexpr (K::four != nullptr) return K::four(x);
    else return through_pairs<K::pair>(x);
}

template <class K>
inline void single_element(int32_t i, const float* a, float* y) {
    const __m128 x = _mm_load1_ps(a + i);
    if (passes<K>(_mm_castps_si128(x), 0x1)) _mm_store_ss(y + i, four<K>(x));
    else qlm::special::scalar_element<typename K::per_element>(i, a, y);
}

template <class K>
void run_single(int32_t n, const float* a, float* y) {
    int32_t i = 0;
    for (; n - i >= 8; i += 8) {
        const __m128 x0 = _mm_loadu_ps(a + i), x1 = _mm_loadu_ps(a + i + 4);
        if (passes<K>(_mm_castps_si128(x0), 0xF) && passes<K>(_mm_castps_si128(x1), 0xF)) {
            const __m128 y0 = four<K>(x0), y1 = four<K>(x1);
            _mm_storeu_ps(y + i, y0);
            _mm_storeu_ps(y + i + 4, y1);
        } else {
            for (int l = 0; l < 8; ++l) single_element<K>(i + l, a, y);
        }
    }
    for (; i < n; ++i) single_element<K>(i, a, y);
}

template <class K>
void run_groups(int32_t n, const typename K::T* a, typename K::T* y) {
    if constexpr (sizeof(typename K::T) == 8) run_double<K>(n, a, y);
    else run_single<K>(n, a, y);
}

// A kernel of the family: the pair formula Pair, the per-element plan
// PerElement, and the screen of its type (DoubleLow/Width on the high
// word, SingleLow/Width on a float's bits; Odd clears the sign first).
template <class PerElement, v2 (*Pair)(v2), bool Odd, uint32_t DoubleLow, uint32_t DoubleWidth, uint32_t SingleLow,
          uint32_t SingleWidth, __m128 (*Four)(__m128) = nullptr>
struct vector_kernel {
    static constexpr __m128 (*four)(__m128) = Four;
    using per_element = PerElement;
    using T = typename PerElement::T;
    static constexpr bool odd = Odd;
    static constexpr uint32_t low = sizeof(T) == 8 ? DoubleLow : SingleLow;
    static constexpr uint32_t width = sizeof(T) == 8 ? DoubleWidth : SingleWidth;
    static v2 pair(v2 x) { return Pair(x); }
};

}  // namespace qlm::invhyp

// Defines kernel routine `routine` running vector kernel `...` under the
// kernel frame with round to nearest and the x87 stage `x87`.
#define QLM_INVHYP_KERNEL(routine, x87, ...)                                                \
    extern "C" void routine(int32_t n, const typename __VA_ARGS__::T* a, typename __VA_ARGS__::T* y) { \
        qlm::frame::kernel_frame frame{qlm::frame::kRoundNearest, x87};                      \
        if (n <= 0) return;                                                                  \
        qlm::invhyp::run_groups<__VA_ARGS__>(n, a, y);                                       \
    }

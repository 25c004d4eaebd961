// The loop plans of the compiled element-wise routines (Add, Sub, Mul, Sqr).
//
// An operation supplies `scalar(a, b)` and `wide(a, b)` on the element type;
// the plan decides which elements go which way.  Sqr passes its one input
// as both a and b and ignores a, so the loads of a are dead and vanish.
//
// Double plan: up to 6 elements, or any overlap between an input and y that
// is not exact aliasing, go the scalar loop, which runs in order of index
// and so gives the element-by-element result even for overlapping arrays.
// From 8 elements on, one scalar element aligns y to 16 bytes when y is
// 8 mod 16 (y at 4 mod 8 cannot be aligned and runs scalar), then the main
// loop takes eight elements a turn in four pairs with aligned stores.  b is
// loaded aligned when it is aligned at the peel's end, else in 8-byte
// halves; a is always loaded in halves.  The ragged end runs scalar.
//
// Single plan: below 32 elements, or with y not 4-byte aligned, the scalar
// loop runs.  Otherwise k = (16 - y mod 16) / 4 scalar elements align y,
// the main loop takes 32 elements a turn with aligned stores (a loaded
// unaligned, b aligned where it can be), and the ragged end runs scalar.
// There is no overlap test: overlapping distinct arrays get no
// element-order guarantee.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace qlm::vector::elementwise {

// Which input, if any, is the output itself.  The copies differ only in
// which streams the overlap test looks at.
enum class aliasing { none, a_is_y, b_is_y, both_are_y };

template <typename Op, typename T>
inline void scalar_loop(int32_t from, int32_t to, const T* a, const T* b, T* y) {
    for (int32_t i = from; i < to; ++i) y[i] = Op::scalar(a[i], b[i]);
}

inline bool disjoint(const double* p, const double* y, int32_t n) {
    const uint64_t span = uint64_t{8} * static_cast<uint32_t>(n);
    const auto pa = reinterpret_cast<uintptr_t>(p);
    const auto ya = reinterpret_cast<uintptr_t>(y);
    return ya > pa ? ya - pa >= span : pa - ya >= span;
}

inline __m128d load_halves(const double* p) { return _mm_loadh_pd(_mm_load_sd(p), p + 1); }

template <bool Aligned>
inline __m128d load_b(const double* p) {
    if constexpr (Aligned) return _mm_load_pd(p);
    else return load_halves(p);
}

template <bool Aligned>
inline __m128 load_b(const float* p) {
    if constexpr (Aligned) return _mm_load_ps(p);
    else return _mm_loadu_ps(p);
}

template <typename Op, bool BAligned>
void double_main(int32_t from, int32_t to, const double* a, const double* b, double* y) {
    for (int32_t i = from; i < to; i += 8) {
        const __m128d s0 = Op::wide(load_halves(a + i), load_b<BAligned>(b + i));
        const __m128d s1 = Op::wide(load_halves(a + i + 2), load_b<BAligned>(b + i + 2));
        const __m128d s2 = Op::wide(load_halves(a + i + 4), load_b<BAligned>(b + i + 4));
        const __m128d s3 = Op::wide(load_halves(a + i + 6), load_b<BAligned>(b + i + 6));
        _mm_store_pd(y + i, s0);
        _mm_store_pd(y + i + 2, s1);
        _mm_store_pd(y + i + 4, s2);
        _mm_store_pd(y + i + 6, s3);
    }
}

template <typename Op, aliasing Alias>
void double_body(int32_t n, const double* a, const double* b, double* y) {
    if (n <= 6) return scalar_loop<Op>(0, n, a, b, y);
    if constexpr (Alias == aliasing::none || Alias == aliasing::b_is_y)
        if (!disjoint(a, y, n)) return scalar_loop<Op>(0, n, a, b, y);
    if constexpr (Alias == aliasing::none || Alias == aliasing::a_is_y)
        if (!disjoint(b, y, n)) return scalar_loop<Op>(0, n, a, b, y);
    if (n < 8) return scalar_loop<Op>(0, n, a, b, y);

    int32_t k = static_cast<int32_t>(reinterpret_cast<uintptr_t>(y) & 15);
    if (k != 0 && k % 8 != 0) return scalar_loop<Op>(0, n, a, b, y);
    if (k != 0) k = 1;
    if (n < k + 8) return scalar_loop<Op>(0, n, a, b, y);

    const int32_t m = n - (n - k) % 8;
    scalar_loop<Op>(0, k, a, b, y);
    if ((reinterpret_cast<uintptr_t>(b + k) & 15) == 0) double_main<Op, true>(k, m, a, b, y);
    else double_main<Op, false>(k, m, a, b, y);
    scalar_loop<Op>(m, n, a, b, y);
}

// The whole double routine after the frame's entry.
template <typename Op>
void run_double(int32_t n, const double* a, const double* b, double* y) {
    if (n <= 0) return;
    if (a == y && b == y) double_body<Op, aliasing::both_are_y>(n, a, b, y);  // in-place Sqr
    else if (a == y) double_body<Op, aliasing::a_is_y>(n, a, b, y);
    else if (b == y) double_body<Op, aliasing::b_is_y>(n, a, b, y);
    else double_body<Op, aliasing::none>(n, a, b, y);
}

template <typename Op, bool BAligned>
void single_main(int32_t from, int32_t to, const float* a, const float* b, float* y) {
    for (int32_t i = from; i < to; i += 32) {
        __m128 s[8];
        for (int j = 0; j < 8; ++j)
            s[j] = Op::wide(_mm_loadu_ps(a + i + 4 * j), load_b<BAligned>(b + i + 4 * j));
        for (int j = 0; j < 8; ++j) _mm_store_ps(y + i + 4 * j, s[j]);
    }
}

template <typename Op>
void run_single(int32_t n, const float* a, const float* b, float* y) {
    if (n <= 0) return;
    const auto ya = reinterpret_cast<uintptr_t>(y);
    if (n < 32 || (ya & 3) != 0) return scalar_loop<Op>(0, n, a, b, y);
    const int32_t k = (ya & 15) != 0 ? static_cast<int32_t>((16 - (ya & 15)) / 4) : 0;
    if (n < k + 32) return scalar_loop<Op>(0, n, a, b, y);
    const int32_t m = n - (n - k) % 32;
    scalar_loop<Op>(0, k, a, b, y);
    if ((reinterpret_cast<uintptr_t>(b + k) & 15) == 0) single_main<Op, true>(k, m, a, b, y);
    else single_main<Op, false>(k, m, a, b, y);
    scalar_loop<Op>(m, n, a, b, y);
}

inline void run(int32_t n, const double* a, const double* b, double* y, auto op) {
    run_double<decltype(op)>(n, a, b, y);
}
inline void run(int32_t n, const float* a, const float* b, float* y, auto op) {
    run_single<decltype(op)>(n, a, b, y);
}

}  // namespace qlm::vector::elementwise

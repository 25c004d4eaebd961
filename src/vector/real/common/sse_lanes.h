// One face for the SSE registers of float and double, so that a routine
// whose plan is the same in both precisions is written once.  `lanes<T>`
// gives the register type, its width in elements, the bit patterns of the
// type, and the few operations the element-wise families use.
#pragma once

#include <smmintrin.h>

#include <cstdint>

namespace qlm::vector {

template <typename T>
struct lanes;

template <>
struct lanes<double> {
    using vec = __m128d;
    using bits = uint64_t;
    static constexpr int width = 2;
    static constexpr bits sign_bit = 0x8000000000000000ull;

    static vec load(const double* p) { return _mm_load_pd(p); }
    static vec loadu(const double* p) { return _mm_loadu_pd(p); }
    static void storeu(double* p, vec v) { _mm_storeu_pd(p, v); }
    static vec set1(double v) { return _mm_set1_pd(v); }
    static vec set1_bits(bits v) { return _mm_castsi128_pd(_mm_set1_epi64x(static_cast<int64_t>(v))); }
    static vec add(vec a, vec b) { return _mm_add_pd(a, b); }
    static vec sub(vec a, vec b) { return _mm_sub_pd(a, b); }
    static vec mul(vec a, vec b) { return _mm_mul_pd(a, b); }
    static vec div(vec a, vec b) { return _mm_div_pd(a, b); }
    static vec and_(vec a, vec b) { return _mm_and_pd(a, b); }
    static vec andnot(vec a, vec b) { return _mm_andnot_pd(a, b); }
    static vec or_(vec a, vec b) { return _mm_or_pd(a, b); }
    static vec cmpeq(vec a, vec b) { return _mm_cmpeq_pd(a, b); }
    static vec cmpnlt(vec a, vec b) { return _mm_cmpnlt_pd(a, b); }
    static int movemask(vec v) { return _mm_movemask_pd(v); }
    template <int Imm>
    static vec round(vec v) { return _mm_round_pd(v, Imm); }

    // A register of `count` (< width) elements from p, the other lanes
    // holding `filler`, and the matching partial store.
    static vec load_partial(const double* p, int, double filler) {
        return _mm_loadh_pd(_mm_load_sd(p), &filler);
    }
    static void store_partial(double* p, vec v, int) { _mm_store_sd(p, v); }
};

template <>
struct lanes<float> {
    using vec = __m128;
    using bits = uint32_t;
    static constexpr int width = 4;
    static constexpr bits sign_bit = 0x80000000u;

    static vec load(const float* p) { return _mm_load_ps(p); }
    static vec loadu(const float* p) { return _mm_loadu_ps(p); }
    static void storeu(float* p, vec v) { _mm_storeu_ps(p, v); }
    static vec set1(float v) { return _mm_set1_ps(v); }
    static vec set1_bits(bits v) { return _mm_castsi128_ps(_mm_set1_epi32(static_cast<int32_t>(v))); }
    static vec add(vec a, vec b) { return _mm_add_ps(a, b); }
    static vec sub(vec a, vec b) { return _mm_sub_ps(a, b); }
    static vec mul(vec a, vec b) { return _mm_mul_ps(a, b); }
    static vec div(vec a, vec b) { return _mm_div_ps(a, b); }
    static vec and_(vec a, vec b) { return _mm_and_ps(a, b); }
    static vec andnot(vec a, vec b) { return _mm_andnot_ps(a, b); }
    static vec or_(vec a, vec b) { return _mm_or_ps(a, b); }
    static vec cmpeq(vec a, vec b) { return _mm_cmpeq_ps(a, b); }
    static vec cmpnlt(vec a, vec b) { return _mm_cmpnlt_ps(a, b); }
    static int movemask(vec v) { return _mm_movemask_ps(v); }
    template <int Imm>
    static vec round(vec v) { return _mm_round_ps(v, Imm); }

    static vec load_partial(const float* p, int count, float filler) {
        alignas(16) float t[4] = {filler, filler, filler, filler};
        for (int j = 0; j < count; ++j) t[j] = p[j];
        return _mm_load_ps(t);
    }
    static void store_partial(float* p, vec v, int count) {
        alignas(16) float t[4];
        _mm_store_ps(t, v);
        for (int j = 0; j < count; ++j) p[j] = t[j];
    }
};

}  // namespace qlm::vector

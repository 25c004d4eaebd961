// Where a generator's raw elements go: scaled to doubles, scaled in double
// and rounded to floats on the store, or stored as they are.  A generator's
// element loop is written once over these and instantiated three times.
//
// Scaling is x * scale + a with scale = (b - a) times the generator's unit,
// taken once before the loop.  Elements convert exactly through the 2^52
// trick: or-ing x below the exponent of 2^52 and subtracting 2^52.
#pragma once

#include <cstdint>

#include <emmintrin.h>

namespace qlm::random {

inline double exact_double(uint64_t x) {  // x below 2^52
    union { uint64_t u; double d; } v{x | 0x4330000000000000u};
    return v.d - 4503599627370496.0;
}

struct double_sink {
    double* r;
    double scale, a;
    void store(int32_t i, uint64_t x) const { r[i] = exact_double(x) * scale + a; }
    // Two elements held in the low 32 bits of each 64-bit lane.
    void store2(int32_t i, __m128i x) const {
        const __m128i bits = _mm_or_si128(x, _mm_set1_epi64x(0x4330000000000000));
        const __m128d d = _mm_sub_pd(_mm_castsi128_pd(bits), _mm_set1_pd(4503599627370496.0));
        _mm_storeu_pd(r + i, _mm_add_pd(_mm_mul_pd(d, _mm_set1_pd(scale)), _mm_set1_pd(a)));
    }
};

struct single_sink {
    float* r;
    double scale, a;
    void store(int32_t i, uint64_t x) const { r[i] = static_cast<float>(exact_double(x) * scale + a); }
    void store2(int32_t i, __m128i x) const {
        const __m128i bits = _mm_or_si128(x, _mm_set1_epi64x(0x4330000000000000));
        const __m128d d = _mm_sub_pd(_mm_castsi128_pd(bits), _mm_set1_pd(4503599627370496.0));
        const __m128 f = _mm_cvtpd_ps(_mm_add_pd(_mm_mul_pd(d, _mm_set1_pd(scale)), _mm_set1_pd(a)));
        _mm_storel_pi(reinterpret_cast<__m64*>(r + i), f);
    }
};

struct word_sink {
    uint32_t* r;
    void store(int32_t i, uint64_t x) const { r[i] = static_cast<uint32_t>(x); }
    void store2(int32_t i, __m128i x) const {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(r + i), _mm_shuffle_epi32(x, 0x08));
    }
};

}  // namespace qlm::random

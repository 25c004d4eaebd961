// The group loops of the hand-scheduled transcendental kernels.
//
// Double routines take four elements a turn in two pairs, single routines
// eight in two fours.  A group stays on the fast lane when its integer
// screen passes; otherwise the group is recomputed element by element:
// double routines hand each lane's reduced values, saved on the stack, to
// their scalar routine, single routines recompute each element from its
// input.  Elements after the last whole group run the same arithmetic on
// one lane, each screened by itself.  Inputs and outputs are accessed
// unaligned (8-byte halves in double): these loops make no alignment peel.
//
// A routine R supplies:
//   double: bool screen(__m128d, __m128d), bool screen_one(__m128d),
//           __m128d fast(__m128d), struct reduced, void reduce(__m128d,
//           reduced&, reduced&), void scalar(int32_t, const double*,
//           double*, const reduced&)
//   single: bool screen(__m128), bool screen_one(__m128), __m128
//           fast(__m128), void scalar(int32_t, const float*, float*)
#pragma once

#include <smmintrin.h>

#include <cstdint>

namespace qlm::vector {

inline __m128d load_halves(const double* p) { return _mm_loadh_pd(_mm_load_sd(p), p + 1); }
// One unaligned 16-byte store: the same bytes as two 8-byte halves, but
// the high half's store costs no shuffle (GCC does not always merge the
// two halves on its own).
inline void store_halves(double* p, __m128d v) { _mm_storeu_pd(p, v); }

// High words of four doubles, in order, as four 32-bit lanes.
inline __m128i high_words(__m128d x0, __m128d x1) {
    return _mm_castps_si128(
        _mm_shuffle_ps(_mm_castpd_ps(x0), _mm_castpd_ps(x1), _MM_SHUFFLE(3, 1, 3, 1)));
}

// (high word with sign cleared) - threshold, ANDed over the lanes: the group
// passes when the sign bit stays set, that is, when every |high word| is
// below the threshold.
inline bool all_magnitudes_below(__m128i high, int32_t threshold, int lanes_mask) {
    const __m128i d = _mm_sub_epi32(_mm_and_si128(high, _mm_set1_epi32(0x7FFFFFFF)),
                                    _mm_set1_epi32(threshold));
    return (_mm_movemask_ps(_mm_castsi128_ps(d)) & lanes_mask) == lanes_mask;
}

// (word - low) unsigned below width, for every lane in the mask.
inline bool all_unsigned_in_range(__m128i words, uint32_t low, uint32_t width, int lanes_mask) {
    const __m128i bias = _mm_set1_epi32(static_cast<int32_t>(0x80000000u));
    const __m128i d = _mm_xor_si128(_mm_sub_epi32(words, _mm_set1_epi32(static_cast<int32_t>(low))), bias);
    const __m128i lt = _mm_cmplt_epi32(d, _mm_xor_si128(_mm_set1_epi32(static_cast<int32_t>(width)), bias));
    return (_mm_movemask_ps(_mm_castsi128_ps(lt)) & lanes_mask) == lanes_mask;
}

template <class R>
void run_double_groups(int32_t n, const double* a, double* y) {
    int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        const __m128d x0 = load_halves(a + i), x1 = load_halves(a + i + 2);
        if (R::screen(x0, x1)) {
            const __m128d y0 = R::fast(x0), y1 = R::fast(x1);
            store_halves(y + i, y0);
            store_halves(y + i + 2, y1);
            continue;
        }
        typename R::reduced saved[4];
        R::reduce(x0, saved[0], saved[1]);
        R::reduce(x1, saved[2], saved[3]);
        for (int k = 0; k < 4; ++k) R::scalar(i + k, a, y, saved[k]);
    }
    for (; i < n; ++i) {
        const __m128d x = _mm_set1_pd(a[i]);
        if (R::screen_one(x)) {
            _mm_storel_pd(y + i, R::fast(x));
        } else {
            typename R::reduced saved[2];
            R::reduce(x, saved[0], saved[1]);
            R::scalar(i, a, y, saved[0]);
        }
    }
}

// The screen of a group of eight: a routine that gives its screen as a
// lane mask (screen_lanes) is tested with one mask for both fours.
template <class R>
inline bool single_group_passes(__m128 x0, __m128 x1) {
    if constexpr (requires { R::screen_lanes(x0); })
        return _mm_movemask_ps(_mm_and_ps(R::screen_lanes(x0), R::screen_lanes(x1))) == 0xF;
    else
        return R::screen(x0) && R::screen(x1);
}

template <class R>
void run_single_groups(int32_t n, const float* a, float* y) {
    int32_t i = 0;
    for (; n - i >= 8; i += 8) {
        const __m128 x0 = _mm_loadu_ps(a + i), x1 = _mm_loadu_ps(a + i + 4);
        if (single_group_passes<R>(x0, x1)) {
            const __m128 y0 = R::fast(x0), y1 = R::fast(x1);
            _mm_storeu_ps(y + i, y0);
            _mm_storeu_ps(y + i + 4, y1);
            continue;
        }
        for (int k = 0; k < 8; ++k) R::scalar(i + k, a, y);
    }
    for (; i < n; ++i) {
        const __m128 x = _mm_set1_ps(a[i]);
        if (R::screen_one(x)) _mm_store_ss(y + i, R::fast(x));
        else R::scalar(i, a, y);
    }
}

// A double routine whose reduced values are its finished lane values: the
// rejected group hands each lane its value, and F::special(i, a, y) stores
// the result of a special input (and raises its status), returning false
// for an ordinary input, which then takes the saved value.
template <class F>
struct saved_value_kernel {
    struct reduced {
        double value;
    };
    static bool screen(__m128d x0, __m128d x1) { return F::screen(x0, x1); }
    static bool screen_one(__m128d x) { return F::screen_one(x); }
    static __m128d fast(__m128d x) { return F::value(x); }
    static void reduce(__m128d x, reduced& l0, reduced& l1) {
        const __m128d v = F::value(x);
        l0.value = _mm_cvtsd_f64(v);
        l1.value = _mm_cvtsd_f64(_mm_unpackhi_pd(v, v));
    }
    static void scalar(int32_t i, const double* a, double* y, const reduced& s) {
        if (!F::special(i, a, y)) y[i] = s.value;
    }
};

// The scalar routine of a single routine R that serves only what passes
// its screen and hands everything else to the routine Wide: the element
// runs R's formula on one lane, so a recomputed group matches the fast
// lane, and specials keep Wide's results and statuses.
template <class R, class Wide>
void single_scalar_or_wide(int32_t i, const float* a, float* y) {
    const __m128 x = _mm_set1_ps(a[i]);
    if (R::screen(x)) _mm_store_ss(y + i, R::fast(x));
    else Wide::scalar(i, a, y);
}

inline double bits_to_double(uint64_t u) { return _mm_cvtsd_f64(_mm_castsi128_pd(_mm_cvtsi64_si128(static_cast<int64_t>(u)))); }
inline uint64_t double_to_bits(double d) { return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_castpd_si128(_mm_set_sd(d)))); }
inline float bits_to_float(uint32_t u) { return _mm_cvtss_f32(_mm_castsi128_ps(_mm_cvtsi32_si128(static_cast<int32_t>(u)))); }
inline uint32_t float_to_bits(float f) { return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_castps_si128(_mm_set_ss(f)))); }

// The four 32-bit lanes of v, for reading one table row per lane: two
// 64-bit moves split in the integer unit take fewer vector operations than
// four extractions.
struct lane_words {
    uint32_t w[4];
};
inline lane_words words_of(__m128i v) {
    const uint64_t lo = static_cast<uint64_t>(_mm_cvtsi128_si64(v));
    const uint64_t hi = static_cast<uint64_t>(_mm_extract_epi64(v, 1));
    return {{static_cast<uint32_t>(lo), static_cast<uint32_t>(lo >> 32), static_cast<uint32_t>(hi),
             static_cast<uint32_t>(hi >> 32)}};
}

inline __m128d splat_bits(uint64_t u) { return _mm_castsi128_pd(_mm_set1_epi64x(static_cast<int64_t>(u))); }
inline __m128 splat_bits32(uint32_t u) { return _mm_castsi128_ps(_mm_set1_epi32(static_cast<int32_t>(u))); }

}  // namespace qlm::vector

// One slot of a double function whose routine is saved_value_kernel<Value>,
// under the default frame, and the three slots of Value<0>, <1>, <2>.
#define QLM_DOUBLE_VALUE_SLOT(Name, slot, Value)                                                    \
    extern "C" void qlmk_d##Name##_##slot(int32_t n, const double* a, double* y) {                  \
        qlm::frame::kernel_frame frame;                                                             \
        if (n > 0) qlm::vector::run_double_groups<qlm::vector::saved_value_kernel<Value>>(n, a, y); \
    }

#define QLM_DOUBLE_VALUE_SLOTS(Name, Value)  \
    QLM_DOUBLE_VALUE_SLOT(Name, LA, Value<0>) \
    QLM_DOUBLE_VALUE_SLOT(Name, HA, Value<1>) \
    QLM_DOUBLE_VALUE_SLOT(Name, EP, Value<2>)

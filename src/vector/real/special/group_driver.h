// The loop every kernel of the inverse trigonometric, inverse hyperbolic and
// special functions shares: groups with an integer screen, a group
// recompute through the scalar routine, and a ragged end element by element.
//
// A kernel plan K supplies
//   using T;                      element type
//   static constexpr int width;   group width: 4 in double, 8 in single
//   static bool lane_ok(T x);     the screen: an integer test on x's bits
//   static T fast(T x);           the fast formula, trusted for screened lanes
//   static T scalar(T x, int& status);  every element the screen rejects:
//                                 its result and the status it raises
//                                 (0 for none)
//   static constexpr const char* name;  display name for the error path
//
// A group whose every lane passes the screen runs the fast formula; a group
// with any failing lane goes whole through the group recompute, element by
// element: screened-in values by the same fast formula, so that the other
// lanes keep their results, and the rest by the scalar routine.  The elements after the last whole group are each
// screened by themselves.  A status is raised after the element's result is
// stored, so that the error path reads and may replace it.
#pragma once

#include <cstdint>

#include "frame/error_path.h"

namespace qlm::special {

template <class K>
inline void scalar_element(int32_t i, const typename K::T* a, typename K::T* y) {
    int status = 0;
    y[i] = K::lane_ok(a[i]) ? K::fast(a[i]) : K::scalar(a[i], status);
    if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, K::name);
}

template <class K>
void run_unary(int32_t n, const typename K::T* a, typename K::T* y) {
    constexpr int w = K::width;
    int32_t i = 0;
    for (; i + w <= n; i += w) {
        bool ok = true;
        for (int l = 0; l < w; ++l) ok &= K::lane_ok(a[i + l]);
        if (ok) {
            typename K::T r[w];
            for (int l = 0; l < w; ++l) r[l] = K::fast(a[i + l]);
            for (int l = 0; l < w; ++l) y[i + l] = r[l];
        } else {
            for (int l = 0; l < w; ++l) scalar_element<K>(i + l, a, y);
        }
    }
    for (; i < n; ++i) {
        if (K::lane_ok(a[i])) y[i] = K::fast(a[i]);
        else scalar_element<K>(i, a, y);
    }
}

// The two-argument form, for Atan2: the screen and the routines take both
// arguments, and the error path is given both input vectors.
template <class K>
inline void scalar_element2(int32_t i, const typename K::T* a, const typename K::T* b,
                            typename K::T* y) {
    int status = 0;
    y[i] = K::lane_ok(a[i], b[i]) ? K::fast(a[i], b[i]) : K::scalar(a[i], b[i], status);
    if (status != 0) qlm::frame::raise_status(status, i, a, b, y, y, K::name);
}

template <class K>
void run_binary(int32_t n, const typename K::T* a, const typename K::T* b, typename K::T* y) {
    constexpr int w = K::width;
    int32_t i = 0;
    for (; i + w <= n; i += w) {
        bool ok = true;
        for (int l = 0; l < w; ++l) ok &= K::lane_ok(a[i + l], b[i + l]);
        if (ok) {
            typename K::T r[w];
            for (int l = 0; l < w; ++l) r[l] = K::fast(a[i + l], b[i + l]);
            for (int l = 0; l < w; ++l) y[i + l] = r[l];
        } else {
            for (int l = 0; l < w; ++l) scalar_element2<K>(i + l, a, b, y);
        }
    }
    for (; i < n; ++i) {
        if (K::lane_ok(a[i], b[i])) y[i] = K::fast(a[i], b[i]);
        else scalar_element2<K>(i, a, b, y);
    }
}

// High word of a double with the sign cleared, and a float's bits likewise:
// the screens compare these, unsigned, with a threshold.
inline uint32_t abs_high_word(double x) {
    uint64_t b;
    __builtin_memcpy(&b, &x, 8);
    return static_cast<uint32_t>(b >> 32) & 0x7FFFFFFFu;
}
inline uint32_t abs_bits(float x) {
    uint32_t b;
    __builtin_memcpy(&b, &x, 4);
    return b & 0x7FFFFFFFu;
}

// The common head of a unary plan whose screen is |x| below a limit: the
// high word of a double against DoubleLimit, a float's bits against
// SingleLimit, both with the sign cleared.
template <typename Elem, uint32_t DoubleLimit, uint32_t SingleLimit, const char* Name>
struct abs_screen {
    using T = Elem;
    static constexpr const char* name = Name;
    static constexpr int width = sizeof(Elem) == 8 ? 4 : 8;
    static bool lane_ok(Elem x) {
        if constexpr (sizeof(Elem) == 8) return abs_high_word(x) < DoubleLimit;
        else return abs_bits(x) < SingleLimit;
    }
};

// The same for a screen lo <= x < hi on the raw bits (the sign included, so
// that negative x fails): DoubleLow and the span on the high word, SingleLow
// and the span on a float's bits.
template <typename Elem, uint32_t DoubleLow, uint32_t DoubleSpan, uint32_t SingleLow, uint32_t SingleSpan,
          const char* Name>
struct range_screen {
    using T = Elem;
    static constexpr const char* name = Name;
    static constexpr int width = sizeof(Elem) == 8 ? 4 : 8;
    static bool lane_ok(Elem x) {
        if constexpr (sizeof(Elem) == 8) {
            uint64_t b;
            __builtin_memcpy(&b, &x, 8);
            return static_cast<uint32_t>(b >> 32) - DoubleLow < DoubleSpan;
        } else {
            uint32_t b;
            __builtin_memcpy(&b, &x, 4);
            return b - SingleLow < SingleSpan;
        }
    }
};

// The scalar routine of a function on (-1, 1) with poles at +-1: NaN gives
// NaN, +-1 gives +-infinity with SING, beyond gives NaN with ERRDOM.
template <typename Elem>
Elem unit_interval_poles(Elem x, int& status) {
    if (x != x) return x + x;
    if (x == Elem(1) || x == Elem(-1)) {
        status = VXM_STATUS_SING;
        return x / Elem(0);
    }
    status = VXM_STATUS_ERRDOM;
    return __builtin_nanf("");
}

}  // namespace qlm::special

// Defines kernel routine `routine` running plan `...` under the kernel frame
// with round to nearest and the x87 stage `x87` (kX87None for none).
#define QLM_UNARY_KERNEL(routine, x87, ...)                                         \
    extern "C" void routine(int32_t n, const typename __VA_ARGS__::T* a,                  \
                            typename __VA_ARGS__::T* y) {                                 \
        qlm::frame::kernel_frame frame{qlm::frame::kRoundNearest, x87};                                        \
        if (n <= 0) return;                                                               \
        qlm::special::run_unary<__VA_ARGS__>(n, a, y);                                    \
    }
#define QLM_BINARY_KERNEL(routine, x87, ...)                                        \
    extern "C" void routine(int32_t n, const typename __VA_ARGS__::T* a,                  \
                            const typename __VA_ARGS__::T* b, typename __VA_ARGS__::T* y) { \
        qlm::frame::kernel_frame frame{qlm::frame::kRoundNearest, x87};                                        \
        if (n <= 0) return;                                                               \
        qlm::special::run_binary<__VA_ARGS__>(n, a, b, y);                                \
    }
// The same for the routines that leave the mode and MXCSR alone at entry.
#define QLM_UNARY_KERNEL_NO_FRAME(routine, ...)                                            \
    extern "C" void routine(int32_t n, const typename __VA_ARGS__::T* a,                  \
                            typename __VA_ARGS__::T* y) {                                 \
        if (n <= 0) return;                                                               \
        qlm::special::run_unary<__VA_ARGS__>(n, a, y);                                    \
    }

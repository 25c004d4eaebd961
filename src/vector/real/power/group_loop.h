// The group loop of the root, power and trigonometric kernels.
//
// `fast(i)` computes the whole group starting at element i on the wide lane
// and returns false, having stored nothing, when the group's screen fails;
// the group is then recomputed element by element through `element(i)`,
// which screens its one input again and either runs the same arithmetic on
// one lane or takes the special path.  The ragged end after the last whole
// group goes through `element` too.  No alignment peel: loads and stores
// are unaligned.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace qlm::lanes {

template <int Width, typename Fast, typename Element>
inline void run_groups(int32_t n, Fast&& fast, Element&& element) {
    int32_t i = 0;
    for (; n - i >= Width; i += Width)
        if (!fast(i))
            for (int32_t j = 0; j < Width; ++j) element(i + j);
    for (; i < n; ++i) element(i);
}

}  // namespace qlm::lanes

#include "vector/real/power/lanes.h"

namespace qlm::lanes {

// Eight elements a turn in four pairs, for the routines whose wide arithmetic
// holds below a limit: `wide(i, x)` stores the results of the pair (or, at the
// ragged end, the one element) at i; afterwards each lane with |x| at or
// above `limit` (infinities too, NaN not) is redone by `redo(i)`, one at a
// time, while the other lanes keep their wide results.  Single inputs are
// widened to double pair by pair.
template <typename T, typename Wide, typename Redo>
inline void run_eights_redo(int32_t n, const T* a, double limit, Wide&& wide, Redo&& redo) {
    int32_t i = 0;
    for (; n - i >= 8; i += 8) {
        unsigned mask = 0;
        for (int k = 0; k < 8; k += 2) {
            const v2df x = v2df{static_cast<double>(a[i + k]), static_cast<double>(a[i + k + 1])};
            mask |= static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(abs(x) >= limit))) << k;
            wide(i + k, x);
        }
        while (mask != 0) {
            redo(i + __builtin_ctz(mask));
            mask &= mask - 1;
        }
    }
    for (; i < n; ++i) {
        const double x = a[i];
        wide(i, x);
        if (abs(x) >= limit) redo(i);
    }
}

// Stores a lane's results: one element or a pair.
inline void put(double* p, double v) { *p = v; }
inline void put(double* p, v2df v) { store2(p, v); }

}  // namespace qlm::lanes

namespace qlm::lanes {

inline void put(float* p, double v) { *p = static_cast<float>(v); }
inline void put(float* p, v2df v) {
    p[0] = static_cast<float>(v[0]);
    p[1] = static_cast<float>(v[1]);
}

}  // namespace qlm::lanes

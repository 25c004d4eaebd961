// The loop shapes of the rounding family, written once for float and double.
//
// aligned_to_input (Ceil, Floor, Trunc): the p elements up to a's first
// 16-byte boundary run as masked registers whose missing lanes hold the
// harmless filler 0.75, the main loop takes eight elements a turn, and the
// rest runs as masked registers again.  These kernels align to the input,
// not the output, and never run a scalar instruction on the ragged ends.
//
// four_then_scalar (Rint, NearbyInt): four elements a turn, then the scalar
// form of the same rounding instruction.
#pragma once

#include <algorithm>
#include <cstdint>

#include "vector/real/common/sse_lanes.h"

namespace qlm::vector::rounding {

// Missing lanes of a partial register: any finite value would do; 0.75 is
// the one the family has always used.
inline constexpr double kFiller = 0.75;

template <typename T, typename F>
void masked_registers(int32_t from, int32_t to, const T* a, T* y, F round) {
    using L = lanes<T>;
    for (int32_t i = from; i < to; i += L::width) {
        const int count = std::min<int32_t>(L::width, to - i);
        if (count == L::width) L::storeu(y + i, round(L::loadu(a + i)));
        else L::store_partial(y + i, round(L::load_partial(a + i, count, T(kFiller))), count);
    }
}

// `round` maps one register to its rounded value.
template <typename T, typename F>
void aligned_to_input(int32_t n, const T* a, T* y, F round) {
    using L = lanes<T>;
    constexpr int32_t kTurn = 8;
    if (n <= 0) return;
    const auto misalign = static_cast<int32_t>(reinterpret_cast<uintptr_t>(a) & 15);
    const int32_t to_boundary = misalign == 0 ? 0 : (16 - misalign + int32_t(sizeof(T)) - 1) / int32_t(sizeof(T));
    const int32_t p = std::min(n, to_boundary);
    masked_registers(0, p, a, y, round);
    const int32_t m = p + (n - p) / kTurn * kTurn;
    for (int32_t i = p; i < m; i += kTurn) {
        typename L::vec r[kTurn / L::width];
        for (int j = 0; j < kTurn / L::width; ++j) r[j] = round(L::loadu(a + i + j * L::width));
        for (int j = 0; j < kTurn / L::width; ++j) L::storeu(y + i + j * L::width, r[j]);
    }
    masked_registers(m, n, a, y, round);
}

template <int Imm>
inline void round_scalar(const double* a, double* y) {
    const __m128d v = _mm_load_sd(a);
    _mm_store_sd(y, _mm_round_sd(v, v, Imm));
}
template <int Imm>
inline void round_scalar(const float* a, float* y) {
    const __m128 v = _mm_load_ss(a);
    _mm_store_ss(y, _mm_round_ss(v, v, Imm));
}

template <int Imm, typename T>
void four_then_scalar(int32_t n, const T* a, T* y) {
    using L = lanes<T>;
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        typename L::vec r[4 / L::width];
        for (int j = 0; j < 4 / L::width; ++j) r[j] = L::template round<Imm>(L::loadu(a + i + j * L::width));
        for (int j = 0; j < 4 / L::width; ++j) L::storeu(y + i + j * L::width, r[j]);
    }
    for (; i < n; ++i) round_scalar<Imm>(a + i, y + i);
}

}  // namespace qlm::vector::rounding

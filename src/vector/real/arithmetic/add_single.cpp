// Single addition, y[i] = a[i] + b[i].
//
// Below 32 elements, or with y not 4-byte aligned, the scalar loop runs.
// Otherwise k = (16 - y mod 16) / 4 scalar elements align y, the main loop
// takes 32 elements a turn with aligned stores (a loaded unaligned, b
// aligned where it can be), and the ragged end runs scalar.  There is no
// overlap test: overlapping distinct arrays get no element-order guarantee.
#include <xmmintrin.h>

#include <cstdint>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"

namespace {

inline void add_scalar(int32_t from, int32_t to, const float* a, const float* b, float* y) {
    for (int32_t i = from; i < to; ++i) y[i] = a[i] + b[i];
}

template <bool BAligned>
inline __m128 load_b(const float* p) {
    if constexpr (BAligned) return _mm_load_ps(p);
    else return _mm_loadu_ps(p);
}

template <bool BAligned>
void add_main(int32_t from, int32_t to, const float* a, const float* b, float* y) {
    for (int32_t i = from; i < to; i += 32) {
        __m128 s[8];
        for (int j = 0; j < 8; ++j) s[j] = _mm_add_ps(_mm_loadu_ps(a + i + 4 * j), load_b<BAligned>(b + i + 4 * j));
        for (int j = 0; j < 8; ++j) _mm_store_ps(y + i + 4 * j, s[j]);
    }
}

}  // namespace

extern "C" void qlmk_sAdd_HA(int32_t n, const float* a, const float* b, float* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    const auto ya = reinterpret_cast<uintptr_t>(y);
    if (n < 32 || (ya & 3) != 0) return add_scalar(0, n, a, b, y);
    const int32_t k = (ya & 15) != 0 ? static_cast<int32_t>((16 - (ya & 15)) / 4) : 0;
    if (n < k + 32) return add_scalar(0, n, a, b, y);
    const int32_t m = n - (n - k) % 32;
    add_scalar(0, k, a, b, y);
    if ((reinterpret_cast<uintptr_t>(b + k) & 15) == 0) add_main<true>(k, m, a, b, y);
    else add_main<false>(k, m, a, b, y);
    add_scalar(m, n, a, b, y);
}

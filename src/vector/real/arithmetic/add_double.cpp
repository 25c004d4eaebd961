// Double addition, y[i] = a[i] + b[i]: the worked member of the kernel frame.
//
// Plan: up to 6 elements, or any overlap between an input and y that is not
// exact aliasing, go the scalar loop, which runs in order of index and so
// gives the element-by-element result even for overlapping arrays.  From 8
// elements on, one scalar element aligns y to 16 bytes when y is 8 mod 16
// (y at 4 mod 8 cannot be aligned and runs scalar), then the main loop takes
// eight elements a turn in four pairs with aligned stores.  b is loaded
// aligned when it is aligned at the peel's end, else in 8-byte halves; a is
// always loaded in halves.  The ragged end runs scalar.
#include <emmintrin.h>

#include <cstdint>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"

namespace {

// Which input, if any, is the output itself.  The copies differ only in
// which streams the overlap test looks at.
enum class aliasing { none, a_is_y, b_is_y };

inline void add_scalar(int32_t from, int32_t to, const double* a, const double* b, double* y) {
    for (int32_t i = from; i < to; ++i) y[i] = a[i] + b[i];
}

inline bool disjoint(const double* p, const double* y, int32_t n) {
    const uint64_t span = uint64_t{8} * static_cast<uint32_t>(n);
    const auto pa = reinterpret_cast<uintptr_t>(p);
    const auto ya = reinterpret_cast<uintptr_t>(y);
    return ya > pa ? ya - pa >= span : pa - ya >= span;
}

inline __m128d load_halves(const double* p) { return _mm_loadh_pd(_mm_load_sd(p), p + 1); }

template <bool BAligned>
inline __m128d load_b(const double* p) {
    if constexpr (BAligned) return _mm_load_pd(p);
    else return load_halves(p);
}

template <bool BAligned>
void add_main(int32_t from, int32_t to, const double* a, const double* b, double* y) {
    for (int32_t i = from; i < to; i += 8) {
        const __m128d s0 = _mm_add_pd(load_halves(a + i), load_b<BAligned>(b + i));
        const __m128d s1 = _mm_add_pd(load_halves(a + i + 2), load_b<BAligned>(b + i + 2));
        const __m128d s2 = _mm_add_pd(load_halves(a + i + 4), load_b<BAligned>(b + i + 4));
        const __m128d s3 = _mm_add_pd(load_halves(a + i + 6), load_b<BAligned>(b + i + 6));
        _mm_store_pd(y + i, s0);
        _mm_store_pd(y + i + 2, s1);
        _mm_store_pd(y + i + 4, s2);
        _mm_store_pd(y + i + 6, s3);
    }
}

template <aliasing Alias>
void add_body(int32_t n, const double* a, const double* b, double* y) {
    if (n <= 6) return add_scalar(0, n, a, b, y);
    if constexpr (Alias != aliasing::a_is_y)
        if (!disjoint(a, y, n)) return add_scalar(0, n, a, b, y);
    if constexpr (Alias != aliasing::b_is_y)
        if (!disjoint(b, y, n)) return add_scalar(0, n, a, b, y);
    if (n < 8) return add_scalar(0, n, a, b, y);

    int32_t k = static_cast<int32_t>(reinterpret_cast<uintptr_t>(y) & 15);
    if (k != 0 && k % 8 != 0) return add_scalar(0, n, a, b, y);
    if (k != 0) k = 1;
    if (n < k + 8) return add_scalar(0, n, a, b, y);

    const int32_t m = n - (n - k) % 8;
    add_scalar(0, k, a, b, y);
    if ((reinterpret_cast<uintptr_t>(b + k) & 15) == 0) add_main<true>(k, m, a, b, y);
    else add_main<false>(k, m, a, b, y);
    add_scalar(m, n, a, b, y);
}

}  // namespace

extern "C" void qlmk_dAdd_HA(int32_t n, const double* a, const double* b, double* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    if (a == y) add_body<aliasing::a_is_y>(n, a, b, y);
    else if (b == y) add_body<aliasing::b_is_y>(n, a, b, y);
    else add_body<aliasing::none>(n, a, b, y);
}

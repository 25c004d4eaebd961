// Uniform distributions on [a, b): double, single and integer.
//
// The generator's own scaling (x * ((b - a) unit) + a) can round onto b, or
// below a for a negative range; with the accurate flag (method bit 30) every
// value is then clamped to [a, b], maximum first.  The clamp runs in packed
// lanes, eight values a pass, after peeling to 16-byte alignment; short
// or misaligned outputs go one at a time.
//
// The integer uniform draws doubles on [a, b) in blocks of 1024 into a
// local buffer, without the accurate flag, and rounds each down.
#include <emmintrin.h>

#include <cmath>

#include "random/distributions/uniform.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

template <typename T>
void clamp_scalar(T* r, int32_t n, T a, T b) {
    for (int32_t i = 0; i < n; ++i) {
        const T v = r[i] < a ? a : r[i];
        r[i] = v > b ? b : v;
    }
}

void clamp(double* r, int32_t n, double a, double b) {
    const auto address = reinterpret_cast<std::uintptr_t>(r);
    if (n < 8 || (address & 7) != 0) return clamp_scalar(r, n, a, b);
    int32_t i = 0;
    if (address & 15) clamp_scalar(r, 1, a, b), i = 1;
    const __m128d lo = _mm_set1_pd(a), hi = _mm_set1_pd(b);
    for (; i + 8 <= n; i += 8)
        for (int k = 0; k < 8; k += 2)
            _mm_store_pd(r + i + k, _mm_min_pd(_mm_max_pd(_mm_load_pd(r + i + k), lo), hi));
    clamp_scalar(r + i, n - i, a, b);
}

void clamp(float* r, int32_t n, float a, float b) {
    const auto address = reinterpret_cast<std::uintptr_t>(r);
    if (n < 8 || (address & 3) != 0) return clamp_scalar(r, n, a, b);
    int32_t i = 0;
    while (i < n && (reinterpret_cast<std::uintptr_t>(r + i) & 15)) clamp_scalar(r + i, 1, a, b), ++i;
    const __m128 lo = _mm_set1_ps(a), hi = _mm_set1_ps(b);
    for (; i + 8 <= n; i += 8)
        for (int k = 0; k < 8; k += 4)
            _mm_store_ps(r + i + k, _mm_min_ps(_mm_max_ps(_mm_load_ps(r + i + k), lo), hi));
    clamp_scalar(r + i, n - i, a, b);
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t _vxsdRngUniform(int32_t method, void* stream, int32_t n, double* r, double a, double b) {
    const int32_t status = record_of(stream).gen_double(stream, n, r, a, b);
    if (status < 0) return status;
    if ((method & VXS_METHOD_ACCURATE) && n > 0) clamp(r, n, a, b);
    return status;
}

QLM_EXPORT int32_t _vxssRngUniform(int32_t method, void* stream, int32_t n, float* r, float a, float b) {
    const int32_t status = record_of(stream).gen_single(stream, n, r, a, b);
    if (status < 0) return status;
    if ((method & VXS_METHOD_ACCURATE) && n > 0) clamp(r, n, a, b);
    return status;
}

QLM_EXPORT int32_t _vxsiRngUniform(int32_t, void* stream, int32_t n, int32_t* r, int32_t a, int32_t b) {
    if (n < 1) return ok;
    const double wa = a, wb = b;
    double block[integer_uniform_block];
    for (int32_t done = 0; done < n; done += integer_uniform_block) {
        const int32_t len = n - done < integer_uniform_block ? n - done : integer_uniform_block;
        const int32_t status = _vxsdRngUniform(0, stream, len, block, wa, wb);
        if (status < 0) return status;
        for (int32_t i = 0; i < len; ++i) r[done + i] = static_cast<int32_t>(std::floor(block[i]));
    }
    return ok;
}

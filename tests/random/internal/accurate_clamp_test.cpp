// The accurate pass of the float uniforms over every alignment and length,
// fed by a registered generator that writes values outside [a, b] on
// purpose: every third value above b, every third below a.
#include <gtest/gtest.h>

#include <vector>

#include "qlm/qlm_vxs.h"

namespace {

template <typename T>
void outside(int32_t n, T* r, T a, T b) {
    for (int32_t i = 0; i < n; ++i) r[i] = i % 3 == 0 ? b + 1 : i % 3 == 1 ? a - 1 : (a + b) / 2;
}
int32_t init(int32_t, void*, int32_t, const uint32_t*) { return 0; }
int32_t gen_single(void*, int32_t n, float* r, float a, float b) { return outside(n, r, a, b), 0; }
int32_t gen_double(void*, int32_t n, double* r, double a, double b) { return outside(n, r, a, b), 0; }
int32_t gen_integer(void*, int32_t, void*) { return 0; }

template <typename T, typename F>
void check_all_shapes(void* s, F uniform) {
    std::vector<T> buffer(64 + 4);
    for (int offset = 0; offset < 4; ++offset) {
        for (int32_t n = 1; n <= 40; ++n) {
            T* r = buffer.data() + offset;
            buffer.back() = T(42);
            ASSERT_EQ(uniform(VXS_METHOD_ACCURATE, s, n, r, T(2), T(3)), 0);
            for (int32_t i = 0; i < n; ++i) {
                const T want = i % 3 == 0 ? T(3) : i % 3 == 1 ? T(2) : T(2.5);
                ASSERT_EQ(r[i], want) << "offset " << offset << " n " << n << " i " << i;
            }
            ASSERT_EQ(buffer.back(), T(42));
            // Without the flag the values stand.
            ASSERT_EQ(uniform(0, s, n, r, T(2), T(3)), 0);
            ASSERT_EQ(r[0], T(4));
        }
    }
}

TEST(AccurateClamp, EveryLengthAndAlignment) {
    const vxs_brng_record record = {20, 1, 1, 4, 32, init, gen_single, gen_double, gen_integer};
    const int32_t brng = __vxsRegisterBrng(&record);
    ASSERT_GE(brng, 0xF00000);
    void* s = nullptr;
    ASSERT_EQ(__vxsNewStreamEx(&s, brng, 0, nullptr), 0);
    check_all_shapes<double>(s, _vxsdRngUniform);
    check_all_shapes<float>(s, _vxssRngUniform);
    __vxsDeleteStream(&s);
}

}  // namespace

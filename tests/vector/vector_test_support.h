// Shared pieces of the vector-function tests: seeded inputs, a recorder of
// the error path's callbacks, and a check of a kernel against an element
// reference at every count and element offset.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "qlm/qlm_vxm.h"

namespace qlm::test {

// Values with random sign, significand and binary exponent in [lo, hi].
template <typename T>
std::vector<T> spread_values(std::size_t n, uint32_t seed, int lo, int hi) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> mant(1.0, 2.0);
    std::uniform_int_distribution<int> expo(lo, hi);
    std::vector<T> v(n);
    for (T& x : v) x = static_cast<T>(std::ldexp(mant(gen), expo(gen)) * (gen() & 1 ? -1 : 1));
    return v;
}

template <typename T>
bool same_bits(T x, T y) {
    return std::memcmp(&x, &y, sizeof x) == 0;
}

// Records every call of the error callback on this thread; the callback
// returns 0 so that the kernel's results are written back unchanged.
struct status_recorder {
    struct call {
        int32_t status, index;
        std::string name;
    };
    static inline thread_local std::vector<call> calls;
    static int32_t callback(qlm_vxm_error_record* r) {
        calls.push_back({r->status, r->index, r->name});
        return 0;
    }
    status_recorder() {
        calls.clear();
        qlm_vxm_kernel_SetMode(VXM_HA | VXM_ERRMODE_CALLBACK);
        qlm_vxm_kernel_SetErrorCallBack(callback);
        qlm_vxm_kernel_ClearErrStatus();
    }
    ~status_recorder() {
        qlm_vxm_kernel_ClearErrorCallBack();
        qlm_vxm_kernel_SetMode(VXM_BUILTIN_DEFAULT_MODE);
    }
    std::vector<int32_t> indices() const {
        std::vector<int32_t> v;
        for (const call& c : calls) v.push_back(c.index);
        return v;
    }
};

// Runs `kernel(n, in, out)` for every n in [0, max_n] with the input and
// output at every element offset within 16 bytes, and compares each output
// element bit for bit with `reference(x)`; elements outside [0, n) must
// keep their sentinel.  Two-input kernels bind their second input first.
template <typename T>
void expect_elementwise(const std::vector<T>& inputs, int max_n,
                        const std::function<void(int32_t, const T*, T*)>& kernel,
                        const std::function<T(std::size_t)>& reference, const char* what) {
    constexpr int kOffsets = 16 / sizeof(T);
    const T sentinel = T(-12345.5);
    for (int n = 0; n <= max_n; ++n)
        for (int oa = 0; oa < kOffsets; ++oa)
            for (int oy = 0; oy < kOffsets; ++oy) {
                std::vector<T> in(max_n + kOffsets), out(max_n + 2 * kOffsets, sentinel);
                for (int i = 0; i < n; ++i) in[oa + i] = inputs[i];
                kernel(n, in.data() + oa, out.data() + oy);
                for (int i = 0; i < max_n + kOffsets; ++i) {
                    const bool inside = i >= oy && i < oy + n;
                    const T want = inside ? reference(i - oy) : sentinel;
                    const T got = out[i];
                    ASSERT_TRUE(same_bits(got, want) || (std::isnan(got) && std::isnan(want)))
                        << what << " n=" << n << " offsets " << oa << "," << oy << " element " << i - oy
                        << " input " << (inside ? inputs[i - oy] : T(0)) << " got " << got << " want " << want;
                }
            }
}

}  // namespace qlm::test

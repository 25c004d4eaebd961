// Pack and unpack against plain compiled gather and scatter loops doing the
// same moves, in one run: stride 3, a scattered index vector, and a mask
// with every other entry set, in cache (4 Ki elements) and out of it
// (4 Mi elements).
#include <cstdint>
#include <vector>

#include "bench_support.h"
#include "qlm/qlm_vxm.h"

namespace {

constexpr int64_t kInCache = 4096;
constexpr int64_t kOutOfCache = 4 << 20;
constexpr int64_t kStride = 3;

template <typename T>
struct operands {
    explicit operands(int64_t n) : a(n * kStride), y(n * kStride), index(n), mask(n) {
        for (int64_t i = 0; i < n * kStride; ++i) a[i] = static_cast<T>(i) * T(0.25);
        for (int64_t i = 0; i < n; ++i) {
            index[i] = static_cast<int32_t>((i * 7919) % n);
            mask[i] = static_cast<int32_t>(i & 1);
        }
    }
    std::vector<T> a, y;
    std::vector<int32_t> index, mask;
};

template <typename T>
__attribute__((noinline)) void plain_pack_i(int64_t n, const T* a, int64_t s, T* y) {
    for (int64_t i = 0; i < n; ++i) y[i] = a[i * s];
}
template <typename T>
__attribute__((noinline)) void plain_pack_v(int64_t n, const T* a, const int32_t* ix, T* y) {
    for (int64_t i = 0; i < n; ++i) y[i] = a[ix[i]];
}
template <typename T>
__attribute__((noinline)) void plain_pack_m(int64_t n, const T* a, const int32_t* m, T* y) {
    int64_t k = 0;
    for (int64_t i = 0; i < n; ++i)
        if (m[i]) y[k++] = a[i];
}
template <typename T>
__attribute__((noinline)) void plain_unpack_i(int64_t n, const T* a, T* y, int64_t s) {
    for (int64_t i = 0; i < n; ++i) y[i * s] = a[i];
}
template <typename T>
__attribute__((noinline)) void plain_unpack_v(int64_t n, const T* a, T* y, const int32_t* ix) {
    for (int64_t i = 0; i < n; ++i) y[ix[i]] = a[i];
}
template <typename T>
__attribute__((noinline)) void plain_unpack_m(int64_t n, const T* a, T* y, const int32_t* m) {
    int64_t k = 0;
    for (int64_t i = 0; i < n; ++i)
        if (m[i]) y[i] = a[k++];
}

// `which` selects the function: 0 PackI, 1 PackV, 2 PackM, 3 UnpackI,
// 4 UnpackV, 5 UnpackM; `ours` picks ours or the plain loop.
template <typename T>
void run(benchmark::State& state, int which, bool ours) {
    const int64_t n = state.range(0);
    operands<T> o(n);
    constexpr bool dbl = sizeof(T) == 8;
    for (auto _ : state) {
        T* a = o.a.data();
        T* y = o.y.data();
        switch (which) {
            case 0:
                if (ours) dbl ? _vxmdPackI(n, (const double*)a, kStride, (double*)y) : _vxmsPackI(n, (const float*)a, kStride, (float*)y);
                else plain_pack_i(n, a, kStride, y);
                break;
            case 1:
                if (ours) dbl ? _vxmdPackV(n, (const double*)a, o.index.data(), (double*)y) : _vxmsPackV(n, (const float*)a, o.index.data(), (float*)y);
                else plain_pack_v(n, a, o.index.data(), y);
                break;
            case 2:
                if (ours) dbl ? _vxmdPackM(n, (const double*)a, o.mask.data(), (double*)y) : _vxmsPackM(n, (const float*)a, o.mask.data(), (float*)y);
                else plain_pack_m(n, a, o.mask.data(), y);
                break;
            case 3:
                if (ours) dbl ? _vxmdUnpackI(n, (const double*)a, (double*)y, kStride) : _vxmsUnpackI(n, (const float*)a, (float*)y, kStride);
                else plain_unpack_i(n, a, y, kStride);
                break;
            case 4:
                if (ours) dbl ? _vxmdUnpackV(n, (const double*)a, (double*)y, o.index.data()) : _vxmsUnpackV(n, (const float*)a, (float*)y, o.index.data());
                else plain_unpack_v(n, a, y, o.index.data());
                break;
            default:
                if (ours) dbl ? _vxmdUnpackM(n, (const double*)a, (double*)y, o.mask.data()) : _vxmsUnpackM(n, (const float*)a, (float*)y, o.mask.data());
                else plain_unpack_m(n, a, y, o.mask.data());
                break;
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

const char* const kNames[] = {"PackI", "PackV", "PackM", "UnpackI", "UnpackV", "UnpackM"};

}  // namespace

int main(int argc, char** argv) {
    for (int which = 0; which < 6; ++which)
        for (const char* t : {"d", "s"})
            for (bool ours : {true, false}) {
                const std::string name = std::string(ours ? "" : "plain_") + t + kNames[which];
                auto* b = benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& s) {
                    if (t[0] == 'd') run<double>(s, which, ours);
                    else run<float>(s, which, ours);
                });
                b->Arg(kInCache)->Arg(kOutOfCache);
                for (const char* size : {"/4096", "/4194304"})
                    if (ours) qlm::bench::compare(name + size, "plain_" + name + size);
            }
    return qlm::bench::run_and_compare(argc, argv);
}

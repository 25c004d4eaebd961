// Double and single Add against a plain compiled loop and against a copy of
// the same bytes.  In cache (4 Ki elements) the plain loop is the peer; out
// of cache (8 Mi elements) the copy's bandwidth is the ceiling: Add moves
// 24 bytes an element (two reads, one write), a copy moves 16, so the
// comparison is by bytes per second.
#include <cstring>

#include "bench_support.h"
#include "qlm/qlm_vxm.h"

namespace {

using qlm::bench::aligned_buffer;

template <typename T>
struct operands {
    explicit operands(std::size_t n) : a(n), b(n), y(n) {
        for (std::size_t i = 0; i < n; ++i) {
            a.data[i] = static_cast<T>(i) * T(0.5);
            b.data[i] = T(1) / static_cast<T>(i + 1);
            y.data[i] = T(0);
        }
    }
    aligned_buffer<T> a, b, y;
};

template <typename T>
void set_bytes(benchmark::State& state, std::size_t per_element) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0) *
                            static_cast<int64_t>(per_element));
}

void BM_dAdd(benchmark::State& state) {
    operands<double> o(state.range(0));
    for (auto _ : state) {
        _vxmdAdd(static_cast<int32_t>(state.range(0)), o.a.data, o.b.data, o.y.data);
        benchmark::ClobberMemory();
    }
    set_bytes<double>(state, 24);
}

__attribute__((noinline)) void plain_add(int n, const double* a, const double* b, double* y) {
    for (int i = 0; i < n; ++i) y[i] = a[i] + b[i];
}

void BM_dAdd_plain_loop(benchmark::State& state) {
    operands<double> o(state.range(0));
    for (auto _ : state) {
        plain_add(static_cast<int>(state.range(0)), o.a.data, o.b.data, o.y.data);
        benchmark::ClobberMemory();
    }
    set_bytes<double>(state, 24);
}

// Copy of 1.5 times the bytes of one array, so that it moves the same 24
// bytes an element as Add and the two times compare bandwidth directly.
void BM_dAdd_copy_bandwidth(benchmark::State& state) {
    const std::size_t n = state.range(0);
    aligned_buffer<double> from(n * 3 / 2), to(n * 3 / 2);
    // Both buffers are touched first, so the loop measures copying, not page faults.
    std::memset(from.data, 1, n * 3 / 2 * sizeof(double));
    std::memset(to.data, 0, n * 3 / 2 * sizeof(double));
    for (auto _ : state) {
        std::memcpy(to.data, from.data, n * 3 / 2 * sizeof(double));
        benchmark::ClobberMemory();
    }
    set_bytes<double>(state, 24);
}

void BM_sAdd(benchmark::State& state) {
    operands<float> o(state.range(0));
    for (auto _ : state) {
        _vxmsAdd(static_cast<int32_t>(state.range(0)), o.a.data, o.b.data, o.y.data);
        benchmark::ClobberMemory();
    }
    set_bytes<float>(state, 12);
}

__attribute__((noinline)) void plain_add_single(int n, const float* a, const float* b, float* y) {
    for (int i = 0; i < n; ++i) y[i] = a[i] + b[i];
}

void BM_sAdd_plain_loop(benchmark::State& state) {
    operands<float> o(state.range(0));
    for (auto _ : state) {
        plain_add_single(static_cast<int>(state.range(0)), o.a.data, o.b.data, o.y.data);
        benchmark::ClobberMemory();
    }
    set_bytes<float>(state, 12);
}

constexpr int64_t kInCache = 4096;
constexpr int64_t kOutOfCache = 8 << 20;

BENCHMARK(BM_dAdd)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(BM_dAdd_plain_loop)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(BM_dAdd_copy_bandwidth)->Arg(kOutOfCache);
BENCHMARK(BM_sAdd)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(BM_sAdd_plain_loop)->Arg(kInCache)->Arg(kOutOfCache);

}  // namespace

int main(int argc, char** argv) {
    using qlm::bench::compare;
    compare("BM_dAdd/4096", "BM_dAdd_plain_loop/4096");
    compare("BM_dAdd/8388608", "BM_dAdd_copy_bandwidth/8388608");
    compare("BM_dAdd/8388608", "BM_dAdd_plain_loop/8388608");
    compare("BM_sAdd/4096", "BM_sAdd_plain_loop/4096");
    compare("BM_sAdd/8388608", "BM_sAdd_plain_loop/8388608");
    return qlm::bench::run_and_compare(argc, argv);
}

// The arithmetic family against its ceilings and peers, in one run.
//
// Out of cache (8 Mi elements) Add, Sub, Mul, Sqr and Abs are bound by
// memory: each is compared with a copy of the same number of bytes (24 an
// element in double for two inputs and one output, 16 for one input), so
// the ratio reads directly as a share of the copy bandwidth.  In cache
// (4 Ki elements) the peer is the plain compiled loop.  Division: double
// Div LA against double Div HA, single Div EP and LA against single Div HA,
// double Inv LA against HA, and each HA against the plain compiled loop,
// at 4 Ki and 1000 elements.
#include <cstring>

#include "bench_support.h"
#include "qlm/qlm_vxm.h"

namespace {

using qlm::bench::aligned_buffer;

constexpr int64_t kInCache = 4096;
constexpr int64_t kOutOfCache = 8 << 20;

template <typename T>
struct operands {
    explicit operands(std::size_t n) : a(n), b(n), y(n) {
        for (std::size_t i = 0; i < n; ++i) {
            a.data[i] = T(0.75) + static_cast<T>(i % 1013) * T(0.5);
            b.data[i] = T(1) + T(1) / static_cast<T>(i % 977 + 1);
        }
    }
    aligned_buffer<T> a, b, y;
};

template <typename T, typename K>
void binary(benchmark::State& state, K kernel) {
    operands<T> o(state.range(0));
    for (auto _ : state) {
        kernel(static_cast<int32_t>(state.range(0)), o.a.data, o.b.data, o.y.data);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename T, typename K>
void unary(benchmark::State& state, K kernel) {
    operands<T> o(state.range(0));
    for (auto _ : state) {
        kernel(static_cast<int32_t>(state.range(0)), o.b.data, o.y.data);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// A copy of `bytes_per_element` · n bytes: the bandwidth ceiling.
template <int BytesPerElement>
void copy_bandwidth(benchmark::State& state) {
    const std::size_t bytes = static_cast<std::size_t>(state.range(0)) * BytesPerElement / 2;
    aligned_buffer<char> from(bytes), to(bytes);
    std::memset(from.data, 1, bytes);
    for (auto _ : state) {
        std::memcpy(to.data, from.data, bytes);
        benchmark::ClobberMemory();
    }
}

// Plain compiled loops, kept out of line so each is one call like ours.
#define PLAIN_BINARY(name, T, expr)                                                              \
    __attribute__((noinline)) void name(int32_t n, const T* a, const T* b, T* y) {               \
        for (int32_t i = 0; i < n; ++i) y[i] = expr;                                             \
    }
#define PLAIN_UNARY(name, T, expr)                                                               \
    __attribute__((noinline)) void name(int32_t n, const T* a, T* y) {                           \
        for (int32_t i = 0; i < n; ++i) y[i] = expr;                                             \
    }
PLAIN_BINARY(plain_dsub, double, a[i] - b[i])
PLAIN_BINARY(plain_dmul, double, a[i] * b[i])
PLAIN_BINARY(plain_ddiv, double, a[i] / b[i])
PLAIN_BINARY(plain_sdiv, float, a[i] / b[i])
PLAIN_UNARY(plain_dsqr, double, a[i] * a[i])
PLAIN_UNARY(plain_dabs, double, __builtin_fabs(a[i]))
PLAIN_UNARY(plain_dinv, double, 1.0 / a[i])

// Google Benchmark's capture macro takes no template-ids: one plain name
// per shape and type.
using dbin = void (*)(int32_t, const double*, const double*, double*);
using sbin = void (*)(int32_t, const float*, const float*, float*);
using dun = void (*)(int32_t, const double*, double*);
using sun = void (*)(int32_t, const float*, float*);
void binary_d(benchmark::State& s, dbin k) { binary<double>(s, k); }
void binary_s(benchmark::State& s, sbin k) { binary<float>(s, k); }
void unary_d(benchmark::State& s, dun k) { unary<double>(s, k); }
void unary_s(benchmark::State& s, sun k) { unary<float>(s, k); }
#define binary_double binary_d
#define binary_float binary_s
#define unary_double unary_d
#define unary_float unary_s

#define BENCH_BINARY(T, kernel) \
    BENCHMARK_CAPTURE(binary_##T, kernel, kernel)->Arg(kInCache)->Arg(kOutOfCache)->Name(#kernel)
#define BENCH_UNARY(T, kernel) \
    BENCHMARK_CAPTURE(unary_##T, kernel, kernel)->Arg(kInCache)->Arg(kOutOfCache)->Name(#kernel)

BENCH_BINARY(double, _vxmdAdd);
BENCH_BINARY(double, _vxmdSub);
BENCH_BINARY(double, _vxmdMul);
BENCH_UNARY(double, _vxmdSqr);
BENCH_UNARY(double, _vxmdAbs);
BENCH_BINARY(float, _vxmsSub);
BENCH_BINARY(float, _vxmsMul);
BENCH_UNARY(float, _vxmsSqr);
BENCH_UNARY(float, _vxmsAbs);
BENCH_BINARY(double, plain_dsub);
BENCH_BINARY(double, plain_dmul);
BENCH_UNARY(double, plain_dsqr);
BENCH_UNARY(double, plain_dabs);
BENCHMARK(copy_bandwidth<24>)->Arg(kOutOfCache)->Name("copy24");
BENCHMARK(copy_bandwidth<16>)->Arg(kOutOfCache)->Name("copy16");
BENCHMARK(copy_bandwidth<12>)->Arg(kOutOfCache)->Name("copy12");
BENCHMARK(copy_bandwidth<8>)->Arg(kOutOfCache)->Name("copy8");


constexpr int64_t kSmall = 1000;
BENCHMARK_CAPTURE(binary_d, d, _vxmdDiv_HA)->Arg(kInCache)->Arg(kSmall)->Name("_vxmdDiv_HA");
BENCHMARK_CAPTURE(binary_d, d, _vxmdDiv_50)->Arg(kInCache)->Arg(kSmall)->Name("_vxmdDiv_50");
BENCHMARK_CAPTURE(binary_d, d, plain_ddiv)->Arg(kInCache)->Name("plain_ddiv");
BENCHMARK_CAPTURE(unary_d, d, _vxmdInv_HA)->Arg(kInCache)->Name("_vxmdInv_HA");
BENCHMARK_CAPTURE(unary_d, d, _vxmdInv_50)->Arg(kInCache)->Name("_vxmdInv_50");
BENCHMARK_CAPTURE(unary_d, d, plain_dinv)->Arg(kInCache)->Name("plain_dinv");
BENCHMARK_CAPTURE(binary_s, s, _vxmsDiv_HA)->Arg(kInCache)->Arg(kSmall)->Name("_vxmsDiv_HA");
BENCHMARK_CAPTURE(binary_s, s, _vxmsDiv_21)->Arg(kInCache)->Arg(kSmall)->Name("_vxmsDiv_21");
BENCHMARK_CAPTURE(binary_s, s, _vxmsDiv_11)->Arg(kInCache)->Arg(kSmall)->Name("_vxmsDiv_11");
BENCHMARK_CAPTURE(binary_s, s, plain_sdiv)->Arg(kInCache)->Name("plain_sdiv");

}  // namespace

int main(int argc, char** argv) {
    using qlm::bench::compare;
    const std::string out = "/8388608", in = "/4096";
    compare("_vxmdAdd" + out, "copy24" + out);
    compare("_vxmdSub" + out, "copy24" + out);
    compare("_vxmdMul" + out, "copy24" + out);
    compare("_vxmdSqr" + out, "copy16" + out);
    compare("_vxmdAbs" + out, "copy16" + out);
    compare("_vxmsSub" + out, "copy12" + out);
    compare("_vxmsMul" + out, "copy12" + out);
    compare("_vxmsSqr" + out, "copy8" + out);
    compare("_vxmsAbs" + out, "copy8" + out);
    compare("_vxmdSub" + in, "plain_dsub" + in);
    compare("_vxmdMul" + in, "plain_dmul" + in);
    compare("_vxmdSqr" + in, "plain_dsqr" + in);
    compare("_vxmdAbs" + in, "plain_dabs" + in);
    compare("_vxmdDiv_50" + in, "_vxmdDiv_HA" + in);
    compare("_vxmdDiv_HA" + in, "plain_ddiv" + in);
    compare("_vxmdInv_50" + in, "_vxmdInv_HA" + in);
    compare("_vxmdInv_HA" + in, "plain_dinv" + in);
    compare("_vxmsDiv_11" + in, "_vxmsDiv_HA" + in);
    compare("_vxmsDiv_21" + in, "_vxmsDiv_HA" + in);
    compare("_vxmsDiv_HA" + in, "plain_sdiv" + in);
    const std::string small = "/1000";
    compare("_vxmdDiv_50" + small, "_vxmdDiv_HA" + small);
    compare("_vxmsDiv_11" + small, "_vxmsDiv_HA" + small);
    compare("_vxmsDiv_21" + small, "_vxmsDiv_HA" + small);
    return qlm::bench::run_and_compare(argc, argv);
}

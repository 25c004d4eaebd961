// 32-bit output of MT19937 and SFMT19937 in blocks of 1000 and 100000
// against std::mt19937 and GSL's mt19937, all in the same run.  SFMT gives
// four words per element, so a block of n words is n / 4 elements.
#include <gsl/gsl_rng.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"

#include "qlm/qlm_vxs.h"

namespace {

struct raw_stream {
    raw_stream(int32_t number, std::size_t bytes) : p(std::aligned_alloc(64, bytes)) {
        std::memset(p, 0, bytes);
        std::memcpy(p, &number, 4);
    }
    ~raw_stream() { std::free(p); }
    void* p;
};

void BM_MT19937(benchmark::State& state) {
    raw_stream s(0x800000, 2560);
    const uint32_t key = 42;
    __vxsBRngMT19937InitStream(0, s.p, 1, &key);
    std::vector<uint32_t> r(state.range(0));
    for (auto _ : state) {
        __vxsiBRngMT19937(s.p, static_cast<int32_t>(r.size()), r.data());
        benchmark::DoNotOptimize(r.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_SFMT19937(benchmark::State& state) {
    raw_stream s(0xD00000, 2560);
    const uint32_t key = 42;
    __vxsBRngSFMT19937InitStream(0, s.p, 1, &key);
    std::vector<uint32_t> r(state.range(0));
    for (auto _ : state) {
        __vxsiBRngSFMT19937(s.p, static_cast<int32_t>(r.size() / 4), r.data());
        benchmark::DoNotOptimize(r.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_std_mt19937(benchmark::State& state) {
    std::mt19937 gen(42);
    std::vector<uint32_t> r(state.range(0));
    for (auto _ : state) {
        for (uint32_t& v : r) v = static_cast<uint32_t>(gen());
        benchmark::DoNotOptimize(r.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_gsl_mt19937(benchmark::State& state) {
    gsl_rng* gen = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(gen, 42);
    std::vector<uint32_t> r(state.range(0));
    for (auto _ : state) {
        for (uint32_t& v : r) v = static_cast<uint32_t>(gsl_rng_get(gen));
        benchmark::DoNotOptimize(r.data());
    }
    gsl_rng_free(gen);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(BM_MT19937)->Arg(1000)->Arg(100000);
BENCHMARK(BM_SFMT19937)->Arg(1000)->Arg(100000);
BENCHMARK(BM_std_mt19937)->Arg(1000)->Arg(100000);
BENCHMARK(BM_gsl_mt19937)->Arg(1000)->Arg(100000);

}  // namespace

int main(int argc, char** argv) {
    for (const char* n : {"1000", "100000"}) {
        const std::string suffix = std::string("/") + n;
        for (const char* ours : {"BM_MT19937", "BM_SFMT19937"})
            for (const char* peer : {"BM_std_mt19937", "BM_gsl_mt19937"})
                qlm::bench::compare(ours + suffix, peer + suffix);
    }
    return qlm::bench::run_and_compare(argc, argv);
}

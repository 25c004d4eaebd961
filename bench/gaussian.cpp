// Gaussian variates in blocks of 1000: our three methods in double and
// single on an MCG59 stream, against std::normal_distribution over
// std::mt19937_64 and GSL's ziggurat and Box-Muller Gaussians over its
// MT19937, all in the same run.
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "qlm/qlm_vxs.h"

namespace {

constexpr int kBlock = 1000;

template <typename Real>
void BM_ours(benchmark::State& state) {
    void* stream = nullptr;
    const uint32_t seed = 1;
    __vxsNewStreamEx(&stream, VXS_BRNG_MCG59, 1, &seed);
    std::vector<Real> r(kBlock);
    const int method = static_cast<int>(state.range(0));
    for (auto _ : state) {
        if constexpr (sizeof(Real) == 8) _vxsdRngGaussian(method, stream, kBlock, r.data(), 0.0, 1.0);
        else _vxssRngGaussian(method, stream, kBlock, r.data(), 0.0f, 1.0f);
        benchmark::DoNotOptimize(r.data());
    }
    __vxsDeleteStream(&stream);
    state.SetItemsProcessed(state.iterations() * kBlock);
}

void BM_std_normal(benchmark::State& state) {
    std::mt19937_64 gen(1);
    std::normal_distribution<double> normal;
    std::vector<double> r(kBlock);
    for (auto _ : state) {
        for (double& v : r) v = normal(gen);
        benchmark::DoNotOptimize(r.data());
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
}

template <double (*Draw)(const gsl_rng*, double)>
void BM_gsl(benchmark::State& state) {
    gsl_rng* gen = gsl_rng_alloc(gsl_rng_mt19937);
    std::vector<double> r(kBlock);
    for (auto _ : state) {
        for (double& v : r) v = Draw(gen, 1.0);
        benchmark::DoNotOptimize(r.data());
    }
    gsl_rng_free(gen);
    state.SetItemsProcessed(state.iterations() * kBlock);
}

BENCHMARK_TEMPLATE(BM_ours, double)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK_TEMPLATE(BM_ours, float)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(BM_std_normal);
BENCHMARK_TEMPLATE(BM_gsl, gsl_ran_gaussian_ziggurat);
BENCHMARK_TEMPLATE(BM_gsl, gsl_ran_gaussian);

}  // namespace

int main(int argc, char** argv) {
    for (const char* type : {"double", "float"})
        for (const char* method : {"0", "1", "2"}) {
            const std::string ours = std::string("BM_ours<") + type + ">/" + method;
            qlm::bench::compare(ours, "BM_gsl<gsl_ran_gaussian_ziggurat>");
            qlm::bench::compare(ours, "BM_gsl<gsl_ran_gaussian>");
            qlm::bench::compare(ours, "BM_std_normal");
        }
    return qlm::bench::run_and_compare(argc, argv);
}

// Basic generators against the standard library's and GSL's engines, in
// blocks of 1000: 32-bit integer output, and double and float uniforms on
// [0, 1) (std::uniform_real_distribution over the std engines,
// gsl_rng_uniform for GSL, rounded to float for the float rows).  Ours fill the block in one call; the peers one element at a time,
// as their interfaces give.
#include <gsl/gsl_rng.h>

#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "bench_support.h"
#include "qlm/qlm_vxs.h"

namespace {

using qlm::bench::aligned_buffer;
constexpr int32_t block = 1000;

struct generator {
    const char* name;
    int32_t brng;
};
const generator ours[] = {
    {"MCG31M1", VXS_BRNG_MCG31M1}, {"R250", VXS_BRNG_R250}, {"MRG32K3A", VXS_BRNG_MRG32K3A},
    {"MCG59", VXS_BRNG_MCG59},     {"WH", VXS_BRNG_WH},
};

template <typename T>
void ours_uniform(benchmark::State& state, int32_t brng) {
    void* s = nullptr;
    const uint32_t seed = 7;
    __vxsNewStreamEx(&s, brng, 1, &seed);
    aligned_buffer<T> r(block);
    for (auto _ : state) {
        if constexpr (std::is_same_v<T, double>)
            _vxsdRngUniform(0, s, block, r.data, 0.0, 1.0);
        else
            _vxssRngUniform(0, s, block, r.data, 0.0f, 1.0f);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * block);
    __vxsDeleteStream(&s);
}

// 32-bit words: the generator's own elements where they are 32-bit, the
// full-word operation for MCG59, and WH's four 24-bit components as four.
void ours_words(benchmark::State& state, int32_t brng) {
    void* s = nullptr;
    const uint32_t seed = 7;
    __vxsNewStreamEx(&s, brng, 1, &seed);
    aligned_buffer<uint32_t> r(block);
    for (auto _ : state) {
        if (brng == VXS_BRNG_MCG59)
            _vxsiRngUniformBits32(0, s, block, r.data);
        else
            _vxsiRngUniformBits(0, s, brng == VXS_BRNG_WH ? block / 4 : block, r.data);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * block);
    __vxsDeleteStream(&s);
}

template <typename Engine, typename T>
void std_uniform(benchmark::State& state) {
    Engine e(7);
    std::uniform_real_distribution<T> u(0, 1);
    aligned_buffer<T> r(block);
    for (auto _ : state) {
        for (int32_t i = 0; i < block; ++i) r.data[i] = u(e);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * block);
}

template <typename Engine>
void std_words(benchmark::State& state) {
    Engine e(7);
    aligned_buffer<uint32_t> r(block);
    for (auto _ : state) {
        for (int32_t i = 0; i < block; ++i) r.data[i] = static_cast<uint32_t>(e());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * block);
}

template <typename T>
void gsl_uniform(benchmark::State& state, const gsl_rng_type* type) {
    gsl_rng* g = gsl_rng_alloc(type);
    gsl_rng_set(g, 7);
    aligned_buffer<T> r(block);
    for (auto _ : state) {
        for (int32_t i = 0; i < block; ++i) r.data[i] = static_cast<T>(gsl_rng_uniform(g));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * block);
    gsl_rng_free(g);
}

void gsl_words(benchmark::State& state, const gsl_rng_type* type) {
    gsl_rng* g = gsl_rng_alloc(type);
    gsl_rng_set(g, 7);
    aligned_buffer<uint32_t> r(block);
    for (auto _ : state) {
        for (int32_t i = 0; i < block; ++i) r.data[i] = static_cast<uint32_t>(gsl_rng_get(g));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * block);
    gsl_rng_free(g);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> peers = {"std_minstd_rand", "std_mt19937", "gsl_mt19937", "gsl_taus2",
                                            "gsl_mrg"};
    const gsl_rng_type* gsl_types[] = {gsl_rng_mt19937, gsl_rng_taus2, gsl_rng_mrg};
    for (const std::string form : {"double", "float", "words"}) {
        const bool dbl = form == "double", flt = form == "float";
        for (const generator& g : ours)
            benchmark::RegisterBenchmark((form + "/" + g.name).c_str(),
                                         dbl ? ours_uniform<double> : flt ? ours_uniform<float> : ours_words, g.brng);
        if (dbl) {
            benchmark::RegisterBenchmark("double/std_minstd_rand", std_uniform<std::minstd_rand, double>);
            benchmark::RegisterBenchmark("double/std_mt19937", std_uniform<std::mt19937, double>);
        } else if (flt) {
            benchmark::RegisterBenchmark("float/std_minstd_rand", std_uniform<std::minstd_rand, float>);
            benchmark::RegisterBenchmark("float/std_mt19937", std_uniform<std::mt19937, float>);
        } else {
            benchmark::RegisterBenchmark("words/std_minstd_rand", std_words<std::minstd_rand>);
            benchmark::RegisterBenchmark("words/std_mt19937", std_words<std::mt19937>);
        }
        for (int k = 0; k < 3; ++k)
            benchmark::RegisterBenchmark((form + "/" + peers[2 + k]).c_str(),
                                         dbl ? gsl_uniform<double> : flt ? gsl_uniform<float> : gsl_words, gsl_types[k]);
        for (const generator& g : ours)
            for (const std::string& p : peers) qlm::bench::compare(form + "/" + g.name, form + "/" + p);
    }
    return qlm::bench::run_and_compare(argc, argv);
}

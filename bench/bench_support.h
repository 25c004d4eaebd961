// Shared pieces of the benchmarks: aligned buffers, and a reporter that
// prints the ratio of each benchmark to the peer it names, from the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qlm::bench {

template <typename T>
struct aligned_buffer {
    explicit aligned_buffer(std::size_t n, std::size_t offset_elements = 0)
        : raw(static_cast<T*>(std::aligned_alloc(64, (n + offset_elements + 16) * sizeof(T)))),
          data(raw + offset_elements) {}
    ~aligned_buffer() { std::free(raw); }
    aligned_buffer(const aligned_buffer&) = delete;
    aligned_buffer& operator=(const aligned_buffer&) = delete;
    T* raw;
    T* data;
};

// Registers that the benchmark named `ours` is compared with `peer`: after
// the run, peer time / our time is printed (above 1 means we are faster).
void compare(const std::string& ours, const std::string& peer);

// Runs the registered benchmarks and prints the comparisons.
int run_and_compare(int argc, char** argv);

}  // namespace qlm::bench

// Plain reference models of the congruential generators, written from their
// recurrences with wide integer arithmetic and nothing shared with the
// library, for known-answer comparisons of thousands of elements.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace qlm::test {

struct mcg31m1_model {
    static constexpr uint64_t m = 2147483647, a = 1132489760;
    uint64_t x;
    explicit mcg31m1_model(uint64_t seed) : x(seed % m == 0 ? 1 : seed % m) {}
    uint32_t next() {
        const uint32_t r = static_cast<uint32_t>(x);
        x = x * a % m;
        return r;
    }
};

struct mcg59_model {
    static constexpr unsigned __int128 m = static_cast<unsigned __int128>(1) << 59;
    unsigned __int128 x, a = 302875106592253u;
    explicit mcg59_model(uint64_t seed) : x(seed == 0 ? 1 : seed) {}
    uint64_t next() {
        const uint64_t r = static_cast<uint64_t>(x);
        x = x * a % m;
        return r;
    }
};

// The published combined recurrence, with signed 64-bit arithmetic.
struct mrg32k3a_model {
    static constexpr int64_t m1 = 4294967087, m2 = 4294944443;
    int64_t x[3], y[3];  // oldest first
    mrg32k3a_model(std::array<uint32_t, 6> s) : x{s[0], s[1], s[2]}, y{s[3], s[4], s[5]} {}
    uint32_t next() {
        int64_t px = (1403580 * x[1] - 810728 * x[0]) % m1;
        if (px < 0) px += m1;
        int64_t py = (527612 * y[2] - 1370589 * y[0]) % m2;
        if (py < 0) py += m2;
        x[0] = x[1], x[1] = x[2], x[2] = px;
        y[0] = y[1], y[1] = y[2], y[2] = py;
        const int64_t z = px - py;
        return static_cast<uint32_t>(z < 0 ? z + m1 : z);
    }
};

// w(n) = w(n-250) xor w(n-147) over the whole history.
struct r250_model {
    std::vector<uint32_t> w;
    explicit r250_model(const std::vector<uint32_t>& ring) : w(ring) {}
    uint32_t next() {
        const std::size_t n = w.size();
        w.push_back(w[n - 250] ^ w[n - 147]);
        return w.back();
    }
    // The seeding from one start word: a 69069 congruential fill, then 32
    // words forced linearly independent.
    static std::vector<uint32_t> seeded(uint32_t c) {
        std::vector<uint32_t> s(250);
        uint64_t v = c == 0 ? 1 : c;
        for (auto& word : s) word = static_cast<uint32_t>(v = v * 69069 % 4294967296u);
        for (int b = 0; b < 32; ++b) {
            s[3 + 7 * b] &= 0xFFFFFFFFu >> b;
            s[3 + 7 * b] |= 0x80000000u >> b;
        }
        return s;
    }
};

struct wh_model {
    uint64_t m[4], a[4], x[4];
    std::array<uint32_t, 4> next() {
        std::array<uint32_t, 4> r;
        for (int c = 0; c < 4; ++c) {
            r[c] = static_cast<uint32_t>(x[c]);
            x[c] = x[c] * a[c] % m[c];
        }
        return r;
    }
};

}  // namespace qlm::test

// Modular powers behind leapfrog and skip-ahead of the congruential
// generators.  All four are right-to-left square and multiply, one exponent
// bit per step, stopping as soon as the remaining bits are zero; an exponent
// of 0 gives 1 (the identity matrix for the vector form).
#include "random/streams/pow_mod.h"

#include "random/streams/stream.h"

namespace qlm::random {

uint32_t mul_mod_2p31m1(uint32_t x, uint32_t y) {
    const uint64_t p = uint64_t{x} * y;
    uint64_t s = (p & 0x7FFFFFFFu) + (p >> 31);
    if (s >= 0x7FFFFFFFu) s -= 0x7FFFFFFFu;
    return static_cast<uint32_t>(s);
}

}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT uint32_t __vxsiPowMod(uint32_t base, uint64_t exponent, uint32_t modulus) {
    uint64_t result = 1, b = base % modulus;
    while (exponent != 0) {
        if (exponent & 1) result = result * b % modulus;
        b = b * b % modulus;
        exponent >>= 1;
    }
    return static_cast<uint32_t>(result);
}

QLM_EXPORT uint32_t __vxsiPowMod2P31M1(uint32_t base, uint64_t exponent) {
    uint32_t result = 1, b = base % 0x7FFFFFFFu;
    while (exponent != 0) {
        if (exponent & 1) result = mul_mod_2p31m1(result, b);
        b = mul_mod_2p31m1(b, b);
        exponent >>= 1;
    }
    return result;
}

// Products modulo 2^59 are the low 59 bits of the 64-bit product.
QLM_EXPORT uint64_t __vxsiPowMod2P59(uint64_t base, uint64_t exponent) {
    constexpr uint64_t mask = (uint64_t{1} << 59) - 1;
    uint64_t result = 1, b = base & mask;
    while (exponent != 0) {
        if (exponent & 1) result = (result * b) & mask;
        b = (b * b) & mask;
        exponent >>= 1;
    }
    return result;
}

// The recurrence v(n) = row[0] v(n-1) + row[1] v(n-2) + row[2] v(n-3) mod m,
// on the vector (v(n-3), v(n-2), v(n-1)), oldest first, as its 3 x 3
// companion matrix.  Each product is reduced before the sums, so entries up
// to 2^32 - 1 cannot overflow.
QLM_EXPORT void __vxsiVect3PowMod(uint32_t* vector, const uint32_t* row, uint32_t modulus, uint64_t exponent) {
    const uint64_t m = modulus;
    uint64_t p[3][3] = {{0, 1, 0}, {0, 0, 1}, {row[2] % m, row[1] % m, row[0] % m}};
    uint64_t v[3] = {vector[0] % m, vector[1] % m, vector[2] % m};
    while (exponent != 0) {
        if (exponent & 1) {
            uint64_t w[3];
            for (int i = 0; i < 3; ++i)
                w[i] = (p[i][0] * v[0] % m + p[i][1] * v[1] % m + p[i][2] * v[2] % m) % m;
            for (int i = 0; i < 3; ++i) v[i] = w[i];
        }
        uint64_t q[3][3];
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                q[i][j] = (p[i][0] * p[0][j] % m + p[i][1] * p[1][j] % m + p[i][2] * p[2][j] % m) % m;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) p[i][j] = q[i][j];
        exponent >>= 1;
    }
    for (int i = 0; i < 3; ++i) vector[i] = static_cast<uint32_t>(v[i]);
}

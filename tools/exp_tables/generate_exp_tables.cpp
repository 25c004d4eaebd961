// Generates src/vector/real/exp/exp_tables.cpp, the tables of the exponential
// family, from MPFR values at 256 bits.
//
//   g++ -O2 -std=c++20 tools/exp_tables/generate_exp_tables.cpp -lmpfr -lgmp -o /tmp/generate_exp_tables && /tmp/generate_exp_tables > src/vector/real/exp/exp_tables.cpp
//
// Rules:
//   low table, 128 words:   the low 52 bits of 2^(j/128) rounded to double;
//   split table, 64 pairs:  high = 2^(j/64) with the 15 low bits of its double
//                           cut to zero (so 2^m * high - 1 is exact over a
//                           wide range of m), low = 2^(j/64) - high rounded;
//   single table, 128 pairs: high = 2^(j/128) rounded to float, low =
//                           (2^(j/128) - high) / high rounded to float: the
//                           low part is relative, since the kernel adds it
//                           beside the reduced argument before scaling by high.
// The generator stops if entry 1 of the low or split table is not the
// known value.
#include <mpfr.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

uint64_t bits(double d) {
    uint64_t u;
    std::memcpy(&u, &d, 8);
    return u;
}
uint32_t bits(float f) {
    uint32_t u;
    std::memcpy(&u, &f, 4);
    return u;
}
double from_bits(uint64_t u) {
    double d;
    std::memcpy(&d, &u, 8);
    return d;
}

// 2^(j/size) at 256 bits into v.
void exp2_fraction(mpfr_t v, int j, int size) {
    mpfr_set_si(v, j, MPFR_RNDN);
    mpfr_div_si(v, v, size, MPFR_RNDN);
    mpfr_exp2(v, v, MPFR_RNDN);
}

}  // namespace

int main() {
    mpfr_t v, t;
    mpfr_init2(v, 256);
    mpfr_init2(t, 256);

    uint64_t low[128];
    for (int j = 0; j < 128; ++j) {
        exp2_fraction(v, j, 128);
        low[j] = bits(mpfr_get_d(v, MPFR_RNDN)) & 0x000FFFFFFFFFFFFFull;
    }
    uint64_t split_hi[64], split_lo[64];
    for (int j = 0; j < 64; ++j) {
        exp2_fraction(v, j, 64);
        split_hi[j] = bits(mpfr_get_d(v, MPFR_RNDN)) & ~uint64_t{0x7FFF};
        mpfr_sub_d(t, v, from_bits(split_hi[j]), MPFR_RNDN);
        split_lo[j] = bits(mpfr_get_d(t, MPFR_RNDN));
    }
    uint32_t single_hi[128], single_lo[128];
    for (int j = 0; j < 128; ++j) {
        exp2_fraction(v, j, 128);
        const float hi = mpfr_get_flt(v, MPFR_RNDN);
        mpfr_sub_d(t, v, hi, MPFR_RNDN);
        mpfr_div_d(t, t, hi, MPFR_RNDN);
        single_hi[j] = bits(hi);
        single_lo[j] = bits(mpfr_get_flt(t, MPFR_RNDN));
    }
    if (low[1] != 0x0000163DA9FB3335ull || split_hi[1] != 0x3FF02C9A3E778000ull ||
        split_lo[1] != 0x3D183B9BDF2B293Eull) {
        std::fprintf(stderr, "entry 1 differs from the known value\n");
        return 1;
    }

    std::printf(
        "// Tables of the exponential family.  Generated, do not edit:\n"
        "//   g++ -O2 -std=c++20 tools/exp_tables/generate_exp_tables.cpp -lmpfr -lgmp"
        " -o /tmp/generate_exp_tables && /tmp/generate_exp_tables > src/vector/real/exp/exp_tables.cpp\n"
        "// Rules and checks are in the generator's header; entry 1 of the low and\n"
        "// split tables is checked against its known value before anything is written.\n"
        "#include \"vector/real/exp/exp_tables.h\"\n\n"
        "namespace qlm::vector::exp_tables {\n\n");
    std::printf("alignas(64) const uint64_t low[128] = {\n");
    for (int j = 0; j < 128; ++j)
        std::printf("    0x%016" PRIX64 "ull,%s", low[j], j % 2 == 1 ? "\n" : "");
    std::printf("};\n\nalignas(64) const uint64_t split[64][2] = {\n");
    for (int j = 0; j < 64; ++j)
        std::printf("    {0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull},\n", split_hi[j], split_lo[j]);
    std::printf("};\n\nalignas(64) const uint32_t single[128][2] = {\n");
    for (int j = 0; j < 128; ++j)
        std::printf("    {0x%08" PRIX32 "u, 0x%08" PRIX32 "u},%s", single_hi[j], single_lo[j],
                    j % 2 == 1 ? "\n" : "");
    std::printf("};\n\n}  // namespace qlm::vector::exp_tables\n");
    mpfr_clear(v);
    mpfr_clear(t);
    return 0;
}

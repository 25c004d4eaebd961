// Generates src/vector/real/log/log_tables.cpp, the tables of the logarithm
// family, from MPFR values at 256 bits.
//
//   g++ -O2 -std=c++20 tools/log_tables/generate_log_tables.cpp -lmpfr -lgmp -o /tmp/generate_log_tables && /tmp/generate_log_tables > src/vector/real/log/log_tables.cpp
//
// Rules:
//   coarse table, 257 rows for c = 1 + i/256:
//     reciprocal = 1/c rounded to double; ln hi = ln(c) rounded to a
//     multiple of 2^-39, the grid of the routine's ln 2 constant, so that
//     k*ln2 + ln hi stays exact and row 256 holds that constant itself;
//     ln lo = ln(c) - ln hi rounded; a zero word pads the row to 32 bytes.
//   fine table, 513 rows for c = 1 + i/512:
//     reciprocal = 1/c rounded to double with its 30 low bits cut to zero,
//     so that its product with a 21-bit mantissa head is exact; the
//     logarithm is that of the rounded reciprocal: -ln(rcp) for rows 0..255,
//     -ln(2 rcp) = ln(c/2) for rows 256..512, where the kernel counts the
//     mantissa as half of itself; ln hi is it rounded to 24 fraction bits
//     (28 low bits zero), ln lo the rest rounded.
//   fine10 table, the same 513 rows with log10 in place of ln: reciprocal
//     as in fine, lg hi = -log10 of the reciprocal (of twice it from row 256
//     on) rounded to 24 fraction bits, lg lo the rest rounded.
// The generator stops unless coarse row 1 and fine row 256 hold their known
// values and fine rows 0 and 512 have logarithm zero.
#include <mpfr.h>

#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

uint64_t bits(double d) {
    uint64_t u;
    std::memcpy(&u, &d, 8);
    return u;
}
double from_bits(uint64_t u) {
    double d;
    std::memcpy(&d, &u, 8);
    return d;
}

// v rounded to nearest multiple of 2^-39.
double round_to_grid(mpfr_t v) {
    mpfr_t t;
    mpfr_init2(t, 256);
    mpfr_mul_2si(t, v, 39, MPFR_RNDN);
    mpfr_rint(t, t, MPFR_RNDN);
    mpfr_mul_2si(t, t, -39, MPFR_RNDN);
    const double d = mpfr_get_d(t, MPFR_RNDN);
    mpfr_clear(t);
    return d;
}

// v rounded to nearest with `fraction_bits` bits after the leading one.
double round_to_fraction_bits(mpfr_t v, int fraction_bits) {
    if (mpfr_zero_p(v)) return 0.0;
    mpfr_t t;
    mpfr_init2(t, fraction_bits + 1);
    mpfr_set(t, v, MPFR_RNDN);
    const double d = mpfr_get_d(t, MPFR_RNDN);
    mpfr_clear(t);
    return d;
}

struct row {
    uint64_t w[4];
};

}  // namespace

int main() {
    mpfr_t v, t;
    mpfr_init2(v, 256);
    mpfr_init2(t, 256);

    static row coarse[257];
    for (int i = 0; i <= 256; ++i) {
        mpfr_set_si(v, 256 + i, MPFR_RNDN);
        mpfr_div_si(v, v, 256, MPFR_RNDN);
        mpfr_ui_div(t, 1, v, MPFR_RNDN);
        const double rcp = mpfr_get_d(t, MPFR_RNDN);
        mpfr_log(v, v, MPFR_RNDN);
        const double hi = round_to_grid(v);
        mpfr_sub_d(t, v, hi, MPFR_RNDN);
        coarse[i] = {{bits(hi), bits(mpfr_get_d(t, MPFR_RNDN)), bits(rcp), 0}};
    }
    static row fine[513];
    for (int i = 0; i <= 512; ++i) {
        mpfr_set_si(v, 512 + i, MPFR_RNDN);
        mpfr_div_si(v, v, 512, MPFR_RNDN);
        mpfr_ui_div(t, 1, v, MPFR_RNDN);
        const double rcp = from_bits(bits(mpfr_get_d(t, MPFR_RNDN)) & ~uint64_t{0x3FFFFFFF});
        mpfr_set_d(v, i < 256 ? rcp : 2 * rcp, MPFR_RNDN);
        mpfr_log(v, v, MPFR_RNDN);
        mpfr_neg(v, v, MPFR_RNDN);
        if (mpfr_zero_p(v)) mpfr_set_zero(v, 1);  // rows 0 and 512: +0, not -0
        const double hi = round_to_fraction_bits(v, 24);
        mpfr_sub_d(t, v, hi, MPFR_RNDN);
        fine[i] = {{bits(rcp), bits(rcp), bits(hi), bits(mpfr_get_d(t, MPFR_RNDN))}};
    }
    static row fine10[513];
    for (int i = 0; i <= 512; ++i) {
        const double rcp = from_bits(fine[i].w[0]);
        mpfr_set_d(v, i < 256 ? rcp : 2 * rcp, MPFR_RNDN);
        mpfr_log10(v, v, MPFR_RNDN);
        mpfr_neg(v, v, MPFR_RNDN);
        if (mpfr_zero_p(v)) mpfr_set_zero(v, 1);
        const double hi = round_to_fraction_bits(v, 24);
        mpfr_sub_d(t, v, hi, MPFR_RNDN);
        fine10[i] = {{bits(rcp), bits(rcp), bits(hi), bits(mpfr_get_d(t, MPFR_RNDN))}};
    }
    const row c1{{0x3F6FF00AA2C00000ull, 0xBD5DE87F6BEF2953ull, 0x3FEFE01FE01FE020ull, 0}};
    const row f256{{0x3FE5555540000000ull, 0x3FE5555540000000ull, 0xBFD26961D0000000ull,
                    0xBE134DB72783BD62ull}};
    if (std::memcmp(&coarse[1], &c1, 32) != 0 || std::memcmp(&fine[256], &f256, 32) != 0 ||
        fine[0].w[2] != 0 || fine[0].w[3] != 0 || fine[512].w[2] != 0 || fine[512].w[3] != 0 ||
        coarse[256].w[2] != bits(0.5) || coarse[256].w[0] != 0x3FE62E42FEFA4000ull) {
        std::fprintf(stderr, "a checked row differs from its known value\n");
        return 1;
    }

    std::printf(
        "// Tables of the logarithm family.  Generated, do not edit:\n"
        "//   g++ -O2 -std=c++20 tools/log_tables/generate_log_tables.cpp -lmpfr -lgmp"
        " -o /tmp/generate_log_tables && /tmp/generate_log_tables > src/vector/real/log/log_tables.cpp\n"
        "// Rules and checks are in the generator's header; coarse row 1 and fine\n"
        "// row 256 are checked against their known values before anything is written.\n"
        "#include \"vector/real/log/log_tables.h\"\n\n"
        "namespace qlm::vector::log_tables {\n\n");
    std::printf("// ln hi, ln lo, reciprocal, zero\nalignas(64) const uint64_t coarse[257][4] = {\n");
    for (const row& r : coarse)
        std::printf("    {0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull, 0x%" PRIX64 "},\n",
                    r.w[0], r.w[1], r.w[2], r.w[3]);
    std::printf("};\n\n// reciprocal, reciprocal, ln hi, ln lo\nalignas(64) const uint64_t fine[513][4] = {\n");
    for (const row& r : fine)
        std::printf("    {0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull},\n",
                    r.w[0], r.w[1], r.w[2], r.w[3]);
    std::printf("};\n\n// reciprocal, reciprocal, log10 hi, log10 lo\nalignas(64) const uint64_t fine10[513][4] = {\n");
    for (const row& r : fine10)
        std::printf("    {0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull, 0x%016" PRIX64 "ull},\n",
                    r.w[0], r.w[1], r.w[2], r.w[3]);
    std::printf("};\n\n}  // namespace qlm::vector::log_tables\n");
    mpfr_clear(v);
    mpfr_clear(t);
    return 0;
}

// The two generator registries, number resolution and registration.
//
// `__RegBrngs` is the first-generation numbering: rows 0 to 278, with the WH
// family at 4 to 276 (the same record at every one of those rows, since the
// numbers 4 to 276 all resolve to row 4 and the copies exist for callers that
// index the table by number).  `__RegBrngsNew` is the second-generation
// numbering, 14 built-in rows that can grow by registration.
//
// Rows of generators that live in other folders (quasi-random, twisters,
// abstract and hardware streams) are filled here when those generators land.
// Until then a row is empty: its sub-generator count is 0 in the new table,
// and a first-generation row without an init function is refused, because an
// all-zero record is not a generator.
#include "random/streams/stream.h"

namespace qlm::random {

// Named outside the anonymous namespace: a type with internal linkage would
// give the exported tables internal linkage too.
struct registry_table {
    brng_record rows[registry_rows];
};

namespace {

constexpr brng_record record(int32_t state_bytes, int32_t seed_words, int32_t includes_zero,
                             int32_t word_bytes, int32_t bit_count, vxs_init_stream_fn init,
                             vxs_gen_single_fn gs, vxs_gen_double_fn gd, vxs_gen_integer_fn gi) {
    return brng_record{state_bytes, seed_words, includes_zero, word_bytes, bit_count, init, gs, gd, gi};
}

constexpr brng_record mcg31m1 = record(24, 1, 0, 4, 31, __vxsBRngMCG31M1InitStream, __vxssBRngMCG31M1,
                                       __vxsdBRngMCG31M1, __vxsiBRngMCG31M1);
constexpr brng_record r250 = record(1024, 252, 1, 4, 32, __vxsBRngR250InitStream, __vxssBRngR250,
                                    __vxsdBRngR250, __vxsiBRngR250);
constexpr brng_record mrg32k3a = record(40, 6, 1, 4, 32, __vxsBRngMRG32K3AInitStream, __vxssBRngMRG32K3A,
                                        __vxsdBRngMRG32K3A, __vxsiBRngMRG32K3A);
constexpr brng_record mcg59 = record(32, 1, 0, 8, 59, __vxsBRngMCG59InitStream, __vxssBRngMCG59,
                                     __vxsdBRngMCG59, __vxsiBRngMCG59);
constexpr brng_record wh = record(48, 4, 1, 16, 24, __vxsBRngWHInitStream, __vxssBRngWH, __vxsdBRngWH,
                                  __vxsiBRngWH);

constexpr registry_table first_generation() {
    registry_table t{};
    t.rows[0] = mcg31m1;
    t.rows[1] = r250;
    t.rows[2] = mrg32k3a;
    t.rows[3] = mcg59;
    for (int row = 4; row <= 276; ++row) t.rows[row] = wh;
    // 277 Sobol and 278 Niederr: filled with the quasi-random generators.
    return t;
}

constexpr registry_table second_generation() {
    registry_table t{};
    t.rows[0] = mcg31m1;
    t.rows[1] = r250;
    t.rows[2] = mrg32k3a;
    t.rows[3] = mcg59;
    t.rows[4] = wh;
    // 5 Sobol, 6 Niederr, 7 MT19937, 8 MT2203, 9 to 11 the abstract streams,
    // 12 SFMT19937, 13 TRNG: filled when those generators land.
    return t;
}

struct sub_count_table {
    int32_t rows[registry_rows];
};

constexpr sub_count_table built_in_sub_counts() {
    sub_count_table t{};
    t.rows[0] = 1;    // MCG31M1
    t.rows[1] = 1;    // R250
    t.rows[2] = 1;    // MRG32K3A
    t.rows[3] = 1;    // MCG59
    t.rows[4] = 273;  // WH
    // Rows 5 to 13 keep 0 until their generators exist: Sobol 1, Niederr 1,
    // MT19937 1, MT2203 6024, iAbstract 1, dAbstract 1, sAbstract 1,
    // SFMT19937 1, TRNG 1.
    return t;
}

}  // namespace

// The registries are exported under their C names through assembler labels,
// so that they can be built by constexpr functions and live in initialised
// data from load on.
__attribute__((visibility("default"))) constinit registry_table first_generation_table asm("__RegBrngs") =
    first_generation();
__attribute__((visibility("default"))) constinit registry_table second_generation_table asm("__RegBrngsNew") =
    second_generation();
constinit sub_count_table sub_counts = built_in_sub_counts();
constinit int32_t registered_rows = 14;

brng_record* resolve_brng(int32_t brng, int32_t* row, int32_t* sub) {
    if (brng >= new_brng_base) {
        *row = (brng >> 20) - 1;
        *sub = brng & 0xFFFFF;
        return second_generation_table.rows;
    }
    if (brng >= 4 && brng <= 276) {
        *row = 4;
        *sub = brng - 4;
        return first_generation_table.rows;
    }
    *row = brng;
    *sub = 0;
    return first_generation_table.rows;
}

}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsIsBrngValid(const vxs_brng_record* registry, int32_t row, int32_t sub) {
    if (registry == second_generation_table.rows) {
        if (row < registered_rows && row >= 0 && sub < sub_counts.rows[row] && sub >= 0) return ok;
        return bad_generator_number;
    }
    // First generation: a signed comparison with no lower bound, so a
    // negative number is not refused here; callers must not pass one.
    if (row >= first_generation_rows) return bad_generator_number;
    if (row >= 0 && registry[row].init_stream == nullptr) return bad_generator_number;
    return ok;
}

QLM_EXPORT vxs_brng_record* __vxsGetBrngBaseOffset(int32_t brng, int32_t* row, int32_t* sub) {
    return resolve_brng(brng, row, sub);
}

QLM_EXPORT int32_t __vxsGetBrngProperties(int32_t brng, vxs_brng_record* out) {
    int32_t row, sub;
    brng_record* registry = resolve_brng(brng, &row, &sub);
    const int32_t status = __vxsIsBrngValid(registry, row, sub);
    if (status != ok) return status;
    *out = registry[row];
    return ok;
}

// No lock: two registrations at once can lose one.  The row count is not
// compared with the table's 512 rows; registering past them is the caller's
// fault, as it is in every numbering that grows.
QLM_EXPORT int32_t __vxsRegisterBrng(const vxs_brng_record* r) {
    if (r->state_bytes < 0) return bad_state_size;
    if (r->word_bytes != 4 && r->word_bytes != 8 && r->word_bytes != 16) return bad_word_size;
    if (r->seed_words < 1) return bad_seed_count;
    if (r->bit_count < 1) return bad_bit_count;
    if (!r->init_stream || !r->gen_single || !r->gen_double || !r->gen_integer) return missing_function;
    const int32_t row = registered_rows;
    second_generation_table.rows[row] = *r;
    sub_counts.rows[row] = 1;
    registered_rows = row + 1;
    return (row << 20) + new_brng_base;
}

QLM_EXPORT int32_t __vxsGetNumRegBrngs() { return registered_rows; }

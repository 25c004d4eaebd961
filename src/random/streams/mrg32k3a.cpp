// MRG32K3A: two recurrences of order 3,
//   x(n) = 1403580 x(n-2) - 810728 x(n-3)   mod m1 = 2^32 - 209
//   y(n) = 527612 y(n-1) - 1370589 y(n-3)   mod m2 = 2^32 - 22853
// and the element z = x(n) - y(n), plus m1 when negative (so 0 can occur).
// The state holds the three previous values of each, oldest first; a call
// first steps, then delivers, so the first element after seeding is z of the
// first new step.
//
// Three paths give the same integers.  Calls of 96 elements or more take the
// double lanes described next; calls of 16 to 95, and all calls under a
// directed rounding mode, take integer lanes sixteen steps apart; the rest,
// and the last few elements of any call, go one at a time.
//
// One element at a time: sums in 64-bit integers, kept non-negative by a
// bias that is a multiple of the modulus, reduced twice by 2^32 = 209 (or
// 22853) and once more by a subtract and conditional add.
//
// Bulk output runs the ORIGINAL recurrences in double-precision lanes, as
// 12 independent chains that each fill one contiguous stretch of L elements
// of a pass (two chains to an SSE register).  The multipliers are below 2^21
// and the values below 2^32 in size, so p = a x1 - b x0 is an exact integer
// below 2^53; k = round-to-nearest(p / m), from p times a rounded 1/m and so
// within 2^-30 of the true quotient, and r = p - k m are exact and leave r
// within m/2 + 4 of zero.  The lanes keep that symmetric remainder: it is
// congruent to the true value, and with |x| <= m/2 + 4 the next product
// stays below 2^53.  The element needs true residues: y moves into [0, m2)
// by a blend on its sign, and t = x - y, in (-2 m1, m1), comes into [0, m1)
// as z = t - floor(t / m1) m1 with a 1/m1 rounded DOWN, so that t = -m1
// gives a quotient of exactly -1; every other t lies at least 1/m1 from an
// integer quotient, far beyond the 2^-50 error.  The lanes need round-to-
// nearest in MXCSR (a zero difference is then +0, never -0 with its sign
// bit set); a caller in another mode gets the sixteen-apart path below.
//
// Chain j starts from the state jumped ahead j L steps.  The jumps are
// latency-bound (~19 cycles of dependent multiplies and folds each, x and y
// side by side in one register), so chain j starts from chain j - back with
// the (back L)-th power of the companion matrices, back up to 6 as far as a
// compile-time table of powers up to 512 reaches: at 1000 elements (L = 83)
// that is two jumps deep instead of eleven, ~4% of a call of 1000 and ~10%
// of a call of 200 (TSC minimum over many calls, same run).  The history
// lives in a small row buffer (one load per operand is cheaper than the
// register shuffling the compiler makes otherwise), and each step stores
// the elements of the row three steps behind it, so that their work fills
// the latency of y(n) on y(n-1) (~16 cycles).  A step of the six registers is
// ~23 vector operations per register plus loads and stores, ~40
// instructions.  Measured and kept out: 8 or 16 chains (8 equal at 1000 and
// 3% slower at 3000, 16 slower), a sign mask instead of the blend for y
// (2-5% slower), chains of unequal length that leave no single steps (2%
// slower at 1000: one more lane step costs what the few single steps did).
// Removing all element work takes ~28% off the lane time and removing the y
// recurrence ~27%: the lanes are bound by their ~23 vector operations per
// register, not by one part.  Earlier: 6 registers beat 4, and chains run in
// scalar integer code beside the lanes made the whole slower.  Outputs are
// the same integers as the step-by-step recurrence, so the scaling z s + a
// gives identical doubles and floats; with a zero offset (the usual [0, 1))
// the lanes skip the addition, as z s + 0 is z s (4% of a call of 1000).
// Output scale: 0x3DF000000D10000B = 2.328306549837829e-10, 1/m1 rounded.
#include <smmintrin.h>

#include <array>
#include <bit>
#include <type_traits>

#include "random/streams/output_sinks.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

constexpr uint64_t m1 = 4294967087u;
constexpr uint64_t m2 = 4294944443u;
constexpr double unit = std::bit_cast<double>(uint64_t{0x3DF000000D10000B});

constexpr uint64_t ax = 1403580, bx = 810728;   // x(n) = ax x(n-2) - bx x(n-3)
constexpr uint64_t ay = 527612, by = 1370589;   // y(n) = ay y(n-1) - by y(n-3)

struct mrg32k3a_state {
    uint32_t x[3];
    uint32_t y[3];
};

// s mod the modulus, with 2^32 = fold mod the modulus: two folds bring s
// below 2^32 + 2^30, and one subtraction with a conditional add finishes.
template <uint64_t modulus, uint64_t fold>
inline uint32_t reduce(uint64_t s) {
    s = (s >> 32) * fold + (s & 0xFFFFFFFFu);
    s = (s >> 32) * fold + (s & 0xFFFFFFFFu);
    int64_t r = static_cast<int64_t>(s) - static_cast<int64_t>(modulus);
    if (r < 0) r += modulus;
    return static_cast<uint32_t>(r);
}

// One step, from the three previous values (oldest first).
inline uint32_t step_x(uint64_t x3, uint64_t x2) { return reduce<m1, 209>(0xC5EE7F5E68498u + ax * x2 - bx * x3); }
inline uint32_t step_y(uint64_t y3, uint64_t y1) { return reduce<m2, 22853>(0x14E9D5B50F226Fu + ay * y1 - by * y3); }

inline uint32_t combine(uint32_t x, uint32_t y) {
    const int64_t z = static_cast<int64_t>(x) - static_cast<int64_t>(y);
    return static_cast<uint32_t>(z < 0 ? z + static_cast<int64_t>(m1) : z);
}

// ---- Sixteen apart -------------------------------------------------------

// Calls of 16 to 95 elements, and every call under a directed rounding
// mode: integer lanes that jump sixteen steps at once with the
// first row of the 16th power of the companion matrices,
//   x(n+16) = 0x2BE4D11D x(n) - 0x4F76450B x(n+1) + 0x1464380F x(n+2)
//   y(n+16) = 0x30C751B6 y(n) - 0x1E0D0594 y(n+1) - 0x2CDBC50E y(n+2)
// with biases 0x4F7644CA2071A205 and 0x4AE8B082E0CF1056 (multiples of the
// moduli) keeping the sums positive and below 2^64; each value sits in the
// low half of a 64-bit lane, two lanes to a register.
template <uint64_t modulus, uint32_t fold, bool negate2>
inline __m128i sixteen_ahead(const uint64_t* v, __m128i c0, __m128i c1, __m128i c2, __m128i bias) {
    const __m128i v0 = _mm_load_si128(reinterpret_cast<const __m128i*>(v));
    const __m128i v2 = _mm_load_si128(reinterpret_cast<const __m128i*>(v + 2));
    const __m128i v1 = _mm_alignr_epi8(v2, v0, 8);
    __m128i s = _mm_add_epi64(bias, _mm_mul_epu32(v0, c0));
    s = _mm_sub_epi64(s, _mm_mul_epu32(v1, c1));
    s = negate2 ? _mm_sub_epi64(s, _mm_mul_epu32(v2, c2)) : _mm_add_epi64(s, _mm_mul_epu32(v2, c2));
    const __m128i low = _mm_set1_epi64x(0xFFFFFFFF), f = _mm_set1_epi64x(fold);
    s = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(s, 32), f), _mm_and_si128(s, low));
    s = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(s, 32), f), _mm_and_si128(s, low));
    const __m128i m = _mm_set1_epi64x(static_cast<int64_t>(modulus));
    const __m128i r = _mm_sub_epi64(s, m);
    const __m128i negative = _mm_shuffle_epi32(_mm_srai_epi32(r, 31), 0xF5);
    return _mm_add_epi64(r, _mm_and_si128(negative, m));
}

inline __m128i combine_sixteen(__m128i x, __m128i y) {
    const __m128i z = _mm_sub_epi64(x, y);
    const __m128i negative = _mm_shuffle_epi32(_mm_srai_epi32(z, 31), 0xF5);
    return _mm_add_epi64(z, _mm_and_si128(negative, _mm_set1_epi64x(static_cast<int64_t>(m1))));
}

// Elements first to n & ~15 (n - first at least 16), the first sixteen one
// at a time and kept.  Values sit in 64-bit slots, so that a pair of
// neighbours is one aligned load and the pair between two loads one byte
// shift; a block writes [at, at + 16) from [at - 16, at + 2).  Blocks move up
// the buffer and only the last is moved down when it is full.  Returns the
// next element's index.
template <typename Sink>
int32_t sixteen_apart(mrg32k3a_state& s, int32_t first, int32_t n, const Sink& out) {
    uint32_t x0 = s.x[0], x1 = s.x[1], x2 = s.x[2];
    uint32_t y0 = s.y[0], y1 = s.y[1], y2 = s.y[2];
    constexpr int32_t capacity = 128;
    alignas(16) uint64_t rx[capacity], ry[capacity];
    int32_t i = first;
    for (int k = 0; k < 16; ++k, ++i) {
        const uint32_t nx = step_x(x0, x1), ny = step_y(y0, y2);
        x0 = x1, x1 = x2, x2 = nx;
        y0 = y1, y1 = y2, y2 = ny;
        rx[k] = nx;
        ry[k] = ny;
        out.store(i, combine(nx, ny));
    }
    const __m128i cx0 = _mm_set1_epi64x(0x2BE4D11D), cx1 = _mm_set1_epi64x(0x4F76450B),
                  cx2 = _mm_set1_epi64x(0x1464380F), bias_x = _mm_set1_epi64x(0x4F7644CA2071A205);
    const __m128i cy0 = _mm_set1_epi64x(0x30C751B6), cy1 = _mm_set1_epi64x(0x1E0D0594),
                  cy2 = _mm_set1_epi64x(0x2CDBC50E), bias_y = _mm_set1_epi64x(0x4AE8B082E0CF1056);
    const int32_t end = first + ((n - first) & ~15);
    int32_t at = 16;
    for (; i < end; i += 16, at += 16) {
        if (at == capacity) {
            std::memcpy(rx, rx + capacity - 16, 16 * sizeof(uint64_t));
            std::memcpy(ry, ry + capacity - 16, 16 * sizeof(uint64_t));
            at = 16;
        }
        for (int k = 0; k < 16; k += 2) {
            const __m128i x = sixteen_ahead<m1, 209, false>(rx + at - 16 + k, cx0, cx1, cx2, bias_x);
            const __m128i y = sixteen_ahead<m2, 22853, true>(ry + at - 16 + k, cy0, cy1, cy2, bias_y);
            _mm_store_si128(reinterpret_cast<__m128i*>(rx + at + k), x);
            _mm_store_si128(reinterpret_cast<__m128i*>(ry + at + k), y);
            out.store2(i + k, combine_sixteen(x, y));
        }
    }
    for (int k = 0; k < 3; ++k) s.x[k] = static_cast<uint32_t>(rx[at - 3 + k]), s.y[k] = static_cast<uint32_t>(ry[at - 3 + k]);
    return i;
}

// ---- Jump tables ---------------------------------------------------------

// Chain lengths of one pass: from min_chain to max_chain elements.  A pass
// of 12 chains of up to 256 elements makes its 22 jump products a small part
// of its 3072 elements, and any call of 96 elements or more is one or more
// whole passes plus fewer than 96 single steps.
constexpr int32_t chains = 12;
constexpr int32_t min_chain = 8;
constexpr int32_t max_chain = 256;
// Calls from one whole pass of the shortest chains on take the lanes: at 96
// elements they already beat the sixteen-apart path (~5.0 against ~5.5 TSC
// ticks per element, ~2.5 against ~5.4 at 1000).
constexpr int32_t lane_threshold = chains * min_chain;
// The jump table reaches 512 steps: chains of L up to 85 start six chains
// back, longer ones fewer (down to two at 256).
constexpr int32_t max_jump = 512;
constexpr int max_back = 6;

// The companion matrix maps (v(n-3), v(n-2), v(n-1)) to (v(n-2), v(n-1),
// v(n)); its powers jump a state ahead.  power[L][i][k] holds entry (i, k)
// of A^L mod m1 for x and of B^L mod m2 for y side by side, the layout of
// the jump's 64-bit lanes; built by L - 1 multiplications at compile time.
struct jump_table {
    using matrix = std::array<std::array<uint64_t, 3>, 3>;
    std::array<std::array<std::array<std::array<uint32_t, 2>, 3>, 3>, max_jump + 1> power{};
    static constexpr matrix times(const matrix& a, const matrix& b, uint64_t modulus) {
        matrix c{};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                unsigned __int128 s = 0;
                for (int k = 0; k < 3; ++k) s += static_cast<unsigned __int128>(a[i][k]) * b[k][j];
                c[i][j] = static_cast<uint64_t>(s % modulus);
            }
        return c;
    }
    constexpr jump_table() {
        const matrix a = {{{0, 1, 0}, {0, 0, 1}, {m1 - bx, ax, 0}}};
        const matrix b = {{{0, 1, 0}, {0, 0, 1}, {m2 - by, 0, ay}}};
        matrix pa = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}, pb = pa;
        for (int32_t l = 0; l <= max_jump; ++l) {
            for (int i = 0; i < 3; ++i)
                for (int k = 0; k < 3; ++k)
                    power[l][i][k] = {static_cast<uint32_t>(pa[i][k]), static_cast<uint32_t>(pb[i][k])};
            pa = times(a, pa, m1);
            pb = times(b, pb, m2);
        }
    }
};

constexpr jump_table jumps;

// (M v) mod m for x in the low 64-bit lane and y in the high one, entries
// and values below m < 2^32.  Each 64-bit product folds once by 2^32 = fold
// (below 2^46.5), three such sum below 2^48.1, a second fold leaves less than
// 2^32 + 2^30.7 < 2 m, and one conditional subtraction finishes.
inline void jump(const std::array<std::array<std::array<uint32_t, 2>, 3>, 3>& mat, const __m128i (&v)[3],
                 __m128i (&out)[3]) {
    const __m128i low = _mm_set1_epi64x(0xFFFFFFFF), fold = _mm_set_epi64x(22853, 209);
    const __m128i m = _mm_set_epi64x(static_cast<int64_t>(m2), static_cast<int64_t>(m1));
    const auto folded = [&](__m128i p) {
        return _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(p, 32), fold), _mm_and_si128(p, low));
    };
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) {
        __m128i t = _mm_setzero_si128();
#pragma GCC unroll 3
        for (int k = 0; k < 3; ++k) {
            const __m128i e = _mm_cvtepu32_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(mat[i][k].data())));
            t = _mm_add_epi64(t, folded(_mm_mul_epu32(e, v[k])));
        }
        const __m128i r = _mm_sub_epi64(folded(t), m);
        const __m128i negative = _mm_shuffle_epi32(_mm_srai_epi32(r, 31), 0xF5);
        out[i] = _mm_add_epi64(r, _mm_and_si128(negative, m));
    }
}

// ---- Lanes ---------------------------------------------------------------

constexpr int rn = _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC;
constexpr int rd = _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC;

// 1/m1 rounded down: its 53-bit significand M, scaled by 2^-84, must have
// M m1 below 2^84.
constexpr double inv_m1_below = std::bit_cast<double>(std::bit_cast<uint64_t>(1.0 / static_cast<double>(m1)) - 1);
static_assert(((std::bit_cast<uint64_t>(inv_m1_below) & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52)) * static_cast<unsigned __int128>(m1) <
                  static_cast<unsigned __int128>(1) << 84 &&
              std::bit_cast<uint64_t>(inv_m1_below) >> 52 == 1023 - 32);

struct lane_constants {
    __m128d ax, bx, ay, by, m1, m2, inv1, inv2, inv1_below;
    lane_constants()
        : ax(_mm_set1_pd(qlm::random::ax)), bx(_mm_set1_pd(qlm::random::bx)), ay(_mm_set1_pd(qlm::random::ay)),
          by(_mm_set1_pd(qlm::random::by)), m1(_mm_set1_pd(qlm::random::m1)), m2(_mm_set1_pd(qlm::random::m2)),
          inv1(_mm_set1_pd(1.0 / qlm::random::m1)), inv2(_mm_set1_pd(1.0 / qlm::random::m2)),
          inv1_below(_mm_set1_pd(inv_m1_below)) {}
};

// p - round(p / m) m, for an exact integer p below 2^53 in size.
inline __m128d reduce_symmetric(__m128d p, __m128d inv, __m128d m) {
    const __m128d k = _mm_round_pd(_mm_mul_pd(p, inv), rn);
    return _mm_sub_pd(p, _mm_mul_pd(k, m));
}

// The element from symmetric x and y: y moves into [0, m2) (its sign bit
// selects y + m2; a zero is never negative under round-to-nearest), and
// t = x - y, in (-2 m1, m1), into [0, m1) by its floor quotient.
inline __m128d element(__m128d x, __m128d y, const lane_constants& c) {
    const __m128d y_true = _mm_blendv_pd(y, _mm_add_pd(y, c.m2), y);
    const __m128d t = _mm_sub_pd(x, y_true);
    return _mm_sub_pd(t, _mm_mul_pd(_mm_round_pd(_mm_mul_pd(t, c.inv1_below), rd), c.m1));
}

// Where the lanes' elements go.  z holds two elements as exact integers,
// lane 0 for r[i0] and lane 1 for r[i1]; the scale and offset are kept in
// registers for the pass, and floats are the doubles rounded on the store.
// A zero offset (the usual [0, 1)) drops the addition: z s + 0 is z s.
template <typename T, bool Offset>
struct scaled_lanes {
    T* r;
    __m128d scale, a;
    void store(int32_t i0, int32_t i1, __m128d z) const {
        __m128d d = _mm_mul_pd(z, scale);
        if constexpr (Offset) d = _mm_add_pd(d, a);
        if constexpr (std::is_same_v<T, double>) {
            _mm_store_sd(r + i0, d);
            _mm_storeh_pd(r + i1, d);
        } else {
            const __m128 f = _mm_cvtpd_ps(d);
            _mm_store_ss(r + i0, f);
            _mm_store_ss(r + i1, _mm_movehdup_ps(f));
        }
    }
};

struct word_lanes {
    uint32_t* r;
    void store(int32_t i0, int32_t i1, __m128d z) const {
        // z + 2^52 holds z in the low 32 bits of its significand.
        const __m128 w = _mm_castpd_ps(_mm_add_pd(z, _mm_set1_pd(4503599627370496.0)));
        _mm_store_ss(reinterpret_cast<float*>(r + i0), w);
        _mm_store_ss(reinterpret_cast<float*>(r + i1), _mm_movehl_ps(w, w));
    }
};

// The lanes of a sink, handed to f: with and without the offset for the
// scaled sinks, by the offset's value.
template <typename Sink, typename F>
inline void with_lanes(const Sink& s, F&& f) {
    if constexpr (std::is_same_v<Sink, word_sink>) {
        f(word_lanes{s.r});
    } else {
        using T = std::remove_pointer_t<decltype(s.r)>;
        const __m128d scale = _mm_set1_pd(s.scale), a = _mm_set1_pd(s.a);
        if (s.a == 0)
            f(scaled_lanes<T, false>{s.r, scale, a});
        else
            f(scaled_lanes<T, true>{s.r, scale, a});
    }
}

// History rows of one pass: row k holds v(n) of every chain for one step,
// register p holding chains 2p and 2p + 1.  The rows run up the buffer for
// `span` steps and the last three are then moved down to rows 0 to 2.
constexpr int32_t pairs = chains / 2;
constexpr int32_t span = 32;
using history = __m128d[3 + span][pairs];

// Step k of every chain: rows k - 3 to k - 1 to row k, and, when a sink is
// given, the elements of row k - lag stored in the same turn.  The row
// pointers pass through an empty asm so that the compiler keeps the history
// in the buffer, where one load per operand costs less than the register
// shuffling it otherwise makes across iterations.
struct no_lanes {};

template <typename Lanes = no_lanes>
inline void step_rows(history& hx, history& hy, int32_t k, const lane_constants& c, const Lanes& out = {},
                      int32_t lag = 0, int32_t first = 0, int32_t length = 0, int32_t i = 0) {
    __m128d(*x)[pairs] = hx + k;
    __m128d(*y)[pairs] = hy + k;
    asm("" : "+r"(x), "+r"(y));
#pragma GCC unroll 8
    for (int p = 0; p < pairs; ++p) {
        x[0][p] = reduce_symmetric(_mm_sub_pd(_mm_mul_pd(c.ax, x[-2][p]), _mm_mul_pd(c.bx, x[-3][p])), c.inv1, c.m1);
        y[0][p] = reduce_symmetric(_mm_sub_pd(_mm_mul_pd(c.ay, y[-1][p]), _mm_mul_pd(c.by, y[-3][p])), c.inv2, c.m2);
        if constexpr (!std::is_same_v<Lanes, no_lanes>)
            out.store(first + 2 * p * length + i, first + (2 * p + 1) * length + i, element(x[-lag][p], y[-lag][p], c));
    }
}

// The elements of row k, element index i of each chain's stretch.
template <typename Lanes>
inline void emit_row(const history& hx, const history& hy, int32_t k, const lane_constants& c, const Lanes& out,
                     int32_t first, int32_t length, int32_t i) {
#pragma GCC unroll 8
    for (int p = 0; p < pairs; ++p)
        out.store(first + 2 * p * length + i, first + (2 * p + 1) * length + i, element(hx[k][p], hy[k][p], c));
}

// One pass: chain j starts from start_x[j], start_y[j] and writes elements
// first + j L to first + j L + L - 1.  Elements are emitted three steps behind
// the recurrence, so that each step's loads and long dependency chains
// overlap with independent work.  The state afterwards is the last chain's
// last three values.
template <typename Lanes>
void run_chains(const __m128i (&start)[chains][3], int32_t length, int32_t first, const Lanes& out,
                mrg32k3a_state& s) {
    constexpr int32_t lag = 3;
    const lane_constants c;
    alignas(16) history hx, hy;
    // Values below 2^32 become doubles by the 2^52 trick; a pair of chains'
    // (x, y) registers then regroups into an x pair and a y pair.
    const __m128i exponent = _mm_set1_epi64x(0x4330000000000000);
    const __m128d shift = _mm_set1_pd(4503599627370496.0);
    const auto as_double = [&](__m128i v) { return _mm_sub_pd(_mm_castsi128_pd(_mm_or_si128(v, exponent)), shift); };
    for (int p = 0; p < pairs; ++p)
        for (int k = 0; k < 3; ++k) {
            const __m128d even = as_double(start[2 * p][k]), odd = as_double(start[2 * p + 1][k]);
            hx[k][p] = _mm_unpacklo_pd(even, odd);
            hy[k][p] = _mm_unpackhi_pd(even, odd);
        }
    for (int32_t i = 0; i < length;) {
        const int32_t steps = std::min(span, length - i);
        int32_t k = 3;
        for (; k < 3 + std::min(lag, steps); ++k) step_rows(hx, hy, k, c);
        for (; k < 3 + steps; ++k) step_rows(hx, hy, k, c, out, lag, first, length, i + k - 3 - lag);
        for (int32_t row = std::max(3, k - lag); row < k; ++row) emit_row(hx, hy, row, c, out, first, length, i + row - 3);
        for (int r = 0; r < 3; ++r)
            for (int p = 0; p < pairs; ++p) hx[r][p] = hx[steps + r][p], hy[r][p] = hy[steps + r][p];
        i += steps;
    }
    // The last chain's state in true residues, oldest first.
    for (int k = 0; k < 3; ++k) {
        const double vx = _mm_cvtsd_f64(_mm_unpackhi_pd(hx[k][pairs - 1], hx[k][pairs - 1]));
        const double vy = _mm_cvtsd_f64(_mm_unpackhi_pd(hy[k][pairs - 1], hy[k][pairs - 1]));
        s.x[k] = static_cast<uint32_t>(static_cast<int64_t>(vx) + (vx < 0 ? static_cast<int64_t>(m1) : 0));
        s.y[k] = static_cast<uint32_t>(static_cast<int64_t>(vy) + (vy < 0 ? static_cast<int64_t>(m2) : 0));
    }
}

// The lanes' sign test on y needs round-to-nearest in MXCSR (a difference of
// equal values is then +0, never -0); a caller in another mode gets the
// sixteen-apart integer path, exact in every mode.
inline bool rounding_is_nearest() { return (_mm_getcsr() & 0x6000) == 0; }

template <typename Sink>
int32_t generate(void* stream, int32_t n, const Sink& out) {
    mrg32k3a_state& s = *state_of<mrg32k3a_state>(stream);
    int32_t i = 0;
    if (n >= lane_threshold && rounding_is_nearest()) {
        while (n - i >= chains * min_chain) {
            const int32_t length = std::min((n - i) / chains, max_chain);
            __m128i start[chains][3];
            for (int k = 0; k < 3; ++k) start[0][k] = _mm_set_epi64x(s.y[k], s.x[k]);
            // `back` independent sequences of jumps: chains 1 to back from the
            // state, every later one from the chain `back` before it.
            const int back = std::min(max_back, max_jump / length);
            for (int j = 1; j < chains; ++j) {
                const int from = std::max(0, j - back);
                jump(jumps.power[(j - from) * length], start[from], start[j]);
            }
            with_lanes(out, [&](const auto& lanes) { run_chains(start, length, i, lanes, s); });
            i += chains * length;
        }
    } else if (n >= 16) {
        i = sixteen_apart(s, 0, n, out);
    }
    uint32_t x0 = s.x[0], x1 = s.x[1], x2 = s.x[2];
    uint32_t y0 = s.y[0], y1 = s.y[1], y2 = s.y[2];
    for (; i < n; ++i) {
        const uint32_t nx = step_x(x0, x1), ny = step_y(y0, y2);
        x0 = x1, x1 = x2, x2 = nx;
        y0 = y1, y1 = y2, y2 = ny;
        out.store(i, combine(nx, ny));
    }
    s.x[0] = x0, s.x[1] = x1, s.x[2] = x2;
    s.y[0] = y0, s.y[1] = y1, s.y[2] = y2;
    return ok;
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsBRngMRG32K3AInitStream(int32_t method, void* stream, int32_t n, const uint32_t* params) {
    mrg32k3a_state& s = *state_of<mrg32k3a_state>(stream);
    switch (method) {
        case init_seed: {
            uint32_t w[6] = {1, 1, 1, 1, 1, 1};
            for (int32_t k = 0; k < n && k < 6; ++k) w[k] = params[k];
            for (int k = 0; k < 3; ++k) {
                s.x[k] = w[k] >= m1 ? static_cast<uint32_t>(w[k] - m1) : w[k];
                s.y[k] = w[k + 3] >= m2 ? static_cast<uint32_t>(w[k + 3] - m2) : w[k + 3];
            }
            if ((s.x[0] | s.x[1] | s.x[2]) == 0) s.x[0] = 1;
            if ((s.y[0] | s.y[1] | s.y[2]) == 0) s.y[0] = 1;
            return ok;
        }
        case init_leapfrog:
            return no_leapfrog;
        case init_skip_ahead: {
            const uint64_t nskip = read_u64(params);
            const uint32_t row_x[3] = {0, static_cast<uint32_t>(ax), static_cast<uint32_t>(m1 - bx)};
            const uint32_t row_y[3] = {static_cast<uint32_t>(ay), 0, static_cast<uint32_t>(m2 - by)};
            __vxsiVect3PowMod(s.x, row_x, static_cast<uint32_t>(m1), nskip);
            __vxsiVect3PowMod(s.y, row_y, static_cast<uint32_t>(m2), nskip);
            return ok;
        }
        default:
            return bad_init_method;
    }
}

QLM_EXPORT int32_t __vxsdBRngMRG32K3A(void* stream, int32_t n, double* r, double a, double b) {
    return generate(stream, n, double_sink{r, (b - a) * unit, a});
}

QLM_EXPORT int32_t __vxssBRngMRG32K3A(void* stream, int32_t n, float* r, float a, float b) {
    const double wa = a, wb = b;
    return generate(stream, n, single_sink{r, (wb - wa) * unit, wa});
}

QLM_EXPORT int32_t __vxsiBRngMRG32K3A(void* stream, int32_t n, void* r) {
    return generate(stream, n, word_sink{static_cast<uint32_t*>(r)});
}

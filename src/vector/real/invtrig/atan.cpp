// Atan, double and single.
//
// Double LA (which also serves HA): a node table instead of a second
// reduction.  The magnitude picks a node c by the top five mantissa bits
// of its high word: c is the midpoint of one of the 32 equal parts of its
// binade for 2^-7 <= |x| < 2^7, 0 below, 256 above (tools/invtrig_fits/
// atan_table.cpp, atan(c) as hi + lo).  Then
//   atan(|x|) = atan(c) + atan(t),  t = (|x| - c)/(1 + c |x|),
// where |x| - c is exact (c lies within a factor 2 of |x|, or is 0), and
// |t| <= 2^-7 in every region (relative spacing 2^-5 halves twice: once at
// the midpoint, once more by 1 + c|x| >= 2c), so that the three Taylor
// terms -t^3/3 + t^5/5 - t^7/7 leave 2^-59.  No quotient correction is
// needed: t's few roundings weigh |t|/atan(|x|) <= 2^-6 of the result, and
// atan(c)hi + (t + (tail + atan(c)lo)) rounds once: about 0.55 ulp, with no
// double-double step.  Above 2^7 the node 256 keeps |t| <= 2^-8, and
// |x| - 256 loses only 2^-61 of t when it rounds.  Double EP: the octant
// form of invtrig_wide.h with the 2^-30 fit.  Single HA runs that plain
// double form in double pairs (0.5 ulp and a hair); single EP the plain
// octant form in float lanes with the 2^-12 fit.  Single LA: no second
// reduction, t = |x| or -1/|x| (one division, the sign carried by t) and
// atan(|x|) = k + t Q(t^2), k = 0 or pi/2, with Q of degree 8 on [0, 1]
// (tools/invtrig_fits, 3.6e-8 absolute): about 1.8 ulp, the float pi/2's
// own rounding included.
// Screen: |x| < 2^1000 for double LA (c |x| stays finite), finite inputs
// otherwise.  The rest goes to the per-element routine below (the eighths
// reduction of atan_core.h in double): NaN for NaN and +-pi/2 for
// +-infinity, without a status.  atan(x) of a denormal is x itself
// (correctly rounded), so no status either.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invtrig/atan_core.h"
#include "vector/real/invtrig/atan_table.h"
#include "vector/real/invtrig/invtrig_wide.h"
#include "vector/real/invtrig/wide_groups.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, int Terms, bool Extra, const char* Name>
struct atan_plan : abs_screen<Elem, 0x7FF00000u, 0x7F800000u, Name> {
    using T = Elem;
    static T fast(T x) {
        const double r = atan_nonnegative<Terms, Extra>(std::fabs(static_cast<double>(x)));
        return static_cast<T>(std::copysign(r, static_cast<double>(x)));
    }
    static T scalar(T x, int&) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return static_cast<T>(std::copysign(kPio2Hi, static_cast<double>(x)));
        return fast(x);
    }
};

constexpr char kD[] = "vdAtan";
constexpr char kS[] = "vsAtan";

}  // namespace

namespace {

using namespace qlm::invtrig;

template <typename T, std::size_t N>
QLM_WIDE vec_t<T> atan_plain(vec_t<T> x, const T (&tail)[N]) {
    const vec_t<T> ax = bandnot(element<T>::sign(), x);
    return bor(angle_plain<false>(ax, splat<T>(1), element<T>::zero(), tail), band(x, element<T>::sign()));
}

struct atan_nodes_d {
    QLM_WIDE static __m128d value(__m128d x) {
        const __m128d sign = element<double>::sign();
        const __m128d ax = _mm_andnot_pd(sign, x);
        // Row 0 for magnitudes below 2^-7 (the clamp lands one part below
        // the first), row 449 from 2^7 on; in between 32 rows a binade.
        const __m128d clamped = _mm_min_pd(_mm_max_pd(ax, _mm_set1_pd(0x1.fffffffffffffp-8)), _mm_set1_pd(0x1p7));
        const __m128i high = _mm_shuffle_epi32(_mm_castpd_si128(clamped), _MM_SHUFFLE(3, 1, 3, 1));
        const __m128i row = _mm_srli_epi32(_mm_sub_epi32(high, _mm_set1_epi32(0x3F800000 - 0x8000)), 15);
        const int r0 = _mm_cvtsi128_si32(row), r1 = _mm_extract_epi32(row, 1);
        const __m128d v0 = _mm_load_pd(atan_node_values[r0]), v1 = _mm_load_pd(atan_node_values[r1]);
        const __m128d c = _mm_loadh_pd(_mm_load_sd(atan_nodes + r0), atan_nodes + r1);
        const __m128d t = div(sub(ax, c), add(_mm_set1_pd(1.0), mul(c, ax)));
        const __m128d s = mul(t, t);
        const __m128d p = add(_mm_set1_pd(-1.0 / 3), mul(s, add(_mm_set1_pd(1.0 / 5), mul(s, _mm_set1_pd(-1.0 / 7)))));
        const __m128d tail = mul(mul(t, s), p);
        const __m128d r = add(_mm_unpacklo_pd(v0, v1), add(t, add(tail, _mm_unpackhi_pd(v0, v1))));
        return _mm_or_pd(r, _mm_and_pd(x, sign));
    }
};
template <const auto& Tail>
struct atan_plain_of {
    template <class V>
    QLM_WIDE static V value(V x) { return atan_plain(x, Tail); }
};
struct atan_swap_f {
    QLM_WIDE static __m128 value(__m128 x) {
        const __m128 sign = element<float>::sign(), one = _mm_set1_ps(1.0f);
        const __m128 swap = _mm_cmplt_ps(one, _mm_andnot_ps(sign, x));
        // x itself up to 1, else -1/x, whose angle is taken from +-pi/2.
        const __m128 t = div(_mm_blendv_ps(x, _mm_set1_ps(-1.0f), swap), _mm_blendv_ps(one, x, swap));
        const __m128 k = _mm_and_ps(swap, _mm_or_ps(_mm_and_ps(x, sign), _mm_set1_ps(0x1.921fb6p+0f)));
        return add(k, mul(t, polynomial(atan_unit_f, mul(t, t))));
    }
};
struct atan_in_double_pairs {
    QLM_WIDE static __m128 value(__m128 x) {
        return in_double_pairs(x, [](__m128d v) { return atan_plain(v, atan_tail_m); });
    }
};

using old_d_la = atan_plan<double, 7, true, kD>;
using old_d_ep = atan_plan<double, 3, false, kD>;

}  // namespace

QLM_INVTRIG_DOUBLE_UNARY(qlmk_dAtan_LA, qlm::frame::kX87None, double_unary<atan_nodes_d, 0x7E700000u, old_d_la>)
QLM_INVTRIG_DOUBLE_UNARY(qlmk_dAtan_EP, qlm::frame::kX87None, double_unary<atan_plain_of<atan_tail_m>, 0x7FF00000u, old_d_ep>)
QLM_INVTRIG_SINGLE_UNARY(qlmk_sAtan_HA, qlm::frame::kX87None, single_unary<atan_in_double_pairs, 0x7F800000u, atan_plan<float, 3, false, kS>>)
QLM_INVTRIG_SINGLE_UNARY(qlmk_sAtan_LA, qlm::frame::kX87None, single_unary<atan_swap_f, 0x7F800000u, atan_plan<float, 2, false, kS>>)
QLM_INVTRIG_SINGLE_UNARY(qlmk_sAtan_EP, qlm::frame::kX87None, single_unary<atan_plain_of<atan_tail_e>, 0x7F800000u, atan_plan<float, 1, false, kS>>)

// Atan, double and single.
//
// Method: the angle of the point (1, x) by the octant reduction of
// invtrig_wide.h, on whole groups in SSE registers.  Double LA (which also
// serves HA) takes the careful form, with the quotient carried as a pair
// and the octant constant added exactly (at most about 0.8 ulp); double EP the
// plain form with the 2^-30 fit.  Single HA runs the plain double form
// with the 2^-30 fit in double pairs (0.5 ulp and a hair); single LA and
// EP the plain form in float lanes with the 2^-20 and 2^-12 fits.
// Screen: finite inputs.  The rest goes to the per-element
// routine below (the eighths reduction of atan_core.h in double): NaN for
// NaN and +-pi/2 for +-infinity, without a status.  atan(x) of a denormal
// is x itself (correctly rounded), so no status either.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invtrig/atan_core.h"
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

struct atan_careful_d {
    QLM_WIDE static __m128d value(__m128d x) {
        // Beyond 2^60, atan(x) rounds to the double nearest pi/2 whatever
        // 1/x is, so clamping keeps the result and the exact products small.
        const __m128d ax = _mm_min_pd(_mm_andnot_pd(element<double>::sign(), x), _mm_set1_pd(0x1p60));
        return _mm_or_pd(angle_careful<false>(ax, _mm_set1_pd(1), _mm_setzero_pd()), _mm_and_pd(x, element<double>::sign()));
    }
};
template <const auto& Tail>
struct atan_plain_of {
    template <class V>
    QLM_WIDE static V value(V x) { return atan_plain(x, Tail); }
};
struct atan_in_double_pairs {
    QLM_WIDE static __m128 value(__m128 x) {
        return in_double_pairs(x, [](__m128d v) { return atan_plain(v, atan_tail_m); });
    }
};

using old_d_la = atan_plan<double, 7, true, kD>;
using old_d_ep = atan_plan<double, 3, false, kD>;

}  // namespace

QLM_INVTRIG_DOUBLE_UNARY(qlmk_dAtan_LA, qlm::frame::kX87None, double_unary<atan_careful_d, 0x7FF00000u, old_d_la>)
QLM_INVTRIG_DOUBLE_UNARY(qlmk_dAtan_EP, qlm::frame::kX87None, double_unary<atan_plain_of<atan_tail_m>, 0x7FF00000u, old_d_ep>)
QLM_INVTRIG_SINGLE_UNARY(qlmk_sAtan_HA, qlm::frame::kX87None, single_unary<atan_in_double_pairs, 0x7F800000u, atan_plan<float, 3, false, kS>>)
QLM_INVTRIG_SINGLE_UNARY(qlmk_sAtan_LA, qlm::frame::kX87None, single_unary<atan_plain_of<atan_tail_f>, 0x7F800000u, atan_plan<float, 2, false, kS>>)
QLM_INVTRIG_SINGLE_UNARY(qlmk_sAtan_EP, qlm::frame::kX87None, single_unary<atan_plain_of<atan_tail_e>, 0x7F800000u, atan_plan<float, 1, false, kS>>)

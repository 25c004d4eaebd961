// Single Sin, Cos, SinCos and Tan, every slot.
//
// LA: float arithmetic on four lanes (trig_single_lanes.h), eight elements
// a turn; a group with an element at or above 6144 in magnitude (or not
// finite) is recomputed element by element.
// Sin and Cos HA: the floats widened to double lanes (trig_single_lanes.h,
// single_ha), eight elements a turn; a group with an element at or above
// 2^16 in magnitude (or not finite) is recomputed element by element.
// SinCos and Tan HA and the EP routines: each element is widened to double
// and evaluated by a double method one class finer than the slot needs,
// then rounded once.  SinCos and Tan HA: the LA lanes of double
// (trig_la_lanes.h; within 3.4 ulps of double, so within 0.5 + 2^-27 ulp of
// single), four elements a turn in two pairs, lanes at or above 2^16
// redone.  EP: the EP methods of double (more than 27 bits, so within 0.6
// ulp of single), eight elements a turn, lanes at or above 2^24 redone.
// The redone lanes (infinities among them) go one at a time through the
// per-element step: NaN gives NaN quietly, an infinity NaN with
// VXM_STATUS_ERRDOM, any other value the double evaluator with its exact
// reduction.  The x87 control value 0x200 is set where the routine keeps it:
// Sin HA and EP, Cos LA and HA, SinCos and Tan in every slot.
#include <cstdint>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/power/group_loop.h"
#include "vector/real/trig/tan_core.h"
#include "vector/real/trig/trig_la_lanes.h"
#include "vector/real/trig/trig_single_lanes.h"

namespace {

using namespace qlm::lanes;
using qlm::frame::kernel_frame;
namespace trig = qlm::trig;

enum class fn { sin, cos, sincos, tan };

// Result and status of one element through the double evaluators.
template <fn F>
inline double special_step(float x, int64_t quarter, int32_t& status) {
    const double d = x;
    if (!(abs(d) <= 0x1.fffffep127)) {
        if (d == d) status = VXM_STATUS_ERRDOM;
        return d - d;
    }
    if constexpr (F == fn::tan) return trig::tan_evaluate(d);
    else return trig::sin_evaluate(d, quarter);
}

// LA and EP: the EP methods of double, eight elements a turn.
template <fn F>
void single_trig(int32_t n, const float* a, float* y, float* z, const char* name) {
    constexpr auto sp = trig::sine_poly::ep;
    constexpr auto tp = trig::tan_poly::ep;
    auto wide = [&](int32_t i, auto x) {
        if constexpr (F == fn::sin || F == fn::sincos) put(y + i, trig::sin_by_poly<sp, false>(x));
        if constexpr (F == fn::cos) put(y + i, trig::sin_by_poly<sp, true>(x));
        if constexpr (F == fn::sincos) put(z + i, trig::sin_by_poly<sp, true>(x));
        if constexpr (F == fn::tan) put(y + i, trig::tan_by_poly<tp>(x));
    };
    auto redo = [&](int32_t i) {
        int32_t status = 0;
        const float x = a[i];  // y may be a
        const float s = static_cast<float>(special_step<F>(x, F == fn::cos ? 1 : 0, status));
        if constexpr (F == fn::sincos) z[i] = static_cast<float>(special_step<F>(x, 1, status));
        y[i] = s;
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, F == fn::sincos ? z : y, name);
    };
    run_eights_redo(n, a, trig::kPolyLimit, wide, redo);
}

// LA (Fine false): the float lanes of trig_single_lanes.h; Sin and Cos HA
// (Fine true): its double lanes.  Eight elements a turn in two fours.  A
// group with a lane outside the screen (|x| at or above 6144 in LA, 2^16 in
// HA, or not finite) is recomputed element by element: each element runs
// the same arithmetic on one lane when it passes the screen by itself, and
// the per-element step otherwise, as does each element of the ragged end.
template <fn F, bool Fine>
void single_trig_groups(int32_t n, const float* a, float* y, float* z, const char* name) {
    namespace la = trig::single_la;
    namespace ha = trig::single_ha;
    static_assert(!Fine || F == fn::sin || F == fn::cos);
    const la::constants& k = la::opaque_constants();
    auto first = [&](__m128 x) {
        if constexpr (Fine) return ha::sine4<F == fn::cos>(x);
        else if constexpr (F == fn::tan) return la::tangent(x, k);
        else return la::sine<F == fn::cos>(x, k);
    };
    auto passes = [](__m128 x) { return Fine ? ha::passes(x) : la::passes(x); };
    auto element = [&](int32_t i) {
        const float v = a[i];
        const __m128 x = _mm_set_ss(v);
        if (!passes(x)) {
            int32_t status = 0;
            const float s = static_cast<float>(special_step<F>(v, F == fn::cos ? 1 : 0, status));
            if constexpr (F == fn::sincos) z[i] = static_cast<float>(special_step<F>(v, 1, status));
            y[i] = s;
            if (status != 0) qlm::frame::raise_status(status, i, a, a, y, F == fn::sincos ? z : y, name);
            return;
        }
        const __m128 s = first(x);
        if constexpr (F == fn::sincos) _mm_store_ss(z + i, la::sine<true>(x, k));
        _mm_store_ss(y + i, s);
    };
    int32_t i = 0;
    for (; n - i >= 8; i += 8) {
        const __m128 x0 = _mm_loadu_ps(a + i), x1 = _mm_loadu_ps(a + i + 4);
        if (!(Fine ? ha::all_pass(x0, x1) : la::all_pass(x0, x1))) {
            for (int32_t j = 0; j < 8; ++j) element(i + j);
            continue;
        }
        const __m128 s0 = first(x0), s1 = first(x1);
        if constexpr (F == fn::sincos) {
            const __m128 c0 = la::sine<true>(x0, k), c1 = la::sine<true>(x1, k);
            _mm_storeu_ps(z + i, c0);
            _mm_storeu_ps(z + i + 4, c1);
        }
        _mm_storeu_ps(y + i, s0);
        _mm_storeu_ps(y + i + 4, s1);
    }
    for (; i < n; ++i) element(i);
}
template <fn F>
void single_trig_float(int32_t n, const float* a, float* y, float* z, const char* name) {
    single_trig_groups<F, false>(n, a, y, z, name);
}

// HA: the LA lanes of double (trig_la_lanes.h) on the widened elements, four
// a turn in two pairs; lanes at or above 2^16 go through the per-element
// step, the others keep their results.
template <fn F>
void single_trig_fine(int32_t n, const float* a, float* y, float* z, const char* name) {
    namespace la = trig::la;
    auto pair = [](__m128d x, int k) {
        if constexpr (F == fn::tan) return la::tangent(x);
        else if (k == 0 && F != fn::cos) return la::sine<false>(x);
        else return la::sine<true>(x);
    };
    auto redo = [&](int32_t i, float x) {
        int32_t status = 0;
        y[i] = static_cast<float>(special_step<F>(x, F == fn::cos ? 1 : 0, status));
        if constexpr (F == fn::sincos) z[i] = static_cast<float>(special_step<F>(x, 1, status));
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, F == fn::sincos ? z : y, name);
    };
    const __m128 limit = _mm_set1_ps(static_cast<float>(la::kLaLimit));
    const __m128 magnitude = _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF));
    int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        const __m128 x = _mm_loadu_ps(a + i);
        unsigned mask = static_cast<unsigned>(_mm_movemask_ps(_mm_cmpge_ps(_mm_and_ps(x, magnitude), limit)));
        alignas(16) float keep[4];
        _mm_store_ps(keep, x);  // y may be a
        const __m128d x0 = _mm_cvtps_pd(x), x1 = _mm_cvtps_pd(_mm_movehl_ps(x, x));
        for (int k = 0; k < (F == fn::sincos ? 2 : 1); ++k) {
            const __m128 v = _mm_movelh_ps(_mm_cvtpd_ps(pair(x0, k)), _mm_cvtpd_ps(pair(x1, k)));
            _mm_storeu_ps((k == 0 ? y : z) + i, v);
        }
        while (mask) {
            const int j = __builtin_ctz(mask);
            redo(i + j, keep[j]);
            mask &= mask - 1;
        }
    }
    for (; i < n; ++i) {
        const float x = a[i];
        const __m128d xd = _mm_set_sd(x);
        y[i] = _mm_cvtss_f32(_mm_cvtpd_ps(pair(xd, 0)));
        if constexpr (F == fn::sincos) z[i] = _mm_cvtss_f32(_mm_cvtpd_ps(pair(xd, 1)));
        if (!(abs_bits(x) < 0x47800000u) && x == x) redo(i, x);  // |x| >= 2^16 or infinite
    }
}

using qlm::frame::kRoundNearest;
using qlm::frame::kX87Double;
using qlm::frame::kX87None;

}  // namespace

#define QLM_SINGLE_TRIG(routine, f, method, name, x87)              \
    extern "C" void routine(int32_t n, const float* a, float* y) {   \
        kernel_frame frame(kRoundNearest, x87);                       \
        if (n > 0) method<fn::f>(n, a, y, y, name);                   \
    }
#define QLM_SINGLE_TRIG_HA(routine, f, name)                        \
    extern "C" void routine(int32_t n, const float* a, float* y) {   \
        kernel_frame frame(kRoundNearest, kX87Double);                \
        if (n > 0) single_trig_groups<fn::f, true>(n, a, y, y, name); \
    }
#define QLM_SINGLE_SINCOS(routine, method)                                      \
    extern "C" void routine(int32_t n, const float* a, float* y, float* z) {  \
        kernel_frame frame(kRoundNearest, kX87Double);                          \
        if (n > 0) method<fn::sincos>(n, a, y, z, "vsSinCos");                  \
    }

QLM_SINGLE_TRIG_HA(qlmk_sSin_HA, sin, "vsSin")
QLM_SINGLE_TRIG(qlmk_sSin_LA, sin, single_trig_float, "vsSin", kX87None)
QLM_SINGLE_TRIG(qlmk_sSin_EP, sin, single_trig, "vsSin", kX87Double)
QLM_SINGLE_TRIG_HA(qlmk_sCos_HA, cos, "vsCos")
QLM_SINGLE_TRIG(qlmk_sCos_LA, cos, single_trig_float, "vsCos", kX87Double)
QLM_SINGLE_TRIG(qlmk_sCos_EP, cos, single_trig, "vsCos", kX87None)
QLM_SINGLE_TRIG(qlmk_sTan_HA, tan, single_trig_fine, "vsTan", kX87Double)
QLM_SINGLE_TRIG(qlmk_sTan_LA, tan, single_trig_float, "vsTan", kX87Double)
QLM_SINGLE_TRIG(qlmk_sTan_EP, tan, single_trig, "vsTan", kX87Double)
QLM_SINGLE_SINCOS(qlmk_sSinCos_HA, single_trig_fine)
QLM_SINGLE_SINCOS(qlmk_sSinCos_LA, single_trig_float)
QLM_SINGLE_SINCOS(qlmk_sSinCos_EP, single_trig)

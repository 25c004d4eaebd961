// Single Sin, Cos, SinCos and Tan, every slot.
//
// Each element is widened to double and evaluated by a double method one
// class finer than the slot needs, then rounded once: HA by the LA
// polynomial methods of double (within 2 ulps of double, so within
// 0.5 + 2^-28 ulp of single), LA and EP by the EP methods of double (more
// than 27 bits, so within 0.6 ulp of single).  Eight elements a turn; lanes
// at or above 2^24 (and infinities) are redone one at a time by the
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

template <fn F, bool Fine>
void single_trig(int32_t n, const float* a, float* y, float* z, const char* name) {
    constexpr auto sp = Fine ? trig::sine_poly::la : trig::sine_poly::ep;
    constexpr auto tp = Fine ? trig::tan_poly::la : trig::tan_poly::ep;
    auto wide = [&](int32_t i, auto x) {
        if constexpr (F == fn::sin || F == fn::sincos) put(y + i, trig::sin_by_poly<sp, false>(x));
        if constexpr (F == fn::cos) put(y + i, trig::sin_by_poly<sp, true>(x));
        if constexpr (F == fn::sincos) put(z + i, trig::sin_by_poly<sp, true>(x));
        if constexpr (F == fn::tan) put(y + i, trig::tan_by_poly<tp>(x));
    };
    auto redo = [&](int32_t i) {
        int32_t status = 0;
        y[i] = static_cast<float>(special_step<F>(a[i], F == fn::cos ? 1 : 0, status));
        if constexpr (F == fn::sincos) z[i] = static_cast<float>(special_step<F>(a[i], 1, status));
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, F == fn::sincos ? z : y, name);
    };
    run_eights_redo(n, a, trig::kPolyLimit, wide, redo);
}

using qlm::frame::kRoundNearest;
using qlm::frame::kX87Double;
using qlm::frame::kX87None;

}  // namespace

#define QLM_SINGLE_TRIG(routine, f, fine, name, x87)                  \
    extern "C" void routine(int32_t n, const float* a, float* y) {   \
        kernel_frame frame(kRoundNearest, x87);                       \
        if (n > 0) single_trig<fn::f, fine>(n, a, y, y, name);        \
    }
#define QLM_SINGLE_SINCOS(routine, fine)                                        \
    extern "C" void routine(int32_t n, const float* a, float* y, float* z) {  \
        kernel_frame frame(kRoundNearest, kX87Double);                          \
        if (n > 0) single_trig<fn::sincos, fine>(n, a, y, z, "vsSinCos");       \
    }

QLM_SINGLE_TRIG(qlmk_sSin_HA, sin, true, "vsSin", kX87Double)
QLM_SINGLE_TRIG(qlmk_sSin_LA, sin, false, "vsSin", kX87None)
QLM_SINGLE_TRIG(qlmk_sSin_EP, sin, false, "vsSin", kX87Double)
QLM_SINGLE_TRIG(qlmk_sCos_HA, cos, true, "vsCos", kX87Double)
QLM_SINGLE_TRIG(qlmk_sCos_LA, cos, false, "vsCos", kX87Double)
QLM_SINGLE_TRIG(qlmk_sCos_EP, cos, false, "vsCos", kX87None)
QLM_SINGLE_TRIG(qlmk_sTan_HA, tan, true, "vsTan", kX87Double)
QLM_SINGLE_TRIG(qlmk_sTan_LA, tan, false, "vsTan", kX87Double)
QLM_SINGLE_TRIG(qlmk_sTan_EP, tan, false, "vsTan", kX87Double)
QLM_SINGLE_SINCOS(qlmk_sSinCos_HA, true)
QLM_SINGLE_SINCOS(qlmk_sSinCos_LA, false)
QLM_SINGLE_SINCOS(qlmk_sSinCos_EP, false)

// Double Tan in all slots.
//
// HA, under the x87 control value 0x300: four elements a turn in two pairs,
// screened |x| < 90112 like the sine (high word below 0x40F60000), the table
// method of tan_core.h (sine and cosine as pairs, corrected quotient), within
// 0.51 ulp; a failing group goes element by element, the failing elements to
// the x87 evaluator of tan_core.h (pi/32 reduction, exact for every size,
// 64-bit addition formulas and quotient), within 0.51 ulp.
// LA: four elements a turn, the continued-fraction lane of trig_la_lanes.h
// (within 3.4 ulps), lanes at or above 2^16 redone; EP: eight elements a
// turn, the polynomial method by pi/2 of tan_core.h, lanes at or above 2^24
// redone.  Both run under the x87 control value 0x200, and the redone lanes
// go one at a time to the HA evaluator.  NaN gives NaN quietly; an infinity
// gives NaN with VXM_STATUS_ERRDOM.  Tan of ±0 keeps the sign.
#include <cstdint>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/power/group_loop.h"
#include "vector/real/trig/tan_core.h"
#include "vector/real/trig/trig_la_lanes.h"

namespace {

using namespace qlm::lanes;
using qlm::frame::kernel_frame;
using qlm::frame::kRoundNearest;
namespace trig = qlm::trig;

// x is passed apart from a: when y is a, a[i] may already hold a result.
inline void tan_element(int32_t i, double x, const double* a, double* y) {
    if (!(abs(x) <= 0x1.fffffffffffffp1023)) {
        y[i] = x - x;
        if (x == x) qlm::frame::raise_status_d(VXM_STATUS_ERRDOM, i, a, a, y, y, "vdTan");
        return;
    }
    y[i] = trig::tan_evaluate(x);
}

template <trig::tan_poly Poly>
void tan_poly_kernel(int32_t n, const double* a, double* y) {
    run_eights_redo(
        n, a, trig::kPolyLimit, [&](int32_t i, auto x) { put(y + i, trig::tan_by_poly<Poly>(x)); },
        [&](int32_t i) { tan_element(i, a[i], a, y); });
}

}  // namespace

extern "C" {

void qlmk_dTan_HA(int32_t n, const double* a, double* y) {
    kernel_frame frame(kRoundNearest, qlm::frame::kX87Extended);
    if (n <= 0) return;
    auto element = [&](int32_t i) {
        if (high_word(a[i]) < trig::kSinScreenHigh) y[i] = trig::tan_by_table(a[i]);
        else tan_element(i, a[i], a, y);
    };
    auto fast = [&](int32_t i) {
        if (!all_below<4>(a + i, trig::kSinScreenHigh)) return false;
        store2(y + i, trig::tan_by_table(load2(a + i)));
        store2(y + i + 2, trig::tan_by_table(load2(a + i + 2)));
        return true;
    };
    run_groups<4>(n, fast, element);
}
void qlmk_dTan_LA(int32_t n, const double* a, double* y) {
    kernel_frame frame(kRoundNearest, qlm::frame::kX87Double);
    if (n <= 0) return;
    namespace la = trig::la;
    la::run_redo_groups(
        n, a, [&](int32_t i, __m128d x, int count) { la::store(y + i, la::tangent(x), count); },
        [&](int32_t i, double x) { tan_element(i, x, a, y); });
}
void qlmk_dTan_EP(int32_t n, const double* a, double* y) {
    kernel_frame frame(kRoundNearest, qlm::frame::kX87Double);
    if (n > 0) tan_poly_kernel<trig::tan_poly::ep>(n, a, y);
}

}  // extern "C"

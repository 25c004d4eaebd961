// Double Sin, Cos and SinCos in all slots.
//
// HA: four elements a turn in two pairs; screen |x| < 90112 on the high words
// (0x40F60000); the table method by pi/64 of sine_core.h (128-row angle table,
// pi/64 in three pieces and a rest, exact Taylor coefficients), within
// 0.52 ulp.  A failing group is recomputed element by element: lanes that pass run the same
// arithmetic on one lane, the others go to the per-element step (NaN gives
// x - x, an infinity x - x with VXM_STATUS_ERRDOM, anything finite the
// evaluator with its tiny path and exact large-argument reduction).  SinCos
// takes both results from one reduction and one row.  Sin and Cos HA run
// under the x87 control value 0x200, SinCos HA under 0x300.
//
// LA: four elements a turn in two pairs, the packed lanes of
// trig_la_lanes.h (three-piece reduction by pi, degree-6 polynomial in r^2,
// within 3.3 ulps), each lane at or above 2^16 redone.  EP: eight elements a
// turn in four pairs, the polynomial method by pi with the stated degree-9
// polynomial (about 27 bits), each lane at or above 2^24 redone.  In both,
// a redone lane (infinities included) goes on its own
// through the per-element step while the other lanes keep their wide results;
// NaN lanes compare false and give NaN on the wide path.  SinCos LA runs
// under the x87 control value 0x200.
#include <cstdint>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/power/group_loop.h"
#include "vector/real/power/lanes.h"
#include "vector/real/trig/sine_core.h"
#include "vector/real/trig/trig_la_lanes.h"

namespace {

using namespace qlm::lanes;
using qlm::frame::kernel_frame;
using qlm::frame::kRoundNearest;
using qlm::frame::kX87Double;
using qlm::frame::kX87Extended;
namespace trig = qlm::trig;

// The per-element step shared by every slot: result and status of one input.
inline double special_step(double x, int64_t quarter, int32_t& status) {
    if (!(abs(x) <= 0x1.fffffffffffffp1023)) {
        if (x == x) status = VXM_STATUS_ERRDOM;  // an infinity; NaN stays quiet
        return x - x;
    }
    return trig::sin_evaluate(x, quarter);
}

// Which outputs a kernel writes: sin to y, cos to y, or sin to y and cos to z.
enum class outputs { sin, cos, sincos };

inline void finish(int32_t status, int32_t i, const double* a, double* y, double* z,
                   const char* name) {
    if (status != 0) qlm::frame::raise_status_d(status, i, a, a, y, z, name);
}

template <outputs Out>
void table_kernel(int32_t n, const double* a, double* y, double* z, const char* name) {
    // One lane of the wide arithmetic: SinCos takes both results from one
    // reduction and one row, Sin and Cos the single-result form.
    auto lane = [](auto x, auto& s, auto& c) {
        if constexpr (Out == outputs::sincos) {
            decltype(x) ss, cs;
            trig::sin_cos_pairs_by_table(x, s, ss, c, cs);
            s = keep_zero(x, s + ss);
            c = c + cs;
        } else if constexpr (Out == outputs::sin) {
            s = keep_zero(x, trig::sin_by_table(x, 0));
        } else {
            c = trig::sin_by_table(x, 1);
        }
    };
    auto element = [&](int32_t i) {
        const double x = a[i];
        int32_t status = 0;
        double s = 0, c = 0;
        if (high_word(x) < trig::kSinScreenHigh) {
            lane(x, s, c);
        } else {
            if constexpr (Out != outputs::cos) s = special_step(x, 0, status);
            if constexpr (Out != outputs::sin) c = special_step(x, 1, status);
        }
        if constexpr (Out == outputs::cos) y[i] = c;
        else y[i] = s;
        if constexpr (Out == outputs::sincos) z[i] = c;
        finish(status, i, a, y, Out == outputs::sincos ? z : y, name);
    };
    auto fast = [&](int32_t i) {
        if (!all_below<4>(a + i, trig::kSinScreenHigh)) return false;
        for (int k = 0; k < 4; k += 2) {
            v2df s = {0, 0}, c = {0, 0};
            lane(load2(a + i + k), s, c);
            if constexpr (Out == outputs::cos) store2(y + i + k, c);
            else store2(y + i + k, s);
            if constexpr (Out == outputs::sincos) store2(z + i + k, c);
        }
        return true;
    };
    run_groups<4>(n, fast, element);
}

template <trig::sine_poly Poly, outputs Out>
void poly_kernel(int32_t n, const double* a, double* y, double* z, const char* name) {
    // Lanes at or above 2^24 leave the wide result for the per-element step.
    auto redo = [&](int32_t i) {
        int32_t status = 0;
        if constexpr (Out != outputs::cos) y[i] = special_step(a[i], 0, status);
        if constexpr (Out == outputs::cos) y[i] = special_step(a[i], 1, status);
        if constexpr (Out == outputs::sincos) z[i] = special_step(a[i], 1, status);
        finish(status, i, a, y, Out == outputs::sincos ? z : y, name);
    };
    auto wide = [&](int32_t i, auto x) {
        if constexpr (Out != outputs::cos) put(y + i, trig::sin_by_poly<Poly, false>(x));
        if constexpr (Out != outputs::sin)
            put((Out == outputs::sincos ? z : y) + i, trig::sin_by_poly<Poly, true>(x));
    };
    run_eights_redo(n, a, trig::kPolyLimit, wide, redo);
}

// The LA lanes of trig_la_lanes.h: SinCos runs the Sin and Cos lanes on each
// pair, so that its results are those of Sin and Cos bit for bit.
template <outputs Out>
void la_kernel(int32_t n, const double* a, double* y, double* z, const char* name) {
    namespace la = trig::la;
    auto wide = [&](int32_t i, __m128d x, int count) {
        if constexpr (Out != outputs::cos) la::store(y + i, la::sine<false>(x), count);
        if constexpr (Out != outputs::sin) la::store((Out == outputs::sincos ? z : y) + i, la::sine<true>(x), count);
    };
    auto redo = [&](int32_t i, double x) {
        int32_t status = 0;
        if constexpr (Out != outputs::cos) y[i] = special_step(x, 0, status);
        if constexpr (Out == outputs::cos) y[i] = special_step(x, 1, status);
        if constexpr (Out == outputs::sincos) z[i] = special_step(x, 1, status);
        finish(status, i, a, y, Out == outputs::sincos ? z : y, name);
    };
    la::run_redo_groups(n, a, wide, redo);
}

constexpr auto kEp = trig::sine_poly::ep;

}  // namespace

extern "C" {

void qlmk_dSin_HA(int32_t n, const double* a, double* y) {
    kernel_frame frame(kRoundNearest, kX87Double);
    if (n > 0) table_kernel<outputs::sin>(n, a, y, y, "vdSin");
}
void qlmk_dCos_HA(int32_t n, const double* a, double* y) {
    kernel_frame frame(kRoundNearest, kX87Double);
    if (n > 0) table_kernel<outputs::cos>(n, a, y, y, "vdCos");
}
void qlmk_dSinCos_HA(int32_t n, const double* a, double* y, double* z) {
    kernel_frame frame(kRoundNearest, kX87Extended);
    if (n > 0) table_kernel<outputs::sincos>(n, a, y, z, "vdSinCos");
}

void qlmk_dSin_LA(int32_t n, const double* a, double* y) {
    kernel_frame frame;
    if (n > 0) la_kernel<outputs::sin>(n, a, y, y, "vdSin");
}
void qlmk_dCos_LA(int32_t n, const double* a, double* y) {
    kernel_frame frame;
    if (n > 0) la_kernel<outputs::cos>(n, a, y, y, "vdCos");
}
void qlmk_dSinCos_LA(int32_t n, const double* a, double* y, double* z) {
    kernel_frame frame(kRoundNearest, kX87Double);
    if (n > 0) la_kernel<outputs::sincos>(n, a, y, z, "vdSinCos");
}

void qlmk_dSin_EP(int32_t n, const double* a, double* y) {
    kernel_frame frame;
    if (n > 0) poly_kernel<kEp, outputs::sin>(n, a, y, y, "vdSin");
}
void qlmk_dCos_EP(int32_t n, const double* a, double* y) {
    kernel_frame frame;
    if (n > 0) poly_kernel<kEp, outputs::cos>(n, a, y, y, "vdCos");
}
void qlmk_dSinCos_EP(int32_t n, const double* a, double* y, double* z) {
    kernel_frame frame;
    if (n > 0) poly_kernel<kEp, outputs::sincos>(n, a, y, z, "vdSinCos");
}

}  // extern "C"

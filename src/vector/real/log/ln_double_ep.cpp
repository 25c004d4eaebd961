// Double natural logarithm, EP slot.
//
// Method: the coarse core of log_double.h with one coefficient,
// ln x = k 0x3FE62E42FEFA4000 + ln hi + (r + c2 r^2); ln lo is not read.
// Accuracy: truncation r^3/3 with |r| <= 2^-9, about 20 correct bits next
// to 1, 27 and more away from it.
// Loop: four elements a turn, screened inside the loop; from a failing
// group on, elements run one at a time until the count left is a multiple
// of four, then the wide path resumes.  One at a time, an element that
// passes the screen runs the same formula on one lane; the others take the
// x87 y log2(x) with y = ln 2: +-0 -> -inf with SING, negatives (-inf
// too) -> NaN with ERRDOM, +inf, NaN and denormals as the x87 gives them.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/log/log_double.h"

namespace {

using namespace qlm::vector;

void one_element(int32_t i, const double* a, double* y) {
    const __m128d x = _mm_set1_pd(a[i]);
    if (log_double::one_in_domain(x)) {
        _mm_storel_pd(y + i, log_double::coarse<2, false>(x));
        return;
    }
    const double v = a[i];
    y[i] = log_double::x87_ln(v);
    if (v == 0.0) qlm::frame::raise_status(VXM_STATUS_SING, i, a, a, y, y, "vdLn");
    else if (v < 0.0) qlm::frame::raise_status(VXM_STATUS_ERRDOM, i, a, a, y, y, "vdLn");
}

}  // namespace

extern "C" void qlmk_dLn_EP(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    int32_t i = 0;
    while (n - i >= 4) {
        const __m128d x0 = load_halves(a + i), x1 = load_halves(a + i + 2);
        if (log_double::pair_in_domain(x0, x1)) {
            const __m128d y0 = log_double::coarse<2, false>(x0), y1 = log_double::coarse<2, false>(x1);
            store_halves(y + i, y0);
            store_halves(y + i + 2, y1);
            i += 4;
            continue;
        }
        do one_element(i++, a, y);
        while ((n - i) % 4 != 0);
    }
    for (; i < n; ++i) one_element(i, a, y);
}

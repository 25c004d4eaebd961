// Double natural logarithm, the one routine of the LA and HA slots.
//
// Method: the fine core of log_double.h: biased exponent, 513-row table of
// 23-bit reciprocals and their logarithms, exact r1 = m1 rcp - 1, degree 5
// polynomial (c2..c5 fitted near -1/2, 1/3, -1/4, 1/5), terms summed
// from large to small with the rounding error of the leading addition
// carried into the low part.  Measured below one ulp (tests/vector/log).
// Screen: positive normal finite inputs, (high word - 0x00100000) unsigned
// below 0x7FE00000.  A rejected group is finished lane by lane from the
// saved sums; the special lanes give +-0 -> -inf with SING,
// negatives -> 0xFFF8000000000000 with ERRDOM, NaN -> x + x, +inf -> +inf,
// and denormals are scaled by 2^52, run through the core, and 52 ln 2
// (0x404205966F2B4F12) is taken off.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/log/log_double.h"

namespace {

using namespace qlm::vector;

struct ln_fine : log_double::domain_screen {
    struct reduced {
        double value;  // the lane's finished sum
    };
    static __m128d fast(__m128d x) { return log_double::fine_result(log_double::fine(x)); }
    static void reduce(__m128d x, reduced& l0, reduced& l1) {
        const __m128d v = fast(x);
        l0.value = _mm_cvtsd_f64(v);
        l1.value = _mm_cvtsd_f64(_mm_unpackhi_pd(v, v));
    }
    static void scalar(int32_t i, const double* a, double* y, const reduced& s) {
        const double x = a[i];
        const uint64_t bits = double_to_bits(x);
        if (x != x) {
            y[i] = x + x;
        } else if (bits == 0x7FF0000000000000ull) {
            y[i] = x;
        } else if (x == 0.0) {
            y[i] = bits_to_double(0xFFF0000000000000ull);
            qlm::frame::raise_status(VXM_STATUS_SING, i, a, a, y, y, "vdLn");
        } else if (x < 0.0) {
            y[i] = bits_to_double(0xFFF8000000000000ull);
            qlm::frame::raise_status(VXM_STATUS_ERRDOM, i, a, a, y, y, "vdLn");
        } else if (bits < 0x0010000000000000ull) {
            const __m128d scaled = _mm_set1_pd(x * bits_to_double(0x4330000000000000ull));
            y[i] = _mm_cvtsd_f64(log_double::fine_result(log_double::fine(scaled))) -
                   bits_to_double(0x404205966F2B4F12ull);
        } else {
            y[i] = s.value;
        }
    }
};

}  // namespace

extern "C" void qlmk_dLn_LA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    run_double_groups<ln_fine>(n, a, y);
}

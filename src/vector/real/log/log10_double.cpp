// Double common logarithm, three slots on the logarithm cores.
//
//   HA  fine core as hi + lo (two-sum of the head and r); hi is cut to 26 bits (hh) so that
//       hh * C1, with C1 = log10 e cut to 26 bits, is exact; the rest,
//       (hi - hh) C1 + hi C2 + lo log10 e, is added last.  About half an
//       ulp beyond the core's own error.
//   LA  fine core, the Ln sum times log10 e.
//   EP  coarse core with Taylor degree 3, times log10 e: about 29 bits.
// Screen and special results as in Ln: +-0 -> -inf with SING, negatives
// -> NaN with ERRDOM, NaN -> x + x, +inf -> +inf; denormals by the x87
// y log2(x) with y = log10 2.  A rejected group takes each ordinary lane's
// value from the stack.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/log/log_double.h"

namespace {

using namespace qlm::vector;

constexpr uint64_t kLog10e = 0x3FDBCB7B1526E50Eull;
constexpr uint64_t kLog10eHead = 0x3FDBCB7B10000000ull;  // 26 significant bits
constexpr uint64_t kHeadMask = 0xFFFFFFFFF8000000ull;

template <int Slot>  // 0 LA, 1 HA, 2 EP
struct log10_value : log_double::domain_screen {
    static __m128d value(__m128d x) {
        const __m128d c = splat_bits(kLog10e);
        if constexpr (Slot == 2) return _mm_mul_pd(log_double::coarse<3, false>(x), c);
        const auto pieces = log_double::fine(x);
        if constexpr (Slot == 0) return _mm_mul_pd(log_double::fine_sum(pieces), c);
        __m128d hi, lo;
        log_double::fine_split(pieces, hi, lo);
        const __m128d c1 = splat_bits(kLog10eHead);
        const __m128d c2 = _mm_sub_pd(c, c1);  // exact
        const __m128d hh = _mm_and_pd(hi, splat_bits(kHeadMask));
        const __m128d rest = _mm_add_pd(_mm_add_pd(_mm_mul_pd(_mm_sub_pd(hi, hh), c1), _mm_mul_pd(hi, c2)),
                                        _mm_mul_pd(lo, c));
        return _mm_add_pd(_mm_mul_pd(hh, c1), rest);
    }
    static bool special(int32_t i, const double* a, double* y) {
        const double x = a[i];
        if (x != x) y[i] = x + x;
        else if (x == 0.0) {
            y[i] = bits_to_double(0xFFF0000000000000ull);
            qlm::frame::raise_status(VXM_STATUS_SING, i, a, a, y, y, "vdLog10");
        } else if (x < 0.0) {
            y[i] = bits_to_double(0xFFF8000000000000ull);
            qlm::frame::raise_status(VXM_STATUS_ERRDOM, i, a, a, y, y, "vdLog10");
        } else if (double_to_bits(x) < 0x0010000000000000ull || double_to_bits(x) == 0x7FF0000000000000ull) {
            y[i] = log_double::x87_log10(x);
        } else {
            return false;
        }
        return true;
    }
};

}  // namespace

QLM_DOUBLE_VALUE_SLOTS(Log10, log10_value)

// Double common logarithm, three slots on the logarithm cores.
//
// LA and HA scale ln x, from the fine core, by log10 e held as
// C1 + C2: C1 = 0x3FDBCB7B10000000 has 25 significant bits, C2 =
// 0x3E349B9438CA9AAE is the rest of log10 e rounded (not of its double
// rounding, whose 2^-55 error would cost a quarter ulp).  The logarithm's
// leading part h is cut to 26 bits (hh) so that hh C1 is exact; the rest,
// (h - hh) C1 + h C2 + (low part) log10 e, is summed first and added last,
// so the result is rounded once.
//   HA  h + l is ln x in double-double (fine_double_double): about 0.5 ulp.
//   LA  the fine core in base 10 (log10 of the same reciprocals, log10 2
//       in two parts, coefficients times log10 e): the exact head
//       k lg2hi + lg hi plus (r log10 e + (low + polynomial)), rounded once
//       at the result's scale; r = r1 + r2 is formed first, since the two
//       cancel just below 1.  About half an ulp where the head leads, up to
//       about an ulp next to 1 where r log10 e rounds.
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
constexpr uint64_t kLog10eHead = 0x3FDBCB7B10000000ull;  // 25 significant bits
constexpr uint64_t kLog10eTail = 0x3E349B9438CA9AAEull;  // log10 e - head, rounded
constexpr uint64_t kHeadMask = 0xFFFFFFFFF8000000ull;    // 26 significant bits

// (h + l) log10 e with h cut for an exact leading product.
inline __m128d times_log10e(__m128d h, __m128d l) {
    const __m128d c1 = splat_bits(kLog10eHead);
    const __m128d hh = _mm_and_pd(h, splat_bits(kHeadMask));
    const __m128d rest = _mm_add_pd(_mm_add_pd(_mm_mul_pd(_mm_sub_pd(h, hh), c1), _mm_mul_pd(h, splat_bits(kLog10eTail))),
                                    _mm_mul_pd(l, splat_bits(kLog10e)));
    return _mm_add_pd(_mm_mul_pd(hh, c1), rest);
}

template <int Slot>  // 0 LA, 1 HA, 2 EP
struct log10_value : log_double::domain_screen {
    static __m128d value(__m128d x) {
        if constexpr (Slot == 2) return _mm_mul_pd(log_double::coarse<3, false>(x), splat_bits(kLog10e));
        if constexpr (Slot == 0) {
            const auto p = log_double::fine<log_double::kBase10>(x);
            return _mm_add_pd(p.head, _mm_add_pd(_mm_mul_pd(p.r, splat_bits(kLog10e)), _mm_add_pd(p.low, p.poly)));
        }
        const auto pieces = log_double::fine(x);
        __m128d hi, lo;
        log_double::fine_double_double(pieces, hi, lo);
        return times_log10e(hi, lo);
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

// Double e^x - 1, three slots on the core of exp_split.h.
//
//   HA  Taylor degree 6; x + x^2 (1/2 + ... ) to x^8/8! for |x| < 0.03,
//       where the table form cancels; (scale hi - 1) + scale tail up to
//       |x| = 10, where the difference is exact and only the last addition
//       rounds; scale (hi + tail) - 1 beyond.  Under one ulp.
//   LA  Taylor degree 6, (scale hi - 1) + scale tail everywhere: the
//       cancellation just above |x| = ln2/128 and the two roundings far
//       from 0 cost up to one ulp more than HA.
//   EP  Taylor degree 4: 2^-37 relative.
// Screen: the exponential's, |x| < 708.396.  Special results: NaN -> x + x,
// +inf -> +inf, -inf -> -1, x >= 709.7827128933841 -> +inf with OVERFLOW,
// other x above the screen -> e^x from the exponential's split scale,
// x below it -> -1.  A rejected group takes each ordinary lane's value
// from the stack.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_split.h"

namespace {

using namespace qlm::vector;

template <int Slot>  // 0 LA, 1 HA, 2 EP
struct expm1_value : exp_split::exp_screen {
    static __m128d value(__m128d x) {
        if constexpr (Slot == 1) return exp_split::expm1_accurate(x, exp_split::split<6>(x));
        else return exp_split::expm1_of(exp_split::split<Slot == 0 ? 6 : 4>(x));
    }
    static bool special(int32_t i, const double* a, double* y) {
        const double x = a[i];
        if (x != x) y[i] = x + x;
        else if (x >= bits_to_double(0x40862E42FEFA39F0ull)) {
            y[i] = bits_to_double(0x7FF0000000000000ull);
            if (x != y[i]) qlm::frame::raise_status(VXM_STATUS_OVERFLOW, i, a, a, y, y, "vdExpm1");
        } else if (x >= 708.0) y[i] = 2.0 * exp_split::large_half_exp(x) - 1.0;
        else if (x <= -708.0) y[i] = -1.0;
        else return false;
        return true;
    }
};

}  // namespace

QLM_DOUBLE_VALUE_SLOTS(Expm1, expm1_value)

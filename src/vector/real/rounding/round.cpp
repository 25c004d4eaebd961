// Round, y[i] = a[i] rounded to the nearest integer, ties away from zero.
//
// Built from the nearest-even rounding instruction, eight elements a turn:
// with t = |x| and r its nearest-even rounding, t - r is exact (r lies
// within 0.5 of t), and where it equals 0.5 the tie went down and r takes
// one more, from an equality mask ANDed with 1.0.  The sign is split off
// first and ORed back last, so -0.3 gives -0 and -2.5 gives -3.  Above
// 2^52 (2^23 in single) every value is an integer, t - r is 0 and nothing
// changes; NaN passes through quieted.  Runs under round to nearest; the
// ragged end uses the same registers with filler lanes.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/rounding/rounding_plan.h"

namespace {

template <typename T>
typename qlm::vector::lanes<T>::vec round_half_away(typename qlm::vector::lanes<T>::vec x) {
    using L = qlm::vector::lanes<T>;
    const auto sign_mask = L::set1_bits(L::sign_bit);
    const auto sign = L::and_(x, sign_mask);
    const auto t = L::andnot(sign_mask, x);
    auto r = L::template round<_MM_FROUND_TO_NEAREST_INT>(t);
    const auto tie = L::cmpeq(L::sub(t, r), L::set1(T(0.5)));
    r = L::add(r, L::and_(tie, L::set1(T(1))));
    return L::or_(r, sign);
}

template <typename T>
void round_body(int32_t n, const T* a, T* y) {
    using L = qlm::vector::lanes<T>;
    constexpr int32_t kTurn = 8;
    if (n <= 0) return;
    const int32_t m = n / kTurn * kTurn;
    for (int32_t i = 0; i < m; i += kTurn) {
        typename L::vec r[kTurn / L::width];
        for (int j = 0; j < kTurn / L::width; ++j) r[j] = round_half_away<T>(L::loadu(a + i + j * L::width));
        for (int j = 0; j < kTurn / L::width; ++j) L::storeu(y + i + j * L::width, r[j]);
    }
    qlm::vector::rounding::masked_registers(m, n, a, y, round_half_away<T>);
}

}  // namespace

extern "C" void qlmk_dRound_HA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    round_body(n, a, y);
}

extern "C" void qlmk_sRound_HA(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame;
    round_body(n, a, y);
}

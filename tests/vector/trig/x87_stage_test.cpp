// The x87 stage of the root, power and trigonometric routines: the error
// callback runs inside the kernel, so the control word it sees is the one
// the routine runs under.  Routines with a stage fix precision and rounding
// to their value (0x200 or 0x300); the others leave the caller's word alone;
// all of them give the caller's word back.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>

#include "qlm/qlm_vxm.h"
#include "support/fpu.h"

namespace {

using qlm::test::get_x87_control;
using qlm::test::set_x87_control;

uint16_t seen = 0;
int32_t look(qlm_vxm_error_record*) {
    seen = get_x87_control() & 0xF00;
    return 0;
}

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr float finf = std::numeric_limits<float>::infinity();
constexpr uint16_t kCaller = 0x0F7F;  // round toward zero, extended precision: no routine wants it

// Runs `call` (which must raise a status) under the caller's word kCaller and
// returns the precision and rounding bits the callback saw.
uint16_t stage_of(const std::function<void()>& call) {
    const uint32_t mode = qlm_vxm_kernel_SetMode(VXM_ERRMODE_CALLBACK | VXM_HA);
    qlm_vxm_kernel_SetErrorCallBack(look);
    const uint16_t saved = get_x87_control();
    set_x87_control(kCaller);
    seen = 0xFFFF;
    call();
    const uint16_t after = get_x87_control();
    set_x87_control(saved);
    qlm_vxm_kernel_ClearErrorCallBack();
    qlm_vxm_kernel_SetMode(mode);
    EXPECT_EQ(after, kCaller) << "the caller's control word is back at exit";
    return seen;
}

TEST(X87Stage, DoubleRoutines) {
    double y, z;
    const double a = inf, big = 1.5e308;
    EXPECT_EQ(stage_of([&] { _vxmdSin_HA(1, &a, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmdCos_HA(1, &a, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmdSinCos_HA(1, &a, &y, &z); }), 0x300);
    EXPECT_EQ(stage_of([&] { _vxmdSinCos_50(1, &a, &y, &z); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmdTan_HA(1, &a, &y); }), 0x300);
    EXPECT_EQ(stage_of([&] { _vxmdTan_50(1, &a, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmdTan_26(1, &a, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmdHypot_HA(1, &big, &big, &y); }), 0x300);
    // No stage: the caller's precision and rounding stay.
    EXPECT_EQ(stage_of([&] { _vxmdSin_50(1, &a, &y); }), kCaller & 0xF00);
    EXPECT_EQ(stage_of([&] { _vxmdSinCos_26(1, &a, &y, &z); }), kCaller & 0xF00);
    EXPECT_EQ(stage_of([&] { _vxmdHypot_50(1, &big, &big, &y); }), kCaller & 0xF00);
}

TEST(X87Stage, SingleRoutines) {
    float y, z;
    const float a = finf, zero = 0.0f, minus = -1.0f;
    EXPECT_EQ(stage_of([&] { _vxmsSin_HA(1, &a, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmsSin_11(1, &a, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmsSin_21(1, &a, &y); }), kCaller & 0xF00);
    EXPECT_EQ(stage_of([&] { _vxmsCos_21(1, &a, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmsCos_11(1, &a, &y); }), kCaller & 0xF00);
    EXPECT_EQ(stage_of([&] { _vxmsSinCos_11(1, &a, &y, &z); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmsTan_21(1, &a, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmsInvSqrt_21(1, &zero, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmsInvSqrt_HA(1, &zero, &y); }), kCaller & 0xF00);
    EXPECT_EQ(stage_of([&] { _vxmsPow_HA(1, &zero, &minus, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmsPowx_21(1, &zero, -1.0f, &y); }), 0x200);
    EXPECT_EQ(stage_of([&] { _vxmsPow_11(1, &zero, &minus, &y); }), kCaller & 0xF00);
}

}  // namespace

// Entry and exit of the kernel frame: what it writes, when, and what the
// restore record then holds.
#include <gtest/gtest.h>

#include "frame/kernel_frame.h"
#include "frame/thread_block.h"
#include "support/fpu.h"

namespace {

using qlm::frame::kernel_frame;
using namespace qlm::test;

void set_thread_mode(uint32_t mode) { qlm::frame::get_thread_block()->mode = mode; }

TEST(KernelFrame, WritesMxcsrOnlyWhenTheControlsDiffer) {
    set_thread_mode(0x1A02);
    mxcsr_scope scope(kMxcsrDefault | kMxcsrInexact);
    {
        kernel_frame frame;
        EXPECT_EQ(frame.restore_record(), 0u);
        EXPECT_EQ(get_mxcsr(), kMxcsrDefault | kMxcsrInexact);
    }
    {
        kernel_frame frame(qlm::frame::kRoundTowardZero);
        EXPECT_EQ(frame.restore_record(), 2u);
        // Flags of the caller are kept in the written word; only the
        // controls under 0xE040 change.
        EXPECT_EQ(get_mxcsr(), kMxcsrDefault | kMxcsrInexact | kMxcsrTowardZero);
        set_mxcsr(get_mxcsr() | 0x8);  // an overflow raised inside the call
    }
    EXPECT_EQ(get_mxcsr(), kMxcsrDefault | kMxcsrInexact) << "a restored MXCSR drops the call's flags";
}

TEST(KernelFrame, DenormalFieldSelectsFlushToZero) {
    mxcsr_scope scope(kMxcsrDefault);
    set_thread_mode(0x281A02);
    {
        kernel_frame frame;
        EXPECT_EQ(get_mxcsr() & 0xE040, 0x8040u);
    }
    EXPECT_EQ(get_mxcsr(), kMxcsrDefault);
    // Keep, unset and any other value all mean no flushing, and a caller
    // that had flushing on gets it turned off for the call.
    for (uint32_t field : {0x140000u, 0x0u, 0x3C0000u, 0x080000u}) {
        set_thread_mode(0x1A02 | field);
        mxcsr_scope flushing(kMxcsrDefault | 0x8040);
        kernel_frame frame(qlm::frame::kRoundUp);
        EXPECT_EQ(get_mxcsr() & 0xE040, 0x4000u) << std::hex << field;
    }
    set_thread_mode(0x1A02);
}

TEST(KernelFrame, X87StageChangesPrecisionOnlyWhenNeeded) {
    set_thread_mode(0x1A02);
    const uint16_t saved = get_x87_control();
    set_x87_control(0x37F);  // extended precision, round to nearest
    {
        kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Extended);
        EXPECT_EQ(frame.restore_record() & 1u, 0u);
    }
    {
        kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Double);
        EXPECT_EQ(frame.restore_record() & 1u, 1u);
        EXPECT_EQ(get_x87_control(), 0x27F);
        // Double precision: 1 + 2^-60 rounds to 1 in the x87 unit now.
        volatile long double one = 1.0L, tiny = 0x1p-60L;
        volatile long double sum = one + tiny;
        EXPECT_EQ(sum, 1.0L);
    }
    EXPECT_EQ(get_x87_control(), 0x37F);
    set_x87_control(0xC7F);  // round toward zero, extended
    {
        kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Extended);
        EXPECT_EQ(get_x87_control(), 0x37F);
    }
    EXPECT_EQ(get_x87_control(), 0xC7F);
    set_x87_control(saved);
}

}  // namespace

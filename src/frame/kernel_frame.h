// The entry and exit every vector kernel shares.
//
// Entry reads the mode word once, computes the wanted MXCSR controls
// (rounding, FTZ, DAZ) and writes MXCSR only when they differ; a routine that
// uses the x87 unit also fixes its precision and rounding.  Exit restores
// what entry changed, and only that: flags raised inside the call survive
// exactly when MXCSR did not have to be written.  That asymmetry is kept.
//
//     void kernel(int32_t n, const double* a, double* y) {
//         qlm::frame::kernel_frame frame;          // round to nearest, no x87
//         if (n <= 0) return;
//         ...
//     }
#pragma once

#include <cstdint>

#include "qlm/qlm_vxm.h"

namespace qlm::frame {

// MXCSR controls the frame owns: FTZ 0x8000, rounding 0x6000, DAZ 0x0040.
inline constexpr uint32_t kMxcsrControls = 0xE040;
inline constexpr uint32_t kMxcsrFlushDenormals = 0x8040;
inline constexpr uint32_t kRoundNearest = 0x0000;
inline constexpr uint32_t kRoundDown = 0x2000;
inline constexpr uint32_t kRoundUp = 0x4000;
inline constexpr uint32_t kRoundTowardZero = 0x6000;

// x87 precision and rounding fields (mask 0xF00) a routine may ask for.
inline constexpr uint16_t kX87None = 0;
inline constexpr uint16_t kX87Double = 0x200;    // 53-bit significand, round to nearest
inline constexpr uint16_t kX87Extended = 0x300;  // 64-bit significand, round to nearest

inline uint32_t read_mxcsr() {
    uint32_t value;
    asm volatile("stmxcsr %0" : "=m"(value) : : "memory");
    return value;
}

inline void write_mxcsr(uint32_t value) { asm volatile("ldmxcsr %0" : : "m"(value) : "memory"); }

inline uint16_t read_x87_control() {
    uint16_t value;
    asm volatile("fnstcw %0" : "=m"(value) : : "memory");
    return value;
}

inline void write_x87_control(uint16_t value) { asm volatile("fldcw %0" : : "m"(value) : "memory"); }

// The MXCSR controls a call runs under, from the denormal field of the mode.
inline uint32_t wanted_mxcsr(uint32_t mode, uint32_t rounding) {
    return (mode & VXM_DENORMAL_MASK) == VXM_FLUSH_DENORMALS ? rounding | kMxcsrFlushDenormals
                                                             : rounding;
}

class kernel_frame {
public:
    explicit kernel_frame(uint32_t rounding = kRoundNearest, uint16_t x87 = kX87None) {
        const uint32_t wanted = wanted_mxcsr(qlm_vxm_kernel_GetMode(), rounding);
        saved_mxcsr_ = read_mxcsr();
        if ((saved_mxcsr_ & kMxcsrControls) != wanted) {
            write_mxcsr((saved_mxcsr_ & 0xFFFF1FBFu) | wanted);
            restore_ |= kRestoreMxcsr;
        }
        if (x87 != kX87None) {
            saved_x87_ = read_x87_control();
            if ((saved_x87_ & 0xF00) != x87) {
                write_x87_control(static_cast<uint16_t>((saved_x87_ & 0xF0FF) | x87));
                restore_ |= kRestoreX87;
            }
        }
    }

    ~kernel_frame() {
        if (restore_ & kRestoreX87) write_x87_control(saved_x87_);
        if (restore_ & kRestoreMxcsr) write_mxcsr(saved_mxcsr_);
    }

    kernel_frame(const kernel_frame&) = delete;
    kernel_frame& operator=(const kernel_frame&) = delete;

    // Bit 0: the x87 control word was changed; bit 1: MXCSR was changed.
    unsigned restore_record() const { return restore_; }

private:
    static constexpr unsigned kRestoreX87 = 1;
    static constexpr unsigned kRestoreMxcsr = 2;
    uint32_t saved_mxcsr_ = 0;
    uint16_t saved_x87_ = 0;
    unsigned restore_ = 0;
};

// The x87 stage alone, for routines that use the x87 unit but leave MXCSR
// to the caller.
class x87_frame {
public:
    explicit x87_frame(uint16_t x87) {
        saved_ = read_x87_control();
        changed_ = (saved_ & 0xF00) != x87;
        if (changed_) write_x87_control(static_cast<uint16_t>((saved_ & 0xF0FF) | x87));
    }
    ~x87_frame() {
        if (changed_) write_x87_control(saved_);
    }
    x87_frame(const x87_frame&) = delete;
    x87_frame& operator=(const x87_frame&) = delete;

private:
    uint16_t saved_;
    bool changed_;
};

}  // namespace qlm::frame

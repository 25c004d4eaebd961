// Reading and setting the processor's floating-point controls in tests.
#pragma once

#include <cstdint>

namespace qlm::test {

inline uint32_t get_mxcsr() {
    uint32_t v;
    asm volatile("stmxcsr %0" : "=m"(v) : : "memory");
    return v;
}
inline void set_mxcsr(uint32_t v) { asm volatile("ldmxcsr %0" : : "m"(v) : "memory"); }

inline uint16_t get_x87_control() {
    uint16_t v;
    asm volatile("fnstcw %0" : "=m"(v) : : "memory");
    return v;
}
inline void set_x87_control(uint16_t v) { asm volatile("fldcw %0" : : "m"(v) : "memory"); }

inline constexpr uint32_t kMxcsrDefault = 0x1F80;  // all masked, round to nearest, no flags
inline constexpr uint32_t kMxcsrFlags = 0x3F;
inline constexpr uint32_t kMxcsrInexact = 0x20;
inline constexpr uint32_t kMxcsrTowardZero = 0x6000;
inline constexpr uint32_t kMxcsrUp = 0x4000;
inline constexpr uint32_t kMxcsrDown = 0x2000;

// Sets MXCSR for a scope and puts the old value back at its end.
class mxcsr_scope {
public:
    explicit mxcsr_scope(uint32_t value) : saved_(get_mxcsr()) { set_mxcsr(value); }
    ~mxcsr_scope() { set_mxcsr(saved_); }
    mxcsr_scope(const mxcsr_scope&) = delete;
    mxcsr_scope& operator=(const mxcsr_scope&) = delete;

private:
    uint32_t saved_;
};

}  // namespace qlm::test

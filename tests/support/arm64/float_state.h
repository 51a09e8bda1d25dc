// The calling thread's floating-point state: FPCR, and the flags of FPSR above it.
#pragma once

#include <stdint.h>

inline uint64_t get_float_state() {
    uint64_t control, flags;
    __asm__ volatile("mrs %0, fpcr\n\tmrs %1, fpsr" : "=r"(control), "=r"(flags));
    return flags << 32 | control;
}
inline void set_float_state(uint64_t state) {
    __asm__ volatile("msr fpcr, %0\n\tmsr fpsr, %1" : : "r"(state & 0xffffffff), "r"(state >> 32));
}

// The default; all traps, which few processors have; denormals flushed; rounding down, up, to zero.
constexpr uint64_t kFloatStates[] = {0, 0x9f00, 0x1000000, 0x800000, 0x400000, 0xc00000};

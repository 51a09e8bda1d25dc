// The calling thread's floating-point state: MXCSR and, above it, the x87 unit's control word and
// the exception flags of its status word.
#pragma once

#include <stdint.h>
#include <xmmintrin.h>

inline uint64_t get_float_state() {
    uint16_t control, status;
    __asm__ volatile("fnstcw\t%0\n\tfnstsw\t%1" : "=m"(control), "=m"(status));
    return uint64_t(status & 0x7f) << 48 | uint64_t{control} << 32 | _mm_getcsr();
}

inline void set_float_state(uint64_t state) {
    const uint16_t x87 = static_cast<uint16_t>(state >> 32);
    __asm__ volatile("fnclex\n\tfldcw\t%0" : : "m"(x87));
    _mm_setcsr(static_cast<unsigned>(state));
}

// The default; all traps, which few processors have; denormals flushed; rounding down, up, to zero.
constexpr uint64_t kFloatStates[] = {0x37f'00001f80, 0x340'00000000, 0x37f'00009fc0,
                                     0x77f'00003f80, 0xb7f'00005f80, 0xf7f'00007f80};

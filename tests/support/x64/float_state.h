// The floating-point state of the calling thread, as hosts set it, in x64's register MXCSR.
#pragma once

#include <stdint.h>
#include <xmmintrin.h>

inline uint64_t get_float_state() { return _mm_getcsr(); }
inline void set_float_state(uint64_t state) { _mm_setcsr(static_cast<unsigned>(state)); }

// The default; all traps, denormals flushed, another rounding.
constexpr struct {
    const char* name;
    uint64_t state;
} kFloatStates[] = {{"default", 0x1f80}, {"traps", 0},   {"flush", 0x9fc0},
                    {"down", 0x3f80},    {"up", 0x5f80}, {"zero", 0x7f80}};

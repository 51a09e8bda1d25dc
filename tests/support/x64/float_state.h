// The calling thread's floating-point state: MXCSR.
#pragma once

#include <stdint.h>
#include <xmmintrin.h>

inline uint64_t get_float_state() { return _mm_getcsr(); }
inline void set_float_state(uint64_t state) { _mm_setcsr(static_cast<unsigned>(state)); }

// The default; all traps, which few processors have; denormals flushed; rounding down, up, to zero.
constexpr uint64_t kFloatStates[] = {0x1f80, 0, 0x9fc0, 0x3f80, 0x5f80, 0x7f80};

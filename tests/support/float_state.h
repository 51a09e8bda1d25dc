// The floating-point state of the calling thread, as hosts set it: the one place that knows the
// processor's register.
#pragma once

#include <string.h>
#include <xmmintrin.h>

inline unsigned get_float_state() { return _mm_getcsr(); }

inline void set_float_state(unsigned state) { _mm_setcsr(state); }

// The state of this name: all traps, denormals flushed, or another rounding; the default if null.
inline unsigned float_state(const char* name) {
    constexpr struct {
        const char* name;
        unsigned state;
    } kStates[] = {
        {"traps", 0}, {"flush", 0x9fc0}, {"down", 0x3f80}, {"up", 0x5f80}, {"zero", 0x7f80}};
    for (const auto& row : kStates) {
        if (name != nullptr && strcmp(row.name, name) == 0) return row.state;
    }
    return 0x1f80;
}

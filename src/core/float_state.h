// The floating-point environment of the calling thread: trap masks, rounding mode, denormal
// handling and exception flags.
#pragma once

#include <stdint.h>

namespace vornic {

// The host's state, in the processor's format. There is one source file per architecture.
struct HostFloatState {
    uint32_t control;
    uint32_t flags;       // arm64: FPSR; on x64 MXCSR, in `control`, holds them too
    bool is_x87_changed;  // x64: whether the x87 unit's state had to be changed as well
    uint16_t x87_status;
    uint32_t x87_environment[7];  // set only if changed
};

void enter_default_float_state(HostFloatState* host);
void leave_default_float_state(const HostFloatState& host);

// Sets the default state while a scope lasts: no traps, round to nearest, denormals kept. Hosts differ
// (Pascal and Lisp enable traps, audio software flushes denormals) and results must not; the
// threads that ONNX Runtime creates inherit the state of the creating thread. The host's state is
// restored exactly, exception flags included.
class DefaultFloatState {
public:
    DefaultFloatState() { enter_default_float_state(&host_); }
    DefaultFloatState(const DefaultFloatState&) = delete;
    DefaultFloatState& operator=(const DefaultFloatState&) = delete;
    ~DefaultFloatState() { leave_default_float_state(host_); }

private:
    HostFloatState host_;
};

}  // namespace vornic

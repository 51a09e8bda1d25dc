// The floating-point state of the calling thread: what traps, how results are rounded, whether
// denormals are kept, and the flags that operations raise.
#pragma once

#include <stdint.h>

namespace vornic {

// The host's state, as the processor has it; one source a processor.
struct HostFloatState {
    uint32_t control;
    uint32_t flags;  // where the processor keeps them apart
    bool has_older;  // whether an older unit of the processor had to change as well
    uint16_t older_status;
    uint32_t older[7];  // that unit's state, where it had to change
};

void enter_default_float_state(HostFloatState* host);
void leave_default_float_state(const HostFloatState& host);

// The default state for as long as a scope lasts: no traps, rounding to nearest, denormals kept.
// Hosts differ (Pascal and Lisp trap, audio flushes denormals), and answers must not; the threads
// that ONNX Runtime makes take over the state of the one that makes them. The host finds its own
// state as it was, its flags included.
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

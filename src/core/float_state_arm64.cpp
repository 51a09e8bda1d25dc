#include "core/float_state.h"

using namespace vornic;

namespace {

// The control register is FPCR, whose default is 0; the flags are in FPSR.
uint64_t read_control() {
    uint64_t control;
    __asm__ volatile("mrs\t%0,\tfpcr" : "=r"(control));
    return control;
}

void write_control(uint64_t control) { __asm__ volatile("msr\tfpcr,\t%0" : : "r"(control)); }

uint64_t read_flags() {
    uint64_t flags;
    __asm__ volatile("mrs\t%0,\tfpsr" : "=r"(flags));
    return flags;
}

void write_flags(uint64_t flags) { __asm__ volatile("msr\tfpsr,\t%0" : : "r"(flags)); }

}  // namespace

// Writing a register costs more than reading it, so it is written only when it has to change.
void vornic::enter_default_float_state(HostFloatState* host) {
    host->control = static_cast<uint32_t>(read_control());
    host->flags = static_cast<uint32_t>(read_flags());
    if (host->control != 0) write_control(0);
}

void vornic::leave_default_float_state(const HostFloatState& host) {
    if (read_flags() != host.flags) write_flags(host.flags);
    if (read_control() != host.control) write_control(host.control);
}

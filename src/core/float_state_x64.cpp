#include <xmmintrin.h>

#include "core/float_state.h"

using namespace vornic;

namespace {

// MXCSR, which controls all arithmetic in this library.
constexpr uint32_t kFlags = 0x3f;
constexpr uint32_t kDefault = 0x1f80;  // all traps masked

// The x87 unit's control word, from which the C library's strtof takes the rounding mode. The
// precision field, which Windows and Linux set differently, is left alone.
constexpr uint16_t kX87Default = 0x37f;
constexpr uint16_t kX87TrapsAndRounding = 0xc3f;
constexpr uint16_t kX87Flags = 0x7f;  // in the status word

// The x87 environment as FNSTENV stores it: seven words, of which the second is the status word.
using X87Environment = uint32_t[7];

bool has_x87_default() {
    uint16_t control;
    __asm__ volatile("fnstcw\t%0" : "=m"(control));
    return ((control ^ kX87Default) & kX87TrapsAndRounding) == 0;
}

uint16_t read_x87_status() {
    uint16_t status;
    __asm__ volatile("fnstsw\t%0" : "=a"(status));
    return status;
}

// No instruction writes the status word alone.
void write_x87_status(uint16_t status) {
    X87Environment environment;
    __asm__ volatile("fnstenv\t%0" : "=m"(environment));
    environment[1] = (environment[1] & ~0xffffu) | status;
    __asm__ volatile("fldenv\t%0" : : "m"(environment));
}

}  // namespace

// Writing a register costs more than reading it, so it is written only when it has to change.
void vornic::enter_default_float_state(HostFloatState* host) {
    host->control = _mm_getcsr();
    if ((host->control & ~kFlags) != kDefault) _mm_setcsr(kDefault);
    host->x87_status = read_x87_status();
    host->is_x87_changed = !has_x87_default();
    if (host->is_x87_changed) {
        __asm__ volatile("fnstenv\t%0\n\tfldcw\t%1"
                         : "=m"(host->x87_environment)
                         : "m"(kX87Default));
    }
}

void vornic::leave_default_float_state(const HostFloatState& host) {
    if (_mm_getcsr() != host.control) _mm_setcsr(host.control);
    if (host.is_x87_changed) {
        __asm__ volatile("fldenv\t%0" : : "m"(host.x87_environment));
    } else if (((read_x87_status() ^ host.x87_status) & kX87Flags) != 0) {
        write_x87_status(host.x87_status);
    }
}

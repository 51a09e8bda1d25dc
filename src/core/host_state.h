// What the host has set for the calling thread, out of the way for as long as a scope lasts: the default
// floating-point state, and numbers with decimal points.
#pragma once

#include "core/c_locale.h"
#include "core/float_state.h"

namespace vornic {

class HostStateScope {
public:
    // False, with the reason in the last-error text, when ONNX Runtime must not run in the state that
    // the thread is in.
    bool is_set_aside() const { return c_locale_.is_entered(); }

private:
    DefaultFloatState float_state_;
    CLocaleScope c_locale_;
};

}  // namespace vornic

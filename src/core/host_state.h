// Sets the state that ONNX Runtime's results depend on, for the calling thread while a scope lasts:
// the default floating-point environment and decimal points. Restores the host's state at the end.
#pragma once

#include "core/c_locale.h"
#include "core/float_state.h"

namespace vornic {

class HostStateScope {
public:
    // False, with the reason in the last-error text, when the host's locale cannot be replaced;
    // ONNX Runtime must then not be called.
    bool is_entered() const { return c_locale_.is_entered(); }

private:
    DefaultFloatState float_state_;
    CLocaleScope c_locale_;
};

}  // namespace vornic

#include "core/c_locale.h"

// Nothing to do: ONNX Runtime brings a C library of its own here, which setlocale in the host does
// not reach.
void* vnort_enter_c_locale() { return nullptr; }

void vnort_leave_c_locale(void*) {}

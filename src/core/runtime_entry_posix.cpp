#include "core/runtime_entry.h"

namespace vornic {

// The dynamic linker has bound the function before any code here runs: without a runtime, this
// library does not load.
const OrtApiBase* runtime_entry() { return OrtGetApiBase(); }

void forget_runtime() {}

}  // namespace vornic

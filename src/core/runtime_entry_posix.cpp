#include "core/runtime_entry.h"

namespace vornic {

// The loader has bound the entry point before any code here runs: without a runtime this library
// does not load at all.
const OrtApiBase* runtime_entry() { return OrtGetApiBase(); }

void forget_runtime() {}

}  // namespace vornic

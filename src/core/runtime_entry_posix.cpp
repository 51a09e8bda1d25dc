#include "core/runtime_entry.h"

// The dynamic linker has bound the function before any code here runs: without a runtime, this
// library does not load.
const OrtApiBase* vornic::runtime_entry() { return OrtGetApiBase(); }

void vornic::forget_runtime() {}

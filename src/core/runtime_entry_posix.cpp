#include "core/runtime_entry.h"

// The loader has bound the entry point before any code here runs: without a runtime this library
// does not load at all.
const OrtApiBase* vnort_runtime_entry() { return OrtGetApiBase(); }

void vnort_forget_runtime() {}

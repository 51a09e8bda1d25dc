// The one function of ONNX Runtime that is reached by name.
#pragma once

#include <onnxruntime_c_api.h>

namespace vornic {

// What OrtGetApiBase gives; null also when the runtime or its entry point cannot be had. May be
// asked again after a failure: a runtime that has appeared since is then found.
const OrtApiBase* runtime_entry();

// Lets go of a runtime that was found and is of no use, so that its file can be replaced.
void forget_runtime();

}  // namespace vornic

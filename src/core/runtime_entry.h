// OrtGetApiBase, the one function of ONNX Runtime that is imported by name.
#pragma once

#include <onnxruntime_c_api.h>

namespace vornic {

// The result of OrtGetApiBase; null also if the runtime or the function is not found. A later call
// searches again and finds a runtime that has been installed since.
const OrtApiBase* runtime_entry();

// Unloads a runtime that turned out to be unusable, so that its file can be replaced.
void forget_runtime();

}  // namespace vornic

// The check that turns a status of ONNX Runtime into a result and the last-error text.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

namespace vornic {

// 1 for no status. Otherwise writes "NAME failed: MESSAGE", releases the status and gives 0.
int32_t vnort_status_ok(OrtStatus* status, const char* name);

// Releases a status without reporting its message.
void ignore_status(OrtStatus* status);

}  // namespace vornic

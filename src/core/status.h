// Turns ONNX Runtime's statuses into results and the last-error text.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

namespace vornic {

// 1 if there is no status. Otherwise sets "NAME failed: MESSAGE", releases the status, returns 0.
int32_t vnort_status_ok(OrtStatus* status, const char* name);

// Releases a status without reporting its message.
void ignore_status(OrtStatus* status);

}  // namespace vornic

// The function table of ONNX Runtime, through which the library makes every call but the first.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

namespace vornic {

inline constexpr uint32_t kApiVersion = 24;

// Null until vnort_init finds a runtime; the table, until it finds one that has it. Both then stay
// for the life of the process.
extern const OrtApiBase* g_api_base;
extern const OrtApi* g_api;

// 1 when the table is bound, binding it if need be; 0 with the reason in the last-error text.
int32_t vnort_init();

}  // namespace vornic

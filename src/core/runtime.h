// ONNX Runtime's function table, through which the library makes every call but OrtGetApiBase.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

namespace vornic {

inline constexpr uint32_t kApiVersion = 24;

// Null until the first vnort_init that succeeds, then constant for the life of the process.
extern const OrtApiBase* g_api_base;
extern const OrtApi* g_api;

// Binds the table unless it is bound already. 1 on success; 0 with the reason in the last-error
// text.
int32_t vnort_init();

}  // namespace vornic

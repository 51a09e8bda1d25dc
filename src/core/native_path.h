// File paths in the form that ONNX Runtime takes on this platform.
#pragma once

#include <onnxruntime_c_api.h>

#include "core/limits.h"

namespace vornic {

struct NativePath {
    const ORTCHAR_T* text;            // points to the buffer or to the source
    ORTCHAR_T buffer[kPathCapacity];  // used only if the path is converted
};

// Converts a UTF-8 path, which must outlive `path`. False if it cannot be converted or does not
// fit; `path` is then not valid.
bool native_path(const char* utf8, NativePath* path);

}  // namespace vornic

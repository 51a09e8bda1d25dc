// File paths in the form in which ONNX Runtime takes them on this platform.
#pragma once

#include <onnxruntime_c_api.h>

#include "core/limits.h"

namespace vornic {

struct NativePath {
    const ORTCHAR_T* text;            // points into buffer or at the source
    ORTCHAR_T buffer[kPathCapacity];  // used only where paths are converted
};

// Fills path from UTF-8 text, which must outlive it. False when the text cannot be converted or
// does not fit; path is then not to be used.
bool native_path(const char* utf8, NativePath* path);

}  // namespace vornic

#include "core/native_path.h"

namespace vornic {

// Paths are bytes here, of any length and encoding.
bool native_path(const char* utf8, NativePath* path) {
    path->text = utf8;
    return true;
}

}  // namespace vornic

#include "core/native_path.h"

// Paths are bytes here, of any length and encoding.
bool vornic::native_path(const char* utf8, NativePath* path) {
    path->text = utf8;
    return true;
}

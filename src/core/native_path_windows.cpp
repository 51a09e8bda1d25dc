#include <windows.h>

#include "core/native_path.h"

bool vornic::native_path(const char* utf8, NativePath* path) {
    path->text = path->buffer;
    return MultiByteToWideChar(CP_UTF8, 0, utf8, -1, path->buffer, kPathCapacity) > 0;
}

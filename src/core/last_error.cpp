#include "core/last_error.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "onnxruntime_vornic.h"

namespace vornic {

char g_error[kErrorCapacity];

void set_error(const char* message) {
    size_t length = strnlen(message, kErrorCapacity - 1);
    memcpy(g_error, message, length);
    memset(g_error + length, 0, kErrorCapacity - length);
}

int32_t fail(const char* message) {
    set_error(message);
    return 0;
}

void clear_error() { set_error(""); }

void format_error(const char* format, ...) {
    va_list values;
    va_start(values, format);
    vsnprintf(g_error, kErrorCapacity, format, values);
    va_end(values);
}

}  // namespace vornic

using namespace vornic;

const char* onnxruntime_vn_last_error() { return g_error; }

#include "core/last_error.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "onnxruntime_vornic.h"

char g_error[kErrorCapacity];

void vnort_set_error(const char* message) {
    size_t length = strnlen(message, kErrorCapacity - 1);
    memcpy(g_error, message, length);
    memset(g_error + length, 0, kErrorCapacity - length);
}

int32_t vnort_fail(const char* message) {
    vnort_set_error(message);
    return 0;
}

void vnort_clear_error() { vnort_set_error(""); }

void vnort_format_error(const char* format, ...) {
    va_list values;
    va_start(values, format);
    vsnprintf(g_error, kErrorCapacity, format, values);
    va_end(values);
}

const char* onnxruntime_vn_last_error() { return g_error; }

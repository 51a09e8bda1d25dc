#include "core/last_error.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "onnxruntime_vornic.h"

using namespace vornic;

char vornic::g_error[kErrorCapacity];

Failure vornic::fail(const char* message) {
    size_t length = strnlen(message, kErrorCapacity - 1);
    memcpy(g_error, message, length);
    memset(g_error + length, 0, kErrorCapacity - length);
    return {};
}

void vornic::clear_error() { fail(""); }

void vornic::format_error(const char* format, ...) {
    va_list values;
    va_start(values, format);
    vsnprintf(g_error, kErrorCapacity, format, values);
    va_end(values);
}

const char* onnxruntime_vn_last_error() { return g_error; }

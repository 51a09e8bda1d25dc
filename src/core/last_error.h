// The process-wide text of the most recent failure.
#pragma once

#include <stdint.h>

#include "core/limits.h"

namespace vornic {

extern char g_error[kErrorCapacity];

// The return value of a failing function: converts to 0, false or null.
struct Failure {
    operator int32_t() const { return 0; }
    template <typename Object>
    operator Object*() const {
        return nullptr;
    }
};

// Copies a fixed message, cut to the buffer, and zeroes the bytes after it.
Failure fail(const char* message);

void clear_error();

// Formats a message into the buffer, cut to fit.
void format_error(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));

}  // namespace vornic

// The process-wide text of the most recent failure.
#pragma once

#include <stdint.h>

#include "core/limits.h"

namespace vornic {

extern char g_error[kErrorCapacity];

// Copies a fixed message, cut to the buffer, and zeroes the bytes after it.
void set_error(const char* message);

// The same, and returns 0 for the caller to return.
int32_t fail(const char* message);

void clear_error();

// Formats a message into the buffer, cut to it.
void format_error(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));

}  // namespace vornic

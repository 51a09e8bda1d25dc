// The process-wide text of the most recent failure, and the check that turns a refusal by ONNX
// Runtime into it.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"

extern char g_error[kErrorCapacity];

// Copies a fixed message, cut to the buffer; the bytes after it become zero.
void vnort_set_error(const char* message);

// The same, and gives 0 for the caller to return.
int32_t vnort_fail(const char* message);

void vnort_clear_error();

// Prints a message into the buffer, cut to it.
void vnort_format_error(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));

// 1 for no status. Otherwise writes "NAME failed: MESSAGE", releases the status and gives 0.
int32_t vnort_status_ok(OrtStatus* status, const char* name);

// Releases a status without reporting its message.
void vnort_ignore_status(OrtStatus* status);

// The library's number kernels for number_texts, in a separate shared library, so that one process can
// load those of two commits. Older commits have the same table.
#pragma once

#include <stdint.h>

#include "onnxruntime_vornic.h"

struct Kernels {
    // Read a JSON array of numbers into an array of a type and return the count.
    uint64_t (*read_float32)(const char* text, float* to);
    uint64_t (*read_float64)(const char* text, double* to);
    uint64_t (*read_int64)(const char* text, int64_t* to);
    // Write numbers, each with a comma after it, and return the end of the text.
    char* (*write_float32)(char* to, const char* end, const float* numbers, uint64_t count);
    char* (*write_float64)(char* to, const char* end, const double* numbers, uint64_t count);
    char* (*write_int64)(char* to, const char* end, const int64_t* numbers, uint64_t count);
};

extern "C" ONNXRUNTIME_VN_EXPORT const Kernels vornic_kernels;

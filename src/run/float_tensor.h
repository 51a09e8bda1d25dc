// A float32 tensor that the caller creates for the tensor run.
#pragma once

#include <stdint.h>

#include "core/limits.h"

// Immutable once created. The rank is 1 to 8, each dimension is at least 1, and count is their
// product.
struct FloatTensor {
    int64_t dims[vornic::kMaxRank];  // entries past rank are 0
    int64_t rank;
    uint64_t count;
    float* data;  // owned
};

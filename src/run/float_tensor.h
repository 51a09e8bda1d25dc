// A float32 tensor that a caller made for the tensor run.
#pragma once

#include <stdint.h>

#include "core/limits.h"

// Immutable once made: rank is 1 to 8, every dimension at least 1, count their product.
struct FloatTensor {
    int64_t dims[vornic::kMaxRank];  // entries past rank are 0
    int64_t rank;
    uint64_t count;
    float* data;  // owned
};

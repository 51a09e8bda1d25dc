// The dimensions of a tensor, wherever they are kept.
#pragma once

#include <stdint.h>

namespace vornic {

struct Shape {
    const int64_t* dims;
    uint64_t rank;
};

}  // namespace vornic

// A view of a tensor's dimensions.
#pragma once

#include <stdint.h>

namespace vornic {

struct Shape {
    const int64_t* dims;
    uint64_t rank;
};

}  // namespace vornic

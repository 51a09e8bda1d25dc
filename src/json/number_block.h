// Reading the numbers of an array many at a time.
#pragma once

#include <stdint.h>

namespace vornic {

// How many bytes of the text the block reader looks at before the first number that it reads.
inline constexpr int64_t kNumberBlockBefore = 8;

struct NumberBlockRead {
    const char* at;  // after the last comma taken
    int64_t count;   // of the numbers stored
};

// Reads numbers into an array, each up to and with the comma after it, blanks around them or not:
// those that read_number reads, to the same doubles, or to the floats that these convert to.
// Stops when fewer than four of `most` are left, before the last few numbers, and before what is no
// number followed by a comma.
//
// `end` is where the array ends; no byte at or after it is looked at. `at` is at least
// kNumberBlockBefore bytes after the start of the text.
NumberBlockRead read_number_block(const char* at, const char* end, double* numbers, int64_t most);
NumberBlockRead read_number_block(const char* at, const char* end, float* numbers, int64_t most);

}  // namespace vornic

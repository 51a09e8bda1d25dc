// Reading the numbers of an array many at a time.
#pragma once

#include <stdint.h>

// How many bytes before and after a number the block reader looks at: it starts no nearer to the
// ends of the text that it is given.
inline constexpr int64_t kNumberBlockBefore = 8;
inline constexpr int64_t kNumberBlockBehind = 96;

struct NumberBlockRead {
    const char* at;  // after the last comma taken
    int64_t count;   // of the numbers stored
};

// Reads numbers into an array, each up to and with the comma after it, blanks around them or not:
// those that vnort_read_number reads, to the same doubles, or to the floats that these convert to.
// Stops when `most` are read, too near to the end, and before what is no number followed by a comma.
//
// Looks at no byte before `text` and at none at or after `end`. `at` is at least kNumberBlockBefore
// bytes after `text`.
NumberBlockRead vnort_read_number_block(const char* at, const char* end, double* numbers,
                                        int64_t most);
NumberBlockRead vnort_read_number_block(const char* at, const char* end, float* numbers,
                                        int64_t most);

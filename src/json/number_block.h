// The fast path for arrays: numbers read many at a time.
#pragma once

#include <stdint.h>

namespace vornic {

struct NumberBlock {
    const char* at;  // after the last comma consumed
    int64_t count;   // of the numbers stored
};

// Reads numbers, each with the comma after it and any blanks around it, as read_number does, to doubles or
// to the floats that these convert to. Stops when fewer than four of `max_count` are left, before the last
// few numbers, and before anything but a number and a comma; the caller reads or refuses the rest.
//
// `end` is the end of the array; no byte at or after it is read. At least kBytesBefore bytes of the text
// are before `at`.
template <typename Number>
NumberBlock read_number_block(const char* at, const char* end, Number* numbers, int64_t max_count);

}  // namespace vornic

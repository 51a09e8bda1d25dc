// Reading numbers four at a time where the end of each is already known.
//
// A row is text such as
//
//     3.25, -0.5, 7, 12.125,
//         ^     ^  ^       ^     ends[0] to ends[3]: one group
//
// Each kernel reads groups of one kind, without a loop or a branch per digit, and stops before the
// first group that has any other number. What a kernel does read is exact: the nearest double, ties to
// even, as strtod gives it; or the float that this double converts to.
#pragma once

#include <stdint.h>

namespace vornic {

// The delimiter after each number is one byte; `gap` blanks, none or one, come after that.
struct NumberRow {
    const char* at;           // after the delimiter before the first number
    const char* const* ends;  // of the numbers: their delimiters, four to a group
    int64_t groups;           // one at least
    int64_t gap;
};

// Kernels look at so many bytes before the first number's start and after the last one's end.
inline constexpr int64_t kRowBefore = 8;
inline constexpr int64_t kRowAfter = 16;

// They give the number of groups read. One group more may have been overwritten at `to`, as far as
// the row goes.
template <typename Number>
using ReadRow = int64_t(const NumberRow& row, Number* to);

// Integers of up to eight digits.
ReadRow<float> read_integers;
ReadRow<double> read_integers;

// "3.25": one digit, the point, up to 14 more digits.
ReadRow<float> read_pointed;
ReadRow<double> read_pointed;

// The same with up to 22 more digits.
ReadRow<float> read_long_pointed;
ReadRow<double> read_long_pointed;

// Any decimal of up to 24 digits, perhaps with a point and an exponent of one or two digits and its
// sign.
ReadRow<float> read_decimals;
ReadRow<double> read_decimals;

}  // namespace vornic

// Reading numbers four at a time from text in which their ends have already been found.
//
// A row is text such as
//
//     3.25, -0.5, 7, 12.125,
//         ^     ^  ^       ^     ends[0] to ends[3]: one group
//
// Each kernel reads groups of one kind of numbers, without a loop or a branch per digit, and stops before
// the first group with any other number. Results are correctly rounded: the nearest double, ties
// to even, as from strtod; or the float that this double converts to.
#pragma once

#include <stdint.h>

namespace vornic {

// The delimiter after each number is one byte, followed by `gap` spaces: none or one.
struct NumberRow {
    const char* at;           // after the delimiter before the first number
    const char* const* ends;  // pointers to the delimiters after the numbers, four to a group
    int64_t groups;           // at least one
    int64_t gap;
};

// Kernels load up to this many bytes before the start of the first number and after the end of the last.
inline constexpr int64_t kBytesBefore = 8;
inline constexpr int64_t kBytesAfter = 16;

// The kernels return the number of groups read. They may overwrite the group after those at `to`, if the
// row has one. Number is float or double.

// Integers of up to eight digits.
template <typename Number>
int64_t read_integers(const NumberRow& row, Number* to);

// "3.25": one digit, the point, up to 14 more digits.
template <typename Number>
int64_t read_pointed(const NumberRow& row, Number* to);

// The same with up to 22 more digits.
template <typename Number>
int64_t read_long_pointed(const NumberRow& row, Number* to);

// Decimals of up to 24 digits with or without a point, and with or without an exponent of one or two
// digits and a sign.
template <typename Number>
int64_t read_decimals(const NumberRow& row, Number* to);

}  // namespace vornic

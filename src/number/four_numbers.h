// Reading numbers four at a time, where each one ends being known.
#pragma once

#include <stdint.h>

// Numbers one after the other: behind the end of each stand a delimiter and `gap` blanks, 0 or 1, then
// the next one begins.
struct NumberRow {
    const char* at;           // behind the delimiter before the first one
    const char* const* ends;  // of four numbers a group
    int64_t groups;
    int64_t gap;
};
inline constexpr int64_t kRowBefore = 8;
inline constexpr int64_t kRowBehind = 32;

template <typename Number>
using ReadRow = int64_t(const NumberRow& row, Number* to);

ReadRow<float> vnort_read_integers, vnort_read_pointed, vnort_read_long, vnort_read_any;
ReadRow<double> vnort_read_integers, vnort_read_pointed, vnort_read_long, vnort_read_any;

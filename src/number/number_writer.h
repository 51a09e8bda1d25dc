// Writing numbers as text.
//
// A writer stores the number's characters at `first`, without a terminator, and returns the position after
// the last one. It may overwrite up to kNumberCapacity bytes at `first`, more than the text takes.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace vornic {

inline constexpr size_t kNumberCapacity = 40;

// The text that printf gives in the C locale for "%.9g" and "%.17g": correctly rounded, ties to
// even, "inf" and "-inf" for infinities; but every NaN is "nan", without a sign.
char* write_float32(char* first, float value);
char* write_float64(char* first, double value);

char* write_int64(char* first, int64_t value);
char* write_uint64(char* first, uint64_t value);

// Writes the first numbers of an array, each with a comma after it, while any number would fit before
// `end`.
struct NumbersWritten {
    char* end;  // after the last comma
    uint64_t count;
};
template <typename Float>
NumbersWritten write_numbers(char* first, const char* end, const Float* numbers, uint64_t count);

}  // namespace vornic

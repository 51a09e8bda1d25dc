// Writing numbers as text.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace vornic {

// The bytes that a number may overwrite. Its text is shorter.
inline constexpr size_t kNumberCapacity = 40;

struct NumbersWritten {
    char* end;  // after the last comma
    uint64_t count;
};

// Writes the first numbers of an array, each with a comma after it, while any number would fit before
// `end`. Floats get the text that printf gives in the C locale for "%.9g" and "%.17g": correctly rounded,
// ties to even, "inf" and "-inf" for infinities; but every NaN is "nan", without a sign.
//
// Number is float, double or an integer type of up to 64 bits.
template <typename Number>
NumbersWritten write_numbers(char* first, const char* end, const Number* numbers, uint64_t count);

}  // namespace vornic

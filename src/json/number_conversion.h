// Conversion of doubles to the elements of integer tensors, with the results of a C cast on x64 even where
// the language leaves them undefined.
#pragma once

#include <stdint.h>

#include "core/element_type.h"

namespace vornic {

// Truncates toward zero. NaN and values out of range give the most negative integer.
inline int32_t truncate_to_int32(double number) {
    if (!(number > -2147483649.0 && number < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(number);
}

inline int64_t truncate_to_int64(double number) {
    if (!(number >= -0x1p63 && number < 0x1p63)) return INT64_MIN;
    return static_cast<int64_t>(number);
}

// NaN is not 0 and therefore true.
inline void convert(double number, Bool8* to) { *to = Bool8(!(number == 0)); }

inline void convert(double number, int64_t* to) { *to = truncate_to_int64(number); }

// Numbers below 2^63 are converted as to int64_t, including negative ones; 2^64 and more become 0.
inline void convert(double number, uint64_t* to) {
    constexpr double top_bit = 0x1p63;
    *to = number >= top_bit
              ? static_cast<uint64_t>(truncate_to_int64(number - top_bit)) ^ (1ull << 63)
              : static_cast<uint64_t>(truncate_to_int64(number));
}

inline void convert(double number, uint32_t* to) {
    *to = static_cast<uint32_t>(truncate_to_int64(number));
}

// Smaller integers are the low bits of a 32-bit one.
template <typename Integer>
void convert(double number, Integer* to) {
    *to = static_cast<Integer>(truncate_to_int32(number));
}

// Converts many numbers to the elements from index `first` on.
template <typename Element>
void convert_all(void* to, int64_t first, const double* numbers, int64_t count) {
    Element* const elements = static_cast<Element*>(to) + first;
#pragma GCC unroll 4
    for (int64_t i = 0; i < count; ++i) convert(numbers[i], &elements[i]);
}

}  // namespace vornic

// The kernels for numbers of at most eight or sixteen bytes.
#include "number/pointed_digits.h"

namespace vornic {
namespace {

constexpr ByLength<uint64_t> kIntegerMasks = [] {
    ByLength<uint64_t> masks{};
    for (int64_t n = 1; n <= 8; ++n) masks[-n] = suffix_mask(n);
    return masks;
}();

// The eight bytes before each end hold the whole integer. Two share a register, here 749 and 16:
//
//     text      *  *  *  *  *  7  4  9  |  *  *  7  4  9  ,     1  6
//     mask      0  0  0  0  0  FF FF FF |  0  0  0  0  0  0  FF FF
//     digits    0  0  0  0  0  7  4  9  |  0  0  0  0  0  0  1  6
//     pairs     0     0     7     49    |  0     0     0     16
//     fours     0           749         |  0           16
//     eights    749                     |  16                       below 2^31: exact as doubles
constexpr auto read_four_integers =
    []<typename Number>(const FourNumbers& four, Number* to) __attribute__((always_inline)) {
    if (__builtin_expect(!four.fit(8), false)) return false;
    const auto digits = [&](int i) {
        return last_digits(four, i,
                           load_halves(&kIntegerMasks[four.negated_length(i)],
                                       &kIntegerMasks[four.negated_length(i + 1)]));
    };
    const Bytes a = digits(0), b = digits(2);
    const Eights numbers = to_eights(a, b);
    if constexpr (sizeof(Number) == sizeof(float)) {
        // Rounded once, like the conversion of the exact double.
        store_signed(four, to_floats(numbers), to);
    } else {
        store_four(four, first_to_doubles(numbers), last_to_doubles(numbers), to);
    }
    return are_digits(maximum(a, b));
};

// Up to fifteen digits divided by 10^14. Both are exact as doubles, so the one division rounds correctly
// (W. D. Clinger, How to Read Floating Point Numbers Accurately, 1990).
constexpr auto read_four_pointed =
    []<typename Number>(const FourNumbers& four, Number* to) __attribute__((always_inline)) {
    if (__builtin_expect(!four.fit(16), false)) return false;
    const PointedDigits digits(four);
    const Doubles power = {1e14, 1e14};
    store_four(four, small_to_doubles(digits.words(0)) / power,
               small_to_doubles(digits.words(2)) / power, to);
    return digits.are_valid(broadcast('\0'));
};

}  // namespace

template <typename Number>
int64_t read_integers(const NumberRow& row, Number* to) {
    return read_row(row, to, read_four_integers);
}
template int64_t read_integers(const NumberRow& row, float* to);
template int64_t read_integers(const NumberRow& row, double* to);

template <typename Number>
int64_t read_pointed(const NumberRow& row, Number* to) {
    return read_row(row, to, read_four_pointed);
}
template int64_t read_pointed(const NumberRow& row, float* to);
template int64_t read_pointed(const NumberRow& row, double* to);

}  // namespace vornic

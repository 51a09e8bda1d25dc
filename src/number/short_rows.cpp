// The kernels for numbers that eight or sixteen bytes hold.
#include "number/pointed_digits.h"

namespace vornic {
namespace {

// The eight bytes before each end hold all of an integer. Two share a register, for 749 and 16:
//
//     text      .  .  .  .  .  7  4  9  |  .  .  7  4  9  ,     1  6
//     mask      0  0  0  0  0  FF FF FF |  0  0  0  0  0  0  FF FF
//     digits    0  0  0  0  0  7  4  9  |  0  0  0  0  0  0  1  6
//     pairs     0     0     7     49    |  0     0     0     16
//     fours     0           749         |  0           16
//     eights    749                     |  16                       below 2^31: exact as doubles
template <typename Number>
[[gnu::always_inline]] inline bool read_integers(const FourNumbers& four, Number* to) {
    if (!four.fit(8)) return false;
    const auto digits = [&](int i) {
        return last_digits(four, i, kLastBytes<0>[four.negated_length(i)],
                           kLastBytes<0>[four.negated_length(i + 1)]);
    };
    const Bytes a = digits(0), b = digits(2);
    const Eights numbers = to_eights(to_fours(a), to_fours(b));
    if constexpr (sizeof(Number) == sizeof(float)) {
        // Rounded once from an integer, as by way of the exact double.
        store_four(four, to_floats(numbers), to);
    } else {
        store_four(four, first_to_doubles(numbers), last_to_doubles(numbers), to);
    }
    return are_digits(maximum(a, b));
}

// Up to fifteen digits, divided by 10^14: both are exact as doubles, so that the one division rounds
// correctly (W. D. Clinger, How to Read Floating Point Numbers Accurately, 1990).
template <typename Number>
[[gnu::always_inline]] inline bool read_pointed(const FourNumbers& four, Number* to) {
    if (!four.fit(16)) return false;
    const PointedDigits digits(four);
    const Doubles power = broadcast(1e14);
    store_four(four, small_to_doubles(digits.words(0)) / power,
               small_to_doubles(digits.words(2)) / power, to);
    return digits.are_good(broadcast('\0'));
}

}  // namespace

int64_t read_integers(const NumberRow& row, float* to) {
    return read_row(row, to, read_integers<float>);
}
int64_t read_integers(const NumberRow& row, double* to) {
    return read_row(row, to, read_integers<double>);
}
int64_t read_pointed(const NumberRow& row, float* to) {
    return read_row(row, to, read_pointed<float>);
}
int64_t read_pointed(const NumberRow& row, double* to) {
    return read_row(row, to, read_pointed<double>);
}

}  // namespace vornic

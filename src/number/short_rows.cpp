// The kernels for numbers that eight or sixteen bytes hold.
#include "number/pointed_digits.h"

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
        return vnort_last_digits(four, i, kLastBytes<0>[four.negated_length(i)],
                                 kLastBytes<0>[four.negated_length(i + 1)]);
    };
    const Bytes a = digits(0), b = digits(2);
    const Eights numbers = vnort_eights(vnort_fours(a), vnort_fours(b));
    if constexpr (sizeof(Number) == sizeof(float)) {
        // Rounded once from an integer, as by way of the exact double.
        vnort_store_four(four, vnort_floats(numbers), to);
    } else {
        vnort_store_four(four, vnort_first_doubles(numbers), vnort_last_doubles(numbers), to);
    }
    return vnort_are_digits(vnort_greatest(a, b));
}

// Up to fifteen digits, divided by 10^14: both are exact as doubles, so that the one division rounds
// correctly (W. D. Clinger, How to Read Floating Point Numbers Accurately, 1990).
template <typename Number>
[[gnu::always_inline]] inline bool read_pointed(const FourNumbers& four, Number* to) {
    if (!four.fit(16)) return false;
    const PointedDigits digits(four);
    const Doubles power = vnort_all(1e14);
    vnort_store_four(four, vnort_small_doubles(digits.words(0)) / power,
                     vnort_small_doubles(digits.words(2)) / power, to);
    return digits.are_good();
}

}  // namespace

int64_t vnort_read_integers(const NumberRow& row, float* to) {
    return vnort_read_row(row, to, read_integers<float>);
}
int64_t vnort_read_integers(const NumberRow& row, double* to) {
    return vnort_read_row(row, to, read_integers<double>);
}
int64_t vnort_read_pointed(const NumberRow& row, float* to) {
    return vnort_read_row(row, to, read_pointed<float>);
}
int64_t vnort_read_pointed(const NumberRow& row, double* to) {
    return vnort_read_row(row, to, read_pointed<double>);
}

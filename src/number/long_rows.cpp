// The kernel for numbers with the point after the first digit, of any length up to 24 bytes.
#include "number/long_digits.h"
#include "number/pointed_digits.h"

namespace vornic {
namespace {

[[gnu::always_inline]] inline Bytes tail_digits(const FourNumbers& four, int i) {
    return tail_digits(four, i, four.negated_length(i), four.negated_length(i + 1));
}

[[gnu::always_inline]] inline bool read_long_pointed(const FourNumbers& four, float* to) {
    if (!four.fit(kLongest)) return false;
    const PointedDigits digits(four);
    const Bytes tails = maximum(tail_digits(four, 0), tail_digits(four, 2));
    const auto more = [&](int i) {
        return two(kUnitMore[four.negated_length(i)], kUnitMore[four.negated_length(i + 1)]);
    };
    // 10^-14 as a double is wrong by less than 2^-99 and a product by 2^-53 of itself; 2^-97 is more
    // than 2^-51 of 10^-14. So these are bounds, however the products are rounded.
    const Doubles below = broadcast(1e-14 - 0x1p-97), above = broadcast(1e-14 + 0x1p-97);
    const Doubles a = small_to_doubles(digits.words(0));
    const Doubles b = small_to_doubles(digits.words(2));
    const Floats low = to_floats(a * below, b * below);
    const Floats high = to_floats((a + more(0)) * above, (b + more(2)) * above);
    store_four(four, low, to);
    return digits.are_good(bit_or(tails, differ(low, high)));
}

[[gnu::always_inline]] inline bool read_long_pointed(const FourNumbers& four, double* to) {
    if (!four.fit(kLongest)) return false;
    const PointedDigits digits(four);
    const Bytes a_tail = tail_digits(four, 0), b_tail = tail_digits(four, 2);
    const int64_t negated[] = {four.negated_length(0), four.negated_length(1),
                               four.negated_length(2), four.negated_length(3)};
    constexpr int64_t kExponents[] = {-14, -14, -14, -14};
    return digits.are_good(maximum(a_tail, b_tail)) &&
           scale_four(four, digits.words(0), digits.words(2), a_tail, b_tail, negated, kExponents,
                      to);
}

}  // namespace

int64_t read_long_pointed(const NumberRow& row, float* to) {
    return read_row(row, to, [](const FourNumbers& four, float* numbers) {
        return read_long_pointed(four, numbers);
    });
}
int64_t read_long_pointed(const NumberRow& row, double* to) {
    return read_row(row, to, [](const FourNumbers& four, double* numbers) {
        return read_long_pointed(four, numbers);
    });
}

}  // namespace vornic

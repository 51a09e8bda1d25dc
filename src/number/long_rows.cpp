// The kernel for numbers of up to 24 bytes with the point after the first digit.
#include "number/long_digits.h"
#include "number/pointed_digits.h"

namespace vornic {
namespace {

[[gnu::always_inline]] inline bool read_four_long_pointed(const FourNumbers& four, float* to) {
    if (__builtin_expect(!four.fit(kMaxLength), false)) return false;
    const PointedDigits digits(four);
    const auto tails = [&](int i) {
        return TwoFloatTails(four, i, four.negated_length(i), four.negated_length(i + 1));
    };
    const TwoFloatTails a_tails = tails(0), b_tails = tails(2);
    const Doubles below = {kBelowUnit, kBelowUnit}, above = {kAboveUnit, kAboveUnit};
    const Doubles a = small_to_doubles(digits.words(0)), b = small_to_doubles(digits.words(2));
    const Floats low = to_floats(a * below, b * below);
    const Floats high = to_floats(a * above + a_tails.units, b * above + b_tails.units);
    store_signed(four, low, to);
    return digits.are_valid(maximum(a_tails.digits, b_tails.digits) | not_equal(low, high));
}

[[gnu::always_inline]] inline bool read_four_long_pointed(const FourNumbers& four, double* to) {
    if (__builtin_expect(!four.fit(kMaxLength), false)) return false;
    const PointedDigits digits(four);
    const FourTails tails(four, {four.negated_length(0), four.negated_length(1),
                                 four.negated_length(2), four.negated_length(3)});
    return digits.are_valid(maximum(tails.a, tails.b)) &&
           scale_four(four, digits.words(0), digits.words(2), tails, {-14, -14, -14, -14}, to);
}

}  // namespace

template <typename Number>
int64_t read_long_pointed(const NumberRow& row, Number* to) {
    return read_row(
        row, to, [](const FourNumbers& four, Number* numbers) __attribute__((always_inline)) {
            return read_four_long_pointed(four, numbers);
        });
}
template int64_t read_long_pointed(const NumberRow& row, float* to);
template int64_t read_long_pointed(const NumberRow& row, double* to);

}  // namespace vornic

// The kernel for numbers of up to 24 bytes with the point after the first digit.
#include "number/long_digits.h"
#include "number/pointed_digits.h"

namespace vornic {
namespace {

[[gnu::always_inline]] inline bool read_four_long_pointed(const FourNumbers& four, float* to) {
    if (!four.fit(kMaxLength)) [[unlikely]]
        return false;
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
    if (!four.fit(kMaxLength)) [[unlikely]]
        return false;
    const PointedDigits digits(four);
    const Tail* tails[4];
    Power powers[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        tails[i] = &kTails[four.negated_length(i)];
        powers[i] = {-14 - tails[i]->count, tails[i]->log2};
    }
    const Bytes a = last_digits(four, 0, load_halves(&tails[0]->mask, &tails[1]->mask));
    const Bytes b = last_digits(four, 2, load_halves(&tails[2]->mask, &tails[3]->mask));
    return digits.are_valid(maximum(a, b)) &&
           scale_four(four, digits.words(0), digits.words(2), a, b, tails, powers, to);
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

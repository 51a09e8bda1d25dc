// The kernel for decimals of any form, so that a number unlike its neighbours does not slow them down.
#include <string.h>

#include "number/long_digits.h"

namespace vornic {
namespace {

// "e-05", "E+20", "e-7": the exponent of a number, with a sign and one or two digits.
struct Exponent {
    uint64_t length;  // 0 if there is none
    int64_t value;
    bool is_valid;
};

// In the number's last four bytes as a little-endian word, the last digit is the highest byte:
//
//     3.39e-09     "e-09" = 0x39302d65     e in the lowest byte: two digits
//     3.39e-9      "9e-9" = 0x392d6539     e in the byte above: one digit
[[gnu::always_inline]] inline Exponent take_exponent(const char* end) {
    uint32_t text;
    memcpy(&text, end - 4, sizeof text);
    constexpr uint32_t kUpperCase = 0xdf;
    const bool has_two = (text & kUpperCase) == 'E', has_one = (text >> 8 & kUpperCase) == 'E';
    if (!has_two & !has_one) return {0, 0, true};
    const uint32_t sign = (has_two ? text >> 8 : text >> 16) & 0xff;
    const uint32_t tens = has_two ? (text >> 16 & 0xff) - '0' : 0, ones = (text >> 24) - '0';
    const auto value = static_cast<int64_t>(10 * tens + ones);
    const bool is_valid = (tens <= 9) & (ones <= 9) & ((sign == '-') | (sign == '+'));
    return {3 + uint64_t{has_two}, sign == '-' ? -value : value, is_valid};
}

// Whether any of the numbers may have an exponent. Of the bytes before an end, digits, points, signs,
// blanks and commas lack the bit 0x40, which all letters have.
[[gnu::always_inline]] inline bool may_have_exponents(const FourNumbers& four) {
    uint32_t all = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        uint32_t text;
        memcpy(&text, four.end[i] - 4, sizeof text);
        all |= text;
    }
    return (all & 0x4040) != 0;
}

// Strips exponents off the ends of the numbers and adds them to `exponents`. False if one has another form.
[[gnu::always_inline]] inline bool take_exponents(FourNumbers* four, int64_t (&exponents)[4]) {
    bool are_valid = true;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const Exponent written = take_exponent(four->end[i]);
        exponents[i] += written.value;
        four->end[i] -= written.length;
        are_valid &= written.is_valid;
    }
    return are_valid;
}

// The first sixteen digits of a number with a point anywhere or none: the bytes before the point, and
// those after it from a load that starts one byte later. For 31.4159,
//
//     load at first        3  1  .  4  1  5  9  ,  *  *     whole = 2, the index of the point
//     load at first + 1    1  .  4  1  5  9  ,  *  *  *
//     before the point     FF FF 0  0  0  0  0  0  0  0     which load a byte is taken from
//     digits               3  1  4  1  5  9  0  0  0  0     "0" subtracted, the first 6 kept
//
// The value of sixteen is 3141590000000000, the number times 10^(16 - whole).
struct Significand {
    Bytes digits;
    int64_t whole;  // digits before the point
    int64_t count;  // of all digits
};

[[gnu::always_inline]] inline Significand take_significand(const char* first, int64_t length) {
    const Bytes text = load(first);
    const int64_t whole = find_byte('.', text, length);
    const int64_t count = length - (whole < length);
    const Bytes before = prefix_mask(-whole);
    const Bytes joined = (text & before) | (load(first + 1) & ~before);
    return {(joined ^ broadcast('0')) & prefix_mask(-count), whole, count};
}

// A group's first sixteen digits, the power of ten to multiply them by, and the negated count of all
// digits, which is the index of the tables for the digits after those.
struct Decimals {
    Eights a;
    Eights b;
    int64_t exponents[4];
    int64_t negated[4];
};

[[gnu::always_inline]] inline Doubles two_powers(const Decimals& decimals, int i, int64_t sign) {
    return Doubles{kDoublePowersOfTen[sign * decimals.exponents[i]],
                   kDoublePowersOfTen[sign * decimals.exponents[i + 1]]};
}

// Numbers of up to sixteen bytes: up to fifteen digits with a point, or sixteen and nothing to divide by.
// Clinger's exact case: fifteen, stored as sixteen, are a multiple of ten below 2^54, which is exact.
template <typename Number>
[[gnu::always_inline]] inline bool read_short(const FourNumbers& four, const Decimals& decimals,
                                              Number* to) {
    store_four(four, to_doubles(decimals.a) / two_powers(decimals, 0, -1),
               to_doubles(decimals.b) / two_powers(decimals, 2, -1), to);
    return true;
}

// Bounds, as explained before FloatTail. The value of the digits, its sum with a unit and two products each
// have a relative error of at most 2^-53, the power of ten of at most 2^-52: less than 2^-50 in all.
[[gnu::always_inline]] inline bool read_long(const FourNumbers& four, const Decimals& decimals,
                                             float* to) {
    const int64_t(&negated)[4] = decimals.negated;
    const TwoFloatTails a_tails(four, 0, negated[0], negated[1]);
    const TwoFloatTails b_tails(four, 2, negated[2], negated[3]);
    constexpr double kBelow = 1 - 0x1p-50, kAbove = 1 + 0x1p-50;
    const Doubles below = {kBelow, kBelow}, above = {kAbove, kAbove};
    const Doubles a = to_doubles(decimals.a), b = to_doubles(decimals.b);
    const Doubles a_power = two_powers(decimals, 0, 1), b_power = two_powers(decimals, 2, 1);
    const Floats low = to_floats(a * a_power * below, b * b_power * below);
    const Doubles scale = {1e14, 1e14};  // the table's units are 10^-14
    const Floats high = to_floats((a + a_tails.units * scale) * a_power * above,
                                  (b + b_tails.units * scale) * b_power * above);
    store_signed(four, low, to);
    return are_digits(maximum(a_tails.digits, b_tails.digits) | not_equal(low, high));
}

[[gnu::always_inline]] inline bool read_long(const FourNumbers& four, const Decimals& decimals,
                                             double* to) {
    const FourTails tails(four, decimals.negated);
    return are_digits(maximum(tails.a, tails.b)) &&
           scale_four(four, to_words(decimals.a), to_words(decimals.b), tails, decimals.exponents,
                      to);
}

constexpr auto read_four_decimals =
    []<typename Number>(FourNumbers four, Number* to) __attribute__((always_inline)) {
    Decimals decimals{{}, {}, {-16, -16, -16, -16}, {}};
    const bool have_exponents = may_have_exponents(four);
    if (have_exponents && !take_exponents(&four, decimals.exponents)) return false;
    if (__builtin_expect(!four.fit(kMaxLength), false)) return false;
    Bytes digits[4];
    int64_t are_empty = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const Significand significand = take_significand(four.first[i], -four.negated_length(i));
        digits[i] = significand.digits;
        decimals.exponents[i] += significand.whole;
        decimals.negated[i] = -significand.count;
        are_empty |= significand.count - 1;  // negative for a point without digits
    }
    if (are_empty < 0 || !are_digits(maximum_of_four(digits))) return false;
    decimals.a = to_eights(digits[0], digits[1]);
    decimals.b = to_eights(digits[2], digits[3]);
    const bool are_short = four.fit(16) && !have_exponents;
    return are_short ? read_short(four, decimals, to) : read_long(four, decimals, to);
};

}  // namespace

template <typename Number>
int64_t read_decimals(const NumberRow& row, Number* to) {
    return read_row(row, to, read_four_decimals);
}
template int64_t read_decimals(const NumberRow& row, float* to);
template int64_t read_decimals(const NumberRow& row, double* to);

}  // namespace vornic

// The kernel for decimals of any kind, so that one that is unlike its neighbours does not hold them up.
#include <string.h>

#include "number/long_digits.h"

namespace vornic {
namespace {

// "e-05", "E+20", "e-7": an exponent with its sign and one or two digits at the end of a number.
struct WrittenExponent {
    uint64_t length;  // 0 where there is none
    int64_t value;
    bool is_good;
};

// In the last four bytes as a little-endian word, the digit of the ones is the highest byte:
//
//     3.39e-09     "e-09" = 0x39302d65     e in the lowest byte: two digits
//     3.39e-9      "9e-9" = 0x392d6539     e in the next one: one digit
[[gnu::always_inline]] inline WrittenExponent take_exponent(const char* end) {
    uint32_t text;
    memcpy(&text, end - 4, sizeof text);
    constexpr uint32_t kUpperCase = 0xdf;
    const bool has_two = (text & kUpperCase) == 'E', has_one = (text >> 8 & kUpperCase) == 'E';
    if (!has_two & !has_one) return {0, 0, true};
    const uint32_t sign = (has_two ? text >> 8 : text >> 16) & 0xff;
    const uint32_t tens = has_two ? (text >> 16 & 0xff) - '0' : 0, ones = (text >> 24) - '0';
    const auto value = static_cast<int64_t>(10 * tens + ones);
    const bool is_good = (tens <= 9) & (ones <= 9) & ((sign == '-') | (sign == '+'));
    return {3 + uint64_t{has_two}, sign == '-' ? -value : value, is_good};
}

// Whether any of the numbers may have an exponent: among the bytes before an end, digits, points, signs,
// blanks and commas lack the bit that all letters have.
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

// Cuts exponents off the ends of the numbers and adds them to `exponents`. False when one of them is not
// as above.
[[gnu::always_inline]] inline bool take_exponents(FourNumbers* four, int64_t (&exponents)[4]) {
    bool are_good = true;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const WrittenExponent written = take_exponent(four->end[i]);
        exponents[i] += written.value;
        four->end[i] -= written.length;
        are_good &= written.is_good;
    }
    return are_good;
}

// The first sixteen digits of a number with a point anywhere or none: the bytes up to the point, and
// those after it from a load that begins one byte later. For 31.4159,
//
//     load at first        3  1  .  4  1  5  9  ,  .  .     whole = 2, the place of the point
//     load at first + 1    1  .  4  1  5  9  ,  .  .  .
//     before the point     FF FF 0  0  0  0  0  0  0  0     which load a byte is taken from
//     digits               3  1  4  1  5  9  0  0  0  0     "0" taken off, the first 6 kept
//
// The sum of sixteen is 3141590000000000, the number times 10^(16 - whole).
struct Mantissa {
    Bytes digits;
    int64_t whole;  // digits before the point
    int64_t count;  // of all digits
};

[[gnu::always_inline]] inline Mantissa take_mantissa(const char* first, int64_t length) {
    const Bytes text = load(first);
    const auto whole =
        static_cast<int64_t>(lowest_bit_index(match_mask('.', text) | uint64_t{1} << length));
    const int64_t count = length - (whole < length);
    const Bytes before = first_bytes_mask(-whole);
    const Bytes joined = bit_or(bit_and(text, before), and_not(load(first + 1), before));
    return {bit_and(bit_xor(joined, broadcast('0')), first_bytes_mask(-count)), whole, count};
}

// A group on its way: the first sixteen digits as eights, the power of ten that goes with them, and by
// the negated count of digits, what comes after them.
struct Decimals {
    Eights a;
    Eights b;
    int64_t exponents[4];
    int64_t negated[4];
};

[[gnu::always_inline]] inline Doubles two_powers(const Decimals& decimals, int i, int64_t sign) {
    return two(kDoublePowersOfTen[sign * decimals.exponents[i]],
               kDoublePowersOfTen[sign * decimals.exponents[i + 1]]);
}

// Up to fifteen digits, or sixteen that are not divided, in numbers of up to sixteen bytes: Clinger's
// exact case. Fifteen digits make a multiple of ten of the sixteen, below 2^54 and so exact.
template <typename Number>
[[gnu::always_inline]] inline bool read_short(const FourNumbers& four, const Decimals& decimals,
                                              Number* to) {
    store_four(four, to_doubles(decimals.a) / two_powers(decimals, 0, -1),
               to_doubles(decimals.b) / two_powers(decimals, 2, -1), to);
    return true;
}

// Bounds, as in long_digits.h. Sixteen digits, their sum with a unit, the power of ten and two products
// are each wrong by at most 2^-53 of themselves, or the power by 2^-52: together by less than 2^-50.
[[gnu::always_inline]] inline bool read_scaled(const FourNumbers& four, const Decimals& decimals,
                                               Bytes, Bytes, float* to) {
    const auto more = [&](int i) {
        return two(kUnitMore[decimals.negated[i]], kUnitMore[decimals.negated[i + 1]]);
    };
    const Doubles less = broadcast(1 - 0x1p-50), greater = broadcast(1 + 0x1p-50);
    const Doubles x = to_doubles(decimals.a), y = to_doubles(decimals.b);
    const Doubles x_power = two_powers(decimals, 0, 1), y_power = two_powers(decimals, 2, 1);
    const Floats low = to_floats(x * x_power * less, y * y_power * less);
    const Floats high =
        to_floats((x + more(0)) * x_power * greater, (y + more(2)) * y_power * greater);
    store_four(four, low, to);
    return are_digits(differ(low, high));
}

[[gnu::always_inline]] inline bool read_scaled(const FourNumbers& four, const Decimals& decimals,
                                               Bytes a_tail, Bytes b_tail, double* to) {
    return scale_four(four, to_words(decimals.a), to_words(decimals.b), a_tail, b_tail,
                      decimals.negated, decimals.exponents, to);
}

template <typename Number>
[[gnu::always_inline]] inline bool read_decimals(FourNumbers four, Number* to) {
    Decimals decimals{{}, {}, {-16, -16, -16, -16}, {}};
    const bool have_exponents = may_have_exponents(four);
    if (have_exponents && !take_exponents(&four, decimals.exponents)) return false;
    if (!four.fit(kLongest)) return false;
    Bytes digits[4];
    int64_t least = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const Mantissa mantissa = take_mantissa(four.first[i], -four.negated_length(i));
        digits[i] = mantissa.digits;
        decimals.exponents[i] += mantissa.whole;
        decimals.negated[i] = -mantissa.count;
        least |= mantissa.count - 1;  // negative for a point alone
    }
    if (least < 0 || !are_digits(maximum_of_four(digits))) return false;
    decimals.a = to_eights(to_fours(digits[0]), to_fours(digits[1]));
    decimals.b = to_eights(to_fours(digits[2]), to_fours(digits[3]));
    const bool are_short = four.fit(16);
    if (are_short && !have_exponents) return read_short(four, decimals, to);
    Bytes a_tail = broadcast('\0'), b_tail = a_tail;
    if (!are_short) {
        a_tail = tail_digits(four, 0, decimals.negated[0], decimals.negated[1]);
        b_tail = tail_digits(four, 2, decimals.negated[2], decimals.negated[3]);
        if (!are_digits(maximum(a_tail, b_tail))) return false;
    }
    return read_scaled(four, decimals, a_tail, b_tail, to);
}

}  // namespace

int64_t read_decimals(const NumberRow& row, float* to) {
    return read_row(row, to, read_decimals<float>);
}
int64_t read_decimals(const NumberRow& row, double* to) {
    return read_row(row, to, read_decimals<double>);
}

}  // namespace vornic

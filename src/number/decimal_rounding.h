// From the digits of a decimal number to the nearest double.
#pragma once

#include <stdint.h>

#include <bit>

#include "number/power_of_ten.h"

namespace vornic {

// Doubles as bits: adding 1 to the bits of a finite one gives the next; after the largest, infinity.
inline constexpr int kFractionBits = 52;
inline constexpr int kMinExponent = -1074;  // of the last bit of a subnormal
inline constexpr uint64_t kInfinity = 0x7ff0000000000000;

inline constexpr int kWordDigits = 19;  // any 19 digits fit into 64 bits

// The exponent of the last bit that a double keeps of a number in [2^top, 2^(top + 1)).
inline int last_bit_exponent(int top) {
    return top - kFractionBits > kMinExponent ? top - kFractionBits : kMinExponent;
}

// The double significand * 2^last_bit. Adding the significand adds its leading bit to the exponent field,
// which is right even after rounding to 2^53.
inline uint64_t double_bits(uint64_t significand, int last_bit) {
    const uint64_t bits =
        (static_cast<uint64_t>(last_bit - kMinExponent) << kFractionBits) + significand;
    return bits < kInfinity ? bits : kInfinity;
}

// If is_certain, `bits` is the double. Otherwise 128 bits of the power could not decide the rounding: the
// value is near the midpoint below bits * 2^last_bit, and round_exactly has to compare exactly.
struct RoundedWord {
    bool is_certain;
    uint64_t bits;
    int last_bit;
};

// Rounds word * 10^power to the nearest double, by the Eisel-Lemire algorithm (D. Lemire, Number Parsing
// at a Gigabyte per Second, 2021) with all 128 bits of the power and an interval test. The word times the
// truncated power gives a lower and an upper bound. Unlike in the paper, both are rounded; if they differ,
// or the value may be a midpoint, exact arithmetic decides. If `is_cut`, digits after the word's make the
// value greater, by less than one unit of the word, which is then at least 10^18.
inline RoundedWord round_word(uint64_t word, int64_t power, bool is_cut) {
    // 10^19 * 10^-343 is less than half the smallest subnormal.
    if (word == 0 || power < kMinPowerOfTen) return {true, 0, 0};
    if (power > 308) return {true, kInfinity, 0};

    const int zeros = std::countl_zero(word);
    const ScaledNumber scaled = scale_by_power_of_ten(word << zeros, static_cast<int>(power));
    // The lower bound, shifted so that adding a half cannot overflow; still less than 2 units too small.
    const uint128_t low = scaled.bits >> 2;
    const int exponent = scaled.exponent + 2 - zeros;
    // One unit of a word of at least 10^18 is less than 2^-59 of the value.
    const uint128_t uncertainty = is_cut ? (low >> 59) + 2 : 2;

    const int top = exponent + 124 + static_cast<int>(low >> 125);
    const int last_bit = last_bit_exponent(top);
    const int dropped = last_bit - exponent - 64;  // from the high words; 8 for most numbers
    if (dropped > 63) return {true, 0, 0};
    const uint64_t half = uint64_t{1} << (dropped - 1);
    const uint128_t low_sum = low + (static_cast<uint128_t>(half) << 64);
    const uint64_t low_high = static_cast<uint64_t>(low_sum >> 64);
    const uint64_t above = static_cast<uint64_t>((low_sum + uncertainty) >> 64) >> dropped;
    const bool maybe_tie = (low_high & (2 * half - 1)) == 0 && static_cast<uint64_t>(low_sum) == 0;
    if (low_high >> dropped != above || maybe_tie) return {false, above, last_bit};
    return {true, double_bits(above, last_bit), 0};
}

// A decimal in its text: `count` digits, possibly with a point among them, times 10^exponent. `word` is the
// value of the first 19 digits; if there are more, the first one is not 0.
struct Decimal {
    const char* digits;
    int64_t count;
    int64_t exponent;
    uint64_t word;
};

// Rounds to significand * 2^last_bit or to the double below it by comparing all digits with the midpoint.
uint64_t round_exactly(const Decimal& decimal, uint64_t significand, int last_bit);

// Returns the bits of the nearest double.
inline uint64_t round_decimal(const Decimal& decimal) {
    const bool is_cut = decimal.count > kWordDigits;
    const int64_t power = decimal.exponent + (is_cut ? decimal.count - kWordDigits : 0);
    const RoundedWord rounded = round_word(decimal.word, power, is_cut);
    if (rounded.is_certain) return rounded.bits;
    return round_exactly(decimal, rounded.bits, rounded.last_bit);
}

}  // namespace vornic

// From the digits of a decimal number to the nearest double.
#pragma once

#include <stdint.h>

#include <bit>

#include "number/power_of_ten.h"

namespace vornic {

// Doubles as bits: adding 1 to the bits of a finite one gives the next, the last one's is infinity.
inline constexpr int kFractionBits = 52;
inline constexpr int kLeastExponent = -1074;  // of the last bit of a subnormal
inline constexpr uint64_t kInfinity = 0x7ff0000000000000;

inline constexpr int kWordDigits = 19;  // any 19 digits fit into 64 bits

// The exponent of the last bit that a double keeps of a number in [2^top, 2^(top + 1)).
inline int last_bit_exponent(int top) {
    return top - kFractionBits > kLeastExponent ? top - kFractionBits : kLeastExponent;
}

// The double significand * 2^last_bit. The significand may have grown to 2^53 by rounding, and its
// leading bit is added to the exponent's; both carry into the right place.
inline uint64_t double_bits(uint64_t significand, int last_bit) {
    const uint64_t bits =
        (static_cast<uint64_t>(last_bit - kLeastExponent) << kFractionBits) + significand;
    return bits < kInfinity ? bits : kInfinity;
}

// A double's bits; or, where 128 bits of a power of ten do not suffice to know it, the significand of
// the upper one of two and the exponent of its last bit.
struct RoundedWord {
    bool is_certain;
    uint64_t bits;
    int last_bit;
};

// Rounds word * 10^power to the nearest double: the Eisel-Lemire algorithm (D. Lemire, Number Parsing at
// a Gigabyte per Second, 2021), with all 128 bits of the power and an interval: unlike there, both ends
// of what the product may be are rounded, and where they differ, or it may be a tie, exact arithmetic
// decides. With `cut`, digits left out behind the word's make it
// greater by less than one; it is then at least 10^18. The word times a power of ten cut to 128 bits
// gives a lower and an upper bound, which nearly always round to the same double: that is the one.
inline RoundedWord round_word(uint64_t word, int64_t power, bool cut) {
    // 10^19 * 10^-343 is less than half the least subnormal.
    if (word == 0 || power < kLeastPowerOfTen) return {true, 0, 0};
    if (power > 308) return {true, kInfinity, 0};

    const int zeros = std::countl_zero(word);
    const ScaledNumber scaled = scale_by_power_of_ten(word << zeros, static_cast<int>(power));
    const uint128_t low =
        scaled.bits >> 2;  // leaves room to add a half; still short by less than 2
    const int exponent = scaled.exponent + 2 - zeros;
    // One unit of a word that is cut is less than 2^-59 of the number.
    const uint128_t uncertainty = cut ? (low >> 59) + 2 : 2;

    const int top = exponent + 124 + static_cast<int>(low >> 125);
    const int last_bit = last_bit_exponent(top);
    const int dropped = last_bit - exponent - 64;  // of the high words; 8 for most numbers
    if (dropped > 63) return {true, 0, 0};
    const uint64_t half = uint64_t{1} << (dropped - 1);
    const uint128_t low_sum = low + (static_cast<uint128_t>(half) << 64);
    const uint64_t low_high = static_cast<uint64_t>(low_sum >> 64);
    const uint64_t above = static_cast<uint64_t>((low_sum + uncertainty) >> 64) >> dropped;
    const bool maybe_tie = (low_high & (2 * half - 1)) == 0 && static_cast<uint64_t>(low_sum) == 0;
    if (low_high >> dropped != above || maybe_tie) return {false, above, last_bit};
    return {true, double_bits(above, last_bit), 0};
}

// A decimal as its text has it: count digits, perhaps a point among them, times 10^exponent. word
// holds the first 19 digits; if there are more, the first one is not 0.
struct Decimal {
    const char* digits;
    int64_t count;
    int64_t exponent;
    uint64_t word;
};

// Rounds to significand * 2^last_bit or to the double below, whichever is nearer, by comparing all
// digits with what lies between the two.
uint64_t round_exactly(const Decimal& decimal, uint64_t significand, int last_bit);

// Rounds to the nearest double, whose bits it gives.
inline uint64_t round_decimal(const Decimal& decimal) {
    const bool cut = decimal.count > kWordDigits;
    const int64_t power = decimal.exponent + (cut ? decimal.count - kWordDigits : 0);
    const RoundedWord rounded = round_word(decimal.word, power, cut);
    if (rounded.is_certain) return rounded.bits;
    return round_exactly(decimal, rounded.bits, rounded.last_bit);
}

}  // namespace vornic

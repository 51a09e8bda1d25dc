// Numbers of more than the sixteen digits, or fifteen, that one vector sums up: from those and the digits
// after them to a float, or to a double.
#pragma once

#include <math.h>
#include <stdint.h>

#include <bit>

#include "number/decimal_rounding.h"
#include "number/four_numbers.h"
#include "number/power_of_ten.h"

namespace vornic {

// The digits after the first sixteen bytes, at most eight; by the number's length.
[[gnu::always_inline]] inline Bytes tail_digits(const FourNumbers& four, int i, int64_t negated,
                                                int64_t next_negated) {
    return last_digits(four, i, kLastBytes<16>[negated], kLastBytes<16>[next_negated]);
}

// A float32 needs no exact double. The first digits of 0.25588029623031616, cut off, and one unit more
// are bounds that round to the same float:
//
//     25588029623031 * 10^-14 <= the number < 25588029623032 * 10^-14      both 0x1.06057cp-2f
//
// The nearest double lies between the bounds as doubles, since rounding never changes an order, and so
// the float that it converts to lies between theirs: where they are one float, it is that one. This
// gives the conversion of the rounded double, not the nearest float, where the two differ:
// 1.00000005960464477539062501 is nearest to 0x1.000002p0f, but as a double it is a tie, 1 + 2^-24,
// which goes to 1.0f. There the bounds differ, and the number is read again as a double.
//
// What is added to the upper bound's digits, by the length: nothing where none are cut off. Where the
// tail would not hold them all, no bound is equal to NaN.
inline constexpr ByLength<double> kUnitMore = [] {
    ByLength<double> units{};
    for (int64_t n = 17; n <= kLongest; ++n) units[-n] = n <= 24 ? 1 : __builtin_nan("");
    return units;
}();

// By the length: the power of ten that makes place for the tail's digits, and what the digits before
// them have to be below for 64 bits to hold all.
struct Tail {
    int64_t count;
    uint64_t power;
    uint64_t limit;  // 0 where the tail would not hold them all
};
inline constexpr ByLength<Tail> kTails = [] {
    ByLength<Tail> tails{};
    uint64_t power = 1;
    for (int64_t n = 0; n <= kLongest; ++n) {
        if (n > 16 && n <= 24) power *= 10;
        if (n <= 24) tails[-n] = {n > 16 ? n - 16 : 0, power, UINT64_MAX / power - 1};
    }
    return tails;
}();

// A double's bits, and whether they may be wrong.
struct ScaledDigits {
    uint64_t bits;
    uint64_t doubt;  // 0 when they are right
};

// digits * 10^exponent with a tail after the digits. The Eisel-Lemire algorithm (D. Lemire, Number
// Parsing at a Gigabyte per Second, 2021) with the upper half of its product alone: 64 bits by the
// leading 64 bits of the power. For 0.2558802884476004,
//
//     word      2558802884476004 << 12                                its top bit set
//     power     0xe69594bec44de15b                                    10^-16, cut off
//     high      0x8302bdbd25a08633                                    the product's upper 64 bits
//     kept      0x8302bdbd25a08 633 -> 53 bits                        0x1.06057b7a4b411p-2
//
// The word is exact and the power short by less than a unit, which makes the product short by less than
// 2^64; as much again is cut off with its lower half. So the true product is in [high, high + 2), and
// rounds as `high` does unless the bits below those kept, a half added, are all ones, or all zeros, where
// it may be a tie. That is one number in a thousand, which is read again exactly; Lemire multiplies once
// more instead. The number is normal: its exponent of ten is within 130 of 0.
[[gnu::always_inline]] inline ScaledDigits scale(uint64_t digits, uint64_t tail_digits,
                                                 const Tail& tail, int64_t exponent) {
    const uint64_t word = digits * tail.power + tail_digits;
    const int q = static_cast<int>(exponent - tail.count);
    const int zeros = std::countl_zero(word | 1);
    const uint128_t product = static_cast<uint128_t>(word << zeros) * kPowersOfTen[q].high;
    const uint64_t high = static_cast<uint64_t>(product >> 64);
    const int dropped = 10 + static_cast<int>(high >> 63);
    const uint64_t half = uint64_t{1} << (dropped - 1);
    const uint64_t sum = high + half;
    const int last_bit = power_of_ten_log2(q) + 1 - zeros + dropped;
    const uint64_t bits =
        (static_cast<uint64_t>(last_bit - kLeastExponent) << kFractionBits) + (sum >> dropped);
    const uint64_t is_close = (sum & (2 * half - 1)) - 1 >= 2 * half - 2;
    return {word != 0 ? bits : 0, (is_close & uint64_t{word != 0}) | (digits >= tail.limit)};
}

// Four of these: the digits as two words each, the tails' as tail_digits gives them. The sizes are
// negated, as for the tables. False when one of the results may be wrong.
[[gnu::always_inline]] inline bool scale_four(const FourNumbers& four, Words a, Words b,
                                              Bytes a_tail, Bytes b_tail,
                                              const int64_t (&negated)[4],
                                              const int64_t (&exponents)[4], double* to) {
    uint64_t digits[4];
    uint32_t tail_digits[4];
    store_words(a, digits);
    store_words(b, digits + 2);
    store_eights(to_eights(to_fours(a_tail), to_fours(b_tail)), tail_digits);
    uint64_t doubt = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const ScaledDigits scaled =
            scale(digits[i], tail_digits[i], kTails[negated[i]], exponents[i]);
        to[i] = std::bit_cast<double>(scaled.bits | four.negative[i] << 63);
        doubt |= scaled.doubt;
    }
    return doubt == 0;
}

}  // namespace vornic

// Converts numbers with more digits than the fifteen or sixteen that fit into one vector: combines those
// leading digits and the tail after them into a float or a double.
#pragma once

#include <stdint.h>

#include <bit>

#include "number/decimal_rounding.h"
#include "number/four_numbers.h"
#include "number/power_of_ten.h"

namespace vornic {

// The longest number with a tail: the bytes after the first sixteen, at most eight.
inline constexpr int64_t kMaxWithTail = 24;

// A float32 needs no exact double. The leading digits of 0.25588029623031616, truncated, and one unit
// more are bounds that round to the same float:
//
//     25588029623031 * 10^-14 <= the number < 25588029623032 * 10^-14      both 0x1.06057cp-2f
//
// Rounding is monotonic. So the nearest double lies between the bounds as doubles, and the float that it
// converts to between theirs: if these are equal, it is that float. The result is the conversion of the
// rounded double, which is not always the nearest float: 1.00000005960464477539062501 is nearest to
// 0x1.000002p0f, but rounds to the double 1 + 2^-24, which is a midpoint and converts to 1.0f. There the
// bounds differ, and the number is read again as a double.
//
// 2^-97 is more than 2^-51 of 10^-14, whose error as a double is below 2^-99, and each rounding of a product
// or sum errs by at most 2^-53 of it. So products with these are bounds.
inline constexpr double kBelowUnit = 1e-14 - 0x1p-97, kAboveUnit = 1e-14 + 0x1p-97;

// The unit is added to the upper bound. It is 0 if no digits are cut off, and NaN, which is equal to no
// bound, if the tail cannot hold all of them.
struct FloatTail {
    uint64_t mask;  // of the tail's digits
    double unit;
};
alignas(16) inline constexpr ByLength<FloatTail> kFloatTails = [] {
    ByLength<FloatTail> tails{};
    for (int64_t n = 17; n <= kMaxWithTail; ++n) tails[-n] = {suffix_mask(n - 16), kAboveUnit};
    for (int64_t n = kMaxWithTail + 1; n <= kMaxLength; ++n) tails[-n].unit = __builtin_nan("");
    return tails;
}();

// The tails of numbers i and i + 1.
struct TwoFloatTails {
    Bytes digits;
    Doubles units;

    [[gnu::always_inline]] TwoFloatTails(const FourNumbers& four, int i, int64_t negated,
                                         int64_t next_negated) {
        const Columns columns = load_columns(&kFloatTails[negated], &kFloatTails[next_negated]);
        digits = last_digits(four, i, columns.first);
        units = reinterpret_cast<Doubles>(columns.second);
    }
};

// For a double, the leading digits and the tail's become one integer of 64 bits.
struct Tail {
    uint64_t mask;   // of the tail's digits
    uint64_t power;  // 10^count
    uint64_t limit;  // the leading digits must be below this for the integer not to overflow
    int64_t count;   // of the tail's digits
};
inline constexpr ByLength<Tail> kTails = [] {
    ByLength<Tail> tails{};  // a limit of 0 beyond kMaxWithTail
    uint64_t power = 1;
    for (int64_t n = 0; n <= kMaxWithTail; ++n) {
        const int64_t count = n > 16 ? n - 16 : 0;
        if (count > 0) power *= 10;
        tails[-n] = {suffix_mask(count), power, UINT64_MAX / power - 1, count};
    }
    return tails;
}();

struct FourTails {
    const Tail* tail[4];
    Bytes a, b;  // the digits of two each

    [[gnu::always_inline]] FourTails(const FourNumbers& four, const int64_t (&negated)[4])
        : tail{&kTails[negated[0]], &kTails[negated[1]], &kTails[negated[2]], &kTails[negated[3]]},
          a(last_digits(four, 0, load_halves(&tail[0]->mask, &tail[1]->mask))),
          b(last_digits(four, 2, load_halves(&tail[2]->mask, &tail[3]->mask))) {}
};

struct ScaledDigits {
    uint64_t bits;      // of a double
    bool is_ambiguous;  // whether they may be wrong
};

// word * 10^q by the Eisel-Lemire algorithm (D. Lemire, Number Parsing at a Gigabyte per Second, 2021)
// with only the upper half of its product: 64 bits by the leading 64 bits of the power. For
// 0.2558802884476004,
//
//     word      2558802884476004 << 12                                its top bit set
//     power     0xe69594bec44de15b                                    10^-16, truncated
//     high      0x8302bdbd25a08633                                    the product's upper 64 bits
//     kept      0x41815ede92d04319 -> 53 bits                         0x1.06057b7a4b411p-2
//
// The word is exact and the power less than a unit too small, which makes the product less than 2^64 too
// small; its lower half, also less than 2^64, is dropped. So the true product is in [high, high + 2).
// Halved if its top bit is set, it is in [kept, kept + 2), and it rounds as `kept` does unless the ten bits
// to be dropped, with a half added, are all ones, or all zeros, where it may be a midpoint. In both cases
// nine bits are zero once another unit is added. That is one number in 500, which is read again exactly;
// Lemire computes more of the product instead. The double is normal, as q is within 150 of 0.
[[gnu::always_inline]] inline ScaledDigits scale(uint64_t word, int q) {
    const int zeros = std::countl_zero(word | 1);
    const uint128_t product = static_cast<uint128_t>(word << zeros) * kPowersOfTen[q].high;
    const uint64_t high = static_cast<uint64_t>(product >> 64);
    const int top = static_cast<int>(high >> 63);
    const uint64_t kept = high >> top;
    const uint64_t sum = kept + 512 + 1;
    const int last_bit = power_of_ten_log2(q) + 1 - zeros + 10 + top;
    const uint64_t bits =
        (static_cast<uint64_t>(last_bit - kMinExponent) << kFractionBits) + (sum >> 10);
    return {word != 0 ? bits : 0, (sum & 1022) == 0};
}

// Scales four numbers: `a` and `b` hold the leading digits of two each, times 10^exponent, and `tails` the
// digits after those. False if a result may be wrong.
[[gnu::always_inline]] inline bool scale_four(const FourNumbers& four, Words a, Words b,
                                              const FourTails& tails, const int64_t (&exponents)[4],
                                              double* to) {
    uint64_t leading[4];
    uint32_t tail_digits[4];
    store(reinterpret_cast<Bytes>(a), leading);
    store(reinterpret_cast<Bytes>(b), leading + 2);
    store(reinterpret_cast<Bytes>(to_eights(tails.a, tails.b)), tail_digits);
    bool is_ambiguous = false;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const Tail& tail = *tails.tail[i];
        const ScaledDigits scaled = scale(leading[i] * tail.power + tail_digits[i],
                                          static_cast<int>(exponents[i] - tail.count));
        to[i] = std::bit_cast<double>(scaled.bits | four.negative[i] << 63);
        is_ambiguous |= scaled.is_ambiguous | (leading[i] >= tail.limit);
    }
    return !is_ambiguous;
}

}  // namespace vornic

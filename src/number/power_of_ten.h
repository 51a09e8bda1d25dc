// Powers of ten with 128 bits of precision: the table that reading and writing numbers share.
#pragma once

#include <stdint.h>

namespace vornic {

__extension__ typedef unsigned __int128 uint128_t;

// The reader multiplies by 10^-342 .. 10^308, the writer by 10^-292 .. 10^340.
inline constexpr int kMinPowerOfTen = -342;
inline constexpr int kMaxPowerOfTen = 340;

// The leading 128 bits of 10^q, truncated, not rounded: with s = high * 2^64 + low, the top bit of s
// is set and s <= 10^q / 2^(power_of_ten_log2(q) - 127) < s + 1. Equality holds for q in
// 0..55; for q in 0..27 low is 0 as well.
struct PowerOfTen {
    uint64_t high;
    uint64_t low;
};

struct PowerOfTenTable {
    PowerOfTen power[kMaxPowerOfTen - kMinPowerOfTen + 1];

    constexpr const PowerOfTen& operator[](int q) const { return power[q - kMinPowerOfTen]; }
    constexpr PowerOfTen& operator[](int q) { return power[q - kMinPowerOfTen]; }
};

extern const PowerOfTenTable kPowersOfTen;

// The same as doubles, truncated: too small by a relative error of less than 2^-52.
inline constexpr int kMaxDoublePower = 120;
struct DoublePowersOfTen {
    double power[2 * kMaxDoublePower + 1];

    constexpr const double& operator[](int64_t q) const { return power[q + kMaxDoublePower]; }
};
extern const DoublePowersOfTen kDoublePowersOfTen;

// floor(log2(10^q)) for every q of the table (checked where the table is made).
constexpr int power_of_ten_log2(int q) { return (q * 217706) >> 16; }

// A lower bound of a number, which lies in [bits, bits + 2) * 2^exponent.
struct ScaledNumber {
    uint128_t bits;
    int exponent;
};

// w * 10^q for a w with its top bit set and a q of the table; bits is in [2^126, 2^128). The product
// with the truncated power is too small by less than w, so by less than 2^64, and less than another 2^64
// is dropped here: together less than 2 units. If q is in 0..27, nothing is lost and bits is exact.
inline ScaledNumber scale_by_power_of_ten(uint64_t w, int q) {
    const PowerOfTen& power = kPowersOfTen[q];
    const uint128_t low = static_cast<uint128_t>(w) * power.low;
    const uint128_t product = static_cast<uint128_t>(w) * power.high + (low >> 64);
    return {product, power_of_ten_log2(q) - 63};
}

// Constants that give the nine digits of a float32 by one multiplication. A float is m * 2^(b - 150), with
// m in [2^23, 2^24) and b the biased exponent of its binade. The sum m * factor + kHalfOfNinthDigit is its
// first three digits with 64 bits of fraction, rounded at the ninth digit. A binade may contain a power of
// ten, so it has two factors.
//
// 0.1f is 13421773 * 2^(123 - 150). Its binade contains 0.1 itself; from there on the second factor
// applies, 10^3 * 2^(123 - 150) * 2^64 = 0x7d0000000000:
//
//     13421773 * factor + kHalfOfNinthDigit = 100 + 0.00000199011...     in 64.64 bits, fixed point
//     100 | x 1000: 000 | x 1000: 001 | 0.990... is left, far from 0 and so certain
//     digits 100000001, exponent -1: "0.100000001"
//
// The factor is truncated; kHalfOfNinthDigit is raised by the largest possible loss, 2^24 units. So the
// sum is never too small, and too large by at most kMaxExcess units of 2^-64.
struct BinadeScales {
    uint32_t second[256];  // the bits of the first float that uses the second factor
    uint64_t factor[512];
    int16_t
        exponent[512];  // of ten, for the first of the nine digits; kNoScale if there is no factor
};
inline constexpr int kNoScale = 1000;
inline constexpr uint64_t kHalfOfNinthDigit =
    9223372036855 + (1 << 24);  // 2^64 / (2 * 10^6), and 2^24
inline constexpr uint64_t kMaxExcess = (1 << 24) + 1;

extern const BinadeScales kBinadeScales;

}  // namespace vornic

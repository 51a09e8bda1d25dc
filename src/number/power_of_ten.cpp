#include "number/power_of_ten.h"

#include <bit>

namespace vornic {
namespace {

// Wide enough for 5^340 (790 bits) and for 128 bits of 2^959 / 5^342 (795 bits).
constexpr int kLimbs = 30;

struct WideInteger {
    uint32_t limb[kLimbs];

    constexpr void multiply_by_5() {
        uint64_t carry = 0;
        for (uint32_t& l : limb) {
            carry += uint64_t{l} * 5;
            l = static_cast<uint32_t>(carry);
            carry >>= 32;
        }
    }

    constexpr void divide_by_5() {
        uint64_t rest = 0;
        for (int i = kLimbs - 1; i >= 0; --i) {
            rest = rest << 32 | limb[i];
            limb[i] = static_cast<uint32_t>(rest / 5);
            rest %= 5;
        }
    }

    constexpr int bit_length() const {
        int top = kLimbs - 1;
        while (limb[top] == 0) --top;
        return 32 * top + 32 - std::countl_zero(limb[top]);
    }

    // 32 bits from a bit position, which may be below that of the lowest bit.
    constexpr uint64_t bits_at(int position) const {
        const int index = position >> 5;
        const uint64_t low = index < 0 ? 0 : limb[index];
        const uint64_t high = index < -1 || index + 1 == kLimbs ? 0 : limb[index + 1];
        return (high << 32 | low) >> (position & 31) & 0xffffffff;
    }

    constexpr PowerOfTen leading_bits() const {
        const int end = bit_length();
        return {bits_at(end - 32) << 32 | bits_at(end - 64),
                bits_at(end - 96) << 32 | bits_at(end - 128)};
    }
};

// 10^q and 5^q have the same leading bits. For q < 0 they are those of 2^959 / 5^-q; dividing by 5
// repeatedly, truncating each time, gives the same as one truncating division.
constexpr PowerOfTenTable make_powers_of_ten() {
    PowerOfTenTable table{};
    WideInteger number{{1}};
    for (int q = 0; q <= kMaxPowerOfTen; ++q) {
        table[q] = number.leading_bits();
        number.multiply_by_5();
    }
    number = {};
    number.limb[kLimbs - 1] = 0x80000000;
    for (int q = -1; q >= kMinPowerOfTen; --q) {
        number.divide_by_5();
        table[q] = number.leading_bits();
    }
    return table;
}

constexpr bool log2_is_exact() {
    WideInteger number{{1}};
    for (int q = 0; q <= kMaxPowerOfTen; ++q) {
        if (power_of_ten_log2(q) != number.bit_length() - 1 + q) return false;
        number.multiply_by_5();
    }
    number = {};
    number.limb[kLimbs - 1] = 0x80000000;
    for (int q = -1; q >= kMinPowerOfTen; --q) {
        number.divide_by_5();
        if (power_of_ten_log2(q) != number.bit_length() - 960 + q) return false;
    }
    return true;
}
static_assert(log2_is_exact());

constexpr uint64_t binade_factor(const PowerOfTen& power, int log2, int binade) {
    const int dropped = 127 - log2 - (binade - 150 + 64);
    return static_cast<uint64_t>((static_cast<uint128_t>(power.high) << 64 | power.low) >> dropped);
}

// The smallest significand whose nine digits become ten by rounding, or 2^24 if there is none.
constexpr uint32_t first_with_ten_digits(uint64_t factor, uint64_t half_of_ninth) {
    uint32_t begin = 1 << 23;
    uint32_t end = 1 << 24;
    while (begin < end) {
        const uint32_t middle = (begin + end) / 2;
        const uint128_t product = static_cast<uint128_t>(middle) * factor + half_of_ninth;
        if (static_cast<uint64_t>(product >> 64) >= 1000) {
            end = middle;
        } else {
            begin = middle + 1;
        }
    }
    return begin;
}

constexpr DoublePowersOfTen make_double_powers(const PowerOfTenTable& powers) {
    DoublePowersOfTen doubles{};
    for (int q = -kMaxDoublePower; q <= kMaxDoublePower; ++q) {
        const uint64_t exponent = static_cast<uint64_t>(power_of_ten_log2(q) + 1022);
        // The leading bit carries into the exponent.
        doubles.power[q + kMaxDoublePower] =
            std::bit_cast<double>((exponent << 52) + (powers[q].high >> 11));
    }
    return doubles;
}

// Zero has a factor of 0; subnormals, infinities and NaNs have none.
constexpr BinadeScales make_binade_scales(const PowerOfTenTable& powers) {
    BinadeScales scales{};
    scales.second[0] = 1;
    scales.exponent[1] = scales.exponent[510] = scales.exponent[511] = kNoScale;
    for (int binade = 1; binade < 255; ++binade) {
        // floor(log10(2^(binade - 127))); the offset keeps the shifted value positive
        const int exponent = (((binade - 127) * 78913 + (64 << 18)) >> 18) - 64;
        for (int i = 0; i < 2; ++i) {
            const int power = 2 - exponent - i;
            scales.factor[2 * binade + i] =
                binade_factor(powers[power], power_of_ten_log2(power), binade);
            scales.exponent[2 * binade + i] = static_cast<int16_t>(exponent + i);
        }
        const uint32_t significand =
            first_with_ten_digits(scales.factor[2 * binade], kHalfOfNinthDigit);
        scales.second[binade] =
            (static_cast<uint32_t>(binade) << 23) + (significand - (uint32_t{1} << 23));
    }
    return scales;
}

// Checks that the excess of the sums moves no float across a power of ten.
constexpr bool second_factors_are_certain(const BinadeScales& scales) {
    for (int binade = 1; binade < 255; ++binade) {
        const uint64_t factor = scales.factor[2 * binade];
        if (first_with_ten_digits(factor, kHalfOfNinthDigit) !=
            first_with_ten_digits(factor, kHalfOfNinthDigit - kMaxExcess)) {
            return false;
        }
    }
    return true;
}

}  // namespace

constexpr PowerOfTenTable kPowersOfTen = make_powers_of_ten();
constexpr DoublePowersOfTen kDoublePowersOfTen = make_double_powers(kPowersOfTen);
constexpr BinadeScales kBinadeScales = make_binade_scales(kPowersOfTen);
static_assert(second_factors_are_certain(kBinadeScales));

}  // namespace vornic

#include "number/number_writer.h"

#include <algorithm>
#include <bit>
#include <concepts>

#include "number/decimal_layout.h"
#include "number/power_of_ten.h"

namespace vornic {
namespace {

constexpr uint64_t kTenTo8 = 100000000;

// A decimal of kDigits digits: digits * 10^(exponent - kDigits + 1), the leading digit not 0.
struct Decimal {
    uint64_t digits;
    int exponent;
};

// Rounds a magnitude to kDigits digits; for nine, that of a float. Zero's digits are 0; those of infinities
// and NaNs mean nothing. Scaled by a power of ten truncated to 128 bits, the number has at most 57 bits
// before the binary point and at least 69 after it, and is too small by less than 2 units of the last bit.
// That could put it below a midpoint that it exceeds by less than 2^-68, but there is no such double:
// proofs/hard_roundings.py computes the closest. Exact midpoints occur only with powers of ten in 0..27,
// where nothing is truncated; they go to even.
template <int kDigits>
Decimal round_to_digits(uint64_t bits) {
    constexpr uint64_t kLeadingUnit = kDigits == 9 ? kTenTo8 : kTenTo8 * kTenTo8;
    constexpr uint64_t kHiddenBit = uint64_t{1} << 52;
    uint64_t significand = bits & (kHiddenBit - 1);
    int log2 = static_cast<int>(bits >> 52) - 1023;
    if (log2 == -1023) {
        const int zeros = std::countl_zero(significand | 1);
        significand <<= zeros;
        log2 = -1011 - zeros;
    } else {
        significand = (significand | kHiddenBit) << 11;
    }
    // floor(log10), first of 2^log2; the next power of ten is then compared.
    int exponent = (log2 * 78913) >> 18;
    exponent +=
        power_of_ten_log2(exponent + 1) == log2 && significand >= kPowersOfTen[exponent + 1].high;

    const int power = kDigits - 1 - exponent;
    const ScaledNumber scaled = scale_by_power_of_ten(significand, power);
    const uint64_t high = static_cast<uint64_t>(scaled.bits >> 64);
    const int below_half = -log2 - scaled.exponent - 2;  // bits of the high word
    const uint64_t halves = high >> below_half;
    uint64_t digits = (halves + 1) >> 1;
    const bool is_whole = static_cast<uint64_t>(scaled.bits) == 0 && halves << below_half == high;
    if (is_whole && (halves & 1) != 0 && power >= 0 && power <= 27) digits &= ~uint64_t{1};
    if (digits == 10 * kLeadingUnit) {
        digits = kLeadingUnit;
        ++exponent;
    }
    return {digits, exponent};
}

// Splits the digits into the leading two or three and a 64-bit binary fraction of the rest, by one
// multiplication by a rounded-up reciprocal. The error of the fraction is below one unit of the last
// digit, so truncating it gives the right digits.
template <int kDigits>
DigitText<kDigits> split(uint64_t digits) {
    constexpr uint64_t kUnit = kDigits == 9 ? 1000000 : 1000000000000000;
    constexpr int kShift = kDigits == 9 ? 19 : 49;
    constexpr uint128_t kReciprocal = (uint128_t{1} << (64 + kShift)) / kUnit + 1;
    static_assert(kReciprocal >> 64 == 0);
    const uint128_t product = digits * kReciprocal >> kShift;
    return {static_cast<uint64_t>(product >> 64), static_cast<uint64_t>(product)};
}

// The parts of a number's text. The exponent is kNoScale if write_slowly has to write the number.
template <int kDigits>
struct RoundedNumber {
    DigitText<kDigits> digits;
    int64_t exponent;
    uint64_t sign;
};

constexpr uint64_t kInfinity = 0x7ff0000000000000;

// For every number but infinities and NaNs.
template <int kDigits>
[[gnu::always_inline]] inline RoundedNumber<kDigits> round_exactly(double value) {
    const uint64_t bits = std::bit_cast<uint64_t>(value);
    const uint64_t magnitude = bits & ~(uint64_t{1} << 63);
    const Decimal decimal = round_to_digits<kDigits>(magnitude);
    const int exponent = magnitude == 0 ? 0 : decimal.exponent;
    return {split<kDigits>(decimal.digits), magnitude < kInfinity ? exponent : kNoScale,
            bits >> 63};
}

// By one multiplication by the binade's factor, if it has one and the remainder after nine digits is not
// within the error bound kMaxExcess, which leaves the last digit in doubt.
[[gnu::always_inline]] inline RoundedNumber<9> round_number(float value) {
    const uint32_t bits = std::bit_cast<uint32_t>(value);
    const uint32_t magnitude = bits & 0x7fffffff;
    const uint32_t binade = magnitude >> 23;
    const uint32_t scale = 2 * binade + 1 - (magnitude < kBinadeScales.second[binade]);
    const uint64_t significand = (magnitude & 0x7fffff) | 0x800000;
    const uint128_t product = static_cast<uint128_t>(significand) * kBinadeScales.factor[scale];
    uint64_t fraction;
    const bool carry =
        __builtin_add_overflow(static_cast<uint64_t>(product), kHalfOfNinthDigit, &fraction);
    const uint64_t upper = static_cast<uint64_t>(product >> 64) + carry;
    constexpr int kDoubtfulBits = 44;
    static_assert(kMaxExcess * 1000000 < uint64_t{1} << kDoubtfulBits);
    const bool is_doubtful = fraction * 1000000 >> kDoubtfulBits == 0;
    return {{upper, fraction}, is_doubtful ? kNoScale : kBinadeScales.exponent[scale], bits >> 31};
}

[[gnu::always_inline]] inline RoundedNumber<17> round_number(double value) {
    return round_exactly<17>(value);
}

template <int kDigits>
[[gnu::always_inline]] inline char* write_rounded(char* first,
                                                  const RoundedNumber<kDigits>& rounded) {
    *first = '-';
    return lay_out(first + rounded.sign, rounded.digits, rounded.exponent);
}

// Writes what round_number leaves: of the doubles, infinities and NaNs.
char* write_slowly(char* first, double value) {
    *first = '-';
    char* const to = first + (value < 0);
    memcpy(to, value != value ? "nan" : "inf", 3);
    return to + 3;
}

[[gnu::noinline]] char* write_slowly(char* first, float value) {
    const RoundedNumber<9> rounded = round_exactly<9>(value);
    return rounded.exponent != kNoScale ? write_rounded(first, rounded)
                                        : write_slowly(first, double{value});
}

// Rounds a group of numbers before it stores any: a processor may hold back loads, here from the tables,
// until the addresses of all earlier stores are known, and a number's address depends on the lengths of
// those before it. On x64 this takes half the time; on arm64 it would take more instructions.
#if defined(__x86_64__)
constexpr uint64_t kGroup = 16;
#else
constexpr uint64_t kGroup = 1;
#endif

template <std::floating_point Float>
char* write_all(char* first, const Float* numbers, uint64_t count) {
    while (count != 0) {
        decltype(round_number(*numbers)) rounded[kGroup];
        const uint64_t group = std::min(kGroup, count);
        for (uint64_t i = 0; i < group; ++i) rounded[i] = round_number(numbers[i]);
        for (uint64_t i = 0; i < group; ++i) {
            first = rounded[i].exponent != kNoScale ? write_rounded(first, rounded[i])
                                                    : write_slowly(first, numbers[i]);
            *first++ = ',';
        }
        numbers += group;
        count -= group;
    }
    return first;
}

// The digits of a number below 10^8 in the order of the text, one to a byte. The word is split into two
// numbers of four digits, four of two, and eight of one (SWAR). The reciprocals of 100 and 10 are
// rounded up by so little that every quotient is exact; the masks clear the bits shifted in from the number
// above. For 12345678, from the lowest bits (the first byte, as x64 and arm64 are little-endian) up:
//
//     fours     1234        5678
//     pairs     12    34    56    78
//     digits    1  2  3  4  5  6  7  8
uint64_t eight_digits(uint64_t number) {
    const uint64_t fours = number / 10000 + ((number % 10000) << 32);
    const uint64_t hundreds = ((fours * 5243) >> 19) & 0x0000007f0000007f;
    const uint64_t pairs = hundreds + ((fours - hundreds * 100) << 16);
    const uint64_t tens = ((pairs * 103) >> 10) & 0x000f000f000f000f;
    return tens + ((pairs - tens * 10) << 8);
}

constexpr uint64_t kZeros = 0x3030303030303030;  // "00000000"

char* write_eight_digits(char* first, uint64_t number) {
    store_word(first, eight_digits(number) + kZeros);
    return first + 8;
}

// Without leading zeros; a single 0 is kept.
char* write_up_to_eight_digits(char* first, uint64_t number) {
    const uint64_t digits = eight_digits(number);
    const int zeros = std::countr_zero(digits | uint64_t{1} << 56) / 8;
    store_word(first, (digits + kZeros) >> (8 * zeros));
    return first + 8 - zeros;
}

// Up to three digits without leading zeros.
char* write_triple(char* first, uint64_t number) {
    const int zeros = int{number < 100} + int{number < 10};
    store_word(first, kTriples.text[number] >> (8 * zeros));
    return first + 3 - zeros;
}

[[gnu::noinline]] char* write_long_integer(char* first, uint64_t number) {
    if (number < kTenTo8) return write_up_to_eight_digits(first, number);
    const uint64_t upper = number / kTenTo8;
    if (upper < kTenTo8) {
        first = write_up_to_eight_digits(first, upper);
    } else {
        first = write_up_to_eight_digits(first, upper / kTenTo8);
        first = write_eight_digits(first, upper % kTenTo8);
    }
    return write_eight_digits(first, number % kTenTo8);
}

[[gnu::always_inline]] inline char* write_integer(char* first, uint64_t number) {
    if (number < 1000) return write_triple(first, number);
    if (number < 1000000) {
        char* const last_triple = write_triple(first, number / 1000);
        store_word(last_triple, kTriples.text[number % 1000]);
        return last_triple + 3;
    }
    return write_long_integer(first, number);
}

template <std::integral Integer>
char* write_all(char* first, const Integer* numbers, uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) {
        const bool negative = numbers[i] < 0;
        const uint64_t magnitude = static_cast<uint64_t>(numbers[i]);
        *first = '-';
        first = write_integer(first + int{negative}, negative ? 0 - magnitude : magnitude);
        *first++ = ',';
    }
    return first;
}

}  // namespace

template <typename Number>
NumbersWritten write_numbers(char* first, const char* end, const Number* numbers, uint64_t count) {
    uint64_t written = 0;
    for (;;) {
        const uint64_t fitting = static_cast<uint64_t>(end - first) / (kNumberCapacity + 1);
        const uint64_t step = std::min(fitting, count - written);
        if (step == 0) return {first, written};
        first = write_all(first, numbers + written, step);
        written += step;
    }
}
template NumbersWritten write_numbers(char*, const char*, const float*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const double*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const int8_t*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const uint8_t*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const int16_t*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const uint16_t*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const int32_t*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const uint32_t*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const int64_t*, uint64_t);
template NumbersWritten write_numbers(char*, const char*, const uint64_t*, uint64_t);

}  // namespace vornic

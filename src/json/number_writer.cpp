#include "json/number_writer.h"

#include <string.h>

#include <bit>

#include "json/power_of_ten.h"

namespace {

constexpr uint64_t kTenTo8 = 100000000;
constexpr uint64_t kZeros = 0x3030303030303030;  // "00000000"

// The digits of a number below 10^8 in the order of the text, one to a byte. The word is split into
// two numbers of four digits, four of two and eight of one; the reciprocals of 100 and 10 are
// rounded up by so little that every quotient is right, and the masks cut off what is shifted in
// from the number above.
[[gnu::always_inline]] inline uint64_t eight_digits(uint64_t number) {
    const uint64_t fours = number / 10000 + ((number % 10000) << 32);
    const uint64_t hundreds = ((fours * 5243) >> 19) & 0x0000007f0000007f;
    const uint64_t twos = hundreds + ((fours - hundreds * 100) << 16);
    const uint64_t tens = ((twos * 103) >> 10) & 0x000f000f000f000f;
    return tens + ((twos - tens * 10) << 8);
}

void store(char* to, uint64_t word) { memcpy(to, &word, sizeof word); }
void store(char* to, uint128_t word) { memcpy(to, &word, sizeof word); }

// The digits after the leading one, in the order of the text, one to a byte.
template <int kDigits>
struct Tail;

template <>
struct Tail<9> {
    using Word = uint64_t;
    static constexpr uint64_t kLeadingUnit = kTenTo8;
    static constexpr Word kAscii = kZeros;
    static Word digits(uint64_t number) { return eight_digits(number); }
    static int used_bytes(Word word) { return 8 - std::countl_zero(word) / 8; }
};

template <>
struct Tail<17> {
    using Word = uint128_t;
    static constexpr uint64_t kLeadingUnit = kTenTo8 * kTenTo8;
    static constexpr Word kAscii = static_cast<Word>(kZeros) << 64 | kZeros;
    static Word digits(uint64_t number) {
        return static_cast<Word>(eight_digits(number % kTenTo8)) << 64 |
               eight_digits(number / kTenTo8);
    }
    static int used_bytes(Word word) {
        const uint64_t high = static_cast<uint64_t>(word >> 64);
        return high != 0 ? 16 - std::countl_zero(high) / 8
                         : 8 - std::countl_zero(static_cast<uint64_t>(word)) / 8;
    }
};

// A decimal of kDigits digits: digits * 10^(exponent - kDigits + 1), the leading digit not 0.
struct Decimal {
    uint64_t digits;
    int exponent;
};

// Rounds a positive finite double to kDigits digits. Scaled by a power of ten cut to 128 bits, it
// has at most 57 bits before the binary point and at least 67 after it, and is short by less than 2
// units of the last one. That could make it fall short of a half that it exceeds, if it exceeds it
// by less than 2^-66, but there is no such double: proofs/hard_roundings.py computes the nearest.
// Exactly a half comes only with powers of ten in 0..27, where nothing is cut; it goes to even.
template <int kDigits>
Decimal round_to_digits(uint64_t bits) {
    constexpr uint64_t kHiddenBit = uint64_t{1} << 52;
    uint64_t significand = bits & (kHiddenBit - 1);
    int log2 = static_cast<int>(bits >> 52) - 1023;
    if (log2 == -1023) {
        const int zeros = std::countl_zero(significand);
        significand <<= zeros;
        log2 = -1011 - zeros;
    } else {
        significand = (significand | kHiddenBit) << 11;
    }
    // floor(log10), first of 2^log2; the next power of ten is then compared.
    int exponent = (log2 * 78913) >> 18;
    exponent += vnort_power_of_ten_log2(exponent + 1) == log2 &&
                significand >= kPowersOfTen[exponent + 1].high;

    const int power = kDigits - 1 - exponent;
    const ScaledNumber scaled = vnort_scale_by_power_of_ten(significand, power);
    const int point = 63 - log2 - scaled.exponent - 64;  // in the high word
    const uint64_t half = uint64_t{1} << (point - 1);
    const uint128_t sum = scaled.bits + (static_cast<uint128_t>(half) << 64);
    const uint64_t high = static_cast<uint64_t>(sum >> 64);
    uint64_t digits = high >> point;
    const bool maybe_tie = (high & (2 * half - 1)) == 0 && static_cast<uint64_t>(sum) == 0;
    if (maybe_tie && power >= 0 && power <= 27) digits &= ~uint64_t{1};
    if (digits == 10 * Tail<kDigits>::kLeadingUnit) {
        digits = Tail<kDigits>::kLeadingUnit;
        ++exponent;
    }
    return {digits, exponent};
}

char* write_exponent(char* p, int exponent) {
    *p++ = 'e';
    *p++ = exponent < 0 ? '-' : '+';
    unsigned rest = static_cast<unsigned>(exponent < 0 ? -exponent : exponent);
    if (rest >= 100) {
        *p++ = static_cast<char>('0' + rest / 100);
        rest %= 100;
    }
    *p++ = static_cast<char>('0' + rest / 10);
    *p++ = static_cast<char>('0' + rest % 10);
    return p;
}

// Lays the digits out as %g does, without zeros at the end of a fraction. Words are stored whole,
// their first byte first as on every x64; what they hold too much stays behind the end.
template <int kDigits>
char* lay_out(char* first, Decimal decimal) {
    using Word = typename Tail<kDigits>::Word;
    constexpr uint64_t kUnit = Tail<kDigits>::kLeadingUnit;
    const Word digits = Tail<kDigits>::digits(decimal.digits % kUnit);
    const int tail = Tail<kDigits>::used_bytes(digits);
    const Word text = digits + Tail<kDigits>::kAscii;
    const char leading = static_cast<char>('0' + decimal.digits / kUnit);
    const int exponent = decimal.exponent;

    if (exponent < -4 || exponent >= kDigits) {
        first[0] = leading;
        first[1] = '.';
        store(first + 2, text);
        return write_exponent(first + (tail == 0 ? 1 : tail + 2), exponent);
    }
    if (exponent < 0) {
        store(first, uint64_t{0x303030303030'2e30});  // "0.000000"
        first += 1 - exponent;
        *first = leading;
        store(first + 1, text);
        return first + 1 + tail;
    }
    *first++ = leading;
    if (tail <= exponent) {
        store(first, text);
        return first + exponent;
    }
    // Opens a gap for the point; the last digit leaves the word.
    const Word before = text & ((static_cast<Word>(1) << (8 * exponent)) - 1);
    store(first, before | static_cast<Word>('.') << (8 * exponent) | (text - before) << 8);
    first[sizeof(Word)] = static_cast<char>(text >> (8 * sizeof(Word) - 8));
    return first + tail + 1;
}

template <int kDigits>
char* write_general(char* first, double value) {
    constexpr uint64_t kInfinity = 0x7ff0000000000000;
    const uint64_t bits = std::bit_cast<uint64_t>(value);
    const uint64_t magnitude = bits & ~(uint64_t{1} << 63);
    *first = '-';
    char* const p = first + (bits >> 63);
    if (magnitude == 0) {
        *p = '0';
        return p + 1;
    }
    if (magnitude >= kInfinity) {
        char* const to = magnitude == kInfinity ? p : first;
        memcpy(to, magnitude == kInfinity ? "inf" : "nan", 3);
        return to + 3;
    }
    return lay_out<kDigits>(p, round_to_digits<kDigits>(magnitude));
}

char* write_eight_digits(char* first, uint64_t number) {
    store(first, eight_digits(number) + kZeros);
    return first + 8;
}

// Without leading zeros, but the last digit stays, be it 0.
char* write_up_to_eight_digits(char* first, uint64_t number) {
    const uint64_t digits = eight_digits(number);
    const int zeros = std::countr_zero(digits | uint64_t{1} << 56) / 8;
    store(first, (digits + kZeros) >> (8 * zeros));
    return first + 8 - zeros;
}

char* write_integer(char* first, uint64_t number) {
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

}  // namespace

char* vnort_write_float32(char* first, float value) {
    return write_general<9>(first, static_cast<double>(value));
}

char* vnort_write_float64(char* first, double value) { return write_general<17>(first, value); }

char* vnort_write_int64(char* first, int64_t value) {
    *first = '-';
    const bool negative = value < 0;
    const uint64_t magnitude = static_cast<uint64_t>(value);
    return write_integer(first + int{negative}, negative ? 0 - magnitude : magnitude);
}

char* vnort_write_uint64(char* first, uint64_t value) { return write_integer(first, value); }

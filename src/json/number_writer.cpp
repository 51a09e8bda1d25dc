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

// Three digits as text, and a zero byte.
struct Triples {
    uint32_t text[1000];
};
constexpr Triples kTriples = [] {
    Triples triples{};
    for (uint32_t i = 0; i < 1000; ++i) {
        triples.text[i] = 0x303030 + (i / 100 | i / 10 % 10 << 8 | i % 10 << 16);
    }
    return triples;
}();

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
// their first byte first as on x64 and arm64; what they hold too much stays behind the end.
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
[[gnu::noinline]] char* write_general(char* first, double value) {
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

// The nine digits of a float32: the leading one, and the other eight as a word of text.
struct NineDigits {
    char leading;
    uint64_t tail;
};

NineDigits split_nine_digits(uint64_t digits) {
    const uint64_t upper = digits * 1125899907 >> 50;  // digits / 10^6, for all below 2^30
    const uint64_t lower = digits - upper * 1000000;
    const uint64_t middle = lower * 4294968 >> 32;  // lower / 1000, for all below 10^6
    const uint32_t first = kTriples.text[upper];
    const uint64_t tail = first >> 8 | uint64_t{kTriples.text[middle]} << 16 |
                          uint64_t{kTriples.text[lower - middle * 1000]} << 40;
    return {static_cast<char>(first), tail};
}

// Lays nine digits out as %g does; a leading 0 is the number 0. Words are stored whole here too, and
// what is written behind the end costs less than a branch that goes both ways.
char* lay_out_nine(char* p, const NineDigits& digits, int x) {
    const uint64_t rest = digits.tail - kZeros;
    const int tail = (71 - std::countl_zero(rest | 1)) / 8 - int{rest == 0};  // without zeros
    if (x >= -4 && x <= 0) [[likely]] {
        store(p, uint64_t{0x303030303030'2e30});  // "0.000000"
        p[(1 - x) & (x >> 31)] = digits.leading;  // at the start where x is 0
        store(p + 2 - x, digits.tail);
        return p + 2 - x + tail - int{(x | tail) == 0};
    }
    p[0] = digits.leading;
    if (x > 0 && x <= 8) {
        store(p + 1, digits.tail);
        store(p + x + 2, digits.tail >> (8 * x & 63));
        p[x + 1] = '.';
        return p + (tail <= x ? x + 1 : tail + 2);
    }
    p[1] = '.';
    store(p + 2, digits.tail);
    return write_exponent(p + (tail == 0 ? 1 : tail + 2), x);
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

// Up to three digits without leading zeros; with a length of 6, three more.
char* write_triple(char* first, uint64_t upper, uint64_t lower, int length) {
    const int zeros = int{upper < 100} + int{upper < 10};
    const uint64_t text = kTriples.text[upper] | uint64_t{kTriples.text[lower]} << 24;
    store(first, text >> (8 * zeros));
    return first + length - zeros;
}

char* write_integer(char* first, uint64_t number) {
    if (number < 1000) return write_triple(first, number, 0, 3);
    if (number < 1000000) return write_triple(first, number / 1000, number % 1000, 6);
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

// One multiplication by the binade's factor. Where the fraction that is left is so near to a half that
// what the factor lacks could matter, or is a half, the way for all numbers decides.
char* vnort_write_float32(char* first, float value) {
    const uint32_t bits = std::bit_cast<uint32_t>(value);
    const uint32_t magnitude = bits & 0x7fffffff;
    const uint32_t binade = magnitude >> 23;
    const uint32_t scale = 2 * binade + (magnitude >= kBinadeScales.second[binade]);
    const uint64_t significand = (magnitude & 0x7fffff) | 0x800000;
    const uint128_t product =
        static_cast<uint128_t>(significand << 8) * kBinadeScales.factor[scale];
    const uint64_t fraction = static_cast<uint64_t>(product);
    const int exponent = kBinadeScales.exponent[scale];
    constexpr uint64_t kHalf = uint64_t{1} << 63;
    constexpr uint64_t kShort = uint64_t{1} << 32;
    if (exponent == kNoScale || fraction - (kHalf - kShort) <= kShort) [[unlikely]] {
        return write_general<9>(first, static_cast<double>(value));
    }
    const uint64_t digits = static_cast<uint64_t>(product >> 64) + (fraction >> 63);
    *first = '-';
    return lay_out_nine(first + (bits >> 31), split_nine_digits(digits), exponent);
}

char* vnort_write_float64(char* first, double value) { return write_general<17>(first, value); }

char* vnort_write_int64(char* first, int64_t value) {
    *first = '-';
    const bool negative = value < 0;
    const uint64_t magnitude = static_cast<uint64_t>(value);
    return write_integer(first + int{negative}, negative ? 0 - magnitude : magnitude);
}

char* vnort_write_uint64(char* first, uint64_t value) { return write_integer(first, value); }

#include "json/number_reader.h"

#include <stdint.h>

#include <bit>

#include "json/exact_compare.h"
#include "json/power_of_ten.h"

namespace {

// Doubles as bits: adding 1 to the bits of a finite one gives the next, the last one's is infinity.
constexpr int kFractionBits = 52;
constexpr int kLeastExponent = -1074;  // of the last bit of a subnormal
constexpr uint64_t kInfinity = 0x7ff0000000000000;
constexpr uint64_t kQuietNan = 0x7ff8000000000000;

// An exponent past this one decides alone whether a number is 0 or infinite, yet leaves room to
// add the number of digits of any text.
constexpr int64_t kHugeExponent = 1000000000000000000;

constexpr int kWordDigits = 19;  // any 19 digits fit into 64 bits

struct PowersOfTenDouble {
    double power[23];  // up to 10^22 they are exact
};

constexpr PowersOfTenDouble make_exact_doubles() {
    PowersOfTenDouble table{{1}};
    for (int i = 1; i < 23; ++i) table.power[i] = table.power[i - 1] * 10;
    return table;
}

constexpr PowersOfTenDouble kExactDoubles = make_exact_doubles();

bool is_digit(char c) { return static_cast<unsigned char>(c - '0') < 10; }
char lower(char c) { return static_cast<char>(c | 0x20); }  // of a letter

int hex_digit(char c) {  // -1 if it is none
    if (is_digit(c)) return c - '0';
    const char letter = lower(c);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

bool append_digit(char c, uint64_t& word) {
    const uint64_t digit = static_cast<unsigned char>(c) - uint64_t{'0'};
    if (digit > 9) return false;
    word = word * 10 + digit;
    return true;
}

// Appends digits to a word; past 19 significant ones the word is meaningless. Nearly all the time
// of reading is spent here: inlined, so that the word stays in a register.
[[gnu::always_inline]] inline const char* take_digits(const char* p, uint64_t& word) {
    for (;; p += 8) {
        if (!append_digit(p[0], word)) return p;
        if (!append_digit(p[1], word)) return p + 1;
        if (!append_digit(p[2], word)) return p + 2;
        if (!append_digit(p[3], word)) return p + 3;
        if (!append_digit(p[4], word)) return p + 4;
        if (!append_digit(p[5], word)) return p + 5;
        if (!append_digit(p[6], word)) return p + 6;
        if (!append_digit(p[7], word)) return p + 7;
    }
}

struct Exponent {
    int64_t value;
    const char* end;
};

// Reads an exponent that begins with a letter at p; without a digit, none: 0 and p itself.
Exponent take_exponent(const char* const p) {
    const bool negative = p[1] == '-';
    const char* const digits = p + (negative || p[1] == '+' ? 2 : 1);
    const char* end = digits;
    int64_t value = 0;
    for (; is_digit(*end); ++end) {
        if (value < kHugeExponent / 10) value = value * 10 + (*end - '0');
    }
    if (end == digits) return {0, p};
    return {negative ? -value : value, end};
}

// The exponent of the last bit that a double keeps of a number in [2^top, 2^(top + 1)).
int last_bit_exponent(int top) {
    return top - kFractionBits > kLeastExponent ? top - kFractionBits : kLeastExponent;
}

// The double significand * 2^last_bit. The significand may have grown to 2^53 by rounding, and its
// leading bit is added to the exponent's; both carry into the right place.
uint64_t double_bits(uint64_t significand, int last_bit) {
    const uint64_t bits =
        (static_cast<uint64_t>(last_bit - kLeastExponent) << kFractionBits) + significand;
    return bits < kInfinity ? bits : kInfinity;
}

NumberRead signed_number(uint64_t bits, bool negative, const char* end) {
    return {std::bit_cast<double>(bits | static_cast<uint64_t>(negative) << 63), end};
}

// The digits of a decimal as an integer, and the exponent that goes with it. A half way point
// between doubles has at most 767 significant digits; of the digits after the 800th it only matters
// whether one is not 0, and a 1 in their place says so.
BigNatural read_all_digits(const char* digits, int64_t count, int64_t& exponent) {
    constexpr int64_t kKeptDigits = 800;
    BigNatural number(0);
    int64_t kept = 0;
    uint64_t chunk = 0;
    uint64_t power = 1;
    bool rest = false;
    for (int64_t i = 0; i < count; ++digits) {
        if (*digits == '.') continue;
        ++i;
        if (kept == kKeptDigits) {
            rest = rest || *digits != '0';
            continue;
        }
        ++kept;
        chunk = chunk * 10 + static_cast<uint64_t>(*digits - '0');
        power *= 10;
        if (kept % kWordDigits == 0) {
            number.multiply_add(power, chunk);
            chunk = 0;
            power = 1;
        }
    }
    number.multiply_add(power, chunk);
    exponent += count - kept;
    if (rest) {
        number.multiply_add(10, 1);
        --exponent;
    }
    return number;
}

// A decimal as its text has it: count digits, perhaps a point among them, times 10^exponent. word
// holds the first 19 digits; if there are more, the first one is not 0.
struct Decimal {
    const char* digits;
    int64_t count;
    int64_t exponent;
    uint64_t word;
};

// Rounds to significand * 2^last_bit or to the double below, whichever is nearer.
[[gnu::noinline]] uint64_t decide_exactly(const Decimal& decimal, uint64_t significand,
                                          int last_bit) {
    int64_t exponent = decimal.exponent;
    const BigNatural digits = read_all_digits(decimal.digits, decimal.count, exponent);
    const int order = vnort_compare_exactly(digits, static_cast<int>(exponent), 2 * significand - 1,
                                            last_bit - 1);
    const bool up = order > 0 || (order == 0 && significand % 2 == 0);
    return double_bits(up ? significand : significand - 1, last_bit);
}

// Rounds to the nearest double. The first 19 digits times a power of ten cut to 128 bits give a
// lower and an upper bound, which nearly always round to the same double; then that is the one.
// Otherwise a half way point lies between them and the exact comparison with it decides.
uint64_t round_decimal(const Decimal& decimal) {
    const bool cut = decimal.count > kWordDigits;
    const int64_t power = decimal.exponent + (cut ? decimal.count - kWordDigits : 0);
    // 10^19 * 10^-343 is less than half the least subnormal.
    if (decimal.word == 0 || power < kLeastPowerOfTen) return 0;
    if (power > 308) return kInfinity;

    const int zeros = std::countl_zero(decimal.word);
    const ScaledNumber low =
        vnort_scale_by_power_of_ten(decimal.word << zeros, static_cast<int>(power));
    const int exponent = low.exponent - zeros;
    // Digits left out are worth less than one unit of the word, which is then at least 10^18, so
    // less than 2^-59 of the number.
    const uint128_t uncertainty = cut ? (low.bits >> 59) + 2 : 2;

    const int top = exponent + 124 + static_cast<int>(low.bits >> 125);
    const int last_bit = last_bit_exponent(top);
    const int dropped = last_bit - exponent - 64;  // of the high words; 8 for most numbers
    if (dropped > 63) return 0;
    const uint64_t half = uint64_t{1} << (dropped - 1);
    const uint128_t low_sum = low.bits + (static_cast<uint128_t>(half) << 64);
    const uint64_t low_high = static_cast<uint64_t>(low_sum >> 64);
    const uint64_t above = static_cast<uint64_t>((low_sum + uncertainty) >> 64) >> dropped;
    const bool maybe_tie = (low_high & (2 * half - 1)) == 0 && static_cast<uint64_t>(low_sum) == 0;
    if (low_high >> dropped == above && !maybe_tie) return double_bits(above, last_bit);
    return decide_exactly(decimal, above, last_bit);
}

// Rounds a decimal of more than 19 digits, leading zeros among them. It starts at p.
[[gnu::noinline]] uint64_t round_long_decimal(const char* p, int64_t count, int64_t exponent) {
    for (; count > 0 && (*p == '0' || *p == '.'); ++p) count -= *p == '0';
    Decimal decimal = {p, count, exponent, 0};
    for (int64_t i = 0; i < count && i < kWordDigits; ++p) i += append_digit(*p, decimal.word);
    return round_decimal(decimal);
}

struct Hexadecimal {
    uint64_t word;     // the first 16 significant digits
    bool rest;         // a digit after them is not 0
    int64_t exponent;  // of two, for the word
    const char* end;   // null without any digit
};

Hexadecimal take_hexadecimal(const char* p) {
    Hexadecimal number = {0, false, 0, nullptr};
    bool any = false;
    bool fraction = false;
    for (;; ++p) {
        if (*p == '.' && !fraction) {
            fraction = true;
            continue;
        }
        const int digit = hex_digit(*p);
        if (digit < 0) break;
        any = true;
        const bool fits = number.word >> 60 == 0;
        if (fits) number.word = number.word << 4 | static_cast<uint64_t>(digit);
        number.rest |= !fits && digit != 0;
        number.exponent += 4 * (int{!fits} - int{fraction});
    }
    if (any) number.end = p;
    return number;
}

uint64_t round_hexadecimal(const Hexadecimal& hexadecimal) {
    if (hexadecimal.word == 0) return 0;
    const int zeros = std::countl_zero(hexadecimal.word);
    const int64_t top = hexadecimal.exponent + 63 - zeros;
    if (top > 1023) return kInfinity;
    if (top < kLeastExponent - 1) return 0;
    const int last_bit = last_bit_exponent(static_cast<int>(top));
    // Below the word's 64 bits stands one more for the rest.
    const uint128_t number = static_cast<uint128_t>(hexadecimal.word << zeros) << 1 |
                             static_cast<uint128_t>(hexadecimal.rest);
    const int dropped = last_bit - static_cast<int>(top) + 64;  // 12 to 65
    const uint128_t half = static_cast<uint128_t>(1) << (dropped - 1);
    const uint128_t below = number & (2 * half - 1);
    uint64_t significand = static_cast<uint64_t>(number >> dropped);
    significand += below > half || (below == half && significand % 2 != 0);
    return double_bits(significand, last_bit);
}

// A hexadecimal number, x being its letter; without a digit after it, the 0 before it.
[[gnu::noinline]] NumberRead read_hexadecimal(const char* x, bool negative) {
    Hexadecimal hexadecimal = take_hexadecimal(x + 1);
    if (hexadecimal.end == nullptr) return signed_number(0, negative, x);
    if (lower(*hexadecimal.end) == 'p') {
        const Exponent written = take_exponent(hexadecimal.end);
        hexadecimal.exponent += written.value;
        hexadecimal.end = written.end;
    }
    return signed_number(round_hexadecimal(hexadecimal), negative, hexadecimal.end);
}

// The length of a lower-case word if the text starts with it in either case, otherwise 0.
int match_word(const char* p, const char* word) {
    int length = 0;
    for (; word[length] != '\0'; ++length) {
        if (lower(p[length]) != word[length]) return 0;
    }
    return length;
}

bool is_nan_character(char c) {
    return is_digit(c) || c == '_' || (lower(c) >= 'a' && lower(c) <= 'z');
}

// Infinity, NaN, or no number at all; p is after the sign.
[[gnu::noinline]] NumberRead read_word(const char* first, const char* p, bool negative) {
    if (const int length = match_word(p, "inf")) {
        p += length;
        return signed_number(kInfinity, negative, p + match_word(p, "inity"));
    }
    if (const int length = match_word(p, "nan")) {
        p += length;
        if (*p == '(') {
            const char* q = p + 1;
            while (is_nan_character(*q)) ++q;
            if (*q == ')') p = q + 1;
        }
        return signed_number(kQuietNan, negative, p);
    }
    return {0, first};
}

}  // namespace

NumberRead vnort_read_number(const char* first) {
    const bool negative = *first == '-';
    const bool positive = *first == '+';
    const char* const whole = first + (int{negative} | int{positive});  // without a branch
    uint64_t word = 0;
    const char* p = take_digits(whole, word);
    int64_t count = p - whole;
    int64_t exponent = 0;
    if (*p == '.') {
        const char* const fraction = p + 1;
        p = take_digits(fraction, word);
        exponent = fraction - p;
        count -= exponent;
    } else if (lower(*p) == 'x' && count == 1 && word == 0) {
        return read_hexadecimal(p, negative);
    }
    if (count == 0) return read_word(first, whole, negative);
    if (lower(*p) == 'e') {
        const Exponent written = take_exponent(p);
        exponent += written.value;
        p = written.end;
    }
    if (count > kWordDigits) {
        return signed_number(round_long_decimal(whole, count, exponent), negative, p);
    }
    // Both operands are exact, so the one operation rounds correctly.
    if (word <= uint64_t{1} << 53 && exponent >= -22 && exponent <= 22) {
        const double number = static_cast<double>(static_cast<int64_t>(word));
        const double value = exponent < 0 ? number / kExactDoubles.power[-exponent]
                                          : number * kExactDoubles.power[exponent];
        return signed_number(std::bit_cast<uint64_t>(value), negative, p);
    }
    return signed_number(round_decimal({whole, count, exponent, word}), negative, p);
}

#include "number/number_reader.h"

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <bit>

#include "number/decimal_rounding.h"

namespace vornic {
namespace {

constexpr uint64_t kQuietNan = 0x7ff8000000000000;

// Beyond this exponent a number is 0 or infinite whatever its digits, and adding the number of digits of
// any text does not overflow.
constexpr int64_t kHugeExponent = 1000000000000000000;

// Powers of ten are exact doubles up to 10^22.
constexpr std::array kExactPowers = [] {
    std::array<double, 23> powers{1};
    for (size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
    return powers;
}();

bool is_digit(char c) { return static_cast<unsigned char>(c - '0') < 10; }
char lower(char c) { return static_cast<char>(c | 0x20); }  // for letters only

int hex_digit(char c) {  // -1 for any other character
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

// Appends digits to a word, which is meaningless after more than 19 significant ones. Reading spends most
// of its time here: inlined, so that the word stays in a register.
[[gnu::always_inline]] inline const char* take_digits(const char* p, uint64_t& word) {
    for (;; p += 8) {
#pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) {
            if (!append_digit(p[i], word)) return p + i;
        }
    }
}

struct Exponent {
    int64_t value;
    const char* end;
};

// Reads an exponent whose letter is at p; returns 0 and p if it has no digits.
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

NumberRead signed_number(uint64_t bits, bool negative, const char* end) {
    return {std::bit_cast<double>(bits | static_cast<uint64_t>(negative) << 63), end};
}

// Rounds a decimal at p of more than 19 digits, including leading zeros.
[[gnu::noinline]] uint64_t round_long_decimal(const char* p, int64_t count, int64_t exponent) {
    for (; count > 0 && (*p == '0' || *p == '.'); ++p) count -= *p == '0';
    Decimal decimal = {p, count, exponent, 0};
    for (int64_t i = 0; i < count && i < kWordDigits; ++p) i += append_digit(*p, decimal.word);
    return round_decimal(decimal);
}

struct Hexadecimal {
    uint64_t word;     // the first 16 significant digits
    bool has_more;     // whether a digit after them is not 0
    int64_t exponent;  // of two, for the word
    const char* end;   // null if there is no digit
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
        number.has_more |= !fits && digit != 0;
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
    if (top < kMinExponent - 1) return 0;
    const int last_bit = last_bit_exponent(static_cast<int>(top));
    // Below the word's 64 bits, a sticky bit for the digits after them.
    const uint128_t number = static_cast<uint128_t>(hexadecimal.word << zeros) << 1 |
                             static_cast<uint128_t>(hexadecimal.has_more);
    const int dropped = last_bit - static_cast<int>(top) + 64;  // 12 to 65
    const uint128_t half = static_cast<uint128_t>(1) << (dropped - 1);
    const uint128_t below = number & (2 * half - 1);
    uint64_t significand = static_cast<uint64_t>(number >> dropped);
    significand += below > half || (below == half && significand % 2 != 0);
    return double_bits(significand, last_bit);
}

// Reads a hexadecimal number whose letter is at x; if no digit follows, only the 0 before it.
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

// Reads an infinity, a NaN or nothing; p is after the sign.
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

NumberRead read_number(const char* first) {
    const bool negative = *first == '-';
    const bool positive = *first == '+';
    const char* const whole = first + (int{negative} | int{positive});  // avoids a branch
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
    // Clinger's exact case: both operands are exact, so the one operation rounds correctly.
    if (word <= uint64_t{1} << 53 && exponent >= -22 && exponent <= 22) {
        const double number = static_cast<double>(static_cast<int64_t>(word));
        const double value = exponent < 0 ? number / kExactPowers[static_cast<size_t>(-exponent)]
                                          : number * kExactPowers[static_cast<size_t>(exponent)];
        return signed_number(std::bit_cast<uint64_t>(value), negative, p);
    }
    return signed_number(round_decimal({whole, count, exponent, word}), negative, p);
}

}  // namespace vornic

#include "number/four_numbers.h"

#include <stddef.h>
#include <string.h>

#include <bit>

#include "bytes16.h"
#include "number/decimal_rounding.h"
#include "number/power_of_ten.h"

namespace {

// A load from kLongest - n has the first n bytes set.
constexpr int64_t kLongest = 32;
struct FirstBytes {
    uint8_t bytes[kLongest + 16];
};
constexpr FirstBytes kFirstBytes = [] {
    FirstBytes mask{};
    for (int64_t i = 0; i < kLongest; ++i) mask.bytes[i] = 255;
    return mask;
}();
[[gnu::always_inline]] inline Bytes first_bytes(int64_t negated) {
    return vnort_load(kFirstBytes.bytes + kLongest + negated);
}

// Words of eight bytes of which the last n are set.
template <size_t kFrom>
struct LastBytes {
    uint64_t word[kFrom + 9];
    constexpr LastBytes() : word{} {
        for (size_t n = 1; n <= 8; ++n) word[8 - n] = ~uint64_t{0} << (64 - 8 * n);
    }
    const uint64_t& operator[](int64_t negated) const {
        return word[static_cast<int64_t>(kFrom) + 8 + negated];
    }
};
constexpr LastBytes<0> kLastBytes;
constexpr LastBytes<16> kBytesPast16;

struct Signs {
    alignas(16) double two[4][2];
    alignas(16) float four[16][4];
};
constexpr Signs kSigns = [] {
    Signs signs{};
    for (int i = 0; i < 16; ++i) {
        for (int k = 0; k < 4; ++k) signs.four[i][k] = (i >> k & 1) != 0 ? -0.0f : 0.0f;
        if (i >= 4) continue;
        for (int k = 0; k < 2; ++k) signs.two[i][k] = (i >> k & 1) != 0 ? -0.0 : 0.0;
    }
    return signs;
}();

struct Four {
    const char* first[4];  // behind the sign
    const char* end[4];
    uint64_t negative[4];

    int64_t negated(int i) const { return first[i] - end[i]; }
    bool fit_24() const {
        return ((static_cast<uint64_t>(~negated(0)) > 23) |
                (static_cast<uint64_t>(~negated(1)) > 23) |
                (static_cast<uint64_t>(~negated(2)) > 23) |
                (static_cast<uint64_t>(~negated(3)) > 23)) == 0;
    }
    // For a power of two: whether all have from one to so many bytes.
    bool fit(int64_t most) const {
        return static_cast<uint64_t>(negated(0) & negated(1) & negated(2) & negated(3)) >=
               static_cast<uint64_t>(-most);
    }
};

[[gnu::always_inline]] inline bool take_four(const char* at, const char* const* ends, int64_t gap,
                                             char blank, Four* four) {
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        if (ends[i][gap] != blank) return false;
        at += gap;
        four->negative[i] = *at == '-';
        four->first[i] = at + four->negative[i];
        four->end[i] = ends[i];
        at = ends[i] + 1;
    }
    return true;
}

[[gnu::always_inline]] inline void store(const Four& four, Doubles a, Doubles b, double* to) {
    vnort_store_signed(a, kSigns.two[four.negative[0] + 2 * four.negative[1]], to);
    vnort_store_signed(b, kSigns.two[four.negative[2] + 2 * four.negative[3]], to + 2);
}

[[gnu::always_inline]] inline void store(const Four& four, Floats numbers, float* to) {
    vnort_store_signed(numbers,
                       kSigns.four[four.negative[0] + 2 * four.negative[1] +
                                   4 * (four.negative[2] + 2 * four.negative[3])],
                       to);
}

[[gnu::always_inline]] inline void store(const Four& four, Doubles a, Doubles b, float* to) {
    store(four, vnort_floats(a, b), to);
}

Bytes greatest(const Bytes (&bytes)[4]) {
    return vnort_greatest(vnort_greatest(bytes[0], bytes[1]), vnort_greatest(bytes[2], bytes[3]));
}

// The last of the eight bytes before two ends as digits.
Bytes last_digits(const char* a_end, const uint64_t& a_mask, const char* b_end,
                  const uint64_t& b_mask) {
    return vnort_and(vnort_xor(vnort_load_halves(a_end - 8, b_end - 8), vnort_all('0')),
                     vnort_load_halves(&a_mask, &b_mask));
}

template <typename Number>
[[gnu::always_inline]] inline bool read_integers(const Four& four, Number* to) {
    if (!four.fit(8)) return false;
    const auto two = [&](int i) {
        return last_digits(four.end[i], kLastBytes[four.negated(i)], four.end[i + 1],
                           kLastBytes[four.negated(i + 1)]);
    };
    const Bytes a = two(0), b = two(2);
    const Eights numbers = vnort_eights(vnort_fours(a), vnort_fours(b));
    if constexpr (sizeof(Number) == sizeof(float)) {
        store(four, vnort_floats(numbers), to);
    } else {
        store(four, vnort_first_doubles(numbers), vnort_last_doubles(numbers), to);
    }
    return vnort_are_digits(vnort_greatest(a, b));
}

Bytes pointed_zeros() {
    alignas(16) static const char text[17] = "0.00000000000000";
    return vnort_load_aligned(text);
}

[[gnu::always_inline]] inline Bytes pointed_digits(const char* first, int64_t negated) {
    return vnort_and(vnort_xor(vnort_load(first), pointed_zeros()), first_bytes(negated));
}

[[gnu::always_inline]] inline Words pointed_words(Bytes a, Bytes b) {
    return vnort_words(vnort_eights(vnort_pointed_fours(a), vnort_pointed_fours(b)));
}

template <typename Number>
[[gnu::always_inline]] inline bool read_pointed(const Four& four, Number* to) {
    if (!four.fit(16)) return false;
    Bytes digits[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) digits[i] = pointed_digits(four.first[i], four.negated(i));
    const Doubles power = vnort_all(1e14);
    store(four, vnort_small_doubles(pointed_words(digits[0], digits[1])) / power,
          vnort_small_doubles(pointed_words(digits[2], digits[3])) / power, to);
    return vnort_are_pointed_digits(greatest(digits));
}

struct MoreThan16 {
    double number[25];
    const double& operator[](int64_t negated) const { return number[24 + negated]; }
};
constexpr MoreThan16 kMore = [] {
    MoreThan16 more{};
    for (int i = 0; i < 8; ++i) more.number[i] = 1;
    return more;
}();

// Bounds.
[[gnu::always_inline]] inline bool read_long(const Four& four, float* to) {
    if (!four.fit_24()) return false;
    Bytes digits[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) digits[i] = pointed_digits(four.first[i], four.negated(i));
    const auto two = [&](int i) {
        return last_digits(four.end[i], kBytesPast16[four.negated(i)], four.end[i + 1],
                           kBytesPast16[four.negated(i + 1)]);
    };
    const Bytes tails = vnort_greatest(two(0), two(2));
    const auto more = [&](int i) {
        return vnort_two(kMore[four.negated(i)], kMore[four.negated(i + 1)]);
    };
    const Doubles a = vnort_small_doubles(pointed_words(digits[0], digits[1]));
    const Doubles b = vnort_small_doubles(pointed_words(digits[2], digits[3]));
    const Doubles below = vnort_all(1e-14 - 0x1p-97), above = vnort_all(1e-14 + 0x1p-97);
    const Floats low = vnort_floats(a * below, b * below);
    const Floats high = vnort_floats((a + more(0)) * above, (b + more(2)) * above);
    store(four, low, to);
    return vnort_are_pointed_digits(greatest(digits)) &&
           vnort_are_digits(vnort_or(tails, vnort_differ(low, high)));
}

struct Further {
    uint64_t power;
    uint64_t limit;
};
struct FurtherTable {
    Further by_count[9];
};
constexpr FurtherTable kFurther = [] {
    FurtherTable table{};
    uint64_t power = 1;
    for (Further& further : table.by_count) {
        further = {power, UINT64_MAX / power - 1};
        power *= 10;
    }
    return table;
}();

struct Scaled {
    uint64_t bits;
    uint64_t doubt;
};
[[gnu::always_inline]] inline Scaled scale(uint64_t upper, uint64_t lower, int64_t more,
                                           int64_t exponent) {
    const Further& further = kFurther.by_count[more];
    const uint64_t word = upper * further.power + lower;
    const int q = static_cast<int>(exponent) - static_cast<int>(more);
    const int zeros = std::countl_zero(word | 1);
    const uint128_t product = static_cast<uint128_t>(word << zeros) * kPowersOfTen[q].high;
    const uint64_t high = static_cast<uint64_t>(product >> 64);
    const int dropped = 10 + static_cast<int>(high >> 63);
    const uint64_t half = uint64_t{1} << (dropped - 1);
    const uint64_t sum = high + half;
    const int last_bit = vnort_power_of_ten_log2(q) + 1 - zeros + dropped;
    const uint64_t bits =
        (static_cast<uint64_t>(last_bit - kLeastExponent) << kFractionBits) + (sum >> dropped);
    const uint64_t is_close = (sum & (2 * half - 1)) - 1 >= 2 * half - 2;
    return {word != 0 ? bits : 0, (is_close & uint64_t{word != 0}) | (upper >= further.limit)};
}

[[gnu::always_inline]] inline bool read_long(const Four& four, double* to) {
    if (!four.fit_24()) return false;
    Bytes digits[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) digits[i] = pointed_digits(four.first[i], four.negated(i));
    const auto two = [&](int i) {
        return last_digits(four.end[i], kBytesPast16[four.negated(i)], four.end[i + 1],
                           kBytesPast16[four.negated(i + 1)]);
    };
    const Bytes a_tails = two(0), b_tails = two(2);
    if (!vnort_are_pointed_digits(greatest(digits)) ||
        !vnort_are_digits(vnort_greatest(a_tails, b_tails))) {
        return false;
    }
    uint64_t upper[4];
    uint32_t lower[4];
    vnort_store_words(pointed_words(digits[0], digits[1]), upper);
    vnort_store_words(pointed_words(digits[2], digits[3]), upper + 2);
    vnort_store_eights(vnort_eights(vnort_fours(a_tails), vnort_fours(b_tails)), lower);
    uint64_t doubt = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const int64_t more = four.negated(i) < -16 ? -16 - four.negated(i) : 0;
        const Scaled scaled = scale(upper[i], lower[i], more, -14);
        to[i] = std::bit_cast<double>(scaled.bits | four.negative[i] << 63);
        doubt |= scaled.doubt;
    }
    return doubt == 0;
}

struct Exponent {
    uint64_t length;  // in the text
    int64_t value;
    bool is_good;
};

// e-5, e-05, e+20
[[gnu::always_inline]] inline Exponent take_exponent(const char* end) {
    uint32_t text;
    memcpy(&text, end - 4, sizeof text);
    const bool two = (text & 0xdf) == 'E', one = (text >> 8 & 0xdf) == 'E';
    const uint32_t sign = (two ? text >> 8 : text >> 16) & 0xff;
    const uint32_t tens = two ? (text >> 16 & 0xff) - '0' : 0, ones = (text >> 24) - '0';
    const int64_t value = static_cast<int64_t>(10 * tens + ones);
    if (!two & !one) return {0, 0, true};
    const bool is_good = (tens <= 9) & (ones <= 9) & ((sign == '-') | (sign == '+'));
    return {3 + uint64_t{two}, sign == '-' ? -value : value, is_good};
}

[[gnu::always_inline]] inline bool has_letter(const Four& four) {
    uint32_t all = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        uint32_t text;
        memcpy(&text, four.end[i] - 4, sizeof text);
        all |= text;
    }
    return (all & 0x4040) != 0;
}

// The first sixteen digits.
struct Mantissa {
    Bytes digits;
    int64_t whole;  // digits before the point
    int64_t count;  // of all digits
};

[[gnu::always_inline]] inline Mantissa take_mantissa(const char* first, int64_t length) {
    const Bytes text = vnort_load(first);
    const auto whole = static_cast<int64_t>(
        vnort_first(vnort_places_of('.', text) | uint64_t{1} << (length & 63)));
    const int64_t count = length - (whole < length);
    const Bytes before = first_bytes(-whole);
    const Bytes joined =
        vnort_or(vnort_and(text, before), vnort_and_not(vnort_load(first + 1), before));
    return {vnort_and(vnort_xor(joined, vnort_all('0')), first_bytes(-count)), whole, count};
}

template <typename Number>
[[gnu::always_inline]] inline bool read_any(const Four& four_, Number* to) {
    Four four = four_;
    int64_t exponent[4] = {-16, -16, -16, -16};
    const bool has_exponents = has_letter(four);
    if (has_exponents) {
        bool good = true;
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i) {
            const Exponent e = take_exponent(four.end[i]);
            exponent[i] += e.value;
            four.end[i] -= e.length;
            good &= e.is_good;
        }
        if (!good) return false;
    }
    if (!four.fit(32)) return false;
    const bool are_short = four.fit(16);
    Bytes digits[4];
    int64_t count[4];
    uint64_t doubt = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const Mantissa mantissa = take_mantissa(four.first[i], -four.negated(i));
        digits[i] = mantissa.digits;
        count[i] = mantissa.count;
        exponent[i] += mantissa.whole;
        doubt |= static_cast<uint64_t>(mantissa.count - 1) > 23;
    }
    if (doubt != 0 || !vnort_are_digits(greatest(digits))) return false;
    const Eights a = vnort_eights(vnort_fours(digits[0]), vnort_fours(digits[1]));
    const Eights b = vnort_eights(vnort_fours(digits[2]), vnort_fours(digits[3]));
    if (!has_exponents && are_short) {
        const auto divisor = [&](int i) {
            return vnort_two(kDoublePowersOfTen[-exponent[i]],
                             kDoublePowersOfTen[-exponent[i + 1]]);
        };
        store(four, vnort_doubles(a) / divisor(0), vnort_doubles(b) / divisor(2), to);
        return true;
    }
    Bytes tails[2] = {vnort_all('\0'), vnort_all('\0')};
    if (!are_short) {
        const auto two = [&](int i) {
            return last_digits(four.end[i], kBytesPast16[-count[i]], four.end[i + 1],
                               kBytesPast16[-count[i + 1]]);
        };
        tails[0] = two(0);
        tails[1] = two(2);
        if (!vnort_are_digits(vnort_greatest(tails[0], tails[1]))) return false;
    }
    if constexpr (sizeof(Number) == sizeof(float)) {
        const auto more = [&](int i) { return vnort_two(kMore[-count[i]], kMore[-count[i + 1]]); };
        const auto power = [&](int i) {
            return vnort_two(kDoublePowersOfTen[exponent[i]], kDoublePowersOfTen[exponent[i + 1]]);
        };
        const Doubles less = vnort_all(1 - 0x1p-50), greater = vnort_all(1 + 0x1p-50);
        const Doubles x = vnort_doubles(a), y = vnort_doubles(b);
        const Floats low = vnort_floats(x * power(0) * less, y * power(2) * less);
        const Floats high =
            vnort_floats((x + more(0)) * power(0) * greater, (y + more(2)) * power(2) * greater);
        store(four, low, to);
        return vnort_are_digits(vnort_differ(low, high));
    } else {
        uint64_t upper[4];
        uint32_t lower[4];
        vnort_store_words(vnort_words(a), upper);
        vnort_store_words(vnort_words(b), upper + 2);
        vnort_store_eights(vnort_eights(vnort_fours(tails[0]), vnort_fours(tails[1])), lower);
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i) {
            const int64_t more = count[i] > 16 ? count[i] - 16 : 0;
            const Scaled scaled = scale(upper[i], lower[i], more, exponent[i]);
            to[i] = std::bit_cast<double>(scaled.bits | four.negative[i] << 63);
            doubt |= scaled.doubt;
        }
        return doubt == 0;
    }
}

template <typename Number, typename ReadFour>
[[gnu::always_inline]] inline int64_t read_row(const NumberRow& row, Number* to,
                                               ReadFour read_four) {
    const char* at = row.at;
    const int64_t gap = row.gap;
    const char blank = gap != 0 ? ' ' : ',';
    const char* const* ends = row.ends;
    const char* const* const last = ends + 4 * row.groups;
    for (; ends != last; ends += 4, to += 4) {
        Four four;
        if (!take_four(at, ends, gap, blank, &four) || !read_four(four, to)) break;
        at = ends[3] + 1;
    }
    return (ends - row.ends) / 4;
}

}  // namespace

int64_t vnort_read_integers(const NumberRow& row, float* to) {
    return read_row(row, to, read_integers<float>);
}
int64_t vnort_read_integers(const NumberRow& row, double* to) {
    return read_row(row, to, read_integers<double>);
}
int64_t vnort_read_pointed(const NumberRow& row, float* to) {
    return read_row(row, to, read_pointed<float>);
}
int64_t vnort_read_pointed(const NumberRow& row, double* to) {
    return read_row(row, to, read_pointed<double>);
}
int64_t vnort_read_long(const NumberRow& row, float* to) {
    return read_row(row, to, [](const Four& four, float* at) { return read_long(four, at); });
}
int64_t vnort_read_long(const NumberRow& row, double* to) {
    return read_row(row, to, [](const Four& four, double* at) { return read_long(four, at); });
}
int64_t vnort_read_any(const NumberRow& row, float* to) {
    return read_row(row, to, read_any<float>);
}
int64_t vnort_read_any(const NumberRow& row, double* to) {
    return read_row(row, to, read_any<double>);
}

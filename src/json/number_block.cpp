// Numbers are taken in groups of four, found by the commas in 64 bytes. The digits of one stand in a
// block of 16 bytes, the last one at its end, and are summed up in pairs: to two digits a lane, to
// four, to eight. Two lanes of eight digits make a double exactly, as long as there are 15 digits, and
// the one division by a power of ten rounds once.
#include "json/number_block.h"

#include <string.h>

#include <bit>

#include "bytes16.h"
#include "json/decimal_rounding.h"
#include "json/number_reader.h"
#include "json/scan.h"

namespace {

// Sixteen zeros, then ones: a load from behind the nth byte has its last n bytes set.
struct LastBytes {
    uint8_t bytes[48];
};
constexpr LastBytes kLastBytes = [] {
    LastBytes mask{};
    for (int i = 16; i < 48; ++i) mask.bytes[i] = 255;
    return mask;
}();

Bytes last_bytes(uint64_t count) { return vnort_load(kLastBytes.bytes + count); }

// What a word is divided by for its fraction and its sign.
struct Divisors {
    double of[2][16];
};
constexpr Divisors kDivisors = [] {
    Divisors table{};
    double power = 1;
    for (int i = 0; i < 16; ++i) {
        table.of[0][i] = power;
        table.of[1][i] = -power;
        power *= 10;
    }
    return table;
}();

// One number of a group as far as it is read by itself.
struct Digits {
    DigitBlock block;
    uint64_t fraction;  // of them behind the point
    uint64_t too_long;  // above 15 when it is
};

Bytes minus_zeros(Bytes text) { return vnort_subtract(text, vnort_all('0')); }

// A digit, a point and up to 14 digits; first[1] is the point.
[[gnu::always_inline]] inline Digits take_pointed(const char* first, const char* end) {
    const uint64_t behind_first = static_cast<uint64_t>(end - first - 1);  // with the point
    const uint64_t fraction = (behind_first - 1) & 15;
    const Bytes behind = last_bytes(fraction);
    const Bytes text = vnort_or(vnort_and(vnort_load(end - 16), behind),
                                vnort_and_not(vnort_load(end - 17), behind));
    const Bytes digits = vnort_and(minus_zeros(text), last_bytes(fraction + 1));
    return {vnort_sum_digits(digits), fraction, behind_first};
}

// Up to 16 bytes: digits, perhaps a point before, among or behind them.
[[gnu::always_inline]] inline Digits take_plain(const char* first, const char* end) {
    const uint64_t length = static_cast<uint64_t>(end - first);
    const Bytes text = vnort_load(end - 16);
    const uint64_t point =
        vnort_places_of('.', text) >> ((16 - length) & 63);  // of the number alone
    const uint64_t has_point = point != 0;
    const uint64_t whole =
        static_cast<uint64_t>(__builtin_ctzll(point | uint64_t{1} << (length & 63)));
    const uint64_t fraction = (length - whole - has_point) & 15;
    const uint64_t count = length - has_point;
    const Bytes behind = last_bytes(fraction);
    const Bytes joined =
        vnort_or(vnort_and(text, behind), vnort_and_not(vnort_load(end - 16 - has_point), behind));
    return {vnort_sum_digits(vnort_and(minus_zeros(joined), last_bytes(count & 31))), fraction,
            (length - 1) | (count - 1)};
}

// More than 16 digits of which a word still holds all: either a digit, a point and up to 31 more, or
// no point at all. False for every other number.
[[gnu::always_inline]] inline bool read_long(const char* first, const char* end, double* to) {
    first += *first == ' ';
    const bool negative = *first == '-';
    first += int{negative};
    const bool has_point = first[1] == '.';
    const uint64_t more = static_cast<uint64_t>(end - first) - 17 - has_point;  // above the last 16
    if (more > (has_point ? 15 : 2)) return false;
    const Bytes behind = last_bytes(more);
    const Bytes leading = vnort_and_not(last_bytes(more + 1), behind);
    const Bytes low = minus_zeros(vnort_load(end - 16));
    const Bytes high = vnort_or(vnort_and(minus_zeros(vnort_load(end - 32)), behind),
                                vnort_and(minus_zeros(vnort_load(end - 32 - has_point)), leading));
    const DigitBlock low_block = vnort_sum_digits(low), high_block = vnort_sum_digits(high);
    const uint64_t top = vnort_number(high_block);
    if (!vnort_are_digits(low_block, high_block) || top > 1843) return false;
    const uint64_t word = top * 10000000000000000 + vnort_number(low_block);
    const int64_t fraction = has_point ? static_cast<int64_t>(more) + 16 : 0;
    const RoundedWord rounded = vnort_round_word(word, -fraction, false);
    *to = std::bit_cast<double>(rounded.bits | static_cast<uint64_t>(negative) << 63);
    return rounded.is_certain;
}

// Any number and the blanks around it. False when there is none or something else before its end.
bool read_odd(const char* first, const char* end, double* to) {
    first = vnort_skip_blanks(first);
    const NumberRead read = vnort_read_number(first);
    *to = read.value;
    return read.end != first && vnort_skip_blanks(read.end) == end;
}

// Without the first one.
uint64_t rest_of(uint64_t commas) { return commas & (commas - 1); }

// The place of the first comma; there is one.
const char* first_comma(const char* window, uint64_t commas) {
    return window + __builtin_ctzll(commas);
}

bool are_plain(const Digits& a, const Digits& b) {
    return (a.too_long | b.too_long) <= 15 && vnort_are_digits(a.block, b.block);
}

[[gnu::always_inline]] inline void divide(const Digits& a, const Digits& b, uint64_t a_negative,
                                          uint64_t b_negative, double* to) {
    vnort_divide(a.block, b.block, &kDivisors.of[a_negative][a.fraction],
                 &kDivisors.of[b_negative][b.fraction], to);
}

// Two numbers, each up to its comma. False when one of them is not plain; both values may then be
// wrong.
[[gnu::always_inline]] inline bool read_two(const char* a, const char* a_end, const char* b,
                                            const char* b_end, double* to) {
    const uint64_t a_negative = *a == '-', b_negative = *b == '-';
    a += a_negative;
    b += b_negative;
    if (a[1] == '.' && b[1] == '.') {
        const Digits a_digits = take_pointed(a, a_end), b_digits = take_pointed(b, b_end);
        divide(a_digits, b_digits, a_negative, b_negative, to);
        return are_plain(a_digits, b_digits);
    }
    const Digits a_digits = take_plain(a, a_end), b_digits = take_plain(b, b_end);
    divide(a_digits, b_digits, a_negative, b_negative, to);
    return are_plain(a_digits, b_digits);
}

// What a group of four has come to.
enum class Group { plain, partly_plain, unread };

// Four numbers in a window with as many commas, with as many blanks before each. Moves on behind them
// if they are all plain; if not all are, the others have wrong values.
template <int kBlanks>
[[gnu::always_inline]] inline Group read_four(const char** at, uint64_t commas, double* to) {
    const char* const first = *at;
    const uint64_t from_2 = rest_of(commas), from_3 = rest_of(from_2);
    const char* const end_1 = first_comma(first, commas);
    const char* const end_2 = first_comma(first, from_2);
    const char* const end_3 = first_comma(first, from_3);
    const char* const end_4 = first_comma(first, rest_of(from_3));
    if (kBlanks > 0 && (end_1[1] != ' ' || end_2[1] != ' ' || end_3[1] != ' ')) {
        return Group::unread;
    }
    const bool lower = read_two(first + kBlanks, end_1, end_1 + 1 + kBlanks, end_2, to);
    const bool upper = read_two(end_2 + 1 + kBlanks, end_3, end_3 + 1 + kBlanks, end_4, to + 2);
    if (!lower || !upper) return Group::partly_plain;
    *at = end_4 + 1;
    return Group::plain;
}

// Whether a digit stands here, behind as many blanks, with a comma behind it.
[[gnu::always_inline]] inline bool is_single_digit(const char* at, int blanks) {
    return at[blanks + 1] == ',' && static_cast<unsigned char>(at[blanks] - '0') <= 9 &&
           (blanks == 0 || at[0] == ' ');
}

// Four numbers of one digit, such as "0,1,0,1,".
[[gnu::always_inline]] inline bool read_four_digits(const char** at, int blanks, double* to) {
    const char* const first = *at;
    const int step = blanks + 2;
    if (!is_single_digit(first, blanks) || !is_single_digit(first + step, blanks) ||
        !is_single_digit(first + 2 * step, blanks) || !is_single_digit(first + 3 * step, blanks)) {
        return false;
    }
    to[0] = first[blanks] - '0';
    to[1] = first[blanks + step] - '0';
    to[2] = first[blanks + 2 * step] - '0';
    to[3] = first[blanks + 3 * step] - '0';
    *at = first + 4 * step;
    return true;
}

// first is behind the blank, if the numbers have one.
bool is_plain(const char* first, const char* end) {
    const Digits digits = take_plain(first + (*first == '-'), end);
    return are_plain(digits, digits);
}

// How the numbers of a group that are not all plain were read.
struct OddGroup {
    const char* at;  // behind them
    int count = 0;
    int long_ones = 0;
    int slow_ones = 0;
    bool has_failed = false;
};

// The first numbers of a window, at most four, one by one.
[[gnu::noinline]] OddGroup read_odd_group(const char* at, uint64_t commas, Group state,
                                          double* to) {
    const char* const window = at;
    const int blank = *at == ' ';
    OddGroup group{at};
    for (; group.count < 4 && commas != 0; ++group.count, ++to, commas = rest_of(commas)) {
        const char* const end = first_comma(window, commas);
        if (state == Group::unread || !is_plain(group.at + blank, end)) {
            const bool is_long = read_long(group.at, end, to);
            group.has_failed = !is_long && !read_odd(group.at, end, to);
            if (group.has_failed) return group;
            group.long_ones += int{is_long};
            group.slow_ones += int{!is_long};
        }
        group.at = end + 1;
    }
    group.has_failed = group.count == 0;
    return group;
}

}  // namespace

NumberBlockRead vnort_read_number_block(const char* at, const char* end, double* numbers,
                                        int64_t most) {
    constexpr int kPatience = 8;
    int waste = 0;  // numbers that were read one by one, less those that were not
    bool are_long = false;
    int64_t count = 0;
    while (end - at >= kNumberBlockBehind && count + 4 <= most) {
        double* const to = numbers + count;
        if (read_four_digits(&at, 0, to) || read_four_digits(&at, 1, to)) {
            count += 4;
            continue;
        }
        const uint64_t commas = vnort_places_of(',', at);
        Group state = Group::unread;
        if (!are_long && rest_of(rest_of(rest_of(commas))) != 0) {
            state = *at == ' ' ? read_four<1>(&at, commas, to) : read_four<0>(&at, commas, to);
            if (__builtin_expect(state == Group::plain, 1)) {
                count += 4;
                waste -= 2;
                continue;
            }
        }
        const OddGroup group = read_odd_group(at, commas, state, to);
        at = group.at;
        count += group.count;
        are_long = group.long_ones == group.count;
        waste = (waste > 0 ? waste : 0) + group.slow_ones - group.long_ones;
        if (group.has_failed || waste >= kPatience) return {at, count, false};
    }
    return {at, count, true};
}

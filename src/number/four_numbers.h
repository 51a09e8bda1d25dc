// What the kernels of number_row.h share: a group of four numbers, and the tables that turn its bytes
// into digits. All tables go by the negated length of a number, first - end, which needs no further
// arithmetic.
#pragma once

#include <stdint.h>

#include "bytes16.h"
#include "number/number_row.h"

namespace vornic {

inline constexpr int64_t kLongest = 32;  // bytes of a number that kernels look at, without its sign

template <typename Entry>
struct ByLength {
    Entry entry[kLongest + 1];

    constexpr const Entry& operator[](int64_t negated) const { return entry[kLongest + negated]; }
    constexpr Entry& operator[](int64_t negated) { return entry[kLongest + negated]; }
};

// Sixteen bytes, of which the first ones are set, as many as the number has: the load begins so many
// bytes before the zeros.
struct FirstBytes {
    uint8_t byte[kLongest + 16];
};
inline constexpr FirstBytes kFirstBytes = [] {
    FirstBytes bytes{};
    for (int64_t i = 0; i < kLongest; ++i) bytes.byte[i] = 255;
    return bytes;
}();
inline Bytes first_bytes_mask(int64_t negated) {
    return load(&kFirstBytes.byte[kLongest + negated]);
}

// Eight bytes, of which the last ones are set: as many as the number has beyond kFrom. The last byte
// is the word's highest: x64 and arm64 are little-endian.
template <int kFrom>
inline constexpr ByLength<uint64_t> kLastBytes = [] {
    ByLength<uint64_t> masks{};
    for (int n = 1; n <= 8; ++n) masks[-(kFrom + n)] = ~uint64_t{0} << (64 - 8 * n);
    return masks;
}();

// -0.0 for each number with a minus: a bit of the index.
struct Signs {
    alignas(16) double two[4][2];
    alignas(16) float four[16][4];
};
inline constexpr Signs kSigns = [] {
    Signs signs{};
    for (int i = 0; i < 16; ++i) {
        for (int k = 0; k < 4; ++k) {
            const bool is_negative = (i >> k & 1) != 0;
            signs.four[i][k] = is_negative ? -0.0f : 0.0f;
            if (i < 4 && k < 2) signs.two[i][k] = is_negative ? -0.0 : 0.0;
        }
    }
    return signs;
}();

struct FourNumbers {
    const char* first[4];  // after the sign
    const char* end[4];
    uint64_t negative[4];  // 1 where there was a minus

    int64_t negated_length(int i) const { return first[i] - end[i]; }

    // Whether all have from one to `most` bytes, which is a power of two: -most to -1 are the numbers
    // whose upper bits are all set.
    bool fit(int64_t most) const {
        const int64_t all =
            negated_length(0) & negated_length(1) & negated_length(2) & negated_length(3);
        return static_cast<uint64_t>(all) >= static_cast<uint64_t>(-most);
    }
};

// False when a delimiter is not followed by the row's gap; `blank` is what stands `gap` bytes after the
// start of a delimiter, the delimiter itself where there is no gap.
[[gnu::always_inline]] inline bool take_four(const char* at, const char* const* ends, int64_t gap,
                                             char blank, FourNumbers* four) {
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        if (ends[i][gap] != blank) return false;
        at += gap;
        four->negative[i] = *at == '-';
        __asm__("" : "+r"(four->negative[i]));  // the comparison once, for all uses of it
        four->first[i] = at + four->negative[i];
        four->end[i] = ends[i];
        at = ends[i] + 1;
    }
    return true;
}

// Stores four numbers with their signs.
[[gnu::always_inline]] inline void store_four(const FourNumbers& four, Doubles a, Doubles b,
                                              double* to) {
    store_signed(a, kSigns.two[four.negative[0] + 2 * four.negative[1]], to);
    store_signed(b, kSigns.two[four.negative[2] + 2 * four.negative[3]], to + 2);
}
[[gnu::always_inline]] inline void store_four(const FourNumbers& four, Floats numbers, float* to) {
    const uint64_t upper = four.negative[2] + 2 * four.negative[3];
    const uint64_t signs = four.negative[0] + 2 * four.negative[1] + 4 * upper;
    store_signed(numbers, kSigns.four[signs], to);
}
[[gnu::always_inline]] inline void store_four(const FourNumbers& four, Doubles a, Doubles b,
                                              float* to) {
    store_four(four, to_floats(a, b), to);
}

inline Bytes maximum_of_four(const Bytes (&bytes)[4]) {
    return maximum(maximum(bytes[0], bytes[1]), maximum(bytes[2], bytes[3]));
}

// The eight bytes before the ends of numbers i and i + 1, as digits where the masks are set and 0
// elsewhere. A byte that is no digit becomes more than 9.
[[gnu::always_inline]] inline Bytes last_digits(const FourNumbers& four, int i,
                                                const uint64_t& mask, const uint64_t& next_mask) {
    const Bytes text = load_halves(four.end[i] - 8, four.end[i + 1] - 8);
    return bit_and(bit_xor(text, broadcast('0')), load_halves(&mask, &next_mask));
}

// Group after group, as long as `read_four` can read them.
template <typename Number, typename ReadFour>
[[gnu::always_inline]] inline int64_t read_row(const NumberRow& row, Number* to,
                                               ReadFour read_four) {
    const char* at = row.at;
    const char* const* ends = row.ends;
    const char* const* const last = ends + 4 * row.groups;
    const int64_t gap = row.gap;
    const char blank = gap != 0 ? ' ' : **ends;
    for (; ends != last; ends += 4, to += 4) {
        FourNumbers four;
        if (!take_four(at, ends, gap, blank, &four) || !read_four(four, to)) break;
        at = ends[3] + 1;
    }
    return (ends - row.ends) / 4;
}

}  // namespace vornic

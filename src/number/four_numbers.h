// Shared by the kernels of number_row.h: a group of four numbers, and the tables that turn its bytes
// into digits. All tables are indexed by a number's negated length, start - end.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <iterator>

#include "bytes16.h"
#include "number/number_row.h"

namespace vornic {

inline constexpr int64_t kMaxLength = 32;  // of a number in the tables, without its sign

template <typename Entry>
struct ByLength {
    Entry entry[kMaxLength + 1];

    [[gnu::always_inline]] const Entry& operator[](int64_t negated) const {
        const Entry* zero = &entry[kMaxLength];
        __asm__("" : "+r"(zero));  // keeps this address: kMaxLength is not added to each index
        return zero[negated];
    }
    constexpr Entry& operator[](int64_t negated) { return entry[kMaxLength + negated]; }
};

// Sixteen bytes, the first ones set, one for each byte of the number: a load that starts that many
// bytes before the zeros of the table.
inline constexpr std::array kPrefixMasks = [] {
    std::array<uint8_t, kMaxLength + 16> masks{};
    for (size_t i = 0; i < kMaxLength; ++i) masks[i] = 255;
    return masks;
}();
inline Bytes prefix_mask(int64_t negated) {
    const uint8_t* zero = &kPrefixMasks[kMaxLength];
    __asm__("" : "+r"(zero));
    return load(zero + negated);
}

// A word whose last n bytes in memory are set: the highest ones, since x64 and arm64 are
// little-endian.
constexpr uint64_t suffix_mask(int64_t n) { return n <= 0 ? 0 : ~uint64_t{0} << (64 - 8 * n); }

// Sign masks. The index has a bit for each number: 1 if it has a minus.
template <typename Number>
struct Signs {
    alignas(16) Number entry[1 << 16 / sizeof(Number)][16 / sizeof(Number)];
};
template <typename Number>
inline constexpr Signs<Number> kSigns = [] {
    Signs<Number> signs{};
    for (unsigned i = 0; i < std::size(signs.entry); ++i) {
        for (unsigned k = 0; k < std::size(signs.entry[i]); ++k) {
            signs.entry[i][k] = (i >> k & 1) != 0 ? Number(-0.0) : Number(0);
        }
    }
    return signs;
}();

struct FourNumbers {
    const char* first[4];  // after the sign
    const char* end[4];
    uint64_t negative[4];  // 1 if there was a minus

    int64_t negated_length(int i) const { return first[i] - end[i]; }

    // Whether all have 1 to `max` bytes. `max` is a power of two, so that -max to -1 are the integers
    // whose upper bits are all set.
    bool fit(int64_t max) const {
        const int64_t all =
            negated_length(0) & negated_length(1) & negated_length(2) & negated_length(3);
        return static_cast<uint64_t>(all) >= static_cast<uint64_t>(-max);
    }
};

// False if a delimiter is not followed by the row's gap.
template <int64_t kGap>
[[gnu::always_inline]] inline bool locate_four(const char* at, const char* const* ends,
                                               FourNumbers* four) {
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        if (__builtin_expect(kGap != 0 && ends[i][1] != ' ', false)) return false;
        at += kGap;
        four->negative[i] = *at == '-';
        __asm__("" : "+r"(four->negative[i]));  // compares once for all uses
        four->first[i] = at + four->negative[i];
        four->end[i] = ends[i];
        at = ends[i] + 1;
    }
    return true;
}

// Stores numbers with the signs of numbers i and i + 1, or of all four.
[[gnu::always_inline]] inline void store_signed(const FourNumbers& four, int i, Doubles numbers,
                                                double* to) {
    const Bytes signs =
        load_aligned(kSigns<double>.entry[four.negative[i] + 2 * four.negative[i + 1]]);
    store(reinterpret_cast<Bytes>(numbers) ^ signs, to);
}
[[gnu::always_inline]] inline void store_signed(const FourNumbers& four, Floats numbers,
                                                float* to) {
    const uint64_t upper = four.negative[2] + 2 * four.negative[3];
    const uint64_t index = four.negative[0] + 2 * four.negative[1] + 4 * upper;
    store(reinterpret_cast<Bytes>(numbers) ^ load_aligned(kSigns<float>.entry[index]), to);
}

[[gnu::always_inline]] inline void store_four(const FourNumbers& four, Doubles a, Doubles b,
                                              double* to) {
    store_signed(four, 0, a, to);
    store_signed(four, 2, b, to + 2);
}
[[gnu::always_inline]] inline void store_four(const FourNumbers& four, Doubles a, Doubles b,
                                              float* to) {
    store_signed(four, to_floats(a, b), to);
}

inline Bytes maximum_of_four(const Bytes (&bytes)[4]) {
    return maximum(maximum(bytes[0], bytes[1]), maximum(bytes[2], bytes[3]));
}

// The eight bytes before the ends of numbers i and i + 1 as digits, 0 outside the mask. Any other
// character becomes more than 9.
[[gnu::always_inline]] inline Bytes last_digits(const FourNumbers& four, int i, Bytes mask) {
    return (load_halves(four.end[i] - 8, four.end[i + 1] - 8) ^ broadcast('0')) & mask;
}

template <int64_t kGap, typename Number, typename ReadFour>
[[gnu::noinline]] int64_t read_groups(const NumberRow& row, Number* to, ReadFour read_four) {
    const char* at = row.at;
    const char* const* ends = row.ends;
    const char* const* const last = ends + 4 * row.groups;
    for (; ends != last; ends += 4, to += 4) {
        FourNumbers four;
        if (!locate_four<kGap>(at, ends, &four) || !read_four(four, to)) [[unlikely]]
            break;
        at = four.end[3] + 1;
    }
    return (ends - row.ends) / 4;
}

// Reads one group after another while `read_four` can. Compiled for each gap: texts without spaces need
// no check for them.
template <typename Number, typename ReadFour>
int64_t read_row(const NumberRow& row, Number* to, ReadFour read_four) {
    return row.gap == 0 ? read_groups<0>(row, to, read_four) : read_groups<1>(row, to, read_four);
}

}  // namespace vornic

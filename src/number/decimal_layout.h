// Lays decimal digits out as printf's %g does, three digits at a time from a table. Stores may run past
// the end of the text, within kNumberCapacity: an over-wide store is cheaper than a branch. Little-endian
// only, as x64 and arm64 are.
#pragma once

#include <stdint.h>
#include <string.h>

#include <bit>

#include "number/power_of_ten.h"

namespace vornic {

// Three ASCII digits, and in the top byte a mask of those that are not '0' (bit 0: the first digit).
struct Triples {
    uint32_t text[1000];
};
inline constexpr Triples kTriples = [] {
    Triples triples{};
    for (uint32_t i = 0; i < 1000; ++i) {
        const uint32_t a = i / 100, b = i / 10 % 10, c = i % 10;
        const uint32_t nonzero = uint32_t{a != 0} | uint32_t{b != 0} << 1 | uint32_t{c != 0} << 2;
        triples.text[i] = 0x303030 + (a | b << 8 | c << 16) + (nonzero << 24);
    }
    return triples;
}();

template <typename Word>
void store_word(char* to, Word word) {
    memcpy(to, &word, sizeof word);
}

// The 9 or 17 digits of a number, or of 0.
template <int kDigits>
class DigitText {
public:
    DigitText() = default;

    // Takes the leading two or three digits, and the others as a binary fraction.
    [[gnu::always_inline]] DigitText(uint64_t upper, uint64_t fraction) {
        triples_[0] = kTriples.text[upper];
#pragma GCC unroll 8
        for (unsigned i = 1; i < kTriplesUsed; ++i) {
            const uint128_t next = static_cast<uint128_t>(fraction) * 1000;
            triples_[i] = kTriples.text[static_cast<uint64_t>(next >> 64)];
            fraction = static_cast<uint64_t>(next);
        }
    }

    char leading() const { return static_cast<char>(triples_[0] >> 8 * kPadding); }

    // The last eight of nine digits.
    uint64_t after_leading() const {
        const uint64_t middle = triples_[1] & 0xffffff;
        return (triples_[0] >> 8 & 0xffff) | middle << 16 | uint64_t{triples_[2]} << 40;
    }

    // The index of the last digit that is not 0, or 0 if all are.
    [[gnu::always_inline]] int64_t last() const {
        uint32_t nonzero = triples_[kTriplesUsed - 1] >> 24;
#pragma GCC unroll 8
        for (unsigned i = 2; i <= kTriplesUsed; ++i) {
            nonzero = nonzero * 8 + (triples_[kTriplesUsed - i] >> 24);
        }
        return int64_t{std::countl_zero(nonzero | uint32_t{1} << kPadding) ^ 31} -
               int64_t{kPadding};
    }

    [[gnu::always_inline]] void store(char* to) const {
        store_word(to, triples_[0] >> 8 * kPadding);
#pragma GCC unroll 8
        for (unsigned i = 1; i < kTriplesUsed; ++i) store_word(to + 3 * i - kPadding, triples_[i]);
    }

private:
    static constexpr unsigned kTriplesUsed = (kDigits + 2) / 3;
    static constexpr unsigned kPadding =
        3 * kTriplesUsed - kDigits;  // zeros before the leading digit

    uint32_t triples_[kTriplesUsed];
};

inline char* write_exponent(char* p, int64_t exponent) {
    const bool negative = exponent < 0;
    const int64_t magnitude = negative ? -exponent : exponent;
    const int omitted = int{magnitude < 100};  // %g writes at least two digits
    p[0] = 'e';
    p[1] = negative ? '-' : '+';
    store_word(p + 2, kTriples.text[magnitude] >> 8 * omitted);
    return p + 5 - omitted;
}

// Lays out the number d.ddd * 10^exponent without trailing zeros in its fraction.
template <int kDigits>
[[gnu::always_inline]] inline char* lay_out(char* p, const DigitText<kDigits>& digits,
                                            int64_t exponent) {
    const int64_t last = digits.last();
    if (static_cast<uint64_t>(exponent + 4) <= 4) [[likely]] {
        char* const before = p - exponent;
        store_word(p, uint64_t{0x303030303030'2e30});  // "0.000000"
        digits.store(before + 1);
        p[1] = '.';  // overwrites the leading digit if the exponent is 0
        before[static_cast<uint64_t>(exponent) >> 63] = digits.leading();
        char* const end = before + last;
        return end + 2 - int{(exponent | last) == 0};
    }
    if (static_cast<uint64_t>(exponent) < kDigits) {
        char* const point = p + exponent + 1;
        if constexpr (kDigits == 9) {
            const uint64_t rest = digits.after_leading();
            p[0] = digits.leading();
            store_word(p + 1, rest);
            store_word(point + 1, rest >> (8 * exponent & 63));
        } else {
            digits.store(p);
            char fraction[16];
            memcpy(fraction, point, sizeof fraction);
            memcpy(point + 1, fraction, sizeof fraction);
        }
        *point = '.';
        return last <= exponent ? point : p + last + 2;
    }
    digits.store(p + 1);
    p[0] = digits.leading();
    p[1] = '.';
    return write_exponent(p + (last == 0 ? 1 : last + 2), exponent);
}

}  // namespace vornic

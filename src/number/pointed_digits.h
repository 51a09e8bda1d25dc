// Numbers whose second byte is the point, and what fifteen digits of them come to.
//
// For 3.14159 the sixteen bytes from its start, the point left in its place with weight 0, are
//
//     text        3  .  1  4  1  5  9  ,  .  .  .  .  .  .  .  .     what comes after the number
//     xor         0  .  0  0  0  0  0  0  0  0  0  0  0  0  0  0     as text
//     and         FF FF FF FF FF FF FF 0  0  0  0  0  0  0  0  0     by the length, 7
//     digits      3  0  1  4  1  5  9  0  0  0  0  0  0  0  0  0     more than 9 where there was none
//     weights     1  0  10 1  10 1  10 1  10 1  10 1  10 1  10 1     sums of pairs follow
//     pairs       3     14    15    90    0     0     0     0        x 100, add neighbours
//     fours       314         1590        0           0              x 10000, add neighbours
//     eights      3141590                 0                          x 10^8, add neighbours
//     word        314159000000000                                    the number times 10^14
//
// whatever the number's length: one constant scales them all.
#pragma once

#include "number/four_numbers.h"

namespace vornic {

[[gnu::always_inline]] inline Bytes pointed_digits(const FourNumbers& four, int i) {
    alignas(16) static constexpr char kZeros[] = "0.00000000000000";
    const Bytes text = load(four.first[i]);
    return bit_and(bit_xor(text, load_aligned(kZeros)), first_bytes_mask(four.negated_length(i)));
}

// The digits of a group. Whether they are digits and a point is asked of the greatest ones.
struct PointedDigits {
    Bytes digits[4];

    [[gnu::always_inline]] explicit PointedDigits(const FourNumbers& four)
        : digits{pointed_digits(four, 0), pointed_digits(four, 1), pointed_digits(four, 2),
                 pointed_digits(four, 3)} {}

    // With bytes that have to be digits, too, or 0.
    bool are_good(Bytes others) const {
        return are_pointed_digits(maximum_of_four(digits), others);
    }

    // Numbers i and i + 1, times 10^14: below 10^15 and so exact as doubles, too.
    [[gnu::always_inline]] Words words(int i) const {
        return to_words(to_eights(to_pointed_fours(digits[i]), to_pointed_fours(digits[i + 1])));
    }
};

}  // namespace vornic

// Numbers whose second byte is the point, and the value of their first fifteen digits.
//
// The sixteen bytes from the start of 3.14159, with the point left in and given the weight 0:
//
//     text        3  .  1  4  1  5  9  ,  *  *  *  *  *  *  *  *     * any byte after the number
//     xor         0  .  0  0  0  0  0  0  0  0  0  0  0  0  0  0     as characters
//     and         FF FF FF FF FF FF FF 0  0  0  0  0  0  0  0  0     for the length, 7
//     digits      3  0  1  4  1  5  9  0  0  0  0  0  0  0  0  0     above 9 for any other character
//     weights     1  0  10 1  10 1  10 1  10 1  10 1  10 1  10 1     multiply, add neighbours
//     pairs       3     14    15    90    0     0     0     0        x 100, add neighbours
//     fours       314         1590        0           0              x 10000, add neighbours
//     eights      3141590                 0                          x 10^8, add neighbours
//     word        314159000000000                                    the number times 10^14
//
// The scale is 10^14 for numbers of every length.
#pragma once

#include "number/four_numbers.h"

namespace vornic {

[[gnu::always_inline]] inline Bytes pointed_digits(const FourNumbers& four, int i) {
    alignas(16) static constexpr char kZeros[] = "0.00000000000000";
    return (load(four.first[i]) ^ load_aligned(kZeros)) & prefix_mask(four.negated_length(i));
}

struct PointedDigits {
    Bytes digits[4];

    [[gnu::always_inline]] explicit PointedDigits(const FourNumbers& four)
        : digits{pointed_digits(four, 0), pointed_digits(four, 1), pointed_digits(four, 2),
                 pointed_digits(four, 3)} {}

    // Whether all have only digits and a second byte that is a point, and `others` only digits.
    bool are_valid(Bytes others) const {
        return are_pointed_digits(maximum_of_four(digits), others);
    }

    // Numbers i and i + 1 times 10^14: below 10^15, and therefore also exact as doubles.
    [[gnu::always_inline]] Words words(int i) const {
        return to_words(pointed_to_eights(digits[i], digits[i + 1]));
    }
};

}  // namespace vornic

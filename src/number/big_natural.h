// Arbitrary-precision natural numbers, for the exact comparison of a decimal with a binary number when 128
// bits do not decide the rounding.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace vornic {

// A natural number of up to 2816 bits. Overflow is not checked: see compare_exactly.
class BigNatural {
public:
    explicit BigNatural(uint64_t value) : limb_{value}, size_(1) {}

    void multiply_add(uint64_t factor, uint64_t addend);
    void multiply_by_power_of_five(int exponent);
    void shift_left(int bits);
    int compare(const BigNatural& other) const;  // < 0, 0, > 0

private:
    static constexpr size_t kLimbs = 44;
    uint64_t limb_[kLimbs];  // least significant first; uninitialised from size_ on
    size_t size_;            // the top limb is 0 only in the number 0
};

// The sign of decimal * 10^exponent10 - significand * 2^exponent2.
//
// The numbers compared are close to each other. The binary one is a midpoint between two doubles: it is
// at least 2^-1075 > 10^-324, and its significand has at most 54 bits. With up to 801 decimal digits, the
// power of ten is at least 10^-1125. So neither side exceeds 54 bits * 5^1125 (2667 bits), and BigNatural
// is wide enough.
int compare_exactly(BigNatural decimal, int exponent10, uint64_t significand, int exponent2);

}  // namespace vornic

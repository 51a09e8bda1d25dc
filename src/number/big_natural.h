// A big natural number, and with it the exact comparison of a decimal with a binary number, for the
// few numbers that 128 bits leave open.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace vornic {

// A natural number of up to 2816 bits. Nothing checks for overflow: see compare_exactly.
class BigNatural {
public:
    explicit BigNatural(uint64_t value) : limb_{value}, size_(1) {}

    void multiply_add(uint64_t factor, uint64_t addend);
    void multiply_by_power_of_five(int exponent);
    void shift_left(int bits);
    int compare(const BigNatural& other) const;  // < 0, 0, > 0

private:
    static constexpr size_t kLimbs = 44;
    uint64_t limb_[kLimbs];  // least significant first; from size_ on not set
    size_t size_;            // the top limb may be 0 only in the number 0
};

// The sign of decimal * 10^exponent10 - significand * 2^exponent2.
//
// The numbers compared are close to each other, and the right one is half way between two doubles,
// so that it is at least 2^-1075 > 10^-324 and its significand has at most 54 bits. With up to 801
// digits on the left the power of ten is then at least 10^-1125, neither side grows past
// 54 bits * 5^1125 (2613 bits), and BigNatural is wide enough.
int compare_exactly(BigNatural decimal, int exponent10, uint64_t significand, int exponent2);

}  // namespace vornic

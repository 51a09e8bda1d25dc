#include "number/big_natural.h"

#include "number/power_of_ten.h"

namespace vornic {

void BigNatural::multiply_add(uint64_t factor, uint64_t addend) {
    uint64_t carry = addend;
    for (size_t i = 0; i < size_; ++i) {
        const uint128_t product = static_cast<uint128_t>(limb_[i]) * factor + carry;
        limb_[i] = static_cast<uint64_t>(product);
        carry = static_cast<uint64_t>(product >> 64);
    }
    if (carry != 0) limb_[size_++] = carry;
}

void BigNatural::multiply_by_power_of_five(int exponent) {
    constexpr int kStep = 27;  // the largest power of five that fits into 64 bits
    constexpr uint64_t kFiveToStep = 7450580596923828125;
    for (; exponent >= kStep; exponent -= kStep) multiply_add(kFiveToStep, 0);
    for (; exponent > 0; --exponent) multiply_add(5, 0);
}

void BigNatural::shift_left(int bits) {
    const size_t limbs = static_cast<size_t>(bits) / 64;
    for (size_t i = size_; i-- > 0;) limb_[i + limbs] = limb_[i];
    for (size_t i = 0; i < limbs; ++i) limb_[i] = 0;
    size_ += limbs;
    multiply_add(uint64_t{1} << (bits % 64), 0);
}

int BigNatural::compare(const BigNatural& other) const {
    if (size_ != other.size_) return size_ < other.size_ ? -1 : 1;
    for (size_t i = size_; i-- > 0;) {
        if (limb_[i] != other.limb_[i]) return limb_[i] < other.limb_[i] ? -1 : 1;
    }
    return 0;
}

int compare_exactly(BigNatural decimal, int exponent10, uint64_t significand, int exponent2) {
    BigNatural binary(significand);
    if (exponent10 >= 0) {
        decimal.multiply_by_power_of_five(exponent10);
    } else {
        binary.multiply_by_power_of_five(-exponent10);
    }
    const int shift = exponent10 - exponent2;
    if (shift >= 0) {
        decimal.shift_left(shift);
    } else {
        binary.shift_left(-shift);
    }
    return decimal.compare(binary);
}

}  // namespace vornic

#include "number/decimal_rounding.h"

#include "number/big_natural.h"

namespace vornic {
namespace {

// The digits of a decimal as an integer; `exponent` is adjusted to it. A midpoint between doubles has at
// most 767 significant digits, so of the digits after the 800th it only matters whether any is not 0. If so,
// a single 1 replaces them.
BigNatural read_all_digits(const char* digits, int64_t count, int64_t& exponent) {
    constexpr int64_t kKeptDigits = 800;
    BigNatural number(0);
    int64_t kept = 0;
    uint64_t chunk = 0;
    uint64_t power = 1;
    bool has_more = false;
    for (int64_t i = 0; i < count; ++digits) {
        if (*digits == '.') continue;
        ++i;
        if (kept == kKeptDigits) {
            has_more = has_more || *digits != '0';
            continue;
        }
        ++kept;
        chunk = chunk * 10 + static_cast<uint64_t>(*digits - '0');
        power *= 10;
        if (kept % kWordDigits == 0) {
            number.multiply_add(power, chunk);
            chunk = 0;
            power = 1;
        }
    }
    number.multiply_add(power, chunk);
    exponent += count - kept;
    if (has_more) {
        number.multiply_add(10, 1);
        --exponent;
    }
    return number;
}

}  // namespace

uint64_t round_exactly(const Decimal& decimal, uint64_t significand, int last_bit) {
    int64_t exponent = decimal.exponent;
    const BigNatural digits = read_all_digits(decimal.digits, decimal.count, exponent);
    const int order =
        compare_exactly(digits, static_cast<int>(exponent), 2 * significand - 1, last_bit - 1);
    const bool up = order > 0 || (order == 0 && significand % 2 == 0);
    return double_bits(up ? significand : significand - 1, last_bit);
}

}  // namespace vornic

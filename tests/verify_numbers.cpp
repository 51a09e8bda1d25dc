// Compares the number kernels with the C library. scripts/verify-numbers builds and runs this. It
// needs a long double with more bits than a double, and printf and strtod must round correctly.
//
//   verify_numbers fraction [part parts]
//   verify_numbers - <HARD_ROUNDINGS

#include "verification.h"

namespace {

// The midpoint of two doubles with all its digits, and texts just above and below it.
void check_midpoint(uint64_t, Random& random) {
    static_assert(__LDBL_MANT_DIG__ > 53);
    const uint64_t bits = random() % 0x7fe0000000000000;  // it and the next double are finite
    const auto low = std::bit_cast<double>(bits), high = std::bit_cast<double>(bits + 1);
    std::string text = printed("%.800Le", low / 2.0L + high / 2.0L);  // 767 digits suffice
    check_read(text.c_str());
    const size_t last = text.find('e') - 1;
    text[last] = '1';
    check_read(text.c_str());
    text[last] = '0';
    text[text.find_last_not_of('0', last)] -= 1;
    check_read(text.c_str());
}

// The numbers that proofs/hard_roundings.py prints.
int check_hard_numbers(FILE* lines) {
    char text[64];
    g_series = "hardest roundings, line";
    for (; fscanf(lines, "%63s", text) == 1; ++g_index) {
        check_read(text);
        check_number(strtod(text, nullptr));
    }
    printf("%-52s %12llu  ok\n", "hardest roundings", g_index + 0ull);
    return g_index > 0 ? 0 : 1;
}

void check_power_of_ten(uint64_t index, Random&) {
    const int digits = 1 + static_cast<int>(index % 99), power = static_cast<int>(index / 99) - 400;
    const std::string text = printed("%de%d", digits, power);
    const double number = strtod(text.c_str(), nullptr);
    check_read(text.c_str());
    check_number(number);
    if (number < 1 || number >= 0x1p64) return;
    check_integer(static_cast<uint64_t>(number));
    check_integer(static_cast<uint64_t>(number) - 1);
}

void check_power_of_two(uint64_t index, Random&) {
    const double power = ldexp(1, static_cast<int>(index) - 1080);
    check_number(power);
    check_number(nextafter(power, 0));
    check_number(nextafter(power, INFINITY));
}

// With either sign. The factor is odd: a fraction of the indices covers the whole range.
void check_any_float(uint64_t index, Random&) {
    const uint32_t magnitude = static_cast<uint32_t>(index * 0x9e3779b1) & 0x7fffffff;
    const uint32_t sign = static_cast<uint32_t>(std::popcount(magnitude)) << 31;
    check_float(std::bit_cast<float>(magnitude | sign));
}

constexpr Verification kVerifications[] = {
    {"powers of ten times 1 to 99, written and read", 801 * 99, 801 * 99, check_power_of_ten},
    {"powers of two and their neighbours, written and read", 2104, 2104, check_power_of_two},
    {"float32 magnitudes, written and read", 0x1p31, 1, check_any_float},
    {"double bit patterns, written and read", 3e8, 1,
     [](uint64_t, Random& random) { check_double(any_double(random)); }},
    {"doubles with short fractions, written and read", 3e8, 1,
     [](uint64_t, Random& random) { check_double(short_binary(random)); }},
    {"decimals of 1 to 40 digits, read", 2e8, 1,
     [](uint64_t, Random& random) { check_any_decimal(random); }},
    {"hexadecimals, read", 2e7, 1, [](uint64_t, Random& random) { check_any_hexadecimal(random); }},
    {"midpoints, exact, above and below, read", 4e6, 1, check_midpoint},
    {"integers of any length, written", 2e8, 1,
     [](uint64_t, Random& random) { check_integer(any_integer(random)); }},
};

}  // namespace

int main(int argc, char** argv) {
    const bool is_hard = argc == 2 && strcmp(argv[1], "-") == 0;
    return is_hard ? check_hard_numbers(stdin) : verify(argc, argv, kVerifications);
}

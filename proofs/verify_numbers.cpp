// Compares the number kernels with the C library: see scripts/verify-numbers, which builds and runs
// this. Needs a long double of more bits than a double, and printf and strtod that round exactly.
//
//   verify_numbers threads fraction [hard-numbers]

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "number/number_reader.h"
#include "number/number_writer.h"
#include "number/power_of_ten.h"

using namespace vornic;

namespace {

std::mutex g_mismatch;
unsigned g_threads;
double g_fraction;

uint64_t bits_of(double value) { return std::bit_cast<uint64_t>(value); }

[[noreturn]] void mismatch() {
    fflush(stdout);
    _Exit(1);
}

void check_read(const char* text) {
    char* expected_end = nullptr;
    const double expected = strtod(text, &expected_end);
    const NumberRead got = read_number(text);
    if (bits_of(got.value) == bits_of(expected) && got.end == expected_end) return;
    g_mismatch.lock();
    printf("MISMATCH reading %s\n  expected %a (%.17g) end %td\n  got      %a (%.17g) end %td\n",
           text, expected, expected, expected_end - text, got.value, got.value, got.end - text);
    mismatch();
}

void check_text(const char* expected, double value, const char* got, const char* end) {
    const size_t length = strlen(expected);
    if (length == static_cast<size_t>(end - got) && memcmp(got, expected, length) == 0) return;
    g_mismatch.lock();
    printf("MISMATCH writing %a (%.17g)\n  expected %s\n  got      %.*s\n", value, value, expected,
           static_cast<int>(end - got), got);
    mismatch();
}

void check_float_text(double value, int digits, const char* got, const char* end) {
    char expected[64];
    snprintf(expected, sizeof expected, "%.*g", digits, value);
    check_text(std::isnan(value) ? "nan" : expected, value, got, end);
}

void check_write_float(float value) {
    char text[kNumberCapacity + 1];
    char* const end = write_float32(text, value);
    check_float_text(static_cast<double>(value), 9, text, end);
    *end = '\0';
    const NumberRead back = read_number(text);
    const float got = static_cast<float>(back.value);
    if (back.end == end &&
        (std::isnan(value) ? std::isnan(got)
                           : std::bit_cast<uint32_t>(got) == std::bit_cast<uint32_t>(value))) {
        return;
    }
    g_mismatch.lock();
    printf("MISMATCH reading %s back\n  expected %a\n  got      %a\n", text,
           static_cast<double>(value), static_cast<double>(got));
    mismatch();
}

void check_write_double(double value) {
    char text[kNumberCapacity + 1];
    char* const end = write_float64(text, value);
    check_float_text(value, 17, text, end);
    *end = '\0';
    if (!std::isnan(value)) check_read(text);
}

// Without a sign, and as a negative number.
void check_write_integer(uint64_t value) {
    char text[kNumberCapacity + 1], expected[32];
    snprintf(expected, sizeof expected, "%llu", static_cast<unsigned long long>(value));
    check_text(expected, static_cast<double>(value), text, write_uint64(text, value));
    const auto negative = static_cast<int64_t>(0 - value);
    snprintf(expected, sizeof expected, "%lld", static_cast<long long>(negative));
    check_text(expected, static_cast<double>(negative), text, write_int64(text, negative));
}

// Splits count calls among the threads, each with a generator whose seed is its part's number.
template <typename Check>
void run(const char* name, uint64_t count, Check check) {
    constexpr uint64_t kPart = 1 << 20;
    const auto start = std::chrono::steady_clock::now();
    std::atomic<uint64_t> next_part{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < g_threads; ++i) {
        threads.emplace_back([&] {
            for (uint64_t part; (part = next_part++) * kPart < count;) {
                std::mt19937_64 random(part);
                for (uint64_t j = part * kPart; j < count && j < (part + 1) * kPart; ++j) {
                    check(j, random);
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    printf("%-52s %12llu  ok  %7.1f s\n", name, static_cast<unsigned long long>(count),
           taken.count());
    fflush(stdout);
}

template <typename Check>
void run_fraction(const char* name, double count, Check check) {
    run(name, static_cast<uint64_t>(std::ceil(count * g_fraction)), check);
}

// A finite double that is not the greatest.
double any_finite(std::mt19937_64& random) {
    const uint64_t bits = random();
    return std::bit_cast<double>((bits & 0x800fffffffffffff) | bits % 2046 << 52);
}

// Of any magnitude, with a fraction of few binary digits: many are ties in the 9th or 17th digit.
double short_binary(std::mt19937_64& random) {
    const int64_t integer = static_cast<int64_t>(random()) >> (random() % 63);
    return std::ldexp(static_cast<double>(integer), -static_cast<int>(random() % 24));
}

void check_short_decimal(std::mt19937_64& random) {
    char text[96];
    const unsigned long long whole = random() >> (random() % 64);
    const unsigned long long fraction = random() >> (random() % 64);
    const int exponent = static_cast<int>(random() % 700) - 350;
    switch (random() % 3) {
        case 0: snprintf(text, sizeof text, "-%llu.%llu", whole, fraction); break;
        case 1: snprintf(text, sizeof text, "%llue%d", whole, exponent); break;
        default: snprintf(text, sizeof text, "%llu.%lluE%+d", whole, fraction, exponent); break;
    }
    check_read(text);
}

// integer * 2^exponent as a double, rounded half to even.
double round_exactly(uint128_t integer, int exponent) {
    int top = exponent - 1;
    for (uint128_t rest = integer; rest != 0; rest >>= 1) ++top;
    const int last = std::max(top - 52, -1074);  // the exponent of the last bit kept
    if (last <= exponent) return std::ldexp(static_cast<double>(integer), exponent);
    const int dropped = last - exponent;
    if (dropped > 127) return 0;
    const uint128_t kept = integer >> dropped;
    const uint128_t rest = integer - (kept << dropped);
    const uint128_t half = static_cast<uint128_t>(1) << (dropped - 1);
    const bool up = rest > half || (rest == half && (kept & 1) != 0);
    return std::ldexp(static_cast<double>(kept + up), last);
}

// The stop is the C library's, the value is not: its strtod rounds some of these wrong near the
// least doubles (glibc 2.36 reads 0x9cd2070b70b.494p-1067 as the double below the nearest).
void check_hexadecimal(std::mt19937_64& random) {
    char text[96];
    const unsigned long long whole = random() >> (random() % 64);
    const unsigned long long fraction = random() << (1 + random() % 63);
    const int exponent = static_cast<int>(random() % 2300) - 1200;
    snprintf(text, sizeof text, "0x%llx.%016llxp%d", whole, fraction, exponent);
    char* end = nullptr;
    strtod(text, &end);
    const double expected =
        round_exactly(static_cast<uint128_t>(whole) << 63 | fraction >> 1, exponent - 63);
    const NumberRead got = read_number(text);
    if (bits_of(got.value) == bits_of(expected) && got.end == end) return;
    g_mismatch.lock();
    printf("MISMATCH reading %s\n  expected %a\n  got      %a\n", text, expected, got.value);
    mismatch();
}

// The point half way between two doubles, all its digits, and just above and below it.
void check_half_way(std::mt19937_64& random) {
    static_assert(__LDBL_MANT_DIG__ > 53);
    const double low = std::fabs(any_finite(random));
    const double high = std::bit_cast<double>(bits_of(low) + 1);
    const long double middle = low / 2.0L + high / 2.0L;
    char text[1200];
    snprintf(text, sizeof text, "%.800Le", middle);  // no more than 767 of them are not 0
    check_read(text);
    char* const exponent = strchr(text, 'e');
    exponent[-1] = '1';
    check_read(text);
    exponent[-1] = '0';
    char* last = exponent - 1;
    while (*last == '0') *last-- = '9';
    --*last;  // the last one that is not 0, and never the point, since a middle has two digits
    check_read(text);
}

void check_hard_numbers(const char* path) {
    FILE* const file = fopen(path, "r");
    if (file == nullptr) {
        perror(path);
        exit(2);
    }
    unsigned long long count = 0;
    char kind[8];
    char text[64];
    while (fscanf(file, "%7s %63s", kind, text) == 2) {
        ++count;
        if (strcmp(kind, "read") == 0) {
            check_read(text);
        } else {
            const double value = std::bit_cast<double>(strtoull(text, nullptr, 16));
            check_write_double(value);
            check_write_float(static_cast<float>(value));
        }
    }
    fclose(file);
    if (count == 0) exit(2);
    printf("%-52s %12llu  ok\n", "hardest roundings, found by Euclid's steps", count);
}

void check_powers() {
    unsigned long long count = 0;
    char text[32];
    for (int power = -400; power <= 400; ++power) {
        for (int digit = 1; digit <= 99; ++digit, ++count) {
            snprintf(text, sizeof text, "%de%d", digit, power);
            check_read(text);
            check_write_double(strtod(text, nullptr));
            check_write_float(strtof(text, nullptr));
        }
    }
    for (int power = -1080; power <= 1023; ++power) {
        const double exact = std::ldexp(1.0, power);
        for (const double value : {exact, std::nextafter(exact, 0), std::nextafter(exact, 9e307)}) {
            check_write_double(value);
            check_write_float(static_cast<float>(value));
            ++count;
        }
    }
    uint64_t power_of_ten = 1;
    for (int power = 0; power < 20; ++power, power_of_ten *= 10, ++count) {
        for (const uint64_t less : {uint64_t{0}, uint64_t{1}})
            check_write_integer(power_of_ten - less);
    }
    printf("%-52s %12llu  ok\n", "powers of ten and two and their neighbours", count);
}

}  // namespace

int main(int argc, char** argv) {
    const bool is_given = argc == 3 || argc == 4;
    g_threads = is_given ? static_cast<unsigned>(atoi(argv[1])) : 0;
    g_fraction = is_given ? atof(argv[2]) : 0;
    if (g_threads == 0 || !(g_fraction > 0 && g_fraction <= 1)) {
        fprintf(stderr, "usage: verify_numbers threads fraction [hard-numbers]\n");
        return 2;
    }
    if (argc == 4) check_hard_numbers(argv[3]);
    check_powers();
    // An odd step, so that a part of the patterns has all last bits.
    const uint64_t step = static_cast<uint64_t>(1 / g_fraction) | 1;
    run("float32 magnitudes, written and read back", (uint64_t{1} << 31) / step,
        [&](uint64_t i, std::mt19937_64&) {
            const auto magnitude = static_cast<uint32_t>(i * step);
            const auto sign = static_cast<uint32_t>(std::popcount(magnitude)) << 31;
            check_write_float(std::bit_cast<float>(magnitude | sign));
        });
    run_fraction("double bit patterns, written and read", 3e8,
                 [](uint64_t, std::mt19937_64& random) {
                     check_write_double(std::bit_cast<double>(static_cast<uint64_t>(random())));
                 });
    run_fraction(
        "doubles with short fractions, written and read", 3e8,
        [](uint64_t, std::mt19937_64& random) { check_write_double(short_binary(random)); });
    run_fraction("decimals of 1 to 40 digits, read", 2e8,
                 [](uint64_t, std::mt19937_64& random) { check_short_decimal(random); });
    run_fraction("hexadecimals, read", 2e7,
                 [](uint64_t, std::mt19937_64& random) { check_hexadecimal(random); });
    run_fraction("half way points, on, above and below, read", 4e6,
                 [](uint64_t, std::mt19937_64& random) { check_half_way(random); });
    run_fraction("integers of any length, written", 2e8, [](uint64_t, std::mt19937_64& random) {
        check_write_integer(random() >> (random() % 64));
    });
    printf("all equal\n");
}

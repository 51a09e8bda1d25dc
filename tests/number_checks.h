// Checks of the number kernels against the C library, for the fuzz targets and the verification
// programs. A check that fails prints the input, the expected and the actual result, and aborts.
#pragma once

#include <math.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <bit>
#include <concepts>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>

#include "number/number_reader.h"
#include "number/number_writer.h"

using namespace vornic;

using Random = std::mt19937_64;

// The input being checked, for the report of a failure: "fuzz/corpus/json/empty, variation" 17.
inline std::string g_series;
inline uint64_t g_index = 0;

__attribute__((format(gnu_printf, 1, 2))) inline std::string printed(const char* format, ...) {
    char text[1300];
    va_list values;
    va_start(values, format);
    const int length = vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return std::string(text, std::min(static_cast<size_t>(length), sizeof text - 1));
}

// In quotes, with unprintable bytes escaped; a long text is cut.
inline std::string escaped(std::string_view text) {
    constexpr size_t kLongest = 1000;
    std::string result = "\"";
    for (const char byte : text.substr(0, kLongest)) {
        const bool is_printable = byte >= ' ' && byte <= '~';
        result += is_printable ? std::string(1, byte) : printed("\\x%02x", byte & 0xff);
    }
    return result + (text.size() > kLongest ? "\" ..." : "\"");
}

[[noreturn]] inline void fail(const std::string& check, const std::string& input,
                              const std::string& expected, const std::string& got) {
    fprintf(stderr,
            "FAILED: %s\n  where     %s %llu\n  input     %s\n  expected  %s\n  got       %s\n",
            check.c_str(), g_series.c_str(), g_index + 0ull, input.c_str(), expected.c_str(),
            got.c_str());
    abort();
}

inline void check_range(const char* check, std::string_view input, uint64_t least,
                        uint64_t greatest, uint64_t got) {
    if (got >= least && got <= greatest) return;
    const std::string expected = printed("%llu to %llu", least + 0ull, greatest + 0ull);
    fail(check, escaped(input), expected, std::to_string(got));
}

template <typename Number>
auto bits_of(Number number) {
    return std::bit_cast<std::conditional_t<sizeof(Number) == 4, uint32_t, uint64_t>>(number);
}

template <std::integral Integer>
std::string shown(Integer number) {
    return std::to_string(number);
}

template <std::floating_point Float>
std::string shown(Float number) {
    const int digits = 2 * sizeof number;
    return printed("%.17g (bits 0x%0*llx)", number, digits, bits_of(number) + 0ull);
}

// Reading must return this value and this end.
inline void check_read(const char* text, double expected, const char* end) {
    const NumberRead got = read_number(text);
    if (bits_of(got.value) == bits_of(expected) && got.end == end) return;
    const auto length = [&](const char* to) { return printed(", %td bytes long", to - text); };
    fail("reading a number", escaped(text), shown(expected) + length(end),
         shown(got.value) + length(got.end));
}

// Reading must agree with strtod, except that strtod skips leading blanks, that what it accepts
// after "nan" and its value where there is no number depend on the C library, and that glibc 2.36
// rounds some hexadecimal subnormals incorrectly.
inline void check_read(const char* text) {
    const bool is_signed = *text == '-' || *text == '+';
    if (*text == '\0' || strchr(" \t\n\v\f\r", *text) != nullptr) return;
    if (strncasecmp(text + is_signed, "nan", 3) == 0) return;
    char* end = nullptr;
    double expected = strtod(text, &end);
    if (end == text) expected = 0;
    const bool is_hexadecimal = strncasecmp(text + is_signed, "0x", 2) == 0;
    if (is_hexadecimal && fabs(expected) < 0x1p-1022) expected = read_number(text).value;
    check_read(text, expected, end);
}

template <typename Number>
std::string written(Number number) {
    char buffer[kNumberCapacity + 1];
    return {buffer, write_numbers(buffer, buffer + sizeof buffer, &number, 1).end - 1};
}

template <typename Number>
void check_written(Number number, const std::string& expected) {
    const std::string got = written(number);
    if (got != expected) fail("writing a number", shown(number), escaped(expected), escaped(got));
}

// Writing must produce printf's text, and reading that must return the number.
template <typename Number>
void check_written(Number number, int digits) {
    const std::string text = printed("%.*g", digits, static_cast<double>(number));
    check_written(number, isnan(number) ? "nan" : text);
    const auto back = static_cast<Number>(read_number(text.c_str()).value);
    if (isnan(number) || bits_of(back) == bits_of(number)) return;
    fail("reading a number back", escaped(text), shown(number), shown(back));
}

inline void check_float(float number) { check_written(number, 9); }

inline void check_double(double number) { check_written(number, 17); }

inline void check_number(double number) {
    check_double(number);
    check_float(static_cast<float>(number));
}

template <typename... Integer>
void check_integers(uint64_t number) {
    (check_written(static_cast<Integer>(number), std::to_string(static_cast<Integer>(number))),
     ...);
}

// Truncated to each type, and as a negative number.
inline void check_integer(uint64_t number) {
    check_integers<uint8_t, uint16_t, uint32_t, uint64_t>(number);
    check_integers<int8_t, int16_t, int32_t, int64_t>(number);
    check_integers<int8_t, int16_t, int32_t, int64_t>(0 - number);
}

inline double any_double(Random& random) { return std::bit_cast<double>(uint64_t{random()}); }

// Of any length.
inline unsigned long long any_integer(Random& random) { return random() >> random() % 64; }

// Of any magnitude, with a few fraction bits: many are ties in the 9th or 17th digit.
inline double short_binary(Random& random) {
    const auto integer = static_cast<int64_t>(random()) >> random() % 63;
    return ldexp(static_cast<double>(integer), -static_cast<int>(random() % 24));
}

inline void check_any_decimal(Random& random) {
    const unsigned long long whole = any_integer(random), fraction = any_integer(random);
    const int exponent = static_cast<int>(random() % 700) - 350;
    switch (random() % 3) {
        case 0: return check_read(printed("-%llu.%llu", whole, fraction).c_str());
        case 1: return check_read(printed("-%llue%d]", whole, exponent).c_str());
        default: check_read(printed("%llu.%lluE%+d", whole, fraction, exponent).c_str());
    }
}

// The expected value is a long double, which holds the 63 bits of the text exactly. Every other
// text has another 1 many digits later, which rounds like a 1 in the 64th bit.
inline void check_any_hexadecimal(Random& random) {
    static_assert(__LDBL_MANT_DIG__ >= 64);
    const unsigned long long bits = any_integer(random) >> 1 | 1;
    const int exponent = static_cast<int>(random() % 2300) - 1200;
    const bool has_more = random() % 2 != 0;
    const std::string text = printed("0x%llx.%07llx%sp%d", bits >> 28, bits & 0xfffffff,
                                     has_more ? "00000000000000000001" : "", exponent);
    const long double value = ldexpl(static_cast<long double>(bits), exponent - 28);
    const long double near = has_more ? nextafterl(value, INFINITY) : value;
    check_read(text.c_str(), static_cast<double>(near), text.c_str() + text.size());
}

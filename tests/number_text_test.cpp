#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <bit>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "json/number_reader.h"
#include "json/number_writer.h"

namespace {

// On the sign and the bits; NaNs only on the sign.
bool same(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) {
        return std::isnan(a) && std::isnan(b) && std::signbit(a) == std::signbit(b);
    }
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

// The text stands in a block of exactly its size, so that ASan sees a byte read behind it.
void check_read(const std::string& text, double expected, size_t expected_end) {
    const auto block = std::make_unique<char[]>(text.size() + 1);
    memcpy(block.get(), text.c_str(), text.size() + 1);
    const NumberRead got = vnort_read_number(block.get());
    const size_t end = static_cast<size_t>(got.end - block.get());
    char message[160];
    snprintf(message, sizeof message, "expected %a (%.17g) end %zu, got %a (%.17g) end %zu",
             expected, expected, expected_end, got.value, got.value, end);
    EXPECT_TRUE(same(got.value, expected) && end == expected_end) << text.substr(0, 80) << "\n"
                                                                  << message;
}

void check_read_like_library(const std::string& text) {
    char* end = nullptr;
    const double expected = strtod(text.c_str(), &end);
    check_read(text, expected, static_cast<size_t>(end - text.c_str()));
}

template <typename Value>
std::string written(char* (*write)(char*, Value), Value value) {
    const auto block = std::make_unique<char[]>(kNumberRoom);
    return {block.get(), write(block.get(), value)};
}

std::string printed(int digits, double value) {
    char text[64];
    snprintf(text, sizeof text, "%.*g", digits, value);
    return std::isnan(value) ? "nan" : text;
}

void check_write_like_library(double value) {
    const float single = static_cast<float>(value);
    EXPECT_EQ(written(vnort_write_float64, value), printed(17, value));
    EXPECT_EQ(written(vnort_write_float32, single), printed(9, static_cast<double>(single)));
}

constexpr double kInf = INFINITY;
constexpr double kNan = NAN;

TEST(NumberReader, ReadsWhatStrtodReads) {
    constexpr double kMax = 0x1.fffffffffffffp1023;
    constexpr double kMin = 0x1p-1074;
    const struct {
        double value;
        std::vector<std::string> texts;  // the bar stands where the number ends
    } cases[] = {
        {0,
         {"|", "| 1", "|+-1", "|-", "|.", "|-.e1", "|e5", "|true", "|in", "|-na", "|[", "|\xb1"}},
        {0, {"0|", "0|x", "0|xg", "0|x.", "0|x.p1", "00|x1", "0e99999999999999999999|", ".0|.0"}},
        {-0.0, {"-0|", "-0x0|", "-0|X.", "-1e-400|", "-1e-99999999999999999999|", "-0x1p-1075|"}},
        {0.5, {".5|", "+0.5|,", "5.E-1|]", "0x.8|", "0X1p-1|", "00.500|.", "5e-0000000000001|"}},
        {1000, {"1e3|", "1000|_0", "1.e+03|x", "1000|e", "1000.|e+", "1000|e-x", "1000|\xb2"}},
        {-10.75, {"-10.75|", "-0xA.c|", "-0xa.C|p", "-0xa.c|p+", "-0x2bP-2|,", "-0x0acp-00004|"}},
        {16777217.0000000001, {"16777217.0000000001|"}},
        {9007199254740992, {"9007199254740993|", "9007199254740992.99999999999999999999|"}},
        {9007199254740994, {"9007199254740993.00000000000000000001|", "9007199254740994|"}},
        {9007199254740996, {"9007199254740995|", "0x20000000000003|", "0x1.0000000000002p53|"}},
        {0x1p64, {"18446744073709551615|", "18446744073709551616|", "0xffffffffffffffffff.fp-8|"}},
        {1e308, {"1e308|"}},
        {1e22, {"1e22|", "10000000000000000000000|", "0.00000000000000000001e42|"}},
        {1e23, {"1e23|", "100000000000000000000000|", "0.1e24|"}},
        {8.5e-23, {"8.5e-23|x", "0.000000000000000000000085|"}},
        {kMax,
         {"1.7976931348623158e308|", "179769313486231580793e288|", "0x1.fffffffffffff7p1023|"}},
        {kInf,
         {"179769313486231580794e288|", "0x1.fffffffffffff8p1023|", "1e309|", "1e99999999999|"}},
        {kInf, {"1e18446744073709551617|", "0x1p9999999999999999999999|", "inf|init", "+INF|x"}},
        {-kInf, {"-Infinity|]", "-inf|", "-1e400|"}},
        {kNan, {"nan|", "nan()|", "nan(a_Z9)|x", "nan|(a b)", "nan|(12", "+NAN|o"}},
        {-kNan, {"-nan|", "-NaN(1)|"}},
        {kMin,
         {"4.9e-324|", "2.47032822920623272089e-324|", "0x1p-1074|",
          "0x1.0000000000000001p-1075|"}},
        {0,
         {"2.4703282292062327e-324|", "2.47032822920623272088e-324|", "0x1p-1075|", "1e-343|",
          "0x1p-99999999999999999999|"}},
        {0x0.fffffffffffffp-1022, {"2.2250738585072011e-308|"}},
        {0x1p-1022, {"2.2250738585072012e-308|", "0x0.fffffffffffff8p-1022|"}},
        {0x1.fffffffffffffp0, {"0x1.fffffffffffff7ffffffffp0|", "0x3.ffffffffffffep-1|"}},
        {0x1.0000000000001p0, {"0x1.000000000000080000000001p0|", "0x1.00000000000017p0|"}},
        {1, {"1|x1", "0x1.00000000000008p0|", "0x0.000000000000000000000000000000000001p144|"}},
    };
    for (const auto& row : cases) {
        for (std::string text : row.texts) {
            const size_t end = text.find('|');
            check_read(text.erase(end, 1), row.value, end);
        }
    }
}

TEST(NumberReader, ReadsAMillionDigits) {
    const std::string zeros(1000000, '0');
    const std::string nines(1000000, '9');
    const std::pair<double, std::string> cases[] = {
        {12, zeros + "12"},
        {5, "0." + zeros + "5e1000001"},
        {3, "3" + zeros + "." + zeros + "e-1000000"},
        {1, nines + "e-1000000"},
        {9007199254740994, "9007199254740993." + zeros + "1"},
        {9007199254740992, "9007199254740993." + zeros},
        {9007199254740992, "9007199254740992." + nines},
        {0x1.0000000000001p0, "0x1.00000000000008" + zeros + "1"},
        {0.07, "7e-" + zeros + "2"},
    };
    for (const auto& [value, text] : cases) check_read(text, value, text.size());
}

TEST(NumberReader, ReadsLikeTheLibrary) {
    constexpr uint64_t kSeed = 20240502;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    std::mt19937_64 random(kSeed);
    for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i) {
        const std::string whole = std::to_string(random() >> (random() % 64));
        const std::string fraction = std::to_string(random() >> (random() % 64));
        const std::string exponent = std::to_string(static_cast<int>(random() % 700) - 350);
        check_read_like_library(whole + "." + fraction);
        check_read_like_library("-" + whole + "e" + exponent + "]");
        check_read_like_library(whole + "." + fraction + fraction + "E" + exponent + "e");
        check_read_like_library("0x" + fraction + "." + whole + "p" + exponent);
        // Half way between a double and the next, in all its digits, and above.
        const double above_one = std::ldexp(static_cast<double>(random() >> 12), -52);
        char tie[64];
        snprintf(tie, sizeof tie, "%.53f", above_one + 0x1p-53);
        tie[0] = '1';
        const double up = 1 + above_one + 0x1p-52;
        const bool even = std::bit_cast<uint64_t>(up) % 2 == 0;
        check_read(tie, even ? up : 1 + above_one, 55);
        check_read(std::string(tie) + "1", up, 56);
    }
}

TEST(NumberWriter, WritesWhatPrintfWrites) {
    const struct {
        double value;
        const char* single;
        const char* full;
    } cases[] = {
        {0, "0", "0"},
        {-0.0, "-0", "-0"},
        {1, "1", "1"},
        {0.1, "0.100000001", "0.10000000000000001"},
        {16777216, "16777216", "16777216"},
        {1e9, "1e+09", "1000000000"},
        {1e16, "1.00000003e+16", "10000000000000000"},
        {1e17, "9.99999984e+16", "1e+17"},
        {0.0001, "9.99999975e-05", "0.0001"},
        {0.0001220703125, "0.000122070312", "0.0001220703125"},
        {1048576.125, "1048576.12", "1048576.125"},
        {0x1.8p-149, "2.80259693e-45", "2.1019476964872256e-45"},
        {5e-324, "0", "4.9406564584124654e-324"},
        {0x1.fffffffffffffp1023, "inf", "1.7976931348623157e+308"},
        {-kInf, "-inf", "-inf"},
        {kNan, "nan", "nan"},
        {-kNan, "nan", "nan"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(written(vnort_write_float32, static_cast<float>(row.value)), row.single);
        EXPECT_EQ(written(vnort_write_float64, row.value), row.full);
    }
}

TEST(NumberWriter, WritesLikeTheLibrary) {
    constexpr uint64_t kSeed = 20240503;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    std::mt19937_64 random(kSeed);
    for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i) {
        check_write_like_library(std::bit_cast<double>(static_cast<uint64_t>(random())));
        const float single = std::bit_cast<float>(static_cast<uint32_t>(random()));
        check_write_like_library(static_cast<double>(single));
        const double integer = static_cast<double>(static_cast<int64_t>(random() >> 1 >> i % 63));
        check_write_like_library(std::ldexp(integer, -(i % 24)));
        const uint64_t word = random() >> (random() % 64);
        EXPECT_EQ(written(vnort_write_uint64, word), std::to_string(word));
        const int64_t number = static_cast<int64_t>(0 - word);
        EXPECT_EQ(written(vnort_write_int64, number), std::to_string(number));
    }
    for (int power = -1074; power < 1024; ++power) {
        check_write_like_library(std::ldexp(1, power));
        const double ten = strtod(("1e" + std::to_string(power * 3 / 10)).c_str(), nullptr);
        for (const double next : {0.0, ten, 2e307}) {
            check_write_like_library(std::nextafter(ten, next));
        }
    }
    const uint64_t limits[] = {0, 9, 10, 99999999, 100000000, 9999999999999999, 10000000000000000};
    for (const uint64_t limit : limits) {
        EXPECT_EQ(written(vnort_write_uint64, limit), std::to_string(limit));
    }
    EXPECT_EQ(written(vnort_write_int64, INT64_MIN), "-9223372036854775808");
    EXPECT_EQ(written(vnort_write_uint64, UINT64_MAX), "18446744073709551615");
}

}  // namespace

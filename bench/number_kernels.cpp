// What a number costs as text: the kernels beside strtod and snprintf on the same numbers.
//
//   number_kernels [rounds]      best of so many rounds (9), ns a number and ratios

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <bit>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "json/number_reader.h"
#include "json/number_writer.h"

namespace {

constexpr size_t kCount = 8192;  // texts of about 100 kB stay in the second-level cache
int g_rounds = 9;
volatile uint64_t g_sink;

struct Time {
    double ours = 1e9;  // ns a number
    double library = 1e9;
};

template <typename Work>
void measure(double& best, Work work) {
    const auto start = std::chrono::steady_clock::now();
    g_sink = g_sink + work();
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    const double ns = taken.count() / static_cast<double>(kCount);
    if (ns < best) best = ns;
}

// The two take turns, so that a slow moment of the machine meets both.
template <typename Ours, typename Library>
Time take_turns(Ours ours, Library library) {
    Time time;
    for (int round = 0; round < g_rounds; ++round) {
        for (int i = 0; i < 4; ++i) measure(time.ours, ours);
        measure(time.library, library);
    }
    return time;
}

void print(const char* name, Time time, size_t bytes) {
    const double length = static_cast<double>(bytes) / static_cast<double>(kCount);
    printf("%-34s %7.2f %9.2f %7.1fx %8.0f MB/s\n", name, time.ours, time.library,
           time.library / time.ours, length / time.ours * 1000);
}

void read_row(const char* name, const std::vector<std::string>& numbers) {
    std::string text;
    for (const std::string& number : numbers) text += number + ",";
    const auto ours = [&] {
        float last = 0;
        for (const char* p = text.c_str(); *p != '\0'; ++p) {
            const NumberRead read = vnort_read_number(p);
            last += static_cast<float>(read.value);
            p = read.end;
        }
        return uint64_t{std::bit_cast<uint32_t>(last)};
    };
    const auto library = [&] {
        float last = 0;
        char* end = nullptr;
        for (const char* p = text.c_str(); *p != '\0'; p = end + 1) {
            last += static_cast<float>(strtod(p, &end));
        }
        return uint64_t{std::bit_cast<uint32_t>(last)};
    };
    if (ours() != library()) abort();
    print(name, take_turns(ours, library), text.size());
}

template <typename Value, typename Write, typename Print>
void write_row(const char* name, const std::vector<Value>& values, Write write, Print print_one) {
    std::string ours_text(values.size() * kNumberRoom, '\0');
    std::string library_text = ours_text;
    const auto ours = [&] {
        char* p = ours_text.data();
        for (const Value value : values) {
            p = write(p, value);
            *p++ = ',';
        }
        return static_cast<uint64_t>(p - ours_text.data());
    };
    const auto library = [&] {
        char* p = library_text.data();
        for (const Value value : values) {
            p += print_one(p, value);
            *p++ = ',';
        }
        return static_cast<uint64_t>(p - library_text.data());
    };
    const uint64_t length = ours();
    if (length != library() || memcmp(ours_text.data(), library_text.data(), length) != 0) abort();
    print(name, take_turns(ours, library), length);
}

template <typename Value, typename Make>
std::vector<Value> make(Make one) {
    std::vector<Value> values(kCount);
    for (Value& value : values) value = one();
    return values;
}

template <typename Value>
std::vector<std::string> texts(const std::vector<Value>& values, int digits) {
    std::vector<std::string> result;
    for (const Value value : values) {
        char text[kNumberRoom + 1];
        snprintf(text, sizeof text, "%.*g", digits, static_cast<double>(value));
        result.emplace_back(text);
    }
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) g_rounds = atoi(argv[1]);
    std::mt19937_64 random(20240501);
    const auto uniform = [&] {
        return static_cast<double>(static_cast<int64_t>(random())) / 9223372036854775808.0;
    };
    const auto floats = make<float>([&] { return static_cast<float>(uniform()); });
    const auto doubles = make<double>(uniform);
    const auto any_floats = make<float>([&] {
        const uint32_t bits = static_cast<uint32_t>(random());
        return std::bit_cast<float>(bits % 255 << 23 | (bits & 0x807fffff));
    });
    const auto any_doubles = make<double>([&] {
        const uint64_t bits = random();
        return std::bit_cast<double>(bits % 2047 << 52 | (bits & 0x800fffffffffffff));
    });
    const auto short_floats = make<float>(
        [&] { return static_cast<float>(static_cast<int>(random() % 400)) / 4.0f - 20; });
    const auto ones = make<float>([&] { return static_cast<float>(random() % 2); });
    const auto integers =
        make<int64_t>([&] { return static_cast<int64_t>(random()) >> (random() % 64); });
    const auto small_integers =
        make<int64_t>([&] { return static_cast<int64_t>(random() % 1000); });

    const auto print_float = [](char* p, float value) {
        return snprintf(p, kNumberRoom, "%.9g", static_cast<double>(value));
    };
    const auto print_double = [](char* p, double value) {
        return snprintf(p, kNumberRoom, "%.17g", value);
    };
    const auto print_integer = [](char* p, int64_t value) {
        return snprintf(p, kNumberRoom, "%lld", static_cast<long long>(value));
    };

    printf("%-34s %7s %9s %8s\n", "ns a number", "kernel", "library", "ratio");
    read_row("read 9 digits, (-1, 1)", texts(floats, 9));
    read_row("read 9 digits, any exponent", texts(any_floats, 9));
    read_row("read short (0.5, 12)", texts(short_floats, 9));
    read_row("read 0 and 1", texts(ones, 9));
    read_row("read 17 digits, (-1, 1)", texts(doubles, 17));
    read_row("read 17 digits, any exponent", texts(any_doubles, 17));
    write_row("write float32, (-1, 1)", floats, vnort_write_float32, print_float);
    write_row("write float32, any exponent", any_floats, vnort_write_float32, print_float);
    write_row("write float32, short", short_floats, vnort_write_float32, print_float);
    write_row("write float32, 0 and 1", ones, vnort_write_float32, print_float);
    write_row("write float64, (-1, 1)", doubles, vnort_write_float64, print_double);
    write_row("write float64, any exponent", any_doubles, vnort_write_float64, print_double);
    write_row("write int64, any length", integers, vnort_write_int64, print_integer);
    write_row("write int64, below 1000", small_integers, vnort_write_int64, print_integer);
}

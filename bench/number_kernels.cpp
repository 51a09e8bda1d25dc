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

#include "json/array_reader.h"
#include "number/number_writer.h"

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

// Whole arrays, from the search for their end to the last number in its place.
void read_row(const char* name, const std::vector<std::string>& numbers,
              const char* separator = ",") {
    std::string text = "{\"dtype\":\"float32\",\"data\":[";
    const size_t start = text.size();
    for (const std::string& number : numbers) text += number + separator;
    text[text.size() - strlen(separator)] = ']';
    std::vector<float> ours_read(kCount), library_read(kCount);
    const auto ours = [&] {
        const NumberArrayExtent extent = vnort_number_array_extent(text.c_str());
        uint64_t count = 0;
        vnort_read_numbers(text.c_str(), extent.end, static_cast<int64_t>(extent.bound), &count,
                           ours_read.data());
        return count;
    };
    const auto library = [&] {
        const char* p = text.c_str() + start;
        char* end = nullptr;
        for (float& number : library_read) {
            number = static_cast<float>(strtod(p, &end));
            p = end + 1;
        }
        return uint64_t{kCount};
    };
    if (ours() != library() || ours_read != library_read) abort();
    print(name, take_turns(ours, library), text.size() - start);
}

// Each with a comma behind it, as the library writes a tensor.
template <typename Float>
char* write_all(char* p, const char* end, const std::vector<Float>& values) {
    return vnort_write_numbers(p, end, values.data(), values.size()).end;
}

char* write_all(char* p, const char*, const std::vector<int64_t>& values) {
    for (const int64_t value : values) {
        p = vnort_write_int64(p, value);
        *p++ = ',';
    }
    return p;
}

template <typename Value, typename Print>
void write_row(const char* name, const std::vector<Value>& values, Print print_one) {
    std::string ours_text(values.size() * (kNumberRoom + 1), '\0');
    std::string library_text = ours_text;
    const auto ours = [&] {
        char* const first = ours_text.data();
        return static_cast<uint64_t>(write_all(first, first + ours_text.size(), values) - first);
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
std::string text_of(Value value, int digits) {
    char text[kNumberRoom + 1];
    snprintf(text, sizeof text, "%.*g", digits, static_cast<double>(value));
    return text;
}

template <typename Value>
std::vector<std::string> texts(const std::vector<Value>& values, int digits) {
    std::vector<std::string> result;
    for (const Value value : values) result.push_back(text_of(value, digits));
    return result;
}

// The fewest digits that give the number back, as JavaScript and others write.
template <typename Value>
std::vector<std::string> shortest_texts(const std::vector<Value>& values) {
    std::vector<std::string> result;
    for (const Value value : values) {
        int digits = 1;
        while (static_cast<Value>(strtod(text_of(value, digits).c_str(), nullptr)) != value) {
            ++digits;
        }
        result.push_back(text_of(value, digits));
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

    const auto ids = make<int64_t>([&] { return static_cast<int64_t>(random() % 30522); });
    const auto pixels = make<int64_t>([&] { return static_cast<int64_t>(random() % 256); });
    std::normal_distribution<double> gauss;
    std::vector<std::string> four_decimals(kCount);
    for (std::string& number : four_decimals) {
        char text[kNumberRoom];
        number.assign(text,
                      static_cast<size_t>(snprintf(text, sizeof text, "%.4f", gauss(random))));
    }
    std::vector<std::string> mixed = texts(floats, 9);
    for (size_t i = 0; i < mixed.size(); ++i) {
        if (i % 3 == 1) mixed[i] = text_of(short_floats[i], 9);
        if (i % 6 == 2) mixed[i] = text_of(any_floats[i], 9);
    }

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
    read_row("read 9 digits, a blank between", texts(floats, 9), ", ");
    read_row("read shortest float32", shortest_texts(floats));
    read_row("read as JavaScript writes", shortest_texts(doubles));
    read_row("read float32 as JavaScript writes",
             shortest_texts(std::vector<double>(floats.begin(), floats.end())));
    read_row("read 4 decimals, gauss", four_decimals);
    read_row("read ids below 30,522", texts(ids, 9));
    read_row("read pixels", texts(pixels, 9));
    read_row("read mixed kinds", mixed);
    read_row("read 9 digits, any exponent", texts(any_floats, 9));
    read_row("read short (0.5, 12)", texts(short_floats, 9));
    read_row("read 0 and 1", texts(ones, 9));
    read_row("read 17 digits, (-1, 1)", texts(doubles, 17));
    read_row("read 17 digits, any exponent", texts(any_doubles, 17));
    write_row("write float32, (-1, 1)", floats, print_float);
    write_row("write float32, any exponent", any_floats, print_float);
    write_row("write float32, short", short_floats, print_float);
    write_row("write float32, 0 and 1", ones, print_float);
    write_row("write float64, (-1, 1)", doubles, print_double);
    write_row("write float64, any exponent", any_doubles, print_double);
    write_row("write int64, any length", integers, print_integer);
    write_row("write int64, below 1000", small_integers, print_integer);
}

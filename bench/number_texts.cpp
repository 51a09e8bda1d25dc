// The cost of reading and writing arrays of numbers, with this library and with others.
//
//   number_texts TEXTS ROUNDS KERNELS [OLD_KERNELS]
//
// TEXTS is the folder that make_texts.py has filled, KERNELS the library of this folder's kernels.cpp,
// OLD_KERNELS that of another commit. A line is: text, element type, read or write, library, and ns per number
// (the minimum over ROUNDS interleaved rounds), separated by tabs. All libraries must give the same numbers
// and the same text.
//
// With 0 rounds each library handles the first numbers of a text once, between such a line without a cost
// and the line "end", so that the instructions between the two can be counted.

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "kernels.h"
#include "peers.h"
#include "support/platform.h"

std::atomic<bool> g_is_calling;

namespace {

constexpr int kConsecutive = 3;        // calls of a library in each round
constexpr size_t kCountedItems = 128;  // numbers of a text whose instructions are counted

int g_rounds;
std::vector<const Kernels*> g_kernels;

struct Call {
    std::string row;
    std::function<void()> run;
    double minimum = 1e12;  // ns
};

void require(bool condition, const std::string& row) {
    if (condition) return;
    fprintf(stderr, "number_texts: wrong: %s\n", row.c_str());
    exit(1);
}

void measure(std::vector<Call>& calls, size_t count) {
    for (int i = 0; i < g_rounds; i += kConsecutive) {
        for (Call& call : calls) {
            for (int repeat = 0; repeat < kConsecutive; ++repeat) {
                const auto start = std::chrono::steady_clock::now();
                call.run();
                const std::chrono::duration<double, std::nano> taken =
                    std::chrono::steady_clock::now() - start;
                call.minimum = std::min(call.minimum, taken.count());
            }
        }
    }
    for (const Call& call : calls) {
        printf("%s\t%.3f\n", call.row.c_str(), call.minimum / static_cast<double>(count));
    }
}

void mark(const std::string& line) {
    if (g_rounds > 0) return;
    puts(line.c_str());
    fflush(stdout);
}

auto reader(const Kernels& kernels, float) { return kernels.read_float32; }
auto reader(const Kernels& kernels, double) { return kernels.read_float64; }
auto reader(const Kernels& kernels, int64_t) { return kernels.read_int64; }
auto writer(const Kernels& kernels, float) { return kernels.write_float32; }
auto writer(const Kernels& kernels, double) { return kernels.write_float64; }
auto writer(const Kernels& kernels, int64_t) { return kernels.write_int64; }

// This library and the one to compare it with, then the others.
template <typename Number>
std::vector<Peer<Number>> libraries() {
    std::vector<Peer<Number>> result;
    for (const Kernels* kernels : g_kernels) {
        const auto read = reader(*kernels, Number());
        result.push_back(
            {kernels == g_kernels[0] ? "library" : "against",
             [read](const std::string& text, Number* to) { return read(text.c_str(), to); },
             writer(*kernels, Number())});
    }
    for (Peer<Number>& peer : peers<Number>()) {
        const bool is_slow = peer.write || peer.name == "strtod";
        if (g_rounds == 0 && is_slow) continue;  // counting would take minutes
        result.push_back(std::move(peer));
    }
    return result;
}

template <typename Number>
void measure_text(const std::string& title, const std::string& text) {
    const auto commas = std::count(text.begin(), text.end(), ',');
    std::vector<Number> expected(static_cast<size_t>(commas) + 1), numbers(expected.size());
    std::string output(expected.size() * kMaxNumberLength, '\0'), expected_text;
    const size_t count = read_each<Number>(read_by_strtod<Number>)(text, expected.data());
    require(count == expected.size(), title);
    std::vector<Call> readers, writers;
    const std::vector<Peer<Number>> all = libraries<Number>();
    for (const Peer<Number>& library : all) {
        if (library.read) {
            const std::string row = title + "\tread\t" + library.name;
            const auto read = [&] { return library.read(text, numbers.data()); };
            std::fill(numbers.begin(), numbers.end(), Number(-1));
            mark(row);
            const uint64_t numbers_read = read();
            mark("end");
            require(numbers_read == count &&
                        !memcmp(numbers.data(), expected.data(), count * sizeof(Number)),
                    row);
            readers.push_back({row, read});
        }
        if (library.write) {
            const std::string row = title + "\twrite\t" + library.name;
            const auto write = [&] {
                return library.write(output.data(), output.data() + output.size(), expected.data(),
                                     count);
            };
            mark(row);
            const char* const end = write();
            mark("end");
            const std::string written(output.data(), static_cast<size_t>(end - output.data()));
            if (expected_text.empty()) expected_text = written;
            require(written == expected_text, row);
            writers.push_back({row, write});
        }
    }
    if (g_rounds == 0) return;
    measure(readers, count);
    measure(writers, count);
    fflush(stdout);
}

std::string file_text(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void truncate(std::string& text) {
    size_t end = 0;
    for (size_t i = 0; i < kCountedItems; ++i) end = text.find(',', end + 1);
    text.resize(end);
    text += ']';
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        fprintf(stderr, "usage: number_texts TEXTS ROUNDS KERNELS [OLD_KERNELS]\n");
        return 2;
    }
    const std::string folder = argv[1];
    g_rounds = atoi(argv[2]);
    for (int i = 3; i < argc; ++i) {
        const void* kernels = find_function(argv[i], "vornic_kernels");
        require(kernels != nullptr, argv[i]);
        g_kernels.push_back(static_cast<const Kernels*>(kernels));
    }
    std::istringstream index(file_text(folder + "/index"));
    for (std::string file, type, title; std::getline(index, file, '\t') &&
                                        std::getline(index, type, '\t') &&
                                        std::getline(index, title);) {
        std::string text = file_text(folder + "/" + file);
        if (g_rounds == 0) truncate(text);
        text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
        const std::string row = title + "\t" + type;
        if (type == "float32") measure_text<float>(row, text);
        if (type == "float64") measure_text<double>(row, text);
        if (type == "int64") measure_text<int64_t>(row, text);
    }
    return 0;
}

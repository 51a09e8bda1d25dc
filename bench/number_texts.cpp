// What reading and writing an array of numbers costs, by the library and by the field's own.
//
//   number_texts TEXTS ROUNDS KERNELS [OLD_KERNELS]
//
// TEXTS is what make_texts.py has made, KERNELS the library's kernels, OLD_KERNELS those of another commit.
// A line is: the text, the element type, read or write, whose code, and ns a number, separated by tabs; the
// least of so many rounds in which all take turns. All must give the same numbers and the same text.
//
// Without rounds (0) each works on the beginning of a text, once, between a line as above but for the cost
// and the line "end": for counting the instructions between them.

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

constexpr int kCallsInTurn = 3;
constexpr size_t kNumberRoom = 40;  // for the longest text of a number and a comma
constexpr size_t kCounted = 128;    // numbers whose instructions are counted

struct Measured {
    std::string row;
    std::function<void()> call;
    double least = 1e9;  // ns
};

void measure(std::vector<Measured>& all, int rounds, size_t count) {
    for (int round = 0; round < rounds * kCallsInTurn; round += kCallsInTurn) {
        for (Measured& one : all) {
            for (int i = 0; i < kCallsInTurn; ++i) {
                const auto start = std::chrono::steady_clock::now();
                one.call();
                const std::chrono::duration<double, std::nano> taken =
                    std::chrono::steady_clock::now() - start;
                one.least = std::min(one.least, taken.count());
            }
        }
    }
    for (const Measured& one : all) {
        printf("%s\t%.3f\n", one.row.c_str(), one.least / static_cast<double>(count));
    }
}

void require(bool good, const std::string& row) {
    if (good) return;
    fprintf(stderr, "number_texts: wrong: %s\n", row.c_str());
    exit(1);
}

// What reads an element type, and what writes it.
template <typename Number>
struct Peer {
    const char* name;
    uint64_t (*read)(const std::string& text, Number* to);
    char* (*write)(char* to, const char* end, const Number* numbers, uint64_t count);
};

template <typename Number>
constexpr Peer<Number> kPeers[] = {
    {"strtod, printf", read_by_strtod<Number>, write_by_printf<Number>},
    {"charconv", read_by_from_chars<Number>, write_by_to_chars<Number>},
    {"fast_float", read_by_fast_float<Number>, nullptr},
    {"simdjson", read_by_simdjson<Number>, nullptr},
    {"RapidJSON", read_by_rapidjson<Number>, nullptr},
    {"{fmt}", nullptr, write_by_fmt<Number>},
};

auto reader(const Kernels& kernels, float*) { return kernels.read_float32; }
auto reader(const Kernels& kernels, double*) { return kernels.read_float64; }
auto reader(const Kernels& kernels, int64_t*) { return kernels.read_int64; }
auto writer(const Kernels& kernels, float*) { return kernels.write_float32; }
auto writer(const Kernels& kernels, double*) { return kernels.write_float64; }
auto writer(const Kernels& kernels, int64_t*) { return kernels.write_int64; }

constexpr const char* kLibraries[] = {"library", "against"};

// One text and what is measured over it.
template <typename Number>
class Bench {
public:
    Bench(const std::string& row, const std::string& text, int rounds)
        : row_(row), rounds_(rounds) {
        const auto commas = std::count(text.begin(), text.end(), ',');
        expected_.resize(static_cast<size_t>(commas) + 1);
        read_.resize(expected_.size());
        written_.resize(expected_.size() * kNumberRoom);
        require(read_by_strtod(text, expected_.data()) == expected_.size(), row);
    }

    void add_reader(const char* name, std::function<uint64_t(Number* to)> read) {
        const std::string row = row_ + "\tread\t" + name;
        std::fill(read_.begin(), read_.end(), Number(-1));
        mark(row);
        const uint64_t count = read(read_.data());
        mark("end");
        const size_t bytes = expected_.size() * sizeof(Number);
        require(count == expected_.size() && !memcmp(read_.data(), expected_.data(), bytes), row);
        readers_.push_back({row, [read, this] { read(read_.data()); }});
    }

    void add_writer(const char* name, decltype(Peer<Number>::write) write) {
        const std::string row = row_ + "\twrite\t" + name;
        const auto call = [write, this] {
            return write(written_.data(), written_.data() + written_.size(), expected_.data(),
                         expected_.size());
        };
        mark(row);
        const char* const end = call();
        mark("end");
        const std::string text(written_.data(), static_cast<size_t>(end - written_.data()));
        if (first_text_.empty()) first_text_ = text;
        require(text == first_text_, row);
        writers_.push_back({row, [call] { call(); }});
    }

    void measure_all() {
        if (rounds_ == 0) return;
        measure(readers_, rounds_, expected_.size());
        measure(writers_, rounds_, expected_.size());
        fflush(stdout);
    }

private:
    void mark(const std::string& row) const {
        if (rounds_ > 0) return;
        puts(row.c_str());
        fflush(stdout);
    }

    std::string row_;
    int rounds_;
    std::vector<Number> expected_, read_;
    std::string written_, first_text_;
    std::vector<Measured> readers_, writers_;
};

template <typename Number>
void read_and_write(const std::string& row, const std::string& text, int rounds,
                    const std::vector<const Kernels*>& libraries) {
    Bench<Number> bench(row, text, rounds);
    for (size_t i = 0; i < libraries.size(); ++i) {
        const auto read = reader(*libraries[i], static_cast<Number*>(nullptr));
        bench.add_reader(kLibraries[i],
                         [&text, read](Number* to) { return read(text.c_str(), to); });
        bench.add_writer(kLibraries[i], writer(*libraries[i], static_cast<Number*>(nullptr)));
    }
    for (const Peer<Number>& peer : kPeers<Number>) {
        if (rounds == 0 && peer.write != nullptr) continue;  // slow ones, which would take minutes
        if (peer.read != nullptr) {
            bench.add_reader(peer.name, [&](Number* to) { return peer.read(text, to); });
        }
        if (peer.write != nullptr) bench.add_writer(peer.name, peer.write);
    }
    bench.measure_all();
}

std::string file_text(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void keep_beginning(std::string& text) {
    size_t end = 0;
    for (size_t i = 0; i < kCounted; ++i) end = text.find(',', end + 1);
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
    std::vector<const Kernels*> libraries;
    for (int i = 3; i < argc; ++i) {
        const void* kernels = find_function(argv[i], "vornic_kernels");
        require(kernels != nullptr, argv[i]);
        libraries.push_back(static_cast<const Kernels*>(kernels));
    }
    const int rounds = atoi(argv[2]);
    std::istringstream index(file_text(folder + "/index"));
    for (std::string file, type, title; std::getline(index, file, '\t') &&
                                        std::getline(index, type, '\t') &&
                                        std::getline(index, title);) {
        std::string text = file_text(folder + "/" + file);
        if (rounds == 0) keep_beginning(text);
        text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
        // As the type of the host's numbers, and as another that a model may want.
        if (rounds > 0 || type == "float32") {
            read_and_write<float>(title + "\tfloat32", text, rounds, libraries);
        }
        if (type == "int64") {
            read_and_write<int64_t>(title + "\tint64", text, rounds, libraries);
        } else if (rounds > 0 || type == "float64") {
            read_and_write<double>(title + "\tfloat64", text, rounds, libraries);
        }
    }
    return 0;
}

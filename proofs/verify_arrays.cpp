// Compares the array reader with the C library's strtod, over whole arrays, malformed ones among them:
// see scripts/verify-numbers, which builds and runs this. Each array stands once directly before an
// unreadable page and once directly after one, and is read to doubles, to floats and in parts; the
// numbers, the count and the error must be what strtod and a cast give. All of its processes together
// read:
//
// - arrays of all kinds of numbers, one in four of them damaged;
// - forty like numbers, in several spellings, with every byte put in or written over somewhere;
// - for every positive float a text of 9 to 18 digits at it or at the middle between it and the next
//   one, or beside these, and a fifth as many texts of 1 to 20 random digits (to numbers alone).
//
//   verify_arrays processes fraction

#include <math.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <random>
#include <string>
#include <vector>

#include "core/last_error.h"
#include "json/array_reader.h"
#include "json/number_block.h"
#include "number/number_writer.h"

using namespace vornic;

namespace {

using Random = std::mt19937_64;

constexpr size_t kRoom = 1 << 17;  // of a text, in bytes
constexpr uint64_t kMost = 2500;   // numbers in an array
constexpr int kKinds = 16;

[[gnu::format(printf, 1, 2)]] std::string print(const char* format, ...) {
    char text[400];
    va_list values;
    va_start(values, format);
    vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

double uniform(Random& random) {
    return static_cast<double>(static_cast<int64_t>(random())) / 9223372036854775808.0;
}

std::string item(int kind, Random& random) {
    const double number = uniform(random);
    const unsigned long long word = random() >> (random() % 64);
    const int digits = 1 + static_cast<int>(random() % 20);
    switch (kind) {
        case 0: return print("%.9g", static_cast<double>(static_cast<float>(number)));
        case 1: return print("%.*f", digits % 8, number * 100);
        case 2: return print("%.17g", number);
        case 3: return print("%.*g", digits, number * 1e6);
        case 4: return print("%llu", word % 2);
        case 5: return print("%llu", word % 30522);
        case 6: return print("-%llu", word);
        case 7: return print("%.9g", std::bit_cast<double>(word));
        case 8: return print("%llu.%llu", word % 100, static_cast<unsigned long long>(random()));
        case 9: return print("%0*llu", digits, word);
        case 10: return print("%.*e", digits % 18, number);
        case 11: return print("0x%llxp-%d", word, digits);
        case 12: return print("%.*f", 10 + digits, number);
        case 13: return print("%llu.", word % 1000) + std::string(random() % 3, '0');
        case 14: return print("0.%0*d%llu", digits % 9, 0, word);
        default: {
            static const char* const words[] = {"nan",
                                                "-inf",
                                                ".5",
                                                "-.5",
                                                "-0",
                                                "+7",
                                                "1e5",
                                                "1e-7",
                                                "2.5E-9",
                                                "1e+020",
                                                "-0.0",
                                                "16777217",
                                                "9007199254740993",
                                                "9.007199254740993",
                                                "NaN(x_1)",
                                                "123456789012345678901234567890"};
            return words[word % std::size(words)];
        }
    }
}

std::string any_array(Random& random) {
    static const char* const separators[] = {",", ",", ", ", ", ", " ,", ",\n ", ",  "};
    const int mixed = static_cast<int>(random() % 4);  // of four items so many are of any kind
    const size_t separator = random() % std::size(separators);
    const int kind = static_cast<int>(random() % kKinds);
    const uint64_t count = random() % (random() % 64 == 0 ? kMost : 200);
    std::string text = random() % 2 != 0 ? "[" : "{\"data\":  [";
    for (uint64_t i = 0; i < count; ++i) {
        const bool is_any = mixed == 3 && random() % 4 < 2;
        text += item(is_any ? static_cast<int>(random() % kKinds) : kind, random);
        text += separators[mixed == 2 && random() % 8 == 0 ? random() % std::size(separators)
                                                           : separator];
    }
    text += random() % 4 != 0 ? item(kind, random) + "]" : "]";
    if (random() % 4 == 0) {
        static const char bytes[] = "0123456789.-+eE, ]\t\"xn[";
        for (size_t k = 1 + random() % 2; k > 0; --k) {
            text[random() % text.size()] = bytes[random() % sizeof bytes];
        }
    }
    return text;
}

std::string like_array(int spelling, char byte, Random& random) {
    static const char* const around[][2] = {
        {"", ""}, {"-", ".25"}, {"0.", ""}, {"-1.000000000000", ""}, {"3.", "e-07"}};
    std::string text = "{\"data\":[";
    const size_t start = text.size();
    for (int i = 0; i < 40; ++i) {
        text += around[spelling][0] + std::to_string(random() % 100000) + around[spelling][1];
        text += i % 40 == 39 ? "]" : spelling % 2 != 0 ? ", " : ",";
    }
    const size_t at = start + random() % (text.size() - start);
    return random() % 2 != 0 ? text.insert(at, 1, byte) : text.replace(at, 1, 1, byte);
}

// The texts around a float need not be exact: strtod tells what they are.
std::string near_float(uint32_t bits, Random& random) {
    const double number = static_cast<double>(std::bit_cast<float>(bits));
    const double next = static_cast<double>(std::bit_cast<float>(bits + 1));
    uint64_t chance = random();
    char text[kNumberCapacity];
    const double near = chance % 4 == 0 ? number : number / 2 + next / 2;
    std::string result(text, write_float64(text, chance % 8 < 4 ? near : -near));
    chance >>= 8;
    const size_t point = result.find('.');
    size_t end = std::min(result.find('e'), result.size());
    if (point == std::string::npos) return result;
    const size_t length = point + chance % 18;
    chance >>= 8;
    if (chance % 4 == 0) result.insert(end++, 1, static_cast<char>('0' + (chance >> 2) % 10));
    if (chance % 4 == 1) result[end - 1] ^= 1;  // a unit more or less
    if (chance % 4 == 2 && length < end) result.erase(length, end - length);
    return result;
}

std::string random_digits(Random& random) {
    uint64_t chance = random();
    const size_t count = 1 + chance % 20;
    std::string result = std::to_string(chance % 3 == 0 ? random() % 1000 : random());
    result.insert(0, result.size() < count ? count - result.size() : 0, '0');
    result.resize(count);
    chance >>= 8;
    if (chance % 4 != 0) result.insert((chance >> 2) % 4 == 0 ? chance % (count + 1) : 1, 1, '.');
    chance >>= 16;
    if (chance % 8 == 0) result += "e-" + std::to_string(chance % 47);
    if (chance % 8 == 1) result += (chance & 8) != 0 ? "E+0" : "e0" + std::to_string(chance % 10);
    return chance % 2 != 0 ? "-" + result : result;
}

struct Result {
    int32_t is_read = 0;
    uint64_t count = 0;
    std::vector<double> numbers;
    std::string error;
};

bool is_blank(char byte) { return byte != '\0' && strchr(" \t\n\r", byte) != nullptr; }

// An array by strtod, which would pass over more kinds of blanks.
Result expect(const char* text, int64_t capacity) {
    Result result;
    const char* at = strchr(text, '[');
    if (at == nullptr) return result;
    do {
        do ++at;
        while (is_blank(*at));
        if (*at == ']') break;
        if (static_cast<int64_t>(result.numbers.size()) == capacity) {
            result.error = "JSON numeric array is too large";
            return result;
        }
        char* end = nullptr;
        const double number = strtod(at, &end);
        if (end == at || *at == '\v' || *at == '\f') {
            result.error = "failed to parse JSON numeric array";
            return result;
        }
        result.numbers.push_back(number);
        for (at = end; is_blank(*at);) ++at;
    } while (*at == ',');
    if (*at != ']') {
        result.error = "malformed JSON numeric array";
        return result;
    }
    result.count = result.numbers.size();
    result.is_read = 1;
    return result;
}

[[noreturn]] void mismatch(const char* how, const char* text, const std::string& expected,
                           const std::string& got) {
    printf("MISMATCH reading %s\n%s\n  expected %s\n  got      %s\n", how, text, expected.c_str(),
           got.c_str());
    fflush(stdout);
    _exit(1);
}

// `read` is called with the places for the numbers and for their count.
template <typename Number, typename Read>
void check_way(const char* how, const char* text, const Result& expected, Read read) {
    static std::vector<Number> numbers;
    numbers.resize(kMost + 2);
    uint64_t count = 0;
    clear_error();
    const int32_t is_read = read(numbers.data(), &count);
    if (is_read != expected.is_read || count != expected.count || expected.error != g_error) {
        const auto told = [](int32_t good, uint64_t n, const char* error) {
            return print("%d, %llu numbers, %s", good, static_cast<unsigned long long>(n), error);
        };
        mismatch(how, text, told(expected.is_read, expected.count, expected.error.c_str()),
                 told(is_read, count, g_error));
    }
    for (size_t i = 0; i < count; ++i) {
        const auto number = static_cast<Number>(expected.numbers[i]);
        if (memcmp(&number, &numbers[i], sizeof number) == 0) continue;
        mismatch(how, text, print("%zu: %a", i, static_cast<double>(number)),
                 print("%a", static_cast<double>(numbers[i])));
    }
}

void check_floats(const char* text, const char* end, int64_t capacity, const Result& expected) {
    check_way<double>("to doubles", text, expected, [&](double* to, uint64_t* count) {
        return read_numbers(text, end, capacity, count, to);
    });
    check_way<float>("to floats", text, expected, [&](float* to, uint64_t* count) {
        return read_numbers(text, end, capacity, count, to);
    });
}

void check(const char* text, int64_t capacity, const Result& expected) {
    const NumberArrayExtent extent = number_array_extent(text);
    if (const char* const from = strchr(text, '[')) {
        const char* const end = from + strcspn(from, "]");
        const auto commas = static_cast<uint64_t>(std::count(from, end, ','));
        if (extent.bound != commas + 1 || extent.end != end) {
            mismatch("an array's extent", text, print("%llu", commas + 1ull),
                     print("%llu", extent.bound + 0ull));
        }
    }
    check_floats(text, extent.end, capacity, expected);
    check_way<double>("one by one", text, expected, [&](double* to, uint64_t* count) {
        return read_numbers(text, nullptr, capacity, count, to);
    });
    check_way<double>("in parts", text, expected, [&](double* to, uint64_t* count) {
        const auto take = [](void* all, int64_t first, const double* part, int64_t taken) {
            std::copy(part, part + taken, static_cast<double*>(all) + first);
        };
        return read_numbers(text, extent.end, capacity, count, {take, to});
    });
}

// Memory between two pages that cannot be read.
char* fenced_room() {
    constexpr size_t kPage = 1 << 16;
    void* pages = mmap(nullptr, kRoom + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) exit(2);
    char* const room = static_cast<char*>(pages) + kPage;
    if (mprotect(room, kRoom, PROT_READ | PROT_WRITE) != 0) exit(2);
    return room;
}

// Checks a text at both ends of the room, and gives the count of numbers in it.
uint64_t check_fenced(const std::string& text, int64_t capacity) {
    static char* const room = fenced_room();
    const size_t size = text.size() + 1;
    if (size > kRoom) exit(2);
    const Result expected = expect(text.c_str(), capacity);
    char* const last = static_cast<char*>(memcpy(room + kRoom - size, text.c_str(), size));
    check(last, capacity, expected);
    check(static_cast<char*>(memcpy(room, text.c_str(), size)), capacity, expected);
    return expected.numbers.size();
}

// One of so many processes.
void verify(uint64_t part, uint64_t parts, double fraction) {
    Random random(part);
    const auto share = [&](double all) {
        return static_cast<uint64_t>(ceil(all * fraction / static_cast<double>(parts)));
    };
    uint64_t numbers = 0;
    for (; numbers < share(4e7);) {
        // One in eight has a capacity below what may come.
        const bool is_short = random() % 8 == 0;
        const auto capacity = static_cast<int64_t>(is_short ? random() % 200 : kMost + 1);
        numbers += check_fenced(any_array(random), capacity);
    }
    constexpr uint64_t kSpelledBytes = 5 * 255;
    for (uint64_t i = 0; i < 8 * kSpelledBytes + share(2000 * kSpelledBytes); ++i) {
        const char byte = static_cast<char>(1 + i / 5 % 255);
        numbers += check_fenced(like_array(static_cast<int>(i % 5), byte, random), kMost);
    }
    constexpr uint64_t kAll = 0x7f800000;
    const uint64_t near = share(kAll);
    // An odd step, so that a part of the floats has all last bits.
    const uint64_t step = (kAll / (near * parts)) | 1;
    for (uint64_t i = 0; i < near;) {
        std::string text = "{\"data\":[";
        const char* const separator = random() % 2 != 0 ? ", " : ",";
        for (uint64_t end = i + 1000; i < end; ++i) {
            const uint64_t bits = (i * parts + part) * step % kAll;
            text += near_float(static_cast<uint32_t>(bits), random) + separator;
        }
        for (int k = 0; k < 200; ++k) text += random_digits(random) + separator;
        text += "0]";
        numbers += 1201;
        check_floats(text.c_str(), text.c_str() + text.size() - 1, kMost,
                     expect(text.c_str(), kMost));
    }
    printf("%llu numbers in arrays: all equal\n", static_cast<unsigned long long>(numbers));
}

}  // namespace

int main(int argc, char** argv) {
    const int processes = argc == 3 ? atoi(argv[1]) : 0;
    const double fraction = argc == 3 ? atof(argv[2]) : 0;
    if (processes < 1 || !(fraction > 0 && fraction <= 1)) {
        fprintf(stderr, "usage: verify_arrays processes fraction\n");
        return 2;
    }
    // The last error is one a process.
    for (int i = 0; i < processes; ++i) {
        if (fork() != 0) continue;
        verify(static_cast<uint64_t>(i), static_cast<uint64_t>(processes), fraction);
        fflush(stdout);
        _exit(0);
    }
    bool is_good = true;
    for (int status; wait(&status) > 0;) is_good &= WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return is_good ? 0 : 1;
}

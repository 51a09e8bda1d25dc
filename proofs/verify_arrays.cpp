// Compares the block reader with the number reader over whole arrays, malformed ones among them: see
// scripts/verify-numbers, which builds and runs this. The same array is read with blocks and without,
// and the doubles, the count and the error must be the same; its end and what its commas foretell must
// be what a search byte by byte gives. Each stands once directly before an unreadable page and once
// directly behind one.
//
//   verify_arrays seed numbers

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <random>
#include <string>
#include <vector>

#include "core/last_error.h"
#include "json/array_reader.h"
#include "json/number_block.h"
#include "number/number_reader.h"

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
                                                "-0.0",
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
    // Long ones, too, in which blocks are given up and tried again.
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

struct Result {
    int32_t is_read = 0;
    uint64_t count = 0;
    std::vector<uint64_t> numbers;  // by their bits
    std::string error;

    bool operator==(const Result&) const = default;
};

Result read(const char* text, const char* end, int64_t capacity) {
    Result result;
    vnort_clear_error();
    const auto take = [](void* to, int64_t first, const double* numbers, int64_t count) {
        auto& bits = *static_cast<std::vector<uint64_t>*>(to);
        if (static_cast<uint64_t>(first) != bits.size()) abort();
        for (int64_t i = 0; i < count; ++i) bits.push_back(std::bit_cast<uint64_t>(numbers[i]));
    };
    result.is_read =
        vnort_read_numbers(text, end, capacity, &result.count, {take, &result.numbers});
    result.error = g_error;
    return result;
}

[[noreturn]] void mismatch(const char* what, const char* text) {
    printf("MISMATCH of %s reading %s\n", what, text);
    exit(1);
}

void check_extent(const char* text) {
    const NumberArrayExtent got = vnort_number_array_extent(text);
    const char* const from = strchr(text, '[');
    if (from == nullptr) {
        if (got.bound != 0) mismatch("the extent", text);
        return;
    }
    const char* const end = from + strcspn(from, "]");
    const auto commas = static_cast<uint64_t>(std::count(from, end, ','));
    if (got.bound != commas + 1 || got.end != end) mismatch("the extent", text);
}

// What a block has read is what stands there, each number with a comma behind it.
int64_t check_block(const char* text, Random& random) {
    constexpr int64_t kLongest = 200;
    double numbers[kLongest];
    const NumberArrayExtent extent = vnort_number_array_extent(text);
    if (extent.bound <= 1 || extent.end - text < kNumberBlockBefore) return 0;
    const char* at = strchr(text + kNumberBlockBefore, ',');
    if (at == nullptr || extent.end - ++at < kNumberBlockBehind) return 0;
    const auto most = static_cast<int64_t>(random() % kLongest);
    const NumberBlockRead got = vnort_read_number_block(at, extent.end, numbers, most);
    if (got.count > most) mismatch("a block's count", text);
    for (int64_t i = 0; i < got.count; ++i) {
        at = vnort_skip_blanks(at);
        const NumberRead read = vnort_read_number(at);
        if (read.end == at ||
            std::bit_cast<uint64_t>(read.value) != std::bit_cast<uint64_t>(numbers[i])) {
            mismatch("a block", text);
        }
        at = vnort_skip_blanks(read.end);
        if (*at++ != ',') mismatch("a block's comma", text);
    }
    if (got.at != at) mismatch("a block's end", text);
    return got.count;
}

void check(const char* text, int64_t capacity) {
    check_extent(text);
    const Result expected = read(text, nullptr, capacity);
    const Result got = read(text, vnort_number_array_extent(text).end, capacity);
    if (got == expected) return;
    size_t first = 0;
    while (first < got.numbers.size() && first < expected.numbers.size() &&
           got.numbers[first] == expected.numbers[first]) {
        ++first;
    }
    printf("expected %d, %llu numbers, %s\n     got %d, %llu numbers, %s\n", expected.is_read,
           static_cast<unsigned long long>(expected.count), expected.error.c_str(), got.is_read,
           static_cast<unsigned long long>(got.count), got.error.c_str());
    mismatch(print("number %zu", first).c_str(), text);
}

// Arrays of these kinds are what blocks are for: they are not given up there.
void check_worth() {
    constexpr int kPlain[] = {0, 1, 2, 4, 5};
    constexpr int64_t kEach = 100;
    double numbers[kEach];
    Random random(1);
    for (const int kind : kPlain) {
        for (const char* const separator : {",", ", "}) {
            std::string text = "{\"data\":          [";
            const size_t start = text.size();
            for (uint64_t i = 0; i < kMost; ++i) text += item(kind, random) + separator;
            const char* const end = text.c_str() + text.size();
            NumberBlockRead read{text.c_str() + start, 0, true};
            while (end - read.at >= 64 * kNumberBlockBehind) {
                read = vnort_read_number_block(read.at, end, numbers, kEach);
                if (read.count <= kEach - 4 || !read.is_worth)
                    mismatch("what is worth it", read.at);
            }
        }
    }
}

// Memory between two pages that cannot be read.
char* fenced_room() {
    constexpr size_t kPage = 4096;
    void* pages = mmap(nullptr, kRoom + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) exit(2);
    char* const room = static_cast<char*>(pages) + kPage;
    if (mprotect(room, kRoom, PROT_READ | PROT_WRITE) != 0) exit(2);
    return room;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: verify_arrays seed numbers\n");
        return 2;
    }
    Random random(strtoull(argv[1], nullptr, 10));
    const uint64_t wanted = strtoull(argv[2], nullptr, 10);
    char* const room = fenced_room();
    check_worth();
    uint64_t arrays = 0, refused = 0, numbers = 0, in_blocks = 0;
    for (; numbers < wanted; ++arrays) {
        const std::string text = any_array(random);
        if (text.size() >= kRoom) return 2;
        const size_t size = text.size() + 1;
        // One in eight has room for less than there may be.
        const bool is_short = random() % 8 == 0;
        const auto capacity = static_cast<int64_t>(is_short ? random() % 200 : kMost + 1);
        char* const last = room + kRoom - size;
        check(static_cast<char*>(memcpy(room, text.c_str(), size)), capacity);
        check(static_cast<char*>(memcpy(last, text.c_str(), size)), capacity);
        in_blocks += static_cast<uint64_t>(check_block(last, random));
        const Result result = read(last, nullptr, capacity);
        numbers += result.numbers.size();
        refused += result.is_read == 0;
    }
    printf(
        "%llu numbers in %llu arrays, %llu of them refused, in blocks and one by one: all equal\n"
        "%llu of blocks alone: all equal\n",
        static_cast<unsigned long long>(numbers), static_cast<unsigned long long>(arrays),
        static_cast<unsigned long long>(refused), static_cast<unsigned long long>(in_blocks));
    // A block reader that reads nothing makes no mistakes.
    return in_blocks < numbers / 8;
}

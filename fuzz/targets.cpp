// What is fuzzed: targets that take any text, up to the longest, and stop the process when the library
// does not keep its promises for it.
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <bit>
#include <random>
#include <string>

#include "core/bounded_text.h"
#include "core/element_type.h"
#include "core/last_error.h"
#include "json/array_reader.h"
#include "json/feed.h"
#include "json/input_tensor.h"
#include "json/number_reader.h"
#include "json/number_writer.h"
#include "json/output_tensor.h"
#include "session/provider_options.h"
#include "support/platform.h"

#define HOLDS(truth)                          \
    do {                                      \
        if (!(truth)) stop(__LINE__, #truth); \
    } while (false)

namespace {

constexpr size_t kLongestText = 1 << 16;

void (*g_run)(const char* text, size_t size);

[[noreturn]] void stop(int line, const char* truth) {
    fprintf(stderr, "targets.cpp:%d: not so: %s\n", line, truth);
    abort();
}

bool same(double a, double b) {
    return isnan(a) ? isnan(b) && signbit(a) == signbit(b)
                    : std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

// Names, braces and keys are found where a plain search finds them.
void fuzz_feed(const char* text, size_t) {
    static const Name names[] = {"x", "a{\"b", "data", "", "in_string"};
    constexpr uint64_t kCount = sizeof names / sizeof *names;
    FeedItem items[kCount];
    vnort_find_feed_items(text, names, kCount, items);
    for (uint64_t i = 0; i < kCount; ++i) {
        const std::string name = std::string("\"") + names[i] + '"';
        const char* found = strstr(text, name.c_str());
        const char* brace = found != nullptr ? strchr(found + name.size(), '{') : nullptr;
        HOLDS(items[i].name == found && items[i].brace == brace);
        const auto key = [&](const char* word) { return brace ? strstr(brace, word) : nullptr; };
        HOLDS(items[i].dtype == key("\"dtype\"") && items[i].shape == key("\"shape\"") &&
              items[i].data == key("\"data\""));
        InputTensor entry;
        if (vnort_parse_input_tensor_body(items[i], names[i], &entry)) {
            HOLDS(entry.rank <= kMaxRank && entry.element_count <= kMaxElements);
            vnort_free_input_tensors(&entry, 1);
        } else {
            HOLDS(entry.data == nullptr && entry.strings == nullptr && entry.value == nullptr);
        }
    }
}

// What any text may do to the other scanners: nothing past their limits.
void fuzz_scan(const char* text, size_t) {
    static const Name names[] = {"y", "a\"b\\c", "", "output", "output2"};
    static ProviderOptions options;
    double numbers[kMaxRank];
    const char* selected[kMaxOutputs];
    uint64_t count = 0;
    HOLDS(!vnort_parse_provider_options(text, &options) || options.count <= kMaxProviderOptions);
    const bool has_numbers = vnort_parse_number_array_double(text, numbers, kMaxRank, &count);
    HOLDS(count <= (has_numbers ? kMaxRank : 0));
    if (!vnort_parse_string_array(text, names, 5, selected, &count)) return;
    HOLDS(count <= kMaxOutputs);
    while (count-- > 0) HOLDS(selected[count] >= names[0] && selected[count] <= names[4]);
}

// What is written into an array of any capacity is the beginning of the whole text.
template <typename Write>
void cut(uint64_t lost, Write write) {
    static char whole[1 << 17];
    BoundedText all = {whole, sizeof whole, 0};
    write(all);
    for (uint64_t capacity = 24; capacity < 256 && capacity < all.length + 2; ++capacity) {
        char* room = static_cast<char*>(malloc(capacity));
        BoundedText text = {room, capacity, 0};
        write(text);
        HOLDS(text.length <= all.length && text.length < capacity);
        HOLDS(text.length + lost >= capacity - 1 || text.length == all.length);
        HOLDS(memcmp(room, whole, text.length) == 0 && room[text.length] == '\0');
        free(room);
    }
}

void fuzz_texts(const char* text, size_t size) {
    // A pair is never split, nor begun where fewer than three bytes are free.
    cut(2, [&](BoundedText& room) { vnort_json_escape_append(room, text); });
    cut(0, [&](BoundedText& room) {
        for (size_t at = 0; at < size; at += 5) vnort_appendf(room, "%.5s|%zu", text + at, at);
    });
    const int64_t dims[] = {INT64_MIN, 3};
    alignas(8) char elements[32] = {};
    memcpy(elements, text, size < sizeof elements ? size : sizeof elements);
    for (const ElementType& type : kElementTypes) {
        cut(0, [&](BoundedText& room) {
            const uint64_t count = type.size > 0 ? sizeof elements / type.size : 3;
            vnort_append_tensor_data_json(room, type.code, {dims, 2}, elements, count);
        });
    }
}

// strtod as glibc has it: MinGW's differs in what may stand behind a NaN, and gives -0 for a text that
// is no number.
double read_number_slowly(const char* text, const char** end) {
    const char* word = text + (*text == '-' || *text == '+');
    if (strncasecmp(word, "nan", 3) != 0) {
        char* behind = nullptr;
        const double number = strtod(text, &behind);
        *end = behind;
        return behind != text ? number : 0;
    }
    constexpr const char* kInside =
        "0123456789_abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const char* const bracket = word + 3;
    const size_t length = *bracket == '(' ? 1 + strspn(bracket + 1, kInside) : 0;
    *end = length > 0 && bracket[length] == ')' ? bracket + length + 1 : bracket;
    return copysign(NAN, *text == '-' ? -1 : 1);
}

// Reading is strtod's; blanks, which strtod passes over, are no part of a number.
void check_read(const char* text) {
    if (*text != '\0' && strchr(" \t\n\v\f\r", *text) != nullptr) return;
    const char* end = nullptr;
    const double expected = read_number_slowly(text, &end);
    const NumberRead got = vnort_read_number(text);
    // glibc 2.36 rounds some hexadecimal texts wrong near the least doubles.
    const bool is_judged = fabs(expected) >= 0x1p-1022 || strpbrk(text, "xX") == nullptr;
    HOLDS((same(got.value, expected) || !is_judged) && got.end == end);
}

// Writing is printf's, and what is written reads back as it was.
void check_written(double value) {
    const float single = static_cast<float>(value);
    char room[kNumberRoom];
    char expected[64];
    for (const int digits : {9, 17}) {
        char* const end =
            digits == 9 ? vnort_write_float32(room, single) : vnort_write_float64(room, value);
        snprintf(expected, sizeof expected, "%.*g", digits,
                 digits == 9 ? static_cast<double>(single) : value);
        const std::string got(room, end);
        HOLDS(got == (isnan(value) ? "nan" : expected));
        if (!isnan(value)) check_read(got.c_str());
    }
    uint64_t whole = 0;
    memcpy(&whole, &value, sizeof whole);
    whole >>= whole % 64;
    HOLDS(std::to_string(whole) == std::string(room, vnort_write_uint64(room, whole)));
    const int64_t negative = static_cast<int64_t>(0 - whole);
    HOLDS(std::to_string(negative) == std::string(room, vnort_write_int64(room, negative)));
}

// Half way between two doubles above one, in all its digits, and a little above.
void check_tie(uint64_t bits) {
    const double lower = std::bit_cast<double>(0x3ff0000000000000 | bits >> 12);
    char tie[64] = "";
    snprintf(tie, sizeof tie, "%.53f", lower - 1 + 0x1p-53);
    tie[0] = '1';
    const double upper = lower + 0x1p-52;
    HOLDS(same(vnort_read_number(tie).value, bits >> 12 & 1 ? upper : lower));
    HOLDS(same(vnort_read_number(strcat(tie, "1")).value, upper));
}

// A number in each line; and numbers made of the text's bits.
void fuzz_numbers(const char* text, size_t size) {
    for (const char* line = text; line != nullptr; line = strchr(line, '\n')) {
        line += *line == '\n';
        check_read(line);
        check_written(vnort_read_number(line).value);
    }
    std::mt19937_64 random(std::hash<std::string_view>()({text, size}));
    for (int i = 0; i < 8; ++i) {
        const uint64_t bits = random();
        check_tie(bits);
        check_written(std::bit_cast<double>(bits));
        check_written(static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(bits))));
        check_written(
            ldexp(static_cast<double>(bits >> bits % 64), -static_cast<int>(random() % 24)));
        const std::string digits = std::to_string(bits),
                          more = std::to_string(random() >> bits % 64);
        const std::string exponent = std::to_string(static_cast<int>(random() % 700) - 350);
        for (const std::string& number : {more + "." + digits, "-" + more + "e" + exponent + "]",
                                          more + "." + digits + digits + "E" + exponent,
                                          "0x" + digits + "." + more + "p" + exponent}) {
            check_read(number.c_str());
        }
    }
}

constexpr struct {
    const char* name;  // also of the target's folder in corpus/
    void (*run)(const char* text, size_t size);
} kTargets[] = {
    {"feed", fuzz_feed},
    {"scan", fuzz_scan},
    {"texts", fuzz_texts},
    {"numbers", fuzz_numbers},
};

}  // namespace

bool choose_target(const char* name) {
    for (const auto& target : kTargets) {
        if (strcmp(target.name, name) == 0) g_run = target.run;
    }
    return g_run != nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* name = getenv("VORNIC_FUZZ_TARGET");
    if (name == nullptr || !choose_target(name)) exit(2);
    return 0;
}

// The text is handed over where the memory that may be read ends behind it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static char* const end = end_of_pages(kLongestText + 1);
    if (size > kLongestText) return 0;
    char* text = end - size - 1;
    memcpy(text, data, size);
    text[size] = '\0';
    g_run(text, size);
    return 0;
}

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
#include "json/array_reader.h"
#include "json/feed.h"
#include "json/input_tensor.h"
#include "json/output_tensor.h"
#include "number/number_reader.h"
#include "number/number_writer.h"
#include "session/provider_options.h"
#include "support/platform.h"

using namespace vornic;

#define HOLDS(truth) ((truth) ? void() : stop(__LINE__, #truth))

namespace {

constexpr size_t kLongestText = 1 << 16;

void (*g_run)(const char* text, size_t size);  // the target, by the name of its folder in corpus/

[[noreturn]] void stop(int line, const char* truth) {
    fprintf(stderr, "targets.cpp:%d: not so: %s\n", line, truth);
    abort();
}

// Names, braces and keys are found where a plain search finds them, and no reader passes its limits.
void fuzz_json(const char* text, size_t) {
    static const Name names[] = {"x", "a{\"b", "data", "", "in_string", "output"};
    static ProviderOptions options;
    FeedItem items[6];
    find_feed_items(text, names, 6, items);
    for (uint64_t i = 0; i < 6; ++i) {
        const std::string name = std::string("\"") + names[i] + '"';
        const char* found = strstr(text, name.c_str());
        const char* brace = found != nullptr ? strchr(found + name.size(), '{') : nullptr;
        const auto key = [&](const char* word) { return brace ? strstr(brace, word) : nullptr; };
        HOLDS(items[i].name == found && items[i].brace == brace);
        HOLDS(items[i].dtype == key("\"dtype\"") && items[i].shape == key("\"shape\"") &&
              items[i].data == key("\"data\""));
        InputTensor entry;
        const bool is_parsed = vnort_parse_input_tensor_body(items[i], names[i], &entry);
        HOLDS(is_parsed ? entry.rank <= kMaxRank && entry.element_count <= kMaxElements
                        : entry.data == nullptr && entry.strings == nullptr && !entry.value);
        if (is_parsed) vnort_free_input_tensors(&entry, 1);
    }
    double numbers[kMaxRank];
    const char* selected[kMaxOutputs];
    uint64_t count = 0;
    HOLDS(!vnort_parse_provider_options(text, &options) || options.count <= kMaxProviderOptions);
    const bool has_numbers = vnort_parse_number_array_double(text, numbers, kMaxRank, &count);
    HOLDS(count <= (has_numbers ? kMaxRank : 0));
    if (!vnort_parse_string_array(text, names, 6, selected, &count)) return;
    HOLDS(count <= kMaxOutputs);
    while (count-- > 0) HOLDS(selected[count] >= names[0] && selected[count] <= names[5]);
}

// What is written into an array of any capacity is the beginning of the whole text, all of it but the
// bytes that may be lost where it does not fit.
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
        const uint64_t count = type.size > 0 ? sizeof elements / type.size : 3;
        cut(0, [&](BoundedText& room) {
            vnort_append_tensor_data_json(room, type.code, {dims, 2}, elements, count);
        });
    }
}

// Reading is strtod's; blanks, which strtod passes over, are no part of a number. What may stand behind a
// NaN differs between C libraries, and glibc 2.36 rounds some hexadecimal texts wrong near the least
// doubles.
void check_read(const char* text) {
    const bool is_signed = *text == '-' || *text == '+';
    if (*text == '\0' || strchr(" \t\n\v\f\r", *text) != nullptr) return;
    if (strncasecmp(text + is_signed, "nan", 3) == 0) return;
    char* end = nullptr;
    const double expected = strtod(text, &end);
    const NumberRead got = read_number(text);
    const bool is_judged = fabs(expected) >= 0x1p-1022 || strpbrk(text, "xX") == nullptr;
    const bool is_same = std::bit_cast<uint64_t>(got.value) == std::bit_cast<uint64_t>(expected);
    HOLDS(got.end == end && (end == text || !is_judged || is_same));
}

// Writing is printf's, and what is written reads back as it was.
void check_written(double value) {
    const float single = static_cast<float>(value);
    char room[kNumberCapacity], expected[64];
    for (const int digits : {9, 17}) {
        char* const end = digits == 9 ? write_float32(room, single) : write_float64(room, value);
        snprintf(expected, sizeof expected, "%.*g", digits, digits == 9 ? double{single} : value);
        HOLDS(std::string(room, end) == (isnan(value) ? "nan" : expected));
        if (!isnan(value)) check_read(expected);
    }
    const uint64_t bits = std::bit_cast<uint64_t>(value), whole = bits >> bits % 64;
    HOLDS(std::to_string(whole) == std::string(room, write_uint64(room, whole)));
    const int64_t negative = static_cast<int64_t>(0 - whole);
    HOLDS(std::to_string(negative) == std::string(room, write_int64(room, negative)));
}

// A number in each line; and numbers made of the text's bits.
void fuzz_numbers(const char* text, size_t size) {
    for (const char* line = text; line != nullptr; line = strchr(line, '\n')) {
        line += *line == '\n';
        check_read(line);
        check_written(read_number(line).value);
    }
    std::mt19937_64 random(std::hash<std::string_view>()({text, size}));
    for (int i = 0; i < 8; ++i) {
        const uint64_t bits = random();
        check_written(std::bit_cast<double>(bits));
        check_written(double{std::bit_cast<float>(static_cast<uint32_t>(bits))});
        check_written(ldexp(static_cast<double>(bits >> bits % 64), -static_cast<int>(bits % 24)));
        const std::string digits = std::to_string(bits),
                          more = std::to_string(random() >> bits % 64);
        const std::string exponent = std::to_string(static_cast<int>(random() % 700) - 350);
        check_read((more + "." + digits).c_str());
        check_read(("-" + more + "e" + exponent + "]").c_str());
        check_read((more + "." + digits + digits + "E" + exponent).c_str());
        check_read(("0x" + digits + "." + more + "p" + exponent).c_str());
    }
}

}  // namespace

bool choose_target(const std::string& name) {
    g_run = name == "json"      ? fuzz_json
            : name == "texts"   ? fuzz_texts
            : name == "numbers" ? fuzz_numbers
                                : nullptr;
    return g_run != nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* name = getenv("VORNIC_FUZZ_TARGET");
    HOLDS(name != nullptr && choose_target(name));
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

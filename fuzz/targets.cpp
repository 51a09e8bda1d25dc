#include "targets.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <bit>
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
#include "onnxruntime_vornic.h"
#include "session/provider_options.h"

#define HOLDS(truth)                          \
    do {                                      \
        if (!(truth)) stop(__LINE__, #truth); \
    } while (false)

const char* g_fuzz_models;

namespace {

[[noreturn]] void stop(int line, const char* truth) {
    fprintf(stderr, "targets.cpp:%d: not so: %s\n", line, truth);
    abort();
}

bool same(double a, double b) {
    return isnan(a) ? isnan(b) && signbit(a) == signbit(b)
                    : std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
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

constexpr const char* kBlanks = " \t\n\r";

// How many numbers strtod reads from the first array of a text; -1 when it is no array of numbers.
int64_t read_slowly(const char* text, double* numbers, int64_t capacity) {
    const char* at = text != nullptr ? strchr(text, '[') : nullptr;
    if (at == nullptr) return -1;
    for (int64_t count = 0;;) {
        ++at;
        at += strspn(at, kBlanks);
        if (*at == ']') return count;
        const char* end = nullptr;
        const double number = read_number_slowly(at, &end);
        if (count == capacity || end == at || *at == '\v' || *at == '\f') return -1;
        numbers[count++] = number;
        at = end + strspn(end, kBlanks);
        if (*at == ']') return count;
        if (*at != ',') return -1;
    }
}

std::string quoted(const char* text) {
    std::string made = "\"";
    for (; *text != '\0'; ++text) {
        if (*text == '"' || *text == '\\') made += '\\';
        made += *text;
    }
    return made + '"';
}

// What is written of an entry is read as the same elements.
void check_entry(const InputTensor& entry) {
    HOLDS(entry.rank <= kMaxRank && entry.element_count <= kMaxElements);
    static char text[1 << 22];
    static char again[sizeof text];
    const auto write = [](char* room, const InputTensor& from) {
        BoundedText writer = {room, sizeof text, 0};
        vnort_append_tensor_data_json(writer, from.element_type, {from.shape, from.rank}, from.data,
                                      from.element_count);
    };
    if (entry.element_type == kString) return;
    write(text, entry);
    // true and false are not read, and whole numbers past 2^53 are rounded.
    if (strstr(text, "\"bool\"") != nullptr || strstr(text, "int64\"") != nullptr) return;
    InputTensor reread;
    HOLDS(vnort_parse_input_tensor_body(vnort_find_feed_item(text), "x", &reread));
    HOLDS(reread.byte_size == entry.byte_size);
    write(again, reread);
    HOLDS(strcmp(text, again) == 0);
    vnort_free_input_tensors(&reread, 1);
}

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
            check_entry(entry);
            vnort_free_input_tensors(&entry, 1);
        } else {
            HOLDS(entry.data == nullptr && entry.strings == nullptr && entry.value == nullptr);
        }
    }
}

// The inputs that a text leaves out, each of one element.
std::string other_inputs() {
    std::string made;
    for (const ElementType& type : kElementTypes) {
        const std::string name = type.name;
        made += ",\"in_" + name + "\":{\"dtype\":\"" + name + "\",\"shape\":[1],\"data\":[" +
                (type.code == kString ? "\"s\"" : "1") + "]}";
    }
    return made + '}';
}

RunResult* run_json(const char* names, const std::string& feed) {
    static InferenceSession* session = onnxruntime_vn_create_session(
        (std::string(g_fuzz_models) + "/types.onnx").c_str(), nullptr);
    HOLDS(session != nullptr);
    return onnxruntime_vn_run_json(session, names, feed.c_str());
}

// The first line names the outputs, the rest is the beginning of a feed. A result that has none of
// the types that cannot be fed again is fed again and must come back as it was.
void fuzz_run(const char* text, size_t) {
    static const std::string others = other_inputs();
    const char* line_end = strchr(text, '\n');
    if (line_end == nullptr) return;
    const std::string names(text, line_end);
    RunResult* result = run_json(names.c_str(), line_end + 1 + others);
    if (result == nullptr) return;
    HOLDS(g_error[0] == '\0');
    std::string json = onnxruntime_vn_result_json(result);
    onnxruntime_vn_release_result(result);
    HOLDS(json.size() < kResultCapacity && json.rfind("{\"outputs\":{", 0) == 0);
    if (json.size() == kResultCapacity - 1) return;
    HOLDS(json.size() > 12 && json.compare(json.size() - 2, 2, "}}") == 0);
    for (const char* word :
         {"bool\"", "int64\"", "out_string\":{\"dtype\":\"string\",\"shape\":[0"}) {
        if (json.find(word) != std::string::npos) return;
    }
    if (strstr(line_end, "out_") != nullptr) return;
    std::string feed = json;
    for (size_t at = 0; (at = feed.find("\"out_", at)) != std::string::npos;)
        feed.replace(at, 4, "\"in");
    result = run_json(names.c_str(), feed.substr(0, feed.size() - 1) + others);
    HOLDS(result != nullptr && json == onnxruntime_vn_result_json(result));
    onnxruntime_vn_release_result(result);
}

void fuzz_options(const char* text, size_t) {
    static ProviderOptions list, again;
    if (!vnort_parse_provider_options(text, &list)) return;
    HOLDS(list.count <= kMaxProviderOptions);
    std::string object = "{";
    for (uint64_t i = 0; i < list.count; ++i) {
        HOLDS(memchr(list.keys[i], '\0', sizeof list.keys[i]) != nullptr);
        HOLDS(memchr(list.values[i], '\0', sizeof list.values[i]) != nullptr);
        object += quoted(list.keys[i]) + ':' + quoted(list.values[i]) + ',';
    }
    HOLDS(vnort_parse_provider_options((object + '}').c_str(), &again) &&
          again.count == list.count);
    for (uint64_t i = 0; i < list.count; ++i) {
        HOLDS(strcmp(list.keys[i], again.keys[i]) == 0);
        HOLDS(strcmp(list.values[i], again.values[i]) == 0);
    }
}

void check_shape(const char* text) {
    double expected[kMaxRank];
    double got[kMaxRank];
    uint64_t rank = 0;
    const int64_t count = read_slowly(text, expected, kMaxRank);
    HOLDS(vnort_parse_number_array_double(text, got, kMaxRank, &rank) == (count >= 0));
    HOLDS(int64_t(rank) == (count > 0 ? count : 0));
    double product = rank > 0;  // exact as long as it matters
    for (uint64_t i = 0; i < rank; ++i) {
        HOLDS(same(expected[i], got[i]));
        product *= got[i] >= 1 ? trunc(got[i]) : 0;
    }
    if (product > 1e5 && product <= INT32_MAX) return;  // large for nothing
    FloatTensor* tensor = onnxruntime_vn_tensor_zeros_f32(text);
    HOLDS((tensor != nullptr) == (product >= 1 && product <= 1e5));
    onnxruntime_vn_release_tensor(tensor);
}

void fuzz_arrays(const char* text, size_t) {
    static const Name names[] = {"y", "a\"b\\c", "", "output", "output2"};
    constexpr uint64_t kCount = sizeof names / sizeof *names;
    check_shape(text);
    const char* selected[kMaxOutputs];
    const char* again[kMaxOutputs];
    uint64_t count = 0;
    uint64_t count_again = 0;
    if (!vnort_parse_string_array(text, names, kCount, selected, &count)) return;
    HOLDS(count <= kMaxOutputs);
    std::string array = "[ ";
    for (uint64_t i = 0; i < count; ++i) {
        HOLDS(selected[i] >= names[0] && selected[i] <= names[kCount - 1]);
        array += quoted(selected[i]) + ',';
    }
    HOLDS(vnort_parse_string_array((array + ']').c_str(), names, kCount, again, &count_again));
    HOLDS(count == count_again && memcmp(selected, again, count * sizeof *again) == 0);
}

// Plays the text as appends into an array of this capacity, and on a string as the rules have it.
void build_text(const char* text, size_t size, size_t capacity) {
    char* room = static_cast<char*>(malloc(capacity));
    BoundedText writer = {room, capacity, 0};
    std::string twin;
    const auto put = [&](const std::string& piece) {
        twin += piece.substr(0, capacity - 1 - twin.size());
    };
    for (size_t at = 0; at < size;) {
        const int kind = text[at] & 3;
        const size_t wanted = static_cast<uint8_t>(text[at]) >> 2;
        ++at;
        const std::string piece(text + at, wanted < size - at ? wanted : size - at);
        at += piece.size();
        const std::string shown = piece.c_str();
        if (kind == 0) {
            vnort_append(writer, piece);
            put(piece);
        } else if (kind == 1) {
            vnort_appendf(writer, "%s|%d", piece.c_str(), static_cast<int>(at));
            put(shown + '|' + std::to_string(at));
        } else {
            const size_t most = kind == 2 ? shown.size() : shown.size() / 2;
            vnort_json_escape_append(writer, piece.c_str(), most);
            for (size_t i = 0; i < most && capacity - twin.size() >= 3; ++i) {
                put(shown[i] == '"' || shown[i] == '\\' ? std::string("\\") + shown[i]
                                                        : std::string(1, shown[i]));
            }
        }
        HOLDS(writer.length == twin.size() && memcmp(room, twin.c_str(), twin.size() + 1) == 0);
    }
    free(room);
}

// The elements written into an array of any capacity are the beginning of the whole text.
void cut_elements(const ElementType& type, const void* elements, uint64_t count) {
    static char whole[1 << 12];
    const int64_t dims[] = {INT64_MIN, static_cast<int64_t>(count)};
    BoundedText writer = {whole, sizeof whole, 0};
    vnort_append_tensor_data_json(writer, type.code, {dims, 2}, elements, count);
    for (size_t capacity = 24; capacity < writer.length + 2; ++capacity) {
        char* room = static_cast<char*>(malloc(capacity));
        BoundedText cut = {room, capacity, 0};
        vnort_append_tensor_data_json(cut, type.code, {dims, 2}, elements, count);
        HOLDS(cut.length == (writer.length < capacity ? writer.length : capacity - 1));
        HOLDS(memcmp(room, whole, cut.length) == 0 && room[cut.length] == '\0');
        free(room);
    }
}

void fuzz_texts(const char* text, size_t size) {
    for (size_t capacity = 1; capacity < 70; ++capacity) build_text(text, size, capacity);
    alignas(8) char elements[32] = {};
    memcpy(elements, text, size < sizeof elements ? size : sizeof elements);
    constexpr size_t kTypes = sizeof kElementTypes / sizeof *kElementTypes;
    const ElementType& type = kElementTypes[static_cast<uint8_t>(text[0]) % kTypes];
    if (type.size > 0) cut_elements(type, elements, sizeof elements / type.size);
}

void check_written(const char* text, const char* end, int digits, double value) {
    char expected[64];
    snprintf(expected, sizeof expected, "%.*g", digits, value);
    const std::string got(text, end);
    HOLDS(got == (isnan(value) ? "nan" : expected));
    HOLDS(isnan(value) || same(vnort_read_number(got.c_str()).value, strtod(expected, nullptr)));
}

void fuzz_numbers(const char* text, size_t size) {
    if (strchr(" \t\n\v\f\r", text[0]) == nullptr || text[0] == '\0') {
        const char* end = nullptr;
        const double expected = read_number_slowly(text, &end);
        const NumberRead got = vnort_read_number(text);
        HOLDS(same(got.value, expected) && got.end == end);
    }
    char room[kNumberRoom];
    double number = 0;
    float single = 0;
    uint64_t whole = 0;
    memcpy(&number, text, size < sizeof number ? size : sizeof number);
    memcpy(&single, text, size < sizeof single ? size : sizeof single);
    memcpy(&whole, text, size < sizeof whole ? size : sizeof whole);
    check_written(room, vnort_write_float64(room, number), 17, number);
    check_written(room, vnort_write_float32(room, single), 9, static_cast<double>(single));
    HOLDS(std::to_string(whole) == std::string(room, vnort_write_uint64(room, whole)));
    const int64_t negative = static_cast<int64_t>(whole);
    HOLDS(std::to_string(negative) == std::string(room, vnort_write_int64(room, negative)));
}

}  // namespace

const FuzzTarget kFuzzTargets[kFuzzTargetCount] = {
    {"feed", fuzz_feed},     {"run", fuzz_run},     {"options", fuzz_options},
    {"arrays", fuzz_arrays}, {"texts", fuzz_texts}, {"numbers", fuzz_numbers},
};

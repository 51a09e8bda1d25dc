// The fuzz targets. Each takes any text of up to kLongestText bytes and aborts with a report if
// the library breaks a guarantee.
#include "core/bounded_text.h"
#include "core/element_type.h"
#include "json/array_reader.h"
#include "json/feed.h"
#include "json/input_tensor.h"
#include "json/output_tensor.h"
#include "number_checks.h"
#include "session/provider_options.h"
#include "support/platform.h"

namespace {

constexpr size_t kReadableBytes = 1 << 16;
constexpr size_t kLongestText = kReadableBytes - 1;
constexpr uint64_t kNames = 6;
constexpr Name kSearched[kNames] = {"x", "a{\"b", "data", "", "in_string", "output"};

void (*g_target)(const char* text, size_t size);

// A name, its brace and its keys must be where a plain search finds them.
void check_feed_item(const char* text, const char* name, const FeedItem& item) {
    const auto check = [&](const char* part, const char* expected, const char* got) {
        if (got == expected) return;
        const auto offset = [&](const char* at) { return at ? std::to_string(at - text) : "none"; };
        fail(printed("offset of the %s of input '%s'", part, name), escaped(text), offset(expected),
             offset(got));
    };
    const std::string quoted_name = std::string("\"") + name + '"';
    const char* const found = strstr(text, quoted_name.c_str());
    const char* const brace = found != nullptr ? strchr(found + quoted_name.size(), '{') : nullptr;
    const auto key = [&](const char* word) { return brace ? strstr(brace, word) : nullptr; };
    check("name", found, item.name);
    check("brace", brace, item.brace);
    check("dtype", key("\"dtype\""), item.dtype);
    check("shape", key("\"shape\""), item.shape);
    check("data", key("\"data\""), item.data);
}

void check_tensor(const char* text, const FeedItem& item, const char* name) {
    InputTensor entry;
    if (vnort_parse_input_tensor_body(item, name, &entry)) {
        check_range("rank of a tensor", text, 0, kMaxRank, entry.rank);
        check_range("elements of a tensor", text, 0, kMaxElements, entry.element_count);
        free_elements(entry);
    } else {
        const bool owns = entry.data != nullptr || entry.strings != nullptr || entry.value;
        check_range("whether a rejected tensor owns anything", text, 0, 0, owns);
    }
}

// No reader may exceed its limits.
void fuzz_json(const char* text, size_t) {
    FeedItem items[kNames];
    find_feed_items(text, kSearched, kNames, items);
    for (uint64_t i = 0; i < kNames; ++i) {
        check_feed_item(text, kSearched[i], items[i]);
        check_tensor(text, items[i], kSearched[i]);
    }
    static ProviderOptions options;
    if (vnort_parse_provider_options(text, &options)) {
        check_range("provider options", text, 0, kMaxProviderOptions, options.count);
    }
    double numbers[kMaxRank];
    uint64_t count = 0;
    const bool has_numbers = vnort_parse_number_array_double(text, numbers, kMaxRank, &count);
    check_range("numbers of an array", text, 0, has_numbers ? kMaxRank : 0, count);
    const char* selected[kMaxOutputs];
    if (!vnort_parse_string_array(text, kSearched, kNames, selected, &count)) return;
    check_range("selected outputs", text, 0, kMaxOutputs, count);
    for (uint64_t i = 0; i < count; ++i) {
        const auto offset = static_cast<uint64_t>(selected[i] - kSearched[0]);
        check_range("offset of a selected output's name", text, 0, sizeof kSearched - 1, offset);
    }
}

// The text written into a buffer of any capacity must be a prefix of the whole text. It may leave
// up to `unused` bytes of the buffer free.
template <typename Write>
void check_cut(const char* source, uint64_t unused, Write write) {
    static char whole[1 << 17];
    BoundedText all = {whole, sizeof whole, 0};
    write(all);
    for (uint64_t capacity = 24; capacity < 256 && capacity < all.length + 2; ++capacity) {
        char* const buffer = static_cast<char*>(malloc(capacity));
        BoundedText text = {buffer, capacity, 0};
        write(text);
        check_range("length of a cut text", source, std::min(all.length, capacity - 1 - unused),
                    std::min(all.length, capacity - 1), text.length);
        const std::string_view expected(whole, text.length);
        const std::string_view got(buffer, strnlen(buffer, capacity));
        if (got != expected) fail("cut text", escaped(source), escaped(expected), escaped(got));
        free(buffer);
    }
}

void fuzz_texts(const char* text, size_t size) {
    // An escaped pair is never split, and none is started with fewer than three bytes free.
    check_cut(text, 2, [&](BoundedText& to) { vnort_json_escape_append(to, text); });
    check_cut(text, 0, [&](BoundedText& to) {
        for (size_t at = 0; at < size; at += 5) vnort_appendf(to, "%.5s|%zu", text + at, at);
    });
    const int64_t dims[] = {INT64_MIN, 3};
    alignas(8) char elements[32] = {};
    memcpy(elements, text, std::min(size, sizeof elements));
    for (const ElementType& type : kElementTypes) {
        const uint64_t count = type.size > 0 ? sizeof elements / type.size : 3;
        check_cut(text, 0, [&](BoundedText& to) {
            vnort_append_tensor_data_json(to, type.code, {dims, 2}, elements, count);
        });
    }
}

// Each line is a number.
void fuzz_numbers(const char* text, size_t) {
    for (const char* line = text; line != nullptr; line = strchr(line, '\n')) {
        line += *line == '\n';
        check_read(line);
        check_number(read_number(line).value);
    }
}

}  // namespace

bool choose_target(const std::string& name) {
    g_target = name == "json"      ? fuzz_json
               : name == "texts"   ? fuzz_texts
               : name == "numbers" ? fuzz_numbers
                                   : nullptr;
    return g_target != nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* name = getenv("VORNIC_FUZZ_TARGET");
    if (name != nullptr && choose_target(name)) return 0;
    fprintf(stderr, "VORNIC_FUZZ_TARGET must be json, texts or numbers\n");
    exit(2);
}

// The byte after the text's terminator cannot be read.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static char* const end = fenced_memory(kReadableBytes) + kReadableBytes;
    if (size > kLongestText) return 0;
    char* text = end - size - 1;
    memcpy(text, data, size);
    text[size] = '\0';
    g_target(text, size);
    return 0;
}

#include "json/array_reader.h"

#include <algorithm>

#include "json/number_block.h"
#include "number/number_reader.h"
#include "number/number_row.h"

namespace vornic {
namespace {

// The cursor of an array's reader.
struct ArrayPosition {
    const char* at;
    int64_t items = 0;                   // read so far
    AfterItem after = AfterItem::comma;  // the delimiter before `at`
};

// Reads numbers one by one until one has no comma after it, the slots are full, or `until`, if not null,
// is reached. Returns 0 with the reason in the last-error text; numbers read before still count.
template <typename Number>
int32_t read_each_number(ArrayPosition* position, const char* until, int64_t capacity,
                         Number* numbers, int64_t slots) {
    const char* at = position->at;
    AfterItem after = AfterItem::comma;
    const char* reason = nullptr;
    int64_t count = 0;
    for (; reason == nullptr && after == AfterItem::comma && count < slots &&
           (until == nullptr || at < until);
         ++count) {
        at = skip_blanks(at);
        if (*at == ']') {
            after = AfterItem::end;
            break;
        }
        if (position->items + count == capacity) {
            reason = "JSON numeric array is too large";
            break;
        }
        const NumberRead number = read_number(at);
        if (number.end == at) {
            reason = "failed to parse JSON numeric array";
            break;
        }
        numbers[count] = static_cast<Number>(number.value);
        at = number.end;
        after = after_item(&at);
        if (after == AfterItem::malformed) reason = "malformed JSON numeric array";
    }
    *position = {at, position->items + count, after};
    return reason == nullptr ? 1 : fail(reason);
}

// The index of the recorded name that equals name; name_count if none does.
uint64_t find_name(const char* name, const Name* names, uint64_t name_count) {
    uint64_t i = 0;
    while (i < name_count && strcmp(name, names[i]) != 0) ++i;
    return i;
}

int32_t select_names(const char* text, const Name* names, uint64_t name_count,
                     const char** selected, uint64_t* selected_count) {
    const char* at = strchr(text, '[');
    if (at == nullptr) return fail("output_names_json must be a JSON string array");
    ++at;
    uint64_t count = 0;
    AfterItem after = AfterItem::comma;
    while (after == AfterItem::comma) {
        at = skip_blanks(at);
        if (*at == ']') break;
        if (*at != '"') return fail("output_names_json contains a non-string item");
        ++at;
        Name name;
        size_t length = 0;
        if (!read_quoted(&at, name, sizeof name, &length, unescape_literally)) {
            return fail("unterminated string in output_names_json");
        }
        uint64_t found = find_name(name, names, name_count);
        if (found == name_count) {
            format_error("unknown output name '%s'", name);
            return 0;
        }
        if (count == kMaxOutputs) return fail("too many output names");
        selected[count++] = names[found];
        after = after_item(&at);
        if (after == AfterItem::malformed) return fail("malformed output_names_json");
    }
    *selected_count = count;
    return 1;
}

// Reads an array part by part. `take_part` is called with the index of the part's first number and a
// function that reads numbers into the slots passed to it and returns their count.
template <typename TakePart>
int32_t read_numbers_by_part(const char* text, const char* end, int64_t capacity, uint64_t* count,
                             TakePart take_part) {
    *count = 0;
    const char* bracket = text != nullptr ? strchr(text, '[') : nullptr;
    if (bracket == nullptr) return 0;
    ArrayPosition position{bracket + 1};
    // Where the fast path is tried from; null after a block that did not fill its slots.
    const bool has_blocks = end != nullptr && end - text > kBytesBefore;
    const char* block_from = has_blocks ? text + kBytesBefore : nullptr;
    int32_t is_good = 1;
    while (is_good && position.after == AfterItem::comma) {
        const int64_t first = position.items;
        take_part(first, [&](auto* numbers, int64_t slots) {
            if (block_from != nullptr && position.at >= block_from) {
                const int64_t most = std::min(slots, capacity - first);
                const auto read = read_number_block(position.at, end, numbers, most);
                position.at = read.at;
                position.items += read.count;
                if (read.count <= 0 || read.count <= most - 4) block_from = nullptr;
            } else {
                is_good = read_each_number(&position, block_from, capacity, numbers, slots);
            }
            return position.items - first;
        });
    }
    if (is_good) *count = static_cast<uint64_t>(position.items);
    return is_good;
}

}  // namespace

int32_t read_numbers(const char* text, const char* end, int64_t capacity, uint64_t* count,
                     NumberSink sink) {
    constexpr int64_t kSlots = 1024;
    double numbers[kSlots];
    return read_numbers_by_part(text, end, capacity, count, [&](int64_t first, auto read) {
        const int64_t taken = read(numbers, kSlots);
        sink.take(sink.to, first, numbers, taken);
    });
}

template <std::floating_point Number>
int32_t read_numbers(const char* text, const char* end, int64_t capacity, uint64_t* count,
                     Number* numbers) {
    return read_numbers_by_part(text, end, capacity, count, [&](int64_t first, auto read) {
        read(numbers + first, INT64_MAX);
    });
}
template int32_t read_numbers(const char*, const char*, int64_t, uint64_t*, float*);
template int32_t read_numbers(const char*, const char*, int64_t, uint64_t*, double*);

int32_t vnort_parse_number_array_double(const char* text, double* numbers, int64_t capacity,
                                        uint64_t* count) {
    if (count == nullptr) return 0;
    *count = 0;
    if (numbers == nullptr) return 0;
    return read_numbers(text, nullptr, capacity, count, numbers);
}

NumberArrayExtent number_array_extent(const char* text) {
    const char* from = text != nullptr ? strchr(text, '[') : nullptr;
    if (from == nullptr) return {0, nullptr};
    const CommaCount commas = count_commas(from);
    return {commas.count < kMaxElements ? commas.count + 1 : kMaxElements, commas.end};
}

int32_t vnort_parse_string_array(const char* text, const Name* names, uint64_t name_count,
                                 const char** selected, uint64_t* selected_count) {
    if (selected_count == nullptr) return 0;
    *selected_count = 0;
    if (selected == nullptr) return 0;
    if (text != nullptr && text[0] != '\0' && strcmp(text, "[]") != 0) {
        return select_names(text, names, name_count, selected, selected_count);
    }
    for (uint64_t i = 0; i < name_count; ++i) selected[i] = names[i];
    *selected_count = name_count;
    return 1;
}

}  // namespace vornic

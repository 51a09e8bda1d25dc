#include "json/array_reader.h"

namespace {

// The index of the recorded name that equals name, or name_count.
uint64_t find_name(const char* name, const Name* names, uint64_t name_count) {
    uint64_t i = 0;
    while (i < name_count && strcmp(name, names[i]) != 0) ++i;
    return i;
}

int32_t select_names(const char* text, const Name* names, uint64_t name_count,
                     const char** selected, uint64_t* selected_count) {
    const char* at = strchr(text, '[');
    if (at == nullptr) return vnort_fail("output_names_json must be a JSON string array");
    ++at;
    uint64_t count = 0;
    AfterItem after = AfterItem::comma;
    while (after == AfterItem::comma) {
        at = vnort_skip_blanks(at);
        if (*at == ']') break;
        if (*at != '"') return vnort_fail("output_names_json contains a non-string item");
        ++at;
        Name name;
        size_t length = 0;
        if (!vnort_read_quoted(&at, name, sizeof name, &length, vnort_literally)) {
            return vnort_fail("unterminated string in output_names_json");
        }
        uint64_t found = find_name(name, names, name_count);
        if (found == name_count) {
            vnort_format_error("unknown output name '%s'", name);
            return 0;
        }
        if (count == kMaxOutputs) return vnort_fail("too many output names");
        selected[count++] = names[found];
        after = vnort_after_item(&at);
        if (after == AfterItem::malformed) return vnort_fail("malformed output_names_json");
    }
    *selected_count = count;
    return 1;
}

}  // namespace

int32_t vnort_parse_number_array_double(const char* text, double* numbers, int64_t capacity,
                                        uint64_t* count) {
    if (count == nullptr) return 0;
    *count = 0;
    if (numbers == nullptr) return 0;
    return vnort_read_numbers(text, nullptr, capacity, count,
                              [&](int64_t i, double number) { numbers[i] = number; });
}

NumberArrayExtent vnort_number_array_extent(const char* text) {
    const char* from = text != nullptr ? strchr(text, '[') : nullptr;
    if (from == nullptr) return {0, nullptr};
    const CommaCount commas = vnort_count_commas(from);
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

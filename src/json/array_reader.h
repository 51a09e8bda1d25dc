// Scanners for flat JSON arrays. Each takes the array that begins at the first '[' of a text and
// ends at its ']'; what stands before and behind is ignored.
#pragma once

#include <stdint.h>
#include <string.h>

#include "core/last_error.h"
#include "core/limits.h"
#include "json/number_reader.h"
#include "json/scan.h"

// What stands behind an item of an array.
enum class AfterItem { comma, end, malformed };

// Skips blanks and takes a ',' or ']' if one follows.
inline AfterItem vnort_after_item(const char** at) {
    const char* from = **at == ',' ? *at : vnort_skip_blanks(*at);
    if (*from != ',' && *from != ']') return AfterItem::malformed;
    *at = from + 1;
    return *from == ',' ? AfterItem::comma : AfterItem::end;
}

// Reads an array of numbers and hands each, with its index, to store. 1 with the count set; 0 with
// a count of 0 and, unless the text is null or has no '[', the reason in the last-error text.
template <typename Store>
int32_t vnort_read_numbers(const char* text, int64_t capacity, uint64_t* count, Store store) {
    *count = 0;
    const char* at = text != nullptr ? strchr(text, '[') : nullptr;
    if (at == nullptr) return 0;
    ++at;
    int64_t items = 0;
    AfterItem after = AfterItem::comma;
    while (after == AfterItem::comma) {
        at = vnort_skip_blanks(at);
        if (*at == ']') break;
        if (items == capacity) return vnort_fail("JSON numeric array is too large");
        NumberRead number = vnort_read_number(at);
        if (number.end == at) return vnort_fail("failed to parse JSON numeric array");
        store(items++, number.value);
        at = number.end;
        after = vnort_after_item(&at);
        if (after == AfterItem::malformed) return vnort_fail("malformed JSON numeric array");
    }
    *count = static_cast<uint64_t>(items);
    return 1;
}

// The same into an array of doubles; a null array or count fails like a null text.
int32_t vnort_parse_number_array_double(const char* text, double* numbers, int64_t capacity,
                                        uint64_t* count);

// How many numbers the array in a text can hold at the most, judged by its commas: 1 to 65,536; 0
// when there is no array. An array that can be read holds as many, or one less.
uint64_t vnort_number_array_bound(const char* text);

// Reads an array of output names and points `selected` (room for 16) at the recorded names that
// they equal. A text that is null, empty or exactly [] selects all names in order. 1 with the count
// set; 0 with a count of 0 and the reason in the last-error text.
int32_t vnort_parse_string_array(const char* text, const Name* names, uint64_t name_count,
                                 const char** selected, uint64_t* selected_count);

// Scanners for flat JSON arrays. Each takes the array that begins at the first '[' of a text and
// ends at its ']'; what stands before and behind is ignored.
#pragma once

#include <stdint.h>
#include <string.h>

#include "core/last_error.h"
#include "core/limits.h"
#include "json/scan.h"

namespace vornic {

// What stands behind an item of an array.
enum class AfterItem { comma, end, malformed };

// Skips blanks and takes a ',' or ']' if one follows.
inline AfterItem after_item(const char** at) {
    const char* from = *at;
    if (*from != ',') [[unlikely]] {
        from = skip_blanks(from);
        if (*from != ',' && *from != ']') return AfterItem::malformed;
    }
    *at = from + 1;
    return *from == ',' ? AfterItem::comma : AfterItem::end;
}

// Where the numbers of an array go: some at a time, in order, the first one's index given.
struct NumberSink {
    void (*take)(void* to, int64_t first, const double* numbers, int64_t count);
    void* to;
};

// Reads an array of numbers and hands them over. `end` is where the array ends, or null when that is
// not known. 1 with the count set; 0 with a count of 0 and, unless the text is null or has no '[', the
// reason in the last-error text.
int32_t read_numbers(const char* text, const char* end, int64_t capacity, uint64_t* count,
                     NumberSink sink);

// The same into an array, of doubles or of the floats that they convert to.
int32_t read_numbers(const char* text, const char* end, int64_t capacity, uint64_t* count,
                     float* numbers);
int32_t read_numbers(const char* text, const char* end, int64_t capacity, uint64_t* count,
                     double* numbers);

// The same into an array of doubles; a null array or count fails like a null text.
int32_t vnort_parse_number_array_double(const char* text, double* numbers, int64_t capacity,
                                        uint64_t* count);

// What the commas of the array in a text tell.
struct NumberArrayExtent {
    uint64_t bound;  // 1 to 65,536; one that can be read holds as many, or one less; 0 for no array
    const char* end;  // of the array: its ']' or the terminator
};
NumberArrayExtent number_array_extent(const char* text);

// Reads an array of output names and points `selected` (room for 16) at the recorded names that
// they equal. A text that is null, empty or exactly [] selects all names in order. 1 with the count
// set; 0 with a count of 0 and the reason in the last-error text.
int32_t vnort_parse_string_array(const char* text, const Name* names, uint64_t name_count,
                                 const char** selected, uint64_t* selected_count);

}  // namespace vornic

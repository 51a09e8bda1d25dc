// Scanners for flat JSON arrays. An array starts at the first '[' of a text and ends at the ']' after it; the
// text before and after it is ignored.
#pragma once

#include <stdint.h>
#include <string.h>

#include <concepts>

#include "core/last_error.h"
#include "core/limits.h"
#include "json/scan.h"

namespace vornic {

// The delimiter after an item of an array.
enum class AfterItem { comma, end, malformed };

// Skips blanks and consumes a ',' or ']' if one follows.
inline AfterItem after_item(const char** at) {
    const char* from = *at;
    if (*from != ',') [[unlikely]] {
        from = skip_blanks(from);
        if (*from != ',' && *from != ']') return AfterItem::malformed;
    }
    *at = from + 1;
    return *from == ',' ? AfterItem::comma : AfterItem::end;
}

// Receives the numbers of an array in order, in batches, each with the index of its first number.
struct NumberSink {
    void (*take)(void* to, int64_t first, const double* numbers, int64_t count);
    void* to;
};

// Reads an array of numbers into a sink. `end` is the end of the array, or null if it is not known.
// Returns 1 and sets the count; or 0 with a count of 0 and, unless the text is null or has no '[', the
// reason in the last-error text.
int32_t read_numbers(const char* text, const char* end, int64_t capacity, uint64_t* count,
                     NumberSink sink);

// The same into an array of doubles, or of the floats that these convert to.
template <std::floating_point Number>
int32_t read_numbers(const char* text, const char* end, int64_t capacity, uint64_t* count,
                     Number* numbers);

// The same into an array of doubles; a null array or count fails like a null text.
int32_t vnort_parse_number_array_double(const char* text, double* numbers, int64_t capacity,
                                        uint64_t* count);

// The extent of the array in a text, from counting its commas.
struct NumberArrayExtent {
    uint64_t bound;   // 1 to 65,536: the count of a readable array, or one more; 0 for no array
    const char* end;  // of the array: its ']' or the terminator
};
NumberArrayExtent number_array_extent(const char* text);

// Reads an array of output names and points `selected` (16 slots) at the recorded names equal to them. A
// text that is null, empty or exactly [] selects all names in order. Returns 1 and sets the count; or 0
// with a count of 0 and the reason in the last-error text.
int32_t vnort_parse_string_array(const char* text, const Name* names, uint64_t name_count,
                                 const char** selected, uint64_t* selected_count);

}  // namespace vornic

// Scanners for flat JSON arrays. Each takes the array that begins at the first '[' of a text and
// ends at its ']'; what stands before and behind is ignored.
#pragma once

#include <stdint.h>

#include "core/limits.h"
#include "json/scan.h"

// What stands behind an item of an array.
enum class AfterItem { comma, end, malformed };

// Skips blanks and takes a ',' or ']' if one follows.
AfterItem vnort_after_item(const char** at);

// Reads an array of numbers. 1 with the count set; 0 with a count of 0 and, unless the text is null
// or has no '[', the reason in the last-error text.
int32_t vnort_parse_number_array_double(const char* text, double* numbers, int64_t capacity,
                                        uint64_t* count);

// How many numbers the array in a text can hold at the most, judged by its commas: 1 to 65,536; 0
// when there is no array.
uint64_t vnort_number_array_bound(const char* text);

// Reads an array of output names and points `selected` (room for 16) at the recorded names that
// they equal. A text that is null, empty or exactly [] selects all names in order. 1 with the count
// set; 0 with a count of 0 and the reason in the last-error text.
int32_t vnort_parse_string_array(const char* text, const Name* names, uint64_t name_count,
                                 const char** selected, uint64_t* selected_count);

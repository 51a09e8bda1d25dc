// Scanners for flat JSON arrays. Each takes the array that begins at the first '[' of a text and
// ends at its ']'; what stands before and behind is ignored.
#pragma once

#include <stdint.h>
#include <string.h>

#include "core/last_error.h"
#include "core/limits.h"
#include "json/number_block.h"
#include "json/number_reader.h"
#include "json/scan.h"

// What stands behind an item of an array.
enum class AfterItem { comma, end, malformed };

// Skips blanks and takes a ',' or ']' if one follows.
inline AfterItem vnort_after_item(const char** at) {
    const char* from = *at;
    if (*from != ',') [[unlikely]] {
        from = vnort_skip_blanks(from);
        if (*from != ',' && *from != ']') return AfterItem::malformed;
    }
    *at = from + 1;
    return *from == ',' ? AfterItem::comma : AfterItem::end;
}

// How far the reading of an array has come.
struct ArrayPosition {
    const char* at;
    int64_t items = 0;
    AfterItem after = AfterItem::comma;  // what was behind the last item
};

// Reads numbers one by one, as long as commas are behind them and `until` is ahead. 0 with the reason
// in the last-error text. A function of its own, so that all it needs stays in registers.
template <typename Store>
[[gnu::noinline]] int32_t vnort_read_each_number(ArrayPosition* position, const char* until,
                                                 int64_t capacity, Store store) {
    const char* at = position->at;
    int64_t items = position->items;
    AfterItem after = AfterItem::comma;
    while (after == AfterItem::comma && at < until) {
        at = vnort_skip_blanks(at);
        if (*at == ']') {
            after = AfterItem::end;
            break;
        }
        if (items == capacity) return vnort_fail("JSON numeric array is too large");
        NumberRead number = vnort_read_number(at);
        if (number.end == at) return vnort_fail("failed to parse JSON numeric array");
        store(items++, number.value);
        at = number.end;
        after = vnort_after_item(&at);
        if (after == AfterItem::malformed) return vnort_fail("malformed JSON numeric array");
    }
    *position = {at, items, after};
    return 1;
}

// Reads an array of numbers and hands each, with its index, to store. `end` is where the array ends,
// or null when that is not known. 1 with the count set; 0 with a count of 0 and, unless the text is
// null or has no '[', the reason in the last-error text.
template <typename Store>
int32_t vnort_read_numbers(const char* text, const char* end, int64_t capacity, uint64_t* count,
                           Store store) {
    *count = 0;
    const char* bracket = text != nullptr ? strchr(text, '[') : nullptr;
    if (bracket == nullptr) return 0;
    ArrayPosition position{bracket + 1};
    NumberBlocks blocks(text, end);
    while (position.after == AfterItem::comma) {
        if (!vnort_read_each_number(&position, blocks.next(), capacity, store)) return 0;
        while (position.after == AfterItem::comma && position.at >= blocks.next()) {
            const int64_t read = blocks.read(&position.at, capacity - position.items);
#pragma GCC unroll 4
            for (int64_t i = 0; i < read; ++i) store(position.items + i, blocks[i]);
            position.items += read;
        }
    }
    *count = static_cast<uint64_t>(position.items);
    return 1;
}

// The same into an array of doubles; a null array or count fails like a null text.
int32_t vnort_parse_number_array_double(const char* text, double* numbers, int64_t capacity,
                                        uint64_t* count);

// What the commas of the array in a text tell.
struct NumberArrayExtent {
    uint64_t bound;  // 1 to 65,536; one that can be read holds as many, or one less; 0 for no array
    const char* end;  // of the array: its ']' or the terminator
};
NumberArrayExtent vnort_number_array_extent(const char* text);

// Reads an array of output names and points `selected` (room for 16) at the recorded names that
// they equal. A text that is null, empty or exactly [] selects all names in order. 1 with the count
// set; 0 with a count of 0 and the reason in the last-error text.
int32_t vnort_parse_string_array(const char* text, const Name* names, uint64_t name_count,
                                 const char** selected, uint64_t* selected_count);

// Text in a fixed array. Writers append piece after piece without checking the space left: what
// does not fit is cut, silently, and the text always ends with a terminator inside its array.
#pragma once

#include <stdint.h>
#include <string.h>

#include <string_view>

namespace vornic {

struct BoundedText {
    char* buffer;
    uint64_t capacity;  // the array's size, terminator included
    uint64_t length;    // of the text; a writer starts at 0 and never changes it itself
};

// Appends as much of the piece as fits; a cut text is exactly full.
inline void vnort_append(BoundedText& text, std::string_view piece) {
    if (text.length >= text.capacity) return;
    uint64_t space = text.capacity - text.length;
    uint64_t taken = piece.size() < space ? piece.size() : space - 1;
    memcpy(text.buffer + text.length, piece.data(), taken);
    text.length += taken;
    text.buffer[text.length] = '\0';
}

// Appends printed text, cut in the same way.
void vnort_appendf(BoundedText& text, const char* format, ...)
    __attribute__((format(gnu_printf, 2, 3)));

// Appends the inside of a JSON string: a backslash before every double quote and backslash, all
// other bytes as they are. Takes source up to its terminator, at most `most` bytes; a null source
// appends nothing. Stops as soon as fewer than three bytes are free, so that a pair is never split.
void vnort_json_escape_append(BoundedText& text, const char* source, uint64_t most = UINT64_MAX);

// A full text cannot change any more.
inline bool is_full(const BoundedText& text) { return text.length + 1 >= text.capacity; }

// Copies a text into an array inside a record, cut to it; null counts as "".
template <size_t capacity>
void copy_text(char (&to)[capacity], const char* from) {
    size_t length = from != nullptr ? strnlen(from, capacity - 1) : 0;
    if (length > 0) memcpy(to, from, length);
    to[length] = '\0';
}

}  // namespace vornic

// Text in an array of fixed size. Callers append without checking the space left: text that does not
// fit is cut silently, and the terminator is always inside the array.
#pragma once

#include <stdint.h>
#include <string.h>

#include <string_view>

namespace vornic {

struct BoundedText {
    char* buffer;
    uint64_t capacity;  // size of the array, including the terminator
    uint64_t length;    // starts at 0; changed by the functions below only
};

// Appends as much of the piece as fits. A text that was cut is exactly full.
inline void vnort_append(BoundedText& text, std::string_view piece) {
    if (text.length >= text.capacity) return;
    uint64_t space = text.capacity - text.length;
    uint64_t taken = piece.size() < space ? piece.size() : space - 1;
    memcpy(text.buffer + text.length, piece.data(), taken);
    text.length += taken;
    text.buffer[text.length] = '\0';
}

// Appends formatted text, cut in the same way.
void vnort_appendf(BoundedText& text, const char* format, ...)
    __attribute__((format(gnu_printf, 2, 3)));

// Appends the content of a JSON string: double quotes and backslashes escaped by a backslash, all
// other bytes unchanged. Reads `source` up to its terminator, at most `most` bytes; null counts as
// empty. Stops once fewer than three bytes are free, so an escape sequence is never split.
void vnort_json_escape_append(BoundedText& text, const char* source, uint64_t most = UINT64_MAX);

// Whether nothing more fits.
inline bool is_full(const BoundedText& text) { return text.length + 1 >= text.capacity; }

// Copies a text into an array of a record, cut to its capacity; null counts as "".
template <size_t capacity>
void copy_text(char (&to)[capacity], const char* from) {
    size_t length = from != nullptr ? strnlen(from, capacity - 1) : 0;
    if (length > 0) memcpy(to, from, length);
    to[length] = '\0';
}

}  // namespace vornic

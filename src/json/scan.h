// Scanning primitives.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace vornic {

// Space, tab, line feed and carriage return are blanks; no other byte is.
inline bool is_blank(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

inline const char* skip_blanks(const char* at) {
    while (is_blank(*at)) ++at;
    return at;
}

// An unescape for read_quoted: takes the byte after a backslash literally.
inline char unescape_literally(char byte) { return byte; }

// Reads a string from after its opening quote to after its closing one. `unescape` maps the byte after a
// backslash to the byte meant. False if the string is not closed or does not fit with a terminator.
template <typename Unescape>
bool read_quoted(const char** at, char* to, size_t capacity, size_t* length, Unescape unescape) {
    const char* from = *at;
    size_t used = 0;
    for (; *from != '"'; ++from) {
        bool is_escaped = *from == '\\';
        if (is_escaped) ++from;
        if (*from == '\0' || used == capacity - 1) return false;
        to[used++] = is_escaped ? unescape(*from) : *from;
    }
    to[used] = '\0';
    *length = used;
    *at = from + 1;
    return true;
}

// Finds the next double quote, '{' or terminator.
const char* find_delimiter(const char* text);

// Counts the commas before the next ']' or terminator, which is the end.
struct CommaCount {
    uint64_t count;
    const char* end;
};
CommaCount count_commas(const char* text);

}  // namespace vornic

#include "core/bounded_text.h"

#include <stdarg.h>
#include <stdio.h>

void vornic::vnort_appendf(BoundedText& text, const char* format, ...) {
    if (text.length >= text.capacity) return;
    uint64_t space = text.capacity - text.length;
    va_list values;
    va_start(values, format);
    int printed = vsnprintf(text.buffer + text.length, space, format, values);
    va_end(values);
    if (printed <= 0) return;
    uint64_t wanted = static_cast<uint64_t>(printed);
    text.length = wanted < space ? text.length + wanted : text.capacity - 1;
    text.buffer[text.length] = '\0';
}

void vornic::vnort_json_escape_append(BoundedText& text, const char* source, uint64_t most) {
    if (source == nullptr || text.length >= text.capacity) return;
    uint64_t length = text.length;
    for (uint64_t i = 0; i < most && source[i] != '\0' && length + 2 < text.capacity; ++i) {
        if (source[i] == '"' || source[i] == '\\') text.buffer[length++] = '\\';
        text.buffer[length++] = source[i];
    }
    text.length = length;
    text.buffer[length] = '\0';
}

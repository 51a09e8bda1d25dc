#include "session/provider_options.h"

#include <string.h>

#include "core/last_error.h"
#include "json/scan.h"

using namespace vornic;

namespace {

// Copies the bytes up to a ',' or '}', without blanks. Stops early when the array is full; the
// caller then finds neither delimiter next.
void read_bare_word(const char** at, char* to, size_t capacity) {
    const char* from = *at;
    size_t length = 0;
    for (; *from != ',' && *from != '}' && *from != '\0' && length < capacity - 1; ++from) {
        if (!is_blank(*from)) to[length++] = *from;
    }
    to[length] = '\0';
    *at = from;
}

int32_t read_entry(const char** at, char* key, char* value) {
    if (**at != '"') return fail("provider option key must be a string");
    ++*at;
    size_t length = 0;
    if (!read_quoted(at, key, kNameCapacity, &length, unescape_literally)) {
        return fail("unterminated provider option key");
    }
    *at = skip_blanks(*at);
    if (**at != ':') return fail("provider option entry is missing ':'");
    *at = skip_blanks(*at + 1);
    if (**at != '"') {
        read_bare_word(at, value, kOptionValueCapacity);
        return 1;
    }
    ++*at;
    if (!read_quoted(at, value, kOptionValueCapacity, &length, unescape_literally)) {
        return fail("unterminated provider option value");
    }
    return 1;
}

}  // namespace

int32_t vornic::vnort_parse_provider_options(const char* text, ProviderOptions* list) {
    list->count = 0;
    text = skip_blanks(text);
    if (*text == '\0') return 1;
    const char* at = strchr(text, '{');
    if (at == nullptr) return fail("provider options must be a JSON object");
    at = skip_blanks(at + 1);
    while (*at != '}') {
        if (list->count == kMaxProviderOptions) return fail("too many provider option entries");
        if (!read_entry(&at, list->keys[list->count], list->values[list->count])) return 0;
        ++list->count;
        at = skip_blanks(at);
        if (*at == ',') {
            at = skip_blanks(at + 1);
        } else if (*at != '}') {
            return fail("malformed provider options JSON");
        }
    }
    return 1;
}

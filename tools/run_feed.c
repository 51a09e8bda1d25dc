#include "run_feed.h"

#include <errno.h>
#include <inttypes.h>
#include <stdlib.h>
#include <string.h>

#include "run_platform.h"

enum { MAX_NUMBERS = 65536, MAX_INPUTS = 16, MAX_NAME = 127, SHAPE_SIZE = 16 * 21 };

/* The size limit of a feed in bytes: a power of two, and twice what 16 inputs of 65,536 numbers
 * take. */
static const size_t MAX_FEED = (size_t)64 << 20;

/* Reads the string after a key such as "name":", up to its closing quote. Quotes inside strings are
 * escaped, so no key is found there. */
static const char* read_member(const char* at, const char* key, char* text, size_t size) {
    at = at != NULL ? strstr(at, key) : NULL;
    if (at == NULL) return NULL;
    for (at += strlen(key); *at != '\0' && *at != '"'; ++at) {
        if (*at == '\\' && at[1] != '\0') ++at;
        if (size > 1) {
            *text++ = *at;
            --size;
        }
    }
    *text = '\0';
    return *at != '\0' ? at : NULL;
}

const char* next_value(const char* description, Value* value) {
    static const char key[] = "\"shape\":[";
    const char* at = read_member(description, "\"name\":\"", value->name, sizeof value->name);
    at = read_member(at, "\"dtype\":\"", value->dtype, sizeof value->dtype);
    at = at != NULL ? strstr(at, key) : NULL;
    if (at == NULL) return NULL;
    value->rank = 0;
    for (at += strlen(key); *at != ']' && *at != '\0' && value->rank < 16;) {
        char* end;
        value->dims[value->rank++] = strtoll(at, &end, 10);
        at = end == at ? "" : *end == ',' ? end + 1 : end;
    }
    return at;
}

void write_shape(char* text, size_t size, const Value* value, int keep) {
    size_t length = (size_t)snprintf(text, size, "[");
    for (int i = 0; i < value->rank && length < size; ++i) {
        int64_t dim = value->dims[i] < 0 && !keep ? 1 : value->dims[i];
        length +=
            (size_t)snprintf(text + length, size - length, i > 0 ? ",%" PRId64 : "%" PRId64, dim);
    }
    if (length < size) snprintf(text + length, size - length, "]");
}

void name_values(const char* what, const char* description) {
    Value value;
    char shape[512];
    while ((description = next_value(description, &value)) != NULL) {
        write_shape(shape, sizeof shape, &value, 1);
        fprintf(stderr, "  %s \"%s\": %s %s\n", what, value.name, value.dtype, shape);
    }
}

/* Writes an input of zeros and returns its end. */
static char* write_zeros(char* at, const Value* value, const char** why) {
    char shape[SHAPE_SIZE];
    int64_t count = 1;
    for (int i = 0; i < value->rank && count <= MAX_NUMBERS; ++i) {
        if (value->dims[i] >= 0)
            count *= value->dims[i] < MAX_NUMBERS ? value->dims[i] : MAX_NUMBERS + 1;
    }
    if (count > MAX_NUMBERS) *why = "a feed holds at most 65536 numbers of an input";
    if (value->rank > 8) *why = "a feed has no tensors of more than 8 dimensions";
    if (strlen(value->name) > MAX_NAME) *why = "an input's name has more than 127 bytes";
    if (strcmp(value->dtype, "unknown") == 0) *why = "an input has a type that no feed can hold";
    if (*why != NULL) return at;
    write_shape(shape, sizeof shape, value, 0);
    at += sprintf(at, "\"%s\":{\"dtype\":\"%s\",\"shape\":%s,\"data\":[", value->name, value->dtype,
                  shape);
    const char* zero = strcmp(value->dtype, "string") == 0 ? "\"\"" : "0";
    for (int64_t i = 0; i < count; ++i) at += sprintf(at, i > 0 ? ",%s" : "%s", zero);
    return at + sprintf(at, "]}");
}

/* Whether an input's name is also a key or type name. The library, which searches for names, would
 * find it inside an earlier tensor, so such inputs come first. */
static int is_word(const char* name) {
    static const char* const words[] = {"dtype",  "shape",  "data",   "float32", "float64",
                                        "int8",   "int16",  "int32",  "int64",   "uint8",
                                        "uint16", "uint32", "uint64", "bool",    "string"};
    for (size_t i = 0; i < sizeof words / sizeof *words; ++i) {
        if (strcmp(name, words[i]) == 0) return 1;
    }
    return 0;
}

char* zero_feed(const char* inputs, const char** why) {
    Value value;
    int count = 0;
    char* feed = malloc(MAX_INPUTS * (sizeof "\"\"," * MAX_NUMBERS + 1024));
    char* at = feed;
    *why = feed == NULL ? "out of memory" : NULL;
    if (feed != NULL) *at++ = '{';
    for (int words_first = 1; words_first >= 0; --words_first) {
        for (const char* rest = inputs;
             *why == NULL && (rest = next_value(rest, &value)) != NULL;) {
            if (is_word(value.name) != words_first) continue;
            if (count++ == MAX_INPUTS) {
                *why = "the model has more than 16 inputs";
                break;
            }
            if (at[-1] == '}') at += sprintf(at, ",\n ");
            at = write_zeros(at, &value, why);
        }
    }
    if (*why == NULL) {
        strcpy(at, "}");
        return feed;
    }
    free(feed);
    return NULL;
}

static char* read_text(FILE* file, const char** why) {
    size_t capacity = 4096, length = 0;
    char* text = malloc(capacity);
    while (text != NULL) {
        length += fread(text + length, 1, capacity - length, file);
        if (length < capacity || capacity >= MAX_FEED) break;
        char* larger = realloc(text, capacity *= 2);
        if (larger == NULL) free(text);
        text = larger;
    }
    *why = text == NULL                         ? "out of memory"
           : ferror(file)                       ? strerror(errno)
           : length == capacity                 ? "too large (64 MiB or more)"
           : memchr(text, '\0', length) != NULL ? "contains a zero byte"
                                                : NULL;
    if (*why == NULL) {
        text[length] = '\0';
        return text;
    }
    free(text);
    return NULL;
}

FILE* open_feed(const char* name, const char** why) {
    FILE* file = strcmp(name, "-") == 0 ? stdin : open_file(name);
    if (file == NULL) *why = strerror(errno);
    return file;
}

char* read_feed(const char* name, const char** why) {
    FILE* file = open_feed(name, why);
    char* feed = file != NULL ? read_text(file, why) : NULL;
    if (file != NULL && file != stdin) fclose(file);
    return feed;
}

char* names_json(char** names, int count) {
    size_t size = sizeof "[]";
    for (int i = 0; i < count; ++i) size += 2 * strlen(names[i]) + strlen("\"\",");
    char* json = malloc(size);
    char* at = json;
    for (int i = 0; i < count && json != NULL; ++i) {
        *at++ = i == 0 ? '[' : ',';
        *at++ = '"';
        for (const char* name = names[i]; *name != '\0'; ++name) {
            if (*name == '"' || *name == '\\') *at++ = '\\';
            *at++ = *name;
        }
        *at++ = '"';
    }
    if (json != NULL) strcpy(at, count == 0 ? "[]" : "]");
    return json;
}

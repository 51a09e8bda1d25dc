/* What a model wants, read out of the library's descriptions, and feeds for it. */
#ifndef RUN_FEED_H
#define RUN_FEED_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

/* An input or output. A dimension that each run chooses is -1. */
typedef struct {
    char name[256];
    char dtype[16];
    int64_t dims[16];
    int rank;
} Value;

/* Takes the next value out of a description: where the rest of it begins, null after the last. */
const char* next_value(const char* description, Value* value);

/* Writes the shape as [1,3], with 1 for -1 unless asked to keep it. */
void write_shape(char* text, size_t size, const Value* value, int keep);

/* A feed of zeros for these inputs, or null with the reason. The caller frees it. */
char* zero_feed(const char* inputs, const char** why);

/* Names the values of a description on standard error, with their types and shapes. */
void name_values(const char* what, const char* description);

/* The file, open for reading, - for standard input, or null with the reason. */
FILE* open_feed(const char* name, const char** why);

/* The text of a file, - for standard input, or null with the reason. The caller frees it. */
char* read_feed(const char* name, const char** why);

/* The names as a JSON array, [] for none. The caller frees it; null when there is no memory. */
char* names_json(char** names, int count);

#endif

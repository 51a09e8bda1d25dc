/* Reads the library's descriptions of a model, and makes and reads feeds. */
#ifndef RUN_FEED_H
#define RUN_FEED_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

/* An input or output. A dimension that may differ from run to run is -1. */
typedef struct {
    char name[256];
    char dtype[16];
    int64_t dims[16];
    int rank;
} Value;

/* Reads the next value of a description and returns the rest of it; null if there is none. */
const char* next_value(const char* description, Value* value);

/* Writes a shape such as [1,3]; -1 is written as 1 unless `keep` is set. */
void write_shape(char* text, size_t size, const Value* value, int keep);

/* A feed of zeros for these inputs; null with the reason in *why. The caller frees it. */
char* zero_feed(const char* inputs, const char** why);

/* Lists the values of a description on standard error, with their types and shapes. */
void name_values(const char* what, const char* description);

/* Opens a file for reading, - for standard input; null with the reason. */
FILE* open_feed(const char* name, const char** why);

/* Reads a file, - for standard input; null with the reason. The caller frees the text. */
char* read_feed(const char* name, const char** why);

/* The names as a JSON array, [] for none; null if out of memory. The caller frees it. */
char* names_json(char** names, int count);

#endif

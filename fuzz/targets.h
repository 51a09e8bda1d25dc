// What is fuzzed. A target takes any text and stops the process when the library does not keep its
// promises for it.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct FuzzTarget {
    const char* name;                            // also of the target's folder in corpus/
    void (*run)(const char* text, size_t size);  // text[size] is '\0'
};

inline constexpr size_t kFuzzTargetCount = 6;
extern const FuzzTarget kFuzzTargets[kFuzzTargetCount];

// The folder of models that the tests use; to be set first.
extern const char* g_fuzz_models;

// The end of size readable bytes, rounded up to pages, behind which the next byte cannot be read;
// null when they cannot be had.
char* end_of_pages(size_t size);

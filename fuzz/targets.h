// What is fuzzed. A target takes any text and stops the process when the library does not keep its
// promises for it.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct FuzzTarget {
    const char* name;                            // also of the target's folder in corpus/
    void (*run)(const char* text, size_t size);  // text[size] is '\0', and the last byte to be read
};

inline constexpr size_t kFuzzTargetCount = 6;
extern const FuzzTarget kFuzzTargets[kFuzzTargetCount];

// The folder of models that the tests use; to be set first.
extern const char* g_fuzz_models;

// What is fuzzed. A target takes any text and stops the process when the library does not keep its
// promises for it. This is libFuzzer's interface; the replay uses it too.
#pragma once

#include <stddef.h>
#include <stdint.h>

inline constexpr size_t kLongestText = 1 << 16;

// To be called first: the target, by the name of its folder in corpus/.
bool choose_target(const char* name);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// The fixed capacities of the interface. Text capacities are in bytes and include the terminator.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace vornic {

inline constexpr uint64_t kMaxInputs = 16;
inline constexpr uint64_t kMaxOutputs = 16;
inline constexpr uint64_t kMaxRank = 8;
inline constexpr uint64_t kMaxElements = 65536;  // per JSON input tensor
inline constexpr uint64_t kMaxProviders = 8;
inline constexpr uint64_t kMaxProviderOptions = 16;

inline constexpr size_t kNameCapacity = 128;
inline constexpr size_t kErrorCapacity = 1024;
inline constexpr size_t kDescriptionCapacity = 2048;  // for the inputs, and again for the outputs
inline constexpr size_t kResultCapacity = 65536;
inline constexpr size_t kInputStringCapacity = 4096;
inline constexpr size_t kPathCapacity = 1024;  // of a converted path, in ORTCHAR_T units
inline constexpr size_t kProviderOptionsCapacity = 1024;
inline constexpr size_t kOptionValueCapacity = 256;

// A name stored inside a record.
using Name = char[kNameCapacity];

}  // namespace vornic

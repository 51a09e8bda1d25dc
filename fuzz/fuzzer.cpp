// libFuzzer's side: $VORNIC_FUZZ_TARGET names the target, $VORNIC_FUZZ_MODELS the folder of models.
#include <stdlib.h>
#include <string.h>

#include "targets.h"

namespace {

const FuzzTarget* g_target;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* name = getenv("VORNIC_FUZZ_TARGET");
    g_fuzz_models = getenv("VORNIC_FUZZ_MODELS");
    for (const FuzzTarget& target : kFuzzTargets) {
        if (name != nullptr && strcmp(name, target.name) == 0) g_target = &target;
    }
    if (g_target == nullptr || g_fuzz_models == nullptr) exit(2);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A block of exactly its size, so that a byte read behind it is seen.
    char* text = static_cast<char*>(malloc(size + 1));
    if (size > 0) memcpy(text, data, size);
    text[size] = '\0';
    g_target->run(text, size);
    free(text);
    return 0;
}

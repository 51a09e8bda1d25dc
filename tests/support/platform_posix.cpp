#include <dlfcn.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>

#include "support/platform.h"

void* find_function(const char* library, const char* name) {
    void* loaded = dlopen(library, RTLD_NOW);
    void* function = loaded != nullptr ? dlsym(loaded, name) : nullptr;
    if (function == nullptr) printf("%s\n", dlerror());
    return function;
}

void unload(const char* library) {
    while (void* loaded = dlopen(library, RTLD_NOW | RTLD_NOLOAD)) {
        dlclose(loaded);
        dlclose(loaded);
    }
}

bool use_decimal_commas() { return setlocale(LC_ALL, "de_DE.UTF-8") != nullptr; }

char* fenced_memory(size_t size) {
    constexpr size_t kFence = 65536;  // whole pages on every processor
    void* all = mmap(nullptr, size + 2 * kFence, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    char* const memory = static_cast<char*>(all) + kFence;
    if (all == MAP_FAILED || mprotect(memory, size, PROT_READ | PROT_WRITE) != 0) abort();
    return memory;
}

#include <dlfcn.h>
#include <locale.h>
#include <stdio.h>
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

char* end_of_pages(size_t size) {
    constexpr size_t kPages = 65536;  // whole pages, whatever their size
    size = (size + kPages - 1) / kPages * kPages;
    void* pages = mmap(nullptr, size + kPages, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    mprotect(pages, size, PROT_READ | PROT_WRITE);
    return static_cast<char*>(pages) + size;
}

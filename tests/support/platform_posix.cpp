#include <dlfcn.h>
#include <locale.h>
#include <stdio.h>
#include <sys/mman.h>
#include <unistd.h>

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
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    size = (size + page - 1) / page * page;
    void* pages = mmap(nullptr, size + page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    mprotect(pages, size, PROT_READ | PROT_WRITE);
    return static_cast<char*>(pages) + size;
}

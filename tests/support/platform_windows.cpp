#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

#include "support/platform.h"

void* find_function(const char* library, const char* name) {
    const HMODULE loaded = library != nullptr ? LoadLibraryA(library) : GetModuleHandleA(nullptr);
    void* function = reinterpret_cast<void*>(GetProcAddress(loaded, name));
    if (function == nullptr) printf("%s: error %lu\n", name, GetLastError());
    return function;
}

void unload(const char* library) {
    while (const HMODULE loaded = GetModuleHandleA(library)) FreeLibrary(loaded);
}

// The C library of this program, and that of ONNX Runtime.
bool use_decimal_commas() {
    using SetLocale = char* (*)(int category, const char* locale);
    void* other = find_function("ucrtbase.dll", "setlocale");
    return setlocale(LC_ALL, "German") != nullptr && other != nullptr &&
           reinterpret_cast<SetLocale>(other)(LC_ALL, "de-DE") != nullptr;
}

char* fenced_memory(size_t size) {
    constexpr size_t kFence = 65536;
    void* all = VirtualAlloc(nullptr, size + 2 * kFence, MEM_RESERVE, PAGE_NOACCESS);
    void* memory = VirtualAlloc(static_cast<char*>(all) + kFence, size, MEM_COMMIT, PAGE_READWRITE);
    if (all == nullptr || memory == nullptr) abort();
    return static_cast<char*>(memory);
}

#include <locale.h>
#include <stdio.h>
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

// The C library that this program has, and the one that ONNX Runtime has.
bool use_decimal_commas() {
    using SetLocale = char* (*)(int category, const char* locale);
    void* other = find_function("ucrtbase.dll", "setlocale");
    return setlocale(LC_ALL, "German") != nullptr && other != nullptr &&
           reinterpret_cast<SetLocale>(other)(LC_ALL, "de-DE") != nullptr;
}

char* end_of_pages(size_t size) {
    size = (size + 4095) / 4096 * 4096;
    void* pages = VirtualAlloc(nullptr, size + 4096, MEM_RESERVE, PAGE_NOACCESS);
    return static_cast<char*>(VirtualAlloc(pages, size, MEM_COMMIT, PAGE_READWRITE)) + size;
}

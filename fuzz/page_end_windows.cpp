#include <windows.h>

#include "targets.h"

char* end_of_pages(size_t size) {
    constexpr size_t kPage = 4096;
    size = (size + kPage - 1) / kPage * kPage;
    void* pages = VirtualAlloc(nullptr, size + kPage, MEM_RESERVE, PAGE_NOACCESS);
    if (pages == nullptr || !VirtualAlloc(pages, size, MEM_COMMIT, PAGE_READWRITE)) return nullptr;
    return static_cast<char*>(pages) + size;
}

// What the tests need of the operating system, and what their programs share.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <atomic>

using Word = intptr_t;  // fits every argument and every result but a float

extern std::atomic<bool>
    g_is_calling;  // a function of the library's: what is allocated now is its own

// A function of the library of this path, or of this program if it is null. Null, with the reason
// printed, when it cannot be had.
void* find_function(const char* library, const char* name);

// Unloads the library of this path, however often find_function has loaded it.
void unload(const char* library);

// Gives the process a locale with decimal commas, as its C libraries see it. False when there is none.
bool use_decimal_commas();

// The end of size readable bytes, rounded up to pages, behind which the next byte cannot be read.
char* end_of_pages(size_t size);

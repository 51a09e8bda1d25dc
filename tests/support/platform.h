// What the test programs need from the operating system.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <atomic>

using Word = intptr_t;  // holds every argument and every result except a float

// Set during a call of the library: only allocations made then count as the library's.
extern std::atomic<bool> g_is_calling;

// A function of the library at this path, or of this program if it is null. Prints the reason and
// returns null if there is none.
void* find_function(const char* library, const char* name);

// Unloads the library at this path, however often find_function has loaded it.
void unload(const char* library);

// Sets a locale with decimal commas in every C library of the process. False if there is none.
bool use_decimal_commas();

// Zeroed memory between two unreadable pages. size is a multiple of 65,536.
char* fenced_memory(size_t size);

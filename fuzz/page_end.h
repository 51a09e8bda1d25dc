// Memory that ends where the next byte cannot be read.
#pragma once

#include <stddef.h>

// The end of size readable bytes, rounded up to pages; null when they cannot be had.
char* end_of_pages(size_t size);

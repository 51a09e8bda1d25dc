/* How much memory this process occupies. */
#pragma once

#include <stdint.h>

uint64_t resident_bytes(void);

#include "support/resident.h"

#include <windows.h>
/* Its functions then come from kernel32. */
#define PSAPI_VERSION 2
#include <psapi.h>

uint64_t resident_bytes(void) {
    PROCESS_MEMORY_COUNTERS counters = {.cb = sizeof counters};
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)
               ? counters.WorkingSetSize
               : 0;
}

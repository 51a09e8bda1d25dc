#include <stdio.h>
#include <unistd.h>

#include "support/resident.h"

uint64_t resident_bytes(void) {
    unsigned long long all = 0;
    unsigned long long resident = 0;
    FILE* file = fopen("/proc/self/statm", "r");
    if (file == NULL || fscanf(file, "%llu %llu", &all, &resident) != 2) resident = 0;
    if (file != NULL) fclose(file);
    return resident * (uint64_t)sysconf(_SC_PAGESIZE);
}

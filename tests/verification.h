// PROGRAM fraction [part parts]: runs that fraction of the checks of a verification program, or one of
// several equal parts of it.
#pragma once

#include <signal.h>

#include <span>

#include "number_checks.h"

struct Verification {
    const char* name;
    double count;  // of inputs in a full run
    double least;  // of inputs in any run
    void (*check)(uint64_t index, Random& random);
};

// Every block of inputs has its own random generator, so that an input is the same in every run
// that includes it.
inline int verify(int argc, char** argv, std::span<const Verification> verifications) {
    constexpr uint64_t kBlock = 64;
    const double fraction = argc > 1 ? atof(argv[1]) : 0;
    const uint64_t part = argc == 4 ? strtoull(argv[2], nullptr, 10) : 0;
    const uint64_t parts = argc == 4 ? strtoull(argv[3], nullptr, 10) : 1;
    signal(SIGSEGV, [](int) { fail("memory accesses", "", "inside the input", "outside it"); });
    for (const Verification& one : verifications) {
        const auto count = static_cast<uint64_t>(std::max(one.least, ceil(one.count * fraction)));
        g_series = std::string(one.name) + ", input";
        uint64_t checked = 0;
        for (uint64_t first = part * kBlock; first < count; first += parts * kBlock) {
            Random random(first);
            const uint64_t end = std::min(first + kBlock, count);
            for (uint64_t i = first; i < end; ++i) one.check(g_index = i, random);
            checked += end - first;
        }
        printf("%-52s %12llu  ok\n", one.name, checked + 0ull);
        fflush(stdout);
    }
    return 0;
}

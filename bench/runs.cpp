// What a run costs on each road.
//
//   runs MODELS table        the library beside the direct call
//   runs MODELS sizes        cost against numbers, inputs and outputs
//   runs MODELS loop ROAD NUMBERS COUNT      one road again and again, for a profiler
//
// A line of a table is: row, road, median, least, and the median of what it takes more than the
// first road of its row; ns a call, separated by tabs.

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>

#include "roads.h"

namespace {

struct Road {
    std::string name;
    std::function<void()> call;
    int calls = 1;  // timed together, so that the clock's step does not matter
    std::vector<double> times = {};
};

// The first call is not timed: it finds what the road before has left in the caches.
double time_calls(const Road& road) {
    road.call();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < road.calls; ++i) road.call();
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / road.calls;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The roads take turns within each round, so that a slow moment of the machine meets them all.
void measure(const std::string& row, std::vector<Road> roads, double seconds) {
    double round = 0;
    for (Road& road : roads) {
        time_calls(road);  // caches and arenas get warm
        const double once = std::max(std::min(time_calls(road), time_calls(road)), 1.0);
        road.calls = static_cast<int>(std::clamp(100000 / once, 1.0, 1000.0));
        round += once * road.calls;
    }
    const int rounds = static_cast<int>(std::clamp(seconds * 1e9 / round, 5.0, 2000.0));
    for (int i = 0; i < rounds; ++i) {
        for (Road& road : roads) road.times.push_back(time_calls(road));
    }
    for (const Road& road : roads) {
        std::vector<double> added;
        for (size_t i = 0; i < road.times.size(); ++i) {
            added.push_back(road.times[i] - roads[0].times[i]);
        }
        printf("%s\t%s\t%.0f\t%.0f\t%.0f\n", row.c_str(), road.name.c_str(), median(road.times),
               *std::min_element(road.times.begin(), road.times.end()), median(added));
    }
    fflush(stdout);
}

// Every road there is over one model.
std::map<std::string, std::function<void()>> roads_of(Roads& roads) {
    return {{"direct", [&] { roads.direct(); }},
            {"direct, values kept", [&] { roads.direct_kept_values(); }},
            {"direct with binding", [&] { roads.direct_binding(); }},
            {"json", [&] { roads.json(); }},
            {"tensor", [&] { roads.tensor(); }},
            {"tensor fast", [&] { roads.tensor_fast(); }},
            {"binding", [&] { roads.binding(); }}};
}

void table_row(const std::string& folder, size_t numbers, const Strings& names, double seconds) {
    Roads roads(folder, "inputs1", 1, 1, numbers);
    roads.check_outputs();
    auto all = roads_of(roads);
    std::vector<Road> wanted;
    for (const std::string& name : names) wanted.push_back({name, all[name]});
    measure(std::to_string(numbers), wanted, seconds);
}

// A host that has run for a while has room inside its heap. The heap of a new process ends behind its
// last block, and some heaps give the pages there back at each free and fault them in again.
void settle_heap() {
    static void* live[64];  // small ones, so that they come behind the large
    void* large[8];
    for (void*& block : large) block = calloc(400, 1024);
    for (void*& block : live) block = malloc(2000);
    for (void* block : large) free(block);
}

void print_table(const std::string& folder) {
    table_row(folder, 2,
              {"direct", "direct, values kept", "direct with binding", "tensor fast", "tensor",
               "json", "binding"},
              3);
    table_row(folder, 5000, {"direct", "json", "tensor", "tensor fast"}, 3);
    table_row(folder, 65536, {"direct", "json", "tensor", "tensor fast"}, 3);
}

void size_row(const std::string& folder, const std::string& kind, size_t size, size_t inputs,
              size_t outputs, size_t numbers) {
    const std::string model =
        kind == "numbers" ? "inputs1" : kind + std::to_string(std::max(inputs, outputs));
    Roads roads(folder, model, inputs, outputs, numbers);
    roads.check_outputs();
    measure(kind + " " + std::to_string(size),
            {{"direct", [&] { roads.direct(); }}, {"json", [&] { roads.json(); }}}, 0.5);
}

void print_sizes(const std::string& folder) {
    for (size_t n : {1, 4, 16, 64, 256, 1024, 2048, 4096, 5000, 8192, 16384, 32768, 65536}) {
        size_row(folder, "numbers", n, 1, 1, n);
    }
    for (size_t n : {1, 2, 4, 8, 16}) size_row(folder, "inputs", n, n, 1, 4096);
    for (size_t n : {1, 2, 4, 8, 16}) size_row(folder, "outputs", n, 1, n, 300);
}

int print_usage() {
    fprintf(stderr, "usage: runs MODELS table|sizes|loop ROAD NUMBERS COUNT\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return print_usage();
    const std::string folder = argv[1];
    const std::string what = argv[2];
    settle_heap();
    if (what == "table") {
        print_table(folder);
    } else if (what == "sizes") {
        print_sizes(folder);
    } else if (what == "loop" && argc == 6) {
        Roads roads(folder, "inputs1", 1, 1, static_cast<size_t>(atol(argv[4])));
        const auto call = roads_of(roads)[argv[3]];
        for (long i = atol(argv[5]); i > 0; --i) call();
    } else {
        return print_usage();
    }
    return 0;
}

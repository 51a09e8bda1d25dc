// What a run costs on each road.
//
//   runs MODELS table        the library beside the twin and the direct call
//   runs MODELS fresh        the largest run on a heap as a new process has it
//   runs MODELS sizes        cost against numbers, inputs and outputs
//   runs MODELS memory library|direct
//   runs MODELS loop ROAD NUMBERS COUNT      one road again and again, for a profiler
//
// A line of a table is: row, road, median, least, and the median of what it takes more than the
// first road of its row; ns a call, separated by tabs.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>

#include "binding/io_binding.h"
#include "roads.h"
#include "run/float_tensor.h"

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
            {"binding", [&] { roads.binding(); }},
            {"twin json", [&] { roads.twin_json(); }},
            {"twin tensor", [&] { roads.twin_tensor(); }}};
}

void table_row(const std::string& folder, size_t numbers, const Strings& names, double seconds) {
    Roads roads(folder, "inputs1", 1, 1, numbers);
    roads.compare_with_twin();
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

void print_fresh(const std::string& folder) {
    table_row(folder, 65536, {"direct", "json", "twin json", "tensor", "twin tensor"}, 3);
}

void print_table(const std::string& folder) {
    table_row(folder, 2,
              {"direct", "direct, values kept", "direct with binding", "tensor fast", "tensor",
               "json", "binding", "twin json", "twin tensor"},
              3);
    table_row(folder, 5000, {"direct", "json", "twin json"}, 4);
    table_row(folder, 65536, {"direct", "json", "twin json", "tensor", "twin tensor"}, 6);
}

void size_row(const std::string& folder, const std::string& kind, size_t size, size_t inputs,
              size_t outputs, size_t numbers) {
    const std::string model =
        kind == "numbers" ? "inputs1" : kind + std::to_string(std::max(inputs, outputs));
    Roads roads(folder, model, inputs, outputs, numbers);
    const size_t length = roads.compare_with_twin();
    std::vector<Road> wanted = {{"direct", [&] { roads.direct(); }},
                                {"json", [&] { roads.json(); }},
                                {"twin json", [&] { roads.twin_json(); }}};
    if (kind == "numbers") wanted.push_back({"tensor fast", [&] { roads.tensor_fast(); }});
    measure(kind + " " + std::to_string(size) + " " + std::to_string(roads.feed().size()) + " " +
                std::to_string(length),
            wanted, 0.5);
}

// The texts' lengths stand behind the size.
void print_sizes(const std::string& folder) {
    for (size_t n : {1, 4, 16, 64, 256, 1024, 2048, 4096, 5000, 8192, 16384, 32768, 65536}) {
        size_row(folder, "numbers", n, 1, 1, n);
    }
    for (size_t n : {1, 2, 4, 8, 16}) size_row(folder, "inputs", n, n, 1, 4096);
    for (size_t n : {1, 2, 4, 8, 16}) size_row(folder, "outputs", n, 1, n, 300);
}

// A number of kB in the system's description of this process, where there is one.
long from_status(const char* key) {
    FILE* file = fopen("/proc/self/status", "r");
    char line[256];
    long number = 0;
    while (file != nullptr && fgets(line, sizeof line, file) != nullptr) {
        if (strncmp(line, key, strlen(key)) == 0) number = atol(line + strlen(key));
    }
    if (file != nullptr) fclose(file);
    return number;
}

// What of the library's own file is in memory.
long library_resident() {
    FILE* file = fopen("/proc/self/smaps", "r");
    char line[1024];
    bool ours = false;
    long sum = 0;
    while (file != nullptr && fgets(line, sizeof line, file) != nullptr) {
        if (strchr(line, '-') != nullptr && strchr(line, ':') != nullptr &&
            strstr(line, " kB") == nullptr) {
            ours = strstr(line, "onnxruntime_vornic") != nullptr;
        } else if (ours && strncmp(line, "Rss:", 4) == 0) {
            sum += atol(line + 4);
        }
    }
    if (file != nullptr) fclose(file);
    return sum;
}

void print_peak(const char* moment) { printf("%s\t%ld\n", moment, from_status("VmHWM:")); }

void print_memory(const std::string& folder, bool library) {
    print_peak("start");
    for (size_t n : {2, 65536}) {
        Roads roads(folder, "inputs1", 1, 1, n, library ? Roads::library : Roads::runtime);
        print_peak(("sessions " + std::to_string(n)).c_str());
        for (int i = 0; i < 10; ++i) library ? roads.json() : roads.direct();
        print_peak(("run " + std::to_string(n)).c_str());
    }
    if (!library) return;
    printf("library's file\t%ld\n", library_resident());
    printf(
        "InferenceSession\t%zu\nRunResult\t%zu\nIoBinding\t%zu\nFloatTensor\t%zu\n"
        "InputTensor\t%zu\n",
        sizeof(InferenceSession), sizeof(RunResult), sizeof(IoBinding), sizeof(FloatTensor),
        sizeof(InputTensor));
}

int print_usage() {
    fprintf(stderr,
            "usage: runs MODELS table|fresh|sizes|memory library|memory direct|"
            "loop ROAD NUMBERS COUNT\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return print_usage();
    const std::string folder = argv[1];
    const std::string what = argv[2];
    if (what == "fresh") {
        print_fresh(folder);
        return 0;
    }
    settle_heap();
    if (what == "table") {
        print_table(folder);
    } else if (what == "sizes") {
        print_sizes(folder);
    } else if (what == "memory" && argc == 4) {
        print_memory(folder, strcmp(argv[3], "library") == 0);
    } else if (what == "loop" && argc == 6) {
        Roads roads(folder, "inputs1", 1, 1, static_cast<size_t>(atol(argv[4])));
        const auto call = roads_of(roads)[argv[3]];
        for (long i = atol(argv[5]); i > 0; --i) call();
    } else {
        return print_usage();
    }
    return 0;
}

// A stand-in for the way to ONNX Runtime: the real function table with every call that the library
// makes recorded, counted and, on demand, failed. Also counts the library's heap blocks.
#pragma once

#include <onnxruntime_c_api.h>

#include <map>
#include <string>
#include <vector>

struct Spy {
    // What to do.
    bool null_base = false;
    bool null_table = false;
    int fail_call = 0;        // the k-th call that returns a status fails, from 1; 0 for none
    int fail_allocation = 0;  // likewise for malloc and calloc in library code
    bool persistent = false;  // every later allocation fails too
    std::string message = "injected";

    // What has happened.
    int calls = 0;
    std::string failed;  // the call that failed last
    int allocations = 0;
    std::vector<std::string> log;     // names in order, with whole numbers and texts behind them
    std::map<std::string, int> live;  // objects by kind; heap blocks are "block"

    // The kinds that still live, for messages; "" when nothing does.
    std::string leftovers() const;
};

extern Spy spy;

// Starts over: nothing recorded, nothing to fail, the table as it was. What lives stays counted.
void reset_spy();

// The table that the library calls through; tests may replace members until the next reset.
OrtApi& spy_table();

// Library code runs inside such a scope when its heap blocks are to be counted or failed.
struct WatchHeap {
    WatchHeap();
    ~WatchHeap();
};

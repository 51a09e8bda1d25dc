// Makes the calls requested on standard input, one a line, in a process whose locale has decimal
// commas, and answers each with a line: caller [--state STATE] [--threads N] LIBRARY
//
// STATE: the floating-point state before each call, which the call must restore (traps, flush, up,
// down or zero). N: after the first request, this many threads, each with its own handles, make all
// remaining calls once the input has ended. LIBRARY: a path, or - for the library linked with
// this program.
//
// A request has fields separated by tabs: a name for the handle that is made, or nothing; the type
// of the result (p a pointer, i an int32, t a text, f a float, 3 as many floats); the function's
// name after "onnxruntime_vn_", or "unload"; its arguments: 12, null, 'text, $HANDLE, f32:0.5,1 or
// i64:2,3. In texts the bytes 1, 2 and 3 stand for tabs, line feeds and carriage returns.
#include <stdlib.h>
#include <string.h>

#include <future>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "float_state.h"
#include "support/platform.h"

std::atomic<bool> g_is_calling;

namespace {

struct Caller {
    const char* library;  // null for this program
    uint64_t host_state;
    std::map<std::string, Word> handles = {};
    std::map<std::string, void*> functions = {};
    std::string answer(const std::string& request);
};

std::string replaced(std::string text, const std::string& from, const char* to) {
    for (char& byte : text) {
        if (const size_t at = from.find(byte); at != std::string::npos) byte = to[at];
    }
    return text;
}

// Allocates a block with the numbers of "f32:0.5,1" or "i64:2,3".
template <typename Number>
Word block_of(const std::string& list) {
    std::istringstream given(list.substr(strlen("f32:")));
    std::vector<Number> numbers;
    for (Number number; given >> number; given.ignore()) numbers.push_back(number);
    const size_t size = numbers.size() * sizeof(Number);
    return reinterpret_cast<Word>(memcpy(malloc(size), numbers.data(), size));
}

std::string shown(const float* floats, int count) {
    std::ostringstream text;
    text.precision(9);
    for (int i = 0; i < count; ++i) text << (i == 0 ? "" : ",") << floats[i];
    return text.str();
}

std::string shown(const std::string& type, Word word) {
    if (type == "i") return std::to_string(static_cast<int32_t>(word));
    if (type == "p" || word == 0) return word != 0 ? "something" : "nothing";
    if (type != "t") return shown(reinterpret_cast<const float*>(word), atoi(type.c_str()));
    return "'" + replaced(reinterpret_cast<const char*>(word), "\t\n\r", "\1\2\3");
}

std::string Caller::answer(const std::string& request) {
    std::istringstream fields(request);
    std::string handle, type, name, field, texts[4];
    std::getline(std::getline(std::getline(fields, handle, '\t'), type, '\t'), name, '\t');
    if (name == "unload") return functions.clear(), unload(library), "nothing";
    Word given[4] = {}, blocks[4] = {}, word = 0;
    for (int i = 0; i < 4 && std::getline(fields, field, '\t'); ++i) {
        texts[i] = replaced(field, "\1\2\3", "\t\n\r");
        if (field.rfind("f32:", 0) == 0) blocks[i] = block_of<float>(field);
        if (field.rfind("i64:", 0) == 0) blocks[i] = block_of<int64_t>(field);
        given[i] = blocks[i] != 0     ? blocks[i]
                   : field[0] == '\'' ? reinterpret_cast<Word>(texts[i].c_str() + 1)
                   : field[0] == '$'  ? handles[field.substr(1)]
                                      : static_cast<Word>(strtoll(field.c_str(), nullptr, 10));
    }
    void*& function = functions[name];
    if (function == nullptr) function = find_function(library, ("onnxruntime_vn_" + name).c_str());
    if (function == nullptr) exit(3);
    float number = 0;
    g_is_calling = true;
    set_float_state(host_state);
    const uint64_t state = get_float_state();  // without what the processor lacks
    if (type == "f") {
        number = reinterpret_cast<float (*)(Word, Word)>(function)(given[0], given[1]);
    } else {
        using Function = Word (*)(Word, Word, Word, Word);
        word = reinterpret_cast<Function>(function)(given[0], given[1], given[2], given[3]);
    }
    const bool is_restored = get_float_state() == state;
    set_float_state(kFloatStates[0]);
    g_is_calling = false;
    if (name == "tensor_adopt_f32" && word != 0) blocks[0] = 0;
    for (const Word block : blocks) free(reinterpret_cast<void*>(block));
    if (!handle.empty()) handles[handle] = word;
    if (name.rfind("release_", 0) == 0) handles.erase(texts[0].substr(1));
    if (!is_restored) return "another floating-point state";
    return type == "f" ? shown(&number, 1) : shown(type, word);
}

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> options = {{"--state", "default"}, {"--threads", "0"}};
    for (; argc > 3; argv += 2, argc -= 2) options[argv[1]] = argv[2];
    if (argc != 2 || options.size() != 2) return std::cerr << "see the head of caller.cpp\n", 2;
    if (!use_decimal_commas()) return std::cerr << "no locale with decimal commas\n", 2;
    static Caller& caller = *new Caller{strcmp(argv[1], "-") != 0 ? argv[1] : nullptr, 0};
    const char* const states[] = {"default", "traps", "flush", "down", "up", "zero"};
    for (size_t i = 0; i < std::size(states); ++i) {
        if (options["--state"] == states[i]) caller.host_state = kFloatStates[i];
    }
    std::vector<std::future<std::string>> threads(std::stoul(options["--threads"]));
    std::string line, waiting;
    while (std::getline(std::cin, line)) {
        std::cout << caller.answer(line) << std::endl;
        if (!threads.empty()) break;
    }
    std::getline(std::cin, waiting, '\0');
    const auto answer_all = [waiting, its = caller]() mutable {
        std::istringstream requests(waiting);
        std::string all;
        for (std::string each; std::getline(requests, each);) all += its.answer(each) + "\n";
        return all;
    };
    for (auto& thread : threads) thread = std::async(std::launch::async, answer_all);
    for (auto& thread : threads) std::cout << thread.get();
}

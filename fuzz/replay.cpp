// Feeds the corpora to the targets, from texts that end where their page ends, and with them each
// of their beginnings and some thousand variations: replay MODELS CORPUS
#include <stdio.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "targets.h"

namespace {

constexpr size_t kLongest = 1 << 16;

void replay(const FuzzTarget& target, const std::string& text) {
    static char* const end = end_of_pages(kLongest + 1);
    char* at = end - text.size() - 1;
    memcpy(at, text.c_str(), text.size() + 1);
    target.run(at, text.size());
}

// A few bytes replaced, left out or repeated.
std::string varied(std::string text, std::mt19937& random) {
    for (uint32_t changes = random() % 4 + 1; changes > 0 && !text.empty(); --changes) {
        const size_t at = random() % text.size();
        const size_t length = random() % 8;
        switch (random() % 3) {
            case 0: text[at] = static_cast<char>(random()); break;
            case 1: text.erase(at, length); break;
            default: text.insert(random() % text.size(), text.substr(at, length)); break;
        }
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    g_fuzz_models = argv[1];
    std::mt19937 random(1);
    for (const FuzzTarget& target : kFuzzTargets) {
        int runs = 0;
        for (const auto& entry :
             std::filesystem::directory_iterator(std::filesystem::path(argv[2]) / target.name)) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string text(std::istreambuf_iterator<char>(file), {});
            if (text.size() > kLongest / 2) return 3;
            for (size_t length = 0; length <= text.size(); ++length, ++runs) {
                replay(target, text.substr(0, length));
            }
            for (int i = 0; i < 200; ++i, ++runs) replay(target, varied(text, random));
        }
        printf("%s: %d texts\n", target.name, runs);
        if (runs == 0) return 4;
    }
    return 0;
}

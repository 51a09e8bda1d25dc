// Feeds the corpora to their targets, and with each text its beginnings and some variations:
// replay CORPUS
#include <stdint.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

// Both are in targets.cpp: the target of this name is chosen first.
bool choose_target(const char* name);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr int kVariations = 200;

void replay(const std::string& text) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
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
    if (argc != 2) return 2;
    std::mt19937 random(1);
    for (const auto& folder : std::filesystem::directory_iterator(argv[1])) {
        if (!choose_target(folder.path().filename().string().c_str())) return 3;
        size_t texts = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string text(std::istreambuf_iterator<char>(file), {});
            for (size_t length = 0; length <= text.size(); ++length) replay(text.substr(0, length));
            for (int i = 0; i < kVariations; ++i) replay(varied(text, random));
            texts += text.size() + 1 + kVariations;
        }
        printf("%s: %zu texts\n", folder.path().filename().string().c_str(), texts);
    }
    return 0;
}

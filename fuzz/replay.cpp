// Feeds a corpus to its targets, and with each text its beginnings and some variations: replay CORPUS
#include <stdint.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

// Both are in targets.cpp: the target of this name is chosen first.
bool choose_target(const std::string& name);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void replay(const std::string& text) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// A few bytes replaced, left out or repeated.
std::string varied(std::string text, std::mt19937& random) {
    for (uint32_t changes = random() % 4 + 1; changes > 0 && !text.empty(); --changes) {
        const size_t at = random() % text.size(), length = random() % 8, kind = random() % 3;
        if (kind == 0) text[at] = static_cast<char>(random());
        if (kind == 1) text.erase(at, length);
        if (kind == 2) text.insert(random() % text.size(), text.substr(at, length));
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    std::mt19937 random(1);
    size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[argc - 1])) {
        if (entry.is_directory()) continue;
        const std::string target = entry.path().parent_path().filename().string();
        if (!choose_target(target)) return 3;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        for (size_t length = 0; length <= text.size(); ++length) replay(text.substr(0, length));
        for (int i = 0; i < 200; ++i) replay(varied(text, random));
        puts(entry.path().string().c_str());
        ++count;
    }
    return count > 0 ? 0 : 3;
}

// Runs the targets on every prefix of each text of a corpus and on variations of it: replay CORPUS
#include <stdint.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "number_checks.h"

// Both are in targets.cpp. A target is named after its folder in the corpus and chosen first.
bool choose_target(const std::string& name);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void replay(const std::string& text, const std::string& series, uint64_t index) {
    g_series = series;
    g_index = index;
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// Replaces, removes or repeats a few bytes.
std::string varied(std::string text, Random& random) {
    for (uint64_t changes = random() % 4 + 1; changes > 0 && !text.empty(); --changes) {
        const size_t at = random() % text.size(), length = random() % 8, kind = random() % 3;
        if (kind == 0) text[at] = static_cast<char>(random());
        if (kind == 1) text.erase(at, length);
        if (kind == 2) text.insert(random() % text.size(), text.substr(at, length));
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    Random random(1);
    size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[argc - 1])) {
        if (entry.is_directory()) continue;
        const std::string path = entry.path().string();
        puts(path.c_str());
        fflush(stdout);  // a text may crash the process
        if (!choose_target(entry.path().parent_path().filename().string())) return 3;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        for (size_t length = 0; length <= text.size(); ++length) {
            replay(text.substr(0, length), path + ", prefix of length", length);
        }
        for (uint64_t i = 0; i < 200; ++i) replay(varied(text, random), path + ", variation", i);
        ++count;
    }
    return count > 0 ? 0 : 3;
}

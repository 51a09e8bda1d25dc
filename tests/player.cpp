#include "player.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <fstream>

#include "float_state.h"
#include "support/platform.h"

std::atomic<bool> g_is_calling;

namespace {

using Texts = std::vector<std::string>;

// What a call that must not touch the last error finds there.
constexpr const char* kEarlier = "invalid shape_json";
// What stands before ONNX Runtime's own words in an error.
constexpr const char* kRefusal = " failed: ";

// The words of a line. A text is one word and keeps its opening quote; an error is one, too.
Texts split(std::string_view line) {
    Texts words;
    while (!line.empty()) {
        size_t end = line.find(' ');
        if (line[0] == '\'') end = line.find('\'', 1);
        if (line.substr(0, 3) == "...") end = 3;
        if (line[0] == '!') end = line.size();
        words.emplace_back(line.substr(0, end));
        line.remove_prefix(end < line.size() ? end + (line[0] == '\'' || line[end] == ' ')
                                             : line.size());
        while (!line.empty() && line[0] == ' ') line.remove_prefix(1);
    }
    return words;
}

// The shortest decimals that give these floats.
std::string written(const float* floats, size_t count) {
    std::string text = "f32";
    for (size_t i = 0; floats != nullptr && i < count; ++i) {
        char room[64];
        char* const end = std::to_chars(room, room + sizeof room, floats[i]).ptr;
        text += (i == 0 ? ":" : ",") + std::string(room, end);
    }
    return text;
}

// The numbers of "f32:0.5,1" or "i64:2,3" in a block of their own.
template <typename Number>
void* block_of(const std::string& list) {
    std::vector<Number> numbers;
    for (const char* at = list.c_str() + strlen("f32"); *at != '\0';) {
        at = std::from_chars(at + 1, list.data() + list.size(), numbers.emplace_back()).ptr;
    }
    return memcpy(malloc(numbers.size() * sizeof(Number)), numbers.data(),
                  numbers.size() * sizeof(Number));
}

bool begins(const std::string& text, const char* beginning) {
    return text.rfind(beginning, 0) == 0;
}

// The calls whose success empties the last error.
bool empties_error(const std::string& name) {
    return begins(name, "run_json") || begins(name, "run_tensor") || begins(name, "run_with_") ||
           begins(name, "tensor_") || name == "create_session" || name == "session_end_profiling";
}

std::string error_part(const std::string& error) {
    if (error == kEarlier) return "; the last error stays as it was";
    return error.empty() ? "; the last error is empty" : "; the last error is " + error;
}

// A text around the place where it differs from another.
std::string excerpt(const std::string& text, size_t place) {
    constexpr size_t kBefore = 60, kShown = 200;
    const size_t start = text.size() > kShown && place > kBefore ? place - kBefore : 0;
    return (start > 0 ? "... " : "") + text.substr(start, kShown) +
           (text.size() > start + kShown ? " ..." : "");
}

void print_difference(const Line& line, const std::string& call, const std::string& expected,
                      const std::string& got) {
    size_t place = 0;
    while (place < expected.size() && place < got.size() && expected[place] == got[place]) ++place;
    printf(
        "%s: not as expected, from byte %zu on\n  call      %s\n  expected  %s\n  got       %s\n",
        line.place.c_str(), place, excerpt(call, 0).c_str(), excerpt(expected, place).c_str(),
        excerpt(got, place).c_str());
}

}  // namespace

// One call, as a line says it once everything is spelled out.
struct Player::Step {
    std::string kind;  // of the handle that it makes; empty for none
    std::string name;
    Texts arguments;
    bool begins = false;  // the answer may go on behind what is expected
    bool ends = false;    // the answer may begin before it
    bool has_answer = false;
    std::string answer;  // as the line has it
    bool has_error = false;
    std::string error;

    explicit Step(const Texts& words) {
        size_t at = 0;
        if (words.size() > 2 && words[1] == "=") kind = words[0].substr(1), at = 2;
        name = words[at++];
        for (; at < words.size() && words[at] != "->" && words[at][0] != '!'; ++at) {
            arguments.push_back(words[at]);
        }
        for (; at < words.size(); ++at) {
            if (words[at][0] == '!') {
                has_error = true;
                error = words[at].size() > 2 ? words[at].substr(2) : "";
            } else if (words[at] == "...") {
                (has_answer ? begins : ends) = true;
            } else if (words[at] != "->") {
                has_answer = true;
                answer = words[at];
            }
        }
        if (answer == "null") answer = "nothing";
        if (!has_answer) answer = has_error ? "nothing" : "something";
    }

    bool is_text() const { return has_answer && answer[0] == '\''; }

    std::string expected_error() const {
        if (has_error) return error;
        return empties_error(name) && answer != "nothing" ? "" : kEarlier;
    }

    bool matches(const std::string& got) const {
        if (!has_answer && !has_error) return kind.empty() || got != "nothing";
        if (!is_text()) return got == answer;
        const std::string_view all = got, part = std::string_view(answer).substr(1);
        if (all.size() < part.size() || all[0] != '\'') return false;
        if (ends) return all.substr(all.size() - part.size()) == part;
        return begins ? all.substr(1, part.size()) == part : all.substr(1) == part;
    }
};

Player::Player(const char* library, const std::string& models, const char* host_state)
    : library_(library) {
    for (const auto& row : kFloatStates) {
        if (strcmp(row.name, host_state) == 0) host_state_ = row.state;
    }
    words["models"] = models;
    for (const char* kind :
         {"iobinding", "session", "session_options", "run_options", "tensor", "result"}) {
        handles[kind] = 0;
    }
}

void Player::stop(const std::string& why) {
    printf("%s: %s\n", place_.c_str(), why.c_str());
    exit(1);
}

void* Player::look_up(const std::string& name) {
    void*& function = functions_[name];
    if (function == nullptr) function = find_function(library_, ("onnxruntime_vn_" + name).c_str());
    if (function == nullptr) stop("there is no function " + name);
    return function;
}

const char* Player::text_of(const std::string& name, Word argument) {
    return reinterpret_cast<const char* (*)(Word)>(look_up(name))(argument);
}

void Player::hold(const std::string& kind, Word handle) {
    reinterpret_cast<void (*)(Word)>(look_up("release_" + kind))(handles[kind]);
    handles[kind] = handle;
}

void Player::close() {
    for (const auto& held : handles) hold(held.first, 0);
}

// The text with all that stands in < and > spelled out from the inside, in one of its choices.
std::string Player::spell(std::string text, size_t choice, size_t* choices) {
    for (size_t end = 0; (end = text.find('>', end)) != std::string::npos;) {
        const size_t start = text.rfind('<', end);
        if (text[end - 1] == '-' || start == std::string::npos) {  // an arrow
            ++end;
            continue;
        }
        const std::string inside = text.substr(start + 1, end - start - 1);
        Texts parts(1);
        for (char byte : inside) byte == '|' ? parts.emplace_back() : parts.back() += byte;
        std::string made = parts[choice % parts.size()];
        const size_t star = inside.find('*');
        if (parts.size() > 1) {
            *choices = std::max(*choices, parts.size());
        } else if (star != std::string::npos) {
            made.clear();
            for (int i = atoi(inside.c_str()); i > 0; --i) made += inside.substr(star + 1);
        } else if (inside[0] == 'x' && inside.size() == 3) {
            made = static_cast<char>(strtol(&inside[1], nullptr, 16));
        } else if (words.count(inside) == 0) {
            stop("there is no word <" + inside + ">");
        } else {
            made = words[inside];
        }
        text.replace(start, end + 1 - start, made);
        end = start;
    }
    return text;
}

Word Player::argument(const std::string& word, std::vector<void*>& blocks) {
    if (word[0] == '\'') return reinterpret_cast<Word>(word.c_str() + 1);
    if (word[0] == '$') return handles[word.substr(1)];
    if (word == "null") return 0;
    if (begins(word, "f32:") || begins(word, "i64:")) {
        blocks.push_back(word[0] == 'f' ? block_of<float>(word) : block_of<int64_t>(word));
        return reinterpret_cast<Word>(blocks.back());
    }
    return static_cast<Word>(strtoll(word.c_str(), nullptr, 10));
}

// The options, or new ones, with the provider behind what they have. The first time a CPU session is
// opened for good: without one ONNX Runtime 1.24 aborts after some failures with WebGPU.
Word Player::with_provider(Word options) {
    using Function = Word (*)(Word, Word);
    const auto run = [&](const char* name, const char* text, Word more) {
        return reinterpret_cast<Function>(look_up(name))(reinterpret_cast<Word>(text), more);
    };
    static const Word kept = run("create_session", (words["models"] + "/double.onnx").c_str(), 0);
    if (kept == 0) stop("there is no CPU session");
    if (options == 0) options = run("create_session_options", nullptr, 0);
    run("session_options_append_execution_provider", reinterpret_cast<const char*>(options),
        reinterpret_cast<Word>(provider));
    return options;
}

// Calls, and says what came.
std::string Player::call(const Step& step) {
    std::vector<void*> blocks;
    Word given[4] = {};
    for (size_t i = 0; i < step.arguments.size(); ++i)
        given[i] = argument(step.arguments[i], blocks);
    void* const function = look_up(step.name);
    if (provider != nullptr && step.name == "create_session") given[1] = with_provider(given[1]);
    Word word = 0;
    float number = 0;
    const bool gives_float = step.name == "result_float_at";
    g_is_calling = true;
    set_float_state(host_state_);
    const uint64_t state = get_float_state();  // some processors lack some
    if (gives_float) {
        number = reinterpret_cast<float (*)(Word, Word)>(function)(given[0], given[1]);
    } else {
        using Function = Word (*)(Word, Word, Word, Word);
        word = reinterpret_cast<Function>(function)(given[0], given[1], given[2], given[3]);
    }
    const uint64_t state_after = get_float_state();
    set_float_state(kFloatStates[0].state);
    g_is_calling = false;
    const bool adopted = step.name == "tensor_adopt_f32" && word != 0;
    for (size_t i = adopted; i < blocks.size(); ++i) free(blocks[i]);
    if (!step.kind.empty()) hold(step.kind, word);
    if (host_state_ != kFloatStates[0].state && state_after != state)
        return "another floating-point state";
    if (gives_float) return written(&number, 1);
    if (begins(step.answer, "f32")) {
        const auto commas = std::count(step.answer.begin(), step.answer.end(), ',');
        return written(reinterpret_cast<const float*>(word), static_cast<size_t>(commas) + 1);
    }
    if (step.kind.empty() && step.has_answer && !step.is_text() && step.answer != "nothing") {
        return std::to_string(static_cast<int32_t>(word));
    }
    if (word == 0 || (step.kind.empty() && static_cast<int32_t>(word) == 0)) return "nothing";
    if (step.kind == "result") return std::string("'") + text_of("result_json", word);
    if (!step.is_text()) return "something";
    const std::string text = reinterpret_cast<const char*>(word);
    if (step.name != "session_end_profiling") return "'" + text;
    remove(text.c_str());
    return "'" + (step.begins ? text.substr(0, step.answer.size() - 1) : text);  // a time follows
}

bool Player::play_step(const Line& line, const std::string& text) {
    const Step step(split(text));
    ++played;
    text_of(step.error == kEarlier ? "session_end_profiling" : "tensor_zeros_f32");
    const std::string got = call(step), expected_error = step.expected_error();
    std::string error = text_of("last_error");
    if (step.error.find(kRefusal) == std::string::npos &&
        error.find(kRefusal) != std::string::npos) {
        error.resize(error.find(kRefusal) + strlen(kRefusal) - 2);
    }
    if (!compares)
        answers += got.substr(got[0] == '\'') + (error != kEarlier ? " ! " + error : "") + "|";
    if (!compares || (step.matches(got) && error == expected_error)) return true;
    print_difference(line, text, step.answer + error_part(expected_error), got + error_part(error));
    return false;
}

bool Player::play(const Line& line) {
    place_ = line.place;
    const size_t name_end = line.text.find_first_of(": ");
    if (name_end != std::string::npos && line.text[name_end] == ':') {
        words[line.text.substr(0, name_end)] = line.text.substr(name_end + 2);
        return true;
    }
    unsigned times = 1;
    const char* const text = line.text.c_str();
    const char* const behind = std::from_chars(text, text + line.text.size(), times).ptr;
    const std::string step = behind != text ? behind + strlen("x ") : text;
    bool is_good = true;
    for (size_t choice = 0, choices = 1; choice < choices; ++choice) {
        const std::string spelled = spell(step, choice, &choices);
        for (unsigned i = 0; i < times && is_good; ++i) is_good = play_step(line, spelled);
    }
    return is_good;
}

std::vector<Scene> read_script(const char* path) {
    std::ifstream script(path);
    std::vector<Scene> scenes(1);
    Line line;
    for (int number = 1; std::getline(script, line.text); ++number) {
        line.place = std::string(path) + ":" + std::to_string(number);
        if (line.text.rfind("== ", 0) == 0) {
            scenes.push_back({line, {}});
        } else if (!line.text.empty() && line.text[0] != '#') {
            scenes.back().lines.push_back(line);
        }
    }
    return scenes;
}

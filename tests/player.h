// Plays scripts of calls: the head of script.txt says how they are written.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <atomic>
#include <map>
#include <string>
#include <vector>

// What fits every argument and every result but a float.
using Word = intptr_t;

struct Line {
    std::string place;  // the file and the number, for whoever has to look
    std::string text;
};

struct Scene {
    Line title;
    std::vector<Line> lines;
};

std::vector<Scene> read_script(const char* path);

class Player {
public:
    // Functions are looked up in the library of this path, or in this program if it is null. Calls
    // find the floating-point state of this name (see support/*/float_state.h) and must leave it so.
    Player(const char* library, const std::string& models, const char* host_state = "default");

    // True when all that comes of the line is as it says; prints what is not.
    bool play(const Line& line);
    // Releases all handles.
    void close();

    std::map<std::string, Word> handles;       // by the kind that their release function names
    std::map<std::string, std::string> words;  // what lines "NAME: text" have given
    std::string answers;                       // all that came, each answer behind a bar
    bool compares = true;                      // else lines are played for their answers
    const char* provider = nullptr;            // appended to the options of every session
    size_t played = 0;

private:
    struct Step;

    std::string spell(std::string text, size_t choice, size_t* choices);
    bool play_step(const Line& line, const std::string& text);
    Word argument(const std::string& word, std::vector<void*>& blocks);
    std::string call(const Step& step);
    Word with_provider(Word options);
    [[noreturn]] void stop(const std::string& why);
    void hold(const std::string& kind, Word handle);
    void* look_up(const std::string& name);
    const char* text_of(const std::string& name, Word argument = 0);

    const char* library_;
    std::string place_;
    uint64_t host_state_ = 0;
    std::map<std::string, void*> functions_;
};

// A call is under way: what is allocated now is the library's.
extern std::atomic<bool> g_is_calling;

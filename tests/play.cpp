// Plays a script over the built library, in a process whose locale has decimal commas:
//
//     play [--host STATE] [--rounds N] LIBRARY MODELS SCRIPT
//
// --host STATE: every call finds this floating-point state (traps, flush, up, down or zero) and must
// leave it so. SCRIPT may be - for standard input, each of whose lines is then answered by one.
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <iostream>
#include <thread>

#include "player.h"

namespace {

constexpr int kThreads = 4;
constexpr int kThreadRounds = 1000;

// A scene played by several threads, each with handles of its own but for the session that is
// there already.
bool play_at_once(const char* library, Player& first, const std::vector<Line>& lines) {
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            Player player(library, "");
            player.is_alone = false;
            player.words = first.words;
            player.handles["session"] = first.handles["session"];
            bool is_good = true;
            for (int round = 0; round < kThreadRounds && is_good; ++round) {
                for (const Line& line : lines) is_good = is_good && player.play(line);
            }
            player.handles.erase("session");
            good += is_good;
        });
    }
    for (std::thread& thread : threads) thread.join();
    first.played += lines.size() * kThreads * kThreadRounds;
    return good == kThreads;
}

struct Theatre {
    const char* library;
    Player player;
    bool answers_lines = false;
    size_t failed = 0;

    void play(const char* path) {
        std::ifstream file(path);
        std::istream& script = answers_lines ? std::cin : file;
        std::vector<Line> at_once;
        bool is_at_once = false;
        Line line;
        for (int number = 1; std::getline(script, line.text); ++number) {
            if (!line.text.empty() && line.text.back() == '\r') line.text.pop_back();
            if (line.text.empty() || line.text[0] == '#') continue;
            line.place = std::string(path) + ":" + std::to_string(number);
            if (line.text.rfind("== ", 0) == 0) {
                finish(at_once);
                is_at_once = line.text.find("at once") != std::string::npos;
            } else if (is_at_once && line.text.rfind("$session", 0) != 0) {
                at_once.push_back(line);
            } else {
                failed += !player.play(line);
            }
            if (answers_lines) puts(failed > 0 ? "not as expected" : "as expected");
        }
        finish(at_once);
    }

    void finish(std::vector<Line>& at_once) {
        if (!at_once.empty()) failed += !play_at_once(library, player, at_once);
        at_once.clear();
        player.close();
    }
};

bool has_decimal_comma() {
    return (setlocale(LC_ALL, "de_DE.UTF-8") != nullptr ||
            setlocale(LC_ALL, "German") != nullptr) &&
           strcmp(localeconv()->decimal_point, ",") == 0;
}

}  // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IONBF, 0);  // for the case that the process ends early
    const char* host_state = nullptr;
    int rounds = 1;
    int at = 1;
    for (; at + 1 < argc && argv[at][0] == '-' && argv[at][1] == '-'; at += 2) {
        if (strcmp(argv[at], "--host") == 0) host_state = argv[at + 1];
        if (strcmp(argv[at], "--rounds") == 0) rounds = atoi(argv[at + 1]);
    }
    if (argc != at + 3 || !has_decimal_comma()) return puts("play: usage, or no such locale"), 2;
    Theatre theatre = {
        argv[at], {argv[at], argv[at + 1], host_state}, strcmp(argv[at + 2], "-") == 0};
    // Binding the runtime empties the last error.
    if (!theatre.answers_lines)
        theatre.failed += !theatre.player.play({argv[0], "available -> 1 !"});
    for (int round = 1; round <= rounds; ++round) {
        theatre.play(argv[at + 2]);
        if (rounds > 1) printf("round %d\n", round);
    }
    printf("%zu calls played, %zu lines not as expected\n", theatre.player.played, theatre.failed);
    return theatre.failed > 0 || theatre.player.played == 0;
}

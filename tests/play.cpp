// Plays a script over the built library, in a process whose locale has decimal commas:
//
//     play [--host STATE] [--provider NAME] [--rounds N] LIBRARY MODELS SCRIPT
//
// --host STATE: every call finds this floating-point state (traps, flush, up, down or zero) and must
// leave it so. SCRIPT may be - for standard input, each of whose lines is then answered by one.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <iostream>
#include <thread>

#include "player.h"
#include "support/platform.h"

namespace {

constexpr int kThreads = 4;
int thread_rounds = 5000;  // enough for threads to meet in the same few instructions

// Lines played by several threads, each with handles of its own but for the session that is there
// already: the first line of a scene whose title says "at once" makes it.
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
            for (int round = 0; round < thread_rounds && is_good; ++round) {
                for (const Line& line : lines) is_good = is_good && player.play(line);
            }
            player.handles.erase("session");
            good += is_good;
        });
    }
    for (std::thread& thread : threads) thread.join();
    first.played += lines.size() * kThreads * static_cast<size_t>(thread_rounds);
    return good == kThreads;
}

// Plays a script, and gives the number of lines that were not as expected.
size_t play(const char* library, Player& player, const char* path) {
    size_t failed = 0;
    for (const Scene& scene : read_script(path)) {
        const bool is_at_once = scene.title.text.find("at once") != std::string::npos;
        for (size_t i = 0; i < scene.lines.size(); ++i) {
            if (is_at_once && i == 1) {
                failed +=
                    !play_at_once(library, player, {scene.lines.begin() + 1, scene.lines.end()});
                break;
            }
            failed += !player.play(scene.lines[i]);
        }
        player.close();
    }
    return failed;
}

size_t play_input(Player& player) {
    size_t failed = 0;
    for (Line line = {"line", ""}; std::getline(std::cin, line.text);) {
        const bool is_good = player.play(line);
        puts(is_good ? "as expected" : "not as expected");
        failed += !is_good;
    }
    return failed;
}

}  // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IONBF, 0);  // for the case that the process ends early
    const char* host_state = nullptr;
    const char* provider = nullptr;
    int rounds = 1;
    int at = 1;
    for (; at + 1 < argc && argv[at][0] == '-' && argv[at][1] == '-'; at += 2) {
        if (strcmp(argv[at], "--host") == 0) host_state = argv[at + 1];
        if (strcmp(argv[at], "--provider") == 0) provider = argv[at + 1];
        if (strcmp(argv[at], "--rounds") == 0) rounds = atoi(argv[at + 1]);
    }
    if (argc != at + 3 || !use_decimal_commas()) return puts("play: usage, or no such locale"), 2;
    if (host_state != nullptr || rounds > 1) thread_rounds = 100;
    Player player(argv[at], argv[at + 1], host_state);
    player.provider = provider;
    size_t failed = 0;
    if (strcmp(argv[at + 2], "-") == 0) return play_input(player) > 0;
    failed +=
        !player.play({argv[0], "available -> 1 !"});  // binding the runtime empties the last error
    for (int round = 1; round <= rounds; ++round) {
        failed += play(argv[at], player, argv[at + 2]);
        if (rounds > 1) printf("round %d\n", round);
    }
    printf("%zu calls played, %zu lines not as expected\n", player.played, failed);
    return failed > 0 || player.played == 0;
}

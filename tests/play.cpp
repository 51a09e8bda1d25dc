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

#include "player.h"
#include "support/platform.h"

namespace {

// Plays a script, and gives the number of lines that were not as expected.
size_t play(Player& player, const char* path) {
    size_t failed = 0;
    for (const Scene& scene : read_script(path)) {
        for (const Line& line : scene.lines) failed += !player.play(line);
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
    const char* host_state = "default";
    const char* provider = nullptr;
    int rounds = 1;
    int at = 1;
    for (; at + 1 < argc && argv[at][0] == '-' && argv[at][1] == '-'; at += 2) {
        if (strcmp(argv[at], "--host") == 0) host_state = argv[at + 1];
        if (strcmp(argv[at], "--provider") == 0) provider = argv[at + 1];
        if (strcmp(argv[at], "--rounds") == 0) rounds = atoi(argv[at + 1]);
    }
    if (argc != at + 3 || !use_decimal_commas()) return puts("play: usage, or no such locale"), 2;
    Player player(argv[at], argv[at + 1], host_state);
    player.provider = provider;
    size_t failed = 0;
    if (strcmp(argv[at + 2], "-") == 0) return play_input(player) > 0;
    failed +=
        !player.play({argv[0], "available -> 1 !"});  // binding the runtime empties the last error
    for (int round = 1; round <= rounds; ++round) {
        failed += play(player, argv[at + 2]);
        if (rounds > 1) printf("round %d\n", round);
    }
    printf("%zu calls played, %zu lines not as expected\n", player.played, failed);
    return failed > 0 || player.played == 0;
}

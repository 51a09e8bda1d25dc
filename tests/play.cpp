// Plays a script over the built library, in a process whose locale has decimal commas:
//
//     play [--host STATE] [--provider NAME] [--rounds N] [--leave exit|unload] LIBRARY MODELS SCRIPT
//
// --host STATE: every call finds this floating-point state (traps, flush, up, down or zero) and must
// leave it so. --leave: ends with the last scene's handles alive; unloads the library behind each round.
// SCRIPT may be - for standard input, each of whose lines is then answered by one.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <iostream>

#include "player.h"
#include "support/platform.h"

namespace {

// Plays a script, and gives the number of lines that were not as expected. The last scene's handles stay.
size_t play(Player& player, const char* path) {
    player.compares = false;  // binding the runtime empties the last error
    player.play({path, "available"});
    player.compares = true;
    size_t failed = 0;
    for (const Scene& scene : read_script(path)) {
        player.close();
        for (const Line& line : scene.lines) failed += !player.play(line);
    }
    return failed;
}

size_t play_input(Player& player) {
    size_t failed = 0;
    for (Line line = {"line", ""}; std::getline(std::cin, line.text);) {
        const size_t failed_before = failed;
        failed += !player.play(line);
        puts(failed == failed_before ? "as expected" : "not as expected");
    }
    return failed;
}

}  // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IONBF, 0);  // for the case that the process ends early
    std::map<std::string, const char*> options = {
        {"--host", "default"}, {"--provider", nullptr}, {"--rounds", "1"}, {"--leave", ""}};
    for (; argc > 4 && options.count(argv[1]) != 0; argv += 2, argc -= 2)
        options[argv[1]] = argv[2];
    if (argc != 4 || !use_decimal_commas()) return puts("play: usage, or no such locale"), 2;
    const std::string leave = options["--leave"];
    size_t failed = 0, played = 0;
    for (int round = 1; round <= atoi(options["--rounds"]); ++round) {
        Player player(argv[1], argv[2], options["--host"]);
        player.provider = options["--provider"];
        if (strcmp(argv[3], "-") == 0) return play_input(player) > 0;
        failed += play(player, argv[3]);
        played += player.played;
        if (round > 1) printf("round %d\n", round);
        if (leave == "exit") exit(failed > 0);
        player.close();
        if (leave == "unload") unload(argv[1]);
    }
    printf("%zu calls played, %zu lines not as expected\n", played, failed);
    return failed > 0 || played == 0;
}

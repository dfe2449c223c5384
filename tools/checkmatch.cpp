// Checks the file of a self-play match: replays every game with the board library and counts the
// results. Usage: checkmatch match.pgn. Exit status 0 when every game is sound.
#include <cstdio>

#include "board/zobrist.h"
#include "frontend/match_games.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::puts("usage: checkmatch match.pgn");
        return 2;
    }
    InitBitboards();
    InitZobrist();
    if (NewThreadBlock(0) == nullptr) { return 1; }
    int faults = 0, wins[2] = {0, 0}, draws = 0, number = 0;
    std::size_t plies = 0;
    const std::vector<MatchGame> games = ReadMatchGames(argv[1]);
    for (const MatchGame& game : games) {
        ++number;
        plies += game.moves.size();
        const std::string fault = FaultOfGame(game);
        if (!fault.empty()) {
            std::printf("game %d: %s\n", number, fault.c_str());
            ++faults;
        }
        if (game.result == "1/2-1/2") {
            ++draws;
        } else {
            ++wins[(game.result == "1-0") == (game.white == "Player1") ? 0 : 1];
        }
    }
    std::printf("%d games, %zu plies, player 1 won %d, player 2 won %d, drawn %d, %d with faults\n",
                number, plies, wins[0], wins[1], draws, faults);
    FreeThreadBlock(0);
    return number > 0 && faults == 0 ? 0 : 1;
}

// Writes a collection of random legal games in PGN form to standard output, for trying the book
// builder and the scanner at any size. Usage: make_games <games> <longest game in plies> [seed].
// The same arguments give the same collection. About half of the games start with one of a few
// openings, so that some positions are met often.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"
#include "board/zobrist.h"
#include "eval/threadblock.h"
#include "frontend/pblock.h"

namespace {

constexpr int LINE_WIDTH = 79;
const char* const openings[] = {"e2e4 e7e5 g1f3 b8c6 f1b5", "d2d4 d7d5 c2c4 e7e6 b1c3 g8f6",
                                "e2e4 c7c5 g1f3 d7d6 d2d4", "c2c4 e7e5 b1c3 g8f6"};

using Random = std::mt19937_64;

// A random legal move of the game position, 0 when there is none.
Move RandomMove(Random& random) {
    Position* pos = game_position;
    GenerateAll(pos);
    Move legal[MAX_LIST_SIZE];
    std::size_t n = 0;
    for (const MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e) {
        if (MoveIsLegal(pos, pos->side, e->move)) { legal[n++] = e->move; }
    }
    return n == 0 ? NO_MOVE : legal[random() % n];
}

// The text of a move as game files have it.
std::string GameText(Move m) {
    MoveForms forms;
    GenMoveStrings(game_position, m, &forms);
    return forms.san[0] == 'o' ? forms.file_form : forms.san;
}

void WriteGame(int number, int longest, Random& random) {
    static const char* const results[] = {"1-0", "0-1", "1/2-1/2"};
    const char* result = results[random() % 3];
    std::printf("[Event \"Random games\"]\n[Round \"%d\"]\n[Result \"%s\"]\n\n", number, result);
    SetPosition(game_position, fen_opn);
    std::string opening = random() % 2 ? openings[random() % std::size(openings)] : "";
    std::size_t at = 0;
    std::string line;
    const auto write = [&line](const std::string& word) {
        if (line.size() + word.size() + 1 > LINE_WIDTH) {
            std::printf("%s\n", line.c_str());
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    };
    for (int ply = 0; ply < longest; ++ply) {
        Move m = NO_MOVE;
        if (at < opening.size()) {
            m = ReadMove(game_position, opening.substr(at, 4)).move;
            at += 5;
            if (m == NO_MOVE) { std::abort(); }
        } else {
            m = RandomMove(random);
        }
        if (m == NO_MOVE) { break; }
        if (ply % 2 == 0) { write(std::to_string(ply / 2 + 1) + "."); }
        write(GameText(m));
        PlayGameMove(game_position, m);
    }
    write(result);
    std::printf("%s\n\n", line.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: make_games <games> <longest game in plies> [seed]\n", stderr);
        return 1;
    }
    InitBitboards();
    InitZobrist();
    if (NewThreadBlock(0) == nullptr) { return 1; }
    game_position = &ThreadData[0]->pos;
    Random random(argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1);
    const int games = std::atoi(argv[1]);
    for (int i = 1; i <= games; ++i) { WriteGame(i, std::atoi(argv[2]), random); }
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}

// Checks the file of a self-play match: replays every game with the board library and counts the
// results. Usage: checkmatch match.pgn. Exit status 0 when every game is sound.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/zobrist.h"
#include "eval/threadblock.h"

namespace {

struct MatchGame {
    std::string white, black, result;
    std::vector<std::string> moves;  // from-square and to-square; the last one may not be playable
};

// The text between the quotes of a tag line.
std::string QuotedText(const std::string& line) {
    const std::size_t first = line.find('"'), last = line.rfind('"');
    return first == last ? "" : line.substr(first + 1, last - first - 1);
}

std::vector<MatchGame> ReadMatchGames(const std::string& path) {
    std::vector<MatchGame> games;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("[Event", 0) == 0) { games.emplace_back(); }
        if (line.empty() || games.empty()) { continue; }
        MatchGame& game = games.back();
        if (line.rfind("[White ", 0) == 0) { game.white = QuotedText(line); }
        if (line.rfind("[Black ", 0) == 0) { game.black = QuotedText(line); }
        if (line.rfind("[Result ", 0) == 0) { game.result = QuotedText(line); }
        if (line[0] == '[') { continue; }
        for (std::size_t at = line.find(" {"); at != std::string::npos;
             at = line.find(" {", at + 1)) {
            game.moves.push_back(at >= 4 ? line.substr(at - 4, 4) : "");
        }
    }
    return games;
}

// Replays moves[from...] on `pos`. Promotions are written without their piece, so each one is
// tried. Returns the largest number of moves that can be played.
std::size_t ReplayFrom(Position* pos, const std::vector<std::string>& moves, std::size_t from) {
    if (from == moves.size()) { return from; }
    GenerateAll(pos);
    std::vector<Move> candidates;
    for (const MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e) {
        const std::string text =
            std::string(square_name[MoveFrom(e->move)]) + square_name[MoveTo(e->move)];
        if (text == moves[from] && MoveIsLegal(pos, pos->side, e->move)) {
            candidates.push_back(e->move);
        }
    }
    std::size_t best = from;
    for (const Move m : candidates) {
        PlayGameMove(pos, m);
        const std::size_t reached = ReplayFrom(pos, moves, from + 1);
        TakeBackGameMove(pos);
        if (reached > best) { best = reached; }
        if (best == moves.size()) { break; }
    }
    return best;
}

// Empty when the game is sound: every move but the last legal, names and result as they should be.
std::string FaultOfGame(const MatchGame& game) {
    Position* pos = &ThreadData[0]->pos;
    SetPosition(pos, fen_opn);
    const std::size_t played = ReplayFrom(pos, game.moves, 0);
    if (game.moves.empty()) { return "no moves"; }
    if (played + 1 < game.moves.size()) {
        return "move " + std::to_string(played + 1) + " (" + game.moves[played] + ") is not legal";
    }
    if (game.white == game.black || game.white.rfind("Player", 0) != 0) { return "bad names"; }
    if (game.result != "1-0" && game.result != "0-1" && game.result != "1/2-1/2") {
        return "bad result";
    }
    return "";
}

}  // namespace

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

// Reads the file of a self-play match and replays its games with the board library: shared by the
// match test and the checker program of tools/. Needs the tables of the square and key set-up and
// the thread record of slot 0.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "board/bitboards.h"
#include "board/moves.h"
#include "eval/threadblock.h"

struct MatchGame {
    std::string white, black, result;
    std::vector<std::string> moves;  // from-square and to-square; the last one may not be playable
};

// The text between the quotes of a tag line.
inline std::string QuotedText(const std::string& line) {
    const std::size_t first = line.find('"'), last = line.rfind('"');
    return first == last ? "" : line.substr(first + 1, last - first - 1);
}

inline std::vector<MatchGame> ReadMatchGames(const std::string& path) {
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
inline std::size_t ReplayFrom(Position* pos, const std::vector<std::string>& moves,
                              std::size_t from) {
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
inline std::string FaultOfGame(const MatchGame& game) {
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

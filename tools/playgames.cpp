// Lets two engines play whole games against each other over UCI, as a GUI would: keeps the clocks,
// ponders if asked to, and checks every move with the board library, trusting neither engine.
// Writes the games as PGN and ends with a summary line; the exit status is 0 only when every game
// ended by the rules of chess.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/zobrist.h"
#include "book/pgnwrite.h"
#include "frontend/pblock.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

constexpr double START_LIMIT_SECONDS = 20;  // for an engine's answer outside its thinking time
constexpr double GRACE_SECONDS = 5;         // a lost clock is waited out this long for the report
constexpr std::size_t MAX_GAME_PLIES = 2000;
constexpr std::size_t PGN_LINE_LENGTH = 79;

struct Settings {
    int games = 2;
    double base = 1.0;
    double increment = 0.01;
    bool ponder = false;
    int threads[2] = {1, 1};  // by engine, not by colour
    int hash_mb = 16;
    int random_plies = 6;  // opening moves drawn by lot, so that games differ
    unsigned seed = 1;
    std::string engine[2];  // empty: the built one
    std::string pgn = "games.pgn";
};

enum class End { None, Mate, Stalemate, Repetition, FiftyMoves, Material, Illegal, Forfeit, Crash };

const char* EndName(End end) {
    static const char* const names[] = {"unfinished",   "checkmate",    "stalemate",
                                        "repetition",   "fifty moves",  "insufficient material",
                                        "illegal move", "time forfeit", "engine failure"};
    return names[static_cast<int>(end)];
}

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// --- the game as the rules see it ---

struct Game {
    std::vector<std::string> moves;  // coordinates
    std::vector<std::string> san;
    std::map<std::string, int> seen;  // position text and how often it stood
    int reversible_plies = 0;
    End end = End::None;
    int loser = -1;  // colour, -1 in a drawn game
    std::string detail;
};

// The en passant square counts for repetition only while a capture there is legal.
std::string PositionText(const std::vector<Move>& legal) {
    char text[EPD_FIELDS_SIZE];
    MakeEPD(game_position, text);
    std::string key = text;
    const bool possible = std::any_of(legal.begin(), legal.end(), [](Move m) {
        return MoveTo(m) == game_position->ep_square &&
               PieceType(game_position->board[MoveFrom(m)]) == PAWN;
    });
    if (!possible) { key.erase(key.rfind(' ')); }
    return key;
}

void Finish(Game* game, End end, int loser, const std::string& detail = "") {
    game->end = end;
    game->loser = loser;
    game->detail = detail;
}

// Looks at the position that has just come up.
void JudgePosition(Game* game) {
    const std::vector<Move> legal = LegalMoves(game_position);
    const int side = game_position->side;
    const int times = ++game->seen[PositionText(legal)];
    if (legal.empty()) {
        if (InCheck(game_position, side) != 0) {
            Finish(game, End::Mate, side);
        } else {
            Finish(game, End::Stalemate, -1);
        }
    } else if (NoMateIsPossible(game_position)) {
        Finish(game, End::Material, -1);
    } else if (times >= 3) {
        Finish(game, End::Repetition, -1);
    } else if (game->reversible_plies >= FIFTY_MOVE_PLIES) {
        Finish(game, End::FiftyMoves, -1);
    } else if (game->moves.size() >= MAX_GAME_PLIES) {
        Finish(game, End::Crash, -1, "the game does not end");
    }
}

// Plays a move given as text; false when it is not legal.
bool PlayText(Game* game, const std::string& text) {
    for (const Move m : LegalMoves(game_position)) {
        if (MoveText(m) != text) { continue; }
        const bool quiet = PieceType(game_position->board[MoveFrom(m)]) != PAWN &&
                           game_position->board[MoveTo(m)] == NO_PIECE;
        game->san.push_back(StandardSan(game_position, m));
        PlayGameMove(game_position, m);
        game->reversible_plies = quiet ? game->reversible_plies + 1 : 0;
        game->moves.push_back(text);
        JudgePosition(game);
        return true;
    }
    return false;
}

void PlayOpening(Game* game, int plies, std::mt19937* random) {
    SetPosition(game_position, fen_opn);
    JudgePosition(game);
    for (int i = 0; i < plies && game->end == End::None; ++i) {
        const std::vector<Move> legal = LegalMoves(game_position);
        PlayText(game, MoveText(legal[(*random)() % legal.size()]));
    }
}

// --- an engine at the board ---

class Player {
public:
    Player(const Settings& settings, int number)
        : session_({"-nolog"}, settings.engine[number]), increment_(settings.increment) {
        session_.Send("uci");
        const std::string ok = session_.Expect("uciok", START_LIMIT_SECONDS);
        session_.Send("setoption name Hash value " + std::to_string(settings.hash_mb));
        session_.Send("setoption name Threads value " + std::to_string(settings.threads[number]));
        session_.Send(std::string("setoption name Ponder value ") +
                      (settings.ponder ? "true" : "false"));
        alive = !ok.empty() && Ready();
    }

    void NewGame(double seconds) {
        clock = seconds;
        pondered_.clear();
        session_.Send("ucinewgame");
        alive = alive && Ready();
    }

    // Thinks about the position after `moves`; returns the move, empty when none came. Takes the
    // time from the clock.
    std::string Think(const std::vector<std::string>& moves, int side, const Player& opponent) {
        const bool hit = !pondered_.empty() && !moves.empty() && moves.back() == pondered_;
        if (!pondered_.empty() && !hit) { StopPondering(); }
        pondered_.clear();
        const double start = Now();
        if (hit) {
            session_.Send("ponderhit");
        } else {
            SendPosition(moves);
            session_.Send(GoLine("go", side, opponent));
        }
        std::istringstream words(session_.Expect("bestmove", clock + GRACE_SECONDS));
        clock -= Now() - start;
        std::string word, move;
        words >> word >> move >> word;
        reply_.clear();
        if (word == "ponder") { words >> reply_; }
        if (move.empty()) { alive = false; }
        return move;
    }

    // Ponders on the expected reply, if there is one.
    void Ponder(std::vector<std::string> moves, int side, const Player& opponent) {
        if (reply_.empty()) { return; }
        pondered_ = reply_;
        moves.push_back(reply_);
        SendPosition(moves);
        session_.Send(GoLine("go ponder", side, opponent));
    }

    void StopPondering() {
        if (pondered_.empty()) { return; }
        pondered_.clear();
        session_.Send("stop");
        if (session_.Expect("bestmove", START_LIMIT_SECONDS).empty()) { alive = false; }
    }

    // The engine has to leave properly.
    bool Quit() {
        session_.Send("quit");
        return session_.Wait(START_LIMIT_SECONDS) == 0;
    }

    const std::string& Reply() const { return reply_; }

    double clock = 0;  // seconds left
    bool alive = false;

private:
    bool Ready() {
        session_.Send("isready");
        return !session_.Expect("readyok", START_LIMIT_SECONDS).empty();
    }

    void SendPosition(const std::vector<std::string>& moves) {
        std::string line = "position startpos";
        if (!moves.empty()) { line += " moves"; }
        for (const std::string& m : moves) { line += " " + m; }
        session_.Send(line);
    }

    std::string GoLine(const char* command, int side, const Player& opponent) const {
        const double white = side == WHITE ? clock : opponent.clock;
        const double black = side == WHITE ? opponent.clock : clock;
        char line[160];
        std::snprintf(line, sizeof(line), "%s wtime %.0f btime %.0f winc %.0f binc %.0f", command,
                      white * 1e3, black * 1e3, increment_ * 1e3, increment_ * 1e3);
        return line;
    }

    Session session_;
    double increment_;
    std::string reply_;     // expected reply of the last bestmove
    std::string pondered_;  // move that the running ponder search assumes, empty if none runs
};

// --- matches ---

// One move of the side to move.
void PlayTurn(Game* game, const Settings& settings, Player* mover, const Player& opponent) {
    const int side = game_position->side;
    const std::string move = mover->Think(game->moves, side, opponent);
    if (!mover->alive) { return Finish(game, End::Crash, side, "no bestmove"); }
    if (mover->clock < 0) {
        return Finish(game, End::Forfeit, side,
                      "by " + std::to_string(static_cast<int>(-mover->clock * 1e3) + 1) + " ms");
    }
    mover->clock += settings.increment;
    if (!PlayText(game, move)) { return Finish(game, End::Illegal, side, move); }
    if (game->end != End::None || mover->Reply().empty()) { return; }
    const std::vector<Move> replies = LegalMoves(game_position);
    if (std::none_of(replies.begin(), replies.end(),
                     [mover](Move m) { return MoveText(m) == mover->Reply(); })) {
        return Finish(game, End::Illegal, side, "ponder " + mover->Reply());
    }
    if (settings.ponder) { mover->Ponder(game->moves, side, opponent); }
}

Game PlayGame(const Settings& settings, Player* white, Player* black, std::mt19937* random) {
    Game game;
    PlayOpening(&game, settings.random_plies, random);
    Player* const players[2] = {white, black};
    for (Player* p : players) { p->NewGame(settings.base); }
    while (game.end == End::None) {
        const int side = game_position->side;
        PlayTurn(&game, settings, players[side], *players[side ^ 1]);
    }
    for (Player* p : players) {
        if (p->alive) { p->StopPondering(); }
        if (!p->alive && game.end != End::Crash) {
            Finish(&game, End::Crash, -1, "while pondering");
        }
    }
    return game;
}

const char* ResultText(const Game& game) {
    if (game.end == End::None || (game.end == End::Crash && game.loser < 0)) { return "*"; }
    return game.loser < 0 ? "1/2-1/2" : game.loser == WHITE ? "0-1" : "1-0";
}

void WritePgn(std::FILE* out, const Settings& settings, const Game& game, int round,
              int white_engine) {
    char date[16];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof(date), "%Y.%m.%d", std::localtime(&now));
    std::fprintf(out, "[Event \"Test games\"]\n[Site \"?\"]\n[Date \"%s\"]\n[Round \"%d\"]\n", date,
                 round);
    std::fprintf(out, "[White \"Engine %d\"]\n[Black \"Engine %d\"]\n[Result \"%s\"]\n",
                 white_engine + 1, 2 - white_engine, ResultText(game));
    std::fprintf(out, "[TimeControl \"%g+%g\"]\n[Termination \"%s\"]\n\n", settings.base,
                 settings.increment, EndName(game.end));
    std::string line;
    const auto put = [&](const std::string& word) {
        if (!line.empty() && line.size() + 1 + word.size() > PGN_LINE_LENGTH) {
            std::fprintf(out, "%s\n", line.c_str());
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    };
    for (std::size_t i = 0; i < game.san.size(); ++i) {
        if (i % 2 == 0) { put(std::to_string(i / 2 + 1) + "."); }
        put(game.san[i]);
    }
    put(ResultText(game));
    std::fprintf(out, "%s\n\n", line.c_str());
    std::fflush(out);
}

int Usage() {
    std::fprintf(stderr,
                 "usage: playgames [--games N] [--base SECONDS] [--inc SECONDS] [--ponder]\n"
                 "                 [--threads1 N] [--threads2 N] [--hash MB] [--random-plies N]\n"
                 "                 [--seed N] [--engine1 FILE] [--engine2 FILE] [--pgn FILE]\n");
    return 2;
}

bool ReadSettings(int argc, char** argv, Settings* s) {
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--ponder") {
            s->ponder = true;
            continue;
        }
        if (i + 1 == argc) { return false; }
        const char* value = argv[++i];
        if (option == "--games") {
            s->games = std::atoi(value);
        } else if (option == "--base") {
            s->base = std::atof(value);
        } else if (option == "--inc") {
            s->increment = std::atof(value);
        } else if (option == "--threads1") {
            s->threads[0] = std::atoi(value);
        } else if (option == "--threads2") {
            s->threads[1] = std::atoi(value);
        } else if (option == "--hash") {
            s->hash_mb = std::atoi(value);
        } else if (option == "--random-plies") {
            s->random_plies = std::atoi(value);
        } else if (option == "--seed") {
            s->seed = static_cast<unsigned>(std::atoi(value));
        } else if (option == "--engine1") {
            s->engine[0] = value;
        } else if (option == "--engine2") {
            s->engine[1] = value;
        } else if (option == "--pgn") {
            s->pgn = value;
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Settings settings;
    if (!ReadSettings(argc, argv, &settings)) { return Usage(); }
    InitEngineForTests();
    std::FILE* pgn = std::fopen(settings.pgn.c_str(), "w");
    if (pgn == nullptr) {
        std::perror(settings.pgn.c_str());
        return 2;
    }
    std::mt19937 random(settings.seed);
    std::unique_ptr<Player> players[2];
    std::map<std::string, int> ends;
    int points2 = 0;  // half points of engine 1
    int played = 0, bad = 0;
    for (int n = 0; n < settings.games; ++n) {
        // Engines are started anew only after a failure.
        for (int e = 0; e < 2; ++e) {
            if (players[e] == nullptr || !players[e]->alive) {
                players[e] = std::make_unique<Player>(settings, e);
            }
        }
        const int white = n % 2;
        const Game game =
            PlayGame(settings, players[white].get(), players[white ^ 1].get(), &random);
        WritePgn(pgn, settings, game, n + 1, white);
        std::printf("game %d: %s %s %s, %zu plies, clocks %.2f %.2f\n", n + 1, ResultText(game),
                    EndName(game.end), game.detail.c_str(), game.moves.size(),
                    players[white]->clock, players[white ^ 1]->clock);
        std::fflush(stdout);
        ++played;
        ++ends[EndName(game.end)];
        if (game.end >= End::Illegal) {
            ++bad;
        } else if (game.loser < 0) {
            ++points2;
        } else if ((game.loser == WHITE) != (white == 0)) {
            points2 += 2;
        }
    }
    std::fclose(pgn);
    for (auto& p : players) {
        if (p != nullptr && !p->Quit()) {
            std::printf("an engine did not quit properly\n");
            ++bad;
        }
    }
    std::printf("%d games, engine 1 scored %.1f, failures %d;", played, points2 * 0.5, bad);
    for (const auto& [name, count] : ends) { std::printf(" %s %d", name.c_str(), count); }
    std::printf("\n");
    return bad == 0 ? 0 : 1;
}

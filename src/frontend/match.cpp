// The self-play match between two parameter sets: player 1 is the default set with "test1.rc" read
// over it, player 2 the default set. Fast games of a fixed node count, searched on the calling
// thread without a transposition table; only the opening book makes one game differ from the next.
// Everything of start-up must have run. Front-end thread only.
#include "frontend/match.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "board/bitboards.h"
#include "board/moves.h"
#include "book/book.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/input.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "search/draws.h"
#include "search/perft.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/toolsearch.h"
#include "search/ttable.h"

namespace {

constexpr int GAMES = 8000;
constexpr std::size_t GAME_RECORD_PLIES = 700;  // a longer game is a draw; fits the undo records
constexpr int BOOK_PLIES = 12;                  // the book is asked while fewer moves are made
constexpr unsigned INPUT_INTERVAL = 16;         // plies between two looks at the input
constexpr int DECIDED_SCORE = 900;              // centipawns; beyond it the game is over
constexpr int GAMES_BEFORE_MARK = 200;          // before them no result is called significant
constexpr double SECONDS_PER_MOVE = 1.0;
constexpr i16 MATCH_BOOK_WEIGHT = 100;

enum Outcome { GAME_GOES_ON, WHITE_WINS, BLACK_WINS, DRAWN };

// One recorded ply. The last one of a game may not have been made on the board.
struct MatchPly {
    Move move;
    int score;  // centipawns, for the mover
    int depth;  // completed
};

struct Match {
    PersonalityRecord player[2];
    int wins[2] = {0, 0};
    int draws = 0;
    int game = 0;
    unsigned plies_begun = 0;     // of all games
    int white_player = 0;         // index of the player who has White in this game
    std::vector<MatchPly> plies;  // of the game being played
    std::FILE* out = nullptr;
};

// True when the game position is drawn by repetition or by the fifty-move rule, which asks that
// there is no mate.
bool DrawnWithoutSearch() {
    Position* pos = game_position;
    if (pos->fifty > FIFTY_MOVE_PLIES &&
        IsMate(ThreadData[0], InCheck(pos, pos->side)) != CHECKMATE) {
        return true;
    }
    return IsRepetitionDraw(pos);
}

// Leaves the mover's move in PBlock.result (0 = none) and its score.
void ChooseMove(Match* match) {
    const bool white_moves = game_position->side == WHITE;
    PrepareToolSearch();
    Personality = match->player[white_moves ? match->white_player : match->white_player ^ 1];
    if (game_position->hist_count < BOOK_PLIES) {
        GetCandidates(game_position, 0);
        PBlock.result.PublishScore(0);
        if (PBlock.result.SnapshotMove() != NO_MOVE) { return; }
    }
    InitEval();
    if (DrawnWithoutSearch()) {
        PBlock.result.PublishScore(0);
        return;
    }
    SearchIterations(1);
}

Outcome Judge() {
    const bool white_moves = game_position->side == WHITE;
    const int score = PBlock.result.Score();
    if (score < -DECIDED_SCORE) { return white_moves ? BLACK_WINS : WHITE_WINS; }
    if (score > DECIDED_SCORE) { return white_moves ? WHITE_WINS : BLACK_WINS; }
    if (game_position->fifty > FIFTY_MOVE_PLIES || PBlock.result.SnapshotMove() == NO_MOVE) {
        return DRAWN;
    }
    return GAME_GOES_ON;
}

// Plays one game. GAME_GOES_ON when the user has quit in the middle of it.
Outcome PlayGame(Match* match) {
    SetPosition(game_position, fen_opn);
    match->white_player = std::rand() % 2;  // player 1 is white when 0
    match->plies.clear();
    PBlock.options.hash_mode = 0;
    ClearTTable();
    for (;;) {
        if (++match->plies_begun % INPUT_INTERVAL == 0) {
            SearchTimeout();
            UserInput();
            if (PBlock.control.quit) { return GAME_GOES_ON; }
        }
        ChooseMove(match);
        const Outcome outcome = Judge();
        match->plies.push_back(
            {PBlock.result.SnapshotMove(), PBlock.result.Score(), PBlock.result.DepthDone()});
        if (outcome != GAME_GOES_ON) { return outcome; }
        if (match->plies.size() >= GAME_RECORD_PLIES) { return DRAWN; }
        PlayGameMove(game_position, PBlock.result.SnapshotMove());
    }
}

// Appends the game to the file, readable at once.
void WriteGame(const Match& match, Outcome outcome) {
    const char* const names[2] = {"Player1", "Player2"};
    const char* const results[] = {"", "1-0", "0-1", "1/2-1/2"};
    std::FILE* out = match.out;
    std::fprintf(out, "[Event selfplay]\n[Game %d]\n", match.game);
    std::fprintf(out, "[White \"%s\"]\n[Black \"%s\"]\n", names[match.white_player],
                 names[match.white_player ^ 1]);
    std::fprintf(out, "[Result \"%s\"]\n", results[outcome]);
    for (std::size_t i = 0; i < match.plies.size(); ++i) {
        const MatchPly& ply = match.plies[i];
        std::fprintf(out, "%s%s {%0.2f/%d}%s", square_name[MoveFrom(ply.move)],
                     square_name[MoveTo(ply.move)], ply.score / 100.0, ply.depth,
                     i % 2 == 0 ? "   " : "\n");
    }
    std::fputs("\n\n", out);
    std::fflush(out);
}

void CountGame(Match* match, Outcome outcome) {
    if (outcome == DRAWN) {
        ++match->draws;
    } else {
        ++match->wins[outcome == WHITE_WINS ? match->white_player : match->white_player ^ 1];
    }
}

void ShowScore(const Match& match) {
    const int g = match.game;
    const double f = (match.wins[0] + 0.5 * match.draws) / g;
    const double margin = 1.5 * std::sqrt(g + 10.0) / (g + 1);
    const bool significant = g > GAMES_BEFORE_MARK && std::abs(f - 0.5) > margin;
    if (g % 10 == 9) {
        ClearStatus();
        ShowMessageF("%4d games,  %3d %3d %3d  %0.3f (+/- %0.3f) %c", g, match.wins[0],
                     match.wins[1], match.draws, f, margin, significant ? '*' : ' ');
    }
    if (g < GAMES) { ShowStatus("game %d of %d", g + 1, GAMES); }
}

// The limits of every move of the match.
void SetLimits() {
    PBlock.options.book_weight = MATCH_BOOK_WEIGHT;
    PBlock.options.noise = NOISE_NEVER;
    PBlock.time.SetTimePerMove(SECONDS_PER_MOVE);
    PBlock.time.ResetClocks();
    PBlock.limits.node_limit = static_cast<u64>(std::rand() % 11 + 95) * 200;
}

}  // namespace

void Tune_3() {
    Match match;
    match.player[0] = match.player[1] = DefaultPersonality;
    if (!LoadConfigFile("test1.rc", &match.player[0])) {
        ShowMessage("Can't open file test1.rc\n");
        return;
    }
    InitEval();
    match.out = std::fopen(PBlock.tool.match_file, "w");
    if (match.out == nullptr) {
        PrintDirect("can't open %s\n", PBlock.tool.match_file);
        return;
    }
    if (opening_book.bkrecnum == 0) {
        ShowError("no opening book: the games will hardly differ from each other\n");
    }
    match.plies.reserve(GAME_RECORD_PLIES);
    SetLimits();
    ShowMessage("Starting match...");
    while (match.game < GAMES) {
        ++match.game;
        const Outcome outcome = PlayGame(&match);
        if (outcome == GAME_GOES_ON) { break; }
        CountGame(&match, outcome);
        WriteGame(match, outcome);
        ShowScore(match);
    }
    ClearStatus();
    std::fclose(match.out);
}

// The self-play match between two parameter sets: player 1 is the default set with "test1.rc" read
// over it, player 2 the default set. Fast games of a fixed node count, searched on the calling
// thread without a transposition table; only the opening book makes one game differ from the next.
// Everything of start-up must have run. Front-end thread only.
#include "frontend/match.h"

#include <cassert>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "board/bitboards.h"
#include "board/moves.h"
#include "book/book.h"
#include "book/gamemove.h"
#include "book/pgnwrite.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "frontend/toolwait.h"
#include "platform/infile.h"
#include "platform/outfile.h"
#include "platform/textlines.h"
#include "search/draws.h"
#include "search/keepoptions.h"
#include "search/perft.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/toolsearch.h"
#include "search/ttable.h"

namespace {

constexpr int GAMES = 8000;
constexpr std::size_t GAME_RECORD_PLIES = 700;  // a longer game is a draw; fits the undo records
constexpr int OPENING_PLIES = 12;               // the book is asked while fewer moves are made
constexpr int DECIDED_SCORE = 900;              // centipawns; beyond it the game is over
constexpr int GAMES_BEFORE_MARK = 200;          // before them no result is called significant
constexpr int GAMES_PER_SCORE_LINE = 10;
constexpr std::size_t LINE_SIZE = 100;  // of the score
constexpr double SECONDS_PER_MOVE = 1.0;
constexpr double CENTIPAWNS_PER_PAWN = 100.0;
constexpr i16 MATCH_BOOK_WEIGHT = 100;

// One recorded ply. The last one of a game may not have been made on the board.
struct MatchPly {
    Move move;
    int score;  // centipawns, for the mover
    int depth;  // completed, 0 for a move of the book
    double seconds;
};

// Puts the parameters in use back at the end of its life.
class KeepParameters {
public:
    KeepParameters() = default;
    ~KeepParameters() {
        Personality = kept_;
        InitEval();
    }
    KeepParameters(const KeepParameters&) = delete;
    KeepParameters& operator=(const KeepParameters&) = delete;

private:
    PersonalityRecord kept_ = Personality;
};

constexpr const char* GAME_START = "[Event ";

struct Match {
    PersonalityRecord player[2];
    MatchScore score;
    unsigned plies_begun = 0;     // of all games
    int white_player = 0;         // index of the player who has White in this game
    std::vector<MatchPly> plies;  // of the game being played
    OutFile out;
};

// True when the game position is drawn by repetition or by the fifty-move rule, which asks that
// there is no mate.
bool DrawnWithoutSearch() {
    Position* pos = game_position;
    if (FiftyMovesAreOver(pos) && IsMate(ThreadData[0], InCheck(pos, pos->side)) != CHECKMATE) {
        return true;
    }
    return IsRepetitionDraw(pos);
}

// Leaves the mover's move in PBlock.result (0 = none) and its score.
void ChooseMove(Match* match) {
    const bool white_moves = game_position->side == WHITE;
    PrepareToolSearch();
    Personality = match->player[white_moves ? match->white_player : match->white_player ^ 1];
    if (game_position->hist_count < OPENING_PLIES) {
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

GameOutcome Judge() {
    const bool white_moves = game_position->side == WHITE;
    const int score = PBlock.result.Score();
    if (std::abs(score) > DECIDED_SCORE) {
        return (score > 0) == white_moves ? GameOutcome::WhiteWins : GameOutcome::BlackWins;
    }
    if (FiftyMovesAreOver(game_position) || PBlock.result.SnapshotMove() == NO_MOVE) {
        return GameOutcome::Drawn;
    }
    return GameOutcome::Undecided;
}

// Plays one game. Undecided when the user has quit in the middle of it.
GameOutcome PlayGame(Match* match) {
    SetPosition(game_position, fen_opn);
    match->white_player = std::rand() % 2;  // player 1 is white when 0
    match->plies.clear();
    PBlock.options.hash_mode = 0;
    ClearTTable();
    for (;;) {
        LookAtInput(++match->plies_begun);
        if (PBlock.control.quit) { return GameOutcome::Undecided; }
        ChooseMove(match);
        const GameOutcome outcome = Judge();
        match->plies.push_back({PBlock.result.SnapshotMove(), PBlock.result.Score(),
                                PBlock.result.DepthDone(), SecondsSinceStart()});
        if (outcome != GameOutcome::Undecided) { return outcome; }
        if (match->plies.size() >= GAME_RECORD_PLIES) { return GameOutcome::Drawn; }
        PlayGameMove(game_position, PBlock.result.SnapshotMove());
    }
}

constexpr const char* PLAYER_NAMES[2] = {"Player1", "Player2"};

const char* ResultText(GameOutcome outcome) {
    return outcome == GameOutcome::WhiteWins   ? "1-0"
           : outcome == GameOutcome::BlackWins ? "0-1"
                                               : "1/2-1/2";
}

void WriteClassicGame(Match* match, int number, GameOutcome outcome) {
    OutFile& out = match->out;
    out.Print("[Event selfplay]\n[Game %d]\n", number);
    out.Print("[White \"%s\"]\n[Black \"%s\"]\n", PLAYER_NAMES[match->white_player],
              PLAYER_NAMES[match->white_player ^ 1]);
    out.Print("[Result \"%s\"]\n", ResultText(outcome));
    for (std::size_t i = 0; i < match->plies.size(); ++i) {
        const MatchPly& ply = match->plies[i];
        out.Print("%s%s {%0.2f/%d}%s", square_name[MoveFrom(ply.move)],
                  square_name[MoveTo(ply.move)], ply.score / CENTIPAWNS_PER_PAWN, ply.depth,
                  i % 2 == 0 ? "   " : "\n");
    }
    out.Write("\n\n");
}

// Games end by the rules, or by a score or a length that decides them while there is a move. Makes
// the last move.
const char* Termination(const std::vector<MatchPly>& plies) {
    const MatchPly& last = plies.back();
    const bool cut_short =
        std::abs(last.score) > DECIDED_SCORE || plies.size() >= GAME_RECORD_PLIES;
    if (last.move == NO_MOVE || !cut_short) { return "normal"; }
    PlayGameMove(game_position, last.move);
    return LegalMoves(game_position).empty() ? "normal" : "adjudication";
}

void WriteStandardGame(Match* match, int number, GameOutcome outcome) {
    PgnTags tags;
    tags.event = "Self-play match";
    tags.date = DateOfToday();
    tags.round = std::to_string(number);
    tags.white = PLAYER_NAMES[match->white_player];
    tags.black = PLAYER_NAMES[match->white_player ^ 1];
    tags.result = ResultText(outcome);
    tags.start = fen_opn;
    tags.termination = Termination(match->plies);
    PgnWriter writer;
    writer.Tags(tags);
    SetPosition(game_position, fen_opn);
    for (const MatchPly& ply : match->plies) {
        if (ply.move == NO_MOVE) { break; }  // the last one: the game had ended
        writer.AddMove(game_position, ply.move);
        writer.AddComment(SearchComment(ply.score, ply.depth, ply.seconds));
        PlayGameMove(game_position, ply.move);
    }
    match->out.Write(writer.End(tags.result));
}

// Appends the game to the file, readable at once. False when it cannot be written.
// `number` counts from 1.
[[nodiscard]] bool WriteGame(Match* match, int number, GameOutcome outcome) {
    if (PBlock.options.conventions.full_pgn) {
        WriteStandardGame(match, number, outcome);
    } else {
        WriteClassicGame(match, number, outcome);
    }
    return match->out.Flush();
}

constexpr const char* HOLDS_NO_GAMES = "holds no games";

// Why the games may not take the place of what `path` holds; nullptr when they may: there is no
// such file, it is empty, or it holds games. Anything else was named by mistake.
const char* WhyKept(const char* path) {
    const char* why;
    std::FILE* file = OpenRegularFile(path, &why);
    if (file == nullptr) { return why; }
    LineReader reader;
    if (!OpenLines(&reader, file)) { return "not enough memory"; }
    TextLine line;
    bool empty = true, games = false;
    while (!games && ReadLine(&reader, &line)) {
        empty = empty && line.length == 0;
        games = std::strncmp(line.text, GAME_START, std::strlen(GAME_START)) == 0;
    }
    if (reader.broken_off) {
        why = "interrupted";
    } else if (ReadingFailed(reader)) {
        why = "cannot be read";
    } else if (!empty && !games) {
        why = HOLDS_NO_GAMES;
    }
    CloseLines(&reader);
    return why;
}

[[nodiscard]] bool OpenMatchFile(OutFile* out) {
    const char* path = PBlock.tool.match_file.c_str();
    const char* why = WhyKept(path);
    if (why == nullptr && out->CreateGrowing(path)) { return true; }
    if (why == HOLDS_NO_GAMES) {
        ShowMessageF("%s holds no games and is left as it is", path);
        return false;
    }
    PrintDirect("can't open %s\n", path);
    if (why != nullptr) {
        ShowError("%s: %s\n", path, why);
    } else {
        ShowError("%s\n", out->Fault().c_str());
    }
    return false;
}

void ShowScore(const MatchScore& score) {
    if (score.games % GAMES_PER_SCORE_LINE == GAMES_PER_SCORE_LINE - 1) {
        ClearStatus();
        ShowMessage(score.Line().c_str());
    }
    if (score.games < GAMES) { ShowStatus("game %d of %d", score.games + 1, GAMES); }
}

// The limits of every move of the match: 19,000 to 21,000 nodes.
void SetLimits() {
    constexpr int NODE_STEP = 200;
    constexpr int LOWEST_LIMIT = 95;  // in steps
    constexpr int NODE_LIMITS = 11;
    PBlock.options.book_weight = MATCH_BOOK_WEIGHT;
    PBlock.options.noise = NOISE_NEVER;
    PBlock.time.SetTimePerMove(SECONDS_PER_MOVE);
    PBlock.time.ResetClocks();
    PBlock.limits.node_limit =
        static_cast<u64>(std::rand() % NODE_LIMITS + LOWEST_LIMIT) * NODE_STEP;
}

}  // namespace

void MatchScore::Count(GameOutcome outcome, int white_player) {
    assert(outcome != GameOutcome::Undecided);
    ++games;
    if (outcome == GameOutcome::Drawn) {
        ++draws;
    } else {
        ++wins[outcome == GameOutcome::WhiteWins ? white_player : white_player ^ 1];
    }
}

std::string MatchScore::Line() const {
    assert(games > 0);
    constexpr double EVEN = 0.5;
    constexpr double MARGIN_FACTOR = 1.5;  // three standard deviations of a game's result
    constexpr double GAMES_OF_DOUBT = 10.0;
    const double share = (wins[0] + EVEN * draws) / games;
    const double margin = MARGIN_FACTOR * std::sqrt(games + GAMES_OF_DOUBT) / (games + 1);
    const bool significant = games > GAMES_BEFORE_MARK && std::abs(share - EVEN) > margin;
    char line[LINE_SIZE];
    std::snprintf(line, sizeof line, "%4d games,  %3d %3d %3d  %0.3f (+/- %0.3f) %c", games,
                  wins[0], wins[1], draws, share, margin, significant ? '*' : ' ');
    return line;
}

void Tune_3() {
    const KeepOptions kept_options;
    const KeepParameters kept_parameters;
    Match match;
    match.player[0] = match.player[1] = DefaultPersonality;
    if (!LoadConfigFile("test1.rc", &match.player[0])) {
        ShowMessage("Can't open file test1.rc\n");
        PBlock.tool.failed = true;
        return;
    }
    InitEval();
    if (!OpenMatchFile(&match.out)) {
        PBlock.tool.failed = true;
        return;
    }
    if (opening_book.bkrecnum == 0) {
        ShowError("no opening book: the games will hardly differ from each other\n");
    }
    match.plies.reserve(GAME_RECORD_PLIES);
    SetLimits();
    ShowMessage("Starting match...");
    while (match.score.games < GAMES) {
        const GameOutcome outcome = PlayGame(&match);
        if (outcome == GameOutcome::Undecided) { break; }
        match.score.Count(outcome, match.white_player);
        if (!WriteGame(&match, match.score.games, outcome)) { break; }
        ShowScore(match.score);
    }
    ClearStatus();
    if (!match.out.Commit()) {
        ShowMessage(match.out.Fault().c_str());
        PBlock.tool.failed = true;
    }
}

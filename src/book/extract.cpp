#include "book/extract.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>
#include <unordered_set>
#include <vector>

#include "board/bitboards.h"
#include "board/zobrist.h"
#include "book/pgngame.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/clock.h"
#include "platform/outfile.h"
#include "search/keepoptions.h"
#include "search/search.h"
#include "search/toolsearch.h"

namespace {

constexpr double STATUS_INTERVAL = 0.25;  // seconds
constexpr double SHORTEST_TIME = 1e-6;    // seconds; rates divide by it

// State of one run.
struct Extraction {
    std::string path;  // of the games
    OutFile out;
    std::unordered_set<u64> seen;  // search keys of the positions that were looked at
    u64 games = 0, unfinished = 0, unreadable = 0;
    u64 looked_at = 0, written = 0;
    double start = MonotonicSeconds();
    double shown = 0;  // when the status line was, seconds
};

// The result for White.
std::optional<double> PointsOf(const std::string& result) {
    constexpr double win = 1.0, draw = 0.5, loss = 0.0;
    if (result == "1-0") { return win; }
    if (result == "0-1") { return loss; }
    if (result == "1/2-1/2") { return draw; }
    return std::nullopt;
}

// The game's moves; nothing, with a line that says why, when one of them cannot be read.
std::optional<std::vector<Move>> ReadMoves(const Extraction& x, const PgnGame& game) {
    SetPosition(game_position, game.start.c_str());
    std::vector<Move> moves;
    moves.reserve(game.moves.size());
    for (const PgnMove& move : game.moves) {
        const MoveReading reading = ReadMove(game_position, move.text);
        if (reading.move == NO_MOVE) {
            ShowError("%s, game %llu: cannot read move %zu of the game: %.10s\n", x.path.c_str(),
                      static_cast<unsigned long long>(x.games), moves.size() + 1,
                      move.text.c_str());
            return std::nullopt;
        }
        moves.push_back(reading.move);
        PlayGameMove(game_position, reading.move);
    }
    return moves;
}

// Whether the quiescence search agrees with the static evaluation of the game position, seen as by
// someone who knows nothing of the game. Requires a side to move that is not in check.
bool IsQuiet() {
    ThreadBlock* tb = ThreadData[1];
    const auto links = std::tuple(tb->pos.undo, tb->pos.sstack, tb->pos.thread_id);
    tb->pos = *game_position;
    std::tie(tb->pos.undo, tb->pos.sstack, tb->pos.thread_id) = links;
    tb->pos.hist_count = 0;
    tb->pos.fifty = 0;
    tb->pos.last_move = NO_MOVE;
    SearchIterations(1);
    return tb->running_score == tb->root_eval;
}

void WritePosition(Extraction* x, const PgnMove& move, double white_points) {
    char fields[EPD_FIELDS_SIZE];
    const char* const end = MakeEPD(game_position, fields);
    x->out.Write({fields, end});
    if (move.score) { x->out.Print(" ce %d;", *move.score); }
    const bool white = game_position->side == WHITE;
    x->out.Print(" tune %.1f; id \"%llu\";\n", white ? white_points : 1.0 - white_points,
                 static_cast<unsigned long long>(x->games));
    ++x->written;
}

// Plays the game and writes what is wanted of it.
void ProcessGame(Extraction* x, const PgnGame& game, double white_points) {
    const auto moves = ReadMoves(*x, game);
    if (!moves) {
        ++x->unreadable;
        return;
    }
    SetPosition(game_position, game.start.c_str());
    for (std::size_t i = 0; i < moves->size(); ++i) {
        if (i >= FIRST_EXTRACTED_PLY && !game.moves[i].from_book) {
            ++x->looked_at;
            const bool in_check = InCheck(game_position, game_position->side) != 0;
            if (!in_check && x->seen.insert(SearchKey(game_position)).second && IsQuiet()) {
                WritePosition(x, game.moves[i], white_points);
            }
        }
        PlayGameMove(game_position, (*moves)[i]);
    }
}

void ShowProgress(Extraction* x) {
    const double time = MonotonicSeconds();
    if (time - x->shown < STATUS_INTERVAL) { return; }
    x->shown = time;
    ShowStatus("games= %llu, positions= %llu of %llu, %0.0f positions/s",
               static_cast<unsigned long long>(x->games),
               static_cast<unsigned long long>(x->written),
               static_cast<unsigned long long>(x->looked_at),
               static_cast<double>(x->looked_at) / std::max(time - x->start, SHORTEST_TIME));
}

void ProcessGames(Extraction* x, LineReader* lines, void (*look)()) {
    PgnGameReader reader(lines);
    PgnGame game;
    while (!PBlock.control.quit && reader.Next(&game)) {
        ++x->games;
        const std::optional<double> points = PointsOf(game.result);
        if (points) {
            ProcessGame(x, game, *points);
        } else {
            ++x->unfinished;
        }
        ShowProgress(x);
        if (look != nullptr) { look(); }
    }
    ClearStatus();
}

// Puts the output in its place, unless the games were not read to their end for a fault.
void Finish(Extraction* x, const LineReader& lines, const std::string& target) {
    const bool broken_off = lines.broken_off || PBlock.control.quit != 0;
    if (!broken_off && ReadingFailed(lines)) {
        ShowError("cannot read %s to its end; %s is unchanged\n", x->path.c_str(), target.c_str());
        PBlock.tool.failed = true;
        x->out.Abandon();
    } else if (broken_off && SameFile(x->path, target)) {
        ShowError("interrupted: %s is unchanged\n", x->path.c_str());
        x->out.Abandon();
    } else {
        if (!x->out.Commit()) {
            ShowMessage(x->out.Fault().c_str());
            PBlock.tool.failed = true;
        }
        if (broken_off) { ShowError("interrupted: the rest of %s is left out\n", x->path.c_str()); }
    }
    ShowMessageF(
        "games= %llu, without result= %llu, unreadable= %llu, looked at= %llu, "
        "positions= %llu",
        static_cast<unsigned long long>(x->games), static_cast<unsigned long long>(x->unfinished),
        static_cast<unsigned long long>(x->unreadable),
        static_cast<unsigned long long>(x->looked_at), static_cast<unsigned long long>(x->written));
}

// The quiescence search alone, by nobody's table and with draws worth nothing.
void PrepareSearches() {
    PBlock.options.conventions.full_pgn = true;
    PBlock.options.log = 0;
    PBlock.options.noise = NOISE_NEVER;
    PBlock.options.hash_mode = 0;
    PBlock.limits.max_depth = 0;
    InitEval();
    PrepareToolSearch();
    PBlock.root.draw_score[WHITE] = PBlock.root.draw_score[BLACK] = 0;
}

}  // namespace

void ExtractPositions(const std::string& games, const std::string& target, void (*look)()) {
    Extraction x;
    x.path = games;
    LineReader lines;
    if (!OpenLines(&lines, games.c_str())) {
        ShowError("cannot read %s\n", games.c_str());
        PBlock.tool.failed = true;
        return;
    }
    if (!x.out.Create(target)) {
        CloseLines(&lines);
        ShowMessage(x.out.Fault().c_str());
        PBlock.tool.failed = true;
        return;
    }
    const KeepOptions kept;
    PrepareSearches();
    ProcessGames(&x, &lines, look);
    Finish(&x, lines, target);
    CloseLines(&lines);
}

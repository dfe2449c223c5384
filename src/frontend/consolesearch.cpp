// Console commands that search, set the limits of searches, change the selectivity, and look into
// the engine.

#include <algorithm>
#include <climits>
#include <string>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/position.h"
#include "board/trace.h"
#include "board/zobrist.h"
#include "eval/evaluate.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/commandloop.h"
#include "frontend/consolecommands.h"
#include "frontend/output.h"
#include "frontend/report.h"
#include "frontend/units.h"
#include "platform/clock.h"
#include "platform/interrupt.h"
#include "search/perft.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/ttable.h"

// ---- the running search ----

void LeaveGame() {
    EndSelfPlay();
    AbandonSearch();
}

OwnSearch::OwnSearch() {
    FinishSearch();
    request_ = PBlock.control.start_request;
    kept_ = PBlock.result.Snapshot();
    PBlock.control.start_request = SEARCH_IDLE;
}

OwnSearch::~OwnSearch() {
    PBlock.control.start_request = request_;
    PBlock.result.PublishSnapshot(kept_);
}

bool PositionIsPlayable() {
    const char* why = WhyUnplayable(game_position);
    if (why == nullptr) { return true; }
    ShowMessage(why);
    return false;
}

// ---- searching and its limits ----

void ForceCommand(const Command&) {
    LeaveGame();
    PBlock.control.computer = NO_COMPUTER;
}

void QuitCommand(const Command&) {
    PBlock.control.stop = STOP_ABANDON;
    PBlock.control.quit = 1;
}

void GoCommand(const Command& c) {
    if (!PositionIsPlayable()) { return; }
    EndSelfPlay();
    const int depth = AnyNumber(c.word[1]);
    const bool unlimited = PBlock.options.conventions.plain_console && c.word[1].empty();
    const bool limited = !unlimited && depth >= 0 && depth < MAX_DEPTH;
    const int max_depth = limited ? depth : MAX_DEPTH;
    RequestSearch({.kind = SEARCH_ANALYSE, .max_depth = static_cast<i8>(max_depth)});
}

void AnalyseCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    EndSelfPlay();
    PBlock.options.noise = 0.0;
    PBlock.control.computer = NO_COMPUTER;
    RequestSearch({.kind = SEARCH_ANALYSE, .max_depth = MAX_DEPTH});
}

void StopCommand(const Command&) { PBlock.control.stop = STOP_ABANDON; }

void WaitCommand(const Command&) { WaitForSearches(); }

void ThinkCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    EndSelfPlay();
    PBlock.control.computer = game_position->side;
    RequestSearch({.kind = SEARCH_THINK});
}

void SelfPlayCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    if (PBlock.control.selfplay) { return; }
    EndGameRecord();
    PBlock.options.ponder = 0;
    RequestSearch({.kind = SEARCH_THINK, .selfplay = true});
}

namespace {

u16 SmallNumber(const std::string& word) {
    return static_cast<u16>(WholeNumber(word.c_str(), 0, USHRT_MAX));
}

// Seconds of "90" and of "1:30", minutes and seconds.
double SecondsOfText(const std::string& text) {
    constexpr double SECONDS_PER_MINUTE = 60.0;
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) { return DecimalNumber(text.c_str()); }
    return SECONDS_PER_MINUTE * AnyNumber(text) + DecimalNumber(text.c_str() + colon + 1);
}

}  // namespace

// "40 5:00 2": moves, minutes and seconds or seconds alone, increment.
void LevelCommand(const Command& c) {
    PBlock.time.moves_per_control = static_cast<u8>(AnyNumber(c.word[1]));
    PBlock.time.base_time = SecondsOfText(c.word[2]);
    PBlock.time.increment = DecimalNumber(c.word[3].c_str());
    PBlock.time.ResetClocks();
    ShowMessageF("set level to %d moves in %0.2f seconds, inc %0.2f", PBlock.time.moves_per_control,
                 PBlock.time.base_time, PBlock.time.increment);
}

void DepthCommand(const Command& c) {
    PBlock.limits.max_depth = static_cast<i8>(WholeNumber(c.word[1].c_str(), 0, MAX_DEPTH));
}

void TimeCommand(const Command& c) {
    if (PBlock.control.computer == WHITE || PBlock.control.computer == BLACK) {
        PBlock.time.clock[PBlock.control.computer] = DecimalNumber(c.word[1].c_str());
    }
}

void PonderCommand(const Command& c) { PBlock.options.ponder = SmallNumber(c.word[1]); }
void NoiseCommand(const Command& c) { PBlock.options.noise = DecimalNumber(c.word[1].c_str()); }
void DebugCommand(const Command& c) { PBlock.options.debug = SmallNumber(c.word[1]); }

void MultiPvCommand(const Command& c) {
    PBlock.options.multipv = static_cast<u16>(WholeNumber(c.word[1].c_str(), 1, MAX_MULTIPV));
}

void HashCommand(const Command& c) {
    PBlock.options.hash_mode = static_cast<u8>(WholeNumber(c.word[1].c_str(), 0, UCHAR_MAX));
}

void TraceCommand(const Command& c) {
    SetTraceStyle(TextStyle());
    PBlock.options.trace = SmallNumber(c.word[1]);
}

// ---- selectivity and parameters ----

namespace {

constexpr u8 BEYOND_EVERY_DEPTH = 99;  // plies

struct SelectivitySwitch {
    const char* name;
    u8 PersonalityRecord::*field;
    u8 off;  // its value while all selective pruning is off
};
constexpr SelectivitySwitch selectivity_switches[] = {
    {"NMP_depth", &PersonalityRecord::NMP_depth, BEYOND_EVERY_DEPTH},
    {"CNP_depth", &PersonalityRecord::CNP_depth, 0},
    {"LMP_depth", &PersonalityRecord::LMP_depth, 0},
    {"LMR_depth", &PersonalityRecord::LMR_depth, BEYOND_EVERY_DEPTH},
};

}  // namespace

void SetCommand(const Command& c) {
    AbandonSearch();
    const std::string& name = c.word[1];
    for (const SelectivitySwitch& s : selectivity_switches) {
        if (name != s.name) { continue; }
        Personality.*s.field = static_cast<u8>(AnyNumber(c.word[2]));
        ShowMessageF("%s set to %d", s.name, Personality.*s.field);
        return;
    }
    if (name == "ss_off") {
        for (const SelectivitySwitch& s : selectivity_switches) { Personality.*s.field = s.off; }
        ShowMessage("selectivity set to OFF");
    } else {
        Personality = DefaultPersonality;
        ShowMessage("selectivity set to default");
    }
}

namespace {

struct SquareTable {
    const i16* table;
    const char* title;
};
constexpr SquareTable square_tables[] = {
    {eval_tables.PawnOpening, "PawnOpening"},     {eval_tables.PawnEnding, "PawnEnding"},
    {eval_tables.KnightOpening, "KnightOpening"}, {eval_tables.KnightEnding, "KnightEnding"},
    {eval_tables.BishopOpening, "BishopOpening"}, {eval_tables.BishopEnding, "BishopEnding"},
    {eval_tables.RookOpening, "RookOpening"},     {eval_tables.RookEnding, "RookEnding"},
    {eval_tables.QueenOpening, "QueenOpening"},   {eval_tables.QueenEnding, "QueenEnding"},
    {eval_tables.KingOpening, "KingOpening"},     {eval_tables.KingEnding, "KingEnding"},
};

}  // namespace

void ParametersCommand(const Command&) {
    constexpr int SHOWN_DANGERS = 32;
    constexpr int SHOWN_MOBILITIES = 15;
    const EvalTables& tables = eval_tables;
    PrintDirect("piece values=  %d/%d  %d/%d  %d/%d  %d/%d  %d/%d\n", tables.MtlPawnOp[1],
                tables.MtlPawnEn[1], tables.MtlKnightOp[1], tables.MtlKnightEn[1],
                tables.MtlBishopOp[1], tables.MtlBishopEn[1], tables.MtlRookOp[1],
                tables.MtlRookEn[1], tables.MtlQueenOp[1], tables.MtlQueenEn[1]);
    for (int i = 0; i < SHOWN_DANGERS; ++i) {
        PrintDirect("i=%2d, kdngr= %3d\n", i, tables.KingDanger[i]);
    }
    for (int i = 0; i < SHOWN_MOBILITIES; ++i) {
        PrintDirect("%3d  nmob= %3d  bmob=%3d  rmob=%3d  qmob= %3d\n", i, tables.KnightMobility[i],
                    tables.BishopMobility[i], tables.RookMobility[i], tables.QueenMobility[i]);
    }
    for (int rank = 1; rank <= 8; ++rank) {
        PrintDirect("rank=%d,  ppadv=%3d\n", rank, tables.PP_BONUS[rank - 1]);
    }
    PrintDirect("pawn_shield= %d\n", Personality.pawn_shield);
    PrintDirect("pawn_storm= %d\n", Personality.pawn_storm);
    PrintDirect("hung= %d\n", Personality.hung);
    PrintDirect("pinned= %d\n", Personality.pinned);
    for (const SquareTable& t : square_tables) { PrintPSQTable(t.table, t.title); }
    PrintDirect("\n");
}

void ReductionsCommand(const Command&) {
    constexpr int SHOWN_DEPTHS = 30;
    for (const auto& layer : Personality.LMR_table) {
        for (int depth = 1; depth <= SHOWN_DEPTHS; ++depth) {
            std::string row;
            for (int i = 0; i < LMR_MOVES; ++i) { row += std::to_string(layer[depth][i]) + ' '; }
            PrintDirect("%2d  %s\n", depth, row.c_str());
        }
        PrintDirect("\n");
    }
}

// ---- looking into the engine ----

void ShowEvaluation() {
    const OwnSearch own;
    ShowEvalInfo();
}

void EvaluationCommand(const Command&) {
    if (PositionIsPlayable()) { ShowEvaluation(); }
}

namespace {

constexpr int LINE_PLIES = 66;  // longest line that is shown

// Copies the published line when the search it comes from is, or was, one of the game position.
void CopySearchLine(Move* line) {
    const ResultSnapshot result = PBlock.result.Snapshot();
    if (result.searched_key == SearchKey(game_position)) {
        std::copy(std::begin(result.pv), std::end(result.pv), line);
    }
}

}  // namespace

void LineCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    Position* pos = game_position;
    const RecordKeeper keep;
    Move line[PV_SIZE] = {};
    CopySearchLine(line);
    RetrievePV(ThreadData[0], line);
    std::string text;
    int made = 0;
    for (int ply = 1; ply <= LINE_PLIES; ++ply) {
        const Move m = line[ply];
        if (!IsLegalMove(pos, m)) { break; }
        MoveForms forms;
        GenMoveStrings(pos, m, &forms);
        text += forms.san;
        text += ' ';
        MakeMove(pos, m);
        ++made;
    }
    PrintDirect("PV: %s\n\n", text.c_str());
    ShowBoard(pos);
    while (made-- > 0) { UnmakeMove(pos); }
}

namespace {

// A search that runs is left alone: it does not use the record of the game position.
void PreparePerft() {
    if (PBlock.control.search_state == SEARCH_IDLE) {
        const OwnSearch own;
        InitSearch();
    } else {
        ShowSearchStart();
        ThreadData[0]->nodes = 0;
    }
}

}  // namespace

void PerftCommand(const Command& c) {
    if (!PositionIsPlayable()) { return; }
    const RecordKeeper keep;
    PreparePerft();
    ThreadBlock* tb = ThreadData[0];
    const double start = MonotonicSeconds();
    const bool complete = Perft(tb, WholeNumber(c.word[1].c_str(), 0, MAX_PERFT_DEPTH));
    const double seconds = MonotonicSeconds() - start;
    const double nodes = static_cast<double>(tb->nodes.Get());
    if (InterruptSeen()) {
        ShowMessage("interrupted: the count is incomplete");
    } else if (!complete) {
        ShowMessage("too many moves for the move buffer: the count is incomplete");
    }
    ShowMessageF("visited %0.0f nodes in %0.3f seconds, nps= %0.0f", nodes, seconds,
                 NodesPerSecond(nodes, seconds));
}

void SwapCommand(const Command&) {
    Position* pos = game_position;
    Bitboard pieces = Occupied(pos);
    while (pieces != 0) {
        const int square = PopLSB(&pieces);
        const int enemy = PieceColour(pos->board[square]) ^ 1;
        const int value = swapoff1(pos, enemy, NO_SQUARE, square, Occupied(pos));
        if (value != 0) { PrintDirect("sq= %s, swap= %d\n", square_name[square], value); }
    }
}

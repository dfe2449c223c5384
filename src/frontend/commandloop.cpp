// The command loop: takes input, starts searches, watches them, reports their end. Requires StartUp
// (tables, pool, transposition table). Front-end thread only; it never blocks on input.
#include "frontend/commandloop.h"

#include <algorithm>
#include <cassert>
#include <deque>
#include <vector>

#include "board/bitboards.h"
#include "board/trace.h"
#include "board/zobrist.h"
#include "book/book.h"
#include "book/gamemove.h"
#include "eval/personality.h"
#include "frontend/input.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "frontend/report.h"
#include "frontend/units.h"
#include "platform/interrupt.h"
#include "platform/sleep.h"
#include "search/search.h"
#include "search/searchinfo.h"
#include "search/threads.h"
#include "search/ttable.h"

namespace {

constexpr double LONGEST_IDLE_WAIT = 0.005;  // seconds, once the program is about to end
// A move with so much time is limited by something else.
constexpr double ENDLESS_SECONDS = 99999.0;

// What the loop remembers from pass to pass.
struct LoopState {
    // The position that the running search was begun for: a command may have changed the game
    // since.
    u64 searched_key = 0;
    int searched_hist_count = 0;
    bool searched_for_selfplay = false;  // the move found is to be played
    bool cut_short = false;              // by a command, before it was reported
    bool user_waits = false;             // nothing typed is heard before all searches have ended
    // After the search that runs, in this order.
    std::deque<SearchRequest> waiting_requests;
};
LoopState loop;

// Nobody can say anything any more.
bool InputIsOver() { return InputEnded() && !InputPending(); }

bool UciMode() { return PBlock.options.protocol == PROTOCOL_UCI; }

// True when nothing but the user ends the search that runs soon: the greatest depth is as good as
// none, and one that was named when the search had come further ends only an iteration.
bool SearchIsEndless() {
    const bool deep = PBlock.limits.max_depth >= MAX_DEPTH ||
                      PBlock.progress.iteration_depth > PBlock.limits.max_depth;
    return PBlock.control.search_state == SEARCH_PONDER || PBlock.control.infinite ||
           (PBlock.time.target_time >= ENDLESS_SECONDS && deep && PBlock.limits.node_limit == 0);
}

const char* NoMoveText() { return PBlock.options.conventions.null_is_0000 ? "0000" : "null"; }

void RefuseSearch(const char* why) {
    if (UciMode()) {
        ShowMessageF("info string %s", why);
        ShowMessageF("bestmove %s", NoMoveText());
    } else {
        ShowMessage(why);
    }
    PBlock.control.selfplay = 0;
    PBlock.control.infinite = 0;
}

bool BookMoveFound() {
    const bool analyses = PBlock.options.analyse_mode && PBlock.options.conventions.more_options;
    if (analyses || PBlock.root.wanted_count > 0) { return false; }
    if (!PBlock.options.own_book || game_position->hist_count > BOOK_MAX_PLY) { return false; }
    GetCandidates(game_position, 0);
    return PBlock.result.SnapshotMove() != NO_MOVE;
}

// Of a request that names its limits.
void SetLimits(const SearchRequest& request) {
    if (request.kind != SEARCH_ANALYSE) { return; }
    PBlock.time.SetTimePerMove(ENDLESS_SECONDS);
    PBlock.limits.max_depth = request.max_depth;
}

bool RequestsWait() { return !loop.waiting_requests.empty(); }

bool NothingToSearch() {
    return PBlock.control.search_state == SEARCH_IDLE &&
           PBlock.control.start_request == SEARCH_IDLE && !RequestsWait();
}

// Requires that no search runs.
void AcceptRequest(const SearchRequest& request) {
    assert(PBlock.control.search_state == SEARCH_IDLE);
    SetLimits(request);
    if (request.kind == SEARCH_ANALYSE && PBlock.options.hash_mode <= 1) { ClearTTable(); }
    if (request.selfplay) { PBlock.control.selfplay = 1; }
    PBlock.control.start_request = request.kind;
}

void BeginSearch() {
    const char* why = WhyUnplayable(game_position);
    if (why != nullptr) {
        RefuseSearch(why);
    } else {
        loop.searched_key = SearchKey(game_position);
        loop.searched_hist_count = game_position->hist_count;
        loop.searched_for_selfplay = PBlock.control.selfplay != 0;
        loop.cut_short = false;
        GetElapsedTime(1);
        InitSearch();
        if (BookMoveFound()) {
            ShowMessage(UciMode() ? "info string book move" : "book move");
            PBlock.result.PublishScore(0);
            PBlock.control.stop = STOP_FINISH;
        } else if (game_position->fifty <= FIFTY_MOVE_PLIES) {
            StartSearch();
        }
    }
    PBlock.control.start_request = SEARCH_IDLE;
}

// A GUI waits for a move: one that the user wants where some are named, else the first legal one;
// NO_MOVE when there is none.
Move AnyMove() {
    if (PBlock.root.wanted_count > 0) { return PBlock.root.wanted[0]; }
    const std::vector<Move> moves = LegalMoves(game_position);
    return moves.empty() ? NO_MOVE : moves.front();
}

void ReportToGui() {
    ResultSnapshot result = PBlock.result.Snapshot();
    // A search to depth 0 publishes no move, and beyond the limit of fifty moves there is no
    // search.
    const bool any_move_will_do =
        PBlock.options.conventions.null_is_0000 ||
        (PBlock.limits.max_depth == 0 && game_position->fifty <= FIFTY_MOVE_PLIES);
    if (result.pv[1] == NO_MOVE && any_move_will_do) { result.pv[1] = AnyMove(); }
    if (result.pv[1] == NO_MOVE && PBlock.options.conventions.null_is_0000 &&
        WhyUnplayable(game_position) == nullptr) {
        const bool mated = InCheck(game_position, game_position->side) != 0;
        ShowMessageF("info depth 0 score %s", mated ? "mate 0" : "cp 0");
    }
    char best[MOVE_TEXT_SIZE];
    char reply[MOVE_TEXT_SIZE];
    MoveToStr(result.pv[1], best, TextStyle());
    MoveToStr(result.pv[2], reply, TextStyle());
    if (result.pv[1] != NO_MOVE && result.pv[2] != NO_MOVE) {
        ShowMessageF("bestmove %s ponder %s", best, reply);
    } else {
        ShowMessageF("bestmove %s", result.pv[1] != NO_MOVE ? best : NoMoveText());
    }
}

double HitRate(u64 hits, u64 probes) {
    return PERCENT * static_cast<double>(hits) / (static_cast<double>(probes) + 1.0);
}

void ReportToConsole() {
    char best[MOVE_TEXT_SIZE];
    MoveToStr(PBlock.result.SnapshotMove(), best, TextStyle());
    const SearchStats totals = Collect();
    const double nodes = static_cast<double>(totals.nodes);
    ShowMessageF("move= %s, time= %0.3f, score= %d, nodes= %0.0f, nps= %0.0fK ebf= %0.2f", best,
                 PBlock.time.elapsed.Get(), PBlock.result.Score(), nodes,
                 KiloNodesPerSecond(nodes, PBlock.time.elapsed), EffectiveBranchingFactor());
    ShowMessageF("Hash fill= %.1f%%, Hash hits: main= %0.1f%%, pawn= %0.1f%%, eval= %0.1f%%",
                 PERCENT * PBlock.progress.hash_fill, HitRate(totals.tt_hits, totals.tt_probes),
                 HitRate(totals.pawn_hits, totals.pawn_probes),
                 HitRate(totals.eval_hits, totals.eval_probes));
    const i32* counts = PBlock.progress.ncnt;
    if (i64{counts[0]} + counts[1] + counts[2] + counts[3] != 0) {
        ShowMessageF("ncnt1= %d, ncnt2= %d, ncnt3= %d, ncnt4= %d", counts[0], counts[1], counts[2],
                     counts[3]);
    }
    ShowMessage("");
}

// Console self-play: charges the clock, plays the move and asks for the next one.
void ContinueSelfPlay() {
    Position* pos = game_position;
    const Move m = PBlock.result.SnapshotMove();
    PBlock.time.clock[pos->side] += PBlock.time.increment - PBlock.time.elapsed;
    if (SearchKey(pos) != loop.searched_key || pos->hist_count != loop.searched_hist_count ||
        !IsLegalMove(pos, m)) {
        PBlock.control.selfplay = 0;
        return;
    }
    PlayGameMove(pos, m);
    ShowBoard(pos);
    if (InputIsOver()) {
        PBlock.control.selfplay = 0;  // or it would never end
    } else {
        PBlock.control.start_request = SEARCH_THINK;
    }
}

// What becomes of a console self-play game when a search has ended. One that a command cut short is
// made again.
void GoOnWithSelfPlay(bool cut_short) {
    if (!PBlock.control.selfplay || !loop.searched_for_selfplay) { return; }
    if (cut_short && !InputIsOver()) {
        PBlock.control.start_request = SEARCH_THINK;
    } else {
        ContinueSelfPlay();
    }
}

// The one place where the end of a search is reported. Requires idle search threads.
void ReportSearch(bool cut_short) {
    assert(BusyThreads() == 0);
    PBlock.progress.hash_fill = HashFill();
    const ResultSnapshot result = PBlock.result.Snapshot();
    DisplaySearchInfo(0, 0, result.depth_done, result.score, result.pv);
    if (UciMode()) {
        ReportToGui();
    } else {
        ReportToConsole();
    }
    GoOnWithSelfPlay(cut_short);
    PBlock.control.search_state = SEARCH_IDLE;
    PBlock.control.infinite = 0;
}

bool SearchIsOver() {
    return BusyThreads() == 0 && PBlock.control.search_state != SEARCH_PONDER &&
           !PBlock.control.infinite;
}

// How long the loop may sleep, seconds: while nothing runs, until somebody says something (a search
// that has ended and waits for "stop" or "ponderhit" is nothing that runs).
double LoopWait() {
    const bool running = PBlock.control.search_state != SEARCH_IDLE && BusyThreads() != 0;
    if (running) { return SecondsToTimeout(); }
    return InputEnded() || EndWanted() || TraceFailed() ? LONGEST_IDLE_WAIT : FOREVER;
}

bool SearchRuns() { return PBlock.control.search_state != SEARCH_IDLE; }

// What would not end by itself is ended, and then the program.
void HandleEndOfInput() {
    if (SearchRuns() && SearchIsEndless()) { FinishSearch(); }
    if (NothingToSearch()) { PBlock.control.quit = 1; }
}

bool EndsNoWait(const std::string& line) { return line != "."; }

// Also what needs the records of the threads that search.
bool BeginsAnother(const std::string& line) {
    constexpr const char* BLANKS = " \t";
    const std::size_t begin = std::min(line.find_first_not_of(BLANKS), line.size());
    const std::string word = line.substr(begin, line.find_first_of(BLANKS, begin) - begin);
    return word == "position" || word == "ucinewgame" || word == "go" || word == "eval" ||
           word == "bench";
}

void HoldWhatMustWait() {
    if (loop.user_waits) {
        HoldInput(EndsNoWait);
    } else if (PBlock.options.conventions.next_game_waits && UciMode() && SearchRuns() &&
               !SearchIsEndless()) {
        HoldInput(BeginsAnother);
    } else {
        HoldInput(nullptr);
    }
}

// The user hears nothing before the end, and nobody can end an endless search after the end of
// input.
void GoOnWaiting() {
    if (InputEnded() && SearchRuns() && SearchIsEndless()) { FinishSearch(); }
    if (NothingToSearch()) { loop.user_waits = false; }
}

}  // namespace

void FinishSearch() {
    const bool cut_short = BusyThreads() != 0;
    if (cut_short) {
        if (PBlock.control.stop == STOP_NONE) { PBlock.control.stop = STOP_FINISH; }
        WaitUntilIdle();
        GetElapsedTime(0);
    }
    if (PBlock.control.search_state != SEARCH_IDLE) { ReportSearch(cut_short); }
}

void AbandonSearch() {
    PBlock.control.stop = STOP_ABANDON;
    if (BusyThreads() == 0) { return; }
    loop.cut_short = true;
    WaitUntilIdle();
    GetElapsedTime(0);
}

void RequestSearch(const SearchRequest& request) {
    assert(request.kind == SEARCH_THINK || request.kind == SEARCH_ANALYSE);
    assert(request.max_depth >= 0 && request.max_depth <= MAX_DEPTH);
    if (PBlock.control.search_state != SEARCH_IDLE || PBlock.control.start_request != SEARCH_IDLE) {
        SetLimits(request);
        loop.waiting_requests.push_back(request);
    } else {
        AcceptRequest(request);
    }
}

void WaitForSearches() { loop.user_waits = true; }

void DropWaitingRequests() { loop.waiting_requests.clear(); }

void EndSelfPlay() {
    PBlock.control.selfplay = 0;
    std::erase_if(loop.waiting_requests, [](const SearchRequest& r) { return r.selfplay; });
}

void CommandLoop() {
    InitEval();
    SetPosition(game_position, fen_opn);
    if (!UciMode()) { ShowBoard(game_position); }
    PBlock.control.start_request = SEARCH_IDLE;
    DropWaitingRequests();
    loop.user_waits = false;
    PBlock.control.quit = 0;
    while (!PBlock.control.quit) {
        if (PBlock.control.search_state == SEARCH_IDLE &&
            PBlock.control.start_request == SEARCH_IDLE && RequestsWait()) {
            AcceptRequest(loop.waiting_requests.front());
            loop.waiting_requests.pop_front();
        }
        if (PBlock.control.start_request == SEARCH_IDLE) {
            HoldWhatMustWait();
            if (NextLineIsHeld() || !InputPending()) {
                WaitForInput(LoopWait(), InputEnded() || HeldInputIsFull());
            }
            SearchTimeout();
            UserInput();
        }
        if (PBlock.control.start_request != SEARCH_IDLE &&
            PBlock.control.search_state == SEARCH_IDLE) {
            BeginSearch();
        }
        if (SearchRuns() && SearchIsOver()) { ReportSearch(loop.cut_short); }
        if (loop.user_waits) { GoOnWaiting(); }
        if (InputIsOver()) { HandleEndOfInput(); }
    }
}

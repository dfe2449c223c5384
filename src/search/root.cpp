// Root search and iterative deepening: what a search thread runs for one search, and the
// publication of its best move.
#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <utility>

#include "board/bitboards.h"
#include "board/zobrist.h"
#include "eval/personality.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "search/picker.h"
#include "search/search.h"
#include "search/searchinfo.h"
#include "search/threads.h"

namespace {

constexpr int LAST_ITERATION = 68;
constexpr int WINDOW_BOTTOM = MATED_AT_ROOT;
constexpr int WINDOW_TOP = MATE_IN_ONE;
constexpr int MIN_WIDENING = 25;
constexpr int WIDENING_FACTOR = 2;

// The first window: narrow after many iterations, wider for scores far from equality.
constexpr int NARROW_WINDOW_DEPTH = 15;
constexpr int WIDTH_PER_ITERATION = 4;
constexpr int MIN_HALF_WIDTH = 15;
constexpr int SCORE_PER_WIDTH = 16;

// Ordering key of a root move that failed, less its number.
constexpr int ROOT_FAIL_OFFSET = -11000;
constexpr double SETTLED_SECONDS = 0.025;  // before it no secondary thread abandons an iteration
constexpr double PROGRESS_SECONDS = 3.5;   // before it no current move is shown
constexpr double EARLY_PROGRESS_SECONDS = 1.0;
// Beyond this depth a secondary thread leaves out one that more than two thirds of all have begun.
constexpr int SKIP_AFTER_DEPTH = 6;
constexpr int CROWD_NUMERATOR = 2;
constexpr int CROWD_DENOMINATOR = 3;
constexpr u32 ORDER_SEED_FACTOR = 63;
constexpr u32 ORDER_SEED_SUMMAND = 987654321;
constexpr u32 PERTURBATION = 21;  // root keys of a secondary thread are lowered by less than this
constexpr int EASY_SINGLE_DEPTH = 6;
constexpr int EASY_CLEAR_DEPTH = 11;
constexpr int EASY_LEAD_OVER_SECOND = 200;
constexpr int EASY_LEAD_OVER_EVAL = 225;
constexpr int EASY_STABLE_PLIES = 5;
constexpr int REDUCTION_DEPTH = 7;
constexpr int REDUCTION_MOVES = 5;
constexpr int REDUCTION_DROP = 34;  // no root reduction once the score has dropped by more
// An interrupted fail high this far above the best score counts.
constexpr int STOPPED_FAIL_HIGH_LEAD = 25;
constexpr int VERBOSE_DEPTH = 3;      // beyond it unsettled scores are shown
constexpr int FIRST_SHOWN_DEPTH = 2;  // from here on each new best move is shown

bool IsMain(const ThreadBlock* tb) { return tb->slot <= 1; }

void SetRootMove(ThreadBlock* tb, Move m) {
    tb->pv[1] = m;
    tb->root_move = m;
}

void ResetThread(ThreadBlock* tb) {
    tb->iteration_depth = 0;
    tb->root_status = ROOT_NORMAL;
    tb->pos.ply = 1;
    tb->ply_data[0].node_type = NODE_PV;
    tb->ply_data[0].depth = 0;
    std::fill(std::begin(tb->pv), std::end(tb->pv), NO_MOVE);
    SetRootMove(tb, NO_MOVE);
    const bool exact = PBlock.options.conventions.all_limits && IsMain(tb);
    const u64 limit = exact ? PBlock.limits.node_limit.Get() : 0;
    tb->node_target = limit != 0 ? limit : NO_NODE_TARGET;
    tb->deepest_ply = tb->pos.ply;
    ResetOrdering(tb);
}

bool HasLegalMove(ThreadBlock* tb, int in_check) {
    const Position* pos = &tb->pos;
    tb->ply_data[1].stage = STAGE_START;
    while (const MoveEntry* e = GetNextMoveFW(tb, in_check)) {
        if (MoveIsLegal(pos, pos->side, e->move)) { return true; }
    }
    return false;
}

bool IsWanted(Move m) {
    const RootFacts& root = PBlock.root;
    const Move* end = root.wanted + root.wanted_count;
    return root.wanted_count == 0 || std::find(root.wanted, end, m) != end;
}

// Writes the legal moves of the root that are wanted at ply 1's list start, in generation order;
// returns the first.
MoveEntry* BuildRootList(ThreadBlock* tb) {
    Position* pos = &tb->pos;
    GenerateAll(pos);
    MoveEntry* first = tb->ply_data[1].list_start;
    MoveEntry* end = first;
    for (const MoveEntry* e = first; e->move != END_OF_LIST; ++e) {
        if (IsWanted(e->move) && MoveIsLegal(pos, pos->side, e->move)) { *end++ = *e; }
    }
    end->move = END_OF_LIST;
    return first;
}

// Number of search threads that have started iteration `depth` or a deeper one.
int ThreadsAtDepth(int depth) {
    int n = 0;
    for (int i = 1; i <= PBlock.options.threads; ++i) {
        if (ThreadData[i] != nullptr && ThreadData[i]->iteration_depth >= depth) { ++n; }
    }
    return n;
}

void PerturbRootOrder(ThreadBlock* tb, MoveEntry* first) {
    if (first->move == END_OF_LIST) { return; }
    for (MoveEntry* e = first + 1; e->move != END_OF_LIST; ++e) {
        tb->seed = tb->seed * ORDER_SEED_FACTOR + ORDER_SEED_SUMMAND;
        e->score = static_cast<i16>(e->score - static_cast<int>(tb->seed % PERTURBATION));
    }
}

// Depth that a secondary thread searches when its own count says `depth`.
int SecondaryDepth(int depth) {
    const int limit = PBlock.limits.max_depth;
    if (depth > SKIP_AFTER_DEPTH && PBlock.options.multipv == 1 && depth < limit &&
        ThreadsAtDepth(depth) > CROWD_NUMERATOR * PBlock.options.threads / CROWD_DENOMINATOR) {
        ++depth;
    }
    return std::min(depth, limit);
}

// Is the best move so clear that the time control may stop early? Keeps PBlock.progress.easy_move.
void TestEasyMove(const ThreadBlock* tb, MoveEntry* first, int depth) {
    int& second_best = PBlock.progress.second_best_score;
    if (depth <= 1) { second_best = NO_SCORE; }
    PBlock.progress.easy_move = EASY_NONE;
    if (first[1].move == END_OF_LIST) {
        if (depth > EASY_SINGLE_DEPTH) { PBlock.progress.easy_move = EASY_SINGLE; }
        return;
    }
    PickNextMove(first + 1, EndOfList(first + 1));
    second_best = std::max<int>(second_best, first[1].score);
    const int score = first->score;
    if (score > second_best + EASY_LEAD_OVER_SECOND &&
        score > tb->root_eval + EASY_LEAD_OVER_EVAL && depth > EASY_CLEAR_DEPTH &&
        PBlock.result.ChangeDepth() < depth - EASY_STABLE_PLIES) {
        PBlock.progress.easy_move = EASY_CLEAR;
    }
}

void SearchLines(ThreadBlock* tb, MoveEntry* first, int depth) {
    const int lines = PBlock.options.multipv;
    const bool main = IsMain(tb);
    for (int i = 0; i < lines && first[i].move != END_OF_LIST && !PBlock.control.stop; ++i) {
        const int found = SearchRoot(tb, depth, i);
        if (found && main && (lines > 1 || depth == 1)) {
            DisplaySearchInfo(tb->slot, i, depth, tb->running_score, tb->pv);
        }
    }
    if (main && lines > 1 && PBlock.options.protocol != PROTOCOL_UCI) { ShowMessage(""); }
}

bool MateIsInsideHorizon(int score, int depth) {
    return score >= INFINITE_SCORE - 1 - depth || score < MATED_AT_ROOT + depth;
}

// Deepens until a limit, a mate or `stop`.
void DeepenIteratively(ThreadBlock* tb, MoveEntry* first) {
    const bool main = IsMain(tb);
    for (int d = 1; d <= LAST_ITERATION; ++d) {
        if (main) {
            d = std::min<int>(d, PBlock.limits.max_depth);
            PBlock.progress.iteration_depth = static_cast<i8>(d);
        } else {
            d = SecondaryDepth(d);
            PerturbRootOrder(tb, first);
        }
        tb->iteration_depth = static_cast<i8>(d);
        tb->ply_data[0].depth = static_cast<i16>(d);
        tb->nodes_by_depth[d] = 0;
        tb->best_score_by_depth[d] = NO_SCORE;
        SearchLines(tb, first, d);
        tb->nodes_by_depth[d] = tb->nodes;
        if (main && PBlock.options.multipv == 1) { TestEasyMove(tb, first, d); }
        if (PBlock.control.stop) { return; }
        if (tb->root_status == ROOT_ABANDONED) { continue; }
        if (main) {
            PBlock.progress.completed_depth = static_cast<i8>(d);
            PBlock.progress.completed_time = PBlock.time.elapsed;
            PBlock.progress.seconds_by_depth[d] = SecondsSinceStart();
            PBlock.progress.hash_fill = HashFill();
        }
        if (MateIsInsideHorizon(tb->best_score_by_depth[d], d) ||
            (main && d >= PBlock.limits.max_depth)) {
            return;
        }
    }
}

// --- one iteration ---

// State of one SearchRoot call.
struct RootSearch {
    ThreadBlock* tb;
    Position* pos;
    PlyData* pd;
    int side;
    int depth;
    int in_check;
    bool main;
    bool verbose;
    int previous;  // score of the iteration or line before
    int best;
    int half_width;
    Move line[PV_SIZE];

    int Child(int child_depth, Window window, int node_type) {
        return -Search(tb, child_depth, Opposite(window), node_type, line);
    }
};

// Shows a move that fails high or low before it is searched again.
void ShowUnsettled(RootSearch* r, u8 status, Move m, int score) {
    r->tb->root_status = status;
    r->tb->running_score = static_cast<i16>(score);
    SetRootMove(r->tb, m);
    r->tb->pv[2] = NO_MOVE;
    if (r->verbose) { DisplaySearchInfo(r->tb->slot, -1, r->depth, score, r->tb->pv); }
}

// First move: aspiration window, widened until the score lies inside or the limit is reached.
int SearchFirstMove(RootSearch* r, Move m) {
    int alpha = r->previous - r->half_width;
    int beta = r->previous + r->half_width;
    if (alpha < MATED_SCORE) { alpha = WINDOW_BOTTOM; }
    if (beta > MATE_SCORE) { beta = WINDOW_TOP; }
    int step = r->half_width;
    int v = r->Child(r->depth - 1, {alpha, beta}, NODE_PV);
    while (!PBlock.control.stop &&
           ((v <= alpha && alpha > WINDOW_BOTTOM) || (v >= beta && beta < WINDOW_TOP))) {
        ShowUnsettled(r, v > alpha ? ROOT_FAILS_HIGH : ROOT_FIRST_FAILS_LOW, m, v);
        step = std::max(WIDENING_FACTOR * step, MIN_WIDENING);
        if (v <= alpha) {
            alpha -= step;
            if (alpha < MATED_SCORE) { alpha = WINDOW_BOTTOM; }
        } else {
            beta += step;
            if (beta > MATE_SCORE) { beta = WINDOW_TOP; }
        }
        v = r->Child(r->depth - 1, {alpha, beta}, NODE_PV);
    }
    return v;
}

// Later moves: zero window at the best score, then full searches with a rising top while the move
// fails high.
int SearchLaterMove(RootSearch* r, Move m, int reduction) {
    int bottom = r->best;
    int top = r->best + 1;
    if (bottom < MATED_SCORE) { bottom = WINDOW_BOTTOM; }
    if (top > MATE_SCORE) { top = WINDOW_TOP; }
    int step = 1;
    u8 status = ROOT_LATER_FAILS_HIGH;
    int v = r->Child(r->depth - reduction - 1, {bottom, top}, NODE_CUT);
    while (v >= top && top < WINDOW_TOP && !PBlock.control.stop) {
        ShowUnsettled(r, status, m, v);
        status = ROOT_FAILS_HIGH;
        step = std::max(WIDENING_FACTOR * step, MIN_WIDENING);
        top = std::min(top + step, WINDOW_TOP);
        v = r->Child(r->depth - 1, {bottom, top}, NODE_PV);
    }
    return v <= r->best ? ROOT_FAIL_OFFSET - r->pd->moves_searched : v;
}

int RootReduction(const RootSearch* r, u8 flags) {
    const Position* pos = r->pos;
    if (PBlock.options.multipv != 1 || r->depth <= REDUCTION_DEPTH ||
        r->pd->moves_searched <= REDUCTION_MOVES) {
        return 0;
    }
    if (r->best < r->previous - REDUCTION_DROP || r->best < MATED_SCORE || r->in_check) {
        return 0;
    }
    if (pos->npm[r->side] == 0 || PawnCount(pos->sig[r->side]) == 0) { return 0; }
    return flags ? 0 : 1;
}

int SearchRootMove(RootSearch* r, const MoveEntry* e) {
    const Move m = e->move;
    const int reduction = RootReduction(r, r->pd->move_flags);
    MakeMove(r->pos, m);
    int v = 0;
    if ((PBlock.options.multipv != 1 || r->depth <= REDUCTION_DEPTH) && r->depth <= 1 &&
        PBlock.limits.max_depth >= 2) {
        v = r->Child(r->depth - 1, FULL_WINDOW, NODE_PV);
    } else if (r->best == NO_SCORE) {
        v = SearchFirstMove(r, m);
    } else {
        v = SearchLaterMove(r, m, reduction);
    }
    UnmakeMove(r->pos);
    r->tb->root_status = ROOT_NORMAL;
    if (PBlock.control.stop) {
        const int running = r->tb->running_score;
        const bool counts =
            r->main && r->best > NO_SCORE && running > r->best + STOPPED_FAIL_HIGH_LEAD;
        v = counts ? running : NO_SCORE;
        if (counts) { r->tb->root_status = ROOT_FAILS_HIGH; }
    }
    return v;
}

void ShowProgress(const RootSearch* r, const MoveEntry* e, int index) {
    if (!r->main || index != 0 || PBlock.options.protocol != PROTOCOL_UCI) { return; }
    const double from =
        PBlock.options.conventions.early_progress ? EARLY_PROGRESS_SECONDS : PROGRESS_SECONDS;
    if (PBlock.time.elapsed <= from || PBlock.time.elapsed <= PBlock.options.noise) { return; }
    if (PBlock.options.noise == NOISE_NEVER) { return; }
    if (r->pd->moves_searched == 0) { DisplayIterationStart(r->depth); }
    if (PBlock.options.multipv == 1) { DisplayCurrentMove(e->move, r->pd->moves_searched + 1); }
}

void AcceptBest(RootSearch* r, Move m, int score) {
    ThreadBlock* tb = r->tb;
    tb->running_score = static_cast<i16>(score);
    SetRootMove(tb, m);
    CopyLine(tb->pv, r->line, 2);
    tb->best_depth = static_cast<i16>(r->depth);
    r->best = score;
    if (score <= tb->best_score_by_depth[r->depth]) { return; }
    tb->best_score_by_depth[r->depth] = static_cast<i16>(score);
    if (r->main) { NewBestMove(tb); }
}

// Moves an entry to the front of a range, shifting those before it down by one.
void MoveToFront(MoveEntry* front, MoveEntry* e) {
    const MoveEntry moved = *e;
    std::move_backward(front, e, e + 1);
    *front = moved;
}

void PrepareRootPly(ThreadBlock* tb, int depth) {
    PlyData* pd = &tb->ply_data[1];
    pd->node_type = NODE_PV;
    pd->depth = static_cast<i16>(depth);
    pd->alpha = -INFINITE_SCORE;
    pd->beta = INFINITE_SCORE;
    pd->extension = 0;
    pd->iid = 0;
    pd->move_flags = 0;
    pd->check = CHECK_UNKNOWN;
    pd->moves_searched = 0;
    pd->hash_move = NO_MOVE;
    tb->extension_count = 0;
    tb->extension_accumulator = 0;
}

}  // namespace

int SearchRoot(ThreadBlock* tb, int depth, int index) {
    assert(depth >= 0 && depth < PV_SIZE && index >= 0);
    Position* pos = &tb->pos;
    assert(pos->ply == 1);
    const int side = pos->side;
    PlyData* pd = &tb->ply_data[1];
    PrepareRootPly(tb, depth);
    const bool main = IsMain(tb);
    RootSearch r = {};
    r.tb = tb;
    r.pos = pos;
    r.pd = pd;
    r.side = side;
    r.depth = depth;
    r.in_check = InCheck(pos, side);
    r.main = main;
    r.verbose = main && PBlock.options.multipv == 1 && depth > VERBOSE_DEPTH && index == 0;
    r.previous = tb->running_score;
    r.best = NO_SCORE;
    r.half_width = std::max(WIDTH_PER_ITERATION * (NARROW_WINDOW_DEPTH - depth), MIN_HALF_WIDTH) +
                   std::abs(r.previous) / SCORE_PER_WIDTH;

    MoveEntry* front = pd->list_start + index;
    const MoveEntry* end = EndOfList(front);
    for (MoveEntry* e = front; e->move != END_OF_LIST; ++e) {
        if (!main && depth < PBlock.progress.completed_depth &&
            PBlock.time.elapsed >= SETTLED_SECONDS) {
            tb->root_status = ROOT_ABANDONED;
            break;
        }
        PickNextMove(e, end);
        Move saved_pv[PV_SIZE];
        std::copy(std::begin(tb->pv), std::end(tb->pv), saved_pv);
        const i16 saved_score = tb->running_score;
        tb->root_status = ROOT_NORMAL;
        pd->cursor = e;
        ShowProgress(&r, e, index);
        e->score = NO_SCORE;
        pd->move_flags = r.in_check ? 0 : MoveFlags(pos, FindChecks(pos), e);

        const int v = SearchRootMove(&r, e);
        std::copy(std::begin(saved_pv), std::end(saved_pv), tb->pv);
        tb->root_move = tb->pv[1];
        tb->running_score = saved_score;
        ++pd->moves_searched;
        e->score = static_cast<i16>(v);
        if (v > r.best) {
            AcceptBest(&r, e->move, v);
            MoveToFront(front, e);
        }
        const bool counts_nodes = main || !PBlock.options.conventions.all_limits;
        if (counts_nodes && PBlock.limits.node_limit != 0 && tb->nodes > PBlock.limits.node_limit &&
            !PBlock.control.stop) {
            PBlock.control.stop = STOP_FINISH;
        }
        if (PBlock.control.stop) { break; }
    }
    return r.best > NO_SCORE;
}

void NewBestMove(ThreadBlock* tb) {
    assert(IsMain(tb));
    const int score = tb->running_score;
    const int depth = tb->best_depth;
    const Effort effort = {SecondsSinceStart(), Collect().nodes};
    const bool bounded = tb->root_status == ROOT_FAILS_HIGH;
    if (!PBlock.result.Publish(score, bounded, depth, tb->pv, effort)) { return; }
    const int mate_moves = PBlock.limits.mate_moves;
    if (mate_moves > 0 && score >= INFINITE_SCORE - PLIES_PER_MOVE * mate_moves) {
        PBlock.control.stop = STOP_FINISH;
    }
    if (depth >= FIRST_SHOWN_DEPTH && PBlock.options.multipv == 1) {
        DisplaySearchInfo(tb->slot, -1, depth, score, tb->pv);
    }
}

void SearchIterations(int slot) {
    assert(slot >= 0 && slot < THREAD_SLOTS && ThreadData[slot] != nullptr);
    ThreadBlock* tb = ThreadData[slot];
    Position* pos = &tb->pos;
    assert(WhyUnplayable(pos) == nullptr);
    const bool main = IsMain(tb);
    ResetThread(tb);
    const int in_check = InCheck(pos, pos->side);
    const int eval = Evaluate(tb, 1, in_check != 0);
    tb->root_eval = static_cast<i16>(eval);
    tb->running_score = static_cast<i16>(eval);
    tb->ply_data[1].static_eval = static_cast<i16>(eval);
    tb->ply_data[0].static_eval = static_cast<i16>(-eval);

    if (PBlock.limits.max_depth <= 0 && !in_check) {
        const int score = Q_Search(tb, 0, FULL_WINDOW, NODE_PV, tb->pv);
        tb->running_score = static_cast<i16>(score);
        tb->root_move = tb->pv[1];
        return;
    }
    if (!HasLegalMove(tb, in_check)) {
        tb->running_score = in_check ? MATED_AT_ROOT : 0;
        tb->best_depth = 1;
        if (main) { NewBestMove(tb); }
        PBlock.control.stop = STOP_NO_MOVE;
        return;
    }
    MoveEntry* first = BuildRootList(tb);
    const Move first_move = first->move;
    DeepenIteratively(tb, first);
    if (!main) { return; }
    PBlock.result.PublishFallback(first_move);
    if (!PBlock.control.stop) { PBlock.control.stop = STOP_FINISH; }
}

#include "frontend/epdgoal.h"

#include <algorithm>
#include <sstream>

#include "board/epdline.h"
#include "book/gamemove.h"
#include "book/pgntext.h"
#include "frontend/output.h"
#include "frontend/units.h"
#include "platform/words.h"
#include "search/search.h"

namespace {

constexpr int MOST_POINTS_OF_MOVE = 1000000;
constexpr const char* MARKS = "+#!?,.";
constexpr const char* NUMBER = "0123456789.";

// A move word without the number before it and the marks after it; empty when nothing else is
// there.
std::string BareMove(const std::string& word) {
    if (word.find_first_not_of(NUMBER) == std::string::npos) { return ""; }
    std::string move = word.substr(MoveNumberLength(word));
    move.resize(move.find_last_not_of(MARKS) + 1);
    if (move.starts_with("0-0")) { std::replace(move.begin(), move.end(), '0', 'O'); }
    return move;
}

// The legal move of a word; NO_MOVE, with the word kept in `unread`, for one that should be one.
Move LegalMove(const std::string& word, std::vector<std::string>* unread) {
    const std::string text = BareMove(word);
    Move m = NO_MOVE;
    if (!text.empty() && !IsValidMove(text, &m)) { unread->push_back(word); }
    return m;
}

std::vector<Move> LegalOperands(const EpdOperation& operation, EpdGoal* goal) {
    std::vector<Move> moves;
    for (const std::string& word : operation.operands) {
        if (const Move m = LegalMove(word, &goal->unread)) { moves.push_back(m); }
    }
    return moves;
}

// The text without blanks before and after its "=" and with blanks for its commas.
std::string PointItems(const EpdOperation& operation) {
    std::string text;
    for (const std::string& operand : operation.operands) {
        for (const char c : operand + ' ') {
            const bool blank = c == ' ' || c == ',';
            if (c == '=') {
                while (text.ends_with(' ')) { text.pop_back(); }
            }
            if (!blank || !text.ends_with('=')) { text += blank ? ' ' : c; }
        }
    }
    return text;
}

// Takes "e4=10, e8=Q = 5" apart.
void ReadPoints(const EpdOperation& operation, EpdGoal* goal) {
    std::istringstream items(PointItems(operation));
    for (std::string item; items >> item;) {
        const std::size_t equals = item.rfind('=');
        if (equals == std::string::npos) { continue; }  // a word of a comment
        if (const Move m = LegalMove(item.substr(0, equals), &goal->unread)) {
            const char* number = item.c_str() + equals + 1;
            goal->points.emplace_back(m, WholeNumber(number, 0, MOST_POINTS_OF_MOVE));
        }
    }
}

bool Holds(const std::vector<Move>& moves, Move m) {
    return std::find(moves.begin(), moves.end(), m) != moves.end();
}

const char* FirstOperand(const EpdOperation& operation) {
    return operation.operands.empty() ? "" : operation.operands[0].c_str();
}

}  // namespace

bool EpdGoal::SolvedBy(Move m, int score) const {
    if (m == NO_MOVE || out_of_reach) { return false; }
    if (best.empty() && avoid.empty() && mate_moves == 0) {
        return !points.empty() && PointsOf(m) == MostPoints();
    }
    const bool mate_seen = mate_moves == 0 || score >= INFINITE_SCORE - PLIES_PER_MOVE * mate_moves;
    return (best.empty() || Holds(best, m)) && !Holds(avoid, m) && mate_seen;
}

int EpdGoal::PointsOf(Move m) const {
    for (const auto& [move, value] : points) {
        if (move == m) { return value; }
    }
    return 0;
}

int EpdGoal::MostPoints() const {
    int most = 0;
    for (const auto& [move, value] : points) { most = std::max(most, value); }
    return most;
}

EpdGoal GoalOfLine(const std::string& line) {
    EpdGoal goal;
    for (const EpdOperation& operation : EpdOperations(line)) {
        const std::string& opcode = operation.opcode;
        if (opcode == "id") {
            goal.id = FirstOperand(operation);
        } else if (opcode == "bm") {
            goal.best = LegalOperands(operation, &goal);
            goal.out_of_reach = goal.best.empty();
        } else if (opcode == "am") {
            goal.avoid = LegalOperands(operation, &goal);
        } else if (opcode == "dm") {
            goal.mate_moves = WholeNumber(FirstOperand(operation), 0, MAX_DEPTH);
        } else if (opcode == "hmvc") {
            goal.half_moves = WholeNumber(FirstOperand(operation), 0, FIFTY_COUNTER_MAX);
        } else if (opcode == "c0") {
            ReadPoints(operation, &goal);
        }
    }
    return goal;
}

int SolvedSince(const EpdGoal& goal, const ResultSnapshot& result) {
    int since = 0;
    for (int d = result.depth_done; d >= 1; --d) {
        if (result.best_move_by_depth[d] == NO_MOVE) { continue; }  // a sure mate stood
        if (!goal.SolvedBy(result.best_move_by_depth[d], result.score_by_depth[d])) { break; }
        since = d;
    }
    return since;
}

bool SolutionTotals::Add(const EpdGoal& goal, const ResultSnapshot& result) {
    ++positions_;
    last_depth_ = SolvedSince(goal, result);
    last_effort_ = result.effort_by_depth[last_depth_];
    last_points_ = goal.PointsOf(result.pv[1]);
    if (last_depth_ > 0) {
        ++solved_;
        to_solution_.seconds += last_effort_.seconds;
        to_solution_.nodes += last_effort_.nodes;
    }
    points_ += last_points_;
    most_points_ += goal.MostPoints();
    const int completed = PBlock.progress.completed_depth;
    for (int d = PBlock.limits.max_depth > 0 ? 1 : 0; d < PV_SIZE; ++d) {
        by_depth_[d].positions += d <= completed ? 1 : 0;
        by_depth_[d].seconds += d > 0 && d <= completed ? PBlock.progress.seconds_by_depth[d].Get()
                                                        : PBlock.time.elapsed.Get();
    }
    return last_depth_ > 0;
}

void SolutionTotals::ShowLast(const EpdGoal& goal) const {
    std::string text = goal.id.empty() ? "position " + std::to_string(positions_) : goal.id;
    text += last_depth_ > 0 ? ": solved" : ": not solved";
    if (goal.MostPoints() > 0) {
        text += ", points= " + std::to_string(last_points_) + " of " +
                std::to_string(goal.MostPoints());
    }
    if (last_depth_ > 0) {
        ShowMessageF("%s, depth= %d, time= %0.3f, nodes= %0.0f", text.c_str(), last_depth_,
                     last_effort_.seconds, static_cast<double>(last_effort_.nodes));
    } else {
        ShowMessage(text.c_str());
    }
}

void SolutionTotals::Show() const {
    ShowMessageF("solved= %d of %d", solved_, positions_);
    if (most_points_ > 0) {
        ShowMessageF("points= %lld of %lld", static_cast<long long>(points_),
                     static_cast<long long>(most_points_));
    }
    if (solved_ > 0) {
        ShowMessageF("to solution: nodes= %0.0f, time= %0.3f seconds on average",
                     static_cast<double>(to_solution_.nodes) / solved_,
                     to_solution_.seconds / solved_);
    }
    for (int d = 0; d < PV_SIZE; ++d) {
        const DepthTotals& t = by_depth_[d];
        if (t.positions == 0) { continue; }
        ShowMessageF("depth= %d, positions= %d, rate= %0.1f positions a second", d, t.positions,
                     t.positions / std::max(t.seconds, SECONDS_PER_MS));
    }
    ShowMessage("");
}

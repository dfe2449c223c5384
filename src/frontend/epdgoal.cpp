#include "frontend/epdgoal.h"

#include <algorithm>

#include "board/epdline.h"
#include "book/gamemove.h"
#include "frontend/output.h"
#include "frontend/units.h"
#include "platform/words.h"
#include "search/search.h"

namespace {

constexpr int MOST_POINTS_OF_MOVE = 1000;

// The moves among the operands that are legal in the game position.
std::vector<Move> LegalOperands(const EpdOperation& operation) {
    std::vector<Move> moves;
    for (const std::string& word : operation.operands) {
        Move m;
        if (IsValidMove(word, &m)) { moves.push_back(m); }
    }
    return moves;
}

// Takes "e4=10, e8=Q=5" apart.
std::vector<std::pair<Move, int>> PointsOfText(const std::string& text) {
    std::vector<std::pair<Move, int>> points;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        const std::size_t start = std::min(text.find_first_not_of(' ', at), end);
        const std::string item = text.substr(start, end - start);
        const std::size_t equals = item.rfind('=');
        Move m;
        if (equals != std::string::npos && IsValidMove(item.substr(0, equals), &m)) {
            const char* number = item.c_str() + equals + 1;
            points.emplace_back(m, WholeNumber(number, 0, MOST_POINTS_OF_MOVE));
        }
        at = end + 1;
    }
    return points;
}

bool Holds(const std::vector<Move>& moves, Move m) {
    return std::find(moves.begin(), moves.end(), m) != moves.end();
}

const char* FirstOperand(const EpdOperation& operation) {
    return operation.operands.empty() ? "" : operation.operands[0].c_str();
}

}  // namespace

bool EpdGoal::SolvedBy(Move m, int score) const {
    if (m == NO_MOVE) { return false; }
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
        } else if (opcode == "bm" || opcode == "am") {
            const std::vector<Move> moves = LegalOperands(operation);
            if (moves.empty()) { goal.without_move.push_back(opcode); }
            (opcode == "bm" ? goal.best : goal.avoid) = moves;
        } else if (opcode == "dm") {
            goal.mate_moves = WholeNumber(FirstOperand(operation), 0, MAX_DEPTH);
        } else if (opcode == "c0") {
            goal.points = PointsOfText(FirstOperand(operation));
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
    for (int d = 1; d <= PBlock.progress.completed_depth; ++d) {
        ++by_depth_[d].positions;
        by_depth_[d].seconds += PBlock.progress.seconds_by_depth[d];
    }
    if (result.depth_done == 0) {
        ++by_depth_[0].positions;
        by_depth_[0].seconds += PBlock.time.elapsed;
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
    if (most_points_ > 0) { ShowMessageF("points= %d of %d", points_, most_points_); }
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

// What the positions of a suite ask for, and what a run over them tells of its solutions.
// Front-end thread only.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "board/types.h"
#include "frontend/pblock.h"

// What solves one position. All moves are legal in it.
struct EpdGoal {
    std::string id;                            // empty: the position has no name
    std::vector<Move> best;                    // "bm": any of them solves
    std::vector<Move> avoid;                   // "am": any other one does
    int mate_moves = 0;                        // "dm": a mate in so many moves is seen, 0 = none
    std::vector<std::pair<Move, int>> points;  // "c0": what a move is worth, 0 for others
    bool out_of_reach = false;                 // there is a "bm" without a legal move
    int half_moves = 0;                        // "hmvc": the half-move clock
    std::vector<std::string> unread;           // words that should be legal moves

    // Whether a move and its score (centipawns for the mover) solve the position. Where nothing but
    // points is given, the most points do; where nothing is, or nothing legal, no move does.
    bool SolvedBy(Move m, int score) const;
    // Of a move, 0 for one without.
    int PointsOf(Move m) const;
    int MostPoints() const;
};

// The goal of an EPD line whose position is the game position. Moves may have numbers before them
// and marks after them.
EpdGoal GoalOfLine(const std::string& line);

// The iteration of a finished search from which on its best move has solved the position, 0 when
// the last one does not.
int SolvedSince(const EpdGoal& goal, const ResultSnapshot& result);

// Totals of a run in the standard form.
class SolutionTotals {
public:
    // Adds the search that has just ended, and returns whether it solved its position; one of
    // depth 0 does not.
    bool Add(const EpdGoal& goal, const ResultSnapshot& result);
    // Adds a position that cannot be searched: it is not solved.
    void AddUnsearched() { ++positions_; }
    // One line on the last position that was added, and all of them at the end of the run.
    void ShowLast(const EpdGoal& goal) const;
    void Show() const;

private:
    // Searches that have finished this depth, and the seconds of all until then or until their end.
    struct DepthTotals {
        int positions = 0;
        double seconds = 0.0;
    };

    int positions_ = 0;
    int solved_ = 0;
    i64 points_ = 0;
    i64 most_points_ = 0;
    Effort to_solution_;  // of all that are solved
    int last_depth_ = 0;  // of the last position's solution, 0 = none
    int last_points_ = 0;
    Effort last_effort_;
    DepthTotals by_depth_[PV_SIZE];
};

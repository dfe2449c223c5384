// ErrorMeter: how well the current weights predict the results of labelled positions. A pass over
// them uses all processors: each position's score depends on the position alone, and the errors are
// added up in the order of the file, so the sum is the same to its last digit whoever computed the
// scores. Front-end thread only; no search may run while a meter lives.
#pragma once

#include <atomic>
#include <optional>
#include <vector>

#include "eval/personality.h"
#include "search/keepoptions.h"
#include "tune/positions.h"

// Owns the positions and the thread records of its workers. Options that a pass changes are put
// back when the meter goes; the game position is not. Requires that search limits stay as they are
// meanwhile.
class ErrorMeter {
public:
    // Reads the positions of an EPD file.
    explicit ErrorMeter(const char* path);
    ~ErrorMeter();
    ErrorMeter(const ErrorMeter&) = delete;
    ErrorMeter& operator=(const ErrorMeter&) = delete;

    // Rebuilds the evaluation's tables and returns the average of |result - prediction|, 0..1, over
    // all positions: what the EPD analysis at depth 0 returns. 0 without positions, UNREADABLE_FILE
    // when the file could not be read. The status line calls the pass `name`= `trial`. With the
    // weights of the first pass the result of that one is returned: the tuner begins with them for
    // every weight.
    double Measure(const char* name, int trial);

    // False when the positions could not be read.
    bool HasPositions() const { return opened_; }

    // True when the last pass was broken off, because the user wants to end; its result is then
    // worth nothing.
    bool Broken() const { return broken_; }

private:
    // What the status line shows.
    struct Status {
        const char* name = "";
        int trial = 0;
        double error = 0;      // of the last pass
        double start = 0;      // of the pass, seconds
        double shown = 0;      // when the line was, seconds
        std::size_t done = 0;  // positions of the pass
    };

    // A list of positions whose scores the workers share out among themselves.
    struct Work {
        const std::vector<u32>& list;
        std::atomic<std::size_t> next{0};  // first position that nobody has taken
    };

    // A pass that came to its end.
    struct Pass {
        PersonalityRecord weights;
        double error;
    };

    void ScoreAll();
    void ScoreHere(u32 index);
    void ScoreChunks(Work* work, int slot, bool show);
    void ScoreOneByOne(const std::vector<u32>& list);
    void ScoreList(const std::vector<u32>& list);
    double AverageError() const;
    void ShowProgress(bool now);

    KeepOptions keep_;
    PositionSet set_;
    bool opened_;
    std::vector<i16> scores_;  // by position
    std::vector<int> slots_;   // thread records of the workers
    std::atomic<bool> broken_ = false;
    std::optional<Pass> first_pass_;
    Status status_;
};

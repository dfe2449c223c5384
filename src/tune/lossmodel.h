// How the tuner's loss answers to its coefficients: slopes by finite differences of the evaluation
// itself, gathered into the gradient and the Gauss-Newton matrix of the squared error. Front-end
// thread only, while no search runs.
#pragma once

#include <array>
#include <vector>

#include "tune/coefficients.h"
#include "tune/tuningset.h"
#include "tune/workcrew.h"

// Expected result, 0..1, of a score in centipawns: the logistic curve of WinProbability with a
// steepness of its own.
double ExpectedResult(double steepness, int score);
// How the expected result grows with the score, per centipawn.
double ExpectedSlope(double steepness, double expected);

// What the mean of (target - expected result)^2 does near some values of the coefficients:
// gradient, and the symmetric second derivatives row by row up to the diagonal.
struct LossModel {
    std::vector<double> gradient;
    std::vector<double> matrix;  // element (i, k), k <= i, at i * (i + 1) / 2 + k
};

// Returns the step of all coefficients to the minimum of the model with `added` on its diagonal:
// the solution of (matrix + added) * step = -gradient. Requires added > 0 everywhere; leaves the
// matrix's factor in its place.
std::vector<double> StepToMinimum(LossModel model, const std::vector<double>& added);

// Measures models over a fixed set. The sums are whole numbers, so that they are the same in any
// order and for any number of workers.
class ModelMeter {
public:
    ModelMeter(const WorkCrew& crew, const std::vector<TuningPosition>& positions,
               const std::vector<Coefficient>& coefficients);

    // What is to be explained.
    struct Task {
        const std::vector<double>& targets;  // by position
        const std::vector<int>& scores;      // by position, of the parameters in use
        double steepness;
        bool (*go_on)(std::size_t done, std::size_t all);  // asked often; false: give up
    };
    // Measures the model of the parameters in use (Personality), which are moved meanwhile. False
    // when it was given up.
    [[nodiscard]] bool Measure(const Task& task, LossModel* model);

private:
    // A coefficient moved from its step below to its step above changes a score by so much.
    struct Slope {
        u16 coefficient;
        i16 change;  // centipawns
    };
    struct Sums {
        std::vector<i64> gradient, matrix;
    };

    void FindSlopes(u32 first, u32 end, std::size_t coefficient);
    void ScoreTouched(const std::vector<u32>& touched, std::size_t coefficient, int value);
    void AddUp(const Task& task, u32 first, u32 end);
    void AddPosition(const Task& task, u32 index, const std::vector<Slope>& slopes, Sums* sums);
    void Gather(std::size_t positions, double steepness, LossModel* model) const;

    const WorkCrew& crew_;
    const std::vector<TuningPosition>& positions_;
    const std::vector<Coefficient>& coefficients_;
    // Positions in which a man of that type stands on that square as its side sees it.
    std::vector<u32> holders_[PIECE_TYPES][SQUARE_COUNT];
    std::vector<std::vector<Slope>> slopes_;  // of a block of positions
    std::vector<int> moved_scores_;           // of a pass
    std::vector<Sums> sums_;                  // by worker
};

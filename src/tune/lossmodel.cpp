#include "tune/lossmodel.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <numeric>

#include "board/bitboards.h"
#include "eval/personality.h"

namespace {

constexpr double DECADE = 400.0;  // centipawns that would tenfold the odds at steepness 1
constexpr u32 BLOCK = 1 << 17;    // positions whose slopes stand in memory at a time

// Parts of a whole in which factors of the sums are counted. With them and the largest change a
// sum over many millions of positions stays within 64 bits.
constexpr double GRADIENT_UNIT = 1 << 28;
constexpr double MATRIX_UNIT = 1 << 16;
constexpr int LARGEST_CHANGE = 1000;  // centipawns

// p * (1 - p) is at most this.
constexpr double EVEN = 0.5;
constexpr double STEEPEST = EVEN * EVEN;

std::size_t RowStart(std::size_t row) { return row * (row + 1) / 2; }

}  // namespace

double ExpectedResult(double steepness, int score) {
    return 1.0 / (1.0 + std::pow(10.0, -steepness * score / DECADE));
}

double ExpectedSlope(double steepness, double expected) {
    return expected * (1.0 - expected) * steepness * std::log(10.0) / DECADE;
}

std::vector<double> StepToMinimum(LossModel model, const std::vector<double>& added) {
    const std::size_t n = model.gradient.size();
    std::vector<double>& m = model.matrix;
    // Cholesky: the lower factor takes the matrix's place.
    for (std::size_t i = 0; i < n; ++i) {
        double* const row = &m[RowStart(i)];
        row[i] += added[i];
        for (std::size_t k = 0; k <= i; ++k) {
            const double* const other = &m[RowStart(k)];
            const double rest = row[k] - std::inner_product(row, row + k, other, 0.0);
            assert(k < i || rest > 0.0);
            row[k] = k < i ? rest / other[k] : std::sqrt(rest);
        }
    }
    std::vector<double> step(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double* const row = &m[RowStart(i)];
        const double rest = std::inner_product(row, row + i, step.begin(), model.gradient[i]);
        step[i] = -rest / row[i];
    }
    for (std::size_t i = n; i-- > 0;) {
        const double* const row = &m[RowStart(i)];
        step[i] /= row[i];
        for (std::size_t k = 0; k < i; ++k) { step[k] -= row[k] * step[i]; }
    }
    return step;
}

ModelMeter::ModelMeter(const WorkCrew& crew, const std::vector<TuningPosition>& positions,
                       const std::vector<Coefficient>& coefficients)
    : crew_(crew), positions_(positions), coefficients_(coefficients) {
    for (u32 i = 0; i < positions.size(); ++i) {
        for (int type = PAWN; type <= KING; ++type) {
            for (const int side : {WHITE, BLACK}) {
                for (Bitboard men = positions[i].position.bb[side][type]; men != 0;) {
                    auto& holders = holders_[type][RelativeSquare(PopLSB(&men), side)];
                    if (holders.empty() || holders.back() != i) { holders.push_back(i); }
                }
            }
        }
    }
}

bool ModelMeter::Measure(const Task& task, LossModel* model) {
    const u32 all = static_cast<u32>(positions_.size());
    const std::size_t n = coefficients_.size();
    sums_.assign(static_cast<std::size_t>(crew_.Size()), Sums());
    for (Sums& sums : sums_) {
        sums.gradient.assign(n, 0);
        sums.matrix.assign(RowStart(n), 0);
    }
    const std::size_t passes = n * ((all + BLOCK - 1) / BLOCK);
    std::size_t done = 0;
    bool complete = true;
    for (u32 first = 0; first < all && complete; first += BLOCK) {
        const u32 end = std::min(all, first + BLOCK);
        slopes_.resize(std::max<std::size_t>(slopes_.size(), end - first));
        for (auto& slopes : slopes_) { slopes.clear(); }
        for (std::size_t c = 0; c < n && complete; ++c) {
            FindSlopes(first, end, c);
            complete = task.go_on(++done, passes);
        }
        if (complete) { AddUp(task, first, end); }
    }
    InitEval();
    if (complete) { Gather(all, task.steepness, model); }
    return complete;
}

// Scores the listed positions with a value of the coefficient.
void ModelMeter::ScoreTouched(const std::vector<u32>& touched, std::size_t coefficient, int value) {
    *FieldOf(coefficients_[coefficient], &Personality) = static_cast<i16>(value);
    InitEval();
    moved_scores_.resize(touched.size());
    crew_.Share(touched.size(), [&](const WorkCrew::Part& part) {
        for (std::size_t i = part.first; i < part.end; ++i) {
            moved_scores_[i] = StaticScore(part.tb, positions_[touched[i]].position);
        }
    });
}

// Notes what a step of the coefficient to either side does to the scores of positions
// first .. end - 1. The value of a square matters where a man of its type stands on it only.
void ModelMeter::FindSlopes(u32 first, u32 end, std::size_t coefficient) {
    const Coefficient& c = coefficients_[coefficient];
    std::vector<u32> touched;
    if (c.piece == NO_PIECE) {
        touched.resize(end - first);
        std::iota(touched.begin(), touched.end(), first);
    } else {
        const auto& holders = holders_[c.piece][c.square];
        touched.assign(std::ranges::lower_bound(holders, first),
                       std::ranges::lower_bound(holders, end));
    }
    const int value = *FieldOf(c, &Personality);
    ScoreTouched(touched, coefficient, value - c.step);
    const std::vector<int> below = moved_scores_;
    ScoreTouched(touched, coefficient, value + c.step);
    *FieldOf(c, &Personality) = static_cast<i16>(value);
    for (std::size_t i = 0; i < touched.size(); ++i) {
        const int change = std::clamp(moved_scores_[i] - below[i], -LARGEST_CHANGE, LARGEST_CHANGE);
        if (change == 0) { continue; }
        slopes_[touched[i] - first].push_back(
            {static_cast<u16>(coefficient), static_cast<i16>(change)});
    }
}

void ModelMeter::AddUp(const Task& task, u32 first, u32 end) {
    crew_.Share(end - first, [&](const WorkCrew::Part& part) {
        Sums* const sums = &sums_[static_cast<std::size_t>(part.worker)];
        for (std::size_t i = part.first; i < part.end; ++i) {
            AddPosition(task, first + static_cast<u32>(i), slopes_[i], sums);
        }
    });
}

void ModelMeter::AddPosition(const Task& task, u32 index, const std::vector<Slope>& slopes,
                             Sums* sums) {
    const double expected = ExpectedResult(task.steepness, task.scores[index]);
    const double weight = expected * (1.0 - expected) / STEEPEST;
    const i64 pull = std::llround((expected - task.targets[index]) * weight * GRADIENT_UNIT);
    const i64 stiffness = std::llround(weight * weight * MATRIX_UNIT);
    for (std::size_t i = 0; i < slopes.size(); ++i) {
        sums->gradient[slopes[i].coefficient] += pull * slopes[i].change;
        i64* const row = &sums->matrix[RowStart(slopes[i].coefficient)];
        const i64 factor = stiffness * slopes[i].change;
        for (std::size_t k = 0; k <= i; ++k) {
            row[slopes[k].coefficient] += factor * slopes[k].change;
        }
    }
}

// Turns the sums of all workers into slopes for one unit of each coefficient.
void ModelMeter::Gather(std::size_t positions, double steepness, LossModel* model) const {
    const std::size_t n = coefficients_.size();
    const double steepest = ExpectedSlope(steepness, EVEN);
    const double mean = 2.0 / static_cast<double>(positions);
    const auto units = [this](std::size_t c) { return 2.0 * coefficients_[c].step; };
    model->gradient.assign(n, 0.0);
    model->matrix.assign(RowStart(n), 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        i64 pull = 0;
        for (const Sums& sums : sums_) { pull += sums.gradient[i]; }
        model->gradient[i] = mean * steepest * static_cast<double>(pull) / GRADIENT_UNIT / units(i);
        for (std::size_t k = 0; k <= i; ++k) {
            i64 stiffness = 0;
            for (const Sums& sums : sums_) { stiffness += sums.matrix[RowStart(i) + k]; }
            model->matrix[RowStart(i) + k] = mean * steepest * steepest *
                                             static_cast<double>(stiffness) / MATRIX_UNIT /
                                             units(i) / units(k);
        }
    }
}

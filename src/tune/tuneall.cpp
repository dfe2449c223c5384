#include "tune/tuneall.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <optional>
#include <thread>
#include <utility>

#include "eval/personality.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/clock.h"
#include "platform/infile.h"
#include "platform/outfile.h"
#include "platform/textlines.h"
#include "search/toolsearch.h"
#include "tune/lossmodel.h"

namespace {

constexpr int MAX_ROUNDS = 60;
constexpr int PATIENCE = 3;          // rounds without a better prediction of what is held out
constexpr double LEAST_GAIN = 1e-5;  // of a round, as a share of the loss

// Damping of the steps, as a share of the model's own diagonal.
constexpr double FIRST_DAMPING = 1.0;
constexpr double LEAST_DAMPING = 1e-3;
constexpr double DAMPING_FACTOR = 4.0;  // less after a good step, more after a bad one
constexpr int MAX_TRIALS = 8;           // steps of a round

// Where the steepness of the expected result is looked for.
constexpr double LEAST_STEEPNESS = 0.1;
constexpr double LARGEST_STEEPNESS = 4.0;
constexpr double STEEPNESS_WIDTH = 1e-6;

constexpr double LEAST_LOSS = 1e-9;  // a perfect prediction would hold nothing back

constexpr double PERCENT = 0.01;
constexpr double STATUS_INTERVAL = 0.25;  // seconds

constexpr std::string_view FIRST_LINE = "# Weights tuned together by -tune-all";
constexpr std::string_view FILE_END = ".rc";
constexpr std::string_view TABLE_END = ".tsv";

// Positions of one kind with what is to be predicted and what the parameters in use say.
struct Sample {
    const std::vector<TuningPosition>& positions;
    std::vector<double> targets;
    std::vector<int> scores;
};

struct Round {
    int number = 0;
    double training = 0, held_out = 0;  // losses
    int changed = 0;                    // coefficients, against the round before
    double seconds = 0;
};

// The user, who may want to end, and the status line.
struct Watch {
    void (*look)() = nullptr;
    int round = 0;
    double shown = 0;  // when the status line was, seconds
};
Watch watch;

bool EndIsWanted() {
    if (watch.look != nullptr) { watch.look(); }
    return ToolEndWanted();
}

bool GoOn(std::size_t done, std::size_t all) {
    const double time = MonotonicSeconds();
    if (time - watch.shown >= STATUS_INTERVAL) {
        watch.shown = time;
        ShowStatus("round %d, slope %zu of %zu", watch.round, done, all);
    }
    return !EndIsWanted();
}

// One run of the tool.
class JointTuning {
public:
    JointTuning(const TuneAllOptions& options, const TuningSet& set)
        : options_(options),
          set_(set),
          crew_(options.threads > 0 ? options.threads : Processors()),
          training_{set.training, {}, {}},
          held_out_{set.held_out, {}, {}},
          centre_(WithSquaresWrittenOut(Personality)),
          coefficients_(EvaluationCoefficients(centre_)),
          meter_(crew_, set.training, coefficients_) {}

    void Run();

private:
    static int Processors() {
        return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, MAX_THREADS);
    }
    void FindScale();
    [[nodiscard]] bool TakeUp();
    double Loss(Sample* sample);
    double Penalty(const PersonalityRecord& record) const;
    std::vector<double> AddedToDiagonal(const LossModel& model, double damping) const;
    int TakeStep(const std::vector<double>& step);
    bool PlayRound();
    void RunRounds();
    [[nodiscard]] bool Write();
    [[nodiscard]] bool WriteTable() const;

    const TuneAllOptions& options_;
    const TuningSet& set_;
    const WorkCrew crew_;
    Sample training_, held_out_;
    const PersonalityRecord centre_;  // where the weights are held back to
    const std::vector<Coefficient> coefficients_;
    ModelMeter meter_;
    double steepness_ = 0;
    double pull_ = 0;  // of the penalty: what one spread away from the centre costs
    double damping_ = FIRST_DAMPING;
    double centre_loss_ = 0, centre_held_out_ = 0;
    std::vector<Round> rounds_;  // the first one is the start
    PersonalityRecord start_ = {}, best_ = {};
    Round best_round_;
};

// Scores the positions by the parameters in use; their loss is added up in the order of the file.
double JointTuning::Loss(Sample* sample) {
    sample->scores.resize(sample->positions.size());
    crew_.Share(sample->scores.size(), [sample](const WorkCrew::Part& part) {
        for (std::size_t i = part.first; i < part.end; ++i) {
            sample->scores[i] = StaticScore(part.tb, sample->positions[i].position);
        }
    });
    double sum = 0.0;
    for (std::size_t i = 0; i < sample->scores.size(); ++i) {
        const double error = sample->targets[i] - ExpectedResult(steepness_, sample->scores[i]);
        sum += error * error;
    }
    return sample->scores.empty() ? 0.0 : sum / static_cast<double>(sample->scores.size());
}

// Golden section over the steepness of the curve: the one by which the scores foretell the targets
// best.
double FitSteepness(const Sample& sample) {
    constexpr double golden = 0.618033988749894848;
    const auto loss = [&sample](double steepness) {
        double sum = 0.0;
        for (std::size_t i = 0; i < sample.scores.size(); ++i) {
            const double error = sample.targets[i] - ExpectedResult(steepness, sample.scores[i]);
            sum += error * error;
        }
        return sum;
    };
    double low = LEAST_STEEPNESS, high = LARGEST_STEEPNESS;
    double left = high - golden * (high - low), right = low + golden * (high - low);
    double left_loss = loss(left), right_loss = loss(right);
    while (high - low > STEEPNESS_WIDTH) {
        if (left_loss < right_loss) {
            high = std::exchange(right, left);
            right_loss = left_loss;
            left = high - golden * (high - low);
            left_loss = loss(left);
        } else {
            low = std::exchange(left, right);
            left_loss = right_loss;
            right = low + golden * (high - low);
            right_loss = loss(right);
        }
    }
    return std::midpoint(low, high);
}

// Moves the targets by a share, 0..1, toward what the search's scores let expect.
void BlendTargets(Sample* sample, double steepness, double share) {
    for (std::size_t i = 0; i < sample->targets.size(); ++i) {
        const std::optional<int>& score = sample->positions[i].score;
        if (!score) { continue; }
        double* const target = &sample->targets[i];
        *target += share * (ExpectedResult(steepness, *score) - *target);
    }
}

// The steepness by the results alone; then the targets.
void JointTuning::FindScale() {
    for (Sample* sample : {&training_, &held_out_}) {
        for (const TuningPosition& p : sample->positions) { sample->targets.push_back(p.result); }
    }
    static_cast<void>(Loss(&training_));  // for the scores
    steepness_ = FitSteepness(training_);
    for (Sample* sample : {&training_, &held_out_}) {
        BlendTargets(sample, steepness_, options_.blend * PERCENT);
    }
}

double JointTuning::Penalty(const PersonalityRecord& record) const {
    PersonalityRecord values = record;
    double sum = 0.0;
    for (const Coefficient& c : coefficients_) {
        const double away = (*FieldOf(c, &values) - c.centre) / c.spread;
        sum += away * away;
    }
    return pull_ * sum;
}

std::vector<double> JointTuning::AddedToDiagonal(const LossModel& model, double damping) const {
    std::vector<double> added;
    std::size_t diagonal = 0;
    for (const Coefficient& c : coefficients_) {
        added.push_back(2.0 * pull_ / (c.spread * c.spread) + damping * model.matrix[diagonal]);
        diagonal += added.size() + 1;
    }
    return added;
}

// Moves the parameters in use by a step, as far as their limits let them; returns how many moved.
int JointTuning::TakeStep(const std::vector<double>& step) {
    int changed = 0;
    for (std::size_t i = 0; i < step.size(); ++i) {
        const Coefficient& c = coefficients_[i];
        i16* const value = FieldOf(c, &Personality);
        const double moved = std::round(*value + step[i]);
        const i16 next = static_cast<i16>(std::clamp<double>(moved, c.low, c.high));
        if (next != *value) { ++changed; }
        *value = next;
    }
    InitEval();
    return changed;
}

// One model and the best step by it. False when nothing is gained, or the user wants to end.
bool JointTuning::PlayRound() {
    const double start = MonotonicSeconds();
    LossModel model;
    const ModelMeter::Task task = {training_.targets, training_.scores, steepness_, GoOn};
    if (!meter_.Measure(task, &model)) { return false; }
    for (std::size_t i = 0; i < coefficients_.size(); ++i) {
        const Coefficient& c = coefficients_[i];
        const double away = (*FieldOf(c, &Personality) - c.centre) / c.spread;
        model.gradient[i] += 2.0 * pull_ * away / c.spread;
    }
    const PersonalityRecord before = Personality;
    const double loss = rounds_.back().training, penalty = Penalty(before);
    for (int trial = 0; trial < MAX_TRIALS && !EndIsWanted(); ++trial) {
        const int changed = TakeStep(StepToMinimum(model, AddedToDiagonal(model, damping_)));
        const double new_loss = Loss(&training_);
        if (new_loss < loss && new_loss + Penalty(Personality) < loss + penalty) {
            damping_ = std::max(damping_ / DAMPING_FACTOR, LEAST_DAMPING);
            rounds_.push_back({static_cast<int>(rounds_.size()), new_loss, Loss(&held_out_),
                               changed, MonotonicSeconds() - start});
            return true;
        }
        Personality = before;
        damping_ *= DAMPING_FACTOR;
    }
    return false;
}

void ShowRound(const Round& round) {
    ClearStatus();
    ShowMessageF("round %d: training= %.8f, held out= %.8f, changed= %d, %.1f s", round.number,
                 round.training, round.held_out, round.changed, round.seconds);
}

void JointTuning::RunRounds() {
    ShowRound(rounds_.back());
    while (rounds_.size() <= MAX_ROUNDS) {
        watch.round = static_cast<int>(rounds_.size());
        const double loss = rounds_.back().training;
        if (!PlayRound()) { break; }
        const Round& round = rounds_.back();
        ShowRound(round);
        if (round.held_out < best_round_.held_out || set_.held_out.empty()) {
            best_round_ = round;
            best_ = Personality;
        }
        if (!Write()) { return; }
        if (round.number - best_round_.number >= PATIENCE) { break; }
        if (loss - round.training < LEAST_GAIN * loss) { break; }
    }
    ClearStatus();
}

// The parameters of an earlier run. False when there is a target that is none.
bool JointTuning::TakeUp() {
    const char* why = nullptr;
    const char* path = options_.target.c_str();
    LineReader reader;
    if (!OpenLines(&reader, OpenRegularFile(path, &why))) {
        if (why != nullptr) { ShowError("%s: %s\n", path, why); }
        return why == nullptr;
    }
    TextLine line;
    const bool ours = ReadLine(&reader, &line) && line.text == FIRST_LINE;
    CloseLines(&reader);
    if (!ours) {
        ShowError("%s was not written by -tune-all and is left as it is\n", path);
        return false;
    }
    PersonalityRecord record;
    SetPersonalityDefaults(&record);
    if (!LoadConfigFile(path, &record)) { return false; }
    ShowMessageF("goes on with %s", path);
    Personality = record;
    InitEval();
    return true;
}

std::string TableName(const std::string& target) {
    const bool known = target.ends_with(FILE_END);
    return target.substr(0, target.size() - (known ? FILE_END.size() : 0)) + std::string(TABLE_END);
}

bool JointTuning::WriteTable() const {
    OutFile out;
    if (!out.Create(TableName(options_.target))) {
        ShowError("%s\n", out.Fault().c_str());
        return false;
    }
    out.Write("round\tnumber\ttraining\theld_out\tchanged\tseconds\n");
    for (const Round& r : rounds_) {
        out.Print("round\t%d\t%.9f\t%.9f\t%d\t%.1f\n", r.number, r.training, r.held_out, r.changed,
                  r.seconds);
    }
    out.Write("weight\tname\tdefault\tbefore\tafter\n");
    PersonalityRecord before = start_, after = best_;
    for (const Coefficient& c : coefficients_) {
        out.Print("weight\t%s\t%d\t%d\t%d\n", NameOf(c).c_str(), c.centre, *FieldOf(c, &before),
                  *FieldOf(c, &after));
    }
    if (!out.Commit()) {
        ShowError("%s\n", out.Fault().c_str());
        return false;
    }
    return true;
}

// Writes the best parameters and the table of all rounds. False, with a line that says why, when
// one of them cannot be written.
bool JointTuning::Write() {
    OutFile out;
    bool written = out.Create(options_.target);
    if (written) {
        out.Write(FIRST_LINE);
        out.Print("\n# positions %zu, held out %zu, of %s\n", set_.training.size(),
                  set_.held_out.size(), options_.positions.c_str());
        out.Print("# steepness K %.6f, blend %d percent, rounds %d\n", steepness_, options_.blend,
                  best_round_.number);
        out.Print("# training loss %.9f before, %.9f after\n", centre_loss_, best_round_.training);
        out.Print("# held-out loss %.9f before, %.9f after\n", centre_held_out_,
                  best_round_.held_out);
        out.Write(ParameterText(best_));
        written = out.Commit();
    }
    if (!written) {
        ShowError("%s\n", out.Fault().c_str());
        PBlock.tool.failed = true;
        return false;
    }
    if (WriteTable()) { return true; }
    PBlock.tool.failed = true;
    return false;
}

void JointTuning::Run() {
    ShowMessageF("positions= %zu, held out= %zu, left out= %zu, weights= %zu, threads= %d",
                 set_.training.size(), set_.held_out.size(), set_.left_out, coefficients_.size(),
                 crew_.Size());
    FindScale();
    ShowMessageF("K= %.6f, blend= %d%%", steepness_, options_.blend);
    centre_loss_ = Loss(&training_);
    centre_held_out_ = Loss(&held_out_);
    pull_ = std::max(centre_loss_, LEAST_LOSS) / set_.results;
    if (!TakeUp()) {
        PBlock.tool.failed = true;
        return;
    }
    Personality = start_ = best_ = WithSquaresWrittenOut(Personality);
    InitEval();
    best_round_ = {0, Loss(&training_), Loss(&held_out_), 0, 0.0};
    rounds_ = {best_round_};
    RunRounds();
    if (!PBlock.tool.failed && Write()) {
        ShowMessageF("%s: training loss %.8f before, %.8f after; held out %.8f, %.8f",
                     options_.target.c_str(), centre_loss_, best_round_.training, centre_held_out_,
                     best_round_.held_out);
    }
}

}  // namespace

void TuneAllWeightsTogether(const TuneAllOptions& options) {
    TuningSet set;
    if (!LoadTuningSet(options.positions, game_position, &set)) {
        ShowError("cannot read %s to its end\n", options.positions.c_str());
        PBlock.tool.failed = true;
        return;
    }
    if (set.training.empty()) {
        ShowError("%s holds no positions to tune with\n", options.positions.c_str());
        PBlock.tool.failed = true;
        return;
    }
    const PersonalityRecord kept = Personality;
    watch = {options.look, 0, 0.0};
    PBlock.root.draw_score[WHITE] = PBlock.root.draw_score[BLACK] = 0;
    InitEval();
    {
        JointTuning tuning(options, set);
        tuning.Run();
    }
    Personality = kept;
    InitEval();
}

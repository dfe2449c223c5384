// Parameter tuning: one weight at a time, a bracketing line search for the value with which the
// quiescence scores of labelled positions predict their results best.
#include "tune/tune.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "eval/personality.h"
#include "eval/weights.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/interrupt.h"
#include "platform/outfile.h"
#include "search/toolsearch.h"
#include "tune/errormeter.h"

namespace {

constexpr const char* POSITIONS_NAME = "tune.epd";
constexpr const char* LOG_NAME = "tune.log";
constexpr int DECIMAL = 10;

// No weight is larger; keeps trials within 16 bits.
constexpr int MAX_RANGE = 10000;
// The search ends when the bracket is as narrow as this share of the range, or narrower than the
// least width.
constexpr int WIDTH_DIVISOR = 12;
constexpr int LEAST_WIDTH = 2;

// The bracket of a line search and the best value in it.
struct Bracket {
    int best, lo, hi;
    double error;  // of the best value
};

void ShowBracket(const Bracket& b) {
    PrintDirect("best= %d, err= %0.5e, min= %d, max= %d\n\n", b.best, b.error, b.lo, b.hi);
}

// The middle of the wider part.
int NextTrial(const Bracket& b) {
    return b.hi - b.best < b.best - b.lo ? (b.lo + b.best) / 2 : (b.hi + b.best) / 2;
}

void Narrow(Bracket* b, int trial, double error) {
    if (error < b->error) {
        (trial < b->best ? b->hi : b->lo) = b->best;
        b->best = trial;
        b->error = error;
    } else {
        (trial > b->best ? b->hi : b->lo) = trial;
    }
}

// What a weight is tuned with.
struct Tuner {
    ErrorMeter meter{POSITIONS_NAME};
    OutFile* log = nullptr;  // nullptr: none
    // Called between passes; nullptr: nothing but an interrupt ends the tuning.
    void (*look)() = nullptr;

    // Without positions every error is 1.
    void WarnWithoutPositions() const {
        if (!meter.HasPositions()) { ShowError("cannot read %s\n", POSITIONS_NAME); }
    }

    // Asked after a pass.
    bool EndIsWanted() const {
        if (look != nullptr) { look(); }
        return meter.Broken() || ToolEndWanted();
    }
};

// Searches within +-range of the weight's value for the one that predicts best, prints its path,
// and writes the result to the log when there is one. The weight is left as it was. When the user
// wants to end the search stops early, without a line in the log.
void TuneWeight(Tuner* tuner, const Weight& weight, int range) {
    const char* name = TuningWord(weight);
    i16* field = WordField(weight, &Personality);
    const i16 original = *field;
    range = std::clamp(range, -MAX_RANGE, MAX_RANGE);
    Bracket b = {original, std::max(original - range, INT16_MIN),
                 std::min(original + range, INT16_MAX), tuner->meter.Measure(name, original)};
    bool ended = tuner->EndIsWanted();
    if (EndWanted()) {  // in the middle of the first pass: its error is worth nothing
        ClearStatus();
        return;
    }
    while (!ended && b.hi - b.lo > range / WIDTH_DIVISOR + LEAST_WIDTH) {
        ShowBracket(b);
        const int trial = NextTrial(b);
        if (trial == b.best) { break; }
        *field = static_cast<i16>(trial);
        const double error = tuner->meter.Measure(name, trial);
        ended = tuner->EndIsWanted();
        if (ended) { break; }
        PrintDirect("%s= %d, err= %0.5e\n", name, trial, error);
        Narrow(&b, trial, error);
    }
    ClearStatus();
    ShowBracket(b);
    *field = original;
    InitEval();
    if (tuner->log != nullptr && !ended) {
        tuner->log->Print("%-24s  %4d  %0.5f\n", name, b.best, b.error);
        [[maybe_unused]] const bool written = tuner->log->Flush();  // a fault is told at the end
    }
}

// These outlive the run.
void SetTuningFields() {
    PBlock.limits.max_depth = 0;
    PBlock.tool.epd_file = POSITIONS_NAME;
    PBlock.options.noise = NOISE_NEVER;
}

void TuneAllWeights(Tuner* tuner) {
    for (const Weight& weight : AllWeights()) {
        if (!tuner->log->Fault().empty() || ToolEndWanted()) { return; }
        if (weight.tuning_range != 0) { TuneWeight(tuner, weight, weight.tuning_range); }
    }
}

}  // namespace

void TuneCommand(const char* name, const char* range) {
    if (name[0] == '\0' || range[0] == '\0') { return; }
    SetTuningFields();
    PrintDirect("tuning %s\n", name);
    if (const Weight* weight = FindTuningWord(name); weight != nullptr) {
        Tuner tuner;
        tuner.WarnWithoutPositions();
        const long value = std::strtol(range, nullptr, DECIMAL);
        const long limited = std::clamp(value, -long{MAX_RANGE}, long{MAX_RANGE});
        TuneWeight(&tuner, *weight, static_cast<int>(limited));
    }
    PrintDirect("done!\n");
}

void RunTuneSchedule(void (*look)()) {
    SetTuningFields();
    Tuner tuner;
    OutFile log;
    tuner.log = &log;
    tuner.look = look;
    tuner.WarnWithoutPositions();
    if (!tuner.meter.HasPositions()) {
        PBlock.tool.failed = true;
        return;
    }
    if (log.CreateGrowing(LOG_NAME)) { TuneAllWeights(&tuner); }
    if (!log.Fault().empty() || !log.Commit()) {
        ShowMessage(log.Fault().c_str());
        PBlock.tool.failed = true;
    }
}

// Parameter tuning: one weight at a time, a bracketing line search for the value with which the
// quiescence scores of labelled positions predict their results best.
#include "tune/tune.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "eval/personality.h"
#include "eval/weights.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/interrupt.h"
#include "platform/outfile.h"
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

// Searches within +-range of the weight's value for the one that predicts best, prints its path,
// and writes the result to `log` when there is one. The weight is left as it was. When the user
// wants to end the search stops early, without a line in the log.
void TuneWeight(ErrorMeter* meter, const Weight& weight, int range, OutFile* log) {
    const char* name = TuningWord(weight);
    i16* field = WordField(weight, &Personality);
    const i16 original = *field;
    range = std::clamp(range, -MAX_RANGE, MAX_RANGE);
    Bracket b = {original, std::max(original - range, INT16_MIN),
                 std::min(original + range, INT16_MAX), meter->Measure(name, original)};
    while (!meter->Broken() && b.hi - b.lo > range / WIDTH_DIVISOR + LEAST_WIDTH) {
        ShowBracket(b);
        const int trial = NextTrial(b);
        if (trial == b.best) { break; }
        *field = static_cast<i16>(trial);
        const double error = meter->Measure(name, trial);
        if (meter->Broken()) { break; }
        PrintDirect("%s= %d, err= %0.5e\n", name, trial, error);
        Narrow(&b, trial, error);
    }
    ClearStatus();
    ShowBracket(b);
    *field = original;
    InitEval();
    if (log != nullptr && !meter->Broken()) {
        log->Print("%-24s  %4d  %0.5f\n", name, b.best, b.error);
        [[maybe_unused]] const bool written = log->Flush();  // a fault is told at the end
    }
}

// These outlive the run.
void SetTuningFields() {
    PBlock.limits.max_depth = 0;
    std::strcpy(PBlock.tool.epd_file, POSITIONS_NAME);
    PBlock.options.noise = NOISE_NEVER;
}

}  // namespace

void TuneCommand(const char* name, const char* range) {
    if (name[0] == '\0' || range[0] == '\0') { return; }
    SetTuningFields();
    PrintDirect("tuning %s\n", name);
    if (const Weight* weight = FindTuningWord(name); weight != nullptr) {
        ErrorMeter meter(POSITIONS_NAME);
        const long value = std::strtol(range, nullptr, DECIMAL);
        const long limited = std::clamp(value, -long{MAX_RANGE}, long{MAX_RANGE});
        TuneWeight(&meter, *weight, static_cast<int>(limited), nullptr);
    }
    PrintDirect("done!\n");
}

void RunTuneSchedule() {
    OutFile log;
    if (!log.CreateGrowing(LOG_NAME)) {
        ShowMessage(log.Fault().c_str());
        PBlock.tool.failed = true;
        return;
    }
    SetTuningFields();
    {
        ErrorMeter meter(POSITIONS_NAME);
        for (const Weight& weight : AllWeights()) {
            if (weight.tuning_range == 0 || EndWanted() || !log.Fault().empty()) { continue; }
            TuneWeight(&meter, weight, weight.tuning_range, &log);
        }
    }
    if (!log.Commit()) {
        ShowMessage(log.Fault().c_str());
        PBlock.tool.failed = true;
    }
}

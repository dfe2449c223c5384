#include "frontend/parameteroptions.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "eval/personality.h"
#include "eval/weights.h"
#include "frontend/commandloop.h"
#include "frontend/output.h"
#include "platform/words.h"
#include "search/ttable.h"

namespace {

// How far a weight may be moved: so many times its default, or at least so much, either way; a
// large one does not change its sign.
constexpr int SPAN_FACTOR = 2;
constexpr int LEAST_SPAN = 64;
// The first step of a tuner is a part of the span; its rate of learning is the usual one.
constexpr double STEPS_OF_SPAN = 20.0;
constexpr double LEAST_STEP = 0.5;
constexpr double LEARNING_RATE = 0.002;

bool weights_changed = false;

struct Limits {
    int initial, low, high;
};

bool IsNumber(const Weight& weight) { return weight.in_file && weight.kind != WeightKind::SQUARES; }

int ValueOf(const Weight& weight, PersonalityRecord* record) {
    return weight.kind == WeightKind::BYTE ? *ByteField(weight, record)
                                           : *WordField(weight, record);
}

Limits LimitsOf(const Weight& weight) {
    const bool byte = weight.kind == WeightKind::BYTE;
    const int initial = ValueOf(weight, &DefaultPersonality);
    if (IsOffByDefault(weight)) { return {initial, 0, initial}; }
    const int span = std::max(SPAN_FACTOR * std::abs(initial), LEAST_SPAN);
    const int lowest = byte || initial >= LEAST_SPAN ? 0 : INT16_MIN;
    return {initial, std::max(initial - span, lowest),
            std::min<int>(initial + span, byte ? UINT8_MAX : INT16_MAX)};
}

}  // namespace

void ShowParameterOptions() {
    for (const Weight& weight : AllWeights()) {
        if (!IsNumber(weight)) { continue; }
        const Limits limits = LimitsOf(weight);
        ShowMessageF("option name %s type spin default %d min %d max %d", weight.name,
                     limits.initial, limits.low, limits.high);
    }
}

void SetParameterOption(const std::string& name, const std::string& text) {
    const Weight* weight = FindKey(name);
    if (weight == nullptr || !IsNumber(*weight)) { return; }
    if (!StartsWithNumber(text)) { return; }
    FinishSearch();
    const Limits limits = LimitsOf(*weight);
    const int value = WholeNumber(text.c_str(), limits.low, limits.high);
    if (weight->kind == WeightKind::BYTE) {
        *ByteField(*weight, &Personality) = static_cast<u8>(value);
    } else {
        *WordField(*weight, &Personality) = static_cast<i16>(value);
    }
    weights_changed = true;
}

void TakeUpParameters() {
    if (!weights_changed) { return; }
    weights_changed = false;
    // The limits begin anew, or they would depend on what was set before.
    PersonalityRecord initial;
    SetPersonalityDefaults(&initial);
    Personality.CNP_depth = initial.CNP_depth;
    Personality.FP_depth = initial.FP_depth;
    Personality.LMP_depth = initial.LMP_depth;
    DeriveDepthLimits(&Personality);
    BuildReductionTable(&Personality);
    InitEval();
    ClearTTable();  // its scores came from other weights
}

void ListParameters() {
    for (const Weight& weight : AllWeights()) {
        if (!IsNumber(weight) || IsOffByDefault(weight)) { continue; }
        const Limits limits = LimitsOf(weight);
        const double step = std::max((limits.high - limits.low) / STEPS_OF_SPAN / 2, LEAST_STEP);
        ShowMessageF("%s, int, %d, %d, %d, %.1f, %.3f", weight.name, limits.initial, limits.low,
                     limits.high, step, LEARNING_RATE);
    }
}

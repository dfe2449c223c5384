// The table of all weights: what the parameter file, the tuner, the defaults and the documents know
// about each field of PersonalityRecord. A new evaluation term adds a field to the record, a row
// here, and the code that uses it. Constant; any thread may read it.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "eval/personality.h"

// What a weight is in the record. BYTE and WORD hold one number of 0..255 or -32768..32767;
// SQUARES holds a WORD for each square, a1 first.
enum class WeightKind : u8 { BYTE, WORD, SQUARES };

// What the tuner does with a weight, which must be a WORD: nothing; tunes it on request, and in its
// schedule when the row has a range; or in its schedule alone.
enum class Tuning : u8 { UNTUNED, TUNED, SCHEDULE_ONLY };

struct Weight {
    const char* name;  // its key in the parameter file when it has one
    WeightKind kind;
    std::size_t offset;  // of the field in the record, bytes
    i16 initial;         // built-in default, of every square for SQUARES
    bool in_file;
    Tuning tuning = Tuning::UNTUNED;
    i16 tuning_range = 0;               // R of the schedule, in units of the weight; 0 = not in it
    const char* tuning_word = nullptr;  // its name in the tuner where that is another one
};

// Any thread may call the following, but a field is changed only while no search runs.

// Every field of the record but LMR_table, once, in the order of the tuner's schedule.
std::span<const Weight> AllWeights();

// The field of a weight; requires the kind that the function is for.
u8* ByteField(const Weight& weight, PersonalityRecord* record);
i16* WordField(const Weight& weight, PersonalityRecord* record);  // first of 64 for SQUARES

// Whether the built-in value of a margin switches its pruning off: it is beyond all scores then,
// and tells nothing of where a useful one would lie.
bool IsOffByDefault(const Weight& weight);

// The weight with that key in the parameter file, or nullptr.
const Weight* FindKey(std::string_view key);

// What the tuner calls the weight.
const char* TuningWord(const Weight& weight);
// The weight that the console's "tune" calls `word`, or nullptr.
const Weight* FindTuningWord(std::string_view word);

// Every number of the evaluation that a parameter file can set, as one list for the tuner that
// moves them all at once; and the file that holds what came of it. Front-end thread only, while no
// search runs.
#pragma once

#include <string>
#include <vector>

#include "eval/weights.h"

// One number: a weight, or one square of a piece-square table. Units are those of the weight.
struct Coefficient {
    const Weight* weight;
    int square;     // of a table, from White's point of view; 0 of a single number
    int piece;      // whose table it is, NO_PIECE of a single number
    i16 centre;     // where it is held back to, and what it is before
    i16 low, high;  // its limits
    i16 step;       // by which it is moved to see what it does
    double spread;  // how far from the centre it goes without much ado
};

// The parameters in use with the value of every square written out: what the tables derived from
// them hold, so that nothing changes. Requires InitEval.
PersonalityRecord WithSquaresWrittenOut(const PersonalityRecord& record);

// The coefficients of the evaluation, in the order of the weights, around the values of `centre`,
// whose squares are written out.
std::vector<Coefficient> EvaluationCoefficients(const PersonalityRecord& centre);

// The number itself.
i16* FieldOf(const Coefficient& coefficient, PersonalityRecord* record);

// Its name in logs: "hung", "PST_king_op e4".
std::string NameOf(const Coefficient& coefficient);

// Text of a parameter file that turns the built-in values into those of `record`, whose squares are
// written out: what differs from them, and nothing else. Leaves Personality and the derived tables
// as they were.
std::string ParameterText(const PersonalityRecord& record);

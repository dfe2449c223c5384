// Tuning of all weights together: the model of the loss, the file of parameters, whole runs.
#include "tune/tuneall.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <random>
#include <regex>

#include "book/extract.h"
#include "eval/personality.h"
#include "frontend/pblock.h"
#include "support/engine.h"
#include "tune/lossmodel.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr double STEEPNESS = 1.3;
constexpr double BLEND = 0.4;
constexpr int POSITIONS = 1500;

double Expected(double steepness, int score) {
    return 1.0 / (1.0 + std::pow(10.0, -steepness * score / 400.0));
}

int Evaluated(const std::string& position) {
    SetGame(position);
    return Evaluate(ThreadData[0], 1, false);
}

// Parameters that the built-in ones can be tuned to.
void SetOtherWeights() {
    Personality.knight_value_op = 300;
    Personality.pawn_value_en = 115;
    Personality.bishop_pair = 60;
    Personality.king_safety = 150;
    Personality.hung = -45;
    Personality.PST_op[KNIGHT][SquareOfText("f3")] = 25;
    InitEval();
}

class TuneAll : public EngineTest {
protected:
    // Positions, each of a game of its own, whose results other weights foretell; every other one
    // with the score that these give it.
    static void WritePositions() {
        OutputOf([] { ExtractPositions(DataFile("engine-games.pgn"), "quiet.epd"); });
        const PersonalityRecord kept = Personality;
        SetOtherWeights();
        std::ifstream in("quiet.epd");
        std::ofstream out("positions.epd");
        out << std::fixed << std::setprecision(5);
        int number = 0;
        for (std::string line; number < POSITIONS && std::getline(in, line);) {
            char fields[EPD_FIELDS_SIZE];
            MakeEPD(SetGame(line), fields);
            const int score = Evaluated(line);
            out << fields;
            if (++number % 2 == 0) { out << " ce " << score << ";"; }
            out << " tune " << Expected(STEEPNESS, score) << "; id \"" << number << "\";\n";
        }
        Personality = kept;
        InitEval();
    }
    static std::string Run(int threads, void (*look)() = nullptr) {
        return OutputOf([&] {
            TuneAllWeightsTogether(
                {"positions.epd", TUNED_FILE, static_cast<int>(100 * BLEND), threads, look});
        });
    }
    // The number that the pattern's group names, in the text.
    static double Number(const std::string& text, const std::string& pattern) {
        std::smatch match;
        EXPECT_TRUE(std::regex_search(text, match, std::regex(pattern))) << pattern << "\n" << text;
        return match.empty() ? -1.0 : std::stod(match[1]);
    }
    // By the parameters in use and the formula of the documents.
    static double Loss(const std::vector<TuningPosition>& positions, double steepness) {
        double sum = 0.0;
        for (const TuningPosition& p : positions) {
            double target = p.result;
            if (p.score) {
                target = (1.0 - BLEND) * target + BLEND * Expected(steepness, *p.score);
            }
            char fields[EPD_FIELDS_SIZE];
            MakeEPD(&p.position, fields);
            sum += std::pow(target - Expected(steepness, Evaluated(fields)), 2);
        }
        return sum / static_cast<double>(positions.size());
    }

private:
    ScratchFolder folder_;
};

TEST_F(TuneAll, TheFileHoldsWhatWasMeasuredWhateverTheThreads) {
    WritePositions();
    const PersonalityRecord kept = Personality;
    const std::string output = Run(1);
    const std::string file = FileContent(TUNED_FILE);
    std::filesystem::remove(TUNED_FILE);
    Run(2);
    EXPECT_EQ(FileContent(TUNED_FILE), file);
    EXPECT_EQ(ThreadData[2], nullptr) << "a worker's record is left";
    EXPECT_EQ(std::memcmp(&kept, &Personality, sizeof kept), 0) << "a weight was not restored";

    TuningSet set;
    ASSERT_TRUE(LoadTuningSet("positions.epd", game_position, &set));
    const double k = Number(file, "steepness K ([0-9.]+)");
    const double before = Number(file, "training loss ([0-9.]+) before");
    const double after = Number(file, "training loss [0-9.]+ before, ([0-9.]+) after");
    constexpr double LAST_DIGIT = 2e-9;
    EXPECT_NEAR(Loss(set.training, k), before, LAST_DIGIT);
    ASSERT_TRUE(LoadConfigFile(TUNED_FILE, &Personality));
    InitEval();
    EXPECT_NEAR(Loss(set.training, k), after, LAST_DIGIT);
    EXPECT_NEAR(Loss(set.held_out, k),
                Number(file, "held-out loss [0-9.]+ before, ([0-9.]+) after"), LAST_DIGIT);
    EXPECT_LT(after, before / 50) << "the weights that foretell the results are not found";
    double last = 1.0;
    const std::regex round("training= ([0-9.]+)");
    for (std::sregex_iterator at(output.begin(), output.end(), round), end; at != end; ++at) {
        EXPECT_LE(std::stod((*at)[1]), last) << output;
        last = std::stod((*at)[1]);
    }
}

int looks = 0;

// The user ends in the middle of the second round; another run goes on from there.
TEST_F(TuneAll, AnInterruptedRunLeavesItsBestAndIsTakenUpAgain) {
    WritePositions();
    looks = 0;
    const std::string first = Run(1, [] {
        const int weights = 773;
        PBlock.control.quit = ++looks > weights + weights / 2;
    });
    PBlock.control.quit = 0;
    EXPECT_THAT(first, HasSubstr("round 1"));
    EXPECT_THAT(first, Not(HasSubstr("round 2")));
    const double reached = Number(first, "round 1: training= ([0-9.]+)");
    EXPECT_NEAR(Number(FileContent(TUNED_FILE), "before, ([0-9.]+) after"), reached, 1e-8);
    looks = 0;
    const std::string second = Run(1, [] { PBlock.control.quit = ++looks > 0; });
    PBlock.control.quit = 0;
    EXPECT_THAT(second, HasSubstr("goes on with tuned.rc"));
    EXPECT_EQ(Number(second, "round 0: training= ([0-9.]+)"), reached);
    EXPECT_THAT(FileContent("tuned.tsv"), HasSubstr("weight\thung\t-22\t"));
    EXPECT_FALSE(PBlock.tool.failed);
}

TEST_F(TuneAll, WhatCannotBeReadOrIsAnotherHandsIsLeftAlone) {
    WritePositions();
    std::ofstream("empty.epd") << "# nothing\n4k3/8/8/8/8/8/8/4K2r w - - tune 1.0;\n";
    std::ofstream(TUNED_FILE) << "hung = -30\n";
    for (const char* positions : {"missing.epd", "empty.epd", "positions.epd"}) {
        PBlock.tool.failed = false;
        OutputOf([&] { TuneAllWeightsTogether({positions}); });
        EXPECT_TRUE(PBlock.tool.failed) << positions;
        EXPECT_EQ(FileContent(TUNED_FILE), "hung = -30\n");
    }
}

TEST_F(TuneAll, LinesAreTakenApartAndGamesStayTogether) {
    std::ofstream out("positions.epd");
    const char* const move[] = {"8/8/8/4k3/8/8/4P3/4K3 w - -", "8/8/8/3k4/8/8/4P3/4K3 w - -"};
    for (int game = 0; game < 200; ++game) {
        for (const char* position : move) {
            out << position << " ce -12; tune 0.75; id \"" << game << "\";\n";
        }
    }
    out << "4k3/8/8/8/8/8/8/4K2r w - - tune 1.0;\n8/8/8/8/8/8/8/4K3 w - - tune 1.0;\n"
        << "8/8/8/4k3/8/8/4P3/4K3 w - - tune 0.25;\n";
    out.close();
    TuningSet set;
    ASSERT_TRUE(LoadTuningSet("positions.epd", game_position, &set));
    EXPECT_EQ(set.left_out, 2u) << "in check; without a king";
    EXPECT_EQ(set.training.size() + set.held_out.size(), 401u);
    EXPECT_EQ(set.training[0].score, std::optional(-12));
    EXPECT_EQ(set.training[0].result, 0.75);
    const TuningPosition& last =
        (set.training.size() % 2 == 1 ? set.training : set.held_out).back();
    EXPECT_EQ(last.score, std::nullopt);
    EXPECT_EQ(last.result, 0.25);
    EXPECT_NEAR(static_cast<double>(set.held_out.size()), 40.0, 20.0);
    EXPECT_NEAR(set.results, static_cast<double>(set.training.size()) / 2, 1.0);
}

// A mate is 10000 less its plies; what lies beyond is as good as one, but for the two marks of a
// move whose comment tells no score.
TEST_F(TuneAll, ScoresBeyondMatesAreWonOrLostAndMarksOfMissingOnesAreNone) {
    const std::pair<const char*, std::optional<int>> cases[] = {
        {"-9994", -9994},         {"12000", 10000}, {"-29998", -10000},
        {"-99999999999", -10000}, {"32767", 10000}, {"-30000", std::nullopt},
        {"-29999", std::nullopt}};
    for (const auto& [text, score] : cases) {
        std::ofstream("positions.epd")
            << "8/8/8/4k3/8/8/4P3/4K3 w - - bm e4; ce " << text << "; tune 7;\n";
        TuningSet set;
        ASSERT_TRUE(LoadTuningSet("positions.epd", game_position, &set));
        const auto& part = set.training.empty() ? set.held_out : set.training;
        ASSERT_EQ(part.size(), 1u);
        EXPECT_EQ(part[0].score, score) << text;
        EXPECT_EQ(part[0].result, 1.0);
    }
}

// The model's slopes against the loss itself, for every coefficient: also of squares on which the
// meter does not look.
TEST_F(TuneAll, TheModelFollowsTheLoss) {
    WritePositions();
    TuningSet set;
    ASSERT_TRUE(LoadTuningSet("positions.epd", game_position, &set));
    set.training.resize(200);
    Personality = WithSquaresWrittenOut(Personality);
    InitEval();
    const auto coefficients = EvaluationCoefficients(Personality);
    std::vector<double> targets;
    std::vector<int> scores;
    for (TuningPosition& p : set.training) {
        p.score = std::nullopt;
        targets.push_back(p.result);
        scores.push_back(StaticScore(ThreadData[1], p.position));
    }
    LossModel model;
    {
        const WorkCrew crew(2);
        ModelMeter meter(crew, set.training, coefficients);
        const auto go_on = [](std::size_t, std::size_t) { return true; };
        ASSERT_TRUE(meter.Measure({targets, scores, STEEPNESS, go_on}, &model));
    }
    int moved = 0;
    for (std::size_t i = 0; i < coefficients.size(); ++i) {
        const Coefficient& c = coefficients[i];
        i16* const field = FieldOf(c, &Personality);
        const auto loss = [&](int value) {
            *field = static_cast<i16>(value);
            InitEval();
            double sum = 0.0;
            for (const TuningPosition& p : set.training) {
                const int score = StaticScore(ThreadData[0], p.position);
                sum += std::pow(p.result - Expected(STEEPNESS, score), 2);
            }
            return sum / static_cast<double>(set.training.size());
        };
        const i16 value = c.centre;
        const double slope = (loss(value + c.step) - loss(value - c.step)) / (2 * c.step);
        *field = value;
        EXPECT_NEAR(model.gradient[i], slope, 0.2 * std::abs(slope) + 2e-7) << NameOf(c);
        moved += slope != 0.0 ? 1 : 0;
    }
    EXPECT_GT(moved, 200);
}

TEST(LossModel, TheStepLeadsToTheMinimum) {
    // Of x^2 + 1.5 y^2 + 2.5 z^2 + x y + y z - 4 x - 9 y - 17 z, once 2 has been taken off the
    // diagonal: at 1, 2, 3.
    const LossModel model = {{-4.0, -10.0, -17.0}, {0.0, 1.0, 1.0, 0.0, 1.0, 3.0}};
    const std::vector<double> step = StepToMinimum(model, {2.0, 2.0, 2.0});
    EXPECT_THAT(step, testing::Pointwise(testing::DoubleNear(1e-12), {1.0, 2.0, 3.0}));
}

// Any parameters come back as they were, whatever was in use meanwhile.
TEST_F(TuneAll, ParametersAreWrittenOutAndReadBack) {
    std::mt19937 random(7);
    Personality.LMP_count[2] = 9;
    Personality.draw_score = -15;
    Personality.PST_en[ROOK][3] = 40;
    InitEval();
    const PersonalityRecord in_use = Personality;
    PersonalityRecord record = WithSquaresWrittenOut(Personality);
    EXPECT_EQ(ParameterText(WithSquaresWrittenOut(DefaultPersonality)).find("PST_pawn"),
              std::string::npos);
    for (const Coefficient& c : EvaluationCoefficients(record)) {
        if (random() % 3 == 0) { *FieldOf(c, &record) = static_cast<i16>(random() % 400) - 200; }
    }
    std::ofstream("out.rc") << ParameterText(record);
    EXPECT_EQ(std::memcmp(&in_use, &Personality, sizeof in_use), 0);
    PersonalityRecord back;
    SetPersonalityDefaults(&back);
    ASSERT_TRUE(LoadConfigFile("out.rc", &back));
    EXPECT_EQ(back.LMP_count[2], 9);
    EXPECT_EQ(back.draw_score, -15);
    Personality = record;
    InitEval();
    const EvalTables tables = eval_tables;
    Personality = back;
    InitEval();
    EXPECT_EQ(std::memcmp(&tables, &eval_tables, sizeof tables), 0);
    for (const Coefficient& c : EvaluationCoefficients(record)) {
        if (c.piece == NO_PIECE) { EXPECT_EQ(*FieldOf(c, &back), c.centre) << NameOf(c); }
    }
}

}  // namespace

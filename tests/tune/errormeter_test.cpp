// The error of the tuner: the same as that of the EPD analysis, whoever computes the scores.
#include "tune/errormeter.h"

#include <cstring>
#include <fstream>

#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/epd.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class ErrorMeterTest : public EngineTest {
    ScratchFolder folder_;
};

// Enough positions for several threads; some in check, some that are no positions.
TEST_F(ErrorMeterTest, TheErrorIsThatOfTheEpdAnalysisWhateverTheWeightsAndLimits) {
    std::ofstream file("tune.epd");
    for (int i = 0; i < 12; ++i) {
        file << FileContent(DataFile("tune.epd"));
        for (const auto& row : ReadTable("positions.tsv")) { file << row[0] << "\r\n"; }
    }
    file.close();
    PBlock.tool.epd_file = "tune.epd";
    PBlock.limits.max_depth = 0;
    for (const u64 node_limit : {u64{0}, u64{5}}) {  // with one the calling thread does it alone
        PBlock.limits.node_limit = node_limit;
        for (const i16 draw_score : {i16{0}, i16{25}}) {
            Personality.draw_score = Personality.bishop_pair = draw_score;
            ErrorMeter meter("tune.epd");
            for (const i16 hung : {i16{-22}, i16{-90}, i16{-22}}) {  // there and back
                Personality.hung = hung;
                const double error = meter.Measure("hung", hung);
                EXPECT_EQ(Analyze_EPD_File(0), error) << hung;
            }
        }
        EXPECT_EQ(ThreadData[2], nullptr) << "a worker's record is left";
    }
}

TEST_F(ErrorMeterTest, WithoutPositionsThereIsNoErrorAndWithoutAFileTheWorst) {
    std::ofstream("empty.epd") << "# nothing here\n";
    EXPECT_EQ(ErrorMeter("empty.epd").Measure("hung", 0), 0.0);
    EXPECT_EQ(ErrorMeter("missing.epd").Measure("hung", 0), 1.0);
}

}  // namespace

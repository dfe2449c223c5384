// Every column of the table of evaluated positions: scores, stage, factor, report lines and
// squares.
#include <sstream>

#include "eval/evaluated.h"
#include "eval/personality.h"
#include "frontend/pblock.h"
#include "search/search.h"

namespace {

TEST(ReferenceTest, EveryColumnOfEveryPositionAgrees) {
    ResetEngine();
    PBlock.limits.max_depth = 0;
    const std::string head = FileContent(DataFile("evaluations.tsv"));
    for (const auto& row : ReadTable("evaluations.tsv")) {
        Columns columns = Evaluated(row[0]);
        InitEval();  // no score of an earlier position
        InitSearch();
        SearchIterations(1);
        EXPECT_EQ(std::to_string(ThreadData[1]->root_eval), columns["eval"]) << row[0];
        columns["qscore"] = std::to_string(ThreadData[1]->running_score);
        columns["fen"] = row[0];
        std::istringstream names(head);
        for (const std::string& value : row) {
            std::string name;
            names >> name;
            EXPECT_EQ(columns[name], value) << row[0] << ' ' << name;
        }
    }
}

}  // namespace

// The move trace: the tree that it writes, and a file that cannot be written.
#include "board/trace.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "board/reference.h"
#include "eval/threadblock.h"
#include "frontend/pblock.h"

namespace {

using TraceTest = EngineTest;

TEST_F(TraceTest, TraceWritesTheTreeUpToItsLimit) {
    ScratchFolder folder;
    Position* pos = SetGame(fen_opn);
    ThreadData[0]->iteration_depth = 5;
    pos->sstack[0].depth = 5;
    for (i16 ply = 1; ply < 5; ++ply) { pos->sstack[ply].depth = static_cast<i16>(6 - ply); }
    PBlock.options.trace = 2;
    ResetTrace();
    Play(pos, "e2e4 e7e5 g1f3 - - d7d5 - null - - d2d4 -");  // ply 3 is beyond the limit
    ThreadData[0]->iteration_depth = 12;
    pos->sstack[0].depth = pos->sstack[1].depth = 12;
    Play(pos, "c2c4");
    PBlock.options.trace = 0;
    ResetTrace();
    EXPECT_EQ(FileContent("trace.txt"),
              "\n\nSEARCH DEPTH= 5\n( 5)e2e4 ( 4)e7e5 \n         ( 4)d7d5 \n         ( 4)null "
              "\n( 5)d2d4 \n\nSEARCH DEPTH= 12\n\n(12)c2c4 ");
}

TEST_F(TraceTest, TellsPromotionsInItsStyleAndNotesAFileThatCannotBeOpened) {
    ScratchFolder folder;
    Position* pos = SetGame("4k3/P7/8/8/8/8/8/4K3 w - -");
    PBlock.options.trace = 1;
    const Move promotion = MakeMoveWord(48, 56, PROMOTE_ROOK);
    for (const auto& [style, text] :
         {std::pair{MoveStyle::Uci, "a7a8r "}, std::pair{MoveStyle::Plain, "a7a8=R "}}) {
        ResetTrace();
        SetTraceStyle(style);
        MakeMove(pos, promotion);
        UnmakeMove(pos);
        ResetTrace();
        EXPECT_TRUE(FileContent("trace.txt").ends_with(text)) << text;
    }
    std::filesystem::remove("trace.txt");
    std::filesystem::create_directory("trace.txt");
    EXPECT_FALSE(TraceFailed());
    MakeMove(pos, promotion);
    UnmakeMove(pos);
    EXPECT_TRUE(TraceFailed());
    EXPECT_TRUE(PositionIsSound(pos));
}

}  // namespace

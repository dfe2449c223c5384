// The move trace: the tree that it writes, and a file that cannot be written.
#include "board/trace.h"

#include <filesystem>

#include "board/reference.h"

namespace {

using TraceTest = EngineTest;

TEST_F(TraceTest, WritesTheTreeUpToItsLimitInTheStyleThatWasSet) {
    const ScratchFolder folder;
    Position* pos = SetGame("4k3/P6p/8/8/8/8/P7/4K3 w - -");
    for (i16 ply = 1; ply < 5; ++ply) { pos->sstack[ply].depth = static_cast<i16>(6 - ply); }
    pos->sstack[0].depth = 5;
    PBlock.options.trace = 2;
    SetTraceStyle(MoveStyle::Uci);
    Play(pos, "a7a8n h7h5 e1e2 - - e8e7 - null - - a2a4 -");  // ply 3 is beyond the limit
    pos->sstack[0].depth = pos->sstack[1].depth = 12;
    SetTraceStyle(MoveStyle::Plain);
    Play(pos, "a7a8n");
    ResetTrace();
    EXPECT_EQ(FileContent("trace.txt"),
              "\n\nSEARCH DEPTH= 5\n( 5)a7a8n ( 4)h7h5 \n         ( 4)e8e7 \n         ( 4)null "
              "\n( 5)a2a4 \n\nSEARCH DEPTH= 12\n\n(12)a7a8=N ");
}

TEST_F(TraceTest, NotesAFileThatCannotBeOpened) {
    const ScratchFolder folder;
    std::filesystem::create_directory("trace.txt");
    PBlock.options.trace = 1;
    Play(game_position, "e2e4 -");
    EXPECT_TRUE(TraceFailed());
}

}  // namespace

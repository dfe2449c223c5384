// The trace file and what was written to it last, shared by all threads under a lock.
#include "board/trace.h"

#include <atomic>
#include <mutex>

#include "board/moves.h"
#include "board/plydata.h"
#include "frontend/pblock.h"
#include "platform/outfile.h"

namespace {

constexpr const char* TRACE_FILE_NAME = "trace.txt";
constexpr int NOTHING_TRACED = -1;
constexpr const char* INDENT = "         ";  // of one ply

std::atomic<bool> failed{false};

// Invariant: written under `lock` only.
struct Trace {
    std::mutex lock;
    OutFile file;
    MoveStyle style = MoveStyle::Plain;
    int ply = 0;  // of the move written last
    int depth = NOTHING_TRACED;
};
Trace trace;

}  // namespace

void TraceMove(const Position* pos, Move m) {
    if (pos->ply > PBlock.options.trace || TraceFailed()) { return; }
    const std::lock_guard<std::mutex> guard(trace.lock);
    if (!trace.file.IsOpen() && !trace.file.CreateGrowing(TRACE_FILE_NAME)) {
        failed = true;
        return;
    }
    const int iteration = pos->sstack[0].depth;
    if (iteration > trace.depth) {
        trace.file.Print("\n\nSEARCH DEPTH= %d\n", iteration);
        trace.depth = iteration;
    }
    if (pos->ply <= trace.ply) {
        trace.file.Write("\n");
        for (int i = 1; i < pos->ply; ++i) { trace.file.Write(INDENT); }
    }
    char text[MOVE_TEXT_SIZE];
    MoveToStr(m, text, trace.style);
    trace.file.Print("(%2d)%s ", pos->sstack[pos->ply].depth, text);
    trace.ply = pos->ply;
}

void SetTraceStyle(MoveStyle style) {
    const std::lock_guard<std::mutex> guard(trace.lock);
    trace.style = style;
}

bool TraceFailed() { return failed.load(std::memory_order_relaxed); }

void ResetTrace() {
    const std::lock_guard<std::mutex> guard(trace.lock);
    if (trace.file.IsOpen()) { [[maybe_unused]] const bool written = trace.file.Commit(); }
    trace.ply = 0;
    trace.depth = NOTHING_TRACED;
    failed = false;
}

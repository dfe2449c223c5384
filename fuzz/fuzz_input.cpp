// Any bytes on standard input. The first byte chooses the protocol; lines go through the real input
// reader to the UCI or console commands. No search threads exist here: a "go" is only requested.
// Commands that would touch files or the thread pool are left out.
#include "board/moves.h"
#include "fuzz_engine.h"

namespace {

// Commands that write files, run other modes for long, or need threads that are not there.
const char* const left_out[] = {"load", "save",  "get",     "mkbook", "tune", "trace",
                                "book", "perft", "Threads", "Hash",   "pv"};

std::string WithoutLeftOut(std::string text) {
    for (const char* word : left_out) {
        for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word)) {
            text[at] = '_';
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) { return 0; }
    PrepareEngine();
    const std::string text =
        WithoutLeftOut(std::string(reinterpret_cast<const char*>(data + 1), size - 1)) + "\n";
    ResetInput();
    PBlock.options.protocol =
        static_cast<u16>((data[0] & 1) != 0 ? PROTOCOL_UCI : PROTOCOL_CONSOLE);
    PBlock.control.search_state = SEARCH_IDLE;
    SetPosition(game_position, fen_opn);
    FeedInput(text.data(), static_cast<int>(text.size()));
    while (InputPending()) {
        UserInput();
        PBlock.control.start_request = SEARCH_IDLE;
        PBlock.control.search_state = SEARCH_IDLE;
    }
    Require(PositionIsSound(game_position) == 1);
    Require(game_position->hist_count >= 0 && game_position->hist_count < MAX_UNDO_RECORDS);
    return 0;
}

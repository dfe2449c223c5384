// Any bytes as a file of games: the book builder, the four scans and the console's "load" read it
// to its end. The first byte chooses the reader.
#include "board/moves.h"
#include "book/book.h"
#include "frontend/console.h"
#include "fuzz_engine.h"

namespace {

constexpr unsigned SCANS = 4;

void Build() {
    MakeBook();
    Require(std::filesystem::file_size("book.opn") % BOOK_RECORD_SIZE == 0);
    Require(!std::filesystem::exists("tmp.opn") && !std::filesystem::exists("tmp__0.opn"));
}

void Load(unsigned game) {
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    ConsoleCommand(("load book.pgn " + std::to_string(game)).c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FileRun run(data, size, "book.pgn");
    const unsigned reader = run.input.variant % (SCANS + 2);
    if (reader == 0) {
        Build();
    } else if (reader <= SCANS) {
        Scan_PGN_File("book.pgn", static_cast<int>(reader));
    } else {
        Load(1 + run.input.variant % 3);
    }
    Require(PositionIsSound(game_position) == 1);
    return 0;
}

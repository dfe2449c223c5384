#include "support/engine.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "board/bitboards.h"
#include "board/trace.h"
#include "board/zobrist.h"
#include "eval/kpk.h"
#include "eval/personality.h"
#include "frontend/input.h"
#include "frontend/pblock.h"
#include "search/threads.h"
#include "search/ttable.h"

void InitEngineForTests() {
    InitBitboards();
    InitKPK();
    ResetEngine();
}

void ResetEngine(int hash_mb) {
    PBlock.Reset();
    PBlock.options.log = 0;
    PBlock.options.noise = NOISE_NEVER;
    PBlock.options.hash_mb = static_cast<u16>(hash_mb);
    InitPersonality(nullptr);
    if (InitTTable() != 0 || NewThreadBlock(0) == nullptr || NewThreadBlock(1) == nullptr) {
        std::abort();
    }
    game_position = &ThreadData[0]->pos;
    InitEval();
    ResetInput();
    ResetTrace();
    SetPosition(game_position, fen_opn);
}

SearchPool::SearchPool() {
    if (CreateThreadPool(1) != 0) { std::abort(); }
}

SearchPool::~SearchPool() { KillThreadPool(1); }

Position* SetGame(const std::string& fen) {
    SetPosition(game_position, fen.c_str());
    return game_position;
}

std::string MoveText(Move m) {
    char text[MOVE_TEXT_SIZE];
    MoveToStr(m, text, TextStyle());
    return text;
}

std::string DataFile(const std::string& name) { return std::string(VESK_TEST_DATA) + "/" + name; }

std::string FileContent(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::vector<std::string>> ReadTable(const std::string& name) {
    std::ifstream in(DataFile(name));
    std::vector<std::vector<std::string>> rows;
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        std::vector<std::string> row;
        std::stringstream fields(line);
        std::string field;
        while (std::getline(fields, field, '\t')) { row.push_back(field); }
        if (!line.empty() && line.back() == '\t') { row.emplace_back(); }
        rows.push_back(row);
    }
    if (rows.empty()) { std::abort(); }
    return rows;
}

ScratchFolder::ScratchFolder() {
    before_ = std::filesystem::current_path();
    std::string name = (std::filesystem::temp_directory_path() / "vesk-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) { std::abort(); }
    path_ = name;
    std::filesystem::current_path(path_);
}

ScratchFolder::~ScratchFolder() {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(path_);
}

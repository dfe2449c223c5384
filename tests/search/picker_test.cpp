// The move picker: every move once, the order of the stages, and the ordering memory.
#include "search/picker.h"

#include <set>
#include <tuple>

#include "search/searching.h"

namespace {

class PickerTest : public SearchingTest {
protected:
    static PlyData& Ply() { return ThreadData[0]->ply_data[game_position->ply]; }

    // Everything the picker returns for the game position when `searched` moves have been searched.
    static std::vector<MoveEntry> PickAll(int searched = 0) {
        Ply().stage = STAGE_START;
        Ply().moves_searched = static_cast<i16>(searched);
        std::vector<MoveEntry> picked;
        const int in_check = InCheck(game_position, game_position->side);
        while (const MoveEntry* e = GetNextMoveFW(ThreadData[0], in_check)) {
            picked.push_back(*e);
        }
        return picked;
    }

    // Without order and scores.
    static auto Contents(const std::vector<MoveEntry>& list) {
        std::multiset<std::tuple<Move, u8, u8>> contents;
        for (const MoveEntry& e : list) { contents.emplace(e.move, e.piece, e.captured); }
        return contents;
    }

    // Each move of the script is followed by what it becomes, or by its history.
    static void Remember(const std::string& script) {
        ThreadBlock* tb = ThreadData[0];
        Position* pos = game_position;
        std::istringstream words(script);
        for (std::string word, kind; words >> word >> kind;) {
            const Move m = word == "null" ? NO_MOVE : Word(word);
            if (kind == "last") {
                pos->last_move = m;
            } else if (kind == "hash") {
                Ply().hash_move = m;
            } else if (kind == "killer") {
                StoreKiller(tb, m, InCheck(pos, pos->side));
            } else if (kind == "counter") {
                StoreCounterMove(tb, m);
            } else {
                tb->history[MoveTo(m)][pos->board[MoveFrom(m)]] = static_cast<i16>(std::stoi(kind));
            }
        }
    }
};

TEST_F(PickerTest, EveryMoveComesOnceBesidesTheHashMoveWhichComesFirst) {
    for (const std::string& fen : SamplePositions()) {
        const std::vector<MoveEntry> all = AllMoves(SetGame(fen));
        for (std::size_t hash = 0; hash < all.size(); ++hash) {
            Ply().hash_move = all[hash].move;
            std::vector<MoveEntry> picked = PickAll(hash % 2 ? 30 : 0);
            ASSERT_EQ(picked[0].move, all[hash].move) << fen;
            picked.erase(picked.begin());
            EXPECT_EQ(Contents(picked), Contents(all)) << fen;
        }
    }
}

TEST_F(PickerTest, MovesComeBestFirstUntilManyHaveBeenSearched) {
    for (const auto& row : ReadTable("picker_order.tsv")) {
        SetGame(row[0]);
        ResetOrdering(ThreadData[0]);
        Remember(row[1]);
        std::string moves;
        for (const MoveEntry& e : PickAll(std::stoi(row[2]))) {
            moves += (moves.empty() ? "" : " ") + MoveText(e.move) + '=' + std::to_string(e.score);
        }
        EXPECT_EQ(moves, row[3]) << row[0] << ' ' << row[1];
    }
}

// Twelve entries a pawn, 27 a queen and so on, and 24 to spare.
TEST_F(PickerTest, AListFitsWhereTheMenOfTheSideCannotFillTheRoom) {
    for (const auto& row : ReadTable("list_bounds.tsv")) {
        SetGame(row[0]);
        const int enough = std::stoi(row[1]);
        for (const int room : {enough - 1, enough, MAX_LIST_SIZE}) {
            Ply().list_start = ThreadData[0]->move_buffer + MOVE_BUFFER_SIZE - room;
            EXPECT_EQ(MoveListFits(ThreadData[0]), room >= enough) << row[0] << ' ' << room;
        }
        EXPECT_LT(static_cast<int>(PickAll().size()) + 2, enough) << row[0];
    }
}

TEST_F(PickerTest, HistoryApproachesItsLimits) {
    ThreadBlock* tb = ThreadData[0];
    const MoveEntry e = {Word("g1f3"), KNIGHT, 0, 0};
    for (const auto& [before, raised, lowered] :
         {std::tuple(2048, 2144, 2032), std::tuple(0, 128, 0), std::tuple(8192, 8192, 8128),
          std::tuple(8129, 8129, 8066)}) {
        const auto after = [&](auto change) {
            Remember("g1f3 " + std::to_string(before));
            change(tb, &e);
            return int{tb->history[MoveTo(e.move)][KNIGHT]};
        };
        EXPECT_EQ(after(RaiseHistory), raised);
        EXPECT_EQ(after(LowerHistory), lowered);
    }
}

}  // namespace

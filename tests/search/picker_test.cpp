// The move picker: every move once, the order of the stages, and the ordering memory.
#include "search/picker.h"

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

TEST_F(PickerTest, MovesComeBestFirstUntilManyHaveBeenSearched) {
    for (const auto& row : ReadTable("picker_order.tsv")) {
        const Position* pos = SetGame(row[0]);
        ResetOrdering(ThreadData[0]);
        Remember(row[1]);
        std::string moves;
        for (const MoveEntry& e : PickAll(std::stoi(row[2]))) {
            moves += (moves.empty() ? "" : " ") + MoveText(e.move) + '=' + std::to_string(e.score);
            EXPECT_EQ(e.piece, pos->board[MoveFrom(e.move)]) << moves;
            EXPECT_EQ(e.captured, pos->board[MoveTo(e.move)]) << moves;
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
    const MoveEntry e = {Word("g1f3"), KNIGHT, 0, 0};
    i16& value = ThreadData[0]->history[MoveTo(e.move)][KNIGHT];
    for (const auto& row : ReadTable("history.tsv")) {
        for (const bool raise : {false, true}) {
            value = static_cast<i16>(std::stoi(row[0]));
            (raise ? RaiseHistory : LowerHistory)(ThreadData[0], &e);
            EXPECT_EQ(std::to_string(value), row[raise ? 1 : 2]) << row[0];
        }
    }
}

}  // namespace

// Test support: the engine's tables, thread records of slots 0 and 1, and a fresh state for each
// test.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "board/moves.h"
#include "eval/threadblock.h"

// Fills every table once per process. Called by the tests' main.
void InitEngineForTests();

// PBlock, Personality and derived tables at their defaults, a table of `hash_mb` megabytes, slots 0
// and 1 fresh, silent output (noise = never, log off), console protocol off (UCI). No threads are
// running.
void ResetEngine(int hash_mb = 16);

// Base of the suites that start every test with a fresh engine.
class EngineTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }
};

// One search thread, idle, for as long as the object lives.
class SearchPool {
public:
    SearchPool();
    ~SearchPool();
    SearchPool(const SearchPool&) = delete;
    SearchPool& operator=(const SearchPool&) = delete;
};

// Sets the game position and returns it.
Position* SetGame(const std::string& fen);

// Coordinates of a move as MoveToStr writes them.
std::string MoveText(Move m);

// What an action writes on standard output.
template <typename Action>
std::string OutputOf(const Action& action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

// Path of a file of tests/data.
std::string DataFile(const std::string& name);

// Every byte of a file; empty when there is none.
std::string FileContent(const std::string& path);

// Lines of a tab-separated data file, without its head line; each split at tabs.
std::vector<std::vector<std::string>> ReadTable(const std::string& name);

// A directory of its own for one test, made the working directory, removed with everything in it
// afterwards.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

private:
    std::string path_;
    std::string before_;
};

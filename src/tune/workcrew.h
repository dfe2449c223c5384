// WorkCrew: threads that share out work over positions among themselves, each with a thread record
// of its own to evaluate with. Front-end thread only; no search may run while a crew lives.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "eval/threadblock.h"

class WorkCrew {
public:
    // At most `threads` workers, 1..64: as many as the memory has records for, at least one.
    // Requires the record of slot 1.
    explicit WorkCrew(int threads);
    ~WorkCrew();
    WorkCrew(const WorkCrew&) = delete;
    WorkCrew& operator=(const WorkCrew&) = delete;

    int Size() const { return static_cast<int>(slots_.size()); }

    // A part of the work: items first .. end - 1, done by worker `worker`, 0..Size() - 1.
    struct Part {
        ThreadBlock* tb;
        int worker;
        std::size_t first, end;
    };

    // Cuts `items` items into one part for each worker and returns when all are done. What the body
    // leaves must not depend on how they are cut. The first part is done by the calling thread.
    void Share(std::size_t items, const std::function<void(const Part&)>& body) const;

private:
    std::vector<int> slots_;  // of the records, in use
    std::vector<int> own_;    // those of them that were made for the crew
};

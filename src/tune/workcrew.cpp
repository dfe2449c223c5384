#include "tune/workcrew.h"

#include <algorithm>
#include <cassert>
#include <thread>

#include "search/threads.h"

namespace {

constexpr std::size_t LEAST_PART = 256;  // items; starting a thread for fewer costs more

}  // namespace

WorkCrew::WorkCrew(int threads) {
    assert(threads >= 1 && threads < THREAD_SLOTS && ThreadData[1] != nullptr);
    for (int slot = 1; slot <= threads; ++slot) {
        if (ThreadData[slot] == nullptr) {
            if (NewThreadBlock(slot) == nullptr) { break; }
            own_.push_back(slot);
        }
        slots_.push_back(slot);
    }
}

WorkCrew::~WorkCrew() {
    for (const int slot : own_) { FreeThreadBlock(slot); }
}

void WorkCrew::Share(std::size_t items, const std::function<void(const Part&)>& body) const {
    const std::size_t parts = std::clamp<std::size_t>(items / LEAST_PART, 1, slots_.size());
    const auto do_part = [&](int part) {
        const std::size_t i = static_cast<std::size_t>(part);
        body({ThreadData[slots_[i]], part, items * i / parts, items * (i + 1) / parts});
    };
    std::vector<std::thread> threads(parts - 1);
    std::size_t started = 0;
    while (started < threads.size() &&
           StartThread(&threads[started], do_part, static_cast<int>(started + 1)) == 0) {
        ++started;
    }
    do_part(0);
    for (std::size_t i = 0; i < started; ++i) { threads[i].join(); }
    for (std::size_t i = started + 1; i < parts; ++i) { do_part(static_cast<int>(i)); }
}

// KeepOptions: a tool that changes options for its run puts them back at the end of a scope.
// Front-end thread only, while no search runs.
#pragma once

#include "frontend/pblock.h"

// Invariant: while it lives, `options_`, `time_` and `limits_` are what PBlock held before.
class KeepOptions {
public:
    KeepOptions() : options_(PBlock.options), time_(PBlock.time), limits_(PBlock.limits) {}
    ~KeepOptions() {
        PBlock.options = options_;
        PBlock.time = time_;
        PBlock.limits = limits_;
    }
    KeepOptions(const KeepOptions&) = delete;
    KeepOptions& operator=(const KeepOptions&) = delete;

private:
    Options options_;
    TimeControl time_;
    SearchLimits limits_;
};

// Relaxed: a value that one thread writes and others may read at any time, without ordering
// anything else by it. Reads and writes are relaxed atomics; += and -= are a load and a store,
// right only where one thread writes. Any thread may use it; nothing has to be initialised.
#pragma once

#include <atomic>

template <typename T>
class Relaxed {
public:
    constexpr Relaxed() noexcept : value_{} {}
    constexpr Relaxed(T value) noexcept : value_{value} {}
    Relaxed(const Relaxed& other) noexcept : value_{other.Get()} {}

    Relaxed& operator=(const Relaxed& other) noexcept {
        Set(other.Get());
        return *this;
    }
    Relaxed& operator=(T value) noexcept {
        Set(value);
        return *this;
    }
    operator T() const noexcept { return Get(); }

    T Get() const noexcept { return value_.load(std::memory_order_relaxed); }
    void Set(T value) noexcept { value_.store(value, std::memory_order_relaxed); }

    // Single writer only: not one indivisible step.
    Relaxed& operator+=(T amount) noexcept {
        Set(static_cast<T>(Get() + amount));
        return *this;
    }
    Relaxed& operator-=(T amount) noexcept {
        Set(static_cast<T>(Get() - amount));
        return *this;
    }

private:
    std::atomic<T> value_;
};

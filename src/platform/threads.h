// Threads and spin locks. A port supplies detached threads and a lock that spins. Any thread may
// call.
#pragma once

#include <pthread.h>

// A spin lock; SpinLockCreate before its first use, SpinLockDestroy after its last.
struct SpinLock {
    pthread_spinlock_t handle;
    bool exists = false;
};

// Returns 0, else the system's error code.
int SpinLockCreate(SpinLock* lock);
void SpinLockDestroy(SpinLock* lock);

// A lock that does not exist is passed through: single-threaded tools and tests need none.
void SpinLockAcquire(SpinLock* lock);
void SpinLockRelease(SpinLock* lock);

// Holds a spin lock for the length of a scope.
class SpinGuard {
public:
    explicit SpinGuard(SpinLock* lock) : lock_(lock) { SpinLockAcquire(lock_); }
    ~SpinGuard() { SpinLockRelease(lock_); }
    SpinGuard(const SpinGuard&) = delete;
    SpinGuard& operator=(const SpinGuard&) = delete;

private:
    SpinLock* lock_;
};

using ThreadHandle = pthread_t;

// Starts a detached thread that runs body(argument), with room for the deepest search on its stack.
// Returns 0 and the handle, else the system's error code.
int StartDetachedThread(ThreadHandle* handle, void* (*body)(void*), void* argument);

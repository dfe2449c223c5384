// POSIX threads and spin locks. Any thread may call.
#include "platform/threads.h"

#include <cstddef>

namespace {

// The deepest search needs well under one megabyte; instrumented builds have frames many times as
// large. Untouched pages cost nothing.
constexpr std::size_t THREAD_STACK_BYTES = std::size_t{16} << 20;

}  // namespace

int SpinLockCreate(SpinLock* lock) {
    const int error = pthread_spin_init(&lock->handle, PTHREAD_PROCESS_PRIVATE);
    if (error == 0) { lock->exists = true; }
    return error;
}

void SpinLockDestroy(SpinLock* lock) {
    if (!lock->exists) { return; }
    pthread_spin_destroy(&lock->handle);
    lock->exists = false;
}

void SpinLockAcquire(SpinLock* lock) {
    if (lock->exists) { pthread_spin_lock(&lock->handle); }
}

void SpinLockRelease(SpinLock* lock) {
    if (lock->exists) { pthread_spin_unlock(&lock->handle); }
}

int StartDetachedThread(ThreadHandle* handle, void* (*body)(void*), void* argument) {
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) { return error; }
    error = pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (error == 0) { error = pthread_attr_setstacksize(&attributes, THREAD_STACK_BYTES); }
    if (error == 0) { error = pthread_create(handle, &attributes, body, argument); }
    pthread_attr_destroy(&attributes);
    return error;
}

#include "os/os.h"

#include <pthread.h>

namespace Velmor::os {

std::size_t lockSize() {
    return sizeof(pthread_mutex_t);
}

void initializeLock(void* lock) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(static_cast<pthread_mutex_t*>(lock), &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void deleteLock(void* lock) {
    pthread_mutex_destroy(static_cast<pthread_mutex_t*>(lock));
}

void enterLock(void* lock) {
    pthread_mutex_lock(static_cast<pthread_mutex_t*>(lock));
}

void leaveLock(void* lock) {
    pthread_mutex_unlock(static_cast<pthread_mutex_t*>(lock));
}

} // namespace Velmor::os

// The library's mutex and its scoped lock.
#ifndef DATAPROCESS_LOCK_H
#define DATAPROCESS_LOCK_H

#include <pthread.h>

#include "DataProcessExport.h"

// A non-recursive mutex: a thread must not lock the same CCritical twice.
class DP_API CCritical {
public:
    CCritical();
    ~CCritical();
    CCritical(const CCritical&) = delete;
    CCritical& operator=(const CCritical&) = delete;

    // Both return the result of the underlying pthread call (0 = success).
    int Lock();
    int Unlock();

private:
    pthread_mutex_t m_mutex;
};

// Locks a CCritical for the lifetime of the object.
class DP_API CSingleLock {
public:
    explicit CSingleLock(CCritical* cs);
    virtual ~CSingleLock();
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

private:
    CCritical* m_pCritical;
    int m_bLocked;
};

#endif // DATAPROCESS_LOCK_H

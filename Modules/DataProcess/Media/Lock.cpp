#include "Lock.h"

CCritical::CCritical() { pthread_mutex_init(&m_mutex, nullptr); }

CCritical::~CCritical() { pthread_mutex_destroy(&m_mutex); }

int CCritical::Lock() { return pthread_mutex_lock(&m_mutex); }

int CCritical::Unlock() { return pthread_mutex_unlock(&m_mutex); }

CSingleLock::CSingleLock(CCritical* cs) : m_pCritical(cs), m_bLocked(0)
{
    if (m_pCritical) {
        m_pCritical->Lock();
        m_bLocked = 1;
    }
}

CSingleLock::~CSingleLock()
{
    if (m_bLocked) {
        m_pCritical->Unlock();
        m_bLocked = 0;
    }
}

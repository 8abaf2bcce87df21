#include "InstanceMutex.h"

#include "Platform.h"

bool InstanceMutex::tryCreate(const QString& name)
{
    m_problem.clear();
    return Platform::acquireInstanceLock(name, &m_handle, &m_problem);
}

bool InstanceMutex::release()
{
    m_handle = 0;
    return true;
}

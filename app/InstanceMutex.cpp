#include "InstanceMutex.h"

#include "Platform.h"

bool InstanceMutex::tryCreate(const QString& name)
{
    return Platform::acquireInstanceLock(name, &m_handle);
}

bool InstanceMutex::release()
{
    m_handle = 0;
    return true;
}

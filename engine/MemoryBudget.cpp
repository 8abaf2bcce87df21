#include "MemoryBudget.h"

#include "Platform.h"

MemoryBudget::MemoryBudget(qint64 limit)
{
    setLimit(limit);
}

MemoryBudget& MemoryBudget::global()
{
    static MemoryBudget budget;
    return budget;
}

qint64 MemoryBudget::defaultLimit()
{
    const qint64 physical = Platform::physicalMemory();
    return physical > 0 ? physical / 4 : qint64(1) << 30;
}

void MemoryBudget::setLimit(qint64 bytes)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_limit = bytes > 0 ? bytes : defaultLimit();
    }
    m_changed.notify_all();
}

qint64 MemoryBudget::limit() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_limit;
}

qint64 MemoryBudget::inUse() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_inUse;
}

int MemoryBudget::waiting() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return int(m_nextTicket - m_serving);
}

void MemoryBudget::acquire(qint64 bytes)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const uint64_t ticket = m_nextTicket++;
    m_changed.wait(lock, [&] {
        return ticket == m_serving && (m_inFlight == 0 || bytes <= m_limit - m_inUse);
    });
    ++m_serving;
    ++m_inFlight;
    m_inUse += bytes;
    lock.unlock();
    // The next in line may fit too.
    m_changed.notify_all();
}

void MemoryBudget::release(qint64 bytes)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_inFlight;
        m_inUse -= bytes;
    }
    m_changed.notify_all();
}

#pragma once

#include <QtGlobal>

#include <condition_variable>
#include <cstdint>
#include <mutex>

// Bytes of working memory shared by every conversion in the process. A
// photo starts when its estimate fits beside the photos already in flight;
// one photo may always start, however big, so nothing waits forever. Photos
// are let in in the order they asked: a big one waiting for room is not
// overtaken for ever by small ones behind it.
//
// Workers stay as many as they are; the budget only makes them wait.
class MemoryBudget
{
public:
    explicit MemoryBudget(qint64 limit = 0);

    // The process's budget, used by every HeicDecoder. Its limit is a
    // quarter of physical memory until setLimit() says otherwise.
    static MemoryBudget& global();

    // Bytes that photos in flight may take together; 0 or less restores the
    // default (a quarter of physical memory, 1 GB when that is unknown).
    // Photos already waiting are looked at again.
    void setLimit(qint64 bytes);
    qint64 limit() const;
    // Bytes held by the photos in flight.
    qint64 inUse() const;
    // Callers of acquire() still waiting for room.
    int waiting() const;

    // Blocks until `bytes` may be taken; give them back with release().
    void acquire(qint64 bytes);
    void release(qint64 bytes);

    // Holds `bytes` from construction to destruction.
    class Lease
    {
    public:
        Lease(MemoryBudget& budget, qint64 bytes) : m_budget(budget), m_bytes(qMax<qint64>(bytes, 0))
        {
            m_budget.acquire(m_bytes);
        }
        ~Lease() { m_budget.release(m_bytes); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;

    private:
        MemoryBudget& m_budget;
        qint64 m_bytes;
    };

    static qint64 defaultLimit();

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    qint64 m_limit = 0;
    qint64 m_inUse = 0;
    int m_inFlight = 0;
    uint64_t m_nextTicket = 0; // handed to the next caller of acquire()
    uint64_t m_serving = 0;    // the ticket that may start next
};

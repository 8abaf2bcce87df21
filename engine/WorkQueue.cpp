#include "WorkQueue.h"

#include <utility>

WorkQueue& WorkQueue::global()
{
    static WorkQueue queue;
    return queue;
}

void WorkQueue::put(ConvertJob job)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_items.push_back(std::move(job));
    m_wake.notify_one();
}

bool WorkQueue::take(ConvertJob* job)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    if (m_items.empty())
        return false;
    *job = std::move(m_items.front());
    m_items.pop_front();
    return true;
}

int WorkQueue::clear()
{
    const std::lock_guard<std::mutex> lock(m_lock);
    const int dropped = int(m_items.size());
    m_items.clear();
    return dropped;
}

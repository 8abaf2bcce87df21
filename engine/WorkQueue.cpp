#include "WorkQueue.h"

#include <utility>

WorkQueue& WorkQueue::global()
{
    static WorkQueue queue;
    return queue;
}

void WorkQueue::put(QString path)
{
    const std::lock_guard<std::mutex> lock(m_lock);
    m_items.push_back(std::move(path));
    m_wake.notify_one();
}

QString WorkQueue::take()
{
    std::unique_lock<std::mutex> lock(m_lock);
    if (m_items.empty()) {
        lock.unlock();
        return endMarker();
    }
    QString path = std::move(m_items.front());
    m_items.pop_front();
    return path;
}

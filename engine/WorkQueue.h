#pragma once

#include <QString>

#include <condition_variable>
#include <deque>
#include <mutex>

// The pending paths of batch conversion. The GUI thread puts, the workers
// take. Taking never blocks: an empty queue answers "exit", the workers' cue
// to finish. Nothing but take() removes a path, so paths left by a cancelled
// run are converted first by the next one.
class WorkQueue
{
public:
    static QString endMarker() { return QStringLiteral("exit"); }

    // The one queue the workers take from; lives until the process ends.
    static WorkQueue& global();

    void put(QString path);
    QString take();

private:
    std::deque<QString> m_items;
    std::mutex m_lock;
    // Notified on every put although nobody waits yet: a worker that sleeps
    // on an empty queue instead of ending can wait on it without touching put.
    std::condition_variable m_wake;
};

#pragma once

#include <QString>

#include <condition_variable>
#include <deque>
#include <mutex>

// One photo to convert: where it is read from and, when the run has decided
// it, the JPEG to write. An empty target leaves the name to the worker's
// folder and naming rules.
struct ConvertJob
{
    QString source;
    QString target;
};

// The pending photos of batch conversion. The GUI thread (or the command-line
// tool) puts, the workers take. Taking never blocks: an empty queue says so,
// which is the workers' cue to finish. There is no word that means "end": a
// file called "exit" is a path like any other.
class WorkQueue
{
public:
    // The one queue the workers take from; lives until the process ends.
    static WorkQueue& global();

    void put(ConvertJob job);
    void put(const QString& source) { put(ConvertJob{source, QString()}); }
    // The oldest job, or false when nothing is pending.
    bool take(ConvertJob* job);
    // Drops every path no worker has taken yet (a cancelled run must not leak
    // into the next one); returns how many were dropped.
    int clear();

private:
    std::deque<ConvertJob> m_items;
    std::mutex m_lock;
    // Notified on every put although nobody waits yet: a worker that sleeps
    // on an empty queue instead of ending can wait on it without touching put.
    std::condition_variable m_wake;
};

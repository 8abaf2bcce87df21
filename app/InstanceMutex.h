#pragma once

#include <QString>
#include <QtGlobal>

// The single-instance guard. The first process to create the named lock holds
// it until the process ends; the operating system drops it then, also after a
// crash, so a stale lock never keeps the program from starting.
class InstanceMutex
{
public:
    InstanceMutex() = default;

    // True when this process is the first holder of `name`, false when another
    // running copy already holds it. A lock that cannot be created at all
    // counts as the first copy (better two windows than none); problem() then
    // says why.
    bool tryCreate(const QString& name);

    // Forgets the handle without giving the lock back: it must stay held until
    // the process ends, or a copy started during shutdown would slip through.
    bool release();

    quintptr handle() const { return m_handle; }
    QString problem() const { return m_problem; }

private:
    [[maybe_unused]] quintptr m_reserved = 0;
    quintptr m_handle = 0;
    QString m_problem;
};

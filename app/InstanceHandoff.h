#pragma once

#include "InstanceMutex.h"

#include <QByteArray>
#include <QObject>
#include <QStringList>

class QLocalServer;
class QLocalSocket;

// One copy of the program per user and session, and what a later start does
// instead of opening a second window: it hands its files to the running copy
// over a local socket (a named pipe on Windows, through the same Qt classes),
// and that copy opens them and comes to the front.
//
// The first copy takes the lock (InstanceMutex) and keeps it for its whole
// life, then listens; a later start finds the lock taken and talks. A start
// that comes between the two keeps trying to connect for a while.
//
// A request is "PICTOVA1", the length of the rest as four big-endian bytes,
// then the paths in the file system's encoding, each ended by a zero byte
// (the one byte no path holds). The running copy answers one byte once it
// has the paths; only then does the later start leave.
class InstanceHandoff : public QObject
{
    Q_OBJECT

public:
    // Paths of one request together; more is no request of ours.
    static constexpr int kMaxRequestBytes = 16 << 20;

    explicit InstanceHandoff(const QString& name, QObject* parent = nullptr);
    ~InstanceHandoff() override;

    // Takes the lock. True for the first copy, which then listens for later
    // starts; false when another copy runs. A lock or channel that cannot be
    // made does not stop the program: problem() says what is missing.
    bool claim();

    // For a later start: sends `files` to the running copy and waits until
    // it has them. False, with problem() saying why, when no copy answered
    // within `timeoutMs`.
    bool handOver(const QStringList& files, int timeoutMs = 10000);

    // What went wrong in the last claim() or handOver(); empty when nothing.
    QString problem() const { return m_problem; }

    // The files among a start's arguments (the program's name first),
    // absolute, since the running copy has a folder of its own; "file:"
    // URLs become paths.
    static QStringList filesFromArguments(const QStringList& arguments);

    static QByteArray encodeRequest(const QStringList& files);
    // Reads one whole request from the front of `buffer`. Returns 1 and
    // fills `files` when one is there, 0 when more bytes are needed, -1 when
    // the bytes are no request.
    static int decodeRequest(const QByteArray& buffer, QStringList* files);

signals:
    // A later start handed over these files (none: it only asked to be shown).
    void filesArrived(const QStringList& files);

private:
    void listen();
    void acceptConnections();
    void readRequest(QLocalSocket* socket);

    QString m_name;
    InstanceMutex m_lock;
    QLocalServer* m_server = nullptr;
    QString m_problem;
};

#pragma once

#include "Heif2JpgFn.h"

#include <QByteArray>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QVector>

#include <memory>
#include <vector>

class ConvertThread;
class QEventLoop;

// Runs one batch through the engine: the paths go into the shared WorkQueue,
// `jobs` ConvertThreads (each with its own scratch name) take and convert
// them, and every outcome comes back here on this thread as a signal.
//
// convert() returns when every worker has finished. stop() may be called from
// this thread while it runs (from a slot or a timer): each worker finishes the
// photo it holds, and the paths nobody took are handed back as not started
// and taken out of the queue, so a later run starts clean.
class BatchConverter : public QObject
{
    Q_OBJECT

public:
    struct Failure
    {
        QString source;
        QString reason;
    };

    struct Result
    {
        QStringList converted; // targets written
        QVector<Failure> failed;
        QStringList notStarted; // sources left in the queue by stop()
        bool stopped = false;
    };

    explicit BatchConverter(Heif2JpgFn decoder, QObject* parent = nullptr);
    ~BatchConverter() override;

    // `savePath` is given to every worker (empty: the desktop).
    Result convert(const QStringList& sources, const QString& savePath, int quality, int jobs);

    void stop();
    bool isRunning() const { return m_loop != nullptr; }

signals:
    void fileConverted(const QString& source, const QString& target);
    void fileFailed(const QString& source, const QString& reason);

private:
    void workerConverted(const QString& source, const QString& target);
    void workerFailed(const QString& source, const QString& reason);
    void workerFinished();

    Heif2JpgFn m_decoder;
    // The scratch names must outlive the workers that point at them.
    std::vector<QByteArray> m_scratchNames;
    std::vector<std::unique_ptr<ConvertThread>> m_workers;
    Result m_result;
    QSet<QString> m_reported;
    QEventLoop* m_loop = nullptr;
    int m_running = 0;
};

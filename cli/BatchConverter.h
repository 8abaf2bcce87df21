#pragma once

#include "ConversionOptions.h"
#include "Heif2JpgFn.h"
#include "WorkQueue.h"

#include <QByteArray>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QVector>

#include <atomic>
#include <memory>
#include <vector>

class ConvertThread;
class QEventLoop;

// Runs one batch through the engine: the paths go into the shared WorkQueue,
// `jobs` ConvertThreads (each with its own scratch name) take and convert
// them, and every outcome comes back here on this thread as a signal.
//
// A photo that fails with "No space left on device" ends the handing out:
// the queue is emptied at once, on the worker's own thread, so no worker
// starts another photo; the photos in hand finish or fail, and the rest come
// back as not started with `diskFull` set.
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
        QStringList notStarted; // sources left in the queue by stop() or a full disk
        bool stopped = false;
        bool diskFull = false;
    };

    explicit BatchConverter(Heif2JpgFn decoder, QObject* parent = nullptr);
    ~BatchConverter() override;

    // Each job is written to its own target (an empty target: the workers'
    // folder and naming rules, with `savePath`; empty: the desktop).
    Result convert(const QVector<ConvertJob>& work, int quality, int jobs,
                   const QString& savePath = QString());
    // The desktop program's rules for every photo.
    Result convert(const QStringList& sources, const QString& savePath, int quality, int jobs);

    // Applied to every photo of the runs that follow.
    void setOptions(const ConversionOptions& options) { m_options = options; }

    void stop();
    bool isRunning() const { return m_loop != nullptr; }

signals:
    void fileConverted(const QString& source, const QString& target);
    void fileFailed(const QString& source, const QString& reason);

private:
    void workerConverted(const QString& source, const QString& target);
    void workerFailed(const QString& source, const QString& reason);
    void workerFinished();
    void workerFailedHere(const QString& reason);

    Heif2JpgFn m_decoder;
    ConversionOptions m_options;
    // The scratch names must outlive the workers that point at them.
    std::vector<QByteArray> m_scratchNames;
    std::vector<std::unique_ptr<ConvertThread>> m_workers;
    Result m_result;
    QSet<QString> m_reported;
    QEventLoop* m_loop = nullptr;
    int m_running = 0;
    std::atomic_bool m_diskFull{false};
};

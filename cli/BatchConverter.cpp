#include "BatchConverter.h"

#include "AtomicFileWriter.h"
#include "ConvertThread.h"

#include <cerrno>

#include <QEventLoop>

BatchConverter::BatchConverter(Heif2JpgFn decoder, QObject* parent)
    : QObject(parent), m_decoder(decoder)
{
}

BatchConverter::~BatchConverter()
{
    for (auto& worker : m_workers)
        worker->setStopFlag(true);
    // Each worker's destructor waits for its photo in hand.
    m_workers.clear();
}

BatchConverter::Result BatchConverter::convert(const QStringList& sources, const QString& savePath,
                                               int quality, int jobs)
{
    QVector<ConvertJob> work;
    for (const QString& source : sources)
        work.append({source, QString()});
    return convert(work, quality, jobs, savePath);
}

BatchConverter::Result BatchConverter::convert(const QVector<ConvertJob>& work, int quality, int jobs,
                                               const QString& savePath)
{
    Q_ASSERT(!isRunning());
    m_result = Result();
    m_reported.clear();
    m_diskFull.store(false);
    jobs = qMax(1, jobs);

    while (int(m_workers.size()) < jobs) {
        const int number = int(m_workers.size()) + 1;
        m_scratchNames.push_back(QByteArray("temp") + QByteArray::number(number) + ".hevc");
        auto worker = std::make_unique<ConvertThread>();
        // Queued: the reports arrive on this thread, in the order sent.
        connect(worker.get(), &ConvertThread::signal_FileConverted, this,
                &BatchConverter::workerConverted);
        connect(worker.get(), &ConvertThread::signal_FileFailed, this,
                &BatchConverter::workerFailed);
        connect(worker.get(), &QThread::finished, this, &BatchConverter::workerFinished);
        // Direct: runs on the worker's thread before it takes its next job.
        connect(worker.get(), &ConvertThread::signal_FileFailed, this,
                [this](const QString&, const QString& reason) { workerFailedHere(reason); },
                Qt::DirectConnection);
        m_workers.push_back(std::move(worker));
    }

    // Every put happens before any worker starts, so no worker sees an empty
    // queue (and ends) while the list is still going in.
    for (const ConvertJob& job : work)
        WorkQueue::global().put(job);

    QEventLoop loop;
    m_loop = &loop;
    m_running = jobs;
    for (int i = 0; i < jobs; ++i) {
        ConvertThread* worker = m_workers[size_t(i)].get();
        worker->setDecoder(m_decoder);
        worker->setQuality(quality);
        worker->setOptions(m_options);
        worker->setSavePath(savePath);
        worker->setScratchFileName(m_scratchNames[size_t(i)].constData());
        worker->setStopFlag(false);
        worker->start();
    }
    // `finished` is queued behind each worker's last report, so every report
    // has arrived by the time the last one is counted.
    loop.exec();
    m_loop = nullptr;
    // A worker says `finished` just before its thread ends; a worker still
    // ending would ignore the next start().
    for (int i = 0; i < jobs; ++i)
        m_workers[size_t(i)]->wait();

    if (m_result.stopped)
        WorkQueue::global().clear();
    m_result.diskFull = m_diskFull.load();
    for (const ConvertJob& job : work)
        if (!m_reported.contains(job.source))
            m_result.notStarted << job.source;
    return m_result;
}

void BatchConverter::stop()
{
    if (!isRunning() || m_result.stopped)
        return;
    m_result.stopped = true;
    for (auto& worker : m_workers)
        worker->setStopFlag(true);
}

void BatchConverter::workerConverted(const QString& source, const QString& target)
{
    m_reported.insert(source);
    m_result.converted << target;
    emit fileConverted(source, target);
}

void BatchConverter::workerFailed(const QString& source, const QString& reason)
{
    m_reported.insert(source);
    m_result.failed.append({source, reason});
    emit fileFailed(source, reason);
}

void BatchConverter::workerFailedHere(const QString& reason)
{
    static const QString noSpace = AtomicFileWriter::reason(ENOSPC);
    if (reason.endsWith(noSpace) && !m_diskFull.exchange(true))
        WorkQueue::global().clear();
}

void BatchConverter::workerFinished()
{
    if (--m_running == 0 && m_loop)
        m_loop->quit();
}

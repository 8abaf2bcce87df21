#include "BatchConverter.h"

#include "ConvertThread.h"
#include "WorkQueue.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>

namespace {

// One per worker, so concurrent calls never share a name.
constexpr const char* kScratchNames[BatchConverter::kWorkerCount] = {
    "temp1.hevc", "temp2.hevc", "temp3.hevc", "temp4.hevc"};

} // namespace

BatchConverter::BatchConverter(Heif2JpgFn decoder, QTextStream& out, QTextStream& err,
                               QObject* parent)
    : QObject(parent), m_decoder(decoder), m_out(out), m_err(err)
{
    for (auto& worker : m_workers) {
        worker = std::make_unique<ConvertThread>();
        connect(worker.get(), &ConvertThread::signal_FileConverted, this,
                &BatchConverter::fileConverted);
        connect(worker.get(), &ConvertThread::signal_FileFailed, this,
                &BatchConverter::fileFailed);
    }
}

BatchConverter::~BatchConverter() = default;

int BatchConverter::convert(const Options& options)
{
    m_failures = 0;
    for (const QString& file : options.files)
        WorkQueue::global().put(QFileInfo(file).absoluteFilePath());

    QEventLoop loop;
    int running = 0;
    for (std::size_t i = 0; i < m_workers.size(); ++i) {
        ConvertThread* worker = m_workers[i].get();
        worker->setDecoder(m_decoder);
        worker->setQuality(options.quality);
        worker->setSavePath(options.outputFolder);
        worker->setScratchFileName(kScratchNames[i]);
        worker->setStopFlag(false);
        // Queued behind the worker's own reports, so every line is printed
        // before the loop ends.
        connect(worker, &QThread::finished, &loop, [&running, &loop] {
            if (--running == 0)
                loop.quit();
        });
        ++running;
        worker->start();
    }
    loop.exec();
    m_out.flush();
    m_err.flush();
    return m_failures;
}

void BatchConverter::fileConverted(const QString& /*source*/, const QString& target)
{
    m_out << QDir::toNativeSeparators(QDir::cleanPath(target)) << Qt::endl;
}

void BatchConverter::fileFailed(const QString& source, const QString& reason)
{
    ++m_failures;
    m_err << QDir::toNativeSeparators(source) << ": " << reason << Qt::endl;
}

#include "ConvertThread.h"

#include "AtomicFileWriter.h"
#include "EngineLog.h"
#include "OutputNaming.h"
#include "WorkQueue.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

ConvertThread::ConvertThread(QObject* parent) : QThread(parent) {}

ConvertThread::~ConvertThread()
{
    // QThread aborts the program when destroyed while running; the file in
    // hand is finished first so it is not lost half-way.
    m_stop.store(true);
    wait();
}

void ConvertThread::setStopFlag(bool stop)
{
    m_stop.store(stop);
}

void ConvertThread::setQuality(int quality)
{
    m_quality = quality;
}

void ConvertThread::setSavePath(const QString& path)
{
    m_savePath = path;
}

void ConvertThread::setScratchFileName(const char* name)
{
    m_scratchFileName = name ? name : "";
}

void ConvertThread::setDecoder(Heif2JpgFn decoder)
{
    if (decoder)
        m_decoder.setDecoder(decoder);
}

void ConvertThread::addFilePath(const QString& path)
{
    m_filePaths.append(path);
}

void ConvertThread::run()
{
    // The stop flag is read only between files: the photo in hand is always
    // finished (written whole or failed), never abandoned half-way.
    ConvertJob job;
    while (!m_stop.load() && WorkQueue::global().take(&job)) {
        const QFileInfo info(job.source);
        if (!info.exists()) {
            emit signal_FileFailed(job.source, tr("no such file"));
            continue;
        }
        m_currentFileName = info.fileName();
        convertFile(info.filePath(), job.target);
    }
}

void ConvertThread::convertFile(const QString& sourcePath, const QString& plannedTarget)
{
    const HeicDecoder::Result result =
        m_decoder.convertFile(sourcePath, m_quality, m_scratchFileName);
    if (!result.ok()) {
        emit signal_FileFailed(sourcePath, result.failure);
        return;
    }

    // The folder is made only once there is a JPEG to put in it.
    QString target = plannedTarget;
    if (target.isEmpty()) {
        m_savePath = OutputNaming::workerFolder(m_savePath);
        const QDir folder(m_savePath);
        if (!folder.exists())
            folder.mkdir(m_savePath); // one level only: a missing parent makes the write fail
        m_currentFileName = OutputNaming::outputFileName(m_currentFileName);
        target = m_savePath + QLatin1Char('/') + m_currentFileName;
    } else {
        // Whoever planned the name also decided the folder may be made.
        QDir().mkpath(QFileInfo(target).absolutePath());
    }

    // A source kept in the output folder under a name that is not renamed
    // (".Heic") would otherwise be replaced by its own JPEG. A link at the
    // JPEG's name is replaced itself, whatever it points at.
    const QString canonicalSource = QFileInfo(sourcePath).canonicalFilePath();
    const QFileInfo targetInfo(target);
    if (!canonicalSource.isEmpty() && !targetInfo.isSymLink() && targetInfo.canonicalFilePath() == canonicalSource) {
        const QString why = tr("would replace the source file %1").arg(sourcePath);
        qCWarning(lcEngine).noquote() << why;
        emit signal_FileFailed(sourcePath, why);
        return;
    }

    QString error;
    const QDateTime modified = QFileInfo(sourcePath).lastModified();
    if (!AtomicFileWriter::write(target, result.jpeg, &error, modified)) {
        qCWarning(lcEngine).noquote() << error;
        emit signal_FileFailed(sourcePath, error);
        return;
    }
    emit signal_FileConverted(sourcePath, target);
    emit signal_ConvertSuccess();
}

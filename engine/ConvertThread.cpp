#include "ConvertThread.h"

#include "AtomicFileWriter.h"
#include "EngineLog.h"
#include "OutputNaming.h"
#include "WorkQueue.h"

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
    for (;;) {
        if (m_stop.load())
            return;
        const QString path = WorkQueue::global().take();
        const QFileInfo info(path);
        if (info.exists()) {
            m_currentFileName = info.fileName();
            convertFile(info.filePath());
        } else if (path != WorkQueue::endMarker()) {
            emit signal_FileFailed(path, tr("no such file"));
        }
        // Tested after converting: a queued file called "exit" is converted
        // and then ends the worker like the end marker does.
        if (info.fileName() == WorkQueue::endMarker())
            return;
    }
}

void ConvertThread::convertFile(const QString& sourcePath)
{
    const HeicDecoder::Result result =
        m_decoder.convertFile(sourcePath, m_quality, m_scratchFileName);

    m_savePath = OutputNaming::workerFolder(m_savePath);
    const QDir folder(m_savePath);
    if (!folder.exists())
        folder.mkdir(m_savePath); // one level only: a missing parent makes the write fail
    m_currentFileName = OutputNaming::outputFileName(m_currentFileName);
    const QString target = m_savePath + QLatin1Char('/') + m_currentFileName;

    if (!result.ok()) {
        emit signal_FileFailed(sourcePath, result.failure);
        return;
    }

    // A source kept in the output folder under a name that is not renamed
    // (".Heic") would otherwise be replaced by its own JPEG.
    const QString canonicalSource = QFileInfo(sourcePath).canonicalFilePath();
    if (!canonicalSource.isEmpty() && QFileInfo(target).canonicalFilePath() == canonicalSource) {
        const QString why = tr("would replace the source file %1").arg(sourcePath);
        qCWarning(lcEngine).noquote() << why;
        emit signal_FileFailed(sourcePath, why);
        return;
    }

    QString error;
    if (!AtomicFileWriter::write(target, result.jpeg, &error)) {
        qCWarning(lcEngine).noquote() << error;
        emit signal_FileFailed(sourcePath, error);
        return;
    }
    emit signal_FileConverted(sourcePath, target);
    emit signal_ConvertSuccess();
}

#pragma once

#include "HeicDecoder.h"

#include <QStringList>
#include <QThread>

#include <atomic>

// A batch conversion worker. It takes jobs from WorkQueue::global() until the
// queue is empty, converts each photo through the decoding library and writes
// the library's JPEG to the job's target or, when the job names none, into
// the output folder (OutputNaming::workerFolder) under the source's name with
// ".jpg" (OutputNaming::outputFileName). Every job ends in exactly one of
// signal_FileConverted or signal_FileFailed.
//
// Configure it with the setters before start(); only the stop flag may be set
// while it runs. The worker checks the stop flag only between files, so a
// stopped worker still finishes, writes and reports the file it holds; the
// paths it has not taken stay in the queue.
//
// Signals are emitted on the worker thread; connect with the default
// (queued) connection from the GUI thread.
//
// Destroying a running worker stops it and waits for its current file.
class ConvertThread : public QThread
{
    Q_OBJECT

public:
    explicit ConvertThread(QObject* parent = nullptr);
    ~ConvertThread() override;

    void setStopFlag(bool stop);
    void setQuality(int quality);
    void setOptions(const ConversionOptions& options) { m_decoder.setOptions(options); }
    void setSavePath(const QString& path);
    // The string must outlive the worker (pass a string literal). Our
    // decoding library ignores it; it keeps the call contract.
    void setScratchFileName(const char* name);
    // A null decoder keeps the one set before.
    void setDecoder(Heif2JpgFn decoder);
    void addFilePath(const QString& path);

    // The folder the last run wrote into; read it only while not running.
    QString savePath() const { return m_savePath; }
    int quality() const { return m_quality; }
    bool stopFlag() const { return m_stop.load(); }

signals:
    // One per file complete on disk.
    void signal_ConvertSuccess();
    // The same moment, with the source and the path written.
    void signal_FileConverted(const QString& source, const QString& target);
    // A file that produced no JPEG, with a reason fit for a user.
    void signal_FileFailed(const QString& source, const QString& reason);

protected:
    void run() override;

private:
    void convertFile(const QString& sourcePath, const QString& plannedTarget);

    std::atomic_bool m_stop{false};
    QStringList m_filePaths;
    HeicDecoder m_decoder;
    int m_quality = 100;
    QString m_savePath;
    const char* m_scratchFileName = "";
    QString m_currentFileName;
};

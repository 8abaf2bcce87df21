#pragma once

#include "Heif2JpgFn.h"
#include "SavedChoices.h"

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QPair>
#include <QStringList>
#include <QVector>

#include <array>
#include <functional>

class BatchConvertProgress;
class ConvertThread;
class QDialog;
class QWidget;
class TipDialog;

// The run side of the batch page: it fills the work queue with the photos of
// one run, starts the four workers, counts what they report, shows the
// progress dialog and its result, handles cancelling, and remembers how each
// photo of the last run ended so the table can mark its rows.
//
// Everything here runs on the GUI thread; the workers only ever talk back
// through queued signals.
class BatchRunController : public QObject
{
    Q_OBJECT

public:
    static constexpr int kWorkerCount = 4;

    // How a photo of the last run ended.
    enum Outcome { NotRun, Converted, Failed };

    using ModalRunner = std::function<int(QDialog*)>;
    using FolderOpener = std::function<void(const QString&)>;

    // The dialogs of a run are children of `page`; `runModal` runs each of
    // them and `showFolder` hands a folder to the file manager (the page's
    // seams, which tests replace).
    BatchRunController(QWidget* page, ModalRunner runModal, FolderOpener showFolder);
    // Empties the queue and waits for the photos in hand: a running QThread
    // must not be destroyed, and a photo is written whole or not at all.
    ~BatchRunController() override;

    // Ignored when null, so a missing library never replaces a bound one.
    void setDecoder(Heif2JpgFn decoder);

    // Converts `sources` in this order with the chosen quality and options
    // into the folder that the chosen folder names
    // (OutputNaming::openFolderPath) or beside each photo, and shows the
    // progress dialog. `roots` holds, for each source, the folder it was
    // added from (empty: added on its own); the sub-folders below it are
    // made again in the run's folder. Does nothing while a run is under way.
    void start(const QStringList& sources, const QStringList& roots, const SavedChoices::Output& choices);
    // Opens the folder of the last run, or the one `savePath` names before
    // any run, and closes a finished progress dialog.
    void openFolder(const QString& savePath);

    bool isRunning() const { return m_running; }
    int successCount() const { return m_successCount; }
    // The run in progress (or the last one): photos it holds, its failures
    // (source, reason) and the folder its JPEGs go to.
    int runTotal() const { return m_runTotal; }
    const QVector<QPair<QString, QString>>& runFailures() const { return m_runFailures; }
    QString runFolder() const { return m_runFolder; }
    // Every path put into the queue, until clearQueuedPaths().
    const QStringList& queuedPaths() const { return m_queuedPaths; }
    void clearQueuedPaths() { m_queuedPaths.clear(); }
    // How `source` ended in the last run, and why when it failed; known
    // until the next run starts or forgetOutcomes() is called.
    Outcome outcome(const QString& source, QString* reason = nullptr) const;
    void forgetOutcomes() { m_outcomes.clear(); }
    BatchConvertProgress* progressDialog() const { return m_progress; }
    ConvertThread* worker(int i) const { return m_workers.at(size_t(i)); }

signals:
    void signal_ConvertSuccessCount(int nCount);
    void signal_ConvertSuccessAll();
    // A run started or ended (finished or cancelled): the page's buttons
    // follow isRunning().
    void signal_RunStateChanged();
    // A photo of the run ended (see outcome()).
    void signal_PhotoEnded(const QString& source);

public slots:
    // One photo written (a worker's signal_FileConverted).
    void slot_FileConverted(const QString& source, const QString& target);
    void slot_ConvertProgress();
    void slot_SetConvertProgress(int nCurProgress);
    void slot_ConvertFailed(const QString& source, const QString& reason);
    void slot_StopConvert();
    void slot_ConvertSuccess();
    void slot_WorkerFinished();

private:
    void countDone();
    void finishCancel();
    void waitForWorkers();

    QWidget* m_page;
    ModalRunner m_runModal;
    FolderOpener m_showFolder;

    Heif2JpgFn m_decoder = nullptr;
    std::array<ConvertThread*, kWorkerCount> m_workers{};
    QStringList m_queuedPaths;
    int m_successCount = 0;
    BatchConvertProgress* m_progress = nullptr;
    QMutex m_countLock;
    TipDialog* m_stopTip = nullptr;

    bool m_running = false;
    bool m_cancelling = false;
    bool m_finishingCancel = false;
    int m_runTotal = 0;
    QVector<QPair<QString, QString>> m_runFailures;
    QString m_runFolder;
    QHash<QString, QPair<Outcome, QString>> m_outcomes; // source: outcome, reason
};

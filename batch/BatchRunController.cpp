#include "BatchRunController.h"

#include "BatchConvertProgress.h"
#include "BatchRules.h"
#include "ConvertThread.h"
#include "OutputNaming.h"
#include "TipDialog.h"
#include "WorkQueue.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QPointer>
#include <QWidget>

namespace {

// One scratch name per worker, in worker order. The workers keep the
// pointers, so these must live as long as the program.
const char* const kScratchNames[BatchRunController::kWorkerCount] = {
    "temp1.hevc", "temp2.hevc", "temp3.hevc", "temp4.hevc"};

} // namespace

BatchRunController::BatchRunController(QWidget* page, ModalRunner runModal, FolderOpener showFolder)
    : QObject(page)
    , m_page(page)
    , m_runModal(std::move(runModal))
    , m_showFolder(std::move(showFolder))
{
    for (auto& worker : m_workers)
        worker = new ConvertThread(this);

    connect(this, SIGNAL(signal_ConvertSuccessCount(int)), this, SLOT(slot_SetConvertProgress(int)));
    connect(this, SIGNAL(signal_ConvertSuccessAll()), this, SLOT(slot_ConvertSuccess()));
    for (ConvertThread* worker : m_workers) {
        connect(worker, SIGNAL(signal_FileConverted(QString, QString)), this,
                SLOT(slot_FileConverted(QString, QString)));
        connect(worker, SIGNAL(signal_FileFailed(QString, QString)), this,
                SLOT(slot_ConvertFailed(QString, QString)));
        connect(worker, SIGNAL(finished()), this, SLOT(slot_WorkerFinished()));
    }
}

BatchRunController::~BatchRunController()
{
    // Each worker finishes the file it holds (written whole or not at all)
    // and then sees the flag.
    WorkQueue::global().clear();
    waitForWorkers();
}

void BatchRunController::waitForWorkers()
{
    for (ConvertThread* worker : m_workers)
        worker->setStopFlag(true);
    for (ConvertThread* worker : m_workers)
        worker->wait();
}

void BatchRunController::setDecoder(Heif2JpgFn decoder)
{
    if (decoder)
        m_decoder = decoder;
}

void BatchRunController::start(const QStringList& sources, const QStringList& roots,
                               const SavedChoices::Output& choices)
{
    if (m_running)
        return;
    const QString& savePath = choices.saveFolder;

    // A run converts exactly the photos given for it, in that order, into its
    // own folders; nothing a cancelled run left over may join it.
    WorkQueue::global().clear();
    const QStringList folders = OutputNaming::runFolders(OutputNaming::openFolderPath(savePath), sources, roots,
                                                         choices.besidePhotos);
    m_runFolder = choices.besidePhotos ? OutputNaming::commonFolder(folders) : OutputNaming::openFolderPath(savePath);
    const QStringList targets = OutputNaming::runTargets(folders, sources, choices.besidePhotos);
    for (int i = 0; i < sources.size(); ++i) {
        m_queuedPaths.append(sources.at(i));
        WorkQueue::global().put(ConvertJob{sources.at(i), targets.at(i)});
    }

    // A worker still running here is finishing the one file it held when
    // the previous run ended. Waiting for it (at most that one file) lets
    // every run start four workers with its own settings.
    for (ConvertThread* worker : m_workers) {
        if (worker->isRunning()) {
            worker->setStopFlag(true);
            worker->wait();
        }
    }
    {
        QMutexLocker locker(&m_countLock);
        m_successCount = 0;
    }
    m_runFailures.clear();
    m_outcomes.clear();
    m_runTotal = sources.size();
    m_running = true;
    m_cancelling = false;
    emit signal_RunStateChanged();

    for (ConvertThread* worker : m_workers)
        worker->setDecoder(m_decoder);
    for (ConvertThread* worker : m_workers) {
        worker->setQuality(choices.quality);
        worker->setOptions(choices.options);
    }
    for (ConvertThread* worker : m_workers)
        worker->setSavePath(savePath);
    for (int i = 0; i < kWorkerCount; ++i)
        m_workers[size_t(i)]->setScratchFileName(kScratchNames[i]);
    for (ConvertThread* worker : m_workers)
        worker->setStopFlag(false);
    for (ConvertThread* worker : m_workers)
        worker->start(QThread::InheritPriority);

    if (m_progress) {
        m_progress->deleteLater();
        m_progress = nullptr;
    }
    auto* dialog = new BatchConvertProgress(m_page);
    m_progress = dialog;
    dialog->setProgress(0, BatchRules::progressText(0, m_runTotal));
    connect(dialog, SIGNAL(signal_CancelConvert()), this, SLOT(slot_StopConvert()));
    // A started run always has its folder, so no save path is needed here.
    connect(dialog, &BatchConvertProgress::signal_OpenFolder, this, [this] { openFolder(QString()); });
    QPointer<BatchConvertProgress> shown(dialog);
    m_runModal(dialog);
    // The finished dialog stays on screen until the user closes it; once
    // closed and no longer the current run's, it is of no further use.
    if (shown && shown != m_progress && !shown->isVisible())
        shown->deleteLater();
}

void BatchRunController::slot_FileConverted(const QString& source, const QString& target)
{
    Q_UNUSED(target)
    m_outcomes.insert(source, qMakePair(Converted, QString()));
    emit signal_PhotoEnded(source);
    slot_ConvertProgress();
}

BatchRunController::Outcome BatchRunController::outcome(const QString& source, QString* reason) const
{
    const QPair<Outcome, QString> known = m_outcomes.value(source, qMakePair(NotRun, QString()));
    if (reason)
        *reason = known.second;
    return known.first;
}

void BatchRunController::slot_ConvertProgress()
{
    QMutexLocker locker(&m_countLock);
    ++m_successCount;
    // Delivered directly, so slot_SetConvertProgress runs inside the lock and
    // must not take it again.
    emit signal_ConvertSuccessCount(m_successCount);
}

void BatchRunController::slot_ConvertFailed(const QString& source, const QString& reason)
{
    m_runFailures.append(qMakePair(source, reason));
    m_outcomes.insert(source, qMakePair(Failed, reason));
    emit signal_PhotoEnded(source);
    countDone();
}

void BatchRunController::slot_SetConvertProgress(int nCurProgress)
{
    Q_UNUSED(nCurProgress)
    countDone();
}

void BatchRunController::countDone()
{
    if (!m_running)
        return;
    // Every photo ends converted or failed; both move the bar.
    const int done = m_successCount + m_runFailures.size();
    if (m_progress && !m_cancelling)
        m_progress->setProgress(BatchRules::progressPercent(done, m_runTotal),
                                BatchRules::progressText(done, m_runTotal));
    if (done >= m_runTotal && !m_cancelling)
        emit signal_ConvertSuccessAll();
}

void BatchRunController::slot_WorkerFinished()
{
    // A run ends on its count (every job reports exactly once); only a
    // cancelled run ends on its workers, once the photos in hand are done.
    if (!m_cancelling)
        return;
    for (ConvertThread* worker : m_workers) {
        if (worker->isRunning())
            return;
    }
    finishCancel();
}

void BatchRunController::slot_StopConvert()
{
    if (!m_running || m_cancelling)
        return;
    m_cancelling = true;
    // Nothing not yet taken is converted; the photos in hand finish (whole
    // or not at all) and are counted before the notice is shown.
    WorkQueue::global().clear();
    for (ConvertThread* worker : m_workers)
        worker->setStopFlag(true);
    if (m_progress)
        m_progress->setCancelling();
    slot_WorkerFinished();
}

void BatchRunController::finishCancel()
{
    if (m_finishingCancel)
        return;
    // The last reports of the workers may still wait in the event queue
    // behind an earlier "finished"; count them before telling the total.
    m_finishingCancel = true;
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    m_finishingCancel = false;
    m_cancelling = false;
    m_running = false;
    if (m_progress) {
        m_progress->hide();
        m_progress->deleteLater();
        m_progress = nullptr;
    }
    emit signal_RunStateChanged();
    if (!m_stopTip) {
        m_stopTip = new TipDialog(m_page);
        m_stopTip->setConvertCancelledTip();
        m_stopTip->setConvertedCount(m_successCount);
        m_stopTip->setDetailText(BatchRules::cancelDetailText(m_runFailures.size(), m_runFolder));
        connect(m_stopTip, &TipDialog::signal_OpenFolder, this, [this] { openFolder(QString()); });
    }
    TipDialog* tip = m_stopTip;
    m_runModal(tip);
    if (m_stopTip == tip)
        m_stopTip = nullptr;
    delete tip;
}

void BatchRunController::slot_ConvertSuccess()
{
    if (!m_running)
        return;
    m_running = false;
    if (m_progress)
        m_progress->setFinished(m_successCount, m_runFailures, m_runFolder);
    m_progress = nullptr;
    for (ConvertThread* worker : m_workers)
        worker->setStopFlag(true);
    emit signal_RunStateChanged();
}

void BatchRunController::openFolder(const QString& savePath)
{
    m_showFolder(m_runFolder.isEmpty() ? OutputNaming::openFolderPath(savePath) : m_runFolder);
    if (m_progress && !m_running) {
        m_progress->close();
        m_progress->deleteLater();
        m_progress = nullptr;
    }
}

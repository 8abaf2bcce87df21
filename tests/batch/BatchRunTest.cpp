#include "BatchTestEnvironment.h"
#include "FakeDecoder.h"
#include "TestableFileTable.h"

#include "BatchConvertProgress.h"
#include "BatchRules.h"
#include "ConvertThread.h"
#include "ConvertsionSet.h"
#include "TipDialog.h"
#include "WorkQueue.h"

#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QTableWidget>

#include <chrono>
#include <thread>

namespace {

// What the progress dialog showed after each counted file.
struct Step
{
    QString text;
    int percent;
};

QStringList drainQueue()
{
    QStringList left;
    ConvertJob job;
    while (WorkQueue::global().take(&job))
        left << job.source;
    return left;
}

bool workersIdle(const HeicFileTable& page)
{
    for (int i = 0; i < HeicFileTable::kWorkerCount; ++i) {
        if (page.worker(i)->isRunning())
            return false;
    }
    return true;
}

} // namespace

class BatchRunTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everyStepIsShownThenTheResult_data();
    void everyStepIsShownThenTheResult();
    void settingsReachTheWorkers();
    void unconvertibleFileStopsShortOfTheEnd();
    void cancelKeepsCountAndQueueForTheNextRun();
    void openFolderRules();
    void closingThePageMidRunLosesNoFile();

private:
    // Makes `count` fake photos named p00.HEIC... and ticks them in row order.
    void fillTable(int count, const QByteArray& brokenAt = QByteArray());
    // Presses Convert, answers the settings with folder and quality, and
    // returns once the workers are started (the progress dialog does not block).
    void startRun(const QString& folder, int quality = 100);
    QStringList jpegsIn(const QString& folder) const;

    QTemporaryDir* m_sources = nullptr;
    QTemporaryDir* m_out = nullptr;
    TestableFileTable* m_page = nullptr;
    QList<Step> m_steps;
    QString m_stopTipCount;
    QPointer<BatchConvertProgress> m_shownProgress; // the dialog of the latest run
};

void BatchRunTest::init()
{
    FakeDecoder::reset();
    QVERIFY(drainQueue().isEmpty());
    m_sources = new QTemporaryDir;
    m_out = new QTemporaryDir;
    m_page = new TestableFileTable;
    m_page->setDecoder(&FakeDecoder::convert);
    m_steps.clear();
    m_stopTipCount.clear();
    m_page->onModal = [this](QDialog* dialog) {
        if (auto* progress = qobject_cast<BatchConvertProgress*>(dialog))
            m_shownProgress = progress;
        if (auto* tip = qobject_cast<TipDialog*>(dialog)) // the stop notice, left with "No"
            m_stopTipCount = tip->findChild<QLabel*>("label_SuccessText")->text();
        return int(QDialog::Rejected);
    };
    connect(m_page, &HeicFileTable::signal_ConvertSuccessCount, this, [this](int) {
        // Runs right after the page's own handler, inside the same emission.
        if (m_shownProgress) {
            m_steps.append({m_shownProgress->findChild<QLabel*>("label_Progress")->text(),
                            m_shownProgress->findChild<QProgressBar*>("progressBar")->value()});
        }
    });
}

void BatchRunTest::cleanup()
{
    FakeDecoder::openGate();
    delete m_page; // stops and waits for the workers
    m_page = nullptr;
    drainQueue();
    delete m_sources;
    delete m_out;
}

void BatchRunTest::fillTable(int count, const QByteArray& brokenAt)
{
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        QByteArray name = QString("p%1").arg(i, 2, 10, QChar('0')).toLatin1();
        if (name == brokenAt)
            name = FakeDecoder::kBrokenPrefix + name;
        const QString path = m_sources->filePath(QString::fromLatin1(name) + ".HEIC");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(FakeDecoder::makeInput(name));
        paths << path;
    }
    m_page->nextChoice = paths;
    m_page->slot_AddItem();
    auto* table = m_page->findChild<QTableWidget*>("tableWidget");
    for (int row = 0; row < count; ++row)
        table->cellWidget(row, 0)->findChild<QCheckBox*>()->click();
    QCOMPARE(m_page->tickedRows().size(), count);
}

void BatchRunTest::startRun(const QString& folder, int quality)
{
    auto previous = m_page->onModal;
    m_page->onModal = [&, previous](QDialog* dialog) {
        if (auto* settings = qobject_cast<ConvertsionSet*>(dialog)) {
            if (!folder.isNull())
                emit settings->signal_SendSavePath(folder);
            settings->findChild<QSlider*>("Slider")->setValue(quality);
            settings->findChild<QPushButton*>("pushButton_Convert")->click();
            return int(QDialog::Accepted);
        }
        return previous(dialog);
    };
    m_page->findChild<QPushButton*>("pushButton_Convert")->click();
    m_page->onModal = previous;
}

QStringList BatchRunTest::jpegsIn(const QString& folder) const
{
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

void BatchRunTest::everyStepIsShownThenTheResult_data()
{
    QTest::addColumn<int>("rows");
    QTest::newRow("3 rows") << 3;
    QTest::newRow("100 rows") << 100;
}

void BatchRunTest::everyStepIsShownThenTheResult()
{
    QFETCH(int, rows);
    fillTable(rows);
    startRun(m_out->path());
    auto* progress = m_page->progressDialog();
    QVERIFY(progress);
    QVERIFY(!m_page->settingsDialog()); // closed and forgotten once the run started

    QTRY_COMPARE_WITH_TIMEOUT(m_steps.size(), rows, 20000);
    QTRY_VERIFY(workersIdle(*m_page));
    // Each step's numbers are BatchRules' (tested there); here, that every
    // file is shown once, in order.
    for (int n = 1; n <= rows; ++n) {
        QCOMPARE(m_steps.at(n - 1).text, BatchRules::progressText(n, rows));
        QCOMPARE(m_steps.at(n - 1).percent, BatchRules::progressPercent(n, rows));
    }
    QCOMPARE(progress->findChild<QLabel*>("label_Converting")->text(),
             QString("%1 files have been successfully converted!").arg(rows));
    QCOMPARE(m_page->successCount(), 0);
    QVERIFY(!m_page->progressDialog()); // forgotten, left on screen for the user
    for (int i = 0; i < HeicFileTable::kWorkerCount; ++i)
        QVERIFY(m_page->worker(i)->stopFlag());

    QCOMPARE(jpegsIn(m_out->path() + "/Vantora").size(), rows);
}

void BatchRunTest::settingsReachTheWorkers()
{
    fillTable(6);
    startRun(m_out->path() + "/Vantora Photos", 37);
    QTRY_COMPARE(m_steps.size(), 6);
    QTRY_VERIFY(workersIdle(*m_page));
    QCOMPARE(m_page->quality(), 37);
    QCOMPARE(FakeDecoder::seenQualities(), QSet<int>{37});
    // A folder that already names "/Vantora" is used as it is.
    QCOMPARE(jpegsIn(m_out->path() + "/Vantora Photos").size(), 6);
}

void BatchRunTest::unconvertibleFileStopsShortOfTheEnd()
{
    fillTable(5, "p02");
    startRun(m_out->path());
    auto* progress = m_page->progressDialog();
    QTRY_COMPARE(m_steps.size(), 4);
    QTRY_VERIFY(workersIdle(*m_page));
    QTest::qWait(50);
    QCOMPARE(m_steps.size(), 4);
    QCOMPARE(m_steps.last().text, QStringLiteral("4/5"));
    QCOMPARE(progress->findChild<QLabel*>("label_Converting")->text(), QStringLiteral("Converting "));
    QCOMPARE(m_page->progressDialog(), progress); // no completion

    // Only cancelling ends it; the notice counts the four.
    m_page->slot_StopConvert();
    QCOMPARE(m_stopTipCount, QStringLiteral("4 files have been successfully converted."));
    QVERIFY(!m_page->progressDialog());
}

void BatchRunTest::cancelKeepsCountAndQueueForTheNextRun()
{
    fillTable(10);
    FakeDecoder::shutGate();
    startRun(m_out->path());
    auto* progress = m_page->progressDialog();
    QVERIFY(progress);
    QTRY_COMPARE(FakeDecoder::entered(), 4);

    // Two files done; the workers that wrote them take the next two and wait.
    FakeDecoder::release(2);
    QTRY_COMPARE(m_page->successCount(), 2);
    QTRY_COMPARE(FakeDecoder::entered(), 6);
    QCOMPARE(m_steps.last().text, QStringLiteral("2/10"));

    // The user presses Cancel and confirms; the notice shows the count.
    // (The question itself is the dialog's own test; here it was answered yes.)
    QPointer<BatchConvertProgress> cancelled(progress);
    progress->slot_CancelConvert();
    QCOMPARE(m_page->modalDialogs.size(), 3); // settings, progress, stop notice
    QTRY_VERIFY(cancelled.isNull() || !cancelled->isVisible());
    QCOMPARE(m_stopTipCount, QStringLiteral("2 files have been successfully converted."));
    QVERIFY(!m_page->progressDialog());

    // The four files in hand are still finished and counted.
    FakeDecoder::release(4);
    QTRY_VERIFY(workersIdle(*m_page));
    QTRY_COMPARE(m_page->successCount(), 6);
    QCOMPARE(FakeDecoder::entered(), 6);
    QCOMPARE(jpegsIn(m_out->path() + "/Vantora").size(), 6);

    // Next run with the same ten ticked: the four paths nobody took go first,
    // and the count goes on from six, so the run is complete after them.
    m_steps.clear();
    startRun(m_out->path());
    QTRY_COMPARE(FakeDecoder::entered(), 10);
    const QList<QByteArray> firstTaken = FakeDecoder::seenNames().mid(6, 4);
    QCOMPARE(QSet<QByteArray>(firstTaken.begin(), firstTaken.end()),
             (QSet<QByteArray>{"p06", "p07", "p08", "p09"}));
    auto* second = m_page->progressDialog();
    QVERIFY(second && second != progress);
    FakeDecoder::release(4);
    QTRY_COMPARE(m_steps.size(), 4);
    QCOMPARE(m_steps.first().text, QStringLiteral("7/10"));
    QCOMPARE(m_steps.last().text, QStringLiteral("10/10"));
    QCOMPARE(second->findChild<QLabel*>("label_Converting")->text(),
             QStringLiteral("10 files have been successfully converted!"));
    for (int i = 0; i < HeicFileTable::kWorkerCount; ++i)
        QVERIFY(m_page->worker(i)->stopFlag());

    // The workers end after the file each holds; the rest stays queued.
    FakeDecoder::openGate();
    QTRY_VERIFY(workersIdle(*m_page));
    const int taken = FakeDecoder::entered() - 10;
    QVERIFY(taken >= 0 && taken <= 4);
    QCOMPARE(drainQueue().size(), 10 - taken);
    QCOMPARE(m_page->queuedPaths().size(), 20);
}

void BatchRunTest::openFolderRules()
{
    // The page opens the preview's folder and keeps it as its save path;
    // the folder rules themselves are the engine's tests.
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    m_page->slot_OpenFolder();
    QCOMPARE(m_page->openedFolders.last(), desktop + "/Vantora");
    QCOMPARE(m_page->savePath(), desktop + "/Vantora");
    m_page->slot_SavePath("/data/Pictures");
    m_page->slot_OpenFolder();
    QCOMPARE(m_page->openedFolders.last(), QStringLiteral("/data/Pictures/Vantora"));
    QCOMPARE(m_page->savePath(), QStringLiteral("/data/Pictures/Vantora"));

    // The stop notice's "Open Folder" opens the same folder.
    m_page->onModal = [](QDialog* dialog) {
        dialog->findChild<QPushButton*>("pushButton_Yes")->click();
        return int(QDialog::Rejected);
    };
    m_page->slot_StopConvert();
    QCOMPARE(m_page->openedFolders, QStringList({desktop + "/Vantora", "/data/Pictures/Vantora",
                                                 "/data/Pictures/Vantora"}));
}

void BatchRunTest::closingThePageMidRunLosesNoFile()
{
    fillTable(8);
    FakeDecoder::shutGate();
    startRun(m_out->path());
    QTRY_COMPARE(FakeDecoder::entered(), 4);

    // The page goes while four files are in hand. They are let through a
    // moment later from another thread, as a slow decode would end.
    std::thread later([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        FakeDecoder::openGate();
    });
    delete m_page;
    m_page = nullptr;
    later.join();

    const QStringList written = jpegsIn(m_out->path() + "/Vantora");
    QCOMPARE(written.size(), 4);
    for (const QString& name : written) {
        QVERIFY2(name.endsWith(".jpg"), qPrintable(name)); // no temporary file left over
        QImage picture(m_out->path() + "/Vantora/" + name);
        QCOMPARE(picture.size(), QSize(16, 12));
    }
    QCOMPARE(drainQueue().size(), 4);
}

PICTOVA_BATCH_TEST_MAIN(BatchRunTest)
#include "BatchRunTest.moc"

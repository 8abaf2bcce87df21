#include "TestSandbox.h"
#include "DecoderLibrary.h"
#include "EngineTestSupport.h"
#include "SavedChoices.h"
#include "TestableFileTable.h"

#include "BatchConvertProgress.h"
#include "BatchRules.h"
#include "ConvertThread.h"
#include "ConvertsionSet.h"
#include "TipDialog.h"

#include <QPlainTextEdit>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QTableWidget>
#include <QTimer>

#include <chrono>
#include <thread>

namespace {

// What the progress dialog showed after each counted file.
struct Step
{
    QString text;
    int percent;
};

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
    void init()
    {
        SavedChoices::forget();
        EngineTest::fakeReset();
        QVERIFY(EngineTest::drainQueue().isEmpty());
        m_sources = new QTemporaryDir;
        m_out = new QTemporaryDir;
        m_page = new TestableFileTable;
        m_page->setDecoder(DecoderLibrary::bindFrom(EngineTest::fakeLibrary()).convert);
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

    void cleanup()
    {
        EngineTest::fakeGate(false);
        delete m_page; // stops and waits for the workers
        m_page = nullptr;
        EngineTest::drainQueue();
        delete m_sources;
        delete m_out;
    }

    // Every file is shown once, in order, and the run ends; the settings
    // chosen for it reach the workers.
    void everyStepIsShownThenTheResult()
    {
        const int rows = 40;
        fillTable(rows);
        startRun(m_out->path() + "/Vantora Photos", 37);
        auto* progress = m_page->progressDialog();
        QVERIFY(progress);
        QVERIFY(!m_page->settingsDialog()); // closed and forgotten once the run started
        QTRY_COMPARE_WITH_TIMEOUT(m_steps.size(), rows, 20000);
        QTRY_VERIFY(workersIdle(*m_page));
        for (int n = 1; n <= rows; ++n) {
            QCOMPARE(m_steps.at(n - 1).text, BatchRules::progressText(n, rows));
            QCOMPARE(m_steps.at(n - 1).percent, BatchRules::progressPercent(n, rows));
        }
        QVERIFY(progress->isFinished());
        QCOMPARE(m_page->successCount(), rows);
        QVERIFY(!m_page->isRunning());
        QVERIFY(!m_page->progressDialog()); // forgotten, left on screen for the person
        QVERIFY(EngineTest::fakeQualitySeen(37) && !EngineTest::fakeQualitySeen(100));
        // A folder that already names "/Vantora" is used as it is.
        QCOMPARE(jpegsIn(m_out->path() + "/Vantora Photos").size(), rows);
    }

    void brokenAndVanishedPhotosEndTheRunListed()
    {
        fillTable(5, "p02");
        QVERIFY(QFile::remove(m_sources->filePath("p03.HEIC")));
        startRun(m_out->path());
        auto* progress = m_page->progressDialog();
        QTRY_VERIFY(!m_page->isRunning());
        // Failures move the bar too, so the run reaches its total and ends.
        QVERIFY(progress->isFinished());
        QCOMPARE(progress->findChild<QProgressBar*>("progressBar")->value(), 100);
        QCOMPARE(m_page->successCount(), 3);
        QCOMPARE(m_page->runFailures().size(), 2);
        const QString listed = progress->findChild<QPlainTextEdit*>("plainTextEdit_Failed")->toPlainText();
        QVERIFY2(listed.contains(QByteArray("broken") + "p02.HEIC: "), qPrintable(listed));
        QVERIFY2(listed.contains("p03.HEIC: no such file"), qPrintable(listed));
        QCOMPARE(jpegsIn(m_out->path() + "/Vantora").size(), 3);
        // Convert is ready again for the next run.
        QVERIFY(m_page->findChild<QPushButton*>("pushButton_Convert")->isEnabled());

        // Every row is marked with how its photo ended, a failure's reason
        // on hover, until the list changes.
        auto* table = m_page->findChild<QTableWidget*>("tableWidget");
        const QString converted = table->item(0, 1)->toolTip();
        for (int row = 0; row < 5; ++row) {
            QTableWidgetItem* name = table->item(row, 1);
            QVERIFY(!name->icon().isNull() && !name->toolTip().isEmpty());
            QCOMPARE(name->toolTip() == converted, row != 2 && row != 3);
        }
        QVERIFY2(table->item(3, 1)->toolTip().contains("no such file"), qPrintable(table->item(3, 1)->toolTip()));
        m_page->nextChoice = QStringList{makePhoto("late.HEIC", "late")};
        m_page->slot_AddItem();
        for (int row = 0; row < 6; ++row)
            QVERIFY(table->item(row, 1)->icon().isNull() && table->item(row, 1)->toolTip().isEmpty());
    }

    void cancelThenNewRunConvertsOnlyTheNewPhotos()
    {
        fillTable(10);
        EngineTest::fakeGate(true);
        startRun(m_out->path());
        auto* progress = m_page->progressDialog();
        QVERIFY(progress);
        QTRY_COMPARE(EngineTest::fakeEntered(), 4);
        // Convert cannot start a second run over this one.
        QVERIFY(!m_page->findChild<QPushButton*>("pushButton_Convert")->isEnabled());

        // Two files done; the workers that wrote them take the next two and wait.
        EngineTest::fakeRelease(2);
        QTRY_COMPARE(m_page->successCount(), 2);
        QTRY_COMPARE(EngineTest::fakeEntered(), 6);

        // Cancel confirmed: nothing more is taken, and the notice waits for the
        // four photos in hand so its count matches the disk.
        progress->slot_CancelConvert();
        QVERIFY(m_stopTipCount.isEmpty());
        EngineTest::fakeRelease(4);
        QTRY_COMPARE(m_stopTipCount, QStringLiteral("6 files have been successfully converted."));
        QVERIFY(workersIdle(*m_page));
        QCOMPARE(EngineTest::fakeEntered(), 6);
        QCOMPARE(jpegsIn(m_out->path() + "/Vantora").size(), 6);
        QVERIFY(EngineTest::drainQueue().isEmpty());

        // A new run with one new photo converts that photo only, counting from 0.
        EngineTest::fakeGate(false);
        m_page->onModal = [this, previous = m_page->onModal](QDialog* dialog) {
            if (qobject_cast<TipDialog*>(dialog) && dialog->findChild<QPushButton*>("pushButton_Yes")) {
                dialog->findChild<QPushButton*>("pushButton_Yes")->click(); // "clear all?" yes
                return int(QDialog::Accepted);
            }
            return previous(dialog);
        };
        m_page->slot_ClearTableView();
        m_page->nextChoice = QStringList{makePhoto("new/fresh.HEIC", "fresh")};
        m_page->slot_AddItem();
        m_steps.clear();
        const QString out2 = m_out->path() + "/second";
        QVERIFY(QDir().mkpath(out2));
        startRun(out2);
        QTRY_VERIFY(!m_page->isRunning());
        QCOMPARE(jpegsIn(out2 + "/Vantora"), QStringList{"fresh.jpg"});
        QCOMPARE(m_steps.size(), 1);
        QCOMPARE(m_steps.first().text, BatchRules::progressText(1, 1));
        QCOMPARE(jpegsIn(m_out->path() + "/Vantora").size(), 6);
    }

    // The photos all end while the cancel question waits: the question goes
    // by itself, the result shows and nothing is cancelled.
    void runEndingUnderTheQuestionShowsTheResult()
    {
        fillTable(3);
        EngineTest::fakeGate(true);
        startRun(m_out->path());
        auto* progress = m_page->progressDialog();
        QTRY_COMPARE(EngineTest::fakeEntered(), 3);
        QSignalSpy cancel(progress, &BatchConvertProgress::signal_CancelConvert);
        QTimer::singleShot(50, [] { EngineTest::fakeGate(false); });
        bool forced = false; // a question left open would wait for ever
        QTimer::singleShot(20000, progress, [&] {
            forced = true;
            progress->findChild<TipDialog*>()->reject();
        });
        progress->slot_isCancelView(); // returns once the question is gone
        QVERIFY(!forced);
        QVERIFY(progress->isFinished());
        QCOMPARE(cancel.size(), 0);
        QCOMPARE(m_page->successCount(), 3);
    }

    void samePhotoNamesOfOneRunGiveSeparateFiles()
    {
        m_page->nextChoice = QStringList{makePhoto("a/photo.HEIC", "a"), makePhoto("b/photo.HEIC", "b"),
                              makePhoto("c/photo.heif", "c")};
        m_page->slot_AddItem();
        // A JPEG left by an earlier run is replaced, not kept beside.
        QVERIFY(QDir().mkpath(m_out->path() + "/Vantora"));
        QFile old(m_out->path() + "/Vantora/photo.jpg");
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();

        startRun(m_out->path());
        QTRY_VERIFY(!m_page->isRunning());
        QCOMPARE(jpegsIn(m_out->path() + "/Vantora"),
                 (QStringList{"photo (2).jpg", "photo (3).jpg", "photo.jpg"}));
        for (const QString& name : jpegsIn(m_out->path() + "/Vantora"))
            QCOMPARE(QImage(m_out->path() + "/Vantora/" + name).size(), QSize(16, 12));
        QCOMPARE(m_page->successCount(), 3);
    }

    void closingThePageMidRunLosesNoFile()
    {
        fillTable(8);
        EngineTest::fakeGate(true);
        startRun(m_out->path());
        QTRY_COMPARE(EngineTest::fakeEntered(), 4);

        // The page goes while four files are in hand. They are let through a
        // moment later from another thread, as a slow decode would end.
        std::thread later([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            EngineTest::fakeGate(false);
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
        QVERIFY(EngineTest::drainQueue().isEmpty()); // the page took its run with it
    }

private:
    // Makes `count` fake photos named p00.HEIC... and adds them (they come
    // ticked, in row order).
    void fillTable(int count, const QByteArray& brokenAt = QByteArray())
    {
        QStringList paths;
        for (int i = 0; i < count; ++i) {
            QByteArray name = QString("p%1").arg(i, 2, 10, QChar('0')).toLatin1();
            if (name == brokenAt)
                name = QByteArray("broken") + name;
            paths << makePhoto(QString::fromLatin1(name) + ".HEIC", name);
        }
        m_page->nextChoice = paths;
        m_page->slot_AddItem();
        QCOMPARE(m_page->tickedRows().size(), count);
    }

    QString makePhoto(const QString& relativePath, const QByteArray& name)
    {
        const QString path = m_sources->filePath(relativePath);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(EngineTest::fakeNamed(name, EngineTest::jpeg(16, 12))) <= 0)
            qFatal("cannot make %s", qPrintable(path));
        return path;
    }

    // Presses Convert, answers the settings with folder and quality, and
    // returns once the workers are started (the progress dialog does not block).
    void startRun(const QString& folder, int quality = 100)
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

    QStringList jpegsIn(const QString& folder) const
    {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    QTemporaryDir* m_sources = nullptr;
    QTemporaryDir* m_out = nullptr;
    TestableFileTable* m_page = nullptr;
    QList<Step> m_steps;
    QString m_stopTipCount;
    QPointer<BatchConvertProgress> m_shownProgress; // the dialog of the latest run
};

PICTOVA_TEST_MAIN(BatchRunTest)
#include "BatchRunTest.moc"

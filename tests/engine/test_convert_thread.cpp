#include "TestSandbox.h"
#include "ConvertThread.h"
#include "DecoderLibrary.h"
#include "EngineTestSupport.h"
#include "WorkQueue.h"

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

#include <memory>
#include <vector>

namespace {

QStringList drainGlobalQueue()
{
    QStringList left;
    ConvertJob job;
    while (WorkQueue::global().take(&job))
        left << job.source;
    return left;
}

} // namespace

// What the workers of one run reported, gathered on this thread.
struct RunReport
{
    QStringList sources;
    QStringList targets;
    QMap<QString, QString> failures; // source -> reason
    int successes = 0;
    QStringList savePathsAfter;
};

class ConvertThreadTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_fake = DecoderLibrary::bindFrom(EngineTest::fakeLibrary());
        QVERIFY2(m_fake.isBound(), qPrintable(m_fake.error));
        // Each failed file logs a line; the reasons are checked through signals.
        QLoggingCategory::setFilterRules(QStringLiteral("pictova.engine.warning=false"));
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QVERIFY(QDir(m_dir->path()).mkdir("out"));
        m_decoder = m_fake.convert;
    }

    void cleanup()
    {
        drainGlobalQueue();
        m_dir.reset();
    }

    void fourWorkersConvertEveryFileOnce()
    {
        QStringList paths;
        QMap<QString, QByteArray> expected; // output name -> bytes
        for (int i = 0; i < 16; ++i) {
            const QByteArray jpeg = EngineTest::jpeg(20 + i, 10);
            paths << makeFile(QStringLiteral("in/IMG_%1.%2").arg(i).arg(i % 2 ? "HEIC" : "heic"),
                              EngineTest::fakeHeic(jpeg));
            expected.insert(QStringLiteral("IMG_%1.jpg").arg(i), jpeg);
        }
        const QByteArray odd = EngineTest::jpeg(9, 9);
        paths << makeFile("in/odd.Heic", EngineTest::fakeHeic(odd));
        expected.insert("odd.Heic", odd); // name kept, JPEG inside
        // The JPEG sorts with its photo in a library: it keeps the photo's time.
        const QDateTime taken = QDateTime::fromSecsSinceEpoch(1500000000);
        {
            QFile first(paths.first());
            QVERIFY(first.open(QIODevice::ReadWrite) && first.setFileTime(taken, QFileDevice::FileModificationTime));
        }
        const QString garbage = makeFile("in/garbage.heic", "definitely not a photo");
        const QString missing = m_dir->filePath("in/missing.heic");
        paths << garbage << missing;

        const QString out = m_dir->filePath("out");
        const RunReport report = run(paths, out, 4);

        QCOMPARE(report.successes, expected.size());
        QCOMPARE(QSet<QString>(report.sources.begin(), report.sources.end()).size(), expected.size());
        QCOMPARE(report.failures.value(garbage), QString("not a HEIF file"));
        QCOMPARE(report.failures.value(missing), QString("no such file"));
        QCOMPARE(report.failures.size(), 2);

        const QString folder = out + "/Vantora";
        QVERIFY(report.savePathsAfter.contains(folder));
        // Exactly the files expected, each with the library's bytes, no leftovers.
        QCOMPARE(EngineTest::entries(folder), QStringList(expected.keys()));
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QCOMPARE(EngineTest::readFile(folder + '/' + it.key()), it.value());
        QCOMPARE(QFileInfo(folder + "/IMG_0.jpg").lastModified(), taken);
        QCOMPARE(drainGlobalQueue(), QStringList());
    }

    void defaultFolderIsOnTheDesktop()
    {
        // The worker's rule, not the preview's: a trailing slash, hence "//".
        const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
        QVERIFY(QDir().mkpath(desktop));
        const QByteArray jpeg = EngineTest::jpeg();
        const RunReport report = run({makeFile("IMG_0001.HEIC", EngineTest::fakeHeic(jpeg))}, QString());
        QCOMPARE(report.targets, QStringList(desktop + "/Vantora//IMG_0001.jpg"));
        QCOMPARE(report.savePathsAfter, QStringList(desktop + "/Vantora/"));
        QCOMPARE(EngineTest::readFile(desktop + "/Vantora/IMG_0001.jpg"), jpeg);
        QVERIFY(QDir(desktop + "/Vantora").removeRecursively());
    }

    void failedSaveLeavesNoFileAndNoSignal()
    {
        // "Vantora" exists as a file, so the folder can be neither made nor used.
        const QString blocked = m_dir->filePath("blocked");
        QVERIFY(QDir().mkpath(blocked));
        QVERIFY(EngineTest::writeFile(blocked + "/Vantora", "in the way"));
        const QString source = makeFile("a.heic", EngineTest::fakeHeic(EngineTest::jpeg()));
        RunReport report = run({source}, blocked);
        QCOMPARE(report.successes, 0);
        QVERIFY(report.targets.isEmpty());
        QVERIFY2(report.failures.value(source).startsWith("cannot write " + blocked + "/Vantora/a.jpg: "),
                 qPrintable(report.failures.value(source)));
        QCOMPARE(EngineTest::entries(blocked), QStringList("Vantora"));
        QCOMPARE(EngineTest::readFile(blocked + "/Vantora"), QByteArray("in the way"));

        // A chosen folder whose parent is missing: only one level is made.
        report = run({source}, m_dir->filePath("missing/deeper"));
        QCOMPARE(report.successes, 0);
        QVERIFY(report.failures.value(source).startsWith("cannot write "));
        QVERIFY(!QFileInfo::exists(m_dir->filePath("missing")));

        // Written, but the last step fails: a folder holds the JPEG's name, so
        // the rename cannot put it in place. Failed, and no temporary is left.
        QVERIFY(QDir().mkpath(m_dir->filePath("out/Vantora/a.jpg/inside")));
        report = run({source}, m_dir->filePath("out"));
        QCOMPARE(report.successes, 0);
        QVERIFY(report.failures.value(source).startsWith("cannot write "));
        QCOMPARE(EngineTest::entries(m_dir->filePath("out/Vantora")), QStringList("a.jpg"));

#ifdef Q_OS_UNIX
        if (::geteuid() == 0)
            QSKIP("root writes into read-only folders");
#endif
        const QString readOnly = m_dir->filePath("ro/Vantora");
        QVERIFY(QDir().mkpath(readOnly));
        QVERIFY(QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::ExeOwner));
        report = run({source}, m_dir->filePath("ro"));
        QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY(report.failures.value(source).contains("Permission denied"));
        QCOMPARE(EngineTest::entries(readOnly), QStringList()); // no temporary file either
    }

    void stopFlagFinishesTheFileInHandAndKeepsTheRest()
    {
        const QByteArray slowJpeg = EngineTest::jpeg(33, 22);
        const QString slow = makeFile("slow.heic", EngineTest::fakeHeic(slowJpeg, "FAKESLOW"));
        const QStringList rest{makeFile("r1.heic", EngineTest::fakeHeic(EngineTest::jpeg())),
                               m_dir->filePath("r2-missing.heic")};
        WorkQueue::global().put(slow);
        for (const QString& path : rest)
            WorkQueue::global().put(path);

        RunReport report;
        ConvertThread worker;
        watch(worker, report);
        worker.setDecoder(m_fake.convert);
        worker.setSavePath(m_dir->filePath("out"));
        const int before = EngineTest::fakeCalls();
        worker.start();
        QTRY_VERIFY(EngineTest::fakeCalls() > before); // the slow file is in the library
        worker.setStopFlag(true);
        QVERIFY(worker.wait(10000));
        QCoreApplication::sendPostedEvents();

        QCOMPARE(report.sources, QStringList(slow));
        QCOMPARE(report.successes, 1);
        QCOMPARE(EngineTest::readFile(m_dir->filePath("out/Vantora/slow.jpg")), slowJpeg);
        QCOMPARE(drainGlobalQueue(), rest);
    }

    void sourceIsNeverReplacedByItsJpeg()
    {
        const QByteArray heic = EngineTest::fakeHeic(EngineTest::jpeg());
        const QString source = makeFile("keep/Vantora/photo.Heic", heic);
        const RunReport report = run({source}, m_dir->filePath("keep/Vantora"));
        QCOMPARE(report.successes, 0);
        QVERIFY(report.failures.value(source).startsWith("would replace the source file"));
        QCOMPARE(EngineTest::readFile(source), heic);

        // The same file name elsewhere is simply overwritten.
        const QString out = m_dir->filePath("other");
        QVERIFY(QDir().mkpath(out + "/Vantora"));
        QVERIFY(EngineTest::writeFile(out + "/Vantora/photo.Heic", "old"));
        QCOMPARE(run({source}, out).successes, 1);
        QCOMPARE(EngineTest::readFile(out + "/Vantora/photo.Heic"), heic.mid(8));
    }

    void missingDecoderFailsEveryFileWithoutCalling()
    {
        const QStringList sources{makeFile("c.heic", EngineTest::fakeHeic(EngineTest::jpeg())),
                                  makeFile("d.heic", EngineTest::fakeHeic(EngineTest::jpeg()))};
        const int before = EngineTest::fakeCalls();
        m_decoder = nullptr;
        const RunReport report = run(sources, m_dir->filePath("out"));
        QCOMPARE(EngineTest::fakeCalls(), before);
        QCOMPARE(report.successes, 0);
        for (const QString& path : sources)
            QCOMPARE(report.failures.value(path), QString("decoding library not found"));
    }

    void destroyingARunningWorkerWaitsForIt()
    {
        const QString slow = makeFile("slow2.heic", EngineTest::fakeHeic(EngineTest::jpeg(), "FAKESLOW"));
        const QString next = makeFile("next.heic", EngineTest::fakeHeic(EngineTest::jpeg()));
        WorkQueue::global().put(slow);
        WorkQueue::global().put(next);
        auto worker = std::make_unique<ConvertThread>();
        worker->setDecoder(m_fake.convert);
        worker->setSavePath(m_dir->filePath("out"));
        const int before = EngineTest::fakeCalls();
        worker->start();
        QTRY_VERIFY(EngineTest::fakeCalls() > before);
        worker.reset();
        QVERIFY(QFileInfo::exists(m_dir->filePath("out/Vantora/slow2.jpg")));
        QCOMPARE(drainGlobalQueue(), QStringList(next));
    }

private:
    // Queues `paths` and runs `workerCount` workers, set up as the page does,
    // to their end.

    RunReport run(const QStringList& paths, const QString& savePath, int workerCount = 1)
    {
        static const char* const scratch[] = {"temp1.hevc", "temp2.hevc", "temp3.hevc", "temp4.hevc"};
        RunReport report;
        std::vector<std::unique_ptr<ConvertThread>> workers;
        for (const QString& path : paths)
            WorkQueue::global().put(path);
        for (int i = 0; i < workerCount; ++i) {
            workers.push_back(std::make_unique<ConvertThread>());
            ConvertThread& worker = *workers.back();
            watch(worker, report);
            worker.setDecoder(m_decoder);
            worker.setQuality(90);
            worker.setSavePath(savePath);
            worker.setScratchFileName(scratch[i % 4]);
            worker.setStopFlag(false);
            worker.start();
        }
        for (auto& worker : workers)
            worker->wait();
        QCoreApplication::sendPostedEvents();
        for (auto& worker : workers)
            report.savePathsAfter << worker->savePath();
        return report;
    }

    void watch(ConvertThread& worker, RunReport& report)
    {
        connect(&worker, &ConvertThread::signal_FileConverted, this,
                [&report](const QString& source, const QString& target) {
                    report.sources << source;
                    report.targets << target;
                });
        connect(&worker, &ConvertThread::signal_FileFailed, this,
                [&report](const QString& source, const QString& reason) { report.failures.insert(source, reason); });
        connect(&worker, &ConvertThread::signal_ConvertSuccess, this, [&report] { ++report.successes; });
    }

    QString makeFile(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir->filePath(name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        return EngineTest::writeFile(path, bytes) ? path : QString();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    DecoderLibrary::Functions m_fake;
    Heif2JpgFn m_decoder = nullptr; // what run() hands the workers
};

PICTOVA_TEST_GUILESS_MAIN(ConvertThreadTest)
#include "test_convert_thread.moc"

// The batch worker on its own, with the stand-in library: every photo of
// the queue converted once or failed with its reason, and a failed save
// never reported as converted.
#include "TestSandbox.h"
#include "ConvertThread.h"
#include "DecoderLibrary.h"
#include "EngineTestSupport.h"
#include "HeicDecoder.h"
#include "MemoryBudget.h"
#include "WorkQueue.h"

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

#include <memory>
#include <vector>

namespace {

// What the workers of one run reported, gathered on this thread.
struct RunReport
{
    QStringList sources;
    QStringList targets;
    QMap<QString, QString> failures; // source -> reason
    QStringList savePathsAfter;
};

} // namespace

class ConvertThreadTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    Heif2JpgFn m_decoder = nullptr;

    // Queues `paths` and runs `workerCount` workers, set up as the page does,
    // to their end.
    RunReport run(const QStringList& paths, const QString& savePath, int workerCount = 1)
    {
        RunReport report;
        std::vector<std::unique_ptr<ConvertThread>> workers;
        for (const QString& path : paths)
            WorkQueue::global().put(path);
        for (int i = 0; i < workerCount; ++i) {
            workers.push_back(std::make_unique<ConvertThread>());
            ConvertThread* worker = workers.back().get();
            connect(worker, &ConvertThread::signal_FileConverted, this, [&report](const QString& source, const QString& target) {
                report.sources << source;
                report.targets << target;
            });
            connect(worker, &ConvertThread::signal_FileFailed, this,
                    [&report](const QString& source, const QString& reason) { report.failures.insert(source, reason); });
            worker->setDecoder(m_decoder);
            worker->setQuality(90);
            worker->setSavePath(savePath);
            worker->setStopFlag(false);
            worker->start();
        }
        for (auto& worker : workers)
            worker->wait();
        QCoreApplication::sendPostedEvents();
        for (auto& worker : workers)
            report.savePathsAfter << worker->savePath();
        return report;
    }

    QString makeFile(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir->filePath(name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        return EngineTest::writeFile(path, bytes) ? path : QString();
    }

private slots:
    void initTestCase()
    {
        const DecoderLibrary::Functions fake = DecoderLibrary::bindFrom(EngineTest::fakeLibrary());
        QVERIFY2(fake.isBound(), qPrintable(fake.error));
        m_decoder = fake.convert;
        // Each failed file logs a line; the reasons are checked through signals.
        QLoggingCategory::setFilterRules(QStringLiteral("pictova.engine.warning=false"));
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid() && QDir(m_dir->path()).mkdir("out"));
    }

    void cleanup()
    {
        EngineTest::drainQueue();
        m_dir.reset();
    }

    void fourWorkersConvertEveryFileOnce()
    {
        QStringList paths;
        QMap<QString, QByteArray> expected; // output name -> bytes
        for (int i = 0; i < 16; ++i) {
            const QByteArray jpeg = EngineTest::jpeg(20 + i, 10);
            paths << makeFile(QStringLiteral("in/IMG_%1.%2").arg(i).arg(i % 2 ? "HEIC" : "heic"), EngineTest::fakeHeic(jpeg));
            expected.insert(QStringLiteral("IMG_%1.jpg").arg(i), jpeg);
        }
        const QByteArray odd = EngineTest::jpeg(9, 9);
        paths << makeFile("in/odd.Heic", EngineTest::fakeHeic(odd));
        expected.insert("odd.Heic", odd); // the worker's own rule: name kept, JPEG inside
        // The JPEG sorts with its photo in a library: it keeps the photo's time.
        const QDateTime taken = QDateTime::fromSecsSinceEpoch(1500000000);
        QFile first(paths.first());
        QVERIFY(first.open(QIODevice::ReadWrite) && first.setFileTime(taken, QFileDevice::FileModificationTime));
        first.close();
        const QString garbage = makeFile("in/garbage.heic", "definitely not a photo");
        const QString missing = m_dir->filePath("in/missing.heic");

        const RunReport report = run(paths + QStringList{garbage, missing}, m_dir->filePath("out"), 4);
        QCOMPARE(QSet<QString>(report.sources.begin(), report.sources.end()).size(), report.sources.size());
        QCOMPARE(report.sources.size(), expected.size());
        QCOMPARE(report.failures, (QMap<QString, QString>{{garbage, "not a HEIF file"}, {missing, "no such file"}}));
        const QString folder = m_dir->filePath("out/Vantora");
        QVERIFY(report.savePathsAfter.contains(folder));
        // Exactly the files expected, each with the library's bytes, no leftovers.
        QCOMPARE(EngineTest::entries(folder), QStringList(expected.keys()));
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QCOMPARE(EngineTest::readFile(folder + '/' + it.key()), it.value());
        QCOMPARE(QFileInfo(folder + "/IMG_0.jpg").lastModified(), taken);
        QCOMPARE(EngineTest::drainQueue(), QStringList());
    }

    void failedSaveLeavesNoFileAndIsNotConverted()
    {
        // "Vantora" exists as a file, so the folder can be neither made nor used.
        const QString blocked = m_dir->filePath("blocked");
        QVERIFY(QDir().mkpath(blocked));
        QVERIFY(EngineTest::writeFile(blocked + "/Vantora", "in the way"));
        const QString source = makeFile("a.heic", EngineTest::fakeHeic(EngineTest::jpeg()));
        RunReport report = run({source}, blocked);
        QVERIFY(report.targets.isEmpty());
        QVERIFY2(report.failures.value(source).startsWith("cannot write " + blocked + "/Vantora/a.jpg: "),
                 qPrintable(report.failures.value(source)));
        QCOMPARE(EngineTest::readFile(blocked + "/Vantora"), QByteArray("in the way"));

        // A chosen folder whose parent is missing: only one level is made.
        report = run({source}, m_dir->filePath("missing/deeper"));
        QVERIFY(report.targets.isEmpty() && report.failures.value(source).startsWith("cannot write "));
        QVERIFY(!QFileInfo::exists(m_dir->filePath("missing")));

        // Written, but the last step fails: a folder holds the JPEG's name, so
        // the rename cannot put it in place. Failed, and no temporary is left.
        QVERIFY(QDir().mkpath(m_dir->filePath("out/Vantora/a.jpg/inside")));
        report = run({source}, m_dir->filePath("out"));
        QVERIFY(report.targets.isEmpty() && report.failures.value(source).startsWith("cannot write "));
        QCOMPARE(EngineTest::entries(m_dir->filePath("out/Vantora")), QStringList("a.jpg"));

#ifdef Q_OS_UNIX
        if (::geteuid() == 0)
            QSKIP("root writes into read-only folders");
#else
        QSKIP("Windows ignores a folder's read-only attribute when files are written into it");
#endif
        const QString readOnly = m_dir->filePath("ro/Vantora");
        QVERIFY(QDir().mkpath(readOnly));
        QVERIFY(QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::ExeOwner));
        report = run({source}, m_dir->filePath("ro"));
        QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY(report.failures.value(source).contains("Permission denied"));
        QCOMPARE(EngineTest::entries(readOnly), QStringList()); // no temporary file either
    }

    // A worker deleted in the middle of a photo finishes it first; the
    // photos behind it stay queued.
    void destroyingARunningWorkerWaitsForIt()
    {
        WorkQueue::global().put(makeFile("slow.heic", EngineTest::fakeHeic(EngineTest::jpeg(), "FAKESLOW")));
        const QString next = makeFile("next.heic", EngineTest::fakeHeic(EngineTest::jpeg()));
        WorkQueue::global().put(next);
        auto worker = std::make_unique<ConvertThread>();
        worker->setDecoder(m_decoder);
        worker->setSavePath(m_dir->filePath("out"));
        const int before = EngineTest::fakeCalls();
        worker->start();
        QTRY_VERIFY(EngineTest::fakeCalls() > before);
        worker.reset();
        QVERIFY(QFileInfo::exists(m_dir->filePath("out/Vantora/slow.jpg")));
        QCOMPARE(EngineTest::drainQueue(), QStringList(next));
    }

    void workersWaitingForMemoryHoldOnlyTheHeader()
    {
        // 64 workers and room for one photo at a time: the others wait for
        // the budget before reading more than a file's header, so bytes
        // changed beyond it while they wait are what they convert.
        const int count = 64;
        const QByteArray tail(HeicDecoder::kHeaderBytes, 'a');
        MemoryBudget::global().setLimit(4 * tail.size()); // a file fits, two photos' decoding do not
        EngineTest::fakeReset();
        EngineTest::fakeGate(true);
        QStringList paths;
        for (int i = 0; i < count; ++i) {
            paths << makeFile(QStringLiteral("in/p%1.heic").arg(i), EngineTest::fakeNamed("p", EngineTest::jpeg() + tail));
            WorkQueue::global().put(paths.last());
        }
        std::vector<std::unique_ptr<ConvertThread>> workers;
        for (int i = 0; i < count; ++i) {
            workers.push_back(std::make_unique<ConvertThread>());
            workers.back()->setDecoder(m_decoder);
            workers.back()->setSavePath(m_dir->filePath("out"));
            workers.back()->start();
        }
        QTRY_COMPARE(MemoryBudget::global().waiting(), count - 1);
        QCOMPARE(EngineTest::fakeEntered(), 1);
        for (const QString& path : paths) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(file.size() - 1) && file.write("b") == 1);
        }
        EngineTest::fakeGate(false);
        for (auto& worker : workers)
            worker->wait();
        MemoryBudget::global().setLimit(0);
        int readLate = 0;
        for (const QString& name : EngineTest::entries(m_dir->filePath("out/Vantora")))
            readLate += EngineTest::readFile(m_dir->filePath("out/Vantora/" + name)).endsWith('b');
        QCOMPARE(readLate, count - 1); // all but the one let in first
    }

    void sourceIsNeverReplacedByItsJpeg()
    {
        const QByteArray heic = EngineTest::fakeHeic(EngineTest::jpeg());
        const QString source = makeFile("keep/Vantora/photo.Heic", heic);
        const RunReport report = run({source}, m_dir->filePath("keep/Vantora"));
        QVERIFY(report.targets.isEmpty());
        QVERIFY(report.failures.value(source).startsWith("would replace the source file"));
        QCOMPARE(EngineTest::readFile(source), heic);

        // The same file name elsewhere is simply overwritten.
        const QString out = m_dir->filePath("other");
        QVERIFY(QDir().mkpath(out + "/Vantora"));
        QVERIFY(EngineTest::writeFile(out + "/Vantora/photo.Heic", "old"));
        QCOMPARE(run({source}, out).targets.size(), 1);
        QCOMPARE(EngineTest::readFile(out + "/Vantora/photo.Heic"), heic.mid(8));

#ifdef Q_OS_UNIX
        // A link at the JPEG's name is replaced, never followed: one to the
        // photo itself, one to nothing.
        const QString linked = makeFile("l/a.heic", heic), dangling = makeFile("l/b.heic", heic);
        QVERIFY(QDir().mkpath(m_dir->filePath("l/Vantora")) && QFile::link(linked, m_dir->filePath("l/Vantora/a.jpg"))
                && QFile::link(m_dir->filePath("nowhere"), m_dir->filePath("l/Vantora/b.jpg")));
        QCOMPARE(run({linked, dangling}, m_dir->filePath("l")).targets.size(), 2);
        QCOMPARE(EngineTest::readFile(linked), heic);
        QVERIFY(!QFileInfo::exists(m_dir->filePath("nowhere")));
        QVERIFY(!QFileInfo(m_dir->filePath("l/Vantora/a.jpg")).isSymLink() && !QFileInfo(m_dir->filePath("l/Vantora/b.jpg")).isSymLink());
#endif
    }
};

PICTOVA_TEST_GUILESS_MAIN(ConvertThreadTest)
#include "test_convert_thread.moc"

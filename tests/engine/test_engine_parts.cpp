// The engine's parts that need no decoder: the work queue, the memory
// budget, and the writer every JPEG goes through.
#include "TestSandbox.h"
#include "AtomicFileWriter.h"
#include "EngineTestSupport.h"
#include "MemoryBudget.h"
#include "WorkQueue.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>
#endif

class EnginePartsTest : public QObject
{
    Q_OBJECT

private slots:
    void queueKeepsOrderAndEmptiesForTheNextRun()
    {
        WorkQueue queue;
        ConvertJob job;
        QVERIFY(!queue.take(&job));
        // Odd items come out as they went in: "exit" is a photo like any other.
        const QStringList run1{"/x/1.HEIC", "exit", "", "/x/1.HEIC", "/y/ü.heic"};
        for (const QString& item : run1)
            queue.put(item);
        QVERIFY(queue.take(&job) && job.source == run1[0]);
        // A cancelled run leaves nothing behind for the next one.
        QCOMPARE(queue.clear(), run1.size() - 1);
        queue.put(ConvertJob{"/run2/a", "/out/a (2).jpg"});
        QVERIFY(queue.take(&job));
        QCOMPARE(job.source, QString("/run2/a"));
        QCOMPARE(job.target, QString("/out/a (2).jpg"));
        QVERIFY(!queue.take(&job));
    }

    void fourTakersShareEveryPathExactlyOnce()
    {
        constexpr int kPaths = 4000;
        WorkQueue queue;
        for (int i = 0; i < kPaths; ++i)
            queue.put(QString::number(i));
        // Takers run as the workers do: take until the queue is empty.
        std::vector<int> taken[4];
        std::vector<std::thread> takers;
        for (auto& mine : taken)
            takers.emplace_back([&queue, &mine] {
                ConvertJob job;
                while (queue.take(&job))
                    mine.push_back(job.source.toInt());
            });
        for (auto& taker : takers)
            taker.join();
        std::vector<int> seen;
        for (const auto& mine : taken) {
            QVERIFY(std::is_sorted(mine.begin(), mine.end())); // each in queue order
            seen.insert(seen.end(), mine.begin(), mine.end());
        }
        std::sort(seen.begin(), seen.end());
        QCOMPARE(int(seen.size()), kPaths);
        QCOMPARE(std::adjacent_find(seen.begin(), seen.end()), seen.end());
    }

    void photosWaitForRoomInTheOrderTheyAsked()
    {
        MemoryBudget budget(100);
        std::vector<std::thread> threads;
        // Whatever fails below, no thread is left waiting or unjoined.
        struct Joiner
        {
            MemoryBudget& budget;
            std::vector<std::thread>& threads;
            ~Joiner()
            {
                budget.setLimit(qint64(1) << 40);
                for (std::thread& t : threads)
                    if (t.joinable())
                        t.join();
            }
        } joiner{budget, threads};
        std::atomic_int started{0};
        auto ask = [&](qint64 bytes) {
            const int before = budget.waiting();
            threads.emplace_back([&, bytes] {
                budget.acquire(bytes);
                ++started;
            });
            // Each asks only once the one before is in line.
            QTRY_VERIFY(budget.waiting() > before || started.load() == int(threads.size()));
        };

        // Alone, a photo bigger than the whole budget still starts.
        budget.acquire(250);
        ask(60);
        ask(10); // would fit, but waits its turn
        QTest::qWait(100);
        QCOMPARE(started.load(), 0);
        // Room for the first; the small one behind it then fits beside it too.
        budget.release(250);
        QTRY_COMPARE(started.load(), 2);

        // A big photo waiting is not overtaken by a small one asking after it.
        ask(80);
        ask(5);
        QTest::qWait(100);
        QCOMPARE(started.load(), 2);
        budget.setLimit(1000); // a larger limit lets both in at once
        QTRY_COMPARE(started.load(), 4);
        QCOMPARE(budget.inUse(), qint64(155));
        for (qint64 bytes : {60, 10, 80, 5})
            budget.release(bytes);
        QCOMPARE(budget.inUse(), qint64(0));
        budget.setLimit(0);
        QVERIFY(budget.limit() > 0); // the default: a share of the machine's memory
    }

    void writerKeepsDateAndPermissionsAndCleansLeftovers()
    {
        QTemporaryDir dir;
        // The longest name a file system allows: a temporary name made from
        // it would be too long.
        const QString name = QString(251, 'p') + ".jpg";
        const QString path = dir.filePath(name);
        QVERIFY(EngineTest::writeFile(path, "old"));
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup));
        // What a killed run left; what another run is writing (its process
        // runs), or another computer on a shared folder; the person's own
        // files.
#ifdef Q_OS_UNIX
        const qint64 running = ::getppid();
#else
        const qint64 running = QCoreApplication::applicationPid();
#endif
        const QByteArray killed = AtomicFileWriter::temporaryPrefix(EngineTest::kEndedProcess) + "Ab12Z9";
        QByteArray elsewhere = killed;
        elsewhere.replace(elsewhere.size() - 11, 4, elsewhere.mid(elsewhere.size() - 11, 4) == "0000" ? "ffff" : "0000");
        const QStringList kept{AtomicFileWriter::temporaryPrefix(running) + "Ab12Z9", elsewhere, ".p.jpg.Ab12Z9",
                               ".p.jpg.backup", "p.jpg.Ab12Z9"};
        for (const QString& leftover : kept + QStringList(killed))
            QVERIFY(EngineTest::writeFile(dir.filePath(leftover), "x"));
        const QDateTime taken = QDateTime::fromMSecsSinceEpoch(1500000000123);
        QString error;
        QVERIFY2(AtomicFileWriter::write(path, "new", &error, taken), qPrintable(error));
        QCOMPARE(EngineTest::readFile(path), QByteArray("new"));
        QCOMPARE(QFileInfo(path).lastModified(), taken);
#ifdef Q_OS_UNIX // Windows files have no owner and group bits
        // The owner's and the group's bits as they were (0640), not a new file's.
        QCOMPARE(QFileInfo(path).permissions() & 0x0FFF, QFile::ReadUser | QFile::WriteUser | QFile::ReadGroup);
#endif
        QStringList expected = kept + QStringList(name);
        expected.sort();
        QCOMPARE(EngineTest::entries(dir.path()), expected);
    }

    void failedWriteKeepsTheOldFileAndSaysWhy_data()
    {
        QTest::addColumn<QString>("setUp");
        QTest::addColumn<QString>("reason");
        QTest::newRow("disk full part-way") << "limit" << "File too large";
        QTest::newRow("a folder has the name") << "folder" << "Is a directory";
        QTest::newRow("no such folder") << "missing" << "No such file or directory";
        QTest::newRow("read-only folder") << "readonly" << "Permission denied";
    }

    void failedWriteKeepsTheOldFileAndSaysWhy()
    {
#ifdef Q_OS_UNIX
        QFETCH(QString, setUp);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        QString path = dir.filePath("p.jpg");
        QVERIFY(EngineTest::writeFile(path, "old"));
        const QByteArray bytes(64 * 1024, 'j');
        QString error;
        bool written = true;
        if (setUp == "limit") {
            // As far as the writer can tell the disk fills: write() stops
            // short, then fails.
            rlimit before{};
            QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
            rlimit small = before;
            small.rlim_cur = 4096;
            const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
            QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
            written = AtomicFileWriter::write(path, bytes, &error);
            ::setrlimit(RLIMIT_FSIZE, &before);
            std::signal(SIGXFSZ, oldHandler);
        } else if (setUp == "folder") {
            path = dir.filePath("sub");
            QVERIFY(QDir().mkpath(path + "/inside"));
            written = AtomicFileWriter::write(path, bytes, &error);
        } else if (setUp == "missing") {
            written = AtomicFileWriter::write(dir.filePath("gone/p.jpg"), bytes, &error);
        } else {
            if (::geteuid() == 0)
                QSKIP("root writes into read-only folders");
            QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner));
            written = AtomicFileWriter::write(path, bytes, &error);
            QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        QVERIFY(!written);
        QVERIFY2(error.startsWith("cannot write ") && error.endsWith(": " + reason), qPrintable(error));
        QCOMPARE(EngineTest::readFile(dir.filePath("p.jpg")), QByteArray("old"));
        // Nothing half-written and no temporary file stays behind.
        QCOMPARE(EngineTest::entries(dir.path()), setUp == "folder" ? QStringList({"p.jpg", "sub"}) : QStringList("p.jpg"));
#endif
    }
};

PICTOVA_TEST_GUILESS_MAIN(EnginePartsTest)
#include "test_engine_parts.moc"

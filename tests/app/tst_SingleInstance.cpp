// Starts the real program as separate processes: one copy at a time per
// user, and a copy that died (even by SIGKILL) never keeps the next one out.
#include "TestSandbox.h"

#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

#include <memory>

class tst_SingleInstance : public QObject
{
    Q_OBJECT

    // The copies inherit the test's temporary home, so a Pictova the
    // developer has open does not count.
    static QString program()
    {
        return QStandardPaths::findExecutable("Pictova", {QCoreApplication::applicationDirPath()});
    }

    static std::unique_ptr<QProcess> start()
    {
        auto process = std::make_unique<QProcess>();
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(program(), QStringList());
        return process;
    }

    // A refused copy exits with -1, which POSIX reports as 255.
    static bool refused(const QProcess& p)
    {
        return p.state() == QProcess::NotRunning && p.exitStatus() == QProcess::NormalExit
            && (p.exitCode() == -1 || p.exitCode() == 255);
    }

private slots:
    void secondCopyIsRefusedAndKilledCopyFreesTheLock()
    {
        if (program().isEmpty())
            QSKIP("the Pictova executable is not built beside the tests");
        qputenv("QT_QPA_PLATFORM", "offscreen");
        auto first = start();
        QVERIFY(first->waitForStarted());
        QTest::qWait(300);
        auto second = start();
        QVERIFY(second->waitForStarted());
        // Which of the two takes the lock is up to the scheduler; exactly one leaves.
        QVERIFY(QTest::qWaitFor([&] { return first->state() == QProcess::NotRunning
                                          || second->state() == QProcess::NotRunning; }, 60000));
        QProcess* gone = first->state() == QProcess::NotRunning ? first.get() : second.get();
        QProcess* running = gone == first.get() ? second.get() : first.get();
        QVERIFY(refused(*gone));
        QVERIFY(!running->waitForFinished(1000));

        // SIGKILL: no clean-up of any kind runs in the holder.
        running->kill();
        QVERIFY(running->waitForFinished(10000));
        auto third = start();
        QVERIFY2(!third->waitForFinished(2000), "a copy after a killed one did not start");
        auto fourth = start();
        QVERIFY(fourth->waitForFinished(60000));
        QVERIFY(refused(*fourth));
        third->kill();
        third->waitForFinished(10000);
    }
};

PICTOVA_TEST_GUILESS_MAIN(tst_SingleInstance)
#include "tst_SingleInstance.moc"

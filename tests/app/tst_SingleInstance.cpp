// Starts the real program as separate processes: one copy at a time per
// user, and a copy that died (even by SIGKILL) never keeps the next one out.
#include "TestSandbox.h"
#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

// A process refused by the guard exits with -1, which the system reports as
// 255 on POSIX.
bool refusedExitCode(int code)
{
    return code == -1 || code == 255;
}

} // namespace

class tst_SingleInstance : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void secondCopyIsRefusedAndKilledCopyFreesTheLock();

private:
    std::unique_ptr<QProcess> start();
    // Waits until exactly one of two racing copies gave up; returns it.
    QProcess* waitForRefusal(QProcess* a, QProcess* b);

    QString m_program;
    QTemporaryDir m_home;
    QProcessEnvironment m_env;
};

void tst_SingleInstance::initTestCase()
{
    m_program = QCoreApplication::applicationDirPath() + QStringLiteral("/Pictova");
    QVERIFY(m_home.isValid());
    // Each run gets its own home and runtime folder, so a Pictova the
    // developer has open does not count, and nothing lands on the real desktop.
    m_env = QProcessEnvironment::systemEnvironment();
    m_env.insert("HOME", m_home.path());
    m_env.insert("XDG_CONFIG_HOME", m_home.path() + "/config");
    m_env.insert("XDG_DATA_HOME", m_home.path() + "/data");
    m_env.insert("XDG_CACHE_HOME", m_home.path() + "/cache");
    m_env.insert("XDG_RUNTIME_DIR", m_home.path());
    m_env.insert("QT_QPA_PLATFORM", "offscreen");
}

std::unique_ptr<QProcess> tst_SingleInstance::start()
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(m_env);
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(m_program, QStringList());
    return process;
}

QProcess* tst_SingleInstance::waitForRefusal(QProcess* a, QProcess* b)
{
    // Which of two copies takes the lock first is up to the scheduler; the
    // guard's promise is that exactly one of them leaves.
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 60000) {
        if (a->state() == QProcess::NotRunning)
            return a;
        if (b->state() == QProcess::NotRunning)
            return b;
        QTest::qWait(50);
    }
    return nullptr;
}

void tst_SingleInstance::secondCopyIsRefusedAndKilledCopyFreesTheLock()
{
    if (!QFileInfo(m_program).isExecutable())
        QSKIP("the Pictova executable is not built beside the tests");
    auto first = start();
    QVERIFY(first->waitForStarted());
    QTest::qWait(300);
    auto second = start();
    QVERIFY(second->waitForStarted());

    QProcess* refused = waitForRefusal(first.get(), second.get());
    QVERIFY2(refused, "neither copy gave up");
    QCOMPARE(refused->exitStatus(), QProcess::NormalExit);
    QVERIFY2(refusedExitCode(refused->exitCode()), qPrintable(QString::number(refused->exitCode())));
    QProcess* running = refused == first.get() ? second.get() : first.get();
    QVERIFY(!running->waitForFinished(1000));
    QCOMPARE(running->state(), QProcess::Running);

    // SIGKILL: no destructor, no clean-up of any kind runs in the holder.
    running->kill();
    QVERIFY(running->waitForFinished(10000));

    auto third = start();
    QVERIFY(third->waitForStarted());
    QVERIFY2(!third->waitForFinished(2000), "a copy after a crashed one did not start");

    auto fourth = start();
    QVERIFY(fourth->waitForFinished(60000));
    QVERIFY(refusedExitCode(fourth->exitCode()));
    QCOMPARE(third->state(), QProcess::Running);

    third->terminate();
    if (!third->waitForFinished(10000)) {
        third->kill();
        third->waitForFinished(10000);
    }
}

PICTOVA_TEST_GUILESS_MAIN(tst_SingleInstance)
#include "tst_SingleInstance.moc"

// Starts the real program as separate processes: one copy at a time per
// user, a later start hands its files to the running copy, a copy that died
// (even by SIGKILL) never keeps the next one out, and nobody else can take
// the lock.
#include "TestSandbox.h"

#include "HeicFixture.h"
#include "InstanceHandoff.h"

#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

#include <memory>

#ifndef Q_OS_WIN
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

// One copy of the program, its output gathered as it comes.
struct Copy
{
    std::unique_ptr<QProcess> process = std::make_unique<QProcess>();
    QString output;

    bool says(const QString& text, int timeoutMs = 30000)
    {
        return QTest::qWaitFor([&] {
            output += QString::fromLocal8Bit(process->readAll());
            return output.contains(text);
        }, timeoutMs);
    }
};

QString program()
{
    return QStandardPaths::findExecutable("Pictova", {QCoreApplication::applicationDirPath()});
}

// The copies inherit the test's temporary home, so a Pictova the developer
// has open does not count; they tell what they open.
std::unique_ptr<Copy> start(const QStringList& files, const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment())
{
    auto copy = std::make_unique<Copy>();
    QProcessEnvironment withLog = env;
    withLog.insert("QT_LOGGING_RULES", "pictova.window.info=true");
    withLog.insert("QT_QPA_PLATFORM", "offscreen");
    copy->process->setProcessEnvironment(withLog);
    copy->process->setProcessChannelMode(QProcess::MergedChannels);
    copy->process->start(program(), files);
    return copy;
}

// A refused copy exits with -1, which POSIX reports as 255.
bool refused(const QProcess& p)
{
    return p.state() == QProcess::NotRunning && p.exitStatus() == QProcess::NormalExit
        && (p.exitCode() == -1 || p.exitCode() == 255);
}

void stop(Copy& copy)
{
    copy.process->kill();
    copy.process->waitForFinished(10000);
}

} // namespace

class tst_SingleInstance : public QObject
{
    Q_OBJECT

    QTemporaryDir m_photos;

private slots:
    void initTestCase()
    {
        if (program().isEmpty())
            QSKIP("the Pictova executable is not built beside the tests");
        QVERIFY(m_photos.isValid());
        QDir(m_photos.path()).mkpath("card/DCIM");
        for (const char* name : {"a.heic", "b.HEIF", "card/c.hif", "card/DCIM/d.HEIC"})
            QVERIFY(HeicFixture::write(m_photos.filePath(name), HeicFixture::quadrants(32, 32)));
    }

    // The second start's files, a folder among them, arrive in the first
    // copy, which was showing one photo and now shows them all in a list.
    // A copy killed outright leaves nothing that keeps the next one out.
    void laterStartsHandTheirFilesToTheRunningCopy()
    {
        auto first = start({m_photos.filePath("a.heic")});
        QVERIFY2(first->says("preview: " + m_photos.filePath("a.heic")), qPrintable(first->output));

        // Relative names mean the second start's folder, not the first's.
        auto second = std::make_unique<Copy>();
        second->process->setWorkingDirectory(m_photos.path());
        second->process->setProcessChannelMode(QProcess::MergedChannels);
        second->process->start(program(), {"b.HEIF", "card"});
        QVERIFY(second->process->waitForFinished(30000));
        QVERIFY2(refused(*second->process), qPrintable(second->output));
        const QString list = "list: " + QStringList{m_photos.filePath("b.HEIF"), m_photos.filePath("card/DCIM/d.HEIC"),
                                                    m_photos.filePath("card/c.hif")}.join(' ');
        QVERIFY2(first->says(list), qPrintable(first->output));
        QVERIFY(first->process->state() == QProcess::Running);

        stop(*first);
        auto third = start({});
        QVERIFY2(!third->process->waitForFinished(2000), "a copy after a killed one did not start");
        auto fourth = start({});
        QVERIFY(fourth->process->waitForFinished(30000));
        QVERIFY(refused(*fourth->process));
        QVERIFY(fourth->says("already running"));
        stop(*third);
    }

#ifndef Q_OS_WIN
    // Without a runtime folder the lock goes to a folder in the temporary
    // folder, where anybody may have made that name first: another user's
    // folder neither stops the program nor leaves the person guessing, and a
    // folder of ours that others could enter is closed to them.
    void nobodyElseCanTakeTheLock_data()
    {
        QTest::addColumn<bool>("otherUsers");
        QTest::newRow("another user's folder") << true;
        QTest::newRow("our folder, open to all") << false;
    }

    void nobodyElseCanTakeTheLock()
    {
        QFETCH(bool, otherUsers);
        if (otherUsers && ::getuid() != 0)
            QSKIP("only root can make a folder that belongs to another user");
        QTemporaryDir temp;
        const QString folder = temp.filePath(QStringLiteral("pictova-%1").arg(::getuid()));
        QVERIFY(QDir().mkdir(folder));
        QVERIFY(::chmod(QFile::encodeName(folder).constData(), 0777) == 0);
        if (otherUsers)
            QVERIFY(::chown(QFile::encodeName(folder).constData(), 65534, 65534) == 0);
        // What a squatter leaves: a lock anybody may lock.
        QFile planted(folder + "/Pictova.lock");
        QVERIFY(planted.open(QIODevice::WriteOnly));
        planted.close();
        if (otherUsers)
            QVERIFY(::chown(QFile::encodeName(planted.fileName()).constData(), 65534, 65534) == 0);

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove("XDG_RUNTIME_DIR");
        env.insert("TMPDIR", temp.path());
        auto copy = start({}, env);
        QVERIFY2(!copy->process->waitForFinished(3000), qPrintable(copy->output));
        if (otherUsers) {
            QVERIFY2(copy->says("belongs to another user"), qPrintable(copy->output));
        } else {
            struct stat info = {};
            QVERIFY(::stat(QFile::encodeName(folder).constData(), &info) == 0);
            QCOMPARE(int(info.st_mode & 0777), 0700);
        }
        stop(*copy);
    }
#endif

    // What reaches the running copy through its socket: a request in
    // pieces waits for the rest, and bytes of anything else are dropped.
    void requestsAreReadWholeOrNotAtAll()
    {
        const QStringList files{"/photos/a.heic", QString::fromUtf8("/photos/\xc3\xa9t\xc3\xa9 2024/b.HEIC")};
        const QByteArray request = InstanceHandoff::encodeRequest(files);
        QStringList got;
        QCOMPARE(InstanceHandoff::decodeRequest(request, &got), 1);
        QCOMPARE(got, files);
        QCOMPARE(InstanceHandoff::decodeRequest(request.left(request.size() - 3), &got), 0);
        QCOMPARE(InstanceHandoff::decodeRequest(request.left(5), &got), 0);
        QCOMPARE(InstanceHandoff::decodeRequest(InstanceHandoff::encodeRequest({}), &got), 1);
        QVERIFY(got.isEmpty());
        QCOMPARE(InstanceHandoff::decodeRequest("GET / HTTP/1.1\r\n", &got), -1);
        QByteArray huge = request.left(8) + QByteArray("\x7f\xff\xff\xff", 4);
        QCOMPARE(InstanceHandoff::decodeRequest(huge, &got), -1);
        QByteArray unended = request;
        unended.chop(1);
        unended += 'x';
        QCOMPARE(InstanceHandoff::decodeRequest(unended, &got), -1);
    }
};

PICTOVA_TEST_GUILESS_MAIN(tst_SingleInstance)
#include "tst_SingleInstance.moc"

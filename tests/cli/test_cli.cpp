#include "EngineTestSupport.h"

#include <QProcess>

#ifdef Q_OS_UNIX
#include <signal.h>
#endif

#include <memory>

// What one run of pictova-convert said.
struct CliRun
{
    int exitCode = -1;
    QStringList out;
    QStringList err;
};

class CliTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void usageErrorExitsWithTwo();
    void everyFileConvertedExitsWithZero_data();
    void everyFileConvertedExitsWithZero();
    void oneLinePerFileAndOneWhenAnyFailed();
    void outputFolderIsMadeWithItsParents();
    void missingLibraryFailsEveryFile();
    void clashesStopTheRunBeforeWriting();
    void photoThatWouldReplaceItselfIsReportedAndKept();
    void interruptFinishesFilesInHand();

private:
    CliRun convert(const QStringList& arguments, bool withFake = true);
    QString photo(const QString& name, const QByteArray& jpeg = EngineTest::jpeg());

    std::unique_ptr<QTemporaryDir> m_dir;
};

void CliTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void CliTest::cleanup()
{
    m_dir.reset();
}

CliRun CliTest::convert(const QStringList& arguments, bool withFake)
{
    QProcess process;
    // HOME is the test's temporary home (set before this process started),
    // which the child inherits: its desktop is not the real one either.
    process.setWorkingDirectory(m_dir->path());
    QStringList all;
    if (withFake)
        all << "--decoder" << EngineTest::fakeLibrary();
    process.start(PICTOVA_CONVERT, all + arguments);
    CliRun run;
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return run;
    run.exitCode = process.exitCode();
    run.out = QString::fromLocal8Bit(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    run.err = QString::fromLocal8Bit(process.readAllStandardError()).split('\n', Qt::SkipEmptyParts);
    return run;
}

QString CliTest::photo(const QString& name, const QByteArray& jpeg)
{
    const QString path = m_dir->filePath(name);
    return EngineTest::writeFile(path, EngineTest::fakeHeic(jpeg)) ? path : QString();
}

void CliTest::usageErrorExitsWithTwo()
{
    // Which arguments are refused is the parser's test; here only what the
    // process does with a refusal.
    const CliRun run = convert({"-q", "101", "a.heic"});
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.out.isEmpty());
    QVERIFY(run.err.join('\n').contains("Usage:"));
}

void CliTest::everyFileConvertedExitsWithZero_data()
{
    QTest::addColumn<QString>("jobs");
    QTest::newRow("one job") << "1";
    QTest::newRow("more jobs than files") << "16";
}

void CliTest::everyFileConvertedExitsWithZero()
{
    QFETCH(QString, jobs);
    QStringList files;
    for (int i = 0; i < 9; ++i)
        files << photo(QStringLiteral("p%1.%2").arg(i).arg(i % 2 ? "HEIC" : "heic"), EngineTest::jpeg(20, 10 + i));
    const QString out = m_dir->filePath("out");
    QVERIFY(QDir().mkpath(out));
    const CliRun run = convert(QStringList{"-j", jobs, "-q", "75", "-o", out} + files);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.err, QStringList("pictova-convert: 9 converted, 0 failed, 0 skipped"));
    QCOMPARE(run.out.size(), 9);
    for (int i = 0; i < 9; ++i) {
        const QString written = QStringLiteral("%1/Vantora/p%2.jpg").arg(out).arg(i);
        QVERIFY(run.out.contains(written));
        QCOMPARE(EngineTest::readFile(written), EngineTest::jpeg(20, 10 + i));
    }
}

void CliTest::oneLinePerFileAndOneWhenAnyFailed()
{
    const QStringList good{photo("a.heic"), photo("b.heic"), photo("c.heic")};
    const QString bad = m_dir->filePath("bad.heic");
    QVERIFY(EngineTest::writeFile(bad, "not a photo at all"));
    const QString empty = m_dir->filePath("empty.heic");
    QVERIFY(EngineTest::writeFile(empty, QByteArray()));
    const QString missing = m_dir->filePath("missing.heic");
    const QString out = m_dir->filePath("out");
    QVERIFY(QDir().mkpath(out));

    // Relative names are taken from the working folder.
    const CliRun run = convert(QStringList{"-o", out, "a.heic", "b.heic", good[2], bad, empty, missing});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.out.size(), 3);
    for (const QString& line : run.out)
        QVERIFY2(line.startsWith(out + "/Vantora/"), qPrintable(line));
    // Not on a terminal: no bar, nothing redrawn.
    QVERIFY(!run.err.join('\n').contains('\r'));
    // Each failure once as it happens, then again in the summary.
    const QString missingLine = missing + ": no such file";
    QCOMPARE(run.err.first(), missingLine);
    QStringList asTheyHappened = run.err.mid(1, 2);
    asTheyHappened.sort();
    QCOMPARE(asTheyHappened, QStringList({bad + ": not a HEIF file", empty + ": file is empty"}));
    QStringList summary = run.err.mid(3);
    QCOMPARE(summary.size(), 5);
    QCOMPARE(summary.takeFirst(), QStringLiteral("pictova-convert: 3 converted, 3 failed, 0 skipped"));
    QCOMPARE(summary.takeFirst(), QStringLiteral("failed:"));
    QCOMPARE(summary.takeFirst(), "  " + missingLine);
    summary.sort();
    QCOMPARE(summary, QStringList({"  " + bad + ": not a HEIF file", "  " + empty + ": file is empty"}));
    QCOMPARE(EngineTest::entries(out + "/Vantora"), QStringList({"a.jpg", "b.jpg", "c.jpg"}));
}

void CliTest::outputFolderIsMadeWithItsParents()
{
    // A relative -o that does not exist yet, two levels deep.
    const CliRun run = convert(QStringList{"-o", "new/out", photo("p.heic")});
    QCOMPARE(run.exitCode, 0);
    const QString expected = m_dir->filePath("new/out/Vantora/p.jpg");
    QCOMPARE(run.out, QStringList(expected));
    QVERIFY(QFileInfo::exists(expected));

    // A folder that cannot be made is reported before any file is touched.
    QVERIFY(EngineTest::writeFile(m_dir->filePath("blocker"), "a file, not a folder"));
    const CliRun blocked = convert(QStringList{"-o", "blocker/out", photo("q.heic")});
    QCOMPARE(blocked.exitCode, 1);
    QVERIFY(blocked.out.isEmpty());
    QCOMPARE(blocked.err.size(), 1);
    QVERIFY2(blocked.err.first().contains("cannot create the output folder"), qPrintable(blocked.err.first()));
}

void CliTest::missingLibraryFailsEveryFile()
{
    const QString out = m_dir->filePath("out");
    QVERIFY(QDir().mkpath(out));
    const QStringList files{photo("x.heic"), photo("y.heic")};
    const CliRun run = convert(QStringList{"--decoder", m_dir->filePath("none/Decodex"), "-o", out}
                                   + files,
                               false);
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.out.isEmpty());
    QVERIFY2(run.err.first().startsWith("pictova-convert: "), qPrintable(run.err.first()));
    QVERIFY(run.err.contains("pictova-convert: 0 converted, 2 failed, 0 skipped"));
    QVERIFY(run.err.contains("  " + files[0] + ": decoding library not found"));
    QVERIFY(run.err.contains("  " + files[1] + ": decoding library not found"));
}

void CliTest::clashesStopTheRunBeforeWriting()
{
    photo("a.HEIC");
    photo("a.heic");
    photo("b.heic");
    QVERIFY(QDir().mkpath(m_dir->filePath("other")));
    photo("other/b.heic");

    const CliRun run = convert({"-r", "-o", "out", m_dir->path()});
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.out.isEmpty());
    const QString said = run.err.join('\n');
    QVERIFY2(said.contains("would all be written to " + m_dir->filePath("out/Vantora/a.jpg")), qPrintable(said));
    QVERIFY(said.contains(m_dir->filePath("a.HEIC")) && said.contains(m_dir->filePath("a.heic")));
    QVERIFY(said.contains(m_dir->filePath("other/b.heic")));
    QVERIFY(said.contains("nothing was converted"));
    QVERIFY(!QFileInfo::exists(m_dir->filePath("out")));
}

void CliTest::photoThatWouldReplaceItselfIsReportedAndKept()
{
    QVERIFY(QDir().mkpath(m_dir->filePath("Vantora")));
    const QString source = photo("Vantora/IMG_7.Heic");
    const QByteArray before = EngineTest::readFile(source);
    const CliRun run = convert({"-o", m_dir->filePath("Vantora"), source, photo("Vantora/ok.heic")});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.out, QStringList(m_dir->filePath("Vantora/ok.jpg")));
    QVERIFY2(run.err.first().startsWith(source + ": its JPEG would replace the photo itself"),
             qPrintable(run.err.first()));
    QCOMPARE(EngineTest::readFile(source), before);
}

void CliTest::interruptFinishesFilesInHand()
{
#ifndef Q_OS_UNIX
    QSKIP("sends SIGINT");
#else
    QStringList files;
    for (int i = 0; i < 12; ++i) {
        const QString path = m_dir->filePath(QStringLiteral("s%1.heic").arg(i, 2, 10, QChar('0')));
        QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(EngineTest::jpeg(), "FAKESLOW")));
        files << path;
    }
    QProcess process;
    process.setWorkingDirectory(m_dir->path());
    process.start(PICTOVA_CONVERT, QStringList{"--decoder", EngineTest::fakeLibrary(), "-j", "2",
                                               "-o", m_dir->filePath("out")} + files);
    QVERIFY(process.waitForStarted());
    // Each photo takes 400 ms: stop in the middle of the second pair.
    QVERIFY(process.waitForReadyRead(10000));
    QTest::qWait(200);
    ::kill(pid_t(process.processId()), SIGINT);
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 130);

    const QStringList written = EngineTest::entries(m_dir->filePath("out/Vantora"));
    QVERIFY2(written.size() >= 2 && written.size() <= 6, qPrintable(written.join(' ')));
    for (const QString& name : written) {
        QVERIFY2(name.endsWith(".jpg"), qPrintable(name));
        QCOMPARE(EngineTest::readFile(m_dir->filePath("out/Vantora/" + name)), EngineTest::jpeg());
    }
    const QString said = QString::fromLocal8Bit(process.readAllStandardError());
    QVERIFY2(said.contains("stopping after the photos being converted"), qPrintable(said));
    QVERIFY(said.contains(QStringLiteral("pictova-convert: %1 converted, 0 failed, %2 skipped")
                              .arg(written.size())
                              .arg(12 - written.size())));
    QCOMPARE(said.count("not started, the run was interrupted"), 12 - written.size());
#endif
}

PICTOVA_TEST_MAIN_WITH_TEMP_HOME(CliTest)
#include "test_cli.moc"

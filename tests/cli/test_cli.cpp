#include "EngineTestSupport.h"

#include <QProcess>

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

    void usageErrorsExitWithTwo_data();
    void usageErrorsExitWithTwo();
    void everyFileConvertedExitsWithZero();
    void oneLinePerFileAndOneWhenAnyFailed();
    void defaultFolderIsTheDesktop();
    void missingLibraryFailsEveryFile();

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

void CliTest::usageErrorsExitWithTwo_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no files") << QStringList();
    QTest::newRow("quality not a number") << QStringList{"-q", "high", "a.heic"};
    QTest::newRow("quality above 100") << QStringList{"-q", "101", "a.heic"};
    QTest::newRow("quality below 0") << QStringList{"--quality", "-1", "a.heic"};
    QTest::newRow("unknown option") << QStringList{"--recursive", "a.heic"};
    QTest::newRow("empty output folder") << QStringList{"-o", "", "a.heic"};
}

void CliTest::usageErrorsExitWithTwo()
{
    QFETCH(QStringList, arguments);
    const CliRun run = convert(arguments);
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.out.isEmpty());
    QVERIFY(!run.err.isEmpty());
    QVERIFY(run.err.join('\n').contains("Usage:"));
}

void CliTest::everyFileConvertedExitsWithZero()
{
    const QByteArray first = EngineTest::jpeg(30, 20, Qt::green);
    const QStringList files{photo("one.HEIC", first), photo("two.heic")};
    const QString out = m_dir->filePath("out");
    QVERIFY(QDir().mkpath(out));
    const CliRun run = convert(QStringList{"-q", "75", "-o", out} + files);
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.err.isEmpty(), qPrintable(run.err.join('\n')));
    QStringList written = run.out;
    written.sort();
    QCOMPARE(written, QStringList({out + "/Vantora/one.jpg", out + "/Vantora/two.jpg"}));
    QCOMPARE(EngineTest::readFile(out + "/Vantora/one.jpg"), first);
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
    QStringList errors = run.err;
    errors.sort();
    QCOMPARE(errors, QStringList({bad + ": not a HEIF file", empty + ": file is empty",
                                  missing + ": no such file"}));
}

void CliTest::defaultFolderIsTheDesktop()
{
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    QVERIFY(desktop.startsWith(EngineTest::home()));
    QVERIFY(QDir().mkpath(desktop));
    const CliRun run = convert({photo("IMG_0001.HEIC")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QStringList(desktop + "/Vantora/IMG_0001.jpg"));
    QVERIFY(QFileInfo::exists(desktop + "/Vantora/IMG_0001.jpg"));
    QVERIFY(QDir(desktop + "/Vantora").removeRecursively());
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
    QStringList errors = run.err;
    errors.sort();
    QCOMPARE(errors, QStringList({files[0] + ": decoding library not found",
                                  files[1] + ": decoding library not found"}));
}

PICTOVA_TEST_MAIN_WITH_TEMP_HOME(CliTest)
#include "test_cli.moc"

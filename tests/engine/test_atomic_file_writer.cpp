#include "TestSandbox.h"
#include "AtomicFileWriter.h"
#include "EngineTestSupport.h"

#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

// The writer every JPEG goes through, in the desktop program and the tool.
class AtomicFileWriterTest : public QObject
{
    Q_OBJECT

private slots:
    void replacesALinkNotWhatItPointsAt();
    void keepsDateAndPermissionsAndCleansLeftovers();
    void failedWriteKeepsTheOldFileAndSaysWhy_data();
    void failedWriteKeepsTheOldFileAndSaysWhy();
};

void AtomicFileWriterTest::replacesALinkNotWhatItPointsAt()
{
#ifndef Q_OS_UNIX
    QSKIP("symbolic links");
#else
    QTemporaryDir dir;
    QVERIFY(QDir().mkpath(dir.filePath("out")));
    QVERIFY(EngineTest::writeFile(dir.filePath("precious.txt"), "keep me"));
    QVERIFY(QFile::link("../precious.txt", dir.filePath("out/a.jpg")));
    QVERIFY(QFile::link(dir.filePath("nowhere"), dir.filePath("out/b.jpg"))); // dangling

    QString error;
    QVERIFY2(AtomicFileWriter::write(dir.filePath("out/a.jpg"), "JPEG A", &error), qPrintable(error));
    QVERIFY2(AtomicFileWriter::write(dir.filePath("out/b.jpg"), "JPEG B", &error), qPrintable(error));
    QCOMPARE(EngineTest::readFile(dir.filePath("precious.txt")), QByteArray("keep me"));
    QVERIFY(!QFileInfo::exists(dir.filePath("nowhere")));
    for (const char* name : {"out/a.jpg", "out/b.jpg"})
        QVERIFY(!QFileInfo(dir.filePath(name)).isSymLink());
    QCOMPARE(EngineTest::readFile(dir.filePath("out/a.jpg")), QByteArray("JPEG A"));
    QCOMPARE(EngineTest::entries(dir.filePath("out")), QStringList({"a.jpg", "b.jpg"}));
#endif
}

void AtomicFileWriterTest::keepsDateAndPermissionsAndCleansLeftovers()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("p.jpg");
    QVERIFY(EngineTest::writeFile(path, "old"));
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup));
    // What a killed run leaves, and names that only look alike.
    for (const char* name : {".p.jpg.Ab12Z9", ".p.jpg.notes-1", ".q.jpg.Ab12Z9", "p.jpg.Ab12Z9"})
        QVERIFY(EngineTest::writeFile(dir.filePath(name), "x"));

    const QDateTime taken = QDateTime::fromMSecsSinceEpoch(1500000000123);
    QString error;
    QVERIFY2(AtomicFileWriter::write(path, "new", &error, taken), qPrintable(error));
    QCOMPARE(EngineTest::readFile(path), QByteArray("new"));
    QCOMPARE(QFileInfo(path).lastModified(), taken);
    // The owner's and the group's bits as they were (0640), not a new file's.
    QCOMPARE(QFileInfo(path).permissions() & 0x0FFF, QFile::ReadUser | QFile::WriteUser | QFile::ReadGroup);
    QCOMPARE(EngineTest::entries(dir.path()),
             QStringList({".p.jpg.notes-1", ".q.jpg.Ab12Z9", "p.jpg", "p.jpg.Ab12Z9"}));
}

void AtomicFileWriterTest::failedWriteKeepsTheOldFileAndSaysWhy_data()
{
    QTest::addColumn<QString>("setUp");
    QTest::addColumn<QString>("reason");
    QTest::newRow("file size limit") << "limit" << "File too large";
    QTest::newRow("a folder has the name") << "folder" << "Is a directory";
    QTest::newRow("no such folder") << "missing" << "No such file or directory";
    QTest::newRow("read-only folder") << "readonly" << "Permission denied";
}

void AtomicFileWriterTest::failedWriteKeepsTheOldFileAndSaysWhy()
{
#ifndef Q_OS_UNIX
    QSKIP("POSIX limits and permissions");
#else
    QFETCH(QString, setUp);
    QFETCH(QString, reason);
    QTemporaryDir dir;
    QString path = dir.filePath("p.jpg");
    QVERIFY(EngineTest::writeFile(path, "old"));
    const QByteArray bytes(64 * 1024, 'j');
    QString error;
    bool written = true;
    if (setUp == "limit") {
        // A disk that fills part-way through the write, as far as the writer
        // can tell: write() stops short, then fails.
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
    if (setUp == "folder")
        QVERIFY(QFileInfo(path).isDir());
    else
        QCOMPARE(EngineTest::readFile(dir.filePath("p.jpg")), QByteArray("old"));
    // Nothing half-written and no temporary file stays behind.
    QCOMPARE(EngineTest::entries(dir.path()), setUp == "folder" ? QStringList({"p.jpg", "sub"}) : QStringList("p.jpg"));
#endif
}

PICTOVA_TEST_GUILESS_MAIN(AtomicFileWriterTest)
#include "test_atomic_file_writer.moc"

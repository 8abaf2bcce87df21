#include "TestSandbox.h"
#include "AtomicFileWriter.h"
#include "EngineTestSupport.h"
#include "HeicFixture.h"
#include "OutputNaming.h"

#include <QDirIterator>
#include <QProcess>
#include <QScopeGuard>
#include <QStorageInfo>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>
#endif

#include <memory>

#ifdef Q_OS_UNIX
// Mounts a FAT image (a camera card's file system, which ignores case) on
// `folder`, through FUSE or as root with the kernel's driver. Returns the
// command that unmounts it; empty when neither works here.
QStringList mountFatCard(const QString& folder)
{
    // Mounted: the command said so, and the folder is a mount's root.
    auto run = [&folder](const QString& program, const QStringList& arguments) {
        QProcess process;
        process.start(program, arguments);
        return process.waitForFinished() && process.exitCode() == 0
               && (program == "mkfs.vfat" || QStorageInfo(folder).rootPath() == QFileInfo(folder).canonicalFilePath());
    };
    const QString image = folder + ".img";
    if (!QDir().mkpath(folder) || !run("mkfs.vfat", {"-C", image, "8192"}))
        return {};
    if (run("fusefat", {"-o", "rw+", image, folder}))
        return {"fusermount", "-u", folder};
    if (::geteuid() == 0 && run("mount", {"-t", "vfat", "-o", "loop", image, folder}))
        return {"umount", folder};
    return {};
}
#endif

// What one run of pictova-convert said.
struct CliRun
{
    int exitCode = -1;
    QStringList out;
    QStringList err;
    QByteArray rawOut;
};

// pictova-convert as a person runs it, in a fresh folder each time.
class CliTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void cleanup()
    {
        m_dir.reset();
    }

    void outputsWhereThePersonSays_data()
    {
        QTest::addColumn<QStringList>("photos");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("written");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("beside each photo, every HEIF ending")
            << QStringList{"card/a.heic", "card/b.HIF", "card/c.Heif", "card/d.HEIC"} << QStringList{"card", "-j", "1"}
            << QStringList{"card/a.jpg", "card/b.jpg", "card/c.jpg", "card/d.jpg"} << 0;
        QTest::newRow("into -o itself, made with its parents")
            << QStringList{"card/a.heic", "x.heif"} << QStringList{"-o", "new/out", "card", "x.heif"}
            << QStringList{"new/out/a.jpg", "new/out/x.jpg"} << 0;
        QTest::newRow("-r mirrors the sub-folders under -o")
            << QStringList{"DCIM/100APPLE/IMG_0001.HEIC", "DCIM/101APPLE/IMG_0001.HEIC", "DCIM/top.hif"}
            << QStringList{"-r", "-o", "out", "DCIM"}
            << QStringList{"out/100APPLE/IMG_0001.jpg", "out/101APPLE/IMG_0001.jpg", "out/top.jpg"} << 0;
        QTest::newRow("-r without -o: beside each photo")
            << QStringList{"d/s/a.heic", "d/.hidden/b.heic"} << QStringList{"-r", "d"} << QStringList{"d/s/a.jpg"} << 0;
        QTest::newRow("a file named itself, whatever its ending")
            << QStringList{"scan"} << QStringList{"scan"} << QStringList{"scan.jpg"} << 0;
        QTest::newRow("usage error: nothing written")
            << QStringList{"a.heic"} << QStringList{"-q", "101", "-o", "out", "a.heic"} << QStringList() << 2;
        QTest::newRow("two photos, one JPEG: nothing written")
            << QStringList{"p/a.heic", "p/a.HIF", "p/b.heic"} << QStringList{"-o", "out", "p"} << QStringList() << 2;
    }

    void outputsWhereThePersonSays()
    {
        QFETCH(QStringList, photos);
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, written);
        QFETCH(int, exitCode);
        const QDateTime taken = QDateTime::fromMSecsSinceEpoch(1400000000000);
        for (int i = 0; i < photos.size(); ++i) {
            QVERIFY(photo(QFile::encodeName(photos[i]), EngineTest::jpeg(20, 10 + i)));
            QFile file(path(photos[i]));
            QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(taken, QFileDevice::FileModificationTime));
        }

        const CliRun run = convert(arguments);
        QCOMPARE(run.exitCode, exitCode);

        QStringList found;
        QDirIterator it(m_dir->path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString name = QDir(m_dir->path()).relativeFilePath(it.next());
            if (!photos.contains(name))
                found << name;
        }
        found.sort();
        QCOMPARE(found, written);
        QStringList listed = run.out;
        listed.sort();
        QStringList expected;
        for (const QString& name : written)
            expected << shown(path(name));
        QCOMPARE(listed, expected);
        // Each JPEG is a different photo's, with that photo's date.
        QSet<QByteArray> payloads;
        for (int i = 0; i < photos.size(); ++i)
            payloads.insert(EngineTest::jpeg(20, 10 + i));
        for (const QString& name : written) {
            QVERIFY2(payloads.remove(EngineTest::readFile(path(name))), qPrintable(name));
            QCOMPARE(QFileInfo(path(name)).lastModified(), taken);
        }
        if (exitCode == 2)
            QVERIFY(!QFileInfo::exists(path("out")));
    }

    void everyPhotoAccountedFor_data()
    {
        QTest::addColumn<QByteArrayList>("photos");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("counts");
        QTest::addColumn<QStringList>("said");
        QTest::addColumn<QByteArrayList>("written");

        QTest::newRow("names that are not UTF-8")
            << QByteArrayList{"lib/good.heic", "lib/caf\xe9.heic"} << QStringList{"lib"} << 0
            << "2 converted, 0 failed, 0 skipped" << QStringList()
            << QByteArrayList{"lib/good.jpg", "lib/caf\xe9.jpg"};
        QTest::newRow("a photo called exit, and exit in the working folder")
            << QByteArrayList{"exit", "p.heic", "q.heic", "exit2/x.heic"} << QStringList{"-j", "1", "-o", "o", "exit", "p.heic", "q.heic"}
            << 0 << "3 converted, 0 failed, 0 skipped" << QStringList() << QByteArrayList{"o/exit.jpg", "o/p.jpg", "o/q.jpg"};
        QTest::newRow("missing, broken and converted")
            << QByteArrayList{"a.heic"} << QStringList{"a.heic", "gone.heic", "broken.heic"} << 1
            << "1 converted, 2 failed, 0 skipped"
            << QStringList{"  %1/gone.heic: no such file", "  %1/broken.heic: not a HEIF file"}
            << QByteArrayList{"a.jpg"};
        QTest::newRow("a folder that cannot be read")
            << QByteArrayList{"d/open/a.heic", "d/locked/b.heic"} << QStringList{"-r", "d"} << 1
            << "1 converted, 1 failed, 0 skipped"
            << QStringList{"  %1/d/locked: cannot read the folder: Permission denied"}
            << QByteArrayList{"d/open/a.jpg"};
        // The finished JPEG cannot be put in place: a folder holds its name.
        QTest::newRow("final rename refused")
            << QByteArrayList{"a.heic", "o/a.jpg/keep"} << QStringList{"-o", "o", "a.heic"} << 1
            << "0 converted, 1 failed, 0 skipped" << QStringList() << QByteArrayList();
        QTest::newRow("no decoding library")
            << QByteArrayList{"x.heic", "y.heic"} << QStringList{"--decoder", "none/Decodex", "x.heic", "y.heic"} << 1
            << "0 converted, 2 failed, 0 skipped"
            << QStringList{"  %1/x.heic: decoding library not found", "  %1/y.heic: decoding library not found"}
            << QByteArrayList();
        QTest::newRow("nothing found")
            << QByteArrayList{"d/notes.txt"} << QStringList{"d"} << 1 << QString()
            << QStringList{"pictova-convert: no photos found; nothing was converted"} << QByteArrayList();
    }

    void everyPhotoAccountedFor()
    {
        QFETCH(QByteArrayList, photos);
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, counts);
        QFETCH(QStringList, said);
        QFETCH(QByteArrayList, written);
        for (const QByteArray& name : photos)
            QVERIFY(photo(name));
        QVERIFY(EngineTest::writeFile(path("broken.heic"), "not a photo at all"));
        const bool locked = QFileInfo::exists(path("d/locked"));
        if (locked) {
#ifndef Q_OS_UNIX
            QSKIP("folder permissions");
#else
            if (::geteuid() == 0 && QStandardPaths::findExecutable("setpriv").isEmpty())
                QSKIP("root reads every folder, and setpriv is not there to stop it");
            QVERIFY(QFile::setPermissions(path("d/locked"), QFileDevice::Permissions()));
#endif
        }

        const CliRun run = convert(arguments, true, locked);
        if (locked)
            QFile::setPermissions(path("d/locked"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(run.exitCode, exitCode);
        if (!counts.isEmpty())
            QVERIFY2(run.err.contains("pictova-convert: " + counts), qPrintable(run.err.join('\n')));
        for (const QString& line : said)
            QVERIFY2(run.err.contains(shown(line.arg(m_dir->path()))), qPrintable(run.err.join('\n')));
        QCOMPARE(run.out.size(), written.size());
        // No temporary file is left behind, whatever failed.
        for (QDirIterator it(m_dir->path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();)
            QVERIFY2(!it.next().contains("/."), qPrintable(it.filePath()));
        for (const QByteArray& name : written) {
            const QByteArray full = QFile::encodeName(m_dir->path()) + '/' + name;
#ifdef Q_OS_UNIX
            // Listed and written as the bytes they are.
            QVERIFY2(run.rawOut.contains(full + '\n'), run.rawOut.constData());
            QVERIFY2(::access(full.constData(), F_OK) == 0, full.constData());
#else
            // Names are UTF-16 on Windows: listed as the system spells them.
            QVERIFY2(run.out.contains(shown(QFile::decodeName(full))), qPrintable(run.out.join('\n')));
#endif
        }
    }

    void noClobberKeepsExistingJpegs()
    {
        QVERIFY(photo("a.heic") && photo("b.heic"));
        QVERIFY(EngineTest::writeFile(path("a.jpg"), "converted before"));
        // A temporary file left by a run that was killed while writing b.jpg.
        QVERIFY(EngineTest::writeFile(path(AtomicFileWriter::temporaryPrefix(EngineTest::kEndedProcess) + "k1ll3d"), "half"));

        const CliRun kept = convert({"-n", "a.heic", "b.heic"});
        QCOMPARE(kept.exitCode, 0);
        QVERIFY2(kept.err.contains("pictova-convert: 1 converted, 0 failed, 1 skipped"), qPrintable(kept.err.join('\n')));
        QVERIFY(kept.err.contains("  " + shown(path("a.heic")) + ": its JPEG is already there, kept (-n)"));
        QCOMPARE(EngineTest::readFile(path("a.jpg")), QByteArray("converted before"));
        QCOMPARE(EngineTest::entries(m_dir->path()), QStringList({"a.heic", "a.jpg", "b.heic", "b.jpg"}));

        const CliRun replaced = convert({"a.heic"});
        QCOMPARE(replaced.exitCode, 0);
        QCOMPARE(EngineTest::readFile(path("a.jpg")), EngineTest::jpeg());
    }

    void twoRunsIntoOneFolderBothFinish()
    {
        // Two runs over the same card into one folder at once: neither may
        // take the other's half-written files for a killed run's leftovers.
        const int count = 150;
        auto name = [](int i, const char* ending) { return QStringLiteral("p%1.%2").arg(i, 3, 10, QChar('0')).arg(ending); };
        for (int i = 0; i < count; ++i)
            QVERIFY(photo("card/" + name(i, "heic").toUtf8(), EngineTest::jpeg(20, 10 + i % 40)));
        QProcess runs[2];
        for (QProcess& run : runs) {
            run.setWorkingDirectory(m_dir->path());
            run.start(PICTOVA_CONVERT, {"--decoder", EngineTest::fakeLibrary(), "-j", "4", "-o", "out", "card"});
        }
        for (QProcess& run : runs) {
            QVERIFY(run.waitForFinished(120000));
            const QString said = QString::fromLocal8Bit(run.readAllStandardError());
            QVERIFY2(run.exitCode() == 0 && said.contains(QStringLiteral("%1 converted, 0 failed").arg(count)), qPrintable(said));
        }
        QCOMPARE(EngineTest::entries(path("out")).size(), count);
        for (int i = 0; i < count; ++i)
            QCOMPARE(EngineTest::readFile(path("out/" + name(i, "jpg"))), EngineTest::jpeg(20, 10 + i % 40));
    }

    void cameraCardIgnoresCase()
    {
#ifndef Q_OS_UNIX
        QSKIP("mounts a FAT image");
#else
        const QStringList unmount = mountFatCard(path("card"));
        if (unmount.isEmpty())
            QSKIP("no FAT image can be mounted here (dosfstools, and fusefat or root)");
        const auto unmountAtEnd = qScopeGuard([&] { QProcess::execute(unmount.first(), unmount.mid(1)); });
        QVERIFY(photo("d1/IMG_0001.HEIC") && photo("d2/img_0001.heic"));
        // Two photos whose JPEGs differ only in case: one file on the card
        // (on this disk, two).
        CliRun run = convert({"-o", "card/out", "d1/IMG_0001.HEIC", "d2/img_0001.heic"});
        QCOMPARE(run.exitCode, 2);
        QVERIFY(!QFileInfo::exists(path("card/out")));
        QCOMPARE(convert({"-o", "disk", "d1/IMG_0001.HEIC", "d2/img_0001.heic"}).exitCode, 0);

        // The camera's own JPEG beside its HEIF photo, and two photos a case apart.
        QVERIFY(photo("card/a.heic") && photo("card/A.HIF") && photo("card/IMG_0001.HEIC"));
        QVERIFY(EngineTest::writeFile(path("card/IMG_0001.JPG"), "the camera's"));
        run = convert({"card"});
        QCOMPARE(run.exitCode, 2);
        QVERIFY(QFile::remove(path("card/A.HIF")));
        run = convert({"card"});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains("  " + path("card/IMG_0001.HEIC") + ": cannot write " + path("card/IMG_0001.jpg")
                                  + ": IMG_0001.JPG already exists"), qPrintable(run.err.join('\n')));
        QCOMPARE(EngineTest::readFile(path("card/IMG_0001.JPG")), QByteArray("the camera's"));
        QCOMPARE(EngineTest::readFile(path("card/a.jpg")), EngineTest::jpeg());

        // The window's run names follow the card's rule too.
        QCOMPARE(OutputNaming::runTargets(path("card"), {path("d1/IMG_0001.HEIC"), path("d2/img_0001.heic")}),
                 QStringList({path("card/IMG_0001.jpg"), path("card/img_0001 (2).jpg")}));
#endif
    }

    void listingIsOneLinePerFile()
    {
#ifndef Q_OS_UNIX
        QSKIP("names with a newline, /dev/full");
#else
        QVERIFY(photo("new\nline.heic") && photo("back\\slash.heic"));
        const CliRun run = convert({"-j", "1", "-o", "out", "new\nline.heic", "back\\slash.heic"});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QStringList({path("out/new\\nline.jpg"), path("out/back\\\\slash.jpg")}));

        // Output that cannot be written is a failed run, said on stderr.
        QProcess process;
        process.setWorkingDirectory(m_dir->path());
        process.setStandardOutputFile("/dev/full");
        process.start(PICTOVA_CONVERT, {"--decoder", EngineTest::fakeLibrary(), "-o", "full", "new\nline.heic"});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 1);
        const QString said = QString::fromLocal8Bit(process.readAllStandardError());
        QVERIFY2(said.contains("could not be written to stdout"), qPrintable(said));
        QVERIFY(QFileInfo::exists(path("full/new\nline.jpg")));
#endif
    }

    void interruptFinishesFilesInHand()
    {
#ifndef Q_OS_UNIX
        QSKIP("sends SIGINT");
#else
        QStringList files;
        for (int i = 0; i < 12; ++i) {
            const QString file = path(QStringLiteral("s%1.heic").arg(i, 2, 10, QChar('0')));
            QVERIFY(EngineTest::writeFile(file, EngineTest::fakeHeic(EngineTest::jpeg(), "FAKESLOW")));
            files << file;
        }
        QProcess process;
        process.setWorkingDirectory(m_dir->path());
        process.start(PICTOVA_CONVERT, QStringList{"--decoder", EngineTest::fakeLibrary(), "-j", "2",
                                                   "-o", path("out")} + files);
        QVERIFY(process.waitForStarted());
        // Each photo takes 400 ms: stop in the middle of the second pair.
        QVERIFY(process.waitForReadyRead(10000));
        QTest::qWait(200);
        ::kill(pid_t(process.processId()), SIGINT);
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 130);

        const QStringList written = EngineTest::entries(path("out"));
        QVERIFY2(written.size() >= 2 && written.size() <= 6, qPrintable(written.join(' ')));
        for (const QString& name : written) {
            QVERIFY2(name.endsWith(".jpg") && !name.startsWith('.'), qPrintable(name));
            QCOMPARE(EngineTest::readFile(path("out/" + name)), EngineTest::jpeg());
        }
        const QString said = QString::fromLocal8Bit(process.readAllStandardError());
        QVERIFY2(said.contains("stopping after the photos being converted"), qPrintable(said));
        QVERIFY(said.contains(QStringLiteral("pictova-convert: %1 converted, 0 failed, %2 skipped")
                                  .arg(written.size())
                                  .arg(12 - written.size())));
        QCOMPARE(said.count("not started, the run was interrupted"), 12 - written.size());
#endif
    }

    // The real library under four workers, one photo in ten broken in one of
    // five ways: every good photo a whole JPEG, every broken one reported
    // with what it is (the window shows the same words), nothing else left.
    // PICTOVA_STRESS_FILES makes the run bigger.
    void brokenPhotosAmongGoodOnes()
    {
        const QByteArray good = HeicFixture::encode(HeicFixture::quadrants(48, 48));
        if (good.isEmpty())
            QSKIP("libheif has no HEVC encoder here");
        // An animation kept only as a track ('moov'), with no still image.
        const QByteArray sequence = QByteArray::fromHex("00000018667479706d736631000000006d73663168657663"
                                                        "000000106d6f6f76000000086d766864");
        const QPair<QByteArray, QString> kinds[] = {
            {good.left(good.size() / 2), "damaged or incomplete HEIF file"},
            {QByteArray(good.size(), '\x5A'), "not a HEIF file"},
            {QByteArray(), "file is empty"},
            {EngineTest::jpeg(48, 48), "not a HEIF file"},
            {sequence, "image sequence (animation) without a still image"}};
        QMap<QString, QString> reasons;
        const int count = qMax(qEnvironmentVariableIntValue("PICTOVA_STRESS_FILES"), 60);
        QVERIFY(QDir().mkpath(path("card")));
        QStringList broken;
        for (int i = 0; i < count; ++i) {
            const QString name = path(QStringLiteral("card/p%1.heic").arg(i, 4, 10, QChar('0')));
            const auto& kind = kinds[(i / 10) % 5];
            if (i % 10 == 9) {
                broken << name;
                reasons[name] = kind.second;
            }
            QVERIFY(EngineTest::writeFile(name, i % 10 == 9 ? kind.first : good));
        }
        const CliRun run = convert({"-o", "out", "card"}, false);
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains(QStringLiteral("pictova-convert: %1 converted, %2 failed, 0 skipped")
                                      .arg(count - broken.size()).arg(broken.size())), qPrintable(run.err.join('\n')));
        for (const QString& name : broken)
            QVERIFY2(run.err.contains("  " + shown(name) + ": " + reasons[name]), qPrintable(run.err.join(QLatin1Char('\n'))));
        const QStringList written = EngineTest::entries(path("out"));
        QCOMPARE(written.size(), count - broken.size());
        for (const QString& name : written) {
            QVERIFY2(!broken.contains(path("card/" + QFileInfo(name).completeBaseName() + ".heic")), qPrintable(name));
            const QByteArray jpeg = EngineTest::readFile(path("out/" + name));
            QVERIFY2(jpeg.endsWith("\xFF\xD9") && QImage::fromData(jpeg, "JPG").size() == QSize(48, 48), qPrintable(name));
        }
    }

    // --max-size and --no-location reach the JPEG on disk: the longer side
    // at the bound, no coordinates, the date kept. A decoding library that
    // predates them fails every photo with the reason instead of writing
    // them full size with the location.
    void shrinkingAndLocationReachTheFile()
    {
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(1, "2023:08:09 10:11:12");
        QVERIFY(QDir().mkpath(path("trip")));
        if (!HeicFixture::write(path("trip/IMG_1.HEIC"), HeicFixture::quadrants(120, 80), options))
            QSKIP("libheif has no HEVC encoder here");
        const CliRun run = convert({"--max-size", "60", "--no-location", "-o", "out", "trip"}, false);
        QVERIFY2(run.exitCode == 0, qPrintable(run.err.join('\n')));
        const QByteArray jpeg = EngineTest::readFile(path("out/IMG_1.jpg"));
        QCOMPARE(QImage::fromData(jpeg, "JPG").size(), QSize(60, 40));
        QVERIFY(jpeg.contains("2023:08:09 10:11:12"));
        QVERIFY(!jpeg.contains(HeicFixture::gpsLatitude()));

        QVERIFY(photo("old/a.heic"));
        const CliRun old = convert({"--max-size", "60", "old"});
        QCOMPARE(old.exitCode, 1);
        QVERIFY2(old.err.join('\n').contains("too old"), qPrintable(old.err.join('\n')));
        QVERIFY(!QFileInfo::exists(path("old/a.jpg")));
    }

private:
    CliRun convert(const QStringList& arguments, bool withFake = true, bool withoutRootPowers = false)
    {
        QProcess process;
        // HOME is the test's temporary home (set before this process started),
        // which the child inherits: its desktop is not the real one either.
        process.setWorkingDirectory(m_dir->path());
        QStringList all = arguments;
        if (withFake && !arguments.contains("--decoder"))
            all = QStringList{"--decoder", EngineTest::fakeLibrary()} + arguments;
        QString program = PICTOVA_CONVERT;
#ifdef Q_OS_UNIX
        // Root reads every folder: without these two powers it is refused like
        // anyone else.
        if (withoutRootPowers && ::geteuid() == 0) {
            all.prepend(program);
            all.prepend("--bounding-set=-dac_override,-dac_read_search");
            program = "setpriv";
        }
#else
        Q_UNUSED(withoutRootPowers) // no root powers to drop elsewhere
#endif
        process.start(program, all);
        CliRun run;
        // Long enough for the 500-photo run under the sanitizers; CTest's own
        // limit ends a hung run sooner.
        if (!process.waitForFinished(600000) || process.exitStatus() != QProcess::NormalExit)
            return run;
        run.exitCode = process.exitCode();
        // Lines end in CR LF on Windows, and the text is UTF-8 there whatever
        // the system's code page.
        run.rawOut = process.readAllStandardOutput().replace("\r\n", "\n");
        run.out = decoded(run.rawOut).split('\n', Qt::SkipEmptyParts);
        run.err = decoded(process.readAllStandardError().replace("\r\n", "\n")).split('\n', Qt::SkipEmptyParts);
        return run;
    }

    // Writes a stand-in photo at a path relative to the test folder, given
    // as bytes so that names which are not UTF-8 can be made.
    bool photo(const QByteArray& name, const QByteArray& jpeg = EngineTest::jpeg())
    {
        const QByteArray full = QFile::encodeName(m_dir->path()) + '/' + name;
        const int slash = full.lastIndexOf('/');
        if (!QDir().mkpath(QFile::decodeName(full.left(slash))))
            return false;
#ifdef Q_OS_UNIX
        const QByteArray bytes = EngineTest::fakeHeic(jpeg);
        const int fd = ::open(full.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const bool ok = fd >= 0 && ::write(fd, bytes.constData(), size_t(bytes.size())) == bytes.size();
        return ::close(fd) == 0 && ok;
#else
        return EngineTest::writeFile(QFile::decodeName(full), EngineTest::fakeHeic(jpeg));
#endif
    }

    QString path(const QString& relative) const { return m_dir->filePath(relative); }

    // A path as the program shows it: with backslashes on Windows.
    static QString shown(const QString& path) { return QDir::toNativeSeparators(path); }

    static QString decoded(const QByteArray& text)
    {
#ifdef Q_OS_WIN
        return QString::fromUtf8(text);
#else
        return QString::fromLocal8Bit(text);
#endif
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

PICTOVA_TEST_GUILESS_MAIN(CliTest)
#include "test_cli.moc"

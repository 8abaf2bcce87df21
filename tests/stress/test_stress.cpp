#include "TestSandbox.h"
#include "BatchConverter.h"
#include "DecoderLibrary.h"
#include "EngineTestSupport.h"
#include "HeicFixture.h"
#include "WorkQueue.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QTimer>

#include <memory>

namespace {

int setting(const char* name, int fallback)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok && value > 0 ? value : fallback;
}

// A JPEG that is complete: it ends where JPEGs end and decodes to the size
// of the photo it came from.
bool isWholeJpeg(const QString& path, QSize expected)
{
    const QByteArray bytes = EngineTest::readFile(path);
    if (!bytes.startsWith("\xFF\xD8") || !bytes.endsWith("\xFF\xD9"))
        return false;
    const QImage image = QImage::fromData(bytes, "JPG");
    return !image.isNull() && image.size() == expected;
}

// Everything in the folder that is not a finished JPEG (or a kept ".heif"
// name): temporary files of an interrupted save would show up here.
QStringList strayEntries(const QString& folder)
{
    QStringList stray;
    for (const QString& name : EngineTest::entries(folder))
        if (!name.endsWith(QLatin1String(".jpg")))
            stray << name;
    return stray;
}

} // namespace

class StressTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Hundreds of expected failures; the tests check each one themselves.
        QLoggingCategory::setFilterRules(QStringLiteral("pictova.engine.warning=false"));
        QString error;
        for (const QImage& picture : {HeicFixture::quadrants(kSide, kSide), HeicFixture::gradient(kSide, kSide)}) {
            const QByteArray heic = HeicFixture::encode(picture, {}, &error);
            if (heic.isEmpty())
                QSKIP(qPrintable("no HEVC encoder: " + error));
            m_photos << heic;
        }
        HeicFixtureOptions rotated;
        rotated.orientation = 1;
        rotated.exifTiff = HeicFixture::exifBlock(1, "2024:05:01 10:00:00");
        m_photos << HeicFixture::encode(HeicFixture::quadrants(kSide, kSide), rotated);
        m_jpeg = EngineTest::jpeg(kSide, kSide);

        const DecoderLibrary::Functions library = DecoderLibrary::bind();
        QVERIFY2(library.isBound(), qPrintable(library.error));
        m_decoder = library.convert;
    }

    void brokenFilesAmongGoodOnes()
    {
        const int count = setting("PICTOVA_STRESS_FILES", 100);
        QTemporaryDir dir;
        const QString sources = dir.filePath("card");
        QVERIFY(QDir().mkpath(sources));
        const QStringList broken = makeBatch(sources, count);

        QProcess process;
        process.start(PICTOVA_CONVERT, {"-o", dir.filePath("out"), sources});
        QVERIFY(process.waitForFinished(600000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), broken.isEmpty() ? 0 : 1);
        const QString said = QString::fromLocal8Bit(process.readAllStandardError());

        const QString out = dir.filePath("out");
        QCOMPARE(strayEntries(out), QStringList());
        QCOMPARE(EngineTest::entries(out).size(), count - broken.size());
        for (const QString& source : photosIn(sources)) {
            const QString target = out + '/' + QFileInfo(source).completeBaseName() + ".jpg";
            if (broken.contains(source)) {
                QVERIFY2(!QFileInfo::exists(target), qPrintable(target));
                QVERIFY2(said.contains("  " + source + ": "), qPrintable(source + " not reported"));
            } else {
                QVERIFY2(isWholeJpeg(target, QSize(kSide, kSide)), qPrintable(target));
            }
        }
        QVERIFY2(said.contains(QStringLiteral("pictova-convert: %1 converted, %2 failed, 0 skipped")
                                   .arg(count - broken.size())
                                   .arg(broken.size())),
                 qPrintable(said.right(2000)));
    }

    void cancelAtRandomMoments()
    {
        const int rounds = setting("PICTOVA_STRESS_ROUNDS", 50);
        QTemporaryDir dir;
        const QString sources = dir.filePath("in");
        QVERIFY(QDir().mkpath(sources));
        makeBatch(sources, 40);
        const QStringList all = photosIn(sources);

        QRandomGenerator random(20240501);
        BatchConverter converter(m_decoder);
        int stoppedEarly = 0;
        for (int round = 0; round < rounds; ++round) {
            const QString out = dir.filePath(QStringLiteral("out%1").arg(round));
            QTimer::singleShot(int(random.bounded(60)), &converter, [&converter] { converter.stop(); });
            const BatchConverter::Result result =
                converter.convert(all, out, 90, 1 + int(random.bounded(6)));

            // Every photo is accounted for exactly once.
            QStringList seen = result.notStarted;
            for (const BatchConverter::Failure& failure : result.failed)
                seen << failure.source;
            QCOMPARE(result.converted.size() + seen.size(), all.size());
            for (const QString& target : result.converted)
                seen << sources + '/' + QFileInfo(target).completeBaseName() + ".heic";
            seen.sort();
            QCOMPARE(seen, all);

            // Only whole JPEGs, exactly the ones reported, and nothing left queued.
            QStringList written;
            for (const QString& name : EngineTest::entries(out + "/Vantora"))
                written << out + "/Vantora/" + name;
            QStringList converted = result.converted;
            for (QString& target : converted)
                target = QDir::cleanPath(target);
            converted.sort();
            QCOMPARE(written, converted);
            for (const QString& target : written)
                QVERIFY2(isWholeJpeg(target, QSize(kSide, kSide)), qPrintable(target));
            QCOMPARE(WorkQueue::global().clear(), 0);
            if (!result.notStarted.isEmpty())
                ++stoppedEarly;
        }
        // The moments were random, not all after the end.
        QVERIFY2(stoppedEarly > 0, "no round was stopped before its end");
        qInfo("%d of %d rounds stopped with photos not started", stoppedEarly, rounds);
    }

    void sourcesDeletedDuringTheRun()
    {
        QTemporaryDir dir;
        const QString sources = dir.filePath("in");
        QVERIFY(QDir().mkpath(sources));
        makeBatch(sources, 120);
        const QStringList all = photosIn(sources);

        BatchConverter converter(m_decoder);
        // From the back, where the workers have not yet been.
        QTimer::singleShot(2, &converter, [&all] {
            for (int i = all.size() - 1; i >= all.size() / 2; i -= 2)
                QFile::remove(all[i]);
        });
        const BatchConverter::Result result = converter.convert(all, dir.filePath("out"), 80, 4);

        QCOMPARE(result.converted.size() + result.failed.size(), all.size());
        int vanished = 0;
        for (const BatchConverter::Failure& failure : result.failed)
            if (!QFileInfo::exists(failure.source))
                ++vanished;
        QVERIFY2(vanished > 0, "no photo was deleted before its worker got to it");
        QCOMPARE(strayEntries(dir.filePath("out/Vantora")), QStringList());
        for (const QString& target : result.converted)
            QVERIFY2(isWholeJpeg(target, QSize(kSide, kSide)), qPrintable(target));
    }

    void outputFolderRemovedDuringTheRun()
    {
        QTemporaryDir dir;
        const QString sources = dir.filePath("in");
        QVERIFY(QDir().mkpath(sources));
        makeBatch(sources, 120);
        const QStringList all = photosIn(sources);
        const QString out = dir.filePath("out");

        BatchConverter converter(m_decoder);
        QTimer::singleShot(5, &converter, [out] {
            QDir(out).removeRecursively();
            // A file where the folder was: no worker can make the folder again.
            EngineTest::writeFile(out, "in the way");
        });
        const BatchConverter::Result result = converter.convert(all, out, 80, 4);

        QCOMPARE(result.converted.size() + result.failed.size(), all.size());
        QVERIFY(result.failed.size() >= all.size() / 2);
        bool writeReported = false;
        for (const BatchConverter::Failure& failure : result.failed)
            writeReported = writeReported || failure.reason.startsWith("cannot write");
        QVERIFY(writeReported);
        QVERIFY(QFileInfo(out).isFile());
    }

private:
    // Writes `count` photos named p0000.heic...; every twentieth is broken in
    // one of four ways. Returns the broken ones.

    QStringList makeBatch(const QString& folder, int count)
    {
        QStringList broken;
        for (int i = 0; i < count; ++i) {
            const QString path = QStringLiteral("%1/p%2.heic").arg(folder).arg(i, 4, 10, QLatin1Char('0'));
            const QByteArray& photo = m_photos[i % m_photos.size()];
            QByteArray bytes = photo;
            if (i % 20 == 19) {
                switch ((i / 20) % 4) {
                case 0: bytes = photo.left(photo.size() / 2); break;                  // truncated
                case 1: bytes = QByteArray(photo.size(), '\x5A'); break;              // garbage
                case 2: bytes.clear(); break;                                         // empty
                default: bytes = m_jpeg; break;                                       // a JPEG renamed
                }
                broken << path;
            }
            if (!EngineTest::writeFile(path, bytes))
                qFatal("cannot write %s", qPrintable(path));
        }
        return broken;
    }

    QStringList photosIn(const QString& folder) const
    {
        QStringList paths;
        for (const QString& name : EngineTest::entries(folder))
            paths << folder + QLatin1Char('/') + name;
        return paths;
    }

    QVector<QByteArray> m_photos; // a few encoded pictures, reused under many names
    QByteArray m_jpeg;
    Heif2JpgFn m_decoder = nullptr;
    static constexpr int kSide = 48;
};

PICTOVA_TEST_GUILESS_MAIN(StressTest)
#include "test_stress.moc"

#include "TestSandbox.h"
#include "DecoderLibrary.h"
#include "EngineTestSupport.h"
#include "HEICTojpg.h"
#include "HeicDecoder.h"
#include "HeicFixture.h"
#include "MemoryBudget.h"

#include <QRegularExpression>

#include <atomic>
#include <limits>
#include <memory>

namespace {

// In-process decoders for the answers the stand-in library does not give.
std::atomic_int g_tooSmallCalls{0};
int32_t alwaysTooSmall(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t, const char*)
{
    ++g_tooSmallCalls;
    return DECODEX_ERR_OUTPUT_TOO_SMALL;
}

int32_t notAJpeg(const uint8_t*, int32_t, int32_t, uint8_t* output, int32_t capacity, const char*)
{
    if (capacity < 5)
        return DECODEX_ERR_OUTPUT_TOO_SMALL;
    memcpy(output, "hello", 5);
    return 5;
}

// Writes a whole JPEG, then says it wrote more than the buffer holds.
int32_t claimsTooMuch(const uint8_t*, int32_t, int32_t, uint8_t* output, int32_t capacity, const char*)
{
    const QByteArray jpeg = EngineTest::jpeg();
    if (capacity < jpeg.size())
        return DECODEX_ERR_OUTPUT_TOO_SMALL;
    memcpy(output, jpeg.constData(), size_t(jpeg.size()));
    return capacity + 1;
}

} // namespace

class HeicDecoderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_fake = DecoderLibrary::bindFrom(EngineTest::fakeLibrary());
        QVERIFY2(m_fake.isBound(), qPrintable(m_fake.error));
    }

    // What the loader refuses before the library sees a byte.
    void loaderRefuses_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("failure");
        QTest::newRow("empty") << "empty" << "file is empty";
        QTest::newRow("3 GB") << "huge" << "file is larger than 2 GB";
        QTest::newRow("over the memory budget") << "budget" << "of memory set aside";
        QTest::newRow("17 MB") << "17 MB" << "";
        QTest::newRow("missing") << "missing" << "cannot open ";
        QTest::newRow("a folder with a photo's name") << "folder" << "not a regular file";
        QTest::newRow("one byte") << "byte" << "";
    }

    void loaderRefuses()
    {
        QFETCH(QString, kind);
        QFETCH(QString, failure);
        const QString path = m_dir.filePath(kind + ".heic");
        if (kind == "folder") {
            QVERIFY(QDir().mkpath(path));
        }
        const QMap<QString, qint64> sizes{{"huge", qint64(3) << 30}, {"budget", 2 << 20},
                                          {"17 MB", 17 << 20}, {"byte", 1}, {"empty", 0}};
        if (sizes.contains(kind)) {
            QFile file(path); // sparse, so 3 GB cost no disk space
            QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(sizes.value(kind)));
        }
        if (kind == "budget")
            MemoryBudget::global().setLimit(1 << 20);
        HeicDecoder decoder;
        QString why;
        const QByteArray read = decoder.readHeicFile(path, &why);
        MemoryBudget::global().setLimit(0);
        QVERIFY2(failure.isEmpty() ? why.isEmpty() : why.contains(failure), qPrintable(why));
        QCOMPARE(read.isNull(), !failure.isEmpty());
        QCOMPARE(read.size(), failure.isEmpty() ? int(sizes.value(kind)) : 0);
        if (kind == "huge")
            QCOMPARE(decoder.fileSize(), std::numeric_limits<qint32>::max()); // the measure saturates
    }

    void missingLibraryIsNeverCalledAndWarnsOnce()
    {
        const auto missing = DecoderLibrary::bindFrom(m_dir.filePath("nowhere/Decodex"));
        QVERIFY(!missing.isBound());
        QVERIFY(!missing.error.isEmpty());
        QVERIFY(!missing.capacity);
        const auto noExport = DecoderLibrary::bindFrom(EngineTest::noExportLibrary());
        QVERIFY(!noExport.isBound());
        QVERIFY2(noExport.error.contains("heif2jpg"), qPrintable(noExport.error));

#ifndef PICTOVA_HAVE_DECODEX
        // bind() finds the real library beside the test when it is built.
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^decoding library not found"));
        QVERIFY(!DecoderLibrary::bind().isBound());
        QVERIFY(!DecoderLibrary::bind().isBound()); // no second warning
#endif

        const QString path = m_dir.filePath("one.heic");
        QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(EngineTest::jpeg())));
        HeicDecoder decoder(missing.convert);
        QTest::ignoreMessage(QtWarningMsg, "decoding library not found");
        for (int i = 0; i < 3; ++i)
            QCOMPARE(decoder.convertFile(path, 90, "").failure, QString("decoding library not found"));
    }

    void libraryErrorsBecomeReasons_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("reason");
        QTest::newRow("garbage") << QByteArray("\x00\x01garbage", 9) << "not a HEIF file";
        QTest::newRow("decode failed") << QByteArray("FAKEERR3") << "the picture could not be decoded";
        QTest::newRow("too large") << QByteArray("FAKEERR4") << "image is too large (more than 200 megapixels)";
        QTest::newRow("encode failed") << QByteArray("FAKEERR6") << "JPEG encoding failed or memory ran out";
    }

    void libraryErrorsBecomeReasons()
    {
        QFETCH(QByteArray, input);
        QFETCH(QString, reason);
        const auto result = HeicDecoder(m_fake.convert).decodeToJpeg(input, 100, "");
        QVERIFY(result.jpeg.isEmpty());
        QCOMPARE(result.failure, reason);
    }

    void outputIsSizedByTheLibraryInOneCall()
    {
        // A JPEG larger than ten times its file: the library's bound is asked
        // first, so the photo is decoded once, not once too small and again.
        const QByteArray jpeg = EngineTest::jpeg();
        const int before = EngineTest::fakeCalls();
        const auto result = HeicDecoder(m_fake.convert).decodeToJpeg(EngineTest::fakeHeic(jpeg, "FAKEBIGS"), 100, "");
        QVERIFY2(result.ok(), qPrintable(result.failure));
        QCOMPARE(result.jpeg, jpeg);
        QCOMPARE(EngineTest::fakeCalls(), before + 1);

        // Without a bound, or with one the library then breaks: one call, a reason.
        HeicDecoder decoder(&alwaysTooSmall);
        g_tooSmallCalls = 0;
        QCOMPARE(decoder.decodeToJpeg("input", 100, "").failure, QString("the JPEG did not fit in its buffer"));
        DecoderLibrary::registerCapacity(&alwaysTooSmall,
                                         [](const uint8_t*, int32_t, int32_t) -> int32_t { return 100; });
        QVERIFY(!decoder.decodeToJpeg("input", 100, "").ok());
        QCOMPARE(g_tooSmallCalls.load(), 2);
        DecoderLibrary::registerCapacity(&alwaysTooSmall, nullptr);
        // Every call gave its memory back, failed ones included.
        QCOMPARE(MemoryBudget::global().inUse(), qint64(0));

        QCOMPARE(HeicDecoder::outputCapacity(-5), 0);
        QCOMPARE(HeicDecoder::outputCapacity(std::numeric_limits<qint32>::max() / 10 + 1),
                 std::numeric_limits<qint32>::max());
    }

    void badLibraryAnswersAreRefused()
    {
        HeicDecoder decoder(&notAJpeg);
        QCOMPARE(decoder.decodeToJpeg("input", 100, "").failure, QString("the decoding library returned no picture"));
        decoder.setDecoder(&claimsTooMuch);
        const auto lied = decoder.decodeToJpeg(QByteArray(4096, 'x'), 100, ""); // room for the JPEG
        QVERIFY(!lied.ok());
        QVERIFY(lied.jpeg.isEmpty());
    }

    void previewIsReadAtTheLabelsSize_data()
    {
        QTest::addColumn<QSize>("photo");
        QTest::addColumn<QSize>("box");
        QTest::addColumn<QSize>("shown");
        QTest::newRow("wide photo, fits the width") << QSize(1200, 400) << QSize(510, 340) << QSize(510, 170);
        QTest::newRow("small photo is not enlarged") << QSize(120, 80) << QSize(510, 340) << QSize(120, 80);
        QTest::newRow("missing file: a null picture") << QSize(0, 0) << QSize(510, 340) << QSize(0, 0);
    }

    void previewIsReadAtTheLabelsSize()
    {
        QFETCH(QSize, photo);
        QFETCH(QSize, box);
        QFETCH(QSize, shown);
        const bool missing = photo.isEmpty();
        const QByteArray jpeg = missing ? QByteArray() : EngineTest::jpeg(photo.width(), photo.height());
        const QString path = m_dir.filePath(missing ? "nothing-here.HEIC" : "scaled.HEIC");
        if (missing)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("nothing-here\\.HEIC: cannot open "));
        else
            QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(jpeg)));

        HEICTojpg thread(path, m_fake.convert, nullptr);
        thread.setPreviewSize(box);
        QStringList order;
        QByteArray sent;
        QImage picture;
        QSize reported;
        connect(&thread, &HEICTojpg::signal_SendJpegData, this, [&](const QByteArray& data) {
            order << "jpeg";
            sent = data;
        });
        connect(&thread, &HEICTojpg::signal_SendHeicData, this,
                [&](const QImage& image, int width, int height) {
                    order << "image";
                    picture = image;
                    reported = QSize(width, height);
                });
        thread.start();
        QTRY_COMPARE(order, QStringList({"jpeg", "image"}));
        QVERIFY(thread.wait(5000));
        // The resolution text needs the photo's own size, whatever was read.
        QCOMPARE(reported, photo);
        QCOMPARE(picture.size(), shown);
        QCOMPARE(sent, jpeg);
        QCOMPARE(thread.jpegData(), jpeg);
        if (!missing)
            QCOMPARE(thread.fileSize(), jpeg.size() + 8);
    }

    void previewDestroyedWhileRunningDeliversNothing()
    {
        const QString path = m_dir.filePath("slow.heic");
        QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(EngineTest::jpeg(), "FAKESLOW")));

        // The page owns the thread and goes away while the library is busy.
        auto delivered = std::make_shared<int>(0);
        auto* page = new QObject;
        auto* thread = new HEICTojpg(path, m_fake.convert, page);
        connect(thread, &HEICTojpg::signal_SendHeicData, page, [delivered] { ++*delivered; });
        connect(thread, &HEICTojpg::signal_SendJpegData, page, [delivered] { ++*delivered; });
        const int before = EngineTest::fakeCalls();
        thread->start();
        QTRY_VERIFY(EngineTest::fakeCalls() > before); // inside the library now
        delete page;                                   // waits for the decode, then frees the thread
        QTest::qWait(100);
        QCOMPARE(*delivered, 0);
    }

    void previewShowsTheThumbnailFirst()
    {
#ifndef PICTOVA_HAVE_DECODEX
        QSKIP("the decoding library is not built");
#else
        const DecoderLibrary::Functions library = DecoderLibrary::bind();
        QVERIFY(library.isBound() && library.thumbnail);
        HeicFixtureOptions options;
        options.orientation = 6; // a portrait photo stored on its side
        options.thumbnail = 64;
        QString error;
        const QByteArray heic = HeicFixture::encode(HeicFixture::quadrants(192, 128), options, &error);
        if (heic.isEmpty())
            QSKIP(qPrintable(error));
        const QString path = m_dir.filePath("with-thumbnail.heic");
        QVERIFY(EngineTest::writeFile(path, heic));

        HEICTojpg thread(path, library.convert, nullptr);
        QStringList order;
        QImage thumbnail;
        connect(&thread, &HEICTojpg::signal_SendThumbnail, this, [&](const QImage& image) {
            order << "thumbnail";
            thumbnail = image;
        });
        connect(&thread, &HEICTojpg::signal_SendJpegData, this, [&] { order << "jpeg"; });
        connect(&thread, &HEICTojpg::signal_SendHeicData, this, [&] { order << "image"; });
        thread.start();
        QTRY_COMPARE(order, QStringList({"thumbnail", "jpeg", "image"}));
        QVERIFY(thread.wait(5000));
        QCOMPARE(thumbnail.height(), 64); // standing, like the photo
        QVERIFY(thumbnail.width() < thumbnail.height());
#endif
    }

private:
    QTemporaryDir m_dir;
    DecoderLibrary::Functions m_fake;
};

PICTOVA_TEST_GUILESS_MAIN(HeicDecoderTest)
#include "test_heic_decoder.moc"

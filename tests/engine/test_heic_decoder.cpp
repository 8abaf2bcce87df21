#include "DecoderLibrary.h"
#include "EngineTestSupport.h"
#include "HEICTojpg.h"
#include "HeicDecoder.h"

#include <QLibrary>
#include <QRegularExpression>

#include <atomic>
#include <limits>
#include <memory>

namespace {

using CallsFn = int (*)();

int fakeCalls()
{
    static const auto calls =
        reinterpret_cast<CallsFn>(QLibrary::resolve(EngineTest::fakeLibrary(), "fake_decodex_calls"));
    return calls ? calls() : -1;
}

// In-process decoders for the cases the stand-in library does not cover.
std::atomic_int g_tooSmallCalls{0};
int32_t alwaysTooSmall(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t, const char*)
{
    ++g_tooSmallCalls;
    return DECODEX_ERR_OUTPUT_TOO_SMALL;
}

int32_t notAJpeg(const uint8_t*, int32_t, int32_t, uint8_t* output, int32_t capacity, const char*)
{
    const char text[] = "hello";
    if (capacity < 5)
        return DECODEX_ERR_OUTPUT_TOO_SMALL;
    memcpy(output, text, 5);
    return 5;
}

int32_t claimsTooMuch(const uint8_t*, int32_t, int32_t, uint8_t* output, int32_t capacity, const char*)
{
    output[0] = char(0xFF);
    return capacity + 1;
}

} // namespace

class HeicDecoderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void loaderSizeLimits_data();
    void loaderSizeLimits();
    void loaderRefusesHugeFileButMeasuresIt();
    void loaderFailureToOpenKeepsPreviousSize();

    void missingLibraryIsNullAndWarnsOnce();
    void libraryWithoutExportIsNull();

    void decodeReturnsTheLibrarysBytes();
    void emptyInputOrMissingDecoderNeverCallsTheLibrary();
    void libraryErrorsBecomeReasons_data();
    void libraryErrorsBecomeReasons();
    void tooSmallOutputIsRetriedOnceWithTheLibrarysCapacity();
    void tooSmallWithoutCapacityFunctionFailsAfterOneCall();
    void outputThatIsNoJpegOrOverrunsIsRefused();
    void capacityIsTenTimesAndNeverOverflows();

    void previewEmitsBytesThenPicture();
    void previewIsReadAtTheLabelsSize_data();
    void previewIsReadAtTheLabelsSize();
    void previewOfMissingFileEmitsNullPicture();
    void previewDestroyedWhileRunningDeliversNothing();

private:
    QTemporaryDir m_dir;
    DecoderLibrary::Functions m_fake;
};

void HeicDecoderTest::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_fake = DecoderLibrary::bindFrom(EngineTest::fakeLibrary());
    QVERIFY2(m_fake.isBound(), qPrintable(m_fake.error));
}

void HeicDecoderTest::loaderSizeLimits_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("empty") << 0 << false;
    QTest::newRow("one byte") << 1 << true;
    QTest::newRow("largest accepted") << 16777214 << true;
    QTest::newRow("one byte too many") << 16777215 << false;
}

void HeicDecoderTest::loaderSizeLimits()
{
    QFETCH(int, size);
    QFETCH(bool, accepted);
    const QString path = m_dir.filePath("sized.heic");
    QByteArray bytes(size, 'x');
    if (size > 0)
        bytes[size - 1] = 'z';
    QVERIFY(EngineTest::writeFile(path, bytes));

    HeicDecoder decoder;
    QString failure;
    const QByteArray read = decoder.readHeicFile(path, &failure);
    QCOMPARE(decoder.fileSize(), size); // measured before the range check
    QCOMPARE(!read.isNull(), accepted);
    if (accepted) {
        QCOMPARE(read.size(), size);
        QCOMPARE(read.back(), 'z');
        QVERIFY(failure.isEmpty());
    } else {
        QCOMPARE(failure, size == 0 ? QString("file is empty") : QString("file is larger than 16 MB"));
    }
}

void HeicDecoderTest::loaderRefusesHugeFileButMeasuresIt()
{
    // Sparse: costs no disk space.
    const QString path = m_dir.filePath("huge.heic");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(qint64(3) << 30));
    file.close();

    HeicDecoder decoder;
    QVERIFY(decoder.readHeicFile(path).isNull());
    QCOMPARE(decoder.fileSize(), std::numeric_limits<qint32>::max());
    QFile::remove(path);
}

void HeicDecoderTest::loaderFailureToOpenKeepsPreviousSize()
{
    const QString path = m_dir.filePath("five.heic");
    QVERIFY(EngineTest::writeFile(path, "12345"));
    HeicDecoder decoder;
    QCOMPARE(decoder.fileSize(), 0);
    QCOMPARE(decoder.readHeicFile(path), QByteArray("12345"));

    QString failure;
    QVERIFY(decoder.readHeicFile(m_dir.filePath("missing.heic"), &failure).isNull());
    QCOMPARE(decoder.fileSize(), 5);
    QVERIFY(failure.startsWith("cannot open "));

    // A folder is not a photo, even with a photo's name.
    QVERIFY(QDir(m_dir.path()).mkdir("folder.heic"));
    QVERIFY(decoder.readHeicFile(m_dir.filePath("folder.heic"), &failure).isNull());
    QCOMPARE(decoder.fileSize(), 5);
    QVERIFY(failure.contains("not a regular file"));
}

void HeicDecoderTest::missingLibraryIsNullAndWarnsOnce()
{
    // bind() looks beside this test and then in the system's path; a test
    // build normally has the real library beside it, so check the path used
    // for a missing one directly, and the warning through bind() only when
    // nothing is found.
    const auto missing = DecoderLibrary::bindFrom(m_dir.filePath("nowhere/Decodex"));
    QVERIFY(!missing.isBound());
    QVERIFY(!missing.error.isEmpty());
    QVERIFY(!missing.capacity);

#ifndef PICTOVA_HAVE_DECODEX
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^decoding library not found"));
    QVERIFY(!DecoderLibrary::bind().isBound());
    QVERIFY(!DecoderLibrary::bind().isBound()); // no second warning
#endif

    // Decoding without a library fails cleanly, says so once per process.
    const QString path = m_dir.filePath("one.heic");
    QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(EngineTest::jpeg())));
    HeicDecoder decoder(missing.convert);
    QTest::ignoreMessage(QtWarningMsg, "decoding library not found");
    for (int i = 0; i < 3; ++i) {
        const auto result = decoder.convertFile(path, 90, "");
        QVERIFY(!result.ok());
        QCOMPARE(result.failure, QString("decoding library not found"));
    }
}

void HeicDecoderTest::libraryWithoutExportIsNull()
{
    const auto functions = DecoderLibrary::bindFrom(EngineTest::noExportLibrary());
    QVERIFY(!functions.isBound());
    QVERIFY2(functions.error.contains("heif2jpg"), qPrintable(functions.error));
}

void HeicDecoderTest::decodeReturnsTheLibrarysBytes()
{
    const QByteArray jpeg = EngineTest::jpeg(64, 48);
    const QString path = m_dir.filePath("ok.heic");
    QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(jpeg)));

    HeicDecoder decoder(m_fake.convert);
    const auto result = decoder.convertFile(path, 80, "temp1.hevc");
    QVERIFY2(result.ok(), qPrintable(result.failure));
    QCOMPARE(result.jpeg, jpeg);
    QCOMPARE(decoder.fileSize(), jpeg.size() + 8);
    const QImage image = HeicDecoder::imageFromJpeg(result.jpeg);
    QCOMPARE(image.size(), QSize(64, 48));
}

void HeicDecoderTest::emptyInputOrMissingDecoderNeverCallsTheLibrary()
{
    HeicDecoder decoder(m_fake.convert);
    const int before = fakeCalls();
    QVERIFY(before >= 0);

    QVERIFY(!decoder.decodeToJpeg(QByteArray(), 100, "").ok());
    QVERIFY(!decoder.decodeToJpeg(QByteArray(""), 100, "").ok());

    const QString empty = m_dir.filePath("empty.heic");
    QVERIFY(EngineTest::writeFile(empty, QByteArray()));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("empty\\.heic: file is empty$"));
    const auto result = decoder.convertFile(empty, 100, "");
    QCOMPARE(result.failure, QString("file is empty"));

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("gone\\.heic: cannot open "));
    QVERIFY(!decoder.convertFile(m_dir.filePath("gone.heic"), 100, "").ok());

    QCOMPARE(fakeCalls(), before);
}

void HeicDecoderTest::libraryErrorsBecomeReasons_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("reason");
    QTest::newRow("garbage") << QByteArray("\x00\x01garbage", 9) << "not a HEIF file";
    QTest::newRow("decode failed") << QByteArray("FAKEERR3") << "truncated or corrupt image";
    QTest::newRow("too large") << QByteArray("FAKEERR4") << "image is too large (more than 200 megapixels)";
    QTest::newRow("encode failed") << QByteArray("FAKEERR6") << "JPEG encoding failed or memory ran out";
    QTest::newRow("unknown code") << QByteArray("FAKEERR9") << "decoding failed (error -9)";
}

void HeicDecoderTest::libraryErrorsBecomeReasons()
{
    QFETCH(QByteArray, input);
    QFETCH(QString, reason);
    HeicDecoder decoder(m_fake.convert);
    const auto result = decoder.decodeToJpeg(input, 100, "");
    QVERIFY(result.jpeg.isEmpty());
    QCOMPARE(result.failure, reason);
}

void HeicDecoderTest::tooSmallOutputIsRetriedOnceWithTheLibrarysCapacity()
{
    const QByteArray jpeg = EngineTest::jpeg();
    HeicDecoder decoder(m_fake.convert);
    const int before = fakeCalls();
    const auto result = decoder.decodeToJpeg(EngineTest::fakeHeic(jpeg, "FAKEBIGS"), 100, "");
    QVERIFY2(result.ok(), qPrintable(result.failure));
    QCOMPARE(result.jpeg, jpeg);
    QCOMPARE(fakeCalls(), before + 2);
}

void HeicDecoderTest::tooSmallWithoutCapacityFunctionFailsAfterOneCall()
{
    HeicDecoder decoder(&alwaysTooSmall);
    g_tooSmallCalls = 0;
    auto result = decoder.decodeToJpeg("input", 100, "");
    QCOMPARE(result.failure, QString("the JPEG did not fit in its buffer"));
    QCOMPARE(g_tooSmallCalls.load(), 1);

    // With a partner that still gives too little, it stops after the retry.
    DecoderLibrary::registerCapacity(&alwaysTooSmall,
                                     [](const uint8_t*, int32_t, int32_t) -> int32_t { return 100; });
    result = decoder.decodeToJpeg("input", 100, "");
    QVERIFY(!result.ok());
    QCOMPARE(g_tooSmallCalls.load(), 3);
    DecoderLibrary::registerCapacity(&alwaysTooSmall, nullptr);
}

void HeicDecoderTest::outputThatIsNoJpegOrOverrunsIsRefused()
{
    HeicDecoder decoder(&notAJpeg);
    auto result = decoder.decodeToJpeg("input", 100, "");
    QVERIFY(!result.ok());
    QCOMPARE(result.failure, QString("the decoding library returned no picture"));

    decoder.setDecoder(&claimsTooMuch);
    result = decoder.decodeToJpeg("input", 100, "");
    QVERIFY(!result.ok());
}

void HeicDecoderTest::capacityIsTenTimesAndNeverOverflows()
{
    QCOMPARE(HeicDecoder::outputCapacity(0), 0);
    QCOMPARE(HeicDecoder::outputCapacity(-5), 0);
    QCOMPARE(HeicDecoder::outputCapacity(1), 10);
    QCOMPARE(HeicDecoder::outputCapacity(HeicDecoder::kMaxFileSize), 167772140);
    QCOMPARE(HeicDecoder::outputCapacity(std::numeric_limits<qint32>::max() / 10 + 1),
             std::numeric_limits<qint32>::max());
}

void HeicDecoderTest::previewEmitsBytesThenPicture()
{
    const QByteArray jpeg = EngineTest::jpeg(120, 80);
    const QString path = m_dir.filePath("preview.HEIC");
    QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(jpeg)));

    HEICTojpg thread(path, m_fake.convert, nullptr);
    thread.setQuality(70);
    QStringList order;
    QByteArray bytes;
    QImage picture;
    QSize size;
    connect(&thread, &HEICTojpg::signal_SendJpegData, this, [&](const QByteArray& data) {
        order << "jpeg";
        bytes = data;
    });
    connect(&thread, &HEICTojpg::signal_SendHeicData, this,
            [&](const QImage& image, int width, int height) {
                order << "image";
                picture = image;
                size = QSize(width, height);
            });
    thread.start();
    QTRY_COMPARE(order, QStringList({"jpeg", "image"}));
    QVERIFY(thread.wait(5000));
    QCOMPARE(bytes, jpeg);
    QCOMPARE(size, QSize(120, 80));
    QCOMPARE(picture.size(), size);
    QCOMPARE(thread.jpegData(), jpeg);
    QCOMPARE(thread.fileSize(), jpeg.size() + 8);
    QVERIFY(thread.failureReason().isEmpty());
}

void HeicDecoderTest::previewIsReadAtTheLabelsSize_data()
{
    QTest::addColumn<QSize>("photo");
    QTest::addColumn<QSize>("box");
    QTest::addColumn<QSize>("shown");
    QTest::newRow("wide photo, fits the width") << QSize(1200, 400) << QSize(510, 340) << QSize(510, 170);
    QTest::newRow("tall photo, fits the height") << QSize(600, 800) << QSize(510, 340) << QSize(255, 340);
    QTest::newRow("small photo is not enlarged") << QSize(120, 80) << QSize(510, 340) << QSize(120, 80);
    QTest::newRow("no box: the whole picture") << QSize(700, 300) << QSize() << QSize(700, 300);
}

void HeicDecoderTest::previewIsReadAtTheLabelsSize()
{
    QFETCH(QSize, photo);
    QFETCH(QSize, box);
    QFETCH(QSize, shown);
    const QByteArray jpeg = EngineTest::jpeg(photo.width(), photo.height());
    const QString path = m_dir.filePath("scaled.HEIC");
    QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(jpeg)));

    HEICTojpg thread(path, m_fake.convert, nullptr);
    thread.setPreviewSize(box);
    QImage picture;
    QSize reported;
    connect(&thread, &HEICTojpg::signal_SendHeicData, this,
            [&](const QImage& image, int width, int height) {
                picture = image;
                reported = QSize(width, height);
            });
    thread.start();
    QTRY_VERIFY(reported.isValid());
    QVERIFY(thread.wait(5000));
    // The resolution text needs the photo's own size, whatever was read.
    QCOMPARE(reported, photo);
    QCOMPARE(picture.size(), shown);
    QCOMPARE(thread.jpegData(), jpeg);
}

void HeicDecoderTest::previewOfMissingFileEmitsNullPicture()
{
    const QString path = m_dir.filePath("nothing-here.heic");
    HEICTojpg thread(path, m_fake.convert, nullptr);
    int emissions = 0;
    QImage picture(1, 1, QImage::Format_RGB32);
    QSize size(-1, -1);
    connect(&thread, &HEICTojpg::signal_SendHeicData, this,
            [&](const QImage& image, int width, int height) {
                ++emissions;
                picture = image;
                size = QSize(width, height);
            });
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("nothing-here\\.heic: cannot open "));
    thread.start();
    QVERIFY(thread.wait(5000));
    QTRY_COMPARE(emissions, 1);
    QVERIFY(picture.isNull());
    QCOMPARE(size, QSize(0, 0));
    QCOMPARE(thread.fileSize(), 0);
    QVERIFY(thread.jpegData().isEmpty());
    QVERIFY(!thread.failureReason().isEmpty());
}

void HeicDecoderTest::previewDestroyedWhileRunningDeliversNothing()
{
    const QString path = m_dir.filePath("slow.heic");
    QVERIFY(EngineTest::writeFile(path, EngineTest::fakeHeic(EngineTest::jpeg(), "FAKESLOW")));

    // The page owns the thread and goes away while the library is busy.
    auto delivered = std::make_shared<int>(0);
    auto* page = new QObject;
    auto* thread = new HEICTojpg(path, m_fake.convert, page);
    connect(thread, &HEICTojpg::signal_SendHeicData, page, [delivered] { ++*delivered; });
    connect(thread, &HEICTojpg::signal_SendJpegData, page, [delivered] { ++*delivered; });
    const int before = fakeCalls();
    thread->start();
    QTRY_VERIFY(fakeCalls() > before); // inside the library now
    delete page;                        // waits for the decode, then frees the thread
    QTest::qWait(100);
    QCOMPARE(*delivered, 0);
}

PICTOVA_TEST_MAIN_WITH_TEMP_HOME(HeicDecoderTest)
#include "test_heic_decoder.moc"

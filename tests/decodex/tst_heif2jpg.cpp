// The library's contract as the program relies on it, through the public C
// functions only.
#include "TestSandbox.h"
#include "HeicFixture.h"
#include "HeifBuilder.h"
#include "JpegInspector.h"
#include "decodex/heif2jpg.h"

#include <QColorSpace>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <libheif/heif.h>

#include <cmath>
#include <memory>
#include <thread>

namespace {

struct Result
{
    int code = 0;
    QByteArray jpeg;
};

// Converts as the engine does: the first try with ten times the input, a
// second one with the size the library asks for.
Result convert(const QByteArray& heic, int quality = 90, const char* scratch = nullptr)
{
    const auto* in = reinterpret_cast<const uint8_t*>(heic.constData());
    QByteArray out(heic.size() * 10, '\0');
    int code = heif2jpg(in, heic.size(), quality, reinterpret_cast<uint8_t*>(out.data()), out.size(), scratch);
    if (code == DECODEX_ERR_OUTPUT_TOO_SMALL) {
        const int capacity = heif2jpg_capacity(in, heic.size(), quality);
        out.resize(capacity > 0 ? capacity : 1);
        code = heif2jpg(in, heic.size(), quality, reinterpret_cast<uint8_t*>(out.data()), out.size(), scratch);
    }
    return {code, code > 0 ? out.left(code) : QByteArray()};
}

HeifBuilder::Hevc flatTile(int width, int height, QColor colour)
{
    QImage picture(width, height, QImage::Format_RGB32);
    picture.fill(colour);
    HeicFixtureOptions options;
    options.chroma = 444;
    return HeifBuilder::hevcOf(HeicFixture::encode(picture, options));
}

Result convertWith(const QByteArray& heic, int maxLongSide, uint32_t flags, int version = DECODEX_OPTIONS_VERSION)
{
    decodex_options options;
    heif2jpg_options_init(&options);
    options.version = version;
    options.quality = 90;
    options.max_long_side = maxLongSide;
    options.flags = flags;
    const auto* in = reinterpret_cast<const uint8_t*>(heic.constData());
    QByteArray out(qMax(heif2jpg_capacity(in, heic.size(), 90), 1), '\0');
    const int code = heif2jpg_with_options(in, heic.size(), &options, reinterpret_cast<uint8_t*>(out.data()), out.size());
    return {code, code > 0 ? out.left(code) : QByteArray()};
}

QImage decoded(const Result& r)
{
    return QImage::fromData(r.jpeg, "JPG").convertToFormat(QImage::Format_RGB32);
}

int ifd0Orientation(const QByteArray& tiff)
{
    if (tiff.size() < 8)
        return -1;
    const bool le = tiff.startsWith("II");
    auto u16 = [&](int at) { return le ? qFromLittleEndian<quint16>(tiff.constData() + at) : qFromBigEndian<quint16>(tiff.constData() + at); };
    auto u32 = [&](int at) { return le ? qFromLittleEndian<quint32>(tiff.constData() + at) : qFromBigEndian<quint32>(tiff.constData() + at); };
    const int ifd = int(u32(4));
    if (ifd + 2 > tiff.size())
        return -1;
    const int count = u16(ifd);
    for (int i = 0; i < count && ifd + 2 + i * 12 + 12 <= tiff.size(); ++i) {
        const int e = ifd + 2 + i * 12;
        if (u16(e) == 0x0112)
            return u16(e + 8);
    }
    return 0;
}

QColor at(const QImage& image, double fx, double fy)
{
    return image.pixelColor(int(fx * image.width()), int(fy * image.height()));
}

bool close(const QColor& a, const QColor& b, int tolerance = 40)
{
    return qAbs(a.red() - b.red()) <= tolerance && qAbs(a.green() - b.green()) <= tolerance
           && qAbs(a.blue() - b.blue()) <= tolerance;
}

// libheif's own RGB decoding of a file, for comparisons.
QImage libheifDecode(const QByteArray& heic)
{
    QImage result;
    heif_context* ctx = heif_context_alloc();
    heif_image_handle* handle = nullptr;
    heif_image* image = nullptr;
    if (heif_context_read_from_memory_without_copy(ctx, heic.constData(), size_t(heic.size()), nullptr).code == heif_error_Ok
        && heif_context_get_primary_image_handle(ctx, &handle).code == heif_error_Ok
        && heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr).code
               == heif_error_Ok) {
        int stride = 0;
        const uint8_t* plane = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
        result = QImage(plane, heif_image_get_width(image, heif_channel_interleaved),
                        heif_image_get_height(image, heif_channel_interleaved), stride, QImage::Format_RGB888)
                     .copy();
    }
    heif_image_release(image);
    heif_image_handle_release(handle);
    heif_context_free(ctx);
    return result;
}

// The picture a viewer shows for a stored picture with this EXIF orientation.
QImage oriented(const QImage& stored, int orientation)
{
    QTransform t;
    switch (orientation) {
    case 2: return stored.mirrored(true, false);
    case 3: return stored.transformed(t.rotate(180));
    case 4: return stored.mirrored(false, true);
    case 5: return stored.mirrored(true, false).transformed(t.rotate(270));
    case 6: return stored.transformed(t.rotate(90));
    case 7: return stored.mirrored(true, false).transformed(t.rotate(90));
    case 8: return stored.transformed(t.rotate(270));
    default: return stored;
    }
}

QByteArray encodeOrSkip(const QImage& picture, const HeicFixtureOptions& options = {})
{
    QString error;
    const QByteArray bytes = HeicFixture::encode(picture, options, &error);
    if (bytes.isEmpty())
        qWarning("fixture not encoded: %s", qPrintable(error));
    return bytes;
}

// The mean colour of a rectangle, to compare flat areas without the noise
// of JPEG coding.
QColor meanColour(const QImage& image, QRect area)
{
    double r = 0, g = 0, b = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb p = image.pixel(x, y);
            r += qRed(p), g += qGreen(p), b += qBlue(p);
        }
    const double n = double(area.width()) * area.height();
    QColor mean;
    mean.setRgbF(r / n / 255.0, g / n / 255.0, b / n / 255.0);
    return mean;
}

} // namespace

class TestHeif2Jpg : public QObject
{
    Q_OBJECT

private slots:
    void metadataIsCarried()
    {
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(6, "2021:05:06 07:08:09");
        options.xmp = "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF/></x:xmpmeta>";
        options.icc = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
        const QByteArray heic = encodeOrSkip(HeicFixture::quadrants(64, 48), options);
        QVERIFY(!heic.isEmpty());
        const Result r = convert(heic);
        QVERIFY2(r.code > 0, heif2jpg_error_text(r.code));
        const JpegInspector jpeg(r.jpeg);
        QVERIFY(jpeg.valid());
        QVERIFY(jpeg.baseline());
        const QByteArray tiff = jpeg.exifTiff();
        QCOMPARE(ifd0Orientation(tiff), 1);
        QVERIFY(tiff.contains("2021:05:06 07:08:09"));
        QVERIFY(tiff.contains(QByteArray("\x25\x88\x04\x00", 4))); // the GPS IFD pointer
        QCOMPARE(tiff.size(), options.exifTiff.size());
        bool xmpFound = false;
        for (const QByteArray& s : jpeg.segments(0xE1))
            xmpFound |= s.startsWith(QByteArray("http://ns.adobe.com/xap/1.0/\0", 29)) && s.endsWith(options.xmp);
        QVERIFY(xmpFound);
        QCOMPARE(jpeg.iccProfile(), options.icc);
    }

    // Photos described by nclx primaries (libheif leaves the box out unless told).
    void nclxDisplayP3GetsProfile()
    {
        HeicFixtureOptions options;
        options.nclxPrimaries = 12;
        const QByteArray heic = encodeOrSkip(HeicFixture::quadrants(64, 48), options);
        const Result r = convert(heic);
        QVERIFY(r.code > 0);
        const QByteArray icc = JpegInspector(r.jpeg).iccProfile();
        QVERIFY(!icc.isEmpty());
        const QColorSpace space = QColorSpace::fromIccProfile(icc);
        QVERIFY(space.isValid());
        QCOMPARE(space.primaries(), QColorSpace::Primaries::DciP3D65);
        QCOMPARE(space.transferFunction(), QColorSpace::TransferFunction::SRgb);
        // The same bytes in a later second (the profile carries no clock
        // time), with the profile's id: the MD5 of the profile with its
        // flags, intent and id fields zero.
        QTest::qSleep(1100);
        QCOMPARE(convert(heic).jpeg, r.jpeg);
        QByteArray hashed = icc;
        for (const auto& field : {std::make_pair(44, 4), std::make_pair(64, 4), std::make_pair(84, 16)})
            hashed.replace(field.first, field.second, QByteArray(field.second, '\0'));
        QCOMPARE(icc.mid(84, 16), QCryptographicHash::hash(hashed, QCryptographicHash::Md5));

        // BT.709 primaries are what a JPEG without a profile means already.
        options.nclxPrimaries = 1;
        const Result plain = convert(encodeOrSkip(HeicFixture::quadrants(64, 48), options));
        QVERIFY(plain.code > 0);
        QVERIFY(JpegInspector(plain.jpeg).iccProfile().isEmpty());
    }

    void orientationsAreApplied_data()
    {
        QTest::addColumn<int>("orientation");
        QTest::addColumn<bool>("asCameras");
        for (bool asCameras : {false, true})
            for (int o = 1; o <= 8; ++o)
                QTest::addRow("%s, orientation %d", asCameras ? "camera" : "libheif", o) << o << asCameras;
    }

    void orientationsAreApplied()
    {
        // libheif 1.15 writes a turned photo's 'ispe' already turned, which the
        // direct path does not trust; cameras and phones write the coded size
        // and the turn and mirror boxes in the order they apply, which it
        // handles itself. Both must show what a viewer shows for the EXIF value,
        // and the direct path must agree with libheif's own decoding.
        QFETCH(int, orientation);
        QFETCH(bool, asCameras);
        // The gradient is smooth enough for a close comparison with libheif.
        const QImage source = asCameras ? HeicFixture::gradient(96, 64) : HeicFixture::quadrants(96, 64);
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(orientation, "2020:01:01 00:00:00");
        QByteArray heic;
        if (asCameras) {
            // irot counts quarter turns anti-clockwise; imir 1 swaps left and
            // right, 0 top and bottom.
            static const struct { int irot, imir; } steps[9] = {
                {0, -1}, {0, -1}, {0, 1}, {2, -1}, {0, 0}, {3, 1}, {3, -1}, {1, 1}, {1, -1}};
            HeifBuilder file;
            const int item = file.addHevc(HeifBuilder::hevcOf(encodeOrSkip(source)));
            if (steps[orientation].irot)
                file.addProperty(item, "irot", QByteArray(1, char(steps[orientation].irot)), true);
            if (steps[orientation].imir >= 0)
                file.addProperty(item, "imir", QByteArray(1, char(steps[orientation].imir)), true);
            heic = file.build();
        } else {
            options.orientation = orientation;
            heic = encodeOrSkip(source, options);
        }
        const Result r = convert(heic, 100);
        QVERIFY(r.code > 0);
        const QImage image = decoded(r);
        const QImage expected = oriented(source, orientation);
        QCOMPARE(image.size(), expected.size());
        for (double fx : {0.25, 0.75})
            for (double fy : {0.25, 0.75})
                QVERIFY2(close(at(image, fx, fy), at(expected, fx, fy)),
                         qPrintable(QStringLiteral("at %1,%2").arg(fx).arg(fy)));
        if (asCameras)
            QVERIFY(HeicFixture::psnr(image, libheifDecode(heic)) >= 40.0);
        else
            QCOMPARE(ifd0Orientation(JpegInspector(r.jpeg).exifTiff()), 1);
    }

    // A bound shrinks the photo as it is shown (turned upright) to the
    // bound, keeping its shape, on both ways through the library. Detail
    // finer than the new pixels averages out rather than aliasing into
    // stripes; a photo within the bound keeps its size.
    void maxLongSideShrinksTheUprightPhoto_data()
    {
        QTest::addColumn<bool>("throughLibheif");
        QTest::newRow("direct") << false;
        QTest::newRow("through libheif") << true; // alpha goes that way
    }

    void maxLongSideShrinksTheUprightPhoto()
    {
        QFETCH(bool, throughLibheif);
        HeicFixtureOptions options;
        options.alpha = throughLibheif;
        options.orientation = 6;
        const QImage source = HeicFixture::quadrants(200, 120);
        const QByteArray turned = encodeOrSkip(source, options);
        const Result small = convertWith(turned, 50, 0);
        QVERIFY2(small.code > 0, heif2jpg_error_text(small.code));
        const QImage image = decoded(small);
        QCOMPARE(image.size(), QSize(30, 50));
        const QImage expected = oriented(source, 6);
        for (double fx : {0.25, 0.75})
            for (double fy : {0.25, 0.75})
                QVERIFY(close(at(image, fx, fy), at(expected, fx, fy)));
        QCOMPARE(decoded(convertWith(turned, 1000, 0)).size(), QSize(120, 200));

        QImage stripes(256, 64, QImage::Format_RGB32);
        for (int x = 0; x < 256; ++x)
            for (int y = 0; y < 64; ++y)
                stripes.setPixel(x, y, x % 2 ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
        options.orientation = 1;
        options.chroma = 444;
        options.encoderQuality = 100;
        const QImage grey = decoded(convertWith(encodeOrSkip(stripes, options), 100, 0));
        QCOMPARE(grey.size(), QSize(100, 25));
        for (int x = 4; x < 96; ++x)
            QVERIFY2(qAbs(qGray(grey.pixel(x, 8)) - 128) < 24, qPrintable(QString("column %1: %2").arg(x).arg(qGray(grey.pixel(x, 8)))));
    }

    // Without the location, the JPEG has no GPS directory and the bytes of
    // the coordinates are gone from it, in EXIF and in XMP; the date, the
    // rest of the XMP and everything else stay. Without the flag all stays.
    void locationCanBeLeftOut()
    {
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(1, "2021:05:06 07:08:09");
        options.xmp = "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF><rdf:Description "
                      "xmlns:exif=\"http://ns.adobe.com/exif/1.0/\" "
                      "exif:GPSLatitude=\"51,10.69N\" xmp:Rating=\"3\" exif:GPSLongitude='1,49.6W'>"
                      "<exif:GPSAltitude>97/1</exif:GPSAltitude><exif:GPSVersionID/><dc:title>Stones</dc:title>"
                      "</rdf:Description></rdf:RDF></x:xmpmeta>";
        const QByteArray heic = encodeOrSkip(HeicFixture::quadrants(64, 48), options);
        for (bool keep : {true, false}) {
            const Result r = convertWith(heic, 0, keep ? 0 : DECODEX_OPTION_NO_LOCATION);
            QVERIFY(r.code > 0);
            const JpegInspector jpeg(r.jpeg);
            const QByteArray tiff = jpeg.exifTiff();
            QVERIFY(tiff.contains("2021:05:06 07:08:09"));
            QCOMPARE(tiff.contains(QByteArray("\x25\x88\x04\x00", 4)), keep); // the GPS IFD pointer
            QCOMPARE(r.jpeg.contains(HeicFixture::gpsLatitude()), keep);
            QCOMPARE(ifd0Orientation(tiff), 1);
            for (const char* property : {"GPSLatitude", "GPSLongitude", "GPSAltitude", "GPSVersionID", "97/1"})
                QCOMPARE(r.jpeg.contains(property), keep);
            QVERIFY(r.jpeg.contains("xmp:Rating=\"3\"") && r.jpeg.contains("<dc:title>Stones</dc:title>"));
        }
    }

    // A caller asking for what this library does not know is told so
    // instead of getting a JPEG without it.
    void unknownOptionsAreRefused()
    {
        const QByteArray heic = encodeOrSkip(HeicFixture::quadrants(32, 32));
        QVERIFY(convertWith(heic, 0, 0).code > 0);
        QCOMPARE(convertWith(heic, 0, 0, DECODEX_OPTIONS_VERSION + 1).code, int(DECODEX_ERR_BAD_ARGUMENT));
        QCOMPARE(convertWith(heic, 0, 0, 0).code, int(DECODEX_ERR_BAD_ARGUMENT));
        QCOMPARE(convertWith(heic, 0, 0x80000000u).code, int(DECODEX_ERR_BAD_ARGUMENT));
        QCOMPARE(convertWith(heic, -1, 0).code, int(DECODEX_ERR_BAD_ARGUMENT));
        uint8_t out[16];
        QCOMPARE(heif2jpg_with_options(reinterpret_cast<const uint8_t*>(heic.constData()), heic.size(), nullptr, out, 16),
                 int32_t(DECODEX_ERR_BAD_ARGUMENT));
    }

    void highBitDepthsAreScaled_data()
    {
        // Cameras' photos: 10 bits (some 12), 4:2:0 or 4:2:2, full or limited
        // range, often turned by an 'irot'. Each must come out as libheif's own
        // decoding shows it.
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("chroma");
        QTest::addColumn<bool>("fullRange");
        QTest::addColumn<bool>("turned");
        QTest::addColumn<int>("matrix");
        QTest::newRow("10 bit 4:2:0") << 10 << 420 << true << false << 6;
        QTest::newRow("10 bit 4:2:2, limited") << 10 << 422 << false << false << 6;
        QTest::newRow("10 bit 4:2:0, limited, irot") << 10 << 420 << false << true << 6;
        QTest::newRow("10 bit 4:2:0, BT.709") << 10 << 420 << true << false << 1;
        QTest::newRow("10 bit 4:2:2, limited, BT.709") << 10 << 422 << false << false << 1;
        QTest::newRow("12 bit 4:2:2") << 12 << 422 << true << false << 6;
    }

    void highBitDepthsAreScaled()
    {
        QFETCH(int, bits);
        QFETCH(int, chroma);
        QFETCH(bool, fullRange);
        QFETCH(bool, turned);
        QFETCH(int, matrix);
        const QImage source = HeicFixture::gradient(128, 96);
        HeicFixtureOptions options;
        options.encoderQuality = 95;
        options.chroma = chroma;
        options.nclxPrimaries = 1;
        options.fullRange = fullRange;
        options.nclxMatrix = matrix;
        options.bitDepth = bits;
        QByteArray heic = encodeOrSkip(source, options);
        if (turned) {
            // As cameras write it: the coded size in 'ispe', a quarter turn.
            HeifBuilder file;
            const int item = file.addHevc(HeifBuilder::hevcOf(heic));
            file.addProperty(item, "colr", HeifBuilder::findBox(heic, "colr"));
            file.addProperty(item, "irot", QByteArray(1, char(1)), true);
            heic = file.build();
        }
        const Result deep = convert(heic, 95);
        QVERIFY(deep.code > 0);
        const QImage b = decoded(deep);
        const double db = HeicFixture::psnr(b, libheifDecode(heic));
        QVERIFY2(db >= 40.0, qPrintable(QString("PSNR %1 dB").arg(db)));
        if (!turned)
            QVERIFY(close(at(b, 0.9, 0.9), at(source, 0.9, 0.9), 8));
    }

    void alphaIsCompositedOnWhite()
    {
        QImage picture(64, 64, QImage::Format_ARGB32);
        picture.fill(Qt::transparent);
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 32; ++x)
                picture.setPixel(x, y, qRgba(0, 0, 200, 255));
        HeicFixtureOptions options;
        options.alpha = true;
        const Result r = convert(encodeOrSkip(picture, options));
        QVERIFY(r.code > 0);
        const QImage image = decoded(r);
        QVERIFY(close(at(image, 0.8, 0.5), QColor(255, 255, 255), 12));
        QVERIFY(close(at(image, 0.2, 0.5), QColor(0, 0, 200), 20));
    }

    void subsamplingFollowsPhoto()
    {
        const QImage picture = HeicFixture::quadrants(64, 48);
        for (int chroma : {420, 444, 400}) {
            HeicFixtureOptions options;
            options.chroma = chroma;
            const Result r = convert(encodeOrSkip(picture, options));
            QVERIFY(r.code > 0);
            const QList<int> sampling = JpegInspector(r.jpeg).sampling();
            if (chroma == 400) {
                // A grey photo stays a one-component JPEG with its own levels.
                QCOMPARE(sampling.size(), 1);
                const QImage grey = QImage::fromData(r.jpeg, "JPG");
                QCOMPARE(grey.format(), QImage::Format_Grayscale8);
                const QImage expected = picture.convertToFormat(QImage::Format_Grayscale8);
                for (const QPoint p : {QPoint(16, 12), QPoint(48, 12), QPoint(16, 36), QPoint(48, 36)})
                    QVERIFY(qAbs(qGray(grey.pixel(p)) - qGray(expected.pixel(p))) <= 6);
                continue;
            }
            QCOMPARE(sampling.size(), 3);
            QCOMPARE(sampling[0], chroma == 420 ? 0x22 : 0x11);
            QCOMPARE(sampling[1], 0x11);
        }
    }

    void badInputsGiveErrors()
    {
        uint8_t out[4096];
        const QByteArray heic = encodeOrSkip(HeicFixture::quadrants(64, 48));
        const auto* in = reinterpret_cast<const uint8_t*>(heic.constData());
        QCOMPARE(heif2jpg(nullptr, 100, 90, out, sizeof out, nullptr), int(DECODEX_ERR_BAD_ARGUMENT));
        QCOMPARE(heif2jpg(in, 0, 90, out, sizeof out, nullptr), int(DECODEX_ERR_BAD_ARGUMENT));
        QCOMPARE(heif2jpg(in, -5, 90, out, sizeof out, nullptr), int(DECODEX_ERR_BAD_ARGUMENT));
        QCOMPARE(heif2jpg(in, heic.size(), 90, nullptr, 100, nullptr), int(DECODEX_ERR_BAD_ARGUMENT));
        QCOMPARE(heif2jpg(in, heic.size(), 90, out, 0, nullptr), int(DECODEX_ERR_BAD_ARGUMENT));
        QCOMPARE(heif2jpg_capacity(nullptr, 10, 90), int(DECODEX_ERR_BAD_ARGUMENT));

        const QByteArray garbage(5000, '\x37');
        QCOMPARE(convert(garbage).code, int(DECODEX_ERR_NOT_HEIF));
        QCOMPARE(convert(QByteArray("\xFF\xD8\xFF\xE0 a JPEG, not HEIF")).code, int(DECODEX_ERR_NOT_HEIF));

        // A HEIF file cut short anywhere after its 'ftyp' is damaged, not "not HEIF".
        for (double cut : {0.1, 0.3, 0.5, 0.8, 0.97})
            QCOMPARE(convert(heic.left(int(heic.size() * cut))).code, int(DECODEX_ERR_DAMAGED));

        const QString bad = HeicFixture::corpusDir() + "/bad";
        for (const QFileInfo& info : QDir(bad).entryInfoList({"*.heic"}, QDir::Files)) {
            QFile f(info.filePath());
            QVERIFY(f.open(QIODevice::ReadOnly));
            QCOMPARE(convert(f.readAll()).code, int(DECODEX_ERR_DAMAGED));
        }
    }

    void outputNeverPassesCapacity()
    {
        const QByteArray heic = encodeOrSkip(HeicFixture::gradient(256, 192));
        const auto* in = reinterpret_cast<const uint8_t*>(heic.constData());
        const int guard = 256;
        for (int capacity : {1, 100, 2000}) {
            QByteArray out(capacity + guard, '\xC3');
            const int code = heif2jpg(in, heic.size(), 100, reinterpret_cast<uint8_t*>(out.data()), capacity, nullptr);
            QCOMPARE(code, int(DECODEX_ERR_OUTPUT_TOO_SMALL));
            QCOMPARE(out.mid(capacity), QByteArray(guard, '\xC3'));
        }
        const int capacity = heif2jpg_capacity(in, heic.size(), 100);
        QVERIFY(capacity > 0);
        QByteArray out(capacity + guard, '\xC3');
        const int written = heif2jpg(in, heic.size(), 100, reinterpret_cast<uint8_t*>(out.data()), capacity, nullptr);
        QVERIFY(written > 0 && written <= capacity);
        QCOMPARE(out.mid(capacity), QByteArray(guard, '\xC3'));
        // Exactly the bytes it needs is enough too.
        QByteArray exact(written, '\0');
        QCOMPARE(heif2jpg(in, heic.size(), 100, reinterpret_cast<uint8_t*>(exact.data()), written, nullptr), written);
        QCOMPARE(exact, out.left(written));
    }

    void oversizedImageIsRefused()
    {
        // The coded picture is tiny; only its 'ispe' claims 20000 x 20000.
        QByteArray heic = encodeOrSkip(HeicFixture::quadrants(64, 48));
        int patched = 0;
        for (int at = heic.indexOf("ispe"); at >= 0; at = heic.indexOf("ispe", at + 4)) {
            qToBigEndian<quint32>(20000, heic.data() + at + 8);
            qToBigEndian<quint32>(20000, heic.data() + at + 12);
            ++patched;
        }
        QVERIFY(patched > 0);
        QCOMPARE(convert(heic).code, int(DECODEX_ERR_IMAGE_TOO_LARGE));
        QCOMPARE(heif2jpg_capacity(reinterpret_cast<const uint8_t*>(heic.constData()), heic.size(), 90),
                 int(DECODEX_ERR_IMAGE_TOO_LARGE));
    }

    void concurrentCallsGiveSameBytes()
    {
        QList<QByteArray> inputs;
        inputs << encodeOrSkip(HeicFixture::gradient(600, 400));
        HeicFixtureOptions deep;
        deep.bitDepth = 10;
        deep.orientation = 6;
        inputs << encodeOrSkip(HeicFixture::quadrants(320, 200), deep);
        const QString photo = HeicFixture::corpusDir() + "/nokia/grid_960x640.heic";
        QFile f(photo);
        if (f.open(QIODevice::ReadOnly))
            inputs << f.readAll();

        QList<QByteArray> sequential;
        for (const QByteArray& in : inputs)
            sequential << convert(in).jpeg;
        for (const QByteArray& s : sequential)
            QVERIFY(!s.isEmpty());

        QVector<QList<QByteArray>> results(5);
        std::vector<std::thread> threads;
        for (int t = 0; t < 5; ++t) {
            threads.emplace_back([&, t] {
                for (int round = 0; round < 2; ++round)
                    for (int i = 0; i < inputs.size(); ++i)
                        results[t] << convert(inputs[(i + t) % inputs.size()]).jpeg;
            });
        }
        for (std::thread& t : threads)
            t.join();
        for (int t = 0; t < 5; ++t)
            for (int i = 0; i < results[t].size(); ++i)
                QVERIFY(results[t][i] == sequential[(i % inputs.size() + t) % inputs.size()]);
    }

    void gridTilesAreAssembled()
    {
        // Four tiles of 64x64 on a 120x100 canvas: the right column and the
        // bottom row hang over the edge and must be cut, not squeezed.
        const QList<QColor> colours{Qt::red, Qt::green, Qt::blue, Qt::white};
        HeifBuilder file;
        const int grid = file.addItem("grid", HeifBuilder::gridDescriptor(2, 2, 120, 100), true);
        file.addProperty(grid, "ispe", HeifBuilder::ispe(120, 100));
        QList<int> tiles;
        for (const QColor& colour : colours) {
            const HeifBuilder::Hevc tile = flatTile(64, 64, colour);
            if (tile.data.isEmpty())
                QSKIP("libheif has no HEVC encoder");
            tiles << file.addHevc(tile);
        }
        file.addReference("dimg", grid, tiles);
        file.setPrimary(grid);
        const Result r = convert(file.build());
        QVERIFY2(r.code > 0, heif2jpg_error_text(r.code));
        const QImage image = decoded(r);
        QCOMPARE(image.size(), QSize(120, 100));
        const QList<QPoint> probes{{10, 10}, {110, 10}, {10, 90}, {110, 90}};
        for (int i = 0; i < 4; ++i)
            QVERIFY2(close(image.pixelColor(probes[i]), colours[i], 12), qPrintable(QString::number(i)));
    }

    void regressionInputsFail()
    {
        // Inputs that once aborted, stalled or flooded a decoder, and files
        // made to (how each was made is in data/README.md). The damaged ones
        // must be refused as such by every entry point, those with a loop or
        // absurd nesting before libheif sees them; the photos must convert.
        QDirIterator it(QStringLiteral(DECODEX_TEST_DATA), {"*.heic"}, QDir::Files);
        int inputs = 0;
        while (it.hasNext()) {
            QFile f(it.next());
            QVERIFY(f.open(QIODevice::ReadOnly));
            const QByteArray bytes = f.readAll();
            const auto* in = reinterpret_cast<const uint8_t*>(bytes.constData());
            const Result r = convert(bytes);
            const int32_t capacity = heif2jpg_capacity(in, bytes.size(), 90);
            const QString name = it.fileName();
            if (name.startsWith("nclx-") || name.startsWith("photo-")) {
                QVERIFY2(r.code > 0 && JpegInspector(r.jpeg).valid(), qPrintable(name));
            } else if (name.startsWith("damaged-")) {
                std::vector<uint8_t> out(1 << 16);
                const int32_t thumbnail = heif2jpg_thumbnail(in, bytes.size(), 90, out.data(), int32_t(out.size()));
                QVERIFY2(r.code == DECODEX_ERR_DAMAGED, qPrintable(name));
                QVERIFY(thumbnail == DECODEX_ERR_DAMAGED || (name.contains("beyond") && thumbnail == DECODEX_ERR_DECODE_FAILED));
                QVERIFY(name.contains("beyond") || capacity == DECODEX_ERR_DAMAGED);
            } else {
                QVERIFY2(r.code < 0, qPrintable(name));
            }
            ++inputs;
        }
        QVERIFY(inputs >= 20);
    }

    void thumbnailIsTurnedLikeThePhoto()
    {
        // A portrait photo stored on its side with an 'irot' (EXIF 6): the
        // thumbnail shown before the photo is decoded must stand the same way.
        HeicFixtureOptions options;
        options.orientation = 6;
        options.thumbnail = 48;
        const QByteArray heic = encodeOrSkip(HeicFixture::quadrants(96, 64), options);
        QVERIFY(!heic.isEmpty());
        std::vector<uint8_t> out(DECODEX_MAX_THUMBNAIL_SIDE * DECODEX_MAX_THUMBNAIL_SIDE * 6);
        auto thumbnail = [&](const QByteArray& bytes, std::vector<uint8_t>& buffer) {
            return heif2jpg_thumbnail(reinterpret_cast<const uint8_t*>(bytes.constData()), bytes.size(), 90,
                                      buffer.data(), int32_t(buffer.size()));
        };
        const int32_t written = thumbnail(heic, out);
        QVERIFY2(written > 0, heif2jpg_error_text(written));
        const QImage small = QImage::fromData(out.data(), written, "JPG");
        const QImage photo = decoded(convert(heic));
        QCOMPARE(small.size(), QSize(32, 48));
        for (double fx : {0.25, 0.75})
            for (double fy : {0.25, 0.75})
                QVERIFY(close(at(small, fx, fy), at(photo, fx, fy), 24));

        // No thumbnail, a buffer too small, not a photo: refused, never overrun.
        options.thumbnail = 0;
        QCOMPARE(thumbnail(encodeOrSkip(HeicFixture::quadrants(96, 64), options), out), int32_t(DECODEX_ERR_DECODE_FAILED));
        std::vector<uint8_t> tiny(64);
        QCOMPARE(thumbnail(heic, tiny), int32_t(DECODEX_ERR_OUTPUT_TOO_SMALL));
        QCOMPARE(thumbnail(QByteArray("not a photo at all"), out), int32_t(DECODEX_ERR_NOT_HEIF));
    }

    void corpusConverts()
    {
        const QString corpus = HeicFixture::corpusDir();
        if (corpus.isEmpty())
            QSKIP("no photo corpus");
        int converted = 0;
        for (const QString& folder : {QStringLiteral("nokia"), QStringLiteral("real")}) {
            for (const QFileInfo& info : QDir(corpus + "/" + folder).entryInfoList({"*.heic"}, QDir::Files)) {
                QFile f(info.filePath());
                QVERIFY(f.open(QIODevice::ReadOnly));
                const Result r = convert(f.readAll());
                QVERIFY2(r.code > 0, qPrintable(info.fileName() + ": " + heif2jpg_error_text(r.code)));
                QVERIFY2(!decoded(r).isNull(), qPrintable(info.fileName()));
                ++converted;
            }
        }
        QVERIFY(converted > 0);
    }

    void limitedRangeMatchesLibheif_data()
    {
        // Video-range photos, as many cameras code them: the tile path
        // stretches the range itself and must land where libheif does.
        QTest::addColumn<int>("chroma");
        QTest::addColumn<int>("matrix");
        QTest::newRow("4:2:0, BT.601") << 420 << 6;
        QTest::newRow("4:2:0, BT.709") << 420 << 1;
        QTest::newRow("4:4:4, BT.601") << 444 << 6;
    }

    void limitedRangeMatchesLibheif()
    {
        QFETCH(int, chroma);
        QFETCH(int, matrix);
        HeicFixtureOptions options;
        options.chroma = chroma;
        options.nclxPrimaries = 1;
        options.nclxMatrix = matrix;
        options.fullRange = false;
        options.encoderQuality = 95;
        const QByteArray heic = encodeOrSkip(HeicFixture::quadrants(128, 96), options);
        const Result r = convert(heic, 100);
        QVERIFY(r.code > 0);
        const QImage ours = decoded(r), theirs = libheifDecode(heic).convertToFormat(QImage::Format_RGB32);
        QCOMPARE(ours.size(), theirs.size());
        // The inside of each flat quadrant, averaged so JPEG's noise cancels
        // out: how far its main colour stands above the other two shows the
        // chroma scale, which a range stretch a few percent off gets wrong.
        const QRect areas[] = {QRect(8, 8, 48, 32), QRect(72, 8, 48, 32), QRect(8, 56, 48, 32), QRect(72, 56, 48, 32)};
        for (int quadrant = 0; quadrant < 4; ++quadrant) {
            const QColor a = meanColour(ours, areas[quadrant]), b = meanColour(theirs, areas[quadrant]);
            const double channels[2][3] = {{a.redF(), a.greenF(), a.blueF()}, {b.redF(), b.greenF(), b.blueF()}};
            double apart = 0;
            if (quadrant == 3) { // white: the luma alone
                for (int c = 0; c < 3; ++c)
                    apart = qMax(apart, qAbs(channels[0][c] - channels[1][c]) * 255);
            } else { // red, green, blue
                auto saturation = [quadrant](const double* rgb) {
                    return 255 * (rgb[quadrant] - (rgb[(quadrant + 1) % 3] + rgb[(quadrant + 2) % 3]) / 2);
                };
                apart = qAbs(saturation(channels[0]) - saturation(channels[1]));
            }
            QVERIFY2(apart <= 3.0, qPrintable(QStringLiteral("quadrant %1: %2 levels apart").arg(quadrant).arg(apart)));
        }
    }

    void capacityHoldsLargeMetadata()
    {
        // A small picture with a lot of metadata: the bound must count it, or
        // the first conversion fails and the photo is decoded twice.
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(1, "2022:02:02 02:02:02") + QByteArray(60000, '\0');
        options.xmp = "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">" + QByteArray(200000, ' ') + "</x:xmpmeta>";
        QByteArray icc = QColorSpace(QColorSpace::SRgb).iccProfile();
        icc.append(QByteArray(100000 - icc.size(), '\x5A'));
        qToBigEndian<quint32>(quint32(icc.size()), icc.data());
        options.icc = icc;
        const QByteArray heic = encodeOrSkip(HeicFixture::gradient(24, 16), options);
        QVERIFY(!heic.isEmpty());
        const auto* in = reinterpret_cast<const uint8_t*>(heic.constData());
        // The engine asks before it reads the image data: zeros from there on.
        const int data = heic.indexOf("mdat") + 4;
        const QByteArray header = heic.left(data) + QByteArray(heic.size() - data, '\0');
        for (int quality : {50, 100}) {
            const int capacity = heif2jpg_capacity(in, heic.size(), quality);
            QVERIFY(capacity > 0);
            QCOMPARE(heif2jpg_capacity(reinterpret_cast<const uint8_t*>(header.constData()), header.size(), quality), capacity);
            std::vector<uint8_t> out(static_cast<size_t>(capacity));
            const int written = heif2jpg(in, heic.size(), quality, out.data(), capacity, nullptr);
            QVERIFY2(written > 0, heif2jpg_error_text(written));
            QVERIFY(JpegInspector(QByteArray(reinterpret_cast<const char*>(out.data()), written)).iccProfile() == icc);
        }
    }

    void phonePhotoKeepsItsDetails()
    {
        QFile f(HeicFixture::corpusDir() + "/real/IMG_3578.heic");
        if (HeicFixture::corpusDir().isEmpty() || !f.open(QIODevice::ReadOnly))
            QSKIP("no photo corpus");
        const Result r = convert(f.readAll(), 90);
        QVERIFY(r.code > 0);
        const JpegInspector jpeg(r.jpeg);
        QCOMPARE(jpeg.sampling().value(0), 0x22);
        const QByteArray tiff = jpeg.exifTiff();
        QCOMPARE(ifd0Orientation(tiff), 1);
        QVERIFY(tiff.contains("2020:04:17 10:03:40"));
        const QColorSpace space = QColorSpace::fromIccProfile(jpeg.iccProfile());
        QVERIFY(space.isValid());
        QCOMPARE(space.primaries(), QColorSpace::Primaries::DciP3D65);
        const QImage image = QImage::fromData(r.jpeg, "JPG");
        QCOMPARE(image.size(), QSize(4032, 3024));
    }
};

PICTOVA_TEST_GUILESS_MAIN(TestHeif2Jpg)
#include "tst_heif2jpg.moc"

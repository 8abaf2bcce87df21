// Photos with an HDR gain map become gain-map JPEGs: the checks read the
// MPF index, the XMP and both images the way a viewer would, without the
// library's own code.
#include "TestSandbox.h"
#include "HeicFixture.h"
#include "GainMapFixture.h"
#include "GainMap.h"
#include "JpegInspector.h"
#include "ToneMapItem.h"
#include "decodex/heif2jpg.h"

#include <QPainter>
#include <QXmlStreamReader>
#include <QtEndian>
#include <QtTest>

#include <cmath>

namespace {

const char* const kApple = GainMapFixture::kApple;
const char* const kSamsung = GainMapFixture::kSamsung;
const QByteArray kXmpName("http://ns.adobe.com/xap/1.0/", 29); // with its NUL
const QByteArray kIsoName("urn:iso:std:iso:ts:21496:-1", 28);
const QByteArray kCommonDenominator = QByteArray::fromHex(
    "000000000008" "00000004" "00000000" "0000000a" "00000000" "0000000a" "00000004" "00000000" "00000000");

// A 512x256 photo and a 128x64 map whose top-left quadrant is dark and the
// rest bright, so a turn of the map shows. Apple's map is one monochrome
// picture; Samsung's is coded 4:2:0, here as a grid of two tiles.
GainMapFixture fixture(const char* auxType, int mapTiles = 1)
{
    GainMapFixture f;
    f.auxType = auxType;
    f.photo = GainMapFixture::code(HeicFixture::quadrants(512, 256));
    QImage map(128, 64, QImage::Format_RGB32);
    map.fill(Qt::white);
    QPainter(&map).fillRect(0, 0, 64, 32, Qt::black);
    f.map = GainMapFixture::code(map, auxType == kApple ? 400 : 420, mapTiles);
    return f;
}

QByteArray convert(const QByteArray& heic, bool gainMap = true)
{
    const auto* in = reinterpret_cast<const uint8_t*>(heic.constData());
    const int capacity = heif2jpg_capacity(in, heic.size(), 90);
    QByteArray out(qMax(capacity, 1), '\0');
    auto* o = reinterpret_cast<uint8_t*>(out.data());
    const int n = gainMap ? heif2jpg(in, heic.size(), 90, o, out.size(), nullptr)
                          : heif2jpg_no_gain_map(in, heic.size(), 90, o, out.size(), nullptr);
    return n > 0 ? out.left(n) : QByteArray();
}

// The second image as the MPF index places it: its bytes, or empty.
QByteArray secondImage(const QByteArray& jpeg)
{
    const int mpf = jpeg.indexOf(QByteArray("MPF\0", 4));
    if (mpf < 4 || uchar(jpeg[mpf - 4]) != 0xFF || uchar(jpeg[mpf - 3]) != 0xE2)
        return {};
    const int tiff = mpf + 4;
    const bool le = jpeg.mid(tiff, 2) == "II";
    auto r16 = [&](int at) { return le ? qFromLittleEndian<quint16>(jpeg.constData() + at) : qFromBigEndian<quint16>(jpeg.constData() + at); };
    auto r32 = [&](int at) { return le ? qFromLittleEndian<quint32>(jpeg.constData() + at) : qFromBigEndian<quint32>(jpeg.constData() + at); };
    const int ifd = tiff + int(r32(tiff + 4));
    int count = 0, entries = 0;
    for (int i = 0; i < r16(ifd); ++i) {
        const int e = ifd + 2 + 12 * i;
        if (r16(e) == 0xB001)
            count = int(r32(e + 8));
        if (r16(e) == 0xB002)
            entries = tiff + int(r32(e + 8));
    }
    if (count != 2 || !entries || int(r32(entries + 4)) != jpeg.indexOf(QByteArray("\xFF\xD9", 2), mpf) + 2)
        return {};
    return jpeg.mid(tiff + int(r32(entries + 24)), int(r32(entries + 20)));
}

// What follows `name` in the APPn segments of a JPEG's head: the XMP
// packets in APP1, the ISO 21496-1 bodies in APP2.
QByteArrayList payloads(const JpegInspector& jpeg, const QByteArray& name = kXmpName)
{
    QByteArrayList bodies;
    for (const QByteArray& s : jpeg.segments(name == kXmpName ? 0xE1 : 0xE2))
        if (s.startsWith(name))
            bodies << s.mid(name.size());
    return bodies;
}

// Every hdrgm attribute of the first XMP packet in `jpeg`'s head.
QMap<QString, QString> hdrgm(const QByteArray& jpeg)
{
    QMap<QString, QString> values;
    QXmlStreamReader xml(payloads(JpegInspector(jpeg)).value(0));
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        for (const QXmlStreamAttribute& a : xml.attributes())
            if (a.namespaceUri() == QLatin1String("http://ns.adobe.com/hdr-gain-map/1.0/"))
                values[a.name().toString()] = a.value().toString();
            else if (a.name() == QLatin1String("Semantic") || a.name() == QLatin1String("Length"))
                values[a.name().toString()] += a.value().toString() + QLatin1Char(' ');
    }
    if (xml.hasError())
        values[QStringLiteral("error")] = xml.errorString();
    return values;
}

QImage pixels(const QByteArray& jpeg)
{
    return QImage::fromData(jpeg, "JPG").convertToFormat(QImage::Format_RGB32);
}

// PixelXDimension and PixelYDimension of a big-endian EXIF block with
// LONG values, found by their entries' bytes.
QSize pixelSize(const QByteArray& tiff)
{
    auto value = [&](const char* entry) {
        const int at = tiff.indexOf(QByteArray(entry, 8));
        return at < 0 ? 0 : int(qFromBigEndian<quint32>(tiff.constData() + at + 8));
    };
    return QSize(value("\xA0\x02\0\x04\0\0\0\x01"), value("\xA0\x03\0\x04\0\0\0\x01"));
}

} // namespace

class TestGainMap : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (HeicFixture::encode(QImage(16, 16, QImage::Format_RGB32)).isEmpty())
            QSKIP("libheif has no HEVC encoder here");
    }

    // The kinds of photo phones write, each with what the map's values must
    // be by hand (log2 of the boost, Apple's headroom rule in the comments).
    void carriesTheGainMap_data()
    {
        QTest::addColumn<QByteArray>("heic");
        QTest::addColumn<double>("stops");
        QTest::addColumn<double>("offset");
        QTest::addColumn<bool>("turned");

        GainMapFixture apple = fixture(kApple);
        apple.mapXmp = GainMapFixture::appleMapXmp(3.0);
        QTest::newRow("Apple, XMP headroom") << apple.build() << std::log2(3.0) << 0.0 << false;
        apple.mapXmp = GainMapFixture::appleMapXmp();
        apple.photoXmp = GainMapFixture::applePhotoXmp();
        apple.exifTiff = GainMapFixture::exif({512, 256}, 0.8786); // no tag 48: 1.8 stops below 1
        QTest::newRow("Apple, tag 33 alone, NUL after the XMP") << apple.build() << 1.8 << 0.0 << false;
        apple.exifTiff = GainMapFixture::exif({512, 256}, 1.2); // 3 stops from 1
        QTest::newRow("Apple, tag 33 alone, above 1") << apple.build() << 3.0 << 0.0 << false;
        apple.exifTiff = GainMapFixture::exif({512, 256}, 0.5, 0.5); // 1.601 - 0.101 * 0.5
        QTest::newRow("Apple, both tags below 1") << apple.build() << 1.5505 << 0.0 << false;
        apple.exifTiff = GainMapFixture::exif({512, 256}, 1.2, 0.005); // 3 - 70 * 0.005
        apple.quarterTurns = 1;
        QTest::newRow("Apple, both tags, turned") << apple.build() << 2.65 << 0.0 << true;

        GainMapFixture samsung = fixture(kSamsung, 2);
        samsung.toneMap = GainMapFixture::toneMapPayload(0, 2.5, 1, 0, 2.5);
        samsung.photoXmp = GainMapFixture::samsungXmp();
        samsung.exifTiff = GainMapFixture::exif({512, 256});
        QTest::newRow("Samsung, grid map") << samsung.build() << 2.5 << 1.0 / 64 << false;
        samsung.quarterTurns = 3;
        QTest::newRow("Samsung, grid map, turned 270") << samsung.build() << 2.5 << 1.0 / 64 << true;
        GainMapFixture iso = fixture(kSamsung);
        iso.toneMap = GainMapFixture::toneMapPayload(0, 2.5, 1, 0, 2.5);
        iso.quarterTurns = 1;
        QTest::newRow("ISO tmap, one picture, turned") << iso.build() << 2.5 << 1.0 / 64 << true;
        // Over the common denominator 4: headrooms 0 and 10, min 0, max 10, gamma 4, offsets 0.
        iso.toneMap = kCommonDenominator;
        QTest::newRow("ISO tmap, common denominator") << iso.build() << 2.5 << 0.0 << true;
    }

    // The photo's JPEG is what it is without the map; the MPF index leads
    // to a one-channel JPEG of the map's size and turn; the photo's XMP holds
    // one directory, ours; XMP and ISO 21496-1 segments say the same values.
    void carriesTheGainMap()
    {
        QFETCH(QByteArray, heic);
        QFETCH(double, stops);
        QFETCH(double, offset);
        QFETCH(bool, turned);
        QVERIFY(!heic.isEmpty());
        const QByteArray jpeg = convert(heic);
        const QByteArray plain = convert(heic, false);
        QVERIFY(!jpeg.isEmpty() && !plain.isEmpty());

        const QImage photo = pixels(jpeg);
        QCOMPARE(photo, pixels(plain));
        QCOMPARE(photo.size(), turned ? QSize(256, 512) : QSize(512, 256));
        const JpegInspector primary(jpeg), alone(plain);
        QCOMPARE(primary.exifTiff(), alone.exifTiff());
        if (!primary.exifTiff().isEmpty())
            QCOMPARE(pixelSize(primary.exifTiff()), photo.size());
        QCOMPARE(primary.iccProfile(), alone.iccProfile());
        // One XMP packet, the photo's own with the directory added to it.
        const QByteArrayList packets = payloads(primary), before = payloads(alone);
        QCOMPARE(packets.size(), 1);
        QVERIFY(!packets[0].contains('\0'));
        QCOMPARE(packets[0].contains("xmp:Rating=\"5\""), before.join().contains("xmp:Rating=\"5\""));

        const QByteArray second = secondImage(jpeg);
        QVERIFY2(!second.isEmpty(), "no MPF index leading to a second image");
        QVERIFY(jpeg.endsWith(second));
        const JpegInspector mapJpeg(second);
        QVERIFY(mapJpeg.valid());
        QCOMPARE(mapJpeg.sampling().size(), 1);
        const QImage map = pixels(second);
        QCOMPARE(map.size(), turned ? QSize(64, 128) : QSize(128, 64));
        // The map's dark quadrant lies on the photo's red one, however turned.
        for (double fx : {0.25, 0.75})
            for (double fy : {0.25, 0.75}) {
                const QColor p = photo.pixelColor(int(fx * photo.width()), int(fy * photo.height()));
                const bool red = p.red() > 180 && p.green() < 80 && p.blue() < 80;
                const int level = qRed(map.pixel(int(fx * map.width()), int(fy * map.height())));
                QVERIFY2(red ? level < 40 : level > 215, qPrintable(QString("at %1,%2: %3").arg(fx).arg(fy).arg(level)));
            }

        const QMap<QString, QString> container = hdrgm(jpeg);
        QVERIFY2(!container.contains("error"), qPrintable(container.value("error")));
        QCOMPARE(container.value("Version"), QString("1.0"));
        QCOMPARE(container.value("Semantic"), QString("Primary GainMap "));
        QCOMPARE(container.value("Length").trimmed(), QString::number(second.size()));

        const QMap<QString, QString> values = hdrgm(second);
        QVERIFY2(!values.contains("error"), qPrintable(values.value("error")));
        QCOMPARE(values.value("BaseRenditionIsHDR"), QString("False"));
        QCOMPARE(payloads(primary, kIsoName), QByteArrayList{QByteArray(4, '\0')});
        const QByteArrayList iso = payloads(mapJpeg, kIsoName);
        QCOMPARE(iso.size(), 1);
        decodex::GainMapParameters p;
        const QByteArray payload = QByteArray(1, '\0') + iso[0]; // as a 'tmap' item holds it
        QVERIFY(decodex::ToneMapItem::parse(reinterpret_cast<const uint8_t*>(payload.constData()),
                                            size_t(payload.size()), p));
        // Both forms say the values computed by hand.
        const char* names[] = {"GainMapMin", "GainMapMax", "Gamma", "OffsetSDR", "OffsetHDR", "HDRCapacityMin", "HDRCapacityMax"};
        const double byHand[] = {0, stops, 1, offset, offset, 0, stops};
        const double inIso[] = {p.gainMapMin, p.gainMapMax, p.gamma, p.offsetSdr, p.offsetHdr, p.hdrCapacityMin, p.hdrCapacityMax};
        for (int i = 0; i < 7; ++i)
            QVERIFY2(std::fabs(values.value(names[i]).toDouble() - byHand[i]) < 1e-4
                         && std::fabs(inIso[i] - byHand[i]) < 1e-6,
                     names[i]);
    }

    // Nothing usable about the map, or the caller's wish: the plain JPEG,
    // byte for byte.
    void leavesTheGainMapOut_data()
    {
        QTest::addColumn<QByteArray>("heic");
        QTest::addColumn<bool>("gainMap");
        GainMapFixture apple = fixture(kApple);
        QTest::newRow("Apple, no headroom anywhere") << apple.build() << true;
        apple.exifTiff = GainMapFixture::exif({512, 256}, 0.5, 20); // a negative number of stops
        QTest::newRow("Apple, headroom of 1") << apple.build() << true;
        apple.exifTiff = GainMapFixture::exif({512, 256}, 1.2, 0.005).left(70);
        QTest::newRow("Apple, maker note cut short") << apple.build() << true;
        apple.exifTiff = GainMapFixture::exif({512, 256}, 1.2, 0.005);
        QTest::newRow("asked to leave it out") << apple.build() << false;
        GainMapFixture samsung = fixture(kSamsung, 2);
        samsung.photoXmp = GainMapFixture::samsungXmp();
        QTest::newRow("Samsung, no tmap, a directory in its XMP") << samsung.build() << true;
        samsung.toneMap = QByteArray(kCommonDenominator).replace(5, 1, "\x0C");
        QTest::newRow("tmap with an HDR base") << samsung.build() << true;
        samsung.toneMap = QByteArray(kCommonDenominator).left(30);
        QTest::newRow("tmap cut short") << samsung.build() << true;
        samsung.toneMap = QByteArray(kCommonDenominator).replace(6, 4, QByteArray(4, '\0'));
        QTest::newRow("tmap with a zero denominator") << samsung.build() << true;
        samsung.toneMap = QByteArray(kCommonDenominator).replace(2, 1, "\x01");
        QTest::newRow("tmap of a newer version") << samsung.build() << true;
        QTest::newRow("no gain map") << HeicFixture::encode(HeicFixture::quadrants(64, 32)) << true;
    }

    void leavesTheGainMapOut()
    {
        QFETCH(QByteArray, heic);
        QFETCH(bool, gainMap);
        QVERIFY(!heic.isEmpty());
        const QByteArray jpeg = convert(heic, gainMap);
        QVERIFY(!jpeg.isEmpty());
        QVERIFY(!jpeg.contains(QByteArray("MPF\0", 4)));
        QVERIFY(!jpeg.contains("Directory") && !jpeg.contains("hdrgm:Version") && !jpeg.contains(kIsoName));
        if (gainMap)
            QCOMPARE(jpeg, convert(heic, false));
    }
};

PICTOVA_TEST_GUILESS_MAIN(TestGainMap)
#include "tst_gainmap.moc"

// Photos with an HDR gain map become gain-map JPEGs: the checks read the
// MPF index, the XMP and both images the way a viewer would, without the
// library's own code.
#include "TestSandbox.h"
#include "HeicFixture.h"
#include "HeifBuilder.h"
#include "GainMap.h"
#include "JpegInspector.h"
#include "ToneMapItem.h"
#include "decodex/heif2jpg.h"

#include <QXmlStreamReader>
#include <QtEndian>
#include <QtTest>

#include <cmath>

namespace {

const char kApple[] = "urn:com:apple:photo:2020:aux:hdrgainmap";
const char kSamsung[] = "urn:com:samsung:photo:2024:aux:hdrgainmap";

void u16(QByteArray& b, quint16 v) { char d[2]; qToBigEndian(v, d); b.append(d, 2); }
void u32(QByteArray& b, quint32 v) { char d[4]; qToBigEndian(v, d); b.append(d, 4); }

// A big-endian EXIF block whose Apple maker note holds tags 33 and 48 as
// signed rationals.
QByteArray appleExif(double tag33, double tag48)
{
    QByteArray note("Apple iOS\0\0\x01MM", 14);
    u16(note, 2);
    const int values = 14 + 2 + 2 * 12 + 4;
    for (int i = 0; i < 2; ++i) {
        u16(note, i == 0 ? 33 : 48);
        u16(note, 10);
        u32(note, 1);
        u32(note, quint32(values + 8 * i));
    }
    u32(note, 0);
    for (double v : {tag33, tag48}) {
        u32(note, quint32(qint32(std::lround(v * 100000))));
        u32(note, 100000);
    }
    QByteArray tiff("MM\0\x2A", 4);
    u32(tiff, 8);
    u16(tiff, 1); // IFD0: the EXIF pointer
    u16(tiff, 0x8769);
    u16(tiff, 4);
    u32(tiff, 1);
    u32(tiff, 26);
    u32(tiff, 0);
    u16(tiff, 1); // EXIF IFD at 26: the maker note
    u16(tiff, 0x927C);
    u16(tiff, 7);
    u32(tiff, quint32(note.size()));
    u32(tiff, 44);
    u32(tiff, 0);
    return tiff + note;
}

// ISO 21496-1 metadata for one channel, SDR base, no common denominator.
QByteArray toneMap(double min, double max, double gamma, double baseHeadroom, double alternateHeadroom)
{
    QByteArray t(6, '\0'); // version, minimum and writer versions, flags
    auto fraction = [&](double v) { u32(t, quint32(qint32(std::lround(v * 10000)))); u32(t, 10000); };
    for (double v : {baseHeadroom, alternateHeadroom, min, max, gamma, 1.0 / 64, 1.0 / 64})
        fraction(v);
    return t;
}

struct GainMapFile
{
    const char* auxType = kApple;
    int quarterTurns = 0;   // 'irot' on the photo
    QByteArray mapXmp;      // XMP item describing the gain map
    QByteArray photoXmp;    // the photo's own XMP
    QByteArray exifTiff;    // the photo's EXIF
    QByteArray toneMap;     // payload of a 'tmap' item
};

// A 512x256 photo and a 128x64 one-channel map whose top-left quadrant is
// dark and the rest bright, so a turn of the map shows.
QByteArray build(const GainMapFile& f)
{
    const QByteArray photo = HeicFixture::encode(HeicFixture::quadrants(512, 256));
    QImage map(128, 64, QImage::Format_RGB32);
    map.fill(Qt::white);
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 64; ++x)
            map.setPixel(x, y, qRgb(0, 0, 0));
    HeicFixtureOptions grey;
    grey.chroma = 400;
    const QByteArray mapHeic = HeicFixture::encode(map, grey);
    if (photo.isEmpty() || mapHeic.isEmpty())
        return {};
    HeifBuilder b;
    const int primary = b.addHevc(HeifBuilder::hevcOf(photo));
    if (f.quarterTurns)
        b.addProperty(primary, "irot", QByteArray(1, char(f.quarterTurns)), true);
    const int gainMap = b.addHevc(HeifBuilder::hevcOf(mapHeic));
    b.addProperty(gainMap, "auxC", QByteArray(4, '\0') + f.auxType + QByteArray(1, '\0'), true);
    b.addReference("auxl", gainMap, {primary});
    if (!f.mapXmp.isEmpty())
        b.addReference("cdsc", b.addItem("mime", f.mapXmp), {gainMap});
    if (!f.photoXmp.isEmpty())
        b.addReference("cdsc", b.addItem("mime", f.photoXmp), {primary});
    if (!f.exifTiff.isEmpty())
        b.addReference("cdsc", b.addItem("Exif", QByteArray(4, '\0') + f.exifTiff), {primary});
    if (!f.toneMap.isEmpty())
        b.addReference("dimg", b.addItem("tmap", f.toneMap), {primary, gainMap});
    b.setPrimary(primary);
    return b.build();
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

QByteArrayList xmpPackets(const JpegInspector& jpeg)
{
    QByteArrayList packets;
    for (const QByteArray& s : jpeg.segments(0xE1))
        if (s.startsWith(QByteArray("http://ns.adobe.com/xap/1.0/\0", 29)))
            packets << s.mid(29);
    return packets;
}

// Every hdrgm attribute of the first XMP packet in `jpeg`'s head.
QMap<QString, QString> hdrgm(const QByteArray& jpeg)
{
    QMap<QString, QString> values;
    for (const QByteArray& packet : xmpPackets(JpegInspector(jpeg))) {
        QXmlStreamReader xml(packet);
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
        break;
    }
    return values;
}

QImage pixels(const QByteArray& jpeg)
{
    return QImage::fromData(jpeg, "JPG").convertToFormat(QImage::Format_RGB32);
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

    void carriesTheGainMap_data()
    {
        QTest::addColumn<QByteArray>("heic");
        QTest::addColumn<double>("gainMapMax");
        QTest::addColumn<double>("capacityMax");
        QTest::addColumn<double>("offset");
        QTest::addColumn<bool>("turned");

        const QByteArray headroomXmp(
            "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
            "<rdf:Description rdf:about=\"\" xmlns:HDRGainMap=\"http://ns.apple.com/HDRGainMap/1.0/\""
            " HDRGainMap:HDRGainMapVersion=\"65536\" HDRGainMap:HDRGainMapHeadroom=\"3.000000\"/>"
            "</rdf:RDF></x:xmpmeta>");
        GainMapFile apple;
        apple.mapXmp = headroomXmp;
        QTest::newRow("Apple, XMP headroom") << build(apple) << std::log2(3.0) << std::log2(3.0) << 0.0 << false;
        GainMapFile makerNote;
        makerNote.exifTiff = appleExif(1.2, 0.005); // 3 - 70 * 0.005 stops
        makerNote.quarterTurns = 1;
        QTest::newRow("Apple, maker note, turned") << build(makerNote) << 2.65 << 2.65 << 0.0 << true;
        GainMapFile lowHeadroom;
        lowHeadroom.exifTiff = appleExif(0.5, 0.5); // 1.601 - 0.101 * 0.5 stops
        QTest::newRow("Apple, maker note below 1") << build(lowHeadroom) << 1.5505 << 1.5505 << 0.0 << false;
        GainMapFile samsung;
        samsung.auxType = kSamsung;
        samsung.toneMap = toneMap(0, 2.5, 1, 0, 2.5);
        samsung.quarterTurns = 3;
        samsung.photoXmp = "<?xpacket begin=\"\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
                           "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
                           "<rdf:Description rdf:about=\"\" xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" xmp:Rating=\"5\"/>"
                           "</rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
        QTest::newRow("Samsung, tmap, turned") << build(samsung) << 2.5 << 2.5 << 1.0 / 64 << true;
    }

    // The photo's JPEG is what it is without the map; the MPF index leads
    // to a one-channel JPEG of the map's size and turn; the XMP says how to
    // apply it.
    void carriesTheGainMap()
    {
        QFETCH(QByteArray, heic);
        QFETCH(double, gainMapMax);
        QFETCH(double, capacityMax);
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
        QCOMPARE(primary.iccProfile(), alone.iccProfile());
        // One XMP packet, the photo's own with the directory added to it.
        const QByteArrayList packets = xmpPackets(primary), before = xmpPackets(alone);
        QCOMPARE(packets.size(), 1);
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
        QVERIFY(std::fabs(values.value("GainMapMax").toDouble() - gainMapMax) < 1e-3);
        QVERIFY(std::fabs(values.value("HDRCapacityMax").toDouble() - capacityMax) < 1e-3);
        QVERIFY(std::fabs(values.value("OffsetSDR").toDouble() - offset) < 1e-4);
        QCOMPARE(values.value("GainMapMin").toDouble(), 0.0);
        QCOMPARE(values.value("Gamma").toDouble(), 1.0);
    }

    // Both spellings of the standard's fractions; what a reader must refuse.
    void readsToneMapPayloads_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<bool>("usable");
        QTest::newRow("own denominators") << toneMap(-0.5, 2.5, 1, 0, 2.5) << true;
        QByteArray common(5, '\0');
        common.append(char(0x08));
        u32(common, 4);
        for (qint32 n : {0, 10, -2, 10, 4, 0, 0}) // headrooms, min, max, gamma, offsets in quarters
            u32(common, quint32(n));
        QTest::newRow("common denominator") << common << true;
        QTest::newRow("cut short") << toneMap(-0.5, 2.5, 1, 0, 2.5).left(40) << false;
        QByteArray zero = toneMap(-0.5, 2.5, 1, 0, 2.5);
        zero.replace(10, 4, QByteArray(4, '\0')); // the base headroom's denominator
        QTest::newRow("zero denominator") << zero << false;
        QByteArray newer = toneMap(-0.5, 2.5, 1, 0, 2.5);
        newer[2] = 1; // a minimum version this reader does not know
        QTest::newRow("newer version") << newer << false;
    }

    void readsToneMapPayloads()
    {
        QFETCH(QByteArray, payload);
        QFETCH(bool, usable);
        decodex::GainMapParameters p;
        QCOMPARE(decodex::ToneMapItem::parse(reinterpret_cast<const uint8_t*>(payload.constData()),
                                             size_t(payload.size()), p),
                 usable);
        if (usable) {
            QCOMPARE(p.gainMapMin, -0.5);
            QCOMPARE(p.gainMapMax, 2.5);
            QCOMPARE(p.gamma, 1.0);
            QCOMPARE(p.hdrCapacityMax, 2.5);
        }
    }

    // Nothing usable about the map, or the caller's wish: the plain JPEG,
    // byte for byte.
    void leavesTheGainMapOut_data()
    {
        QTest::addColumn<QByteArray>("heic");
        QTest::addColumn<bool>("gainMap");
        GainMapFile noHeadroom;
        QTest::newRow("Apple, no headroom anywhere") << build(noHeadroom) << true;
        GainMapFile samsung;
        samsung.auxType = kSamsung;
        QTest::newRow("Samsung, no tmap") << build(samsung) << true;
        GainMapFile noBoost;
        noBoost.exifTiff = appleExif(0.5, 20); // a negative number of stops
        QTest::newRow("Apple, headroom of 1") << build(noBoost) << true;
        GainMapFile cutNote;
        cutNote.exifTiff = appleExif(1.2, 0.005).left(70);
        QTest::newRow("Apple, maker note cut short") << build(cutNote) << true;
        GainMapFile backward = samsung;
        backward.toneMap = toneMap(0, 2, 1, 2, 0);
        backward.toneMap[5] = 0x04;
        QTest::newRow("tmap with an HDR base") << build(backward) << true;
        GainMapFile apple;
        apple.exifTiff = appleExif(1.2, 0.005);
        QTest::newRow("asked to leave it out") << build(apple) << false;
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
        QVERIFY(!jpeg.contains("hdrgm"));
        if (gainMap)
            QCOMPARE(jpeg, convert(heic, false));
    }
};

PICTOVA_TEST_GUILESS_MAIN(TestGainMap)
#include "tst_gainmap.moc"

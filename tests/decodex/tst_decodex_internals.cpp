// The library's internal rules that the public interface cannot reach
// cheaply: the EXIF walk on malformed blocks, the rounding to 8 bits, the
// two HEVC decoders against each other and the HDR planes against libheif.
#include "TestSandbox.h"
#include "HeicFixture.h"
#include "HeifBuilder.h"
#include "HeifLayout.h"
#include "HevcDecoder.h"
#include "JpegWriter.h"
#include "PlanarImage.h"
#include "TileDecoder.h"
#include "ToneMapItem.h"
#include "GainMap.h"
#include "decodex/heif2jpg.h"
#include "ExifEditor.h"
#include "RgbConverter.h"

#include <libheif/heif.h>

#include <QtEndian>
#include <QtTest>

#include <cstring>

#ifdef Q_OS_UNIX
#include <sys/mman.h>
#include <unistd.h>
#endif

using decodex::DecodedPicture;
using decodex::ExifEditor;
using decodex::HeifLayout;
using decodex::HevcDecoder;

namespace {

// A TIFF block with IFD0 = {Orientation, (thumbnail pointer via next IFD)}
// in either byte order.
QByteArray tiffWithOrientation(bool bigEndian, int orientation, int thumbnailBytes = 0)
{
    QByteArray b(bigEndian ? QByteArray("MM\0*", 4) : QByteArray("II*\0", 4));
    auto u16 = [&](quint16 v) { char d[2]; bigEndian ? qToBigEndian(v, d) : qToLittleEndian(v, d); b.append(d, 2); };
    auto u32 = [&](quint32 v) { char d[4]; bigEndian ? qToBigEndian(v, d) : qToLittleEndian(v, d); b.append(d, 4); };
    u32(8);
    u16(1);
    u16(0x0112); u16(3); u32(1); u16(quint16(orientation)); u16(0);
    const quint32 ifd1 = 8 + 2 + 12 + 4;
    u32(thumbnailBytes ? ifd1 : 0);
    if (thumbnailBytes) {
        u16(1);
        u16(0x0201); u16(4); u32(1); u32(ifd1 + 18); // JPEGInterchangeFormat
        u32(0);
        b.append(QByteArray(thumbnailBytes, '\x11'));
    }
    return b;
}

std::vector<uint8_t> bytes(const QByteArray& a) { return std::vector<uint8_t>(a.begin(), a.end()); }

// The input as the decoder gets it, with nothing readable after its last
// byte: a read past the end faults at once, in any build.
class GuardedInput
{
public:
    explicit GuardedInput(const QByteArray& bytes) : m_size(size_t(bytes.size()))
    {
#ifdef Q_OS_UNIX
        const size_t page = size_t(sysconf(_SC_PAGESIZE));
        const size_t pages = (m_size + page - 1) / page + 1;
        m_length = pages * page;
        void* map = mmap(nullptr, m_length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED)
            qFatal("mmap failed");
        m_map = static_cast<uint8_t*>(map);
        mprotect(m_map + m_length - page, page, PROT_NONE);
        m_data = m_map + m_length - page - m_size;
#else
        m_copy.assign(bytes.constData(), bytes.constData() + bytes.size());
        m_data = m_copy.data();
#endif
        memcpy(m_data, bytes.constData(), m_size);
    }
    ~GuardedInput()
    {
#ifdef Q_OS_UNIX
        munmap(m_map, m_length);
#endif
    }
    const uint8_t* data() const { return m_data; }
    size_t size() const { return m_size; }
    bool holds(const HeifLayout::Span& span) const
    {
        return !span.data || (span.data >= m_data && span.size <= m_size - size_t(span.data - m_data));
    }

private:
    size_t m_size;
    uint8_t* m_data = nullptr;
    uint8_t* m_map = nullptr;
    size_t m_length = 0;
    std::vector<uint8_t> m_copy;
};

// A photo with one box's size, or its first item's extent, made to reach
// one byte past the end of the file.
QByteArray pastTheEnd(QByteArray heic, const char* box, int field)
{
    const int at = heic.indexOf(box) - 4;
    if (at < 0)
        return {};
    if (field == 0) {
        qToBigEndian<quint32>(quint32(heic.size() - at) + 1, heic.data() + at);
        return heic;
    }
    // iloc version 0 or 1 with 4-byte offsets and lengths, as libheif writes it.
    if (uchar(heic.at(at + 12)) != 0x44)
        return {};
    const int version = heic.at(at + 8);
    const int extent = at + 12 + 4 + 2 + (version ? 2 : 0) + 2 + 2; // sizes, count; id, method, ref, extents
    const quint32 offset = qFromBigEndian<quint32>(heic.constData() + extent);
    if (field == 1)
        qToBigEndian<quint32>(quint32(heic.size()) - 4, heic.data() + extent);
    else
        qToBigEndian<quint32>(quint32(heic.size()) - offset + 1, heic.data() + extent + 4);
    return heic;
}

HeifLayout layoutOf(const QByteArray& heic)
{
    return HeifLayout::read(reinterpret_cast<const uint8_t*>(heic.constData()), size_t(heic.size()));
}

// The first `rows` rows of a plane, `bytes` bytes each, as one array.
QByteArray samples(const DecodedPicture::Plane& plane, int bytes, int rows)
{
    QByteArray out;
    for (int y = 0; y < rows; ++y)
        out.append(reinterpret_cast<const char*>(plane.data + y * plane.stride), bytes);
    return out;
}

// A photo's JPEG the way the libheif path made it before HDR photos went
// direct: libheif's RGB, the tone table, libjpeg's own colour conversion.
QImage throughLibheif(const QByteArray& heic, int transfer, int chroma)
{
    heif_context* context = heif_context_alloc();
    heif_image_handle* handle = nullptr;
    decodex::RgbImage rgb;
    if (heif_context_read_from_memory_without_copy(context, heic.constData(), size_t(heic.size()), nullptr).code
            == heif_error_Ok
        && heif_context_get_primary_image_handle(context, &handle).code == heif_error_Ok)
        decodex::RgbConverter::decode(handle, transfer, rgb);
    heif_image_handle_release(handle);
    heif_context_free(context);
    QByteArray jpeg(rgb.width * rgb.height * 3 + 4096, '\0');
    const int size = decodex::JpegWriter(reinterpret_cast<uint8_t*>(jpeg.data()), size_t(jpeg.size()))
                         .writeRgb(rgb, chroma, 100, {});
    return QImage::fromData(jpeg.left(qMax(size, 0)), "JPG");
}

} // namespace

class TestDecodexInternals : public QObject
{
    Q_OBJECT

private slots:
    void orientationIsResetInBothByteOrders()
    {
        for (bool be : {false, true}) {
            std::vector<uint8_t> tiff = bytes(tiffWithOrientation(be, 6));
            QCOMPARE(ExifEditor::orientation(tiff.data(), tiff.size()), 6);
            QVERIFY(ExifEditor::resetOrientation(tiff.data(), tiff.size()));
            QCOMPARE(ExifEditor::orientation(tiff.data(), tiff.size()), 1);
        }
    }

    void heifItemPrefixIsHandled()
    {
        const QByteArray tiff = tiffWithOrientation(false, 8);
        // As iPhones write it: offset 6, then "Exif\0\0".
        QByteArray withHeader("\0\0\0\6Exif\0\0", 10);
        withHeader += tiff;
        // As libheif's own writer does: offset 0, TIFF at once.
        QByteArray bare("\0\0\0\0", 4);
        bare += tiff;
        for (const QByteArray& item : {withHeader, bare}) {
            const std::vector<uint8_t> out = ExifEditor::forJpeg(reinterpret_cast<const uint8_t*>(item.constData()), size_t(item.size()));
            QCOMPARE(out.size(), size_t(6 + tiff.size()));
            QVERIFY(std::equal(out.begin(), out.begin() + 6, "Exif\0\0"));
            QCOMPARE(ExifEditor::orientation(out.data() + 6, out.size() - 6), 1);
        }
        // A wrong offset is survived by looking for the header.
        QByteArray wrong("\0\0\0\x40" "Exif\0\0", 10);
        wrong += tiff;
        QVERIFY(!ExifEditor::forJpeg(reinterpret_cast<const uint8_t*>(wrong.constData()), size_t(wrong.size())).empty());
    }

    void malformedExifIsNeverFollowedOutside()
    {
        // Every truncation and every single-byte corruption of a valid block;
        // the sanitizers watch the reads and writes.
        const QByteArray good = tiffWithOrientation(true, 3, 40);
        for (int cut = 0; cut <= good.size(); ++cut) {
            std::vector<uint8_t> t(good.begin(), good.begin() + cut);
            ExifEditor::resetOrientation(t.data(), t.size());
            ExifEditor::dropThumbnail(t.data(), t.size());
        }
        for (int i = 0; i < good.size(); ++i) {
            for (uint8_t v : {uint8_t(0x00), uint8_t(0xFF), uint8_t(0x7F)}) {
                std::vector<uint8_t> t = bytes(good);
                t[size_t(i)] = v;
                ExifEditor::resetOrientation(t.data(), t.size());
                QVERIFY(ExifEditor::dropThumbnail(t.data(), t.size()) <= t.size());
                QByteArray item("\0\0\0\0", 4);
                item.append(reinterpret_cast<const char*>(t.data()), int(t.size()));
                ExifEditor::forJpeg(reinterpret_cast<const uint8_t*>(item.constData()), size_t(item.size()));
            }
        }
        QVERIFY(ExifEditor::forJpeg(nullptr, 0).empty());
        const uint8_t tiny[3] = {0, 0, 0};
        QVERIFY(ExifEditor::forJpeg(tiny, 3).empty());
    }

    void oversizedExifLosesItsThumbnail()
    {
        QByteArray item("\0\0\0\0", 4);
        item += tiffWithOrientation(false, 6, 70000);
        const std::vector<uint8_t> out = ExifEditor::forJpeg(reinterpret_cast<const uint8_t*>(item.constData()), size_t(item.size()));
        QVERIFY(!out.empty());
        QVERIFY(out.size() <= ExifEditor::kMaxPayload);
        QCOMPARE(ExifEditor::orientation(out.data() + 6, out.size() - 6), 1);
        QCOMPARE(out.size(), size_t(6 + 8 + 2 + 12 + 4));
    }

    void highBitDepthsRoundNotTruncate()
    {
        for (int bits : {10, 12}) {
            const std::vector<uint8_t> table = decodex::RgbConverter::toneTable(bits, 13);
            const int max = (1 << bits) - 1;
            QCOMPARE(int(table[0]), 0);
            QCOMPARE(int(table[size_t(max)]), 255);
            for (int level : {1, 64, 128, 200, 254}) {
                const int code = (level * max + 127) / 255;
                QCOMPARE(int(table[size_t(code)]), level);
            }
        }
        // PQ: reference white (203 nits) lands in the upper part, 10000 nits at white.
        const std::vector<uint8_t> pq = decodex::RgbConverter::toneTable(10, 16);
        QCOMPARE(int(pq[1023]), 255);
        QVERIFY(pq[580] > 150 && pq[580] < 250);
        QVERIFY(std::is_sorted(pq.begin(), pq.end()));
    }

    void containerReadersStayInsideTheFile()
    {
        // Cut at every byte, and with a box or an extent running past the end:
        // the container readers never look outside the file, and every span
        // they hand on lies inside it. libheif refuses many of these files
        // first, so its own readers are asked directly.
        HeicFixtureOptions options;
        options.thumbnail = 16;
        const QByteArray heic = HeicFixture::encode(HeicFixture::quadrants(64, 48), options);
        QVERIFY(!heic.isEmpty());
        QList<QByteArray> inputs;
        for (int cut = 0; cut < heic.size(); ++cut)
            inputs << heic.left(cut);
        for (const char* box : {"meta", "iinf", "iref", "iloc", "iprp", "ipco", "hvcC", "ipma", "mdat"})
            inputs << pastTheEnd(heic, box, 0);
        inputs << pastTheEnd(heic, "iloc", 1) << pastTheEnd(heic, "iloc", 2);
        int direct = 0;
        for (const QByteArray& input : inputs) {
            QVERIFY(!input.isNull() || input.isEmpty());
            const GuardedInput file(input);
            const HeifLayout layout = HeifLayout::read(file.data(), file.size());
            unsigned sum = 0;
            for (const HeifLayout::Tile& tile : layout.tiles) {
                QVERIFY2(file.holds(tile.data), qPrintable(QString::number(input.size())));
                for (const HeifLayout::Span& set : tile.parameterSets)
                    QVERIFY(file.holds(set));
                for (size_t i = 0; i < tile.data.size; ++i)
                    sum += tile.data.data[i];
            }
            direct += layout.direct;
            decodex::GainMapParameters parameters;
            for (uint32_t item = 1; item < 8; ++item)
                decodex::ToneMapItem::read(file.data(), file.size(), item, parameters);
            if (input.size() == heic.size()) { // through the whole library: an answer, never a fault
                std::vector<uint8_t> out(size_t(input.size()) * 20);
                heif2jpg(file.data(), int32_t(file.size()), 90, out.data(), int32_t(out.size()), nullptr);
                heif2jpg_capacity(file.data(), int32_t(file.size()), 90);
            }
            Q_UNUSED(sum);
        }
        QVERIFY(direct > 0); // the readers did get to the tiles
    }

    // libavcodec replaced libde265 on the direct path because they decode
    // to the same samples; a difference in how either is fed (parameter
    // sets, NAL lengths) or read (planes, strides, depths) shows here.
    void decodersGiveIdenticalPlanes_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("chroma");
        QTest::addColumn<int>("threads");
        QTest::newRow("8-bit 4:2:0") << 8 << 420 << 1;
        QTest::newRow("8-bit 4:4:4") << 8 << 444 << 1;
        QTest::newRow("grey") << 8 << 400 << 1;
        QTest::newRow("10-bit 4:2:0, two threads") << 10 << 420 << 2;
        QTest::newRow("10-bit 4:2:2") << 10 << 422 << 1;
        QTest::newRow("12-bit 4:2:2") << 12 << 422 << 1;
        QTest::newRow("phone photo") << 0 << 0 << 1; // the corpus photo's 48 tiles
    }

    void decodersGiveIdenticalPlanes()
    {
        QFETCH(int, bits);
        QFETCH(int, chroma);
        QFETCH(int, threads);
        const auto avcodec = HevcDecoder::create(HevcDecoder::Backend::Libavcodec, threads);
        const auto de265 = HevcDecoder::create(HevcDecoder::Backend::Libde265, threads);
        if (!avcodec)
            QSKIP("built without libavcodec");
        QByteArray heic;
        if (bits == 0) {
            QFile photo(HeicFixture::corpusDir() + "/real/IMG_3578.heic");
            if (HeicFixture::corpusDir().isEmpty() || !photo.open(QIODevice::ReadOnly))
                QSKIP("no photo corpus");
            heic = photo.readAll();
        } else {
            HeicFixtureOptions options;
            options.bitDepth = bits;
            options.chroma = chroma;
            heic = HeicFixture::encode(HeicFixture::gradient(200, 136), options);
        }
        const HeifLayout layout = layoutOf(heic);
        QVERIFY(layout.direct && !layout.tiles.empty());
        for (const HeifLayout::Tile& tile : layout.tiles) {
            DecodedPicture a, b;
            QCOMPARE(avcodec->decode(tile, layout.nalLengthSize, a), HevcDecoder::Outcome::Decoded);
            QCOMPARE(de265->decode(tile, layout.nalLengthSize, b), HevcDecoder::Outcome::Decoded);
            QCOMPARE(a.chromaFormat, b.chromaFormat);
            QCOMPARE(a.bitDepth, b.bitDepth);
            QCOMPARE(a.fullRange, b.fullRange);
            QCOMPARE(a.matrix, b.matrix);
            for (int c = 0; c < a.components(); ++c) {
                const int across = c > 0 && a.chromaFormat != 3 ? 1 : 0;
                const int down = c > 0 && a.chromaFormat == 1 ? 1 : 0;
                const int width = (layout.tileWidth + across) >> across;
                const int height = (layout.tileHeight + down) >> down;
                const int bytes = width * (a.bitDepth > 8 ? 2 : 1);
                QVERIFY(a.planes[c].width >= width && a.planes[c].height >= height);
                QVERIFY2(samples(a.planes[c], bytes, height) == samples(b.planes[c], bytes, height),
                         qPrintable(QStringLiteral("plane %1").arg(c)));
            }
        }
    }

    // A damaged stream must not come out as a photo with guessed parts:
    // libavcodec is told to stop at the first error (without that it, like
    // libde265, fills in the rows of a slice cut short), and libheif, whose libde265
    // would conceal the damage, does not get a second try.
    void damagedStreamsFail()
    {
        if (!HevcDecoder::create(HevcDecoder::Backend::Libavcodec, 1))
            QSKIP("built without libavcodec");
        HeicFixtureOptions options;
        options.encoderQuality = 95;
        HeifBuilder::Hevc hevc = HeifBuilder::hevcOf(HeicFixture::encode(HeicFixture::gradient(256, 192), options));
        QVERIFY(hevc.data.size() > 1000);
        // The picture's one slice cut to a quarter, its length saying so: a
        // file that reads cleanly but whose coded rows end early.
        const quint32 quarter = qFromBigEndian<quint32>(hevc.data.constData()) / 4;
        qToBigEndian(quarter, hevc.data.data());
        hevc.data.truncate(int(4 + quarter));
        HeifBuilder file;
        file.setPrimary(file.addHevc(hevc));
        const QByteArray heic = file.build();
        const HeifLayout layout = layoutOf(heic);
        QVERIFY(layout.direct);
        DecodedPicture picture;
        QVERIFY(HevcDecoder::create(1)->decode(layout.tiles.front(), layout.nalLengthSize, picture)
                == HevcDecoder::Outcome::Damaged);
        std::vector<uint8_t> out(size_t(heic.size()) * 100);
        QCOMPARE(heif2jpg(reinterpret_cast<const uint8_t*>(heic.constData()), heic.size(), 90, out.data(),
                          int32_t(out.size()), nullptr),
                 int32_t(DECODEX_ERR_DAMAGED));
    }

    // HDR photos take the direct path; it must land where the libheif path
    // did (libheif's RGB, the same tone table, libjpeg's conversion).
    void hdrPlanesMatchLibheif_data()
    {
        QTest::addColumn<int>("transfer");
        QTest::addColumn<int>("chroma");
        QTest::addColumn<bool>("fullRange");
        QTest::addColumn<QSize>("size");
        QTest::newRow("PQ 4:2:2 limited") << 16 << 422 << false << QSize(192, 128);
        QTest::newRow("PQ 4:2:0 full") << 16 << 420 << true << QSize(192, 128);
        QTest::newRow("HLG 4:2:0 limited, odd size") << 18 << 420 << false << QSize(131, 77);
        QTest::newRow("HLG 4:2:2 full") << 18 << 422 << true << QSize(192, 128);
    }

    void hdrPlanesMatchLibheif()
    {
        QFETCH(int, transfer);
        QFETCH(int, chroma);
        QFETCH(bool, fullRange);
        QFETCH(QSize, size);
        HeicFixtureOptions options;
        options.bitDepth = 10;
        options.chroma = chroma;
        options.nclxPrimaries = 9;
        options.nclxMatrix = 9;
        options.nclxTransfer = transfer;
        options.fullRange = fullRange;
        options.encoderQuality = 95;
        const QByteArray heic = HeicFixture::encode(HeicFixture::gradient(size.width(), size.height()), options);
        const HeifLayout layout = layoutOf(heic);
        QVERIFY(layout.direct);
        const decodex::SampleMapper::Colour colour{true, fullRange, 9, transfer};
        QVERIFY(decodex::SampleMapper::supports(colour));
        decodex::PlanarImage planes;
        QCOMPARE(decodex::TileDecoder::decode(layout, 1, colour, planes), decodex::TileDecoder::Outcome::Decoded);
        QByteArray jpeg(size.width() * size.height() * 6 + 4096, '\0');
        const int written = decodex::JpegWriter(reinterpret_cast<uint8_t*>(jpeg.data()), size_t(jpeg.size()))
                                .writePlanar(planes, 100, {});
        QVERIFY(written > 0);
        const QImage direct = QImage::fromData(jpeg.left(written), "JPG");
        const double db = HeicFixture::psnr(direct, throughLibheif(heic, transfer, chroma == 420 ? 1 : 2));
        // The same samples; only the blocks past an odd edge are padded
        // differently (68 dB where the size is odd, identical elsewhere).
        QVERIFY2(db >= 60.0, qPrintable(QStringLiteral("PSNR %1 dB").arg(db)));
    }
};

PICTOVA_TEST_GUILESS_MAIN(TestDecodexInternals)

#include "tst_decodex_internals.moc"
